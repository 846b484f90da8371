#include "core/text/DecodeEncodedString.h"

#include <gtest/gtest.h>
#include <limits.h>

#include <random>
#include <string>
#include <vector>

#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

using core::DecodeEncodedString;
using core::DecodeUtf8;
using std::string;
using std::string_view;
using std::wstring;

constexpr wchar_t kGuard = 0x5A5A5A5A;

// A second reading of the rules, by plain arithmetic, one character at a time.
struct Model {
  int result = 0;
  wstring units;
  bool invalid = false;
  size_t consumed = 0;
};

bool Continues(string_view src, size_t at, size_t n) {
  for (size_t i = 1; i <= n; i++) {
    if (at + i >= src.size() || static_cast<unsigned char>(src[at + i]) / 64 != 2) {
      return false;
    }
  }
  return true;
}

// The value of a four-byte form, as the low 32 bits of a 64-bit result.
uint32_t FourByteValue(int64_t lead, int64_t third, int64_t fourth) {
  return static_cast<uint32_t>((lead * 262144) ^ (fourth * 4096) ^ (third * 64) ^ fourth ^ 0x3C82080);
}

Model DecodeByModel(string_view src, size_t cap) {
  Model model;
  size_t at = 0;
  while (at < src.size()) {
    const auto byte = [&](size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(src[at + i])); };
    const auto as_signed = [&](size_t i) { return static_cast<int>(byte(i)) - (byte(i) >= 128 ? 256 : 0); };
    wstring units;
    size_t length = 1;
    if (byte(0) < 128) {
      units = Units({byte(0)});
    } else if (byte(0) / 32 == 6 && Continues(src, at, 1)) {
      length = 2;
      const unsigned value = byte(0) % 32 * 64 + byte(1) % 64;
      units = Units({value});
      model.invalid |= value < 128;
    } else if (byte(0) / 16 == 14 && Continues(src, at, 2)) {
      length = 3;
      const unsigned value = byte(0) % 16 * 4096 + byte(1) % 64 * 64 + byte(2) % 64;
      units = Units({value});
      model.invalid |= value < 2048;
    } else if (byte(0) / 8 == 30 && Continues(src, at, 3)) {
      length = 4;
      const uint32_t value = FourByteValue(as_signed(0), as_signed(2), as_signed(3));
      units = Units({(value - 65536) / 1024 | 0xD800, value % 1024 | 0xDC00});
    } else {
      units.push_back(static_cast<wchar_t>(as_signed(0)));
      model.invalid = true;
    }
    at += length;
    if (model.units.size() + units.size() > cap) {
      model.result = -1;
      model.consumed = at - 1;
      return model;
    }
    model.units += units;
  }
  model.result = static_cast<int>(model.units.size());
  model.consumed = at;
  return model;
}

// Decodes into a block of exactly `cap` units.
Model DecodeForReal(string_view src, size_t cap) {
  const ExactBytes in(src);
  const std::unique_ptr<wchar_t[]> out(new wchar_t[cap]);
  std::fill_n(out.get(), cap, kGuard);
  Model real;
  real.invalid = true;
  real.result = DecodeUtf8(in.chars(), in.size(), out.get(), cap, &real.invalid, &real.consumed);
  size_t written = 0;
  while (written < cap && out[written] != kGuard) {
    written++;
  }
  real.units.assign(out.get(), written);
  return real;
}

bool Agree(string_view src, size_t cap) {
  const Model want = DecodeByModel(src, cap);
  const Model got = DecodeForReal(src, cap);
  return want.result == got.result && want.units == got.units && want.invalid == got.invalid &&
         want.consumed == got.consumed;
}

string Hex(string_view bytes) {
  string text;
  for (char c : bytes) {
    text += "0123456789abcdef"[static_cast<unsigned char>(c) / 16];
    text += "0123456789abcdef"[static_cast<unsigned char>(c) % 16];
  }
  return text;
}

void ExpectAgreement(string_view src) {
  for (size_t cap = 0; cap <= src.size(); cap++) {
    ASSERT_TRUE(Agree(src, cap)) << Hex(src) << " into " << cap << " units";
  }
}

