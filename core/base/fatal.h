// The assertion convention of the library and its host code.
//
// A broken precondition stops the process: one line with the source name and line number goes to
// standard error, then signal 2 is raised, then the process aborts. The numbers are part of the
// message and are passed explicitly, so that they survive moved and split files. Each is given to one
// check of its source name; a line that shares one says why. A new check takes the next number above
// 1000 that its source name has not used. Bad input is never an assertion. Safe to call from any thread.
#pragma once

namespace core {

// The number printed in parentheses at the end of every assertion line.
constexpr int kAssertCode = 40000;

// Writes "\nassert failed <source>:<line> (40000)\n" to standard error, raises SIGINT and aborts.
[[noreturn]] void FatalAssert(const char* source, int line);

// Stops the process through FatalAssert unless `holds`.
inline void AssertAt(bool holds, const char* source, int line) {
  if (!holds) [[unlikely]] {
    FatalAssert(source, line);
  }
}

}  // namespace core
