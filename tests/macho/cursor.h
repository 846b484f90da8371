// Reading of file formats that may be damaged.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <span>
#include <stdexcept>
#include <string>

namespace macho {

using Bytes = std::span<const uint8_t>;

// Why an image is not loaded: one line for people.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The part of `bytes` from `offset` on that is `size` long. Throws a Refusal that names `what` when it is
// not all there.
inline Bytes Part(Bytes bytes, uint64_t offset, uint64_t size, const char* what) {
  if (offset > bytes.size() || size > bytes.size() - offset) {
    throw Refusal(std::string(what) + " reaches beyond the end");
  }
  return bytes.subspan(offset, size);
}

// The little-endian value at `offset`. Throws as Part does.
template <class T>
T ValueAt(Bytes bytes, uint64_t offset, const char* what) {
  T value;
  memcpy(&value, Part(bytes, offset, sizeof value, what).data(), sizeof value);
  return value;
}

// Takes one value after the other from a range of bytes, and throws a Refusal rather than leave it.
class Cursor {
 public:
  // `what` names the range in refusals and outlives the cursor.
  Cursor(Bytes bytes, const char* what) : rest_(bytes), what_(what) {}

  bool AtEnd() const { return rest_.empty(); }
  const char* what() const { return what_; }

  // The next `size` bytes.
  Bytes Take(uint64_t size) {
    const Bytes taken = Part(rest_, 0, size, what_);
    rest_ = rest_.subspan(size);
    return taken;
  }

  template <class T>
  T Value() {
    T value;
    memcpy(&value, Take(sizeof value).data(), sizeof value);
    return value;
  }

  // A name in a field of `size` bytes, ended by a zero byte or by the field.
  std::string Name(size_t size) {
    const Bytes field = Take(size);
    const char* text = reinterpret_cast<const char*>(field.data());
    return {text, strnlen(text, size)};
  }

  // A text up to its zero byte, which is taken too.
  std::string Text() {
    const void* end = rest_.empty() ? nullptr : memchr(rest_.data(), 0, rest_.size());
    if (!end) {
      throw Refusal(std::string(what_) + " ends within a name");
    }
    const Bytes text = Take(static_cast<size_t>(static_cast<const uint8_t*>(end) - rest_.data()) + 1);
    return reinterpret_cast<const char*>(text.data());
  }

  // Numbers of seven bits per byte, the lowest first.
  uint64_t Unsigned() {
    unsigned bits = 0;
    return Groups(&bits);
  }
  int64_t Signed() {
    unsigned bits = 0;
    const uint64_t value = Groups(&bits);
    const bool negative = bits < 64 && (value >> (bits - 1) & 1) != 0;
    return static_cast<int64_t>(negative ? value | ~uint64_t{0} << bits : value);
  }

 private:
  uint64_t Groups(unsigned* bits) {
    uint64_t value = 0;
    for (*bits = 0;;) {
      const uint8_t byte = Value<uint8_t>();
      if (*bits >= 63 && (byte & 0x7E) != 0) {
        throw Refusal(std::string(what_) + " holds a number of more than 64 bits");
      }
      value |= static_cast<uint64_t>(byte & 0x7F) << *bits;
      *bits += 7;
      if ((byte & 0x80) == 0) {
        return value;
      }
      if (*bits > 63) {
        throw Refusal(std::string(what_) + " holds a number of more than 64 bits");
      }
    }
  }

  Bytes rest_;
  const char* what_;
};

}  // namespace macho
