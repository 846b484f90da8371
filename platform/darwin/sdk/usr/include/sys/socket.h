#pragma once

#include <sys/types.h>

#define AF_UNSPEC 0
#define AF_INET 2
#define AF_INET6 30

using sa_family_t = uint8_t;
using socklen_t = uint32_t;

// Byte 0 of every address is its length, byte 1 its family.
struct sockaddr {
  uint8_t sa_len;
  sa_family_t sa_family;
  char sa_data[14];
};

struct sockaddr_storage {
  uint8_t ss_len;
  sa_family_t ss_family;
  char __ss_pad1[6];
  int64_t __ss_align;
  char __ss_pad2[112];
};
