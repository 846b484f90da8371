// The system calls of the program under test, with a place to step in between. The linker leads every
// call of a program of these tests here.
#pragma once

#include <stddef.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <functional>

namespace faults {

// What a test puts in the place of a call; each has the call's own result, with errno. The real call is
// made when there is nothing.
struct SystemCalls {
  std::function<int(const char* path, int flags)> open;
  std::function<int(int fd, struct stat* status)> fstat;
  std::function<ssize_t(int fd, void* dst, size_t room)> read;
  std::function<size_t(wchar_t* dst, const char** src, size_t bytes, size_t room)> mbsnrtowcs;
  std::function<bool(const void* block, size_t n)> refuse_block;  // of realloc, whoever asks
};

// The calls as they are now. One thread at a time.
SystemCalls& Calls();

int RealOpen(const char* path, int flags);
int RealFstat(int fd, struct stat* status);
ssize_t RealRead(int fd, void* dst, size_t room);

// Puts every call back when it ends.
struct CallsScope {
  CallsScope() { Calls() = {}; }
  ~CallsScope() { Calls() = {}; }
  CallsScope(const CallsScope&) = delete;
  CallsScope& operator=(const CallsScope&) = delete;
};

}  // namespace faults
