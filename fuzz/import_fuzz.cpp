// Property: the plug-in makes of any bytes what the model of the reader makes of them, refuses without a trace,
// and gives everything back.
#include <stddef.h>
#include <stdint.h>

#include <string_view>

#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/import_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string fault = ImportFault({reinterpret_cast<const char*>(data), size});
  Require(fault.empty(), fault.c_str());
  return 0;
}
