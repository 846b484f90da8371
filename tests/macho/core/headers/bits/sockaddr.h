// What records of addresses begin with on macOS: a byte of length and one of family.
#pragma once

#define _BITS_SOCKADDR_H 1
#define __SOCKADDR_COMMON(prefix) \
  unsigned char prefix##len;      \
  sa_family_t prefix##family
#define __SOCKADDR_COMMON_SIZE 2
#define _SS_SIZE 128

typedef unsigned char sa_family_t;
