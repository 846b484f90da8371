// A variadic argument list made at run time.
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <vector>

// The list that a callee gets when all its arguments stand in memory, because those before them used up the
// registers: slots of eight bytes, in order, whatever their types. A structure of two slots takes two.
class ArgumentList {
 public:
  explicit ArgumentList(const std::vector<uint64_t>& slots) : slots_(new uint64_t[slots.size()]) {
    std::copy(slots.begin(), slots.end(), slots_.get());
    Point();
  }

  va_list& get() { return list_; }

 private:
#if defined(__x86_64__)
  // Past the six integer registers of eight bytes, and the eight of sixteen.
  void Point() {
    const struct {
      unsigned integers = 48, floats = 176;
      void* memory = nullptr;
      void* registers = nullptr;
    } list{.memory = slots_.get()};
    static_assert(sizeof list == sizeof list_);
    memcpy(&list_, &list, sizeof list);
  }
#elif defined(__aarch64__) && !defined(__APPLE__)
  // Offsets of zero: no register is left.
  void Point() {
    const struct {
      void* memory = nullptr;
      void* registers[2] = {};
      int left[2] = {};
    } list{.memory = slots_.get()};
    static_assert(sizeof list == sizeof list_);
    memcpy(&list_, &list, sizeof list);
  }
#else
#error "unknown layout of va_list"
#endif

  std::unique_ptr<uint64_t[]> slots_;
  va_list list_;
};
