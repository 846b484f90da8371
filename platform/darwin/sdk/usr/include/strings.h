#pragma once

#include <stddef.h>

extern "C" {

int strcasecmp(const char* a, const char* b);
int strncasecmp(const char* a, const char* b, size_t len);

}  // extern "C"
