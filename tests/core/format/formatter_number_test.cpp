// Integers in every base, with every flag.
#include <limits.h>

#include <random>
#include <string>

#include "core/format/strfmt.h"
#include "tests/support/formatted.h"

namespace {

std::string Number(uint64_t value, int base, int width, int precision, unsigned flags) {
  Recorder out(kTestLimit);
  core::fmt_number(out, value, base, width, precision, flags);
  return out.Bytes();
}

// The rules for numbers once more, in strings.
struct NumberRule {
  bool is_signed, plus, space, alt, zero, left, fixed, upper;

  static std::string Digits(uint64_t value, int base, bool upper_case) {
    std::string text;
    do {
      const int digit = static_cast<int>(value % static_cast<uint64_t>(base));
      text.insert(text.begin(), static_cast<char>(digit < 10 ? '0' + digit : (upper_case ? 'A' : 'a') + digit - 10));
      value /= static_cast<uint64_t>(base);
    } while (value != 0);
    return text;
  }

  std::string Text(uint64_t value, int base, int width, int precision) const {
    std::string sign;
    if (is_signed && (value >> 63) != 0) {
      sign = "-";
      value = ~value + 1;
    } else if (is_signed && plus) {
      sign = "+";
    } else if (is_signed && space) {
      sign = "0";
    }
    std::string text = Digits(value, base, upper);
    if (precision >= 0) {
      const size_t wanted = static_cast<size_t>(precision);
      const size_t n = text.size();
      if (n < wanted) {
        text = std::string(wanted - n, '0') + text;
      }
      if (fixed) {
        text = n > wanted ? text.substr(0, n - wanted) + "." + text.substr(n - wanted) : "0." + text;
      }
    }
    const std::string head = sign + (alt ? "0x" : "");
    const long long pad_count = static_cast<long long>(width) - static_cast<long long>(head.size() + text.size());
    const size_t pad = pad_count > 0 ? static_cast<size_t>(pad_count) : 0;
    std::string all;
    if (zero) {
      all = head + std::string(pad, '0') + text;
    } else if (left) {
      all = head + text + std::string(pad, ' ');
    } else {
      all = std::string(pad, ' ') + head + text;
    }
    return all;
  }

