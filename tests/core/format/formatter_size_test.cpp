// Doubles and byte counts.
#include <limits>
#include <random>
#include <string>

#include "core/format/strfmt.h"
#include "tests/support/formatted.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string Size(uint64_t count, unsigned flags = 0) {
  Recorder out(kTestLimit);
  core::fmt_size(out, count, -1, flags);
  return out.Bytes();
}

TEST(FormatterDouble, SixDecimalsUnlessAPrecisionIsGiven) {
  EXPECT_EQ("3.000000", Both("%f", 3.0));
  EXPECT_EQ("0.000000", Both("%f", 0.0));
  EXPECT_EQ("2.05", Both("%.2f", 2.05));
  EXPECT_EQ("2.5", Both("%.1f", 2.5));
  EXPECT_EQ("-2.500", Both("%.3f", -2.5));
  EXPECT_EQ("1.000010", Both("%f", 1.00001));
  EXPECT_EQ("3.14159265", Both("%.8f", 3.14159265));
}

TEST(FormatterDouble, LastDecimalIsRounded) { EXPECT_EQ("1.67 1.33", Both("%.2f %.2f", 5.0 / 3, 4.0 / 3)); }

TEST(FormatterDouble, ValuesAboveMinusOneLoseTheirSign) {
  EXPECT_EQ("0.500000", Both("%f", -0.5));
  EXPECT_EQ("0.000000", Both("%f", -0.0));
  EXPECT_EQ("-1.000000", Both("%f", -1.0));
}

TEST(FormatterDouble, CarryStaysInTheDecimals) {
  EXPECT_EQ("0.1000000", Both("%f", 0.9999996));
  EXPECT_EQ("1.100", Both("%.2f", 1.999));
}

TEST(FormatterDouble, PrecisionZeroWritesThePointAndOneDecimalUnlessItIsZero) {
  EXPECT_EQ("2.3", Both("%.0f", 2.25));
  EXPECT_EQ("2.", Both("%.0f", 2.0));
  EXPECT_EQ("2.1", Both("%.0f", 2.0625));
}

TEST(FormatterDouble, FractionsBelowTheLastDecimalAddAZero) {
  EXPECT_EQ("3.0000000", Both("%f", 3.0 + 0x1p-30));
  EXPECT_EQ("0.00000", Both("%.4f", 5e-324));
}

TEST(FormatterDouble, FractionsThatRoundUpToTheLastDecimalAddTwoDigits) {
  EXPECT_EQ("3.00000010", Both("%f", 3.0 + 0x1p-20));
}

TEST(FormatterDouble, IsPaddedOnTheRight) {
  EXPECT_EQ("2.50   |", Both("%7.2f|", 2.5));
  EXPECT_EQ("2.50   |", Both("%-7.2f|", 2.5));
  EXPECT_EQ("2.50   |", Both("%07.2f|", 2.5));
  EXPECT_EQ("2.50|", Both("%4.2f|", 2.5));
}

TEST(FormatterDouble, SignFlagsReachTheIntegerPart) {
  EXPECT_EQ("+2.50 02.50 -2.50", Both("%+.2f % .2f %+.2f", 2.5, 2.5, -2.5));
}

TEST(FormatterDouble, IntegerPartBeyond64BitsIsTheLeastInteger) {
  EXPECT_EQ("9223372036854774784.0", Both("%.1f", 0x1.fffffffffffffp62));
  EXPECT_EQ("-9223372036854775808.0", Both("%.1f", -0x1p63));
  EXPECT_EQ("-9223372036854775808.9223372036854775808", Both("%f", 1e300));
  EXPECT_EQ("-9223372036854775808.9223372036854775808", Both("%f", -1e300));
}

