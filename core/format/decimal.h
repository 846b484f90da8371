// Decimal digits, two at a time.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

namespace core {

// "00" to "99", one behind the other.
struct DigitPairs {
  char text[200];
  consteval DigitPairs() : text() {
    for (size_t i = 0; i < 100; ++i) {
      text[2 * i] = static_cast<char>('0' + i / 10);
      text[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
  }
};
inline constexpr DigitPairs kDigitPairs;

// The digits of the largest 64-bit number, with a sign.
constexpr size_t kMaxDecimal = 20;

// Writes the digits of `value` so that they end before `end`, and returns the first of them.
inline char* PrependDecimal(char* end, uint64_t value) {
  while (value >= 100) {
    end -= 2;
    memcpy(end, kDigitPairs.text + 2 * (value % 100), 2);
    value /= 100;
  }
  if (value >= 10) {
    end -= 2;
    memcpy(end, kDigitPairs.text + 2 * value, 2);
  } else {
    *--end = static_cast<char>('0' + value);
  }
  return end;
}

}  // namespace core
