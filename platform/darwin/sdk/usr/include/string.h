// The searching functions are overloaded, as in every C++ library: what was const stays const.
#pragma once

#include <stddef.h>

extern "C" {

int memcmp(const void* a, const void* b, size_t len);
void* memcpy(void* to, const void* from, size_t len);
void* memmove(void* to, const void* from, size_t len);
void* memset(void* to, int byte, size_t len);
int strcmp(const char* a, const char* b);
size_t strcspn(const char* text, const char* set);
size_t strlen(const char* text);
int strncmp(const char* a, const char* b, size_t len);
size_t strnlen(const char* text, size_t len);
size_t strspn(const char* text, const char* set);

}  // extern "C"

const char* strchr(const char* text, int byte) __asm("_strchr");
char* strchr(char* text, int byte) __asm("_strchr");
const char* strrchr(const char* text, int byte) __asm("_strrchr");
char* strrchr(char* text, int byte) __asm("_strrchr");
