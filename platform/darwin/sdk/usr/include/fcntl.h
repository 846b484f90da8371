#pragma once

#define O_RDONLY 0x0
#define O_NONBLOCK 0x4
#define O_NOCTTY 0x20000
#define O_CLOEXEC 0x1000000

extern "C" int open(const char* path, int flags, ...);
