#pragma once

#include <netinet/in.h>

extern "C" {

const char* inet_ntop(int family, const void* address, char* text, socklen_t room);
int inet_pton(int family, const char* text, void* address);

}  // extern "C"
