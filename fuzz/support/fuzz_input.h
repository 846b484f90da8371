// A fuzz target's input, taken apart: numbers and choices from its front, bytes from what is left.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <string_view>

class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  bool Empty() const { return rest_.empty(); }

  // A number of type T; bytes that are missing count as zero.
  template <typename T>
  T Number() {
    T value = 0;
    const std::string_view bytes = Take(sizeof(T));
    if (!bytes.empty()) {
      memcpy(&value, bytes.data(), bytes.size());
    }
    return value;
  }

  // A number in [low, high]. Requires: low <= high, and fewer than 2^32 choices.
  int64_t Between(int64_t low, int64_t high) {
    const uint64_t span = static_cast<uint64_t>(high - low) + 1;
    const uint64_t pick = span <= 0x100 ? Number<uint8_t>() : Number<uint32_t>();
    return low + static_cast<int64_t>(pick % span);
  }

  bool Flip() { return (Number<uint8_t>() & 1) != 0; }

  // One of `choices`.
  template <typename T, size_t N>
  const T& Pick(const T (&choices)[N]) {
    return choices[static_cast<size_t>(Between(0, static_cast<int64_t>(N) - 1))];
  }

  // Up to `limit` bytes, as many as a length in front of them says.
  std::string Bytes(size_t limit) {
    return std::string(Take(static_cast<size_t>(Between(0, static_cast<int64_t>(limit)))));
  }

  // Everything that is left.
  std::string_view Rest() { return Take(rest_.size()); }

 private:
  std::string_view Take(size_t n) {
    const std::string_view taken = rest_.substr(0, n);
    rest_.remove_prefix(taken.size());
    return taken;
  }

  std::string_view rest_;
};
