// Signed integers of given widths, as macOS has them: the one of 64 bits is `long long`.
#pragma once

#define _BITS_STDINT_INTN_H 1

typedef signed char int8_t;
typedef short int16_t;
typedef int int32_t;
typedef long long int64_t;
