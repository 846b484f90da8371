// The stack limit of a process that is about to end.
#pragma once

#include <stdlib.h>
#include <sys/resource.h>

// Lowers the soft stack limit, for a death test's own process.
inline void LimitStack(rlim_t bytes) {
  rlimit limit;
  if (getrlimit(RLIMIT_STACK, &limit) != 0) {
    abort();
  }
  limit.rlim_cur = bytes;
  if (setrlimit(RLIMIT_STACK, &limit) != 0) {
    abort();
  }
}