// Decodes a heap copy of exactly `bytes` by code page, into units that may hold zeros.
wstring Decoded(int code_page, string_view bytes) {
  const ExactBytes in(bytes);
  size_t len = 12345;
  const Owned<wchar_t> text(DecodeEncodedString(code_page, in.chars(), in.size(), &len));
  EXPECT_EQ(0, text[len]);
  return {text.get(), len};
}

TEST(DecodeUtf8, ReadsEachLengthOfCharacter) {
  const struct {
    const char* name;
    string_view bytes;
    wstring units;
    bool invalid;
  } kCases[] = {
      {"zero", string_view("\0", 1), Units({0}), false},
      {"last of one byte", "\x7F", Units({0x7F}), false},
      {"first of two bytes", "\xC2\x80", Units({0x80}), false},
      {"e with acute", "\xC3\xA9", Units({0xE9}), false},
      {"last of two bytes", "\xDF\xBF", Units({0x7FF}), false},
      {"first of three bytes", "\xE0\xA0\x80", Units({0x800}), false},
      {"euro sign", "\xE2\x82\xAC", Units({0x20AC}), false},
      {"last of three bytes", "\xEF\xBF\xBF", Units({0xFFFF}), false},
      {"surrogate in three bytes", "\xED\xA0\xBD", Units({0xD83D}), false},
      {"four bytes", "\xF0\x9F\x98\x80", Units({0xFBCE, 0xDD00}), false},
      {"shortest overlong pair", "\xC0\x80", Units({0}), true},
      {"longest overlong pair", "\xC1\xBF", Units({0x7F}), true},
      {"overlong triple of zero", "\xE0\x80\x80", Units({0}), true},
      {"longest overlong triple", "\xE0\x9F\xBF", Units({0x7FF}), true},
      {"lone lead of two", "\xE9", Units({0xFFFFFFE9}), true},
      {"first stray continuation", "\x80", Units({0xFFFFFF80}), true},
      {"last stray continuation", "\xBF", Units({0xFFFFFFBF}), true},
      {"first byte above the leads", "\xF8", Units({0xFFFFFFF8}), true},
      {"last byte", "\xFF", Units({0xFFFFFFFF}), true},
      {"lead before ASCII", "\xC3(", Units({0xFFFFFFC3, '('}), true},
      {"triple cut short", "\xE2\x82", Units({0xFFFFFFE2, 0xFFFFFF82}), true},
      {"quadruple cut short", "\xF0\x9F\x98", Units({0xFFFFFFF0, 0xFFFFFF9F, 0xFFFFFF98}), true},
      {"five-byte form", "\xF8\x88\x80\x80\x80", Units({0xFFFFFFF8, 0xFFFFFF88, 0xFFFFFF80, 0xFFFFFF80, 0xFFFFFF80}),
       true},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    const Model got = DecodeForReal(c.bytes, c.bytes.size());
    EXPECT_EQ(c.units, got.units);
    EXPECT_EQ(c.invalid, got.invalid);
    EXPECT_EQ(static_cast<int>(c.units.size()), got.result);
    EXPECT_EQ(c.bytes.size(), got.consumed);
  }
}

TEST(DecodeUtf8, FourByteFormsFollowTheirFormula) {
  for (int lead = 0xF0; lead <= 0xF7; lead++) {
    for (int third = 0x80; third <= 0xBF; third++) {
      for (int fourth = 0x80; fourth <= 0xBF; fourth++) {
        const uint32_t value = FourByteValue(lead - 256, third - 256, fourth - 256);
        ASSERT_GE(value, 0x3E00003u);
        ASSERT_LE(value, 0x3FFFFFCu);
        const string bytes = {static_cast<char>(lead), '\x80', static_cast<char>(third), static_cast<char>(fourth)};
        const Model got = DecodeForReal(bytes, 2);
        ASSERT_EQ(2, got.result) << Hex(bytes);
        ASSERT_FALSE(got.invalid) << Hex(bytes);
        ASSERT_EQ(Units({(value - 0x10000) / 1024 | 0xD800, value % 1024 | 0xDC00}), got.units) << Hex(bytes);
      }
    }
  }
}

