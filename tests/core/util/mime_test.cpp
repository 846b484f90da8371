// Content types and file extensions.
#include <gtest/gtest.h>
#include <stddef.h>
#include <strings.h>

#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/base/host.h"
#include "core/util/util.h"
#include "core/util/util_mime_tables.h"
#include "tests/support/content_tables.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/text.h"

using namespace core;
using namespace content_tables;

namespace {

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

std::string Upper(std::string text) {
  for (char& c : text) {
    c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
  }
  return text;
}

// The first letter large, the rest small.
std::string Capitalised(const std::string& text) { return Upper(text.substr(0, 1)) + text.substr(1); }

bool Safe(const std::wstring& extension) { return IsSafeFileExtension(Wide(extension).get()); }
bool Streamable(const std::wstring& extension) { return IsStreamableFileExtension(Wide(extension).get()); }
bool StreamableType(const std::string& type) { return IsStreamableContentType(Narrow(type).get()); }
bool Ambiguous(const std::string& type) { return IsAmbiguousContentType(Narrow(type).get()); }

// The guess, "(none)" for null.
std::string GuessFor(const std::wstring& name) {
  const char* type = GuessContentTypeFromFileName(Wide(name).get());
  return type == nullptr ? "(none)" : type;
}

// Every neighbour of `text` that differs from it in its length by one.
std::vector<std::string> Neighbours(const std::string& text) {
  return {text.substr(0, text.size() - 1), text.substr(1), text + "z", "z" + text, text + " ", " " + text, "." + text};
}

TEST(ContentTables, HoldTheUnsafeExtensionsInOrder) {
  ASSERT_EQ(116u, UnsafeExtensions().size());
  ASSERT_EQ(116u, std::size(kUnsafeExtensions));
  for (size_t i = 0; i < 116; ++i) {
    EXPECT_EQ(Widen(UnsafeExtensions()[i]), kUnsafeExtensions[i]) << i;
  }
  EXPECT_EQ(114u, std::set(UnsafeExtensions().begin(), UnsafeExtensions().end()).size());
}

TEST(ContentTables, HoldTheStreamableExtensionsInOrder) {
  ASSERT_EQ(39u, StreamableExtensions().size());
  ASSERT_EQ(39u, std::size(kStreamableExtensions));
  for (size_t i = 0; i < 39; ++i) {
    EXPECT_EQ(Widen(StreamableExtensions()[i]), kStreamableExtensions[i]) << i;
  }
  static_assert(sizeof kStreamableExtensions == sizeof(wchar_t[39][5]));
}

TEST(ContentTables, HoldTheContentTypesInOrder) {
  ASSERT_EQ(5u, std::size(kStreamableTypes));
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_STREQ(kStreamableContentTypes[i], kStreamableTypes[i]) << i;
  }
  ASSERT_EQ(1u, std::size(kAmbiguousTypes));
  EXPECT_STREQ("text/plain", kAmbiguousTypes[0]);
  static_assert(sizeof kStreamableTypes == sizeof(char[5][15]) && sizeof kAmbiguousTypes == 15);
}

TEST(ContentTables, HoldThePairsInOrder) {
  std::string expected;
  for (const Guess& guess : Guesses()) {
    expected += guess.extension + '\0' + guess.type + '\0';
  }
  expected += '\0';
  ASSERT_EQ(52u, Guesses().size());
  EXPECT_EQ(expected, std::string(kExtensionTypes, sizeof kExtensionTypes));
}

// --- IsSafeFileExtension ---

TEST(IsSafeFileExtension, RefusesEveryUnsafeOneInAnyCase) {
  for (const std::string& name : UnsafeExtensions()) {
    EXPECT_FALSE(Safe(Widen(name))) << name;
    EXPECT_FALSE(Safe(Widen(Upper(name)))) << name;
    EXPECT_FALSE(Safe(Widen(Capitalised(name)))) << name;
  }
}

