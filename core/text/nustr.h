// Narrow and wide string basics: length, duplication, zero-terminated lists, numbers, UTF-8 output.
//
// Plain functions without state, safe to call from any thread. Every new string is freed with MyFree.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "core/base/mem1.h"

namespace core {

// Wide strings hold one UTF-16 or larger unit in each 32-bit wchar_t.
static_assert(sizeof(wchar_t) == 4);

// The length of `s`, at most `max`, of which the low 32 bits are returned. Nothing beyond the
// terminator or the first `max` units is read.
int nustrnlen(const char* s, size_t max);
int nuwstrnlen(const wchar_t* s, size_t max);

// The length of `s` in units.
template <class C>
size_t len_of_str(const C* s);
template <>
size_t len_of_str<char>(const char* s);
template <>
size_t len_of_str<wchar_t>(const wchar_t* s);

// Returns a new block with room for `units` characters and a terminator; nothing is stored in it. A
// size that cannot be expressed stops the process like any other that cannot be had.
template <class C>
C* AllocString(size_t units) {
  return static_cast<C*>(MyMalloc(units < SIZE_MAX / sizeof(C) ? (units + 1) * sizeof(C) : SIZE_MAX));
}

// Returns a new copy of `s`; null for null.
char* nustrdup(const char* s);
wchar_t* wstrdup(const wchar_t* s);

// Returns a new string of the first `n` characters of `s`, zero ones included, and a terminator.
// Requires: `s` is not null and holds at least `n` characters.
char* strduplen(const char* s, size_t n);
wchar_t* wstrduplen(const wchar_t* s, size_t n);

// A zero-terminated list (`z` below) is strings placed one after another, each with its terminator;
// an empty string ends it. The list is never null.

// The number of strings before the empty one.
int zstrings_get_count(const char* z);

// The string at `i`, inside the list; null past the end.
// Requires: i >= 0.
// On purpose: 0 always gives `z` itself, also when the list is empty.
const char* zstrings_get_str_at(const char* z, int i);

// The index of the first string equal to `s`, or -1; a null `s` equals none. Without
// `case_sensitive` the comparison is strcasecmp.
// Requires: `z` is not null.
int zstrings_get_str_pos(const char* z, const char* s, bool case_sensitive);

// Reads the integer that `s` begins with, after white space: decimal, hexadecimal after "0x", octal
// after "0". What follows the digits is not looked at.
//
// On purpose: true means failure (no digits, or beyond 64 bits), and `*out` is then untouched; false
// means that the value was stored.
// Requires: `out` is not null when there is a value to store.
bool str_to_int64(const char* s, int64_t* out);

// The decimal integer that `s` begins with, after white space; 0 when there are no digits. A number
// beyond 64 bits gives the nearest limit.
int64_t _atoi64(const char* s);

// Returns a new UTF-8 string with `s` encoded unit by unit; `*out_len`, when given, receives its
// length in bytes.
//
// On purpose: each unit stands alone, so a surrogate pair becomes two three-byte groups, and a unit
// above 0xFFFF gives a group whose first byte is cut to 8 bits.
// Requires: `s` is not null. Cost: linear, blocks of ASCII at a time.
char* wstr_to_utf8(const wchar_t* s, size_t* out_len = nullptr);
char* EncodeUtf8(const wchar_t* s, size_t* out_len = nullptr);

// Returns a new copy of `s`, null for null; `*out_len`, when given, receives its length.
char* str_to_utf8(const char* s, size_t* out_len = nullptr);

}  // namespace core
