#include "tests/faults/system_calls.h"

#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <wchar.h>

extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_fstat(int fd, struct stat* status);
ssize_t __real_read(int fd, void* dst, size_t room);
size_t __real_mbsnrtowcs(wchar_t* dst, const char** src, size_t bytes, size_t room, mbstate_t* state);
void* __real_realloc(void* block, size_t n);

int __wrap_open(const char* path, int flags, ...);
int __wrap_fstat(int fd, struct stat* status);
ssize_t __wrap_read(int fd, void* dst, size_t room);
size_t __wrap_mbsnrtowcs(wchar_t* dst, const char** src, size_t bytes, size_t room, mbstate_t* state);
void* __wrap_realloc(void* block, size_t n);

}  // extern "C"

namespace faults {

// Never destroyed: the C library's own exit may read.
SystemCalls& Calls() {
  static SystemCalls& calls = *new SystemCalls;
  return calls;
}

int RealOpen(const char* path, int flags) { return __real_open(path, flags); }
int RealFstat(int fd, struct stat* status) { return __real_fstat(fd, status); }
ssize_t RealRead(int fd, void* dst, size_t room) { return __real_read(fd, dst, room); }

}  // namespace faults

int __wrap_open(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const auto mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : mode_t{0};
  va_end(rest);
  return faults::Calls().open ? faults::Calls().open(path, flags) : __real_open(path, flags, mode);
}

int __wrap_fstat(int fd, struct stat* status) {
  return faults::Calls().fstat ? faults::Calls().fstat(fd, status) : __real_fstat(fd, status);
}

ssize_t __wrap_read(int fd, void* dst, size_t room) {
  return faults::Calls().read ? faults::Calls().read(fd, dst, room) : __real_read(fd, dst, room);
}

size_t __wrap_mbsnrtowcs(wchar_t* dst, const char** src, size_t bytes, size_t room, mbstate_t* state) {
  const auto& convert = faults::Calls().mbsnrtowcs;
  return convert ? convert(dst, src, bytes, room) : __real_mbsnrtowcs(dst, src, bytes, room, state);
}

void* __wrap_realloc(void* block, size_t n) {
  const bool refused = faults::Calls().refuse_block && faults::Calls().refuse_block(block, n);
  return refused ? nullptr : __real_realloc(block, n);
}
