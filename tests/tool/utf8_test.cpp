#include "tools/mdtorrent/output/utf8.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/exact_bytes.h"

namespace mdtorrent {
namespace {

#define FFFD "\xEF\xBF\xBD"

struct Case {
  const char* name;
  std::string_view input, expected;
};

const Case kByteCases[] = {
    {"nothing", "", ""},
    {"ASCII", "plain/name.txt", "plain/name.txt"},
    {"a zero byte", std::string_view("a\0b", 3), std::string_view("a\0b", 3)},
    {"the first and last of each length", "\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
     "\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
    {"both sides of the surrogates", "\xED\x9F\xBF\xEE\x80\x80", "\xED\x9F\xBF\xEE\x80\x80"},
    {"a lone continuation", "a\x80z", "a" FFFD "z"},
    {"overlong in two bytes", "\xC1\xBF", FFFD FFFD},
    {"overlong in three bytes", "\xE0\x9F\xBF", FFFD FFFD FFFD},
    {"overlong in four bytes", "\xF0\x8F\xBF\xBF", FFFD FFFD FFFD FFFD},
    {"an encoded surrogate", "\xED\xA0\x80", FFFD FFFD FFFD},
    {"beyond the last character", "\xF4\x90\x80\x80", FFFD FFFD FFFD FFFD},
    {"a byte that never occurs", "\xFFx\xF5", FFFD "x" FFFD},
    {"two of three bytes, then ASCII", "\xE4\xB8z", FFFD "z"},
    {"three of four bytes at the end", "\xF0\x9F\x98", FFFD},
};

TEST(Utf8, IllFormedBytesBecomeReplacements) {
  for (const Case& c : kByteCases) {
    SCOPED_TRACE(c.name);
    const ExactBytes input(c.input);
    std::string out = "before ";
    AppendValidUtf8(out, std::string_view(input.chars(), input.size()));
    EXPECT_EQ("before " + std::string(c.expected), out);
  }
}

TEST(Utf8, OnlyWellFormedBytesAreValid) {
  for (const Case& c : kByteCases) {
    SCOPED_TRACE(c.name);
    const ExactBytes input(c.input);
    EXPECT_EQ(c.input == c.expected, IsValidUtf8(std::string_view(input.chars(), input.size())));
  }
}

struct UnitCase {
  const char* name;
  std::u16string_view input;
  std::string_view expected;
};

constexpr char16_t kHighThenA[] = {0xD83D, u'a'};
constexpr char16_t kLowThenA[] = {0xDE00, u'a'};
constexpr char16_t kHighAtEnd[] = {u'a', 0xDBFF};
constexpr char16_t kTwoHighs[] = {0xD83D, 0xD83D, 0xDE00};
constexpr char16_t kFirstPair[] = {0xD800, 0xDC00};
constexpr char16_t kLastPair[] = {0xDBFF, 0xDFFF};

const UnitCase kUnitCases[] = {
    {"nothing", u"", ""},
    {"the borders between the lengths", u"\u007F\u0080\u07FF\u0800\uFFFF",
     "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
    {"ASCII on both sides", u"ab\u4E2Dcd", "ab\xE4\xB8\xAD\x63\x64"},
    {"the first pair", std::u16string_view(kFirstPair, 2), "\xF0\x90\x80\x80"},
    {"the last pair", std::u16string_view(kLastPair, 2), "\xF4\x8F\xBF\xBF"},
    {"a first half alone", std::u16string_view(kHighThenA, 2), FFFD "a"},
    {"a second half alone", std::u16string_view(kLowThenA, 2), FFFD "a"},
    {"a first half at the end", std::u16string_view(kHighAtEnd, 2), "a" FFFD},
    {"a first half before a pair", std::u16string_view(kTwoHighs, 3), FFFD "\xF0\x9F\x98\x80"},
};

// Checks on the way that no more is written than there is room for.
std::string FromUnits(std::u16string_view input) {
  const std::vector<char16_t> units(input.begin(), input.end());
  std::vector<char> room(kMostUtf8PerUnit * units.size());
  const char* end = PutUtf8(room.data(), std::u16string_view(units.data(), units.size()));
  EXPECT_LE(static_cast<size_t>(end - room.data()), room.size());
  return std::string(const_cast<const char*>(room.data()), end);
}

TEST(Utf8, UnitsBecomeBytesAndLoneHalvesReplacements) {
  for (const UnitCase& c : kUnitCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.expected, FromUnits(c.input));
  }
}

TEST(Utf8, ACharacterIsFoundAtEveryPlaceOfALongText) {
  for (size_t at = 0; at < 40; ++at) {
    std::u16string text(40, u'a');
    std::string expected(40, 'a');
    text[at] = u'\u4E2D';
    expected.replace(at, 1, "\xE4\xB8\xAD");
    EXPECT_EQ(expected, FromUnits(text)) << at;
  }
}

}  // namespace
}  // namespace mdtorrent
