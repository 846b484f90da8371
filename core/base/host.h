// What the library asks of the program that hosts it. The library declares these services; the bundle
// defines them in QuickLookPlugin/, the unit tests in tests/support/. The last two are of no use to an
// import: the bundle's stop the process.
#pragma once

#include <stddef.h>

namespace core {

// The temporaries that belong to one thread. Zero at creation, freed when the thread ends.
struct ThreadBlock {
  wchar_t* temp_wide;      // what str_temp stored last; owned
  char* temp_narrow;       // what str_temp_ansi stored last; owned
  wchar_t* last_unicode;   // the last to_unicode result; owned
  char* last_ansi;         // the last to_ansi result; owned
  size_t stack_copy_size;  // for the host's own use, as the next: the library never touches either
  void* stack_copy;        // a heap block or null; owned
};
static_assert(sizeof(ThreadBlock) == 6 * sizeof(void*));

// Returns the calling thread's block, created when missing. Never null. It lives until the thread
// ends. Cost: one look-up in the thread's own data.
ThreadBlock* GetTLS();

// Frees a thread block and everything it owns and detaches it from the calling thread. Null only
// detaches. Runs by itself when a thread ends.
void FreeTLS(void* block);

// Told about every failed allocation attempt of `n` bytes, before the next try.
void WarnNoMemory(size_t n);

// Writes a printf-like line to the host's log, if it keeps one. The library has nothing to say there
// and never calls it.
void Logf(const char* format, ...);

// Returns the canonical form of `path` as a new string, freed with MyFree.
wchar_t* GetCanonicalPath(const wchar_t* path);

// Loads the file at `path` and hands its bytes to `callback` with `context`; returns what that
// returned, false when the file could not be loaded.
bool LoadFile_Safe(const wchar_t* path, bool (*callback)(unsigned char* bytes, size_t len, void* context),
                   void* context);

}  // namespace core
