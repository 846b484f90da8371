// The characters of platform strings as UTF-8 bytes.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace reader {

// The largest number of bytes that one UTF-16 unit turns into.
constexpr size_t kMaxBytesPerUnit = 3;

// Writes `count` UTF-16 units as UTF-8 and returns the number of bytes. A surrogate without its
// other half takes three bytes, so that different units never give the same bytes. `dst` has room
// for count * kMaxBytesPerUnit bytes; no terminator is stored.
size_t Utf16ToUtf8(const uint16_t* units, size_t count, char* dst);

}  // namespace reader
