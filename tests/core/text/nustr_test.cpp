#include "core/text/nustr.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <limits.h>

#include <random>
#include <string>

#include "core/text/DecodeEncodedString.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/huge_text.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

using std::string;
using std::string_view;
using std::wstring;
using std::wstring_view;

TEST(NuStrnlen, StopsAtTheTerminatorOrAtTheMaximum) {
  const Narrow narrow("abc");
  const Wide wide(L"abc");
  const struct {
    size_t max;
    int len;
  } kCases[] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 3}, {SIZE_MAX, 3}};
  for (const auto& c : kCases) {
    EXPECT_EQ(c.len, core::nustrnlen(narrow.get(), c.max)) << c.max;
    EXPECT_EQ(c.len, core::nuwstrnlen(wide.get(), c.max)) << c.max;
  }
}

TEST(NuStrnlen, ReadsNothingBeyondTheMaximum) {
  const ExactBytes bytes("abcdefghijklmnopq");
  EXPECT_EQ(17, core::nustrnlen(bytes.chars(), 17));
  const std::unique_ptr<wchar_t[]> units(new wchar_t[5]{L'a', L'b', L'c', L'd', L'e'});
  EXPECT_EQ(5, core::nuwstrnlen(units.get(), 5));
}

TEST(NuStrnlen, ZeroMaximumReadsNothing) {
  EXPECT_EQ(0, core::nustrnlen(nullptr, 0));
  EXPECT_EQ(0, core::nuwstrnlen(nullptr, 0));
}

// The low 32 bits as a number with sign, of lengths on both sides of 2^31 and of 2^32.
TEST(NuStrnlen, CutsTheLengthTo32Bits) {
  constexpr size_t kLen = (size_t{1} << 32) + 5;
  const HugeText<char> narrow(kLen);
  const HugeText<wchar_t> wide(kLen);
  if (!narrow.ok() || !wide.ok()) {
    GTEST_SKIP() << "no address space for a huge text";
  }
  const struct {
    size_t max;
    int len;
  } kCases[] = {{0x7FFFFFFF, INT_MAX}, {0x80000000, INT_MIN}, {0xFFFFFFFF, -1}, {0x100000000, 0}, {SIZE_MAX, 5}};
  for (const auto& c : kCases) {
    EXPECT_EQ(c.len, core::nustrnlen(narrow.get(), c.max)) << c.max;
    EXPECT_EQ(c.len, core::nuwstrnlen(wide.get(), c.max)) << c.max;
  }
}

TEST(LenOfStr, CountsUnits) {
  EXPECT_EQ(0u, core::len_of_str<wchar_t>(Wide(L"").get()));
  EXPECT_EQ(5u, core::len_of_str<wchar_t>(Wide(L"ab\u20ACde").get()));
  EXPECT_EQ(3u, core::len_of_str<char>(Narrow("abc").get()));
}

TEST(NuStrdup, MakesACopy) {
  const Narrow narrow("abc");
  const Owned<char> copy(core::nustrdup(narrow.get()));
  EXPECT_NE(narrow.get(), copy.get());
  EXPECT_STREQ("abc", copy.get());
  EXPECT_EQ("", Take(core::nustrdup("")));
  const Wide wide(L"abc");
  const Owned<wchar_t> wide_copy(core::wstrdup(wide.get()));
  EXPECT_NE(wide.get(), wide_copy.get());
  EXPECT_STREQ(L"abc", wide_copy.get());
  EXPECT_EQ(L"", Take(core::wstrdup(L"")));
}

TEST(NuStrdup, NullGivesNull) {
  EXPECT_EQ(nullptr, core::nustrdup(nullptr));
  EXPECT_EQ(nullptr, core::wstrdup(nullptr));
}

TEST(StrDupLen, CopiesExactlySoManyCharactersAndTerminates) {
  const ExactBytes bytes(string_view("ab\0de", 5));
  const Owned<char> copy(core::strduplen(bytes.chars(), 5));
  EXPECT_EQ(string_view("ab\0de\0", 6), string_view(copy.get(), 6));
  EXPECT_EQ("", Take(core::strduplen(bytes.chars(), 0)));
  const wstring units(L"ab\0de", 5);
  const Owned<wchar_t> wide(core::wstrduplen(units.data(), 5));
  EXPECT_EQ(wstring_view(L"ab\0de\0", 6), wstring_view(wide.get(), 6));
  EXPECT_EQ(L"", Take(core::wstrduplen(units.data(), 0)));
}