TEST(DecodeUtf8, FourByteFormsIgnoreTheSecondByte) {
  const Model first = DecodeForReal("\xF3\x80\xA5\x9C", 2);
  for (int second = 0x81; second <= 0xBF; second++) {
    const string bytes = {'\xF3', static_cast<char>(second), '\xA5', '\x9C'};
    EXPECT_EQ(first.units, DecodeForReal(bytes, 2).units) << Hex(bytes);
  }
}

TEST(DecodeUtf8, AgreesWithTheModelOnEveryPairOfBytes) {
  for (int first = 0; first < 256; first++) {
    ExpectAgreement(string(1, static_cast<char>(first)));
    for (int second = 0; second < 256; second++) {
      ExpectAgreement(string{static_cast<char>(first), static_cast<char>(second)});
    }
  }
}

TEST(DecodeUtf8, AgreesWithTheModelOnShortMixturesOfTellingBytes) {
  constexpr string_view kBytes("\x00\x7F\x80\xBF\xC0\xDF\xE0\xEF\xF0\xF7\xF8", 11);
  string bytes;
  for (size_t number = 0; number < size_t{11} * 11 * 11 * 11; number++) {
    bytes.clear();
    for (size_t rest = number, i = 0; i < 4; i++, rest /= 11) {
      bytes.push_back(kBytes[rest % 11]);
    }
    ExpectAgreement(bytes);
  }
}

