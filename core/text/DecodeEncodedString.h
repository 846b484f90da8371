// Text bytes of a torrent into wide strings, by code page.
//
// Decoded UTF-8 holds a character above U+FFFF as two units, a surrogate pair; text in the locale's
// encoding is what the platform's own conversion makes of it. The functions keep no state; the only
// thing they read from the process is its locale. Safe to call from any thread, as long as no thread
// changes the locale meanwhile.
#pragma once

#include <stddef.h>

namespace core {

// Code pages: how text bytes are decoded. Every value other than these two means the multibyte
// encoding of the process's locale.
constexpr int kCodePageUtf8OrLocale = 0;  // UTF-8 when the bytes are valid, else the locale's encoding
constexpr int kCodePageUtf8 = 1;          // UTF-8 whatever the bytes

// Decodes the `src_len` bytes at `src` as UTF-8 into the `dst_cap` units at `dst`, without a
// terminator.
//
// Returns the units written, or -1 as soon as a character does not fit; nothing of that character
// is written. `*invalid` tells whether anything so far was invalid or overlong. `*consumed`, when
// given, receives the bytes consumed; on -1 it receives the offset of the last byte of the
// character that did not fit.
// On purpose: there is no replacement character. A byte that starts nothing valid gives that byte
// as a signed 8-bit value (0xE9 gives the unit 0xFFFFFFE9); overlong forms and surrogates in
// three-byte form give their value; four-byte forms give a pair that does not depend on the second
// byte (see the source).
// Cost: linear, blocks of ASCII at a time.
int DecodeUtf8(const char* src, size_t src_len, wchar_t* dst, size_t dst_cap, bool* invalid, size_t* consumed);

// Decodes the `src_len` bytes at `src` by code page into a new zero-terminated wide string, freed
// with MyFree. A `src_len` of all ones stands for strlen(src).
//
// Never null. `*out_len`, when given, receives the units without the terminator. UTF-8 never fails
// (see DecodeUtf8) and keeps zero bytes as units inside the text; text in the locale's encoding ends
// at its first zero byte, and text that the locale cannot convert gives the empty string. It is converted
// together with its terminator, so that a last letter that waits for an accent is not lost.
// Cost: linear; one pass for valid UTF-8. Needs four bytes per input byte while it works, five in the locale's
// encoding.
wchar_t* DecodeEncodedString(int code_page, const char* src, size_t src_len, size_t* out_len = nullptr);

}  // namespace core
