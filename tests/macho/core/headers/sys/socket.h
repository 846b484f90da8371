// This system's header, with the number that the family has on macOS.
#pragma once

#include_next <sys/socket.h>

#undef AF_INET6
#define AF_INET6 30
