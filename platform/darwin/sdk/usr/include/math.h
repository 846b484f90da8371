#pragma once

#define isfinite(value) __builtin_isfinite(value)

extern "C" double fabs(double value);
