// Test input on the heap, in a block of exactly its own size: no hidden terminator, so that a
// sanitizer sees the first byte read past the end.
#pragma once

#include <stddef.h>
#include <string.h>

#include <memory>
#include <string_view>

class ExactBytes {
 public:
  explicit ExactBytes(std::string_view bytes) : ExactBytes(bytes.data(), bytes.size()) {}
  ExactBytes(const void* bytes, size_t len) : bytes_(new unsigned char[len]), len_(len) {
    if (len != 0) {
      memcpy(bytes_.get(), bytes, len);
    }
  }

  const unsigned char* begin() const { return bytes_.get(); }
  const unsigned char* end() const { return bytes_.get() + len_; }
  size_t size() const { return len_; }

  // The same bytes, writable, for callees that work in place.
  unsigned char* data() { return bytes_.get(); }
  char* chars() { return reinterpret_cast<char*>(bytes_.get()); }
  const char* chars() const { return reinterpret_cast<const char*>(bytes_.get()); }

  // What the block holds now, for comparing it with what went in.
  std::string_view view() const { return {chars(), len_}; }

 private:
  std::unique_ptr<unsigned char[]> bytes_;
  size_t len_;
};
