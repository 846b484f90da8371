// URL text helpers.
//
// No state but the calling thread's temporary string, where url_split leaves its result. Safe to call
// from any thread.
#pragma once

#include <stddef.h>

namespace core {

// Returns `url` when it begins, ignoring case, with "http://", "https://" or "magnet:?"; null otherwise
// and for null.
const char* IsOkUrl(const char* url);

// True when `url` begins, ignoring case, with "udp://"; false for null.
bool IsUdpUrl(const wchar_t* url);

// Decodes "+" and "%" escapes in place and returns the new length, which counts zero bytes that came
// from escapes.
//
// A "%" with fewer than two characters behind it stays as it is.
// On purpose: the two characters of an escape are not checked. The byte is 16 times the first one's
// value plus the second one's, cut to 8 bits; up to "9" a character, taken as signed, has the value
// c - '0', above it c - 55 with bit 0x20 of c cleared.
size_t urldecode(char* s);

// Returns a new copy of `s`, freed with MyFree, in which each space is "%20" and nothing else is
// encoded. `*len`, unless `len` is null, receives the new length.
char* urlencode_spaces(const char* s, size_t* len = nullptr);

// Returns the text of `*s` up to its first "/" and moves `*s` past the slashes that follow it. Without
// a "/" the result is the whole text and `*s` becomes null. Null when `s` or `*s` is null or the text
// is empty; `*s` then stays as it is.
//
// The result is the thread's temporary narrow string: valid until the next one on this thread.
// Requires: `*s` does not point into the current one, which this call frees.
char* url_split(const char** s);

}  // namespace core
