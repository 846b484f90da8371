// The searching functions are overloaded, as in string.h.
#pragma once

#include <sys/types.h>

using wint_t = int;

union mbstate_t {
  char __bytes[128];
  long long __align;
};

extern "C" {

size_t mbsnrtowcs(wchar_t* to, const char** from, size_t len, size_t units, mbstate_t* state);
size_t mbsrtowcs(wchar_t* to, const char** from, size_t units, mbstate_t* state);
size_t wcsrtombs(char* to, const wchar_t** from, size_t len, mbstate_t* state);
int wcscmp(const wchar_t* a, const wchar_t* b);
size_t wcscspn(const wchar_t* text, const wchar_t* set);
size_t wcslen(const wchar_t* text);
size_t wcsnlen(const wchar_t* text, size_t units);
wchar_t* wmemcpy(wchar_t* to, const wchar_t* from, size_t units);

}  // extern "C"

const wchar_t* wcschr(const wchar_t* text, wchar_t unit) __asm("_wcschr");
wchar_t* wcschr(wchar_t* text, wchar_t unit) __asm("_wcschr");
const wchar_t* wcsrchr(const wchar_t* text, wchar_t unit) __asm("_wcsrchr");
wchar_t* wcsrchr(wchar_t* text, wchar_t unit) __asm("_wcsrchr");