TEST(FormatterDouble, NanAndInfinitiesShowTheConversionsOfTheMachine) {
  const std::string expected = "-9223372036854775808.9223372036854775808";
  EXPECT_EQ(expected, Both("%f", kInfinity));
  EXPECT_EQ(expected, Both("%f", -kInfinity));
  EXPECT_EQ(expected, Both("%f", std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(expected, Both("%f", -std::numeric_limits<double>::quiet_NaN()));
}

TEST(FormatterDouble, DecimalsFillAllOf64Bits) {
  EXPECT_EQ("0.5000000000000000000", Both("%.19f", 0.5));
  EXPECT_EQ("0.10000000000000000000", Both("%.20f", 0.1));
}

TEST(FormatterDouble, DecimalsBeyond64BitsAreTheTopBitInTheirWidth) {
  EXPECT_EQ("0.  9223372036854775808|", Both("%.21f|", 0.5));
  EXPECT_EQ("0.9223372036854775808  |", Both("%-.21f|", 0.5));
  EXPECT_EQ("0.009223372036854775808|", Both("%0.21f|", 0.5));
}

TEST(FormatterDouble, HugePrecisionsEndAtTheRoom) {
  EXPECT_EQ("0." + std::string(kTestLimit - 2, '0'), Both("%.2000000000f", 0.0));
  EXPECT_EQ("1." + std::string(kTestLimit - 2, '0'), Both("%.2147483647f", 1.0));
  EXPECT_EQ("0." + std::string(kTestLimit - 2, ' '), Both("%.2000000000f", 0.5));
  EXPECT_EQ("-9223372036854775808." + std::string(kTestLimit - 21, ' '), Both("%.2000000000f", kInfinity));
}

TEST(FormatterSize, EachUnitBeginsAtItsPowerOf1024) {
  const struct {
    uint64_t count;
    const char* text;
  } kCases[] = {
      {0, "0 B"},
      {1, "1 B"},
      {512, "512 B"},
      {700, "700 B"},
      {1023, "1023 B"},
      {1024, "1.0 kB"},
      {1025, "1.0 kB"},
      {1126, "1.0 kB"},
      {1127, "1.1 kB"},
      {1536, "1.5 kB"},
      {(1ULL << 20) - 1, "1023.9 kB"},
      {1ULL << 20, "1.0 MB"},
      {(1ULL << 20) + 1, "1.0 MB"},
      {(1ULL << 30) - 1, "1023.9 MB"},
      {1ULL << 30, "1.0 GB"},
      {(1ULL << 30) + 1, "1.0 GB"},
      {4700000000, "4.3 GB"},
      {(1ULL << 40) - 1, "1023.9 GB"},
      {1ULL << 40, "1.0 TB"},
      {(1ULL << 40) + 1, "1.0 TB"},
      {(1ULL << 50) - 1, "1023.9 TB"},
      {1ULL << 50, "1.0 PB"},
      {(1ULL << 50) + 1, "1.0 PB"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.text, Both("%Z", c.count)) << c.count;
  }
}

TEST(FormatterSize, ExabytesBeginWhereTheirBoundWraps) {
  EXPECT_EQ("40.9 PB", Both("%Z", uint64_t{46116860184273879}));
  EXPECT_EQ("0.0 EB", Both("%Z", uint64_t{46116860184273880}));
  EXPECT_EQ("0.04 EB", Both("%#Z", uint64_t{46116860184273880}));
  EXPECT_EQ("0.0 EB", Both("%Z", core::_EB));
  EXPECT_EQ("0.1 EB", Both("%Z", UINT64_MAX));
  EXPECT_EQ("0.15 EB", Both("%#Z", UINT64_MAX));
}

TEST(FormatterSize, WrappedCountsShowTheirLow32BitsAsBytes) {
  EXPECT_EQ("0 B", Both("%Z", uint64_t{1} << 62));
  EXPECT_EQ("5 B", Both("%Z", (uint64_t{1} << 62) + 5));
  EXPECT_EQ("1023 B", Both("%Z", (uint64_t{1} << 62) + 1023));
  EXPECT_EQ("1.0 kB", Both("%Z", (uint64_t{1} << 62) + 1024));
  EXPECT_EQ("-171798691 B", Both("%Z", uint64_t{184467440737095517}));
}

TEST(FormatterSize, LowerCaseLetterNeverShowsBytes) {
  EXPECT_EQ("0.0 kB", Both("%z", uint64_t{0}));
  EXPECT_EQ("0.0 kB", Both("%z", uint64_t{5}));
  EXPECT_EQ("0.9 kB", Both("%z", uint64_t{1023}));
  EXPECT_EQ("1.0 kB", Both("%z", uint64_t{1024}));
  EXPECT_EQ("1.0 MB", Both("%z", uint64_t{1} << 20));
  EXPECT_EQ("0.0 kB", Both("%z", uint64_t{1} << 62));
}

TEST(FormatterSize, AltFlagKeepsThreeDigits) {
  EXPECT_EQ("512 B", Both("%#Z", uint64_t{512}));
  EXPECT_EQ("0 B", Both("%#Z", uint64_t{0}));
  EXPECT_EQ("1.00 kB", Both("%#Z", uint64_t{1024}));
  EXPECT_EQ("1.23 MB", Both("%#Z", uint64_t{1289749}));
  EXPECT_EQ("9.99 MB", Both("%#Z", (uint64_t{10} << 20) - 1));
  EXPECT_EQ("10.0 MB", Both("%#Z", uint64_t{10} << 20));
  EXPECT_EQ("10.0 MB", Both("%#Z", (uint64_t{10} << 20) + 1));
  EXPECT_EQ("99.9 MB", Both("%#Z", (uint64_t{100} << 20) - 1));
  EXPECT_EQ("100 MB", Both("%#Z", uint64_t{100} << 20));
  EXPECT_EQ("1023 MB", Both("%#Z", (uint64_t{1} << 30) - 1));
}

TEST(FormatterSize, AltFlagWithNothingToShowKeepsOneDecimal) {
  EXPECT_EQ("0.0 kB", Both("%#z", uint64_t{0}));
  EXPECT_EQ("0.0 kB", Both("%#z", uint64_t{10}));
  EXPECT_EQ("0.01 kB", Both("%#z", uint64_t{11}));
}

TEST(FormatterSize, IsPaddedOnTheRight) {
  EXPECT_EQ("1.5 kB   |", Both("%9Z|", uint64_t{1536}));
  EXPECT_EQ("1.5 kB   |", Both("%-9Z|", uint64_t{1536}));
  EXPECT_EQ("1.5 kB   |", Both("%09Z|", uint64_t{1536}));
  EXPECT_EQ("1.5 kB|", Both("%6Z|", uint64_t{1536}));
  EXPECT_EQ("1 B |", Both("%4Z|", uint64_t{1}));
}

TEST(FormatterSize, OtherFlagsApplyToTheNumber) {
  EXPECT_EQ("+1.5 kB|+5 B|01.5 kB", Both("%+Z|%+Z|% Z", uint64_t{1536}, uint64_t{5}, uint64_t{1536}));
  EXPECT_EQ("5 B|123 MB", Both("%:Z|%:#Z", uint64_t{5}, uint64_t{123} << 20));
}

TEST(FormatterSize, ArgumentIs64BitsWithAnyModifier) {
  EXPECT_EQ("4.3 GB 4.3 GB 4.3 GB 7",
            Both("%Z %lZ %LZ %d", uint64_t{4700000000}, uint64_t{4700000000}, uint64_t{4700000000}, 7));
}

TEST(FormatterSize, PrecisionIsIgnored) { EXPECT_EQ("1.5 kB", Both("%.7Z", uint64_t{1536})); }

TEST(FormatterSize, UnitIsWideText) {
  Recorder out(100);
  core::fmt_size(out, 1536, -1, 0);
  ASSERT_FALSE(out.runs.empty());
  EXPECT_TRUE(out.runs.back().wide);
  EXPECT_EQ(L"kB", out.runs.back().text);
}

// Below the counts whose hundredths wrap, in 128 bits and strings.
TEST(FormatterSize, FollowsTheRulesForRandomCounts) {
  constexpr unsigned kSeed = 99;
  std::mt19937_64 random(kSeed);
  const char* const units[] = {"kB", "MB", "GB", "TB", "PB"};
  for (int i = 0; i < 50000; ++i) {
    const uint64_t count = (random() >> 9) >> random() % 55;
    if (count > 46116860184273879) {
      continue;
    }
    std::string expected = std::to_string(count) + " B";
    if (count >= 1024) {
      int unit = 0;
      while (count >> (10 * (unit + 2)) != 0 && unit < 4) {
        ++unit;
      }
      const uint64_t one = uint64_t{1} << (10 * (unit + 1));
      const uint64_t tenth =
          static_cast<uint64_t>((static_cast<long double>(count % one) * 10) / static_cast<long double>(one));
      expected = std::to_string(count / one) + "." + std::to_string(tenth) + " " + units[unit];
    }
    ASSERT_EQ(expected, Size(count)) << "seed " << kSeed << " count " << count;
  }
}

}  // namespace
