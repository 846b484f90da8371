// This system's header, with constants of 64 bits in the types that macOS has for them.
#pragma once

#include_next <stdint.h>

#undef INT64_C
#undef UINT64_C
#undef INT64_MAX
#undef INT64_MIN
#undef UINT64_MAX
#define INT64_C(value) value##LL
#define UINT64_C(value) value##ULL
#define INT64_MAX INT64_C(9223372036854775807)
#define INT64_MIN (-INT64_MAX - 1)
#define UINT64_MAX UINT64_C(18446744073709551615)
