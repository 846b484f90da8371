// placeholder replaced by its owner
#include <stddef.h>
#include <stdint.h>

#include "core/bencoding.h"
#include "fuzz/fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  core::BencEntity root;
  root.ZeroOut();
  const unsigned char* stop = core::BencEntity::Parse(data, root, data + size);
  Require(stop == nullptr || stop >= data, "the position lies behind the start");
  root.FreeMembers();
  return 0;
}