TEST(DecodeUtf8, FindsACharacterAnywhereInAsciiOfAnyLength) {
  for (size_t len = 0; len <= 34; len++) {
    for (size_t at = 0; at <= len; at++) {
      for (string_view character : {"", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xFF"}) {
        const string bytes = string(at, 'a') + string(character) + string(len - at, 'z');
        ASSERT_TRUE(Agree(bytes, bytes.size())) << Hex(bytes);
      }
    }
  }
}

TEST(DecodeUtf8, AgreesWithTheModelOnRandomText) {
  constexpr unsigned kSeed = 20240611;
  std::mt19937 random(kSeed);
  constexpr string_view kPieces[] = {
      "a", "torrent", "0123456789abcdef", "\xD0\x96", "\xE6\xBC\xA2", "\xF0\x9F\x98\x80", "\x80", "\xE9"};
  for (int round = 0; round < 2000; round++) {
    string bytes;
    for (size_t pieces = random() % 12; pieces > 0; pieces--) {
      bytes += kPieces[random() % std::size(kPieces)];
    }
    const size_t cap = random() % (bytes.size() + 1);
    ASSERT_TRUE(Agree(bytes, bytes.size())) << "seed " << kSeed << ": " << Hex(bytes);
    ASSERT_TRUE(Agree(bytes, cap)) << "seed " << kSeed << ": " << Hex(bytes) << " into " << cap;
  }
}

TEST(DecodeUtf8, FullDestinationReportsTheLastByteOfTheCharacterThatDidNotFit) {
  const struct {
    const char* name;
    string_view bytes;
    size_t cap;
    size_t consumed;
  } kCases[] = {
      {"ASCII", "abc", 2, 2},
      {"two bytes", "a\xC3\xA9", 1, 2},
      {"three bytes", "a\xE2\x82\xAC", 1, 3},
      {"pair with no room", "a\xF0\x9F\x98\x80", 1, 4},
      {"pair with room for half", "a\xF0\x9F\x98\x80", 2, 4},
      {"lone lead", "a\xE2z", 1, 1},
      {"nothing fits", "a", 0, 0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    const Model got = DecodeForReal(c.bytes, c.cap);
    EXPECT_EQ(-1, got.result);
    EXPECT_EQ(c.consumed, got.consumed);
  }
}

TEST(DecodeUtf8, HalfAPairIsNotWritten) { EXPECT_EQ(L"a", DecodeForReal("a\xF0\x9F\x98\x80", 2).units); }

TEST(DecodeUtf8, FillsItsDestinationExactly) {
  const Model got = DecodeForReal("a\xF0\x9F\x98\x80", 3);
  EXPECT_EQ(3, got.result);
  EXPECT_EQ(5u, got.consumed);
}

TEST(DecodeUtf8, ConsumedMayBeNull) {
  wchar_t unit = 0;
  bool invalid = true;
  EXPECT_EQ(1, DecodeUtf8("a", 1, &unit, 1, &invalid, nullptr));
  EXPECT_FALSE(invalid);
  EXPECT_EQ(-1, DecodeUtf8("ab", 2, &unit, 1, &invalid, nullptr));
}

TEST(DecodeUtf8, NothingGivesNothing) {
  bool invalid = true;
  size_t consumed = 7;
  EXPECT_EQ(0, DecodeUtf8(nullptr, 0, nullptr, 0, &invalid, &consumed));
  EXPECT_FALSE(invalid);
  EXPECT_EQ(0u, consumed);
}

TEST(DecodeEncodedString, ReadsValidUtf8OnBothUtf8Pages) {
  const ScopedLocale plain("C");
  EXPECT_EQ(Units({0xE9}), Decoded(0, "\xC3\xA9"));
  EXPECT_EQ(Units({0xE9}), Decoded(1, "\xC3\xA9"));
}

TEST(DecodeEncodedString, Utf8PageKeepsInvalidBytes) {
  EXPECT_EQ(Units({0xFFFFFFE9}), Decoded(1, "\xE9"));
  EXPECT_EQ(Units({'a', 0, 'b'}), Decoded(1,
                                          "a\xC0\x80"
                                          "b"));
}

TEST(DecodeEncodedString, Utf8KeepsZeroBytes) {
  const string_view bytes("a\0b", 3);
  EXPECT_EQ(Units({'a', 0, 'b'}), Decoded(0, bytes));
  EXPECT_EQ(Units({'a', 0, 'b'}), Decoded(1, bytes));
}

TEST(DecodeEncodedString, InvalidUtf8IsReadInTheLocalesEncoding) {
  const Latin1Locale latin1;
  if (!latin1.ok()) {
    GTEST_SKIP() << "no ISO-8859-1 locale, and localedef cannot make one";
  }
  EXPECT_EQ(L"caf\u00E9", Decoded(0, "caf\xE9"));
  EXPECT_EQ(Units({0xC0, 0x80}), Decoded(0, "\xC0\x80"));
  // One bad byte takes the whole text with it.
  EXPECT_EQ(Units({0xC3, 0xA9, 0xE9}), Decoded(0, "\xC3\xA9\xE9"));
}

TEST(DecodeEncodedString, EveryOtherPageIsTheLocalesEncoding) {
  const Latin1Locale latin1;
  if (!latin1.ok()) {
    GTEST_SKIP() << "no ISO-8859-1 locale, and localedef cannot make one";
  }
  for (int page : {2, 1252, INT_MAX, -1, INT_MIN}) {
    EXPECT_EQ(Units({0xC3, 0xA9}), Decoded(page, "\xC3\xA9")) << page;
  }
}

TEST(DecodeEncodedString, ReadsCyrillicInItsLocale) {
  const CyrillicLocale cyrillic;
  if (!cyrillic.ok()) {
    GTEST_SKIP() << "no CP1251 locale, and localedef cannot make one";
  }
  EXPECT_EQ(L"\u041F\u0440", Decoded(1251, "\xCF\xF0"));
}

TEST(DecodeEncodedString, ReadsDoubleByteTextInItsLocale) {
  const ShiftJisLocale japanese;
  if (!japanese.ok()) {
    GTEST_SKIP() << "no Shift-JIS locale, and localedef cannot make one";
  }
  EXPECT_EQ(L"\u30C6\u30B9\u30C8", Decoded(932, "\x83\x65\x83\x58\x83\x67"));
  EXPECT_EQ(L"\u30C6", Decoded(0, "\x83\x65"));
}

TEST(DecodeEncodedString, LettersThatWaitForAnAccentAreRead) {
  const VietnameseLocale vietnamese;
  if (!vietnamese.ok()) {
    GTEST_SKIP() << "no TCVN5712-1 locale, and localedef cannot make one";
  }
  for (size_t len = 1; len < 20; len++) {
    EXPECT_EQ(wstring(len, L'a'), Decoded(2, string(len, 'a')));
  }
  EXPECT_EQ(L"\u1EA4", Decoded(0, "\xC4"));
  EXPECT_EQ(L"x\u00E1", Decoded(2, "xa\xB3"));
  EXPECT_EQ(L"a", Decoded(2, string_view("a\0b", 3)));
}

TEST(DecodeEncodedString, BytesOfSeveralCharactersStayInTheBlock) {
  const TamilLocale tamil;
  if (!tamil.ok()) {
    GTEST_SKIP() << "no TSCII locale, and localedef cannot make one";
  }
  for (int byte = 1; byte < 256; byte++) {
    for (size_t len = 1; len < 9; len++) {
      EXPECT_GE(len, Decoded(2, string(len, static_cast<char>(byte))).size()) << byte;
    }
  }
}

TEST(DecodeEncodedString, CharacterCutOffAtTheEndIsLeftOut) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  EXPECT_EQ(L"ab", Decoded(2, "ab\xC3"));
  EXPECT_EQ(L"ab", Decoded(0, "ab\xE2\x82"));
  EXPECT_EQ(L"", Decoded(2, "\xF0\x9F\x98"));
}

TEST(DecodeEncodedString, TextThatTheLocaleCannotConvertIsEmpty) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  EXPECT_EQ(L"", Decoded(0, "abc\xFFxyz"));
  EXPECT_EQ(L"", Decoded(2, "abc\xFFxyz"));
}

