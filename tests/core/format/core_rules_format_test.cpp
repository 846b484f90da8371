// What the formatter's directives give where flags, widths, precisions and limits meet.
#include <arpa/inet.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <math.h>
#include <stdarg.h>
#include <stdint.h>
#include <string.h>

#include <string>

#include "core/base/mem1.h"
#include "core/format/strfmt.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/formatted.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/stack_limit.h"

using namespace core;

namespace {

constexpr char kStrfmt[] = "core/strfmt";

std::string Taken(char* s, size_t n) {
  std::string text(s, n);
  MyFree(s);
  return text;
}
std::string Taken(char* s) { return Taken(s, strlen(s)); }
std::wstring Taken(wchar_t* s) {
  std::wstring text(s);
  MyFree(s);
  return text;
}

std::string AllocSized(const char* format, ...) {
  va_list args;
  va_start(args, format);
  size_t n = 0;
  char* text = vsprintf_alloc_size(format, &n, args);
  va_end(args);
  EXPECT_EQ('\0', text[n]);
  return Taken(text, n);
}

// Formats into `size` cells and checks the terminator, the return value and the cells around.
std::string Cut(size_t size, const char* format, ...) {
  GuardedBuffer<char> out(size);
  va_list args;
  va_start(args, format);
  const int n = nuvsnprintf(out.buf(), size, format, args);
  va_end(args);
  EXPECT_TRUE(out.GuardsHold());
  EXPECT_EQ('\0', out.buf()[n]);
  EXPECT_TRUE(out.UntouchedFrom(static_cast<size_t>(n) + 1));
  return std::string(out.buf(), static_cast<size_t>(n));
}

}  // namespace

TEST(FormatRules, NumberFlagsCombine) {
  const struct {
    const char* format;
    int value;
    const char* text;
  } kCases[] = {
      {"%d", INT_MIN, "-2147483648"},
      {"%5d|", 42, "   42|"},
      {"%-5d|", 42, "42   |"},
      {"%05d", 42, "00042"},
      {"%-05d|", 42, "00042|"},
      {"%0-5d|", 42, "00042|"},
      {"%05d", -42, "-0042"},
      {"%5d", -42, "  -42"},
      {"%-5d|", -42, "-42  |"},
      {"%+d", 5, "+5"},
      {"%+d", 0, "+0"},
      {"%+d", -5, "-5"},
      {"%+05d", 42, "+0042"},
      {"%+5d", 42, "  +42"},
      {"% d", 5, "05"},
      {"% d", -5, "-5"},
      {"% 5d", 5, "   05"},
      {"% 05d", 5, "00005"},
      {"%- 5d|", 5, "05   |"},
      {"%+ d", 5, "+5"},
      {"% +d", 5, "+5"},
      {"%+u", 5, "5"},
      {"% u", 5, "5"},
      {"% x", 255, "ff"},
      {"%#d", 10, "0x10"},
      {"%#d", -10, "-0x10"},
      {"%#i", 3, "0x3"},
      {"%#o", 8, "0x10"},
      {"%#b", 5, "0x101"},
      {"%#u", 7, "0x7"},
      {"%#x", 255, "0xff"},
      {"%#X", 255, "0xFF"},
      {"%#x", 0, "0x0"},
      {"%#8x", 255, "    0xff"},
      {"%#08x", 255, "0x0000ff"},
      {"%-#8x|", 255, "0xff    |"},
      {"%-#08x|", 255, "0x0000ff|"},
      {"%+#08d", 10, "+0x00010"},
      {"%.5d", 42, "00042"},
      {"%.5d", -42, "-00042"},
      {"%8.5d", 42, "   00042"},
      {"%08.5d", 42, "00000042"},
      {"%-8.5d|", 42, "00042   |"},
      {"%.2d", 12345, "12345"},
      {"%.5d", 12345, "12345"},
      {"%.6d", 12345, "012345"},
      {"%.0d", 0, "0"},
      {"%.d", 0, "0"},
      {"%.0d", 7, "7"},
      {"%#.4x", 255, "0x00ff"},
      {"%#10.4x", 255, "    0x00ff"},
      {"%00005d", 42, "00042"},
      {"%1d", 42, "42"},
      {"%2d", 42, "42"},
      {"%3d", 42, " 42"},
      {"%3d", -42, "-42"},
      {"%4d", -42, " -42"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.format);
    EXPECT_EQ(c.text, Both(c.format, c.value));
  }
}

