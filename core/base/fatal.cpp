#include "core/base/fatal.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

namespace core {

void FatalAssert(const char* source, int line) {
  fprintf(stderr, "\nassert failed %s:%d (%d)\n", source, line, kAssertCode);
  raise(SIGINT);
  abort();
}

}  // namespace core
