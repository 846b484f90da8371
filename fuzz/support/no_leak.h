// Blocks that a fuzz target's input must not leave behind.
#pragma once

#include "core/base/host.h"
#include "fuzz/support/fuzz_check.h"
#include "tests/support/platform_memory.h"

// Checks, at the end of the scope, that as many of the library's blocks are in use as at its start. The
// calling thread's temporary strings are freed first.
class NoLeak {
 public:
  NoLeak() : blocks_(Blocks()) {}
  NoLeak(const NoLeak&) = delete;
  NoLeak& operator=(const NoLeak&) = delete;
  ~NoLeak() { Require(Blocks() == blocks_, "every block is freed"); }

 private:
  static long Blocks() {
    core::FreeTLS(core::GetTLS());
    return test_host::LiveBlocks();
  }

  long blocks_;
};