TEST(FormatRules, FixedPointSplitsTheDigits) {
  const struct {
    const char* format;
    int value;
    const char* text;
  } kCases[] = {
      {"%:.2d", 1234, "12.34"},
      {"%:.2d", 123, "1.23"},
      {"%:.2d", 12, "0.12"},
      {"%:.2d", 5, "0.05"},
      {"%:.2d", 0, "0.00"},
      {"%:.3d", 5, "0.005"},
      {"%:.1d", 5, "0.5"},
      {"%:.1d", 15, "1.5"},
      {"%:.0d", 7, "7."},
      {"%:.0d", 0, "0."},
      {"%:.2d", -1234, "-12.34"},
      {"%:.2d", -5, "-0.05"},
      {"%:8.2d", 1234, "   12.34"},
      {"%:08.2d", 1234, "00012.34"},
      {"%:08.2d", -1234, "-0012.34"},
      {"%:-8.2d|", 1234, "12.34   |"},
      {"%:8.2d", 5, "    0.05"},
      {"%+:.2d", 1234, "+12.34"},
      {"% :.2d", 1234, "012.34"},
      {"%#:.2x", 0x1234, "0x12.34"},
      {"%:.2u", 99, "0.99"},
      {"%#:9.2d|", 1234, "  0x12.34|"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.format);
    EXPECT_EQ(c.text, Both(c.format, c.value));
  }
}

TEST(FormatRules, LengthModifiers) {
  EXPECT_EQ("-1", Both("%ld", -1));
  EXPECT_EQ("4294967295", Both("%lu", -1));
  EXPECT_EQ("4294967295", Both("%u", -1));
  EXPECT_EQ("ffffffff", Both("%x", -1));
  EXPECT_EQ("FFFFFFFF", Both("%lX", -1));
  EXPECT_EQ("37777777777", Both("%o", -1));
  EXPECT_EQ(std::string(32, '1'), Both("%b", -1));
  EXPECT_EQ(std::string(64, '1'), Both("%Lb", int64_t{-1}));
  EXPECT_EQ("18446744073709551615", Both("%Lu", int64_t{-1}));
  EXPECT_EQ("-1", Both("%Ld", int64_t{-1}));
  EXPECT_EQ("-9223372036854775808", Both("%Li", INT64_MIN));
  EXPECT_EQ("ffffffffffffffff", Both("%Lx", int64_t{-1}));
  EXPECT_EQ("1777777777777777777777", Both("%Lo", int64_t{-1}));
  EXPECT_EQ("0x" + std::string(64, '1'), Both("%#066Lb", int64_t{-1}));
  EXPECT_EQ("4294967296 7", Both("%Lu %d", uint64_t{4294967296}, 7));
  EXPECT_EQ("abc", Both("%ls", "abc"));
  EXPECT_EQ("abc", Both("%Ls", "abc"));
}

TEST(FormatRules, UnknownLettersVanishWithoutAnArgument) {
  EXPECT_EQ("5", Both("%q%d", 5));
  EXPECT_EQ("y5", Both("%5.3ky%d", 5));
  EXPECT_EQ("d|7", Both("%lld|%d", 7));
  EXPECT_EQ("d|7", Both("%LLd|%d", 7));
  EXPECT_EQ("d|7", Both("%Lld|%d", 7));
  EXPECT_EQ("d|7", Both("%5-d|%d", 7));
  EXPECT_EQ("3d|7", Both("%.-3d|%d", 7));
  EXPECT_EQ("d|7", Both("%*5d|%d", 3, 7));
  EXPECT_EQ("3d|7", Both("%..3d|%d", 7));
  EXPECT_EQ("7", Both("%n%e%g%E%G%F%D%d", 7));
  EXPECT_EQ("a7", Both("%*.*ja%d", 3, 4, 7));
}

TEST(FormatRules, PercentIgnoresWidthAndPrecision) {
  EXPECT_EQ("%", Both("%%"));
  EXPECT_EQ("%|", Both("%5%|"));
  EXPECT_EQ("%|", Both("%-5.2%|"));
  EXPECT_EQ("%|", Both("%.0%|"));
  EXPECT_EQ("%|7", Both("%*%|%d", 9, 7));
  EXPECT_EQ("%|", Both("%l%|"));
  EXPECT_EQ("100%d", Both("100%%d"));
}

