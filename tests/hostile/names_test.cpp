// Hostile texts whose right result is known: names, lengths of texts, trackers, encodings.
#include <gtest/gtest.h>

#include <algorithm>

#include "QuickLookPlugin/limits.h"
#include "tests/hostile/counted_memory.h"
#include "tests/hostile/importing.h"
#include "tests/hostile/shapes.h"
#include "tests/reader/encoded.h"
#include "tests/support/repeat.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/small_stack.h"
#include "tests/support/temp_folder.h"

namespace hostile {
namespace {

using encoded::Bytes;
using encoded::Int;
using encoded::List;
using encoded::Str;
using Strings = std::vector<std::string>;

constexpr size_t kMillion = 1'000'000 / (HOSTILE_DIVISOR > 4 ? HOSTILE_DIVISOR : 1);
constexpr size_t kColliding = 100'000 / (HOSTILE_DIVISOR > 4 ? HOSTILE_DIVISOR : 1);
constexpr size_t kTextLimit = size_t{16} << 20;

class HostileTexts : public ::testing::Test {
 protected:
  std::optional<Attributes> ReadBytes(const std::string& bytes) const {
    const std::string path = folder_.Write("a.torrent", bytes);
    std::optional<Attributes> attributes;
    OnFoundationThread(kSmallStack, [&] { attributes = Read(path); });
    return attributes;
  }

  std::optional<Record> ReadRecordOf(const std::string& bytes) const {
    const std::string path = folder_.Write("a.torrent", bytes);
    std::optional<Record> record;
    OnFoundationThread(kSmallStack, [&] { record = ReadRecord(path); });
    return record;
  }

  // The most memory that the import of a usable torrent takes beyond its own bytes twice, in the file and
  // in the tree.
  size_t PeakBeside(const std::string& bytes) const {
    const std::string path = folder_.Write("a.torrent", bytes);
    MemoryUse use;
    OnFoundationThread(kSmallStack, [&] {
      const MemoryCount count;
      EXPECT_TRUE(Import(path));
      use = count.Use();
    });
    return use.peak - std::min(use.peak, 2 * bytes.size());
  }