TEST(IsSafeFileExtension, AcceptsWhatIsOneCharacterLongerOrShorter) {
  const std::set<std::string> unsafe(UnsafeExtensions().begin(), UnsafeExtensions().end());
  for (const std::string& name : unsafe) {
    for (const std::string& other : Neighbours(name)) {
      EXPECT_EQ(unsafe.count(other) == 0, Safe(Widen(other))) << other;
    }
  }
}

TEST(IsSafeFileExtension, AcceptsTheRest) {
  for (const char* name : {"", "txt", "mkv", "torrent", "ex", ".exe", "exe."}) {
    EXPECT_TRUE(Safe(Widen(name))) << name;
  }
  EXPECT_TRUE(IsSafeFileExtension(nullptr));
}

TEST(IsSafeFileExtension, FoldsNoLetterBeyondAscii) {
  EXPECT_TRUE(Safe(Units({0x01, 'e'})));
  EXPECT_TRUE(Safe(Units({'o', 'n', 'e', 'p', 0x212A, 'g'})));  // the Kelvin sign
  EXPECT_TRUE(Safe(Units({'e' | 0x100, 'x', 'e'})));
  EXPECT_TRUE(Safe(Units({'e' | 0x80000000, 'x', 'e'})));
  EXPECT_TRUE(Safe(Units({0xFFFFFFE9})));
}

// --- IsStreamableFileExtension ---

TEST(IsStreamableFileExtension, KnowsEveryStreamableOneInAnyCase) {
  for (const std::string& name : StreamableExtensions()) {
    EXPECT_TRUE(Streamable(Widen(name))) << name;
    EXPECT_TRUE(Streamable(Widen(Upper(name)))) << name;
    EXPECT_TRUE(Streamable(Widen(Capitalised(name)))) << name;
  }
}

TEST(IsStreamableFileExtension, IsFalseForWhatIsOneCharacterLongerOrShorter) {
  const std::set<std::string> streamable(StreamableExtensions().begin(), StreamableExtensions().end());
  for (const std::string& name : streamable) {
    for (const std::string& other : Neighbours(name)) {
      EXPECT_EQ(streamable.count(other) != 0, Streamable(Widen(other))) << other;
    }
  }
}

TEST(IsStreamableFileExtension, IsFalseForTheRest) {
  for (const char* name : {"", "webm", "txt", "divxx", ".mkv", "mkv.", "video"}) {
    EXPECT_FALSE(Streamable(Widen(name))) << name;
  }
  EXPECT_FALSE(IsStreamableFileExtension(nullptr));
}

TEST(IsStreamableFileExtension, FoldsNoLetterBeyondAscii) {
  EXPECT_FALSE(Streamable(Units({'m', 0x212A, 'v'})));
  EXPECT_FALSE(Streamable(Units({0xFFFFFFE9})));
}

// --- IsStreamableContentType ---

TEST(IsStreamableContentType, KnowsEveryStreamableTypeInAnyCase) {
  for (const std::string type : kStreamableContentTypes) {
    EXPECT_TRUE(StreamableType(type)) << type;
    EXPECT_TRUE(StreamableType(Upper(type))) << type;
    EXPECT_TRUE(StreamableType(Capitalised(type))) << type;
  }
}

TEST(IsStreamableContentType, IsFalseForWhatIsOneCharacterLongerOrShorter) {
  for (const std::string type : kStreamableContentTypes) {
    for (const std::string& other : Neighbours(type)) {
      EXPECT_FALSE(StreamableType(other)) << other;
    }
  }
}

TEST(IsStreamableContentType, IsFalseWithParametersAndForTheRest) {
  for (const char* type : {"video/mp4;", "video/mp4; codecs=avc1", "", "video", "text/plain", "video/x-ms-wmvv",
                           "video/x-matroska", "\xE9", "video/mp\xB4"}) {
    EXPECT_FALSE(StreamableType(type)) << type;
  }
  EXPECT_FALSE(IsStreamableContentType(nullptr));
}

// --- IsAmbiguousContentType ---

