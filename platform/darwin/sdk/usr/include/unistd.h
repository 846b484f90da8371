#pragma once

#include <sys/types.h>

extern "C" {

int close(int fd);
ssize_t read(int fd, void* to, size_t room);

}  // extern "C"