TEST(FormatRules, StarsTakeTheirArguments) {
  EXPECT_EQ("   42|", Both("%*d|", 5, 42));
  EXPECT_EQ("42   |", Both("%*d|", -5, 42));
  EXPECT_EQ("42   |", Both("%-*d|", -5, 42));
  EXPECT_EQ("00042|", Both("%0*d|", -5, 42));
  EXPECT_EQ("42|", Both("%*d|", 0, 42));
  EXPECT_EQ("00042", Both("%.*d", 5, 42));
  EXPECT_EQ("42", Both("%.*d", -5, 42));
  EXPECT_EQ("7.", Both("%:.*d", -5, 7));
  EXPECT_EQ("|", Both("%.*s|", -1, "abc"));
  EXPECT_EQ(" ab|", Both("%*.*s|", 3, 2, "abc"));
}

TEST(FormatRules, ExtremeWidthsAreContained) {
  EXPECT_EQ("4", Cut(2, "%*d", INT_MIN, 4));
  EXPECT_EQ("   ", Cut(4, "%*d", INT_MAX, 4));
  EXPECT_EQ("4  ", Cut(4, "%*d", -INT_MAX, 4));
  Cut(4, "%99999999999999999999d", 4);
  Cut(4, "%.99999999999999999999d", 4);
  Cut(200, "%.150d", 4);
  Cut(200, "%:.150d", 4);
  Cut(200, "%.2147483647f", 0.5);
  Cut(200, "%.300f", 1e-300);
  Cut(200, "%f|%f|%f|%f", HUGE_VAL, -HUGE_VAL, static_cast<double>(NAN), 1e300);
}

TEST(FormatRules, StringsAndTheirPrecision) {
  EXPECT_EQ("|", Both("%5s|", ""));
  EXPECT_EQ("|", Both("%-5s|", ""));
  EXPECT_EQ("|", Both("%5.0s|", "abc"));
  EXPECT_EQ("ab   |", Both("%-5s|", "ab"));
  EXPECT_EQ("   ab|", Both("%5s|", "ab"));
  EXPECT_EQ("   ab|", Both("%05s|", "ab"));
  EXPECT_EQ("ab   |", Both("%-05s|", "ab"));
  EXPECT_EQ("abc", Both("%.s", "abc"));
  EXPECT_EQ("abc", Both("%.5s", "abc"));
  EXPECT_EQ("  ab|", Both("%4.2s|", "abc"));
  EXPECT_EQ("abc", Both("%2s", "abc"));
}

TEST(FormatRules, BadStringPointersAreNamed) {
  const char* one = reinterpret_cast<const char*>(uintptr_t{1});
  const char* last = reinterpret_cast<const char*>(uintptr_t{65535});
  const char* none = nullptr;
  EXPECT_EQ("<NULL>", Both("%s", none));
  EXPECT_EQ("<ERROR>", Both("%s", one));
  EXPECT_EQ("<ERROR>", Both("%s", last));
  EXPECT_EQ("<NULL>", Both("%S", none));
  EXPECT_EQ("<ERROR>", Both("%S", one));
  EXPECT_EQ("<ERROR>", Both("%S", last));
  EXPECT_EQ("    <NULL>", Both("%10s", none));
  EXPECT_EQ("<ERROR>   |", Both("%-10S|", one));
  EXPECT_EQ("<NU", Both("%.3s", none));
  EXPECT_EQ("<ER", Both("%.3S", one));
}

TEST(FormatRules, PrecisionBoundsWhatIsRead) {
  ExactBytes unterminated("abc");
  EXPECT_EQ("abc", Narrow("%.3s", unterminated.chars()));
  EXPECT_EQ("ab", Narrow("%.2s", unterminated.chars()));
  EXPECT_EQ("abc", Narrow("%.3m", unterminated.chars()));
  EXPECT_EQ("abc", Narrow("%.3U", unterminated.chars()));
  EXPECT_EQ(L"abc", Wide(L"%.3S", unterminated.chars()));
  ExactBytes wide(L"xyz", 3 * sizeof(wchar_t));
  EXPECT_EQ("xyz", Narrow("%.3S", reinterpret_cast<wchar_t*>(wide.data())));
  EXPECT_EQ(L"xyz", Wide(L"%.3s", reinterpret_cast<wchar_t*>(wide.data())));
}

TEST(FormatRules, Characters) {
  EXPECT_EQ("x", Both("%c", 'x'));
  EXPECT_EQ("    x|", Both("%5c|", 'x'));
  EXPECT_EQ("x    |", Both("%-5c|", 'x'));
  EXPECT_EQ(std::string("a\0b", 3), Both("a%cb", 0));
  EXPECT_EQ(std::string("  \0b", 4), Both("%3cb", 0));
  EXPECT_EQ(L"\x4E2D", Wide(L"%c", 0x4E2D));
  EXPECT_EQ("\xE9", Narrow("%c", 0xE9));
  EXPECT_EQ(std::string("a\0b", 3), AllocSized("a%cb", 0));
}