TEST(IsAmbiguousContentType, IsPlainTextInAnyCaseWithOrWithoutParameters) {
  for (const char* type : {"text/plain", "TEXT/PLAIN", "Text/Plain; charset=utf-8", "text/plain;", "text/plain;;",
                           "text/plain;\xE9", "tEXT/pLAIN;x"}) {
    EXPECT_TRUE(Ambiguous(type)) << type;
  }
}

TEST(IsAmbiguousContentType, IsNothingElse) {
  for (const char* type : {"", "text", "text/plai", "ext/plain", " text/plain", "text/plain ", "text/plain ;",
                           "text/plain charset", "text/plainx", "text/plainx;", "text/html", ";text/plain", "\xE9",
                           "text/plain\xE9", "text/plai\xEE", "video/mpeg"}) {
    EXPECT_FALSE(Ambiguous(type)) << type;
  }
  EXPECT_FALSE(IsAmbiguousContentType(nullptr));
}

// --- GuessContentTypeFromFileName ---

// What the first row of that extension says.
std::string FirstGuess(const std::string& extension) {
  for (const Guess& guess : Guesses()) {
    if (guess.extension == extension) {
      return guess.type;
    }
  }
  return "(none)";
}

TEST(GuessContentType, KnowsEveryExtensionInAnyCase) {
  for (const Guess& guess : Guesses()) {
    const std::string type = FirstGuess(guess.extension);
    EXPECT_EQ(type, GuessFor(L"movie." + Widen(guess.extension)));
    EXPECT_EQ(type, GuessFor(L"movie." + Widen(Upper(guess.extension))));
    EXPECT_EQ(type, GuessFor(L"." + Widen(guess.extension)));
  }
}

TEST(GuessContentType, TheFirstOfSeveralRowsWins) {
  EXPECT_EQ("audio/mpeg", GuessFor(L"movie.MP2"));
  EXPECT_EQ("video/avi", GuessFor(L"clip.avi"));
  EXPECT_EQ("video/quicktime", GuessFor(L"clip.qt"));
  EXPECT_EQ("video/x-ms-asf", GuessFor(L"clip.asf"));
}

TEST(GuessContentType, KeepsTheBlankBehindTheTypeOfAu) { EXPECT_EQ("audio/basic ", GuessFor(L"sound.au")); }

TEST(GuessContentType, KnowsNothingOneCharacterLongerOrShorter) {
  for (const Guess& guess : Guesses()) {
    for (const std::string& other : Neighbours(guess.extension)) {
      if (other[0] != '.') {
        EXPECT_EQ(FirstGuess(other), GuessFor(L"x." + Widen(other))) << other;
      }
    }
  }
}

TEST(GuessContentType, TakesTheTextBehindTheLastDotOfTheWholeName) {
  EXPECT_EQ("(none)", GuessFor(L"archive.tar.gz"));
  EXPECT_EQ("image/png", GuessFor(L"archive.gz.png"));
  EXPECT_EQ("(none)", GuessFor(L"folder.png/file"));
  EXPECT_EQ("image/png", GuessFor(L"folder.gif/file.png"));
  EXPECT_EQ("image/png", GuessFor(L"a..png"));
}

TEST(GuessContentType, IsNullWithoutAnExtension) {
  for (const wchar_t* name : {L"", L"README", L"png", L".", L"file.", L"a.png.", L".."}) {
    EXPECT_EQ("(none)", GuessFor(name));
  }
  EXPECT_EQ(nullptr, GuessContentTypeFromFileName(nullptr));
}

TEST(GuessContentType, ATypeAsExtensionGivesTheStringThatFollowsIt) {
  EXPECT_EQ("bmp", GuessFor(L"name.image/gif"));
  EXPECT_EQ("css", GuessFor(L"name.TEXT/Plain"));
  EXPECT_EQ("(none)", GuessFor(L"name.application/x-director"));
}

TEST(GuessContentType, IsNullForWhatTheEncodingLacks) {
  EXPECT_EQ("(none)", GuessFor(Units({'a', '.', 'p', 0x4E00, 'g'})));
  EXPECT_EQ("(none)", GuessFor(Units({'a', '.', 0xD800})));
  EXPECT_EQ("(none)", GuessFor(Units({'a', '.', 0xFFFFFFE9})));
  EXPECT_EQ("(none)", GuessFor(Units({'a', '.', 'g', 'i', 'f', 0xE9})));
}

