// Fatal assertions as a fuzzer wants them. It takes the library's SIGINT for the user's wish to stop, and
// keeps no input then; SIGABRT is a finding. A linker that finds this does not take the library's own.
#include <stdio.h>
#include <stdlib.h>

#include "core/base/fatal.h"

namespace core {

void FatalAssert(const char* source, int line) {
  fprintf(stderr, "\nassert failed %s:%d (%d)\n", source, line, kAssertCode);
  abort();
}

}  // namespace core
