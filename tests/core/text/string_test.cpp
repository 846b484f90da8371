// Comparison, prefixes and suffixes.
#include "core/text/string.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <wctype.h>

#include <algorithm>
#include <string>

#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/text.h"

namespace {

wint_t largest_lowered = 0;  // what the library asked the platform about

}  // namespace

// The platform's own, written down: not every platform's takes units that are no characters.
extern "C" wint_t towlower(wint_t c) noexcept {
  largest_lowered = std::max(largest_lowered, c);
  return ::towctrans(c, ::wctrans("tolower"));
}

namespace {

using std::string;
using std::wstring;

struct AffixCase {
  const char* text;
  const char* affix;
  bool exact;
  bool folded;
};

wstring Widened(const char* text) {
  wstring wide;
  for (; *text != 0; text++) {
    wide += static_cast<wchar_t>(static_cast<unsigned char>(*text));
  }
  return wide;
}

const AffixCase kPrefixes[] = {
    {"", "", true, true},           {"abc", "", true, true},     {"", "a", false, false},
    {"abc", "abc", true, true},     {"abc", "ab", true, true},   {"abc", "abcd", false, false},
    {"abc", "AB", false, true},     {"ABC", "ab", false, true},  {"abc", "b", false, false},
    {"Z", "z", false, true},        {"A", "a", false, true},     {"@", "`", false, false},
    {"[", "{", false, false},       {"a[c", "a{", false, false}, {"\xC9", "\xE9", false, false},
    {"abcdef", "abd", false, false}};

TEST(StringPrefix, IsComparedWithAndWithoutFolding) {
  for (const AffixCase& c : kPrefixes) {
    SCOPED_TRACE(string(c.text) + " / " + c.affix);
    EXPECT_EQ(c.exact, core::strbegins(Narrow(c.text).get(), Narrow(c.affix).get()));
    EXPECT_EQ(c.folded, core::stribegins(Narrow(c.text).get(), Narrow(c.affix).get()));
    const Wide text(Widened(c.text));
    const Wide prefix(Widened(c.affix));
    EXPECT_EQ(c.exact, core::tstrbegins(text.get(), prefix.get()));
    EXPECT_EQ(c.folded, core::tstribegins(text.get(), prefix.get()));
  }
}

TEST(StringPrefix, FoldsAsTheLocaleDoesOnlyInStribegins) {
  const Latin1Locale latin1;
  if (!latin1.ok()) {
    GTEST_SKIP() << "no ISO-8859-1 locale, and localedef cannot make one";
  }
  EXPECT_TRUE(core::stribegins("\xC9t\xE9", "\xE9T\xC9"));
  EXPECT_FALSE(core::striends("\xC9", "\xE9"));
  EXPECT_FALSE(core::tstribegins(L"\u00C9", L"\u00E9"));
}

TEST(StringPrefix, EveryByteEqualsItselfInStribegins) {
  for (int byte = 1; byte < 256; byte++) {
    const Narrow text(string(1, static_cast<char>(byte)));
    EXPECT_TRUE(core::stribegins(text.get(), text.get())) << byte;
  }
}

TEST(StringPrefixDeathTest, NullArgumentOfStribeginsIsFatal) {
  EXPECT_FATAL(core::stribegins(nullptr, "a"), "core/string", 40);
  EXPECT_FATAL(core::stribegins("a", nullptr), "core/string", 40);
}

const AffixCase kSuffixes[] = {
    {"", "", true, true},        {"abc", "", true, true},     {"", "a", false, false},
    {"abc", "abc", true, true},  {"abc", "bc", true, true},   {"abc", "xabc", false, false},
    {"bc", "abc", false, false}, {"abc", "BC", false, true},  {"ABC", "bc", false, true},
    {"abc", "b", false, false},  {"ab[", "b{", false, false}, {"x.TORRENT", ".torrent", false, true}};

TEST(StringSuffix, IsComparedWithAndWithoutFolding) {
  for (const AffixCase& c : kSuffixes) {
    SCOPED_TRACE(string(c.text) + " / " + c.affix);
    EXPECT_EQ(c.exact, core::strends(Narrow(c.text).get(), Narrow(c.affix).get()));
    EXPECT_EQ(c.folded, core::striends(Narrow(c.text).get(), Narrow(c.affix).get()));
    EXPECT_EQ(c.folded, core::tstriends(Wide(Widened(c.text)).get(), Wide(Widened(c.affix)).get()));
  }
}

TEST(StrncmpExact, WantsTheTextToEndWithTheRange) {
  const struct {
    const char* a;
    const char* b;
    size_t n;
    int sign;
  } kCases[] = {
      {"abc", "abc", 3, 0}, {"abc", "abcd", 3, 0}, {"abcd", "abc", 3, 1}, {"abcd", "abce", 3, 1}, {"abc", "abd", 3, -1},
      {"abd", "abc", 3, 1}, {"ab", "ab", 3, 0},    {"ab", "ab", 100, 0},  {"a", "b", 0, 1},       {"", "b", 0, 0},
      {"ab", "abc", 3, -1}, {"abc", "ab", 3, 1},   {"", "", SIZE_MAX, 0}, {"abc", "ab", 2, 1},    {"ab", "abc", 2, 0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(string(c.a) + " / " + c.b + " / " + std::to_string(c.n));
    const int order = core::strncmp_exact(Narrow(c.a).get(), Narrow(c.b).get(), c.n);
    EXPECT_EQ(c.sign, (order > 0) - (order < 0));
  }
}

TEST(StrncmpExact, RemainderGivesOne) { EXPECT_EQ(1, core::strncmp_exact("abcz", "abc", 3)); }

TEST(StriprefixMatch, EndsAfterTheCommonPrefix) {
  const struct {
    const wchar_t* s;
    const wchar_t* prefix;
    ptrdiff_t common;  // or -1 for null
  } kCases[] = {
      {L"abc", L"abd", 2}, {L"abc", L"ABC", 3}, {L"abc", L"abcd", 3}, {L"ABCD", L"abc", 3}, {L"abc", L"x", -1},
      {L"abc", L"", -1},   {L"", L"abc", -1},   {L"", L"", 0},        {L"a", L"A", 1},      {L"a[", L"A{", 1},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(wstring(c.s) + L" / " + c.prefix);
    const Wide text(c.s);
    const wchar_t* end = core::striprefix_match(text.get(), Wide(c.prefix).get());
    EXPECT_EQ(c.common < 0 ? nullptr : text.get() + c.common, end);
  }
}

TEST(StriprefixMatch, FoldsAsTheLocaleDoes) {
  const ScopedLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  const wchar_t* text = L"\u00C9\u0416x";
  EXPECT_EQ(text + 2, core::striprefix_match(text, L"\u00E9\u0436y"));
}

TEST(StriprefixMatch, UnitsThatAreNoCharactersEqualOnlyThemselves) {
  const wstring odd = Units({0xFFFFFFE9, 0xFFFFFFFF, 0x80000000, 0x7FFFFFFF, 0x110000});
  const Wide text(odd);
  EXPECT_EQ(text.get() + 5, core::striprefix_match(text.get(), text.get()));
  EXPECT_EQ(nullptr, core::striprefix_match(text.get(), L"\u00E9"));
}

TEST(StriprefixMatch, AsksThePlatformAboutCharactersOnly) {
  const Wide text(Units({'A', 0x10FFFF, 0x110000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFE9}));
  largest_lowered = 0;
  EXPECT_EQ(text.get() + 6, core::striprefix_match(text.get(), text.get()));
  EXPECT_EQ(0x10FFFFu, largest_lowered);
}

TEST(WcsCaseCmp, OrdersByTheFirstDifferentUnit) {
  const struct {
    const wchar_t* a;
    const wchar_t* b;
    int order;
  } kCases[] = {
      {L"", L"", 0},
      {L"abc", L"ABC", 0},
      {L"a", L"b", -1},
      {L"a", L"z", -1},
      {L"c", L"a", 2},
      {L"C", L"a", 2},
      {L"abc", L"ab", 'c'},
      {L"ab", L"abc", -1},
      {L"_", L"A", -1},
      {L"A", L"_", 2},
      {L"[", L"{", -1},
      {L"Z", L"[", 31},
      {L"\u00C9", L"\u00E9", -1},
      {L"\u00E9", L"\u00C9", 32},
      {L"file10", L"file9", -1},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(wstring(c.a) + L" / " + c.b);
    const Wide a(c.a);
    const Wide b(c.b);
    EXPECT_EQ(c.order, core::wcscasecmp(a.get(), b.get()));
    EXPECT_EQ(c.order, core::tstrcmplogical(a.get(), b.get()));
    EXPECT_EQ(c.order, core::wcsncasecmp(a.get(), b.get(), 100));
  }
}

TEST(WcsCaseCmp, UnitsAreSignedAndTheirDifferenceStaysPositive) {
  const Wide lowest(Units({0x80000000}));
  const Wide highest(Units({0x7FFFFFFF}));
  const Wide byte(Units({0xFFFFFFE9}));
  EXPECT_EQ(INT_MAX, core::wcscasecmp(highest.get(), lowest.get()));
  EXPECT_EQ(-1, core::wcscasecmp(lowest.get(), highest.get()));
  EXPECT_EQ(-1, core::wcscasecmp(byte.get(), L"a"));
  EXPECT_EQ(97 + 23, core::wcscasecmp(L"a", byte.get()));
  EXPECT_EQ(INT_MAX, core::wcscasecmp(Wide(Units({0x7FFFFFFE})).get(), Wide(Units({0xFFFFFFFF})).get()));
  EXPECT_EQ(INT_MAX - 1, core::wcscasecmp(Wide(Units({0x7FFFFFFD})).get(), Wide(Units({0xFFFFFFFF})).get()));
}

TEST(WcsNCaseCmp, LooksAtSoManyUnitsOnly) {
  EXPECT_EQ(0, core::wcsncasecmp(L"abX", L"ABy", 2));
  EXPECT_EQ(-1, core::wcsncasecmp(L"abX", L"ABy", 3));
  EXPECT_EQ(0, core::wcsncasecmp(L"a", L"b", 0));
  EXPECT_EQ(0, core::wcsncasecmp(nullptr, nullptr, 0));
  EXPECT_EQ(0, core::wcsncasecmp(Wide(L"ab").get(), Wide(L"AB").get(), SIZE_MAX));
}

}  // namespace