TEST(StrDupLenDeathTest, NullIsFatal) {
  EXPECT_FATAL(core::strduplen(nullptr, 3), "core/nustr", 46);
  EXPECT_FATAL(core::wstrduplen(nullptr, 3), "core/nustr", 65);
}

TEST(AllocStringDeathTest, SizeThatWrapsIsFatal) {
  EXPECT_FATAL(core::AllocString<char>(SIZE_MAX), "core/mem1", 192);
  EXPECT_FATAL(core::AllocString<wchar_t>(SIZE_MAX / 4), "core/mem1", 192);
  EXPECT_FATAL(core::AllocString<wchar_t>(SIZE_MAX / 4 - 1), "core/mem1", 192);
}

constexpr string_view kList("a\0B\0ccc\0", 8);  // the literal's terminator ends the list

TEST(ZStrings, CountsTheStringsBeforeTheEmptyOne) {
  EXPECT_EQ(0, core::zstrings_get_count(Narrow("").get()));
  EXPECT_EQ(1, core::zstrings_get_count(Narrow(string_view("a\0", 2)).get()));
  EXPECT_EQ(3, core::zstrings_get_count(Narrow(kList).get()));
}

TEST(ZStrings, GivesTheStringAtAnIndex) {
  const Narrow list(kList);
  EXPECT_EQ(list.get(), core::zstrings_get_str_at(list.get(), 0));
  EXPECT_EQ(list.get() + 2, core::zstrings_get_str_at(list.get(), 1));
  EXPECT_EQ(list.get() + 4, core::zstrings_get_str_at(list.get(), 2));
  EXPECT_EQ(nullptr, core::zstrings_get_str_at(list.get(), 3));
  EXPECT_EQ(nullptr, core::zstrings_get_str_at(list.get(), 4));
  EXPECT_EQ(nullptr, core::zstrings_get_str_at(list.get(), INT_MAX));
}

TEST(ZStrings, IndexZeroOfAnEmptyListIsTheList) {
  const Narrow list("");
  EXPECT_EQ(list.get(), core::zstrings_get_str_at(list.get(), 0));
  EXPECT_EQ(nullptr, core::zstrings_get_str_at(list.get(), 1));
}

TEST(ZStrings, FindsTheFirstEqualString) {
  const Narrow list(kList);
  EXPECT_EQ(1, core::zstrings_get_str_pos(list.get(), "b", false));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(list.get(), "b", true));
  EXPECT_EQ(1, core::zstrings_get_str_pos(list.get(), "B", true));
  EXPECT_EQ(2, core::zstrings_get_str_pos(list.get(), "ccc", true));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(list.get(), "cc", false));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(list.get(), "cccc", false));
  const Narrow twice(string_view("x\0X\0x\0", 6));
  EXPECT_EQ(0, core::zstrings_get_str_pos(twice.get(), "X", false));
  EXPECT_EQ(1, core::zstrings_get_str_pos(twice.get(), "X", true));
}

TEST(ZStrings, NullTextAndEmptyListsMatchNothing) {
  EXPECT_EQ(-1, core::zstrings_get_str_pos(Narrow(kList).get(), nullptr, true));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(Narrow(kList).get(), "", true));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(Narrow("").get(), "a", true));
  EXPECT_EQ(-1, core::zstrings_get_str_pos(Narrow("").get(), "", false));
}

TEST(ZStringsDeathTest, NullListIsFatal) {
  EXPECT_FATAL(core::zstrings_get_str_pos(nullptr, "a", true), "core/nustr", 212);
  EXPECT_FATAL(core::zstrings_get_str_pos(nullptr, nullptr, true), "core/nustr", 212);
}

TEST(ZStringsDeathTest, NegativeIndexIsFatal) { EXPECT_FATAL(core::zstrings_get_str_at("a\0", -1), "core/nustr", 241); }

constexpr int64_t kUntouched = 4711;

