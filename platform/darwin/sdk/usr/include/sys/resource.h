#pragma once

#include <sys/types.h>

#define RLIMIT_STACK 3
#define RLIM_INFINITY ((rlim_t)0x7FFFFFFFFFFFFFFF)

using rlim_t = uint64_t;

struct rlimit {
  rlim_t rlim_cur;
  rlim_t rlim_max;
};

extern "C" int getrlimit(int resource, struct rlimit* limit);