TEST(DecodeEncodedString, LocaleTextEndsAtItsFirstZeroByte) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  EXPECT_EQ(L"ab", Decoded(2, string_view("ab\0cd", 5)));
  EXPECT_EQ(L"ab", Decoded(0, string_view("ab\0\xFF", 4)));
}

TEST(DecodeEncodedString, LocaleTextOfAsciiFillsItsBlock) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  for (size_t len = 1; len < 20; len++) {
    EXPECT_EQ(wstring(len, L'x'), Decoded(2, string(len, 'x')));
  }
}

TEST(DecodeEncodedString, LocaleCharactersAboveTheBasicPlaneStayOneUnit) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  EXPECT_EQ(Units({0x1F600}), Decoded(2, "\xF0\x9F\x98\x80"));
}

TEST(DecodeEncodedString, EmptyInputIsEmptyOnEveryPage) {
  for (int page : {0, 1, 2, -1}) {
    size_t len = 7;
    const Owned<wchar_t> text(DecodeEncodedString(page, nullptr, 0, &len));
    EXPECT_EQ(0u, len);
    EXPECT_EQ(0, text[0]);
  }
}

TEST(DecodeEncodedString, AllOnesMeasuresTheText) {
  const Narrow in("caf\xC3\xA9");
  size_t len = 0;
  const Owned<wchar_t> text(DecodeEncodedString(0, in.get(), SIZE_MAX, &len));
  EXPECT_EQ(4u, len);
  EXPECT_EQ(wstring(L"caf\u00E9"), text.get());
  EXPECT_EQ(L"", Take(DecodeEncodedString(0, "", SIZE_MAX, nullptr)));
}

TEST(DecodeEncodedString, LengthMayBeNull) { EXPECT_EQ(L"abc", Take(DecodeEncodedString(0, "abc", 3, nullptr))); }

TEST(DecodeEncodedString, ShrinksFromFourSpareUnitsOn) {
  const test_host::Scope host;
  const string e_acute = "\xC3\xA9";
  const auto attempts = [&](int pairs) {
    string bytes;
    for (int i = 0; i < pairs; i++) {
      bytes += e_acute;
    }
    test_host::ResetPlatformMemory();
    EXPECT_EQ(wstring(static_cast<size_t>(pairs), L'\u00E9'), Decoded(1, bytes));
    return test_host::AllocationAttempts();
  };
  EXPECT_EQ(1, attempts(3));
  EXPECT_EQ(2, attempts(4));
  EXPECT_EQ(2, attempts(5));
}

TEST(DecodeEncodedString, ReadsLongText) {
  string bytes;
  wstring want;
  for (int i = 0; i < 20000; i++) {
    bytes += "path/to/\xE6\xBC\xA2.txt;";
    want += L"path/to/\u6F22.txt;";
  }
  EXPECT_EQ(want, Decoded(0, bytes));
}

TEST(DecodeEncodedStringDeathTest, LengthBeyondTheAddressSpaceIsFatal) {
  EXPECT_FATAL(DecodeEncodedString(0, "a", SIZE_MAX - 1, nullptr), "core/mem1", 192);
  EXPECT_FATAL(DecodeEncodedString(0, "a", SIZE_MAX / 4, nullptr), "core/mem1", 192);
}

}  // namespace