  const ScopedLocale locale_{"C"};
  const TempFolder folder_;
};

// Fails when the names are not those of files 0, 1, 2...
void ExpectNames(const Strings& names, size_t count, std::string (*name_of)(size_t)) {
  ASSERT_EQ(count, names.size());
  for (size_t i = 0; i < count; ++i) {
    ASSERT_EQ(name_of(i), names[i]);
  }
}

TEST_F(HostileTexts, CollidingNamesAreAllKeptAndNeverCompared) {
  const std::string bytes = CollidingNames(kColliding);
  const WatchedStrings watched;
  const std::optional<Attributes> attributes = ReadBytes(bytes);
  const size_t hashes = WatchedStrings::Hashes();
  const size_t comparisons = WatchedStrings::Comparisons();
  ASSERT_TRUE(attributes);
  ExpectNames(attributes->names, kColliding, CollidingName);
  EXPECT_EQ(0u, comparisons);
  EXPECT_GE(100u, hashes);  // of the attributes' own keys and the like
}

TEST_F(HostileTexts, NamesThatDoNotCollideAreNeverCompared) {
  const std::string bytes = HonestFiles(kMillion / 50);
  const WatchedStrings watched;
  ASSERT_TRUE(ReadBytes(bytes));
  EXPECT_EQ(0u, WatchedStrings::Comparisons());
}

TEST_F(HostileTexts, OneNameForAllFilesIsOneFileOfTheLastLength) {
  const std::string bytes = SameFiles(kMillion);
  const std::optional<Attributes> attributes = ReadBytes(bytes);
  ASSERT_TRUE(attributes);
  EXPECT_EQ(Strings{"same"}, attributes->names);
  const std::optional<Record> record = ReadRecordOf(bytes);
  ASSERT_TRUE(record);
  EXPECT_EQ(std::vector<long long>{1}, record->sizes);
  EXPECT_EQ(2 * (kMillion - 1) + 1, record->total_size);
}

TEST_F(HostileTexts, PathOfAMillionComponentsIsWhole) {
  const std::optional<Attributes> attributes = ReadBytes(PathOfComponents(kMillion));
  ASSERT_TRUE(attributes);
  ASSERT_EQ(1u, attributes->names.size());
  EXPECT_EQ(Repeat("/a", kMillion).substr(1), attributes->names[0]);
}

TEST_F(HostileTexts, NamesThatAreNoneBecomeHarmless) {
  struct Case {
    const char* name;
    std::string component;
    std::string path;
  };
  const Case kCases[] = {
      {"zero byte", Bytes("\0"), "d/_"},
      {"dot and zero byte", Bytes(".\0"), "d/._"},
      {"dots and zero byte", Bytes("..\0"), "d/.._"},
      {"dot", ".", "d"},
      {"dots", "..", "d"},
      {"empty", "", "d"},
      {"slashes", "../../etc", "d/.._.._etc"},
      {"not UTF-8", "\x80", "d"},
      {"overlong dots", "\xC0\xAE\xC0\xAE", "d"},
      {"overlong slash", "\xC0\xAF", "d"},
      {"overlong zero", "\xC0\x80", "d"},
      {"high surrogate", "\xED\xA0\x80", ""},
      {"low surrogate", "\xED\xB0\x80", ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const std::optional<Attributes> attributes = ReadBytes(TorrentOfFiles(File("1:d" + Str(c.component), 1)));
    ASSERT_TRUE(attributes);
    EXPECT_EQ(Strings{c.path}, attributes->names);
  }
}

TEST_F(HostileTexts, HalfInvalidTrackersAreAllKeptAndHalfInvalidWebSeedsAreNot) {
  const std::optional<Record> trackers = ReadRecordOf(TrackersHalfInvalid(kMillion));
  ASSERT_TRUE(trackers);
  ASSERT_EQ(kMillion, trackers->trackers.size());
  for (size_t i = 0; i < kMillion; i += 2) {
    ASSERT_EQ("http://x", trackers->trackers[i]);
    ASSERT_EQ("", trackers->trackers[i + 1]);
  }
  const std::optional<Record> seeds = ReadRecordOf(WebSeedsHalfInvalid(kMillion));
  ASSERT_TRUE(seeds);
  EXPECT_EQ(Strings(kMillion / 2, "http://x"), seeds->web_seeds);
}

// Copies of a text that counts as empty would show: four bytes for each character alone.
TEST_F(HostileTexts, BeyondTheLimitAreNeverConverted) {
  constexpr size_t kSlack = 65536;
  const std::string text = Str(Repeat("\x80", kTextLimit + 1));
  const std::string ascii = Str(Repeat("x", kTextLimit + 1));
  for (const std::string& huge : {text, ascii}) {
    EXPECT_GE(kSlack, PeakBeside(TorrentWith("7:comment" + huge)));
    EXPECT_GE(kSlack, PeakBeside(TorrentWith("8:announce" + huge)));
    EXPECT_GE(kSlack, PeakBeside(TorrentWith("8:url-list" + huge)));
    EXPECT_GE(kSlack, PeakBeside(TorrentOfFiles(File(huge, 1))));
    EXPECT_GE(kSlack, PeakBeside(TorrentWith("8:url-listl" + huge + "e")));
  }
}

TEST_F(HostileTexts, WebSeedsBeyondTheLimitArePassedOver) {
  const std::string on = Str(std::string(kTextLimit, 'x'));
  const std::string above = Str(std::string(kTextLimit + 1, 'x'));
  const std::optional<Record> list = ReadRecordOf(TorrentWith("8:url-listl" + above + "1:a" + on + "e"));
  ASSERT_TRUE(list);
  ASSERT_EQ(2u, list->web_seeds.size());
  EXPECT_EQ("a", list->web_seeds[0]);
  EXPECT_EQ(kTextLimit, list->web_seeds[1].size());
  const std::optional<Record> single = ReadRecordOf(TorrentWith("8:url-list" + above));
  ASSERT_TRUE(single);
  EXPECT_EQ(Strings{}, single->web_seeds);
}

TEST_F(HostileTexts, OnTheLimitAreWhole) {
  const std::string text(kTextLimit, 'x');
  const std::optional<Attributes> on = ReadBytes(TorrentWith("7:comment" + Str(text)));
  ASSERT_TRUE(on);
  EXPECT_EQ(text, on->comment);
  const std::optional<Attributes> above = ReadBytes(TorrentWith("7:comment" + Str(text + "x")));
  ASSERT_TRUE(above);
  EXPECT_FALSE(above->comment);
}

// The characters are those of UTF-8, and in this locale those of no other encoding: the comment shows
// which of both the torrent has declared.
TEST_F(HostileTexts, EncodingsOfEveryKindAreReadAsUtf8OrAsTheLocales) {
  struct Case {
    std::string encoding;
    bool utf8;
  };
  const Case kCases[] = {
      {"", true},
      {Str("UTF-8"), true},
      {Str("utf8"), true},
      {Str("latin1"), true},
      {Str(""), true},
      {Str(Bytes("\0")), true},
      {Str("\xFF\xFE"), true},
      {Str("Windows-1251"), false},
      {Str("cp936"), false},
      {Str("gbk"), false},
      {Str("shift-jis"), false},
      {Str("Windows-"), true},
      {Str("CP"), true},
      {Str("CP0"), true},
      {Str("CP1"), true},
      {Str("CP2"), false},
      {Str("CP-1"), false},
      {Str("CPx"), true},
      {Str("Windows-99999999999999999999"), false},
      {Str("Windows--99999999999999999999"), true},  // the low half of the smallest 64-bit number
      {Str("CP" + std::string(40, '9')), false},
      {Str("CP" + std::string(40, '0')), true},
      {Str("CP4294967296"), true},
      {Str("CP4294967297"), true},
      {Str("CP4294967298"), false},
      {Str("CP" + std::string(1 << 20, '9')), false},
      {Str(std::string(kTextLimit + 1, 'x')), true},
      {Int(0), true},
      {Int(1), true},
      {Int(2), false},
      {Int(-1), false},
      {Int(932), false},
      {Int(INT64_MAX), false},
      {Int(INT64_MIN), true},
      {"i" + std::string(40, '9') + "e", false},
      {"ie", true},
      {List({Str("cp936")}), true},
      {"le", true},
      {"d5:cp9365:cp936e", true},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.encoding.substr(0, 60));
    const std::string encoding = c.encoding.empty() ? "" : "8:encoding" + c.encoding;
    const std::optional<Attributes> attributes = ReadBytes(TorrentWith(encoding + "7:comment2:\xC3\xA9"));
    ASSERT_TRUE(attributes);
    EXPECT_EQ(c.utf8 ? std::optional<std::string>("\xC3\xA9") : std::nullopt, attributes->comment);
  }
}

}  // namespace
}  // namespace hostile