TEST(FormatRules, MemoryIsText) {
  EXPECT_EQ(std::string("a\0b", 3), Both("%.3m", "a\0bc"));
  EXPECT_EQ("abc", Both("%m", "abc"));
  EXPECT_EQ("abc", Both("%.m", "abc"));
  EXPECT_EQ("|", Both("%.0m|", "abc"));
}

TEST(FormatRules, PointersHaveSixteenDigits) {
  void* p = reinterpret_cast<void*>(uintptr_t{0x1234});
  void* none = nullptr;
  EXPECT_EQ("0x0000000000001234", Both("%p", p));
  EXPECT_EQ("0x0000000000000000", Both("%p", none));
  EXPECT_EQ("0x1234", Both("%.4p", p));
  EXPECT_EQ("0x1234", Both("%.2p", p));
  EXPECT_EQ("0x001234", Both("%.6p", p));
  EXPECT_EQ("0x0000000000001234", Both("%.p", p));
  EXPECT_EQ("  0x0000000000001234", Both("%20p", p));
  EXPECT_EQ("0x0000000000001234  |", Both("%-20p|", p));
  EXPECT_EQ("0x000000000000001234", Both("%020p", p));
  EXPECT_EQ("0x0000000000001234", Both("%+p", p));
  EXPECT_EQ("0xffffffffffffffff", Both("%p", reinterpret_cast<void*>(UINTPTR_MAX)));
}

TEST(FormatRules, HashesAreFortyDigits) {
  unsigned char bytes[21] = {0};
  for (int i = 0; i < 20; ++i) {
    bytes[i + 1] = static_cast<unsigned char>(i == 19 ? 0xAB : i);
  }
  EXPECT_EQ("000102030405060708090a0b0c0d0e0f101112ab", Both("%h", bytes + 1));
  EXPECT_EQ("000102030405060708090A0B0C0D0E0F101112AB", Both("%H", bytes + 1));
  EXPECT_EQ("0x000102030x040506070x08090a0b0x0c0d0e0f0x101112ab", Both("%#h", bytes + 1));
  EXPECT_EQ("000102030405060708090a0b0c0d0e0f101112abd", Both("%hd", bytes + 1));
}

TEST(FormatRules, UrlEncodingCopiesOnlyUnreserved) {
  EXPECT_EQ("a%20b%2fc~", Both("%U", "a b/c~"));
  EXPECT_EQ("azAZ09-_.~", Both("%U", "azAZ09-_.~"));
  EXPECT_EQ("%60%7b%40%5b%2f%3a%2b%2a%25%7f%80%e9%ff%01", Both("%U", "`{@[/:+*%\x7f\x80\xe9\xff\x01"));
  EXPECT_EQ("%3cNULL%3e", Both("%U", static_cast<const char*>(nullptr)));
  EXPECT_EQ("a%20b", Both("%.3U", "a b/c"));
  EXPECT_EQ("a%00b", Both("%.3U", "a\0b"));
  EXPECT_EQ("|", Both("%.0U|", "abc"));
  EXPECT_EQ("|", Both("%.*U|", -4, "abc"));
  EXPECT_EQ("abc|", Both("%.U|", "abc"));
  EXPECT_EQ("abc|", Both("%20U|", "abc"));
  EXPECT_EQ("abc|", Both("%-020U|", "abc"));
  EXPECT_EQ("|", Both("%U|", ""));
}

