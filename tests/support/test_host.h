// The host that core's unit tests run in: what the library asks for in core/base/host.h, in a form that
// lets a test count, answer, fail and restore. Counters and registrations are process-wide and safe
// to use from any thread; a Scope puts everything back.
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

#include "tests/support/platform_memory.h"

namespace test_host {

// What the library told the host since the last Reset.
int WarnNoMemoryCalls();
size_t WarnNoMemorySize();  // as passed last; 0 before the first call
int LogfCalls();
std::string LastLogFormat();

// LoadFile_Safe(path) hands a writable heap copy of exactly `bytes` to its callback and returns what
// that returned. A path nobody registered cannot be loaded.
void RegisterFile(std::wstring_view path, std::string_view bytes);

// GetCanonicalPath(path) returns `canonical`. A path nobody registered is its own canonical form.
void RegisterCanonicalPath(std::wstring_view path, std::wstring_view canonical);

// Forgets every count, registration and pending failure.
void Reset();

// Starts and ends a test with a fresh host. Use it as a member of a fixture.
struct Scope {
  Scope() { Reset(); }
  ~Scope() { Reset(); }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
};

}  // namespace test_host
