// Property: none. This target fails on purpose, by the library's fatal assertion, for inputs that begin with
// "bad": a fuzzer that cannot find it, or does not keep it, would not find a fault either.
#include <stddef.h>
#include <stdint.h>

#include "core/base/fatal.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const bool bad = size >= 3 && data[0] == 'b' && data[1] == 'a' && data[2] == 'd';
  core::AssertAt(!bad, "fuzz/self_test", 1);
  return 0;
}
