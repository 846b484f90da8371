// Exceptions: both systems share the rules for passing them on, so this system's own routines serve.
#include <cxxabi.h>
#include <stdio.h>
#include <stdlib.h>

#include <exception>

#include "tests/macho/shims.h"

extern "C" void __gxx_personality_v0();

namespace macho {
namespace {

[[noreturn]] void PureVirtual() {
  fputs("The image called a pure virtual function.\n", stderr);
  abort();
}

}  // namespace

std::span<const Shim> CxxShims() {
  static const Shim shims[] = {
      {"___cxa_begin_catch", reinterpret_cast<void*>(abi::__cxa_begin_catch)},
      {"___cxa_end_catch", reinterpret_cast<void*>(abi::__cxa_end_catch)},
      {"___cxa_pure_virtual", reinterpret_cast<void*>(PureVirtual)},
      {"___gxx_personality_v0", reinterpret_cast<void*>(__gxx_personality_v0)},
      {"__ZSt9terminatev", reinterpret_cast<void*>(std::terminate)},
  };
  return shims;
}

}  // namespace macho