TEST(StrToInt64, StoresTheValueAndReturnsFalse) {
  const struct {
    const char* text;
    int64_t value;
  } kCases[] = {
      {"0", 0},
      {"10", 10},
      {"-10", -10},
      {"+7", 7},
      {" \t12", 12},
      {"0x10", 16},
      {"0XfF", 255},
      {"-0x10", -16},
      {"010", 8},
      {"08", 0},
      {"12abc", 12},
      {"9223372036854775807", INT64_MAX},
      {"-9223372036854775808", INT64_MIN},
      {"0x7fffffffffffffff", INT64_MAX},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.text);
    int64_t value = kUntouched;
    EXPECT_FALSE(core::str_to_int64(Narrow(c.text).get(), &value));
    EXPECT_EQ(c.value, value);
  }
}

TEST(StrToInt64, FailureReturnsTrueAndStoresNothing) {
  for (const char* text : {"", "abc", " ", "-", "+-1", "9223372036854775808", "-9223372036854775809",
                           "0x8000000000000000", "99999999999999999999999999"}) {
    SCOPED_TRACE(text);
    int64_t value = kUntouched;
    EXPECT_TRUE(core::str_to_int64(Narrow(text).get(), &value));
    EXPECT_EQ(kUntouched, value);
  }
}

TEST(StrToInt64, IgnoresAnErrorFromBefore) {
  int64_t value = kUntouched;
  errno = ERANGE;
  EXPECT_FALSE(core::str_to_int64("0", &value));
  EXPECT_EQ(0, value);
}

TEST(StrToInt64, FailureNeedsNoDestination) { EXPECT_TRUE(core::str_to_int64("abc", nullptr)); }

TEST(StrToInt64DeathTest, SuccessWithoutADestinationIsFatal) {
  EXPECT_FATAL(core::str_to_int64("1", nullptr), "core/nustr", 320);
}

TEST(Atoi64, ReadsDecimalOnly) {
  const struct {
    const char* text;
    int64_t value;
  } kCases[] = {
      {"", 0},
      {"abc", 0},
      {"-", 0},
      {"42", 42},
      {" -42x", -42},
      {"010", 10},
      {"0x10", 0},
      {"9223372036854775807", INT64_MAX},
      {"9223372036854775808", INT64_MAX},
      {"-9223372036854775809", INT64_MIN},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.value, core::_atoi64(Narrow(c.text).get())) << c.text;
  }
}

// A second reading of the encoding: one unit at a time, by arithmetic.
string EncodeByModel(wstring_view units) {
  string bytes;
  for (wchar_t c : units) {
    const int64_t unit = c < 0 ? int64_t{c} + 4294967296 : c;
    if (unit < 128) {
      bytes += static_cast<char>(unit);
    } else if (unit < 2048) {
      bytes += static_cast<char>(192 + unit / 64);
      bytes += static_cast<char>(128 + unit % 64);
    } else {
      bytes += static_cast<char>((unit / 4096 | 224) % 256);
      bytes += static_cast<char>(128 + unit / 64 % 64);
      bytes += static_cast<char>(128 + unit % 64);
    }
  }
  return bytes;
}

string Encoded(wstring_view units) {
  const Wide text(units);
  size_t len = 12345;
  const Owned<char> bytes(core::wstr_to_utf8(text.get(), &len));
  EXPECT_EQ(0, bytes[len]);
  return {bytes.get(), len};
}

TEST(WstrToUtf8, EncodesEachUnitByItself) {
  const struct {
    const char* name;
    wstring units;
    string bytes;
  } kCases[] = {
      {"empty", L"", ""},
      {"last of one byte", Units({0x7F}), "\x7F"},
      {"first of two bytes", Units({0x80}), "\xC2\x80"},
      {"e with acute", Units({0xE9}), "\xC3\xA9"},
      {"last of two bytes", Units({0x7FF}), "\xDF\xBF"},
      {"first of three bytes", Units({0x800}), "\xE0\xA0\x80"},
      {"euro sign", Units({0x20AC}), "\xE2\x82\xAC"},
      {"lone surrogate", Units({0xD83D}), "\xED\xA0\xBD"},
      {"surrogate pair", Units({0xD83D, 0xDE00}), "\xED\xA0\xBD\xED\xB8\x80"},
      {"last of three bytes", Units({0xFFFF}), "\xEF\xBF\xBF"},
      {"above the basic plane", Units({0x1F600}), "\xFF\x98\x80"},
      {"undecodable byte", Units({0xFFFFFFE9}), "\xFF\xBF\xA9"},
      {"highest positive", Units({0x7FFFFFFF}), "\xFF\xBF\xBF"},
      {"lowest negative", Units({0x80000000}), "\xE0\x80\x80"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.bytes, Encoded(c.units));
  }
}

