// The C and C++ libraries of macOS over those of this system.
//
// Functions whose types and constants agree on both systems are bound straight through. The others are
// adapted: error numbers, constants, records and state objects differ. Only what is listed resolves.
#pragma once

#include <errno.h>

#include <span>

namespace macho {

struct Shim {
  const char* symbol;  // with the underscore that C names begin with
  void* address;
};

std::span<const Shim> PlainShims();
std::span<const Shim> FileShims();
std::span<const Shim> LocaleShims();
std::span<const Shim> MemoryShims();
std::span<const Shim> ThreadShims();
std::span<const Shim> OperatorShims();
std::span<const Shim> CxxShims();

// The calling thread's error number as the image sees it.
int* ImageErrno();

// An error number of this system as macOS has it.
int DarwinErrno(int number);

// Calls `function` and shows the image the error number that it leaves, if any.
template <class Function>
auto WithErrno(Function function) {
  errno = 0;
  auto result = function();
  if (errno != 0) {
    *ImageErrno() = DarwinErrno(errno);
  }
  return result;
}

}  // namespace macho
