#pragma once

#include <sys/types.h>

using FILE = struct __sFILE;

extern "C" {

extern FILE* __stderrp;
#define stderr __stderrp

int fprintf(FILE* file, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // extern "C"
