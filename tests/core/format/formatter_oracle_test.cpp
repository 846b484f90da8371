// The C library as a second opinion, where its rules are the same.
#include <stdio.h>

#include <random>
#include <string>
#include <vector>

#include "tests/support/formatted.h"

namespace {

std::string Printf(const char* format, ...) {
  char buf[600];
  va_list args;
  va_start(args, format);
  vsnprintf(buf, sizeof buf, format, args);
  va_end(args);
  return buf;
}

// Where the rules agree with the C library: no alt or space flag, zero neither with left nor with a
// precision, no precision 0 for the value 0, no empty string.
TEST(FormatterOracle, AgreesWithSnprintf) {
  constexpr unsigned kSeed = 4711;
  std::mt19937_64 random(kSeed);
  const std::vector<std::string> flag_sets = {"", "-", "+", "+-", "0", "+0"};
  for (int i = 0; i < 20000; ++i) {
    std::string options = flag_sets[random() % flag_sets.size()];
    const bool zero = options.find('0') != std::string::npos;
    if (random() % 2 != 0) {
      options += std::to_string(1 + random() % 40);
    }
    if (!zero && random() % 2 != 0) {
      options += "." + std::to_string(1 + random() % 40);
    }
    const uint64_t value = random() >> random() % 64;
    for (char letter : {'d', 'i', 'u', 'o', 'x', 'X'}) {
      if (options.find('+') != std::string::npos && letter != 'd' && letter != 'i') {
        continue;
      }
      const std::string narrow = "%" + options + letter;
      const std::string ours64 = "%" + options + "L" + letter;
      const std::string theirs64 = "%" + options + "ll" + letter;
      SCOPED_TRACE(narrow + " of " + std::to_string(value) + ", seed " + std::to_string(kSeed));
      ASSERT_EQ(Printf(narrow.c_str(), static_cast<int>(value)), Both(narrow.c_str(), static_cast<int>(value)));
      ASSERT_EQ(Printf(theirs64.c_str(), value), Both(ours64.c_str(), value));
    }
  }
}

TEST(FormatterOracle, AgreesWithSnprintfOnTexts) {
  constexpr unsigned kSeed = 4712;
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 20000; ++i) {
    std::string format = random() % 2 != 0 ? "%-" : "%";
    if (random() % 2 != 0) {
      format += std::to_string(1 + random() % 40);
    }
    const std::string options = format;
    if (random() % 2 != 0) {
      format += "." + std::to_string(1 + random() % 40);
    }
    format += "s";
    const std::string text(1 + random() % 40, static_cast<char>('a' + random() % 26));
    SCOPED_TRACE(format + " of " + text + ", seed " + std::to_string(kSeed));
    ASSERT_EQ(Printf(format.c_str(), text.c_str()), Both(format.c_str(), text.c_str()));
    const std::string as_char = options + "c";
    ASSERT_EQ(Printf(as_char.c_str(), text[0]), Both(as_char.c_str(), text[0]));
  }
}

// Multiples of 1/1024 have at most ten decimals, so both sides are exact.
TEST(FormatterOracle, AgreesWithSnprintfOnExactFractions) {
  constexpr unsigned kSeed = 4713;
  std::mt19937_64 random(kSeed);
  for (int i = 0; i < 20000; ++i) {
    double value = static_cast<double>(random() >> (24 + random() % 40)) / 1024;
    if (value >= 1 && random() % 2 != 0) {
      value = -value;
    }
    const int precision = 10 + static_cast<int>(random() % 4);
    const int width = 1 + static_cast<int>(random() % 40);
    ASSERT_EQ(Printf("%-*.*f", width, precision, value), Both("%*.*f", width, precision, value))
        << "seed " << kSeed << " value " << value << " precision " << precision;
  }
}

}  // namespace