// A unit that counts as negative keeps its low 8 bits when the text is simplified.
TEST(GuessContentType, ComparesTheTextAsTheLocaleGivesIt) {
  EXPECT_EQ("image/gif", GuessFor(Units({'a', '.', 0x80000000 | 'g', 'i', 'f'})));
}

TEST(GuessContentType, FollowsTheLocale) {
  const Latin1Locale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no Latin-1 locale";
  }
  EXPECT_EQ("image/gif", GuessFor(Units({0xE9, '.', 'G', 'i', 'f'})));
  EXPECT_EQ("(none)", GuessFor(Units({'a', '.', 'g', 0xE9, 'f'})));
}

// The sanitizers put a function of their own in its place, which compares as in ASCII.
bool StrcasecmpKnowsTheLocale() {
  int (*volatile compare)(const char*, const char*) = strcasecmp;
  return compare("I", "i") != 0;
}

// Where the small form of the letter I has no dot, "GIF" is not "gif".
TEST(GuessContentType, ComparesCaseAsTheLocaleHasIt) {
  const TurkishLocale locale;
  if (!locale.ok() || !StrcasecmpKnowsTheLocale()) {
    GTEST_SKIP() << "no Turkish locale, or a sanitizer that compares letters without it";
  }
  EXPECT_EQ("image/gif", GuessFor(L"a.gif"));
  EXPECT_EQ("(none)", GuessFor(L"A.GIF"));
  EXPECT_EQ("image/png", GuessFor(L"A.PNG"));
}

TEST(ContentTypes, CompareCaseAsTheLocaleHasIt) {
  const TurkishLocale locale;
  if (!locale.ok() || !StrcasecmpKnowsTheLocale()) {
    GTEST_SKIP() << "no Turkish locale, or a sanitizer that compares letters without it";
  }
  EXPECT_TRUE(StreamableType("Video/Mp4"));
  EXPECT_FALSE(StreamableType("VIDEO/MP4"));
  EXPECT_TRUE(Ambiguous("TEXT/plain"));
  EXPECT_FALSE(Ambiguous("TEXT/PLAIN"));
}

TEST(ContentTypes, CompareExtensionsInAsciiInAnyLocale) {
  const TurkishLocale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no Turkish locale";
  }
  EXPECT_FALSE(Safe(L"PIF"));
  EXPECT_TRUE(Streamable(L"DIVX"));
}

TEST(GuessContentType, GivesAStaticText) {
  const char* first = GuessContentTypeFromFileName(L"a.mkv");
  const char* second = GuessContentTypeFromFileName(L"other.MKV");
  EXPECT_EQ(first, second);
  EXPECT_GE(first, kExtensionTypes);
  EXPECT_LT(first, kExtensionTypes + sizeof kExtensionTypes);
  EXPECT_STREQ("video/x-matroska", first);
}

TEST(GuessContentType, TakesTheThreadsConvertedText) {
  GuessContentTypeFromFileName(L"a.Mkv");
  EXPECT_STREQ("Mkv", GetTLS()->last_ansi);
}

TEST(GuessContentType, TakesAnExtensionOfAnyLength) {
  EXPECT_EQ("(none)", GuessFor(L"a." + std::wstring(1'000'000, L'g')));
}

TEST(ContentTypes, AreLookedUpByManyThreadsAtOnce) {
  std::vector<int> wrong(4, 0);
  std::vector<std::thread> threads;
  threads.reserve(wrong.size());
  for (int& count : wrong) {
    threads.emplace_back([&count] {
      for (const Guess& guess : Guesses()) {
        count += GuessFor(L"x." + Widen(guess.extension)) != FirstGuess(guess.extension);
        count += !Safe(L"torrent") || Safe(L"exe") || !Streamable(L"wmv") || !Ambiguous("text/plain;");
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(std::vector<int>(4, 0), wrong);
}

}  // namespace
