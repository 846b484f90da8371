// Small services that belong nowhere else. Nothing here keeps state; safe to call from any thread.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace core {

// Returns a new zero-terminated copy of `length` bytes in which each byte that does not print in ASCII,
// zero bytes included, is `replacement`. The caller frees it with delete[]. A `length` below 1 gives
// the empty text and does not look at `text`.
// Throws as new[] does when there is no memory.
char* ReplaceNonAscii(const char* text, ptrdiff_t length, char replacement);

// Prepares a structure that begins with its own size: stores `size` in its first 32 bits and zero in
// the other bytes.
// Requires: size >= 4.
void InitStruct(void* p, uint32_t size);

// Stores at `dst` the `n` bytes at `src`, each with its bits in reverse order. The two may be the same
// address but not overlap otherwise. Nothing happens for n <= 0.
void ReverseBitsCopy(void* dst, const void* src, ptrdiff_t n);

// Stores the size of the open file in `*size` and returns true; false, with `*size` untouched, when
// the platform does not tell it.
bool DoGetFileSize(int fd, uint64_t* size);

// Free a string of the library's; null is ignored.
void free_str(char* s);
void free_tstr(wchar_t* s);

}  // namespace core