TEST(WstrToUtf8, FindsAWideUnitAnywhereInAsciiOfAnyLength) {
  for (size_t len = 0; len <= 26; len++) {
    for (size_t at = 0; at <= len; at++) {
      for (const wstring& unit : {wstring(), Units({0x80}), Units({0x20AC}), Units({0xFFFFFF80})}) {
        const wstring units = wstring(at, L'a') + unit + wstring(len - at, L'z');
        ASSERT_EQ(EncodeByModel(units), Encoded(units)) << len << " " << at;
      }
    }
  }
}

TEST(WstrToUtf8, GrowsAtEveryLengthAndWidth) {
  for (size_t ascii = 100; ascii <= 140; ascii++) {
    for (wchar_t unit : {L'b', wchar_t{0x80}, L'\u00E9', L'\u20AC'}) {
      const wstring units = wstring(ascii, L'a') + wstring(140, unit);
      ASSERT_EQ(EncodeByModel(units), Encoded(units)) << ascii;
    }
  }
}

TEST(WstrToUtf8, GrowsWhenTheThresholdIsReached) {
  const test_host::Scope host;
  const auto attempts = [](size_t units, wchar_t unit) {
    test_host::ResetPlatformMemory();
    EXPECT_EQ(units * (unit < 0x80 ? 1 : 2), Encoded(wstring(units, unit)).size());
    return test_host::AllocationAttempts();
  };
  EXPECT_EQ(1, attempts(126, L'a'));
  EXPECT_EQ(2, attempts(127, L'a'));
  EXPECT_EQ(2, attempts(253, L'a'));
  EXPECT_EQ(3, attempts(254, L'a'));
  EXPECT_EQ(1, attempts(63, L'\u00E9'));
  EXPECT_EQ(2, attempts(64, L'\u00E9'));
  EXPECT_EQ(3, attempts(200, L'\u00E9'));
}

TEST(WstrToUtf8, StartsWithItsThresholdAndFourBytes) {
  const test_host::Scope host;
  test_host::FailAllocations(1);
  Encoded(wstring(127, L'a'));
  EXPECT_EQ(127u + 4, test_host::WarnNoMemorySize());
}

TEST(WstrToUtf8, AgreesWithTheModelOnRandomText) {
  constexpr unsigned kSeed = 17;
  std::mt19937 random(kSeed);
  constexpr unsigned kPieces[] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 0xE9, 0x20AC, 0xD83D, 0x1F600, 0xFFFFFFE9};
  for (int round = 0; round < 2000; round++) {
    wstring units;
    while (random() % 64 != 0) {
      units += static_cast<wchar_t>(kPieces[random() % std::size(kPieces)]);
    }
    ASSERT_EQ(EncodeByModel(units), Encoded(units)) << "seed " << kSeed << ", round " << round;
  }
}

TEST(WstrToUtf8, DecodingBringsEveryUnitOfTheBasicPlaneBack) {
  wstring units;
  for (wchar_t unit = 1; unit <= 0xFFFF; unit++) {
    units += unit;
  }
  const string bytes = Encoded(units);
  size_t len = 0;
  const Owned<wchar_t> back(core::DecodeEncodedString(core::kCodePageUtf8OrLocale, bytes.data(), bytes.size(), &len));
  EXPECT_TRUE(units == wstring(back.get(), len));
}

TEST(WstrToUtf8, LengthMayBeNull) { EXPECT_EQ("a\xC3\xA9", Take(core::wstr_to_utf8(L"a\u00E9", nullptr))); }

TEST(EncodeUtf8, IsWstrToUtf8) {
  size_t len = 0;
  EXPECT_EQ("a\xE2\x82\xAC", Take(core::EncodeUtf8(L"a\u20AC", &len)));
  EXPECT_EQ(4u, len);
}

TEST(StrToUtf8, CopiesTheTextAsItIs) {
  size_t len = 0;
  EXPECT_EQ("a\xE9", Take(core::str_to_utf8("a\xE9", &len)));
  EXPECT_EQ(2u, len);
  EXPECT_EQ("abc", Take(core::str_to_utf8("abc")));
}

TEST(StrToUtf8, NullGivesNullAndNoLength) {
  size_t len = 7;
  EXPECT_EQ(nullptr, core::str_to_utf8(nullptr, &len));
  EXPECT_EQ(0u, len);
}

}  // namespace