TEST(FormatRules, Ipv4PaddingDependsOnZeroAndLeft) {
  const struct {
    const char* format;
    unsigned value;
    const char* text;
  } kCases[] = {
      {"%I", 0xC0A80001, "192.168.0.1"},
      {"%I", 0, "0.0.0.0"},
      {"%I", 0xFFFFFFFF, "255.255.255.255"},
      {"%20I|", 0xC0A80001, "192.168.0.1         |"},
      {"%-20I|", 0xC0A80001, "192.168.0.1         |"},
      {"%11I|", 0xC0A80001, "192.168.0.1|"},
      {"%12I|", 0xC0A80001, "192.168.0.1 |"},
      {"%03I|", 0xC0A80101, "192.168.001.001|"},
      {"%05I|", 0xC0A80001, "00192.00168.00000.00001|"},
      {"%0I|", 0xC0A80001, "192.168.0.1|"},
      {"%-03I|", 0xC0A80001, "192.168.000.001|"},
      {"%0-20I|", 0xC0A80001, "192.168.000.001     |"},
      {"%-02I|", 0xC0A80001, "192.168.000.001|"},
      {"%-0I|", 0xC0A80001, "192.168.000.001|"},
      {"%.3I|", 0xC0A80001, "192.168.000.001|"},
      {"%20.3I|", 0xC0A80001, "192.168.000.001     |"},
      {"%#I|", 0xC0A80001, "0x192.0x168.0x0.0x1|"},
      {"%+I|", 0xC0A80001, "192.168.0.1|"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.format);
    EXPECT_EQ(c.text, Both(c.format, c.value));
  }
  EXPECT_EQ("192.168.0.1|", Both("%-0*I|", 0, 0xC0A80001));
  EXPECT_EQ("192.168.000.001     |", Both("%0*I|", -20, 0xC0A80001));
}

TEST(FormatRules, Ipv6IsAString) {
  in6_addr one;
  ASSERT_EQ(1, inet_pton(AF_INET6, "2001:db8::1", &one));
  in6_addr full;
  ASSERT_EQ(1, inet_pton(AF_INET6, "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", &full));
  in6_addr mapped;
  ASSERT_EQ(1, inet_pton(AF_INET6, "::ffff:1.2.3.4", &mapped));
  EXPECT_EQ("2001:db8::1", Both("%V", one));
  EXPECT_EQ("  2001:db8::1|", Both("%13V|", one));
  EXPECT_EQ("2001:db8::1  |", Both("%-13V|", one));
  EXPECT_EQ("2001|", Both("%.4V|", one));
  EXPECT_EQ("  20|7", Both("%4.2V|%d", one, 7));
  EXPECT_EQ("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", Both("%V", full));
  EXPECT_EQ("::ffff:1.2.3.4", Both("%V", mapped));
}

TEST(FormatRules, SizeThresholds) {
  const struct {
    uint64_t count;
    const char* text;
    const char* unit;  // %z
    const char* alt;   // %#Z
  } kCases[] = {
      {0, "0 B", "0.0 kB", "0 B"},
      {5, "5 B", "0.0 kB", "5 B"},
      {11, "11 B", "0.0 kB", "11 B"},
      {1023, "1023 B", "0.9 kB", "1023 B"},
      {1024, "1.0 kB", "1.0 kB", "1.00 kB"},
      {1536, "1.5 kB", "1.5 kB", "1.50 kB"},
      {10229, "9.9 kB", "9.9 kB", "9.98 kB"},
      {10240, "10.0 kB", "10.0 kB", "10.0 kB"},
      {102399, "99.9 kB", "99.9 kB", "99.9 kB"},
      {102400, "100.0 kB", "100.0 kB", "100 kB"},
      {1048575, "1023.9 kB", "1023.9 kB", "1023 kB"},
      {1048576, "1.0 MB", "1.0 MB", "1.00 MB"},
      {10475274, "9.9 MB", "9.9 MB", "9.98 MB"},
      {10475275, "9.9 MB", "9.9 MB", "9.99 MB"},
      {104857599, "99.9 MB", "99.9 MB", "99.9 MB"},
      {104857600, "100.0 MB", "100.0 MB", "100 MB"},
      {1073741823, "1023.9 MB", "1023.9 MB", "1023 MB"},
      {1073741824, "1.0 GB", "1.0 GB", "1.00 GB"},
      {1099511627775, "1023.9 GB", "1023.9 GB", "1023 GB"},
      {1099511627776, "1.0 TB", "1.0 TB", "1.00 TB"},
      {1125899906842623, "1023.9 TB", "1023.9 TB", "1023 TB"},
      {1125899906842624, "1.0 PB", "1.0 PB", "1.00 PB"},
      {46116860184273879, "40.9 PB", "40.9 PB", "40.9 PB"},
      {46116860184273880, "0.0 EB", "0.0 EB", "0.04 EB"},
      {uint64_t{1} << 60, "0.0 EB", "0.0 EB", "0.04 EB"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.count);
    EXPECT_EQ(c.text, Both("%Z", c.count));
    EXPECT_EQ(c.unit, Both("%z", c.count));
    EXPECT_EQ(c.alt, Both("%#Z", c.count));
  }
  EXPECT_EQ("0.0 kB", Both("%#z", uint64_t{5}));
  EXPECT_EQ("0.01 kB", Both("%#z", uint64_t{11}));
  EXPECT_EQ("0.99 kB", Both("%#z", uint64_t{1023}));
}

