// UTF-8 from what the outside holds: UTF-16 units of strings, and the bytes of file names.
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

namespace mdtorrent {

// One step through bytes that should be UTF-8.
struct Utf8Step {
  size_t len;  // bytes consumed, at least 1
  bool valid;  // whether these bytes are one character
};

// Looks at the character at the start of `bytes`. An ill-formed sequence is consumed up to the first
// byte that cannot belong to it, so that each damaged character counts once.
// Requires: `bytes` is not empty.
Utf8Step NextUtf8(std::string_view bytes);

bool IsValidUtf8(std::string_view bytes);

// Appends `bytes` to `out`; each ill-formed sequence becomes U+FFFD.
void AppendValidUtf8(std::string& out, std::string_view bytes);

// The most bytes that one UTF-16 unit becomes.
constexpr size_t kMostUtf8PerUnit = 3;

// Writes `text` to `dst` as UTF-8 and returns the end of what it wrote; a surrogate without its
// partner becomes U+FFFD. Requires: room for kMostUtf8PerUnit bytes per unit.
char* PutUtf8(char* dst, std::u16string_view text);

// Whether `unit` is the first half of a surrogate pair.
constexpr bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

}  // namespace mdtorrent