  unsigned Flags() const {
    return (is_signed ? core::kFormatSigned : 0U) | (plus ? core::kFormatPlus : 0U) |
           (space ? core::kFormatSpace : 0U) | (alt ? core::kFormatAlt : 0U) | (zero ? core::kFormatZero : 0U) |
           (left ? core::kFormatLeft : 0U) | (fixed ? core::kFormatFixed : 0U) | (upper ? core::kFormatUpper : 0U);
  }
};

TEST(FormatterNumber, ShowsTheExtremesOfEachLetter) {
  EXPECT_EQ("0 2147483647 -2147483648", Both("%d %i %d", 0, INT_MAX, INT_MIN));
  EXPECT_EQ("4294967295", Both("%u", UINT_MAX));
  EXPECT_EQ("37777777777", Both("%o", UINT_MAX));
  EXPECT_EQ("ffffffff FFFFFFFF", Both("%x %X", -1, -1));
  EXPECT_EQ("ffffffffffffffff", Both("%Lx", UINT64_MAX));
  EXPECT_EQ("1777777777777777777777", Both("%Lo", UINT64_MAX));
  EXPECT_EQ("101 " + std::string(32, '1') + " " + std::string(64, '1'), Both("%b %b %Lb", 5, -1, UINT64_MAX));
}

TEST(FormatterNumber, SignCharacters) {
  EXPECT_EQ("+5 -5 +0", Both("%+d %+d %+d", 5, -5, 0));
  EXPECT_EQ("05 -5 00", Both("% d % d % d", 5, -5, 0));
  EXPECT_EQ("+5", Both("%+ d", 5));
  EXPECT_EQ("   05", Both("% 5d", 5));
}

TEST(FormatterNumber, UnsignedNumbersHaveNoSign) { EXPECT_EQ("5 5 5", Both("%+u % x %+ o", 5, 5, 5)); }

TEST(FormatterNumber, AltPrefixIsTheSameInEveryBase) {
  EXPECT_EQ("0xff 0x10 0x101 0x5 -0x5 0xFF", Both("%#x %#o %#b %#d %#d %#X", 255, 8, 5, 5, -5, 255));
}

TEST(FormatterNumber, PadsBeforeSignOrAfterPrefix) {
  EXPECT_EQ("   -5|-5   |-0005|", Both("%5d|%-5d|%05d|", -5, -5, -5));
  EXPECT_EQ("    0xff|0xff    |0x0000ff|", Both("%#8x|%#-8x|%#08x|", 255, 255, 255));
  EXPECT_EQ(" +0x7|+0x07|+0x7 |", Both("%+#5d|%+#05d|%+#-5d|", 7, 7, 7));
}

TEST(FormatterNumber, ZeroWinsOverLeft) { EXPECT_EQ("00005|", Both("%-05d|", 5)); }

TEST(FormatterNumber, PrecisionIsTheLeastNumberOfDigits) {
  EXPECT_EQ("0 0 5 005 -005 12345", Both("%.0d %.1d %.0d %.3d %.3d %.3d", 0, 0, 5, 5, -5, 12345));
  EXPECT_EQ("  -00042", Both("%8.5d", -42));
  EXPECT_EQ("-0000042", Both("%08.5d", -42));
}

TEST(FormatterNumber, FixedPointSplitsTheDigits) {
  EXPECT_EQ("12.34 0.05 0.005 1.5 0.12", Both("%:.2d %:.2d %:.3d %:.1d %:.2d", 1234, 5, 5, 15, 12));
  EXPECT_EQ("-12.34 -0.05", Both("%:.2d %:.2d", -1234, -5));
  EXPECT_EQ("1234. 0.", Both("%:.0d %:.0d", 1234, 0));
  EXPECT_EQ("+00012.3|   0x0.07|", Both("%+0:8.1d|%#:9.2x|", 123, 7));
}

TEST(FormatterNumber, LongPrecisionFillsByCount) {
  const std::string z(300, '0');
  EXPECT_EQ(z.substr(0, 199) + "5", Both("%.200d", 5));
  EXPECT_EQ("-" + z.substr(0, 198) + "42", Both("%.200d", -42));
  EXPECT_EQ("0." + z.substr(0, 199) + "5", Both("%:.200d", 5));
  EXPECT_EQ("+0x" + z.substr(0, 5) + "0." + z.substr(0, 199) + "5", Both("%+#0:210.200d", 5));
  EXPECT_EQ(std::string(10, ' ') + z.substr(0, 199) + "f", Both("%210.200x", 15));
  EXPECT_EQ(z.substr(0, 199) + "f" + std::string(10, ' '), Both("%-210.200x", 15));
}

TEST(FormatterNumber, PointerIsPrefixedHexOfSixteenDigits) {
  void* const p = reinterpret_cast<void*>(uintptr_t{0x12ab});
  EXPECT_EQ("0x00000000000012ab", Both("%p", p));
  EXPECT_EQ("0x0000000000000000", Both("%p", nullptr));
  EXPECT_EQ("0x12ab 0x12ab 0x012ab", Both("%.0p %.4p %.5p", p, p, p));
  EXPECT_EQ("  0x00000000000012ab|", Both("%20p|", p));
  EXPECT_EQ("0x" + std::string(196, '0') + "12ab", Both("%.200p", p));
}

TEST(FormatterNumber, BasesOutside2To36WriteNothing) {
  for (int base : {INT_MIN, -1, 0, 1, 37, 256, INT_MAX}) {
    EXPECT_EQ("", Number(5, base, 10, 5, 0)) << base;
  }
  EXPECT_EQ("100011", Number(35, 2, -1, -1, 0));
  EXPECT_EQ("z", Number(35, 36, -1, -1, 0));
  EXPECT_EQ("Z", Number(35, 36, -1, -1, core::kFormatUpper));
}

TEST(FormatterNumber, ExtremeWidthsDoNotOverflow) {
  EXPECT_EQ("-0x5", Number(static_cast<uint64_t>(-5), 10, INT_MIN, INT_MIN,
                           core::kFormatSigned | core::kFormatAlt | core::kFormatZero));
  EXPECT_EQ("-0x" + std::string(kTestLimit - 3, '0'),
            Number(static_cast<uint64_t>(-5), 10, INT_MAX, INT_MAX,
                   core::kFormatSigned | core::kFormatAlt | core::kFormatZero));
}

TEST(FormatterNumber, FollowsTheRulesForEveryPrecisionUpTo200) {
  for (int precision = -1; precision <= 200; ++precision) {
    for (uint64_t value : {uint64_t{0}, uint64_t{9}, uint64_t{10}, uint64_t{1} << 63, UINT64_MAX}) {
      for (int bits = 0; bits < 8; ++bits) {
        const NumberRule rule{true, true, false, (bits & 1) != 0, (bits & 2) != 0, false, (bits & 4) != 0, false};
        for (int base : {2, 10}) {
          ASSERT_EQ(rule.Text(value, base, 120, precision), Number(value, base, 120, precision, rule.Flags()))
              << "value " << value << " base " << base << " precision " << precision << " bits " << bits;
        }
      }
    }
  }
}

TEST(FormatterNumber, FollowsTheRulesForRandomInput) {
  constexpr unsigned kSeed = 77;
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 40000; ++i) {
    const uint64_t value = random() >> random() % 64;
    const int base = 2 + static_cast<int>(random() % 35);
    const int width = static_cast<int>(random() % 90) - 1;
    const int precision = static_cast<int>(random() % 90) - 1;
    const uint64_t bits = random();
    const auto bit = [bits](int n) { return (bits >> n & 1) != 0; };
    const NumberRule rule{bit(0), bit(1), bit(2), bit(3), bit(4), bit(5), bit(6), bit(7)};
    ASSERT_EQ(rule.Text(value, base, width, precision), Number(value, base, width, precision, rule.Flags()))
        << "seed " << kSeed << " value " << value << " base " << base << " width " << width << " precision "
        << precision << " flags " << rule.Flags();
  }
}

TEST(FormatterNumber, DecimalDigitsAreRightAroundEveryPowerOfTen) {
  uint64_t power = 1;
  for (int i = 0; i < 20; ++i) {
    for (uint64_t value : {power - 1, power, power + 1}) {
      ASSERT_EQ(std::to_string(value), Number(value, 10, -1, -1, 0));
    }
    power *= 10;
  }
}

}  // namespace