TEST(FormatRules, SizeFlagsAndWidth) {
  EXPECT_EQ("1.5 kB      |", Both("%12Z|", uint64_t{1536}));
  EXPECT_EQ("1.5 kB      |", Both("%-12Z|", uint64_t{1536}));
  EXPECT_EQ("1.5 kB      |", Both("%012Z|", uint64_t{1536}));
  EXPECT_EQ("1.5 kB|", Both("%6Z|", uint64_t{1536}));
  EXPECT_EQ("1.5 kB |", Both("%7Z|", uint64_t{1536}));
  EXPECT_EQ("+1.5 kB", Both("%+Z", uint64_t{1536}));
  EXPECT_EQ("01.5 kB", Both("% Z", uint64_t{1536}));
  EXPECT_EQ("+512 B", Both("%+Z", uint64_t{512}));
  EXPECT_EQ("1.5 kB7", Both("%LZ%d", uint64_t{1536}, 7));
}

TEST(FormatRules, Doubles) {
  const struct {
    const char* format;
    double value;
    const char* text;
  } kCases[] = {
      {"%f", 3.0, "3.000000"},
      {"%f", 0.0, "0.000000"},
      {"%f", -0.5, "0.500000"},
      {"%f", -1.5, "-1.500000"},
      {"%.2f", 2.05, "2.05"},
      {"%.0f", 2.25, "2.3"},
      {"%.0f", 2.0, "2."},
      {"%.0f", 2.05, "2.0"},
      {"%.1f", 2.25, "2.3"},
      {"%f", 0.9999996, "0.1000000"},
      {"%.3f", 1.5, "1.500"},
      {"%.2f", 1.005, "1.005"},
      {"%f", 1e-10, "0.0000000"},
      {"%10.2f|", 2.05, "2.05      |"},
      {"%-10.2f|", 2.05, "2.05      |"},
      {"%.f|", 1.25, "1.250000|"},
      {"%4.2f|", 2.05, "2.05|"},
      {"%5.2f|", 2.05, "2.05 |"},
      {"%.1f", 0.96875, "0.10"},
      {"%f", 0.015625, "0.015625"},
      {"%.2f", 3.0, "3.00"},
      {"%.3f", 12345678901.5, "12345678901.500"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.format + std::to_string(c.value));
    EXPECT_EQ(c.text, Both(c.format, c.value));
  }
}

TEST(FormatRules, LimitCutsInsideADirective) {
  EXPECT_EQ("abc", Cut(4, "abcdef"));
  EXPECT_EQ("", Cut(1, "abcdef%d", 5));
  EXPECT_EQ("123", Cut(4, "%d%s%c%%", 12345, "x", 'y'));
  EXPECT_EQ("  ", Cut(3, "%5d", 42));
  EXPECT_EQ("-", Cut(2, "%d", -5));
  EXPECT_EQ("0", Cut(2, "%#x", 255));
  EXPECT_EQ("-0x00", Cut(6, "%#08d", -7));
  EXPECT_EQ("12.", Cut(4, "%:.2d", 1234));
  EXPECT_EQ("a%20", Cut(5, "%U|", "a b"));
  EXPECT_EQ("a%2", Cut(4, "%U", "a b"));
  EXPECT_EQ("192.1", Cut(6, "%I", 0xC0A80001));
  EXPECT_EQ("1.5 ", Cut(5, "%Z", uint64_t{1536}));
  EXPECT_EQ("1.5 k", Cut(6, "%Z", uint64_t{1536}));
  EXPECT_EQ("2.", Cut(3, "%.2f", 2.5));
  EXPECT_EQ("ab", Cut(3, "ab%5s%c", "x", 'c'));
  EXPECT_EQ("ab", Cut(3, "ab%%%5d", 3));
  EXPECT_EQ("42 ", Cut(4, "%-5d", 42));
}

TEST(FormatRules, StringsAreClippedBeforeTheyArePadded) {
  EXPECT_EQ("  a", Cut(4, "%5s", "abcdef"));
  EXPECT_EQ("abc", Cut(4, "%-5s", "abcdef"));
  EXPECT_EQ("abc", Cut(4, "%3s", "abcdef"));
  EXPECT_EQ(" ab", Cut(4, "%4S", L"abcdef"));
  EXPECT_EQ("   ", Cut(4, "%10c", 'x'));
}

