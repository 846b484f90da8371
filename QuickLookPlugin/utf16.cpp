#include "QuickLookPlugin/utf16.h"

namespace reader {

namespace {

bool IsHighSurrogate(uint32_t unit) { return (unit & 0xFC00) == 0xD800; }
bool IsLowSurrogate(uint32_t unit) { return (unit & 0xFC00) == 0xDC00; }

char Continuation(uint32_t character, unsigned shift) {
  return static_cast<char>(0x80 | ((character >> shift) & 0x3F));
}

char* AppendCharacter(char* out, uint32_t character) {
  if (character < 0x80) {
    *out++ = static_cast<char>(character);
    return out;
  }
  if (character < 0x800) {
    *out++ = static_cast<char>(0xC0 | character >> 6);
  } else if (character < 0x10000) {
    *out++ = static_cast<char>(0xE0 | character >> 12);
    *out++ = Continuation(character, 6);
  } else {
    *out++ = static_cast<char>(0xF0 | character >> 18);
    *out++ = Continuation(character, 12);
    *out++ = Continuation(character, 6);
  }
  *out++ = Continuation(character, 0);
  return out;
}

}  // namespace

size_t Utf16ToUtf8(const uint16_t* units, size_t count, char* dst) {
  char* out = dst;
  for (size_t i = 0; i < count; ++i) {
    uint32_t character = units[i];
    if (IsHighSurrogate(character) && i + 1 < count && IsLowSurrogate(units[i + 1])) {
      character = 0x10000 + ((character & 0x3FF) << 10) + (units[++i] & 0x3FFu);
    }
    out = AppendCharacter(out, character);
  }
  return static_cast<size_t>(out - dst);
}

}  // namespace reader
