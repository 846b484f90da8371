#pragma once

#include <stddef.h>

extern "C" {

void* malloc(size_t size) __attribute__((malloc));
void* realloc(void* block, size_t size);
void free(void* block);
[[noreturn]] void abort();

long strtol(const char* text, char** end, int base);
unsigned long strtoul(const char* text, char** end, int base);
long long strtoll(const char* text, char** end, int base);

}  // extern "C"