TEST(FormatRules, SinksReceiveTextInItsOwnWidth) {
  const auto widths = [](const Recorder& out) {
    std::string text;
    for (const Recorder::Run& run : out.runs) {
      text += run.wide ? 'w' : 'n';
    }
    return text;
  };
  const auto narrow = [](Recorder& out, const char* format, ...) {
    va_list args;
    va_start(args, format);
    fd_formatter(out, format, args);
    va_end(args);
  };
  const auto wide = [](Recorder& out, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    fd_formatter_wchar(out, format, args);
    va_end(args);
  };
  Recorder a(100);
  narrow(a, "abc%s%S", "def", L"ghi");
  EXPECT_EQ("nnw", widths(a));
  Recorder b(100);
  wide(b, L"abc%s%S", L"def", "ghi");
  EXPECT_EQ("wwn", widths(b));
  Recorder c(100);
  narrow(c, "%S", static_cast<wchar_t*>(nullptr));
  EXPECT_EQ("w", widths(c));
  Recorder d(100);
  wide(d, L"%S", static_cast<char*>(nullptr));
  EXPECT_EQ("n", widths(d));
  Recorder e(100);
  narrow(e, "%Z", uint64_t{512});
  ASSERT_FALSE(e.runs.empty());
  EXPECT_TRUE(e.runs.back().wide);
  EXPECT_EQ(L"B", e.runs.back().text);
  Recorder f(100);
  wide(f, L"%d%c", 5, 'x');
  EXPECT_EQ("nw", widths(f));
  Recorder g(100);
  narrow(g, "%50d", 5);
  EXPECT_EQ(2U, g.runs.size());
  EXPECT_EQ(std::wstring(49, L' '), g.runs[0].text);
}

TEST(FormatRules, SwitchDeclinesWhatTheEnginesHandle) {
  const auto offer = [](int letter, ...) {
    Recorder out(100);
    FormatArgs args;
    va_start(args.list, letter);
    const bool handled = fd_format_switch(out, static_cast<char>(letter), -1, -1, 0, 0, args);
    const int next = va_arg(args.list, int);
    va_end(args.list);
    return std::make_pair(handled, next);
  };
  for (char letter : std::string("sScqlLn1. ")) {
    SCOPED_TRACE(letter);
    EXPECT_EQ(std::make_pair(false, 7), offer(letter, 7, 8));
  }
  for (char letter : std::string("diuoxXbI")) {
    SCOPED_TRACE(letter);
    EXPECT_EQ(std::make_pair(true, 8), offer(letter, 7, 8));
  }
  EXPECT_EQ(std::make_pair(true, 7), offer('%', 7, 8));
}

TEST(FormatRules, WritersOnTheirOwn) {
  const auto number = [](uint64_t value, int base, unsigned flags) {
    Recorder out(100);
    fmt_number(out, value, base, -1, -1, flags);
    return out.Bytes();
  };
  EXPECT_EQ("", number(5, 1, 0));
  EXPECT_EQ("", number(5, 0, 0));
  EXPECT_EQ("", number(5, -2, 0));
  EXPECT_EQ("", number(5, 37, 0));
  EXPECT_EQ("101", number(5, 2, 0));
  EXPECT_EQ("10z", number(36 * 36 + 35, 36, 0));
  EXPECT_EQ("10Z", number(36 * 36 + 35, 36, kFormatUpper));
  EXPECT_EQ("-1", number(UINT64_MAX, 16, kFormatSigned));
  EXPECT_EQ("0x10", number(8, 8, kFormatAlt));
}

TEST(FormatRules, PadReportsWhatItEmitted) {
  Recorder out(5);
  EXPECT_EQ(0, out.do_pad('x', 0));
  EXPECT_EQ(3, out.do_pad('x', 3));
  EXPECT_EQ(2, out.do_pad('x', 3));
  EXPECT_EQ(0, out.do_pad('x', INT_MAX));
  EXPECT_EQ(L"xxxxx", out.Text());
  EXPECT_EQ(2U, out.runs.size());
  int n = 7;
  out.checklimit(n);
  EXPECT_EQ(0, n);
  EXPECT_FATAL(out.do_pad('x', -1), kStrfmt, 133);
  Recorder wide(UINT64_MAX);
  n = INT_MAX;
  wide.checklimit(n);
  EXPECT_EQ(INT_MAX, n);
}

