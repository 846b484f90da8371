#include <wchar.h>

#include "core/text/nustr.h"

namespace core {
namespace {

constexpr size_t kFirstThreshold = 127;  // bytes that make the buffer grow
constexpr size_t kSlack = 4;             // room past the threshold: the rest of a group and a terminator
constexpr size_t kBlock = 8;

// The bits that any unit of a block has.
uint32_t BitsOfBlock(const wchar_t* s) {
  uint32_t bits = 0;
  for (size_t i = 0; i < kBlock; i++) {
    bits |= static_cast<uint32_t>(s[i]);
  }
  return bits;
}

// The ranges are told apart so that the compiler narrows the block at once.
void NarrowBlock(const wchar_t* __restrict s, char* __restrict dst) {
  for (size_t i = 0; i < kBlock; i++) {
    dst[i] = static_cast<char>(s[i]);
  }
}

// Narrows the ASCII units that `s` begins with, at most `n`, and returns their number.
size_t NarrowAscii(const wchar_t* s, size_t n, char* dst) {
  size_t done = 0;
  for (; n - done >= kBlock; done += kBlock) {
    if (BitsOfBlock(s + done) >= 0x80) {
      break;
    }
    NarrowBlock(s + done, dst + done);
  }
  for (; done < n && static_cast<uint32_t>(s[done]) < 0x80; done++) {
    dst[done] = static_cast<char>(s[done]);
  }
  return done;
}

// Stores a unit of 0x80 or more and returns the end of what was written. The casts cut to 8 bits.
char* EncodeUnit(uint32_t unit, char* dst) {
  if (unit < 0x800) {
    *dst++ = static_cast<char>(0xC0 | unit >> 6);
  } else {
    *dst++ = static_cast<char>(0xE0 | unit >> 12);
    *dst++ = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
  }
  *dst++ = static_cast<char>(0x80 | (unit & 0x3F));
  return dst;
}

}  // namespace

char* wstr_to_utf8(const wchar_t* s, size_t* out_len) {
  const wchar_t* const end = s + ::wcslen(s);
  size_t threshold = kFirstThreshold;
  char* text = static_cast<char*>(MyMalloc(threshold + kSlack));
  size_t len = 0;  // below the threshold at the top of the loop
  while (s != end) {
    const size_t left = static_cast<size_t>(end - s);
    const size_t room = threshold - len;
    const size_t ascii = NarrowAscii(s, left < room ? left : room, text + len);
    s += ascii;
    len += ascii;
    if (len < threshold && s != end) {
      len = static_cast<size_t>(EncodeUnit(static_cast<uint32_t>(*s++), text + len) - text);
    }
    if (len >= threshold) {
      threshold *= 2;
      text = static_cast<char*>(MyRealloc(text, threshold + kSlack));
    }
  }
  text[len] = 0;
  if (out_len != nullptr) {
    *out_len = len;
  }
  return text;
}

char* EncodeUtf8(const wchar_t* s, size_t* out_len) { return wstr_to_utf8(s, out_len); }

}  // namespace core
