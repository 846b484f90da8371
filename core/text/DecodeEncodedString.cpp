#include "core/text/DecodeEncodedString.h"

#include <limits.h>
#include <stdint.h>
#include <string.h>
#include <wchar.h>

#include "core/base/mem1.h"
#include "core/text/nustr.h"

namespace core {
namespace {

constexpr size_t kBlock = sizeof(uint64_t);
constexpr uint64_t kHighBits = 0x8080808080808080;
constexpr size_t kFailed = static_cast<size_t>(-1);

// One character: what it was read from, what it gives.
struct Character {
  size_t bytes;
  size_t count;  // of `units`: 1 or 2
  uint32_t units[2];
  bool invalid;
};

// What a run over some bytes did.
struct Progress {
  size_t bytes = 0;
  size_t units = 0;
  bool invalid = false;
  bool fits = true;
};

// A byte as a signed 8-bit value widened to 32 bits.
uint32_t Widened(unsigned char byte) { return static_cast<uint32_t>(static_cast<signed char>(byte)); }

bool AreContinuations(const unsigned char* p, size_t n) {
  for (size_t i = 0; i < n; i++) {
    if ((p[i] & 0xC0) != 0x80) {
      return false;
    }
  }
  return true;
}

Character Single(size_t bytes, uint32_t unit, bool invalid) { return {bytes, 1, {unit, 0}, invalid}; }

Character LeadOnly(const unsigned char* p) { return Single(1, Widened(*p), true); }

Character TwoBytes(const unsigned char* p) {
  const uint32_t unit = (p[0] & 0x1Fu) << 6 | (p[1] & 0x3Fu);
  return Single(2, unit, unit < 0x80);
}

Character ThreeBytes(const unsigned char* p) {
  const uint32_t unit = (p[0] & 0x0Fu) << 12 | (p[1] & 0x3Fu) << 6 | (p[2] & 0x3Fu);
  return Single(3, unit, unit < 0x800);
}

Character FourBytes(const unsigned char* p) {
  // On purpose: the second byte does not enter and the last one enters twice, with its sign. The
  // units that come out are relied upon as they are: always two, the value never has fewer than 26 bits.
  const uint32_t last = Widened(p[3]);
  const uint32_t value = Widened(p[0]) << 18 ^ last << 12 ^ Widened(p[2]) << 6 ^ last ^ 0x3C82080u;
  return {4, 2, {(value - 0x10000) >> 10 | 0xD800, (value & 0x3FF) | 0xDC00}, false};
}

// Reads the character at `p`, of which `left` bytes remain, at least one.
Character ReadCharacter(const unsigned char* p, size_t left) {
  const unsigned lead = *p;
  if (lead < 0x80) {
    return Single(1, lead, false);
  }
  if (lead >= 0xC0 && lead < 0xE0 && left > 1 && AreContinuations(p + 1, 1)) {
    return TwoBytes(p);
  }
  if (lead >= 0xE0 && lead < 0xF0 && left > 2 && AreContinuations(p + 1, 2)) {
    return ThreeBytes(p);
  }
  if (lead >= 0xF0 && lead < 0xF8 && left > 3 && AreContinuations(p + 1, 3)) {
    return FourBytes(p);
  }
  return LeadOnly(p);
}

// The ranges are told apart so that the compiler widens the block at once.
void WidenBlock(const unsigned char* __restrict src, wchar_t* __restrict dst) {
  for (size_t i = 0; i < kBlock; i++) {
    dst[i] = static_cast<wchar_t>(src[i]);
  }
}

// Widens the ASCII bytes that `src` begins with, at most `n`, and returns their number.
size_t WidenAscii(const unsigned char* src, size_t n, wchar_t* dst) {
  size_t done = 0;
  for (; n - done >= kBlock; done += kBlock) {
    uint64_t block;
    memcpy(&block, src + done, kBlock);
    if ((block & kHighBits) != 0) {
      break;
    }
    WidenBlock(src + done, dst + done);
  }
  for (; done < n && src[done] < 0x80; done++) {
    dst[done] = static_cast<wchar_t>(src[done]);
  }
  return done;
}

Progress Decode(const unsigned char* src, size_t len, wchar_t* dst, size_t cap) {
  Progress at;
  while (at.bytes < len) {
    const size_t left = len - at.bytes;
    const size_t room = cap - at.units;
    const size_t ascii = WidenAscii(src + at.bytes, left < room ? left : room, dst + at.units);
    at.bytes += ascii;
    at.units += ascii;
    if (at.bytes == len) {
      break;
    }
    const Character character = ReadCharacter(src + at.bytes, len - at.bytes);
    at.bytes += character.bytes;
    at.invalid |= character.invalid;
    if (cap - at.units < character.count) {
      at.fits = false;
      break;
    }
    for (size_t i = 0; i < character.count; i++) {
      dst[at.units++] = static_cast<wchar_t>(character.units[i]);
    }
  }
  return at;
}

// mbsnrtowcs from a fresh state; kFailed when the bytes cannot be converted.
size_t Widen(const char* src, size_t len, wchar_t* dst, size_t room) {
  mbstate_t state;
  memset(&state, 0, sizeof state);
  return mbsnrtowcs(dst, &src, len, room, &state);
}

// Converts with the locale's encoding; returns the units, of which at most `len` count, 0 when it cannot be done.
// `dst` has room for len + 1.
//
// In some encodings a letter waits for the accent that may follow. One that still waits at the end is lost, and
// where it is the first, some C libraries stop the process; with the terminator behind it, it is had. A character
// that is cut off at the end fails before a terminator, and the text is what comes before it.
size_t DecodeLocale(const char* src, size_t len, wchar_t* dst) {
  char* terminated = strduplen(src, len);
  size_t units = Widen(terminated, len + 1, dst, len + 1);
  if (units == kFailed) {
    units = Widen(terminated, len, dst, len);
  }
  MyFree(terminated);
  return units == kFailed ? 0 : units < len ? units : len;
}

// Decodes `len` bytes, at least one, into at most `len` units. `dst` has room for one more.
size_t DecodeByPage(int code_page, const char* src, size_t len, wchar_t* dst) {
  if (code_page == kCodePageUtf8OrLocale || code_page == kCodePageUtf8) {
    const Progress done = Decode(reinterpret_cast<const unsigned char*>(src), len, dst, len);
    if (code_page == kCodePageUtf8 || !done.invalid) {
      return done.units;
    }
  }
  return DecodeLocale(src, len, dst);
}

}  // namespace

int DecodeUtf8(const char* src, size_t src_len, wchar_t* dst, size_t dst_cap, bool* invalid, size_t* consumed) {
  const Progress done = Decode(reinterpret_cast<const unsigned char*>(src), src_len, dst, dst_cap);
  *invalid = done.invalid;
  if (consumed != nullptr) {
    *consumed = done.fits ? done.bytes : done.bytes - 1;
  }
  if (!done.fits) {
    return -1;
  }
  return done.units < INT_MAX ? static_cast<int>(done.units) : INT_MAX;
}

wchar_t* DecodeEncodedString(int code_page, const char* src, size_t src_len, size_t* out_len) {
  const size_t len = src_len == SIZE_MAX ? strlen(src) : src_len;
  wchar_t* text = AllocString<wchar_t>(len);
  const size_t units = len == 0 ? 0 : DecodeByPage(code_page, src, len, text);
  text[units] = 0;
  if (len >= units + 4) {
    text = static_cast<wchar_t*>(MyRealloc(text, (units + 1) * sizeof(wchar_t)));
  }
  if (out_len != nullptr) {
    *out_len = units;
  }
  return text;
}

}  // namespace core