TEST(FormatRules, LongPadsAndEncodingsAreBoundedByTheStack) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // the limit is read once per process
  EXPECT_FATAL(
      {
        LimitStack(400000);
        Counter out(UINT64_MAX);
        out.do_pad('x', 199999);
        out.do_pad('x', 200000);
      },
      kStrfmt, 133);
  EXPECT_FATAL(
      {
        LimitStack(400000);
        const std::string text(70000, ' ');
        Counter out(UINT64_MAX);
        fmt_urlencoded(out, text.data(), 66000);
        fmt_urlencoded(out, text.data(), 66667);
      },
      kStrfmt, 431);
}

TEST(FormatRules, MoreThanTheLimitWrittenIsFatal) {
  const auto run = [](int unused, ...) {
    Recorder out(4);
    out.written = 5;
    va_list args;
    va_start(args, unused);
    fd_formatter(out, "%d", args);
    va_end(args);
  };
  EXPECT_FATAL(run(0, 1), kStrfmt, 653);
  const auto run_wide = [](int unused, ...) {
    Recorder out(4);
    out.written = 5;
    va_list args;
    va_start(args, unused);
    fd_formatter_wchar(out, L"%d", args);
    va_end(args);
  };
  EXPECT_FATAL(run_wide(0, 1), kStrfmt, 713);
}

TEST(FormatRules, FixedBuffersReturnWhatTheyHold) {
  char narrow[4] = {'#', '#', '#', '#'};
  EXPECT_EQ(3, nusnprintf(narrow, 4, "abcdef"));
  EXPECT_STREQ("abc", narrow);
  EXPECT_EQ(2, nusnprintf(narrow, 4, "ab"));
  EXPECT_EQ(0, nusnprintf(narrow, 1, "abcdef"));
  EXPECT_EQ('\0', narrow[0]);
  wchar_t wide[4];
  EXPECT_EQ(3, nuwsnprintf(wide, 4, L"abcdef"));
  EXPECT_EQ(std::wstring(L"abc"), wide);
  EXPECT_EQ(0, nuwsnprintf(wide, 1, L"abc"));
  EXPECT_EQ(L'\0', wide[0]);
  EXPECT_EQ("a\xE9\x2D\xFF", Cut(20, "a%S", L"\xE9\x4E2D\xFF"));
}

TEST(FormatRules, WideSinksExtendDifferently) {
  wchar_t wide[8];
  EXPECT_EQ(2, nuwsnprintf(wide, 8, L"%S", "\xE9\x80"));
  EXPECT_EQ(0xE9, wide[0]);
  EXPECT_EQ(0x80, wide[1]);
  EXPECT_EQ(1, nuwsnprintf(wide, 8, L"%.1m", "\xFF"));
  EXPECT_EQ(0xFF, wide[0]);
  const std::wstring grown = Taken(wstr_fmt(L"%S|%.1m|\xE9%s", "\xE9\x7F", "\x80", L"\xE9"));
  const std::wstring expected = {
      static_cast<wchar_t>(0xFFFFFFE9), 0x7F, L'|', static_cast<wchar_t>(0xFFFFFF80), L'|', 0xE9, 0xE9};
  EXPECT_EQ(expected, grown);
}

TEST(FormatRules, AllocatingFrontEnds) {
  EXPECT_EQ("1.5 kB", Taken(str_fmt("%Z", uint64_t{1536})));
  EXPECT_EQ("", Taken(str_fmt("")));
  EXPECT_EQ(L"", Taken(wstr_fmt(L"%s", L"")));
  EXPECT_EQ("\xE9\x2D", Taken(str_fmt("%S", L"\xE9\x4E2D")));
  EXPECT_EQ("a5", AllocSized("a%d", 5));
  const std::string big(1048576, 'x');
  EXPECT_EQ(big.substr(1) + "y", Taken(str_fmt("%syz", big.c_str() + 1)));
  EXPECT_EQ(big, Taken(str_fmt("%sz%d", big.c_str(), 5)));
  const std::wstring wide_big(1048577, L'w');
  const auto sized = [](size_t* n, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    wchar_t* text = vsprintf_alloc_size_wchar(format, n, args);
    va_end(args);
    return Taken(text);
  };
  size_t n = 0;
  EXPECT_EQ(wide_big.substr(1), sized(&n, L"%s", wide_big.c_str()));
  EXPECT_EQ(1048576U, n);
  EXPECT_EQ(L"5", sized(nullptr, L"%d", 5));
}

TEST(FormatRules, PrintingFrontEndsPrintNothing) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, nuprintf("%d%s", 5, "x"));
  EXPECT_EQ(0, nuwprintf(L"%d%s", 5, L"x"));
  EXPECT_EQ(0, nuprintf("%"));
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
}
