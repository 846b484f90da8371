#pragma once

#include <sys/socket.h>

#define INET_ADDRSTRLEN 16
#define INET6_ADDRSTRLEN 46

using in_addr_t = uint32_t;
using in_port_t = uint16_t;

struct in_addr {
  in_addr_t s_addr;
};

struct sockaddr_in {
  uint8_t sin_len;
  sa_family_t sin_family;
  in_port_t sin_port;
  in_addr sin_addr;
  char sin_zero[8];
};

struct in6_addr {
  union {
    uint8_t __bytes[16];
    uint16_t __halves[8];
    uint32_t __words[4];
  } __u6_addr;
};
#define s6_addr __u6_addr.__bytes

struct sockaddr_in6 {
  uint8_t sin6_len;
  sa_family_t sin6_family;
  in_port_t sin6_port;
  uint32_t sin6_flowinfo;
  in6_addr sin6_addr;
  uint32_t sin6_scope_id;
};

#define IN6ADDR_LOOPBACK_INIT                            \
  {                                                      \
    {                                                    \
      { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1 } \
    }                                                    \
  }

#define htons(value) __builtin_bswap16(static_cast<uint16_t>(value))
#define htonl(value) __builtin_bswap32(static_cast<uint32_t>(value))
#define ntohs(value) htons(value)
#define ntohl(value) htonl(value)
