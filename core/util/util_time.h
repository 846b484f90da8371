// The host's clock, the time of its start, and what calendar and user make of a time.
//
// Times are seconds since 1970, 64 bits wide. Any function may be called from any thread, but what
// one thread stores another may see late.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace core {

// The current time, kept up to date by the host. A host that does so while other threads call
// TimeSinceStartup stores it atomically.
extern int64_t g_cur_time;  // NOLINT(bugprone-dynamic-static-initializers): constant where it is defined

// The time when the host started, which the host sets once; 0 before that.
int64_t GetStartupTime();
void SetStartupTime(int64_t time);

// The seconds from the startup time to the current time, modulo 2^64.
int64_t TimeSinceStartup();

// Returns how many calendar days, in local time, `a` lies after `b`; negative when it lies before.
// 0 when the platform cannot tell the local time of either.
//
// The time zone is the environment's at this moment; no other thread may change it meanwhile.
// On purpose: a year counts 365 days, so that from 31 December of a leap year to the next day is 0.
// The low 32 bits of the result are returned.
int day_diff(int64_t a, int64_t b);

// True when day_diff(a, b) is not 0.
bool day_changed(int64_t a, int64_t b);

// Writes how long ago something of that age in seconds happened, in the largest unit that fits once:
// "2 weeks ago". A month has 30 days and a year 365. Below a minute, and for a negative age, it is
// "less than a minute ago".
//
// `buffer` has room for `capacity` characters and is always terminated; a text that does not fit is
// cut. Returns the characters stored; a `capacity` of 0 writes nothing and returns 0.
// On purpose: the low 32 bits of the number are written, as signed.
int FormatPastTimeIntervalFuzzy(wchar_t* buffer, size_t capacity, int64_t seconds);

}  // namespace core
