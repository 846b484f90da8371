#pragma once

#include <sys/types.h>

struct timespec {
  time_t tv_sec;
  long tv_nsec;
};

struct tm {
  int tm_sec;
  int tm_min;
  int tm_hour;
  int tm_mday;
  int tm_mon;
  int tm_year;
  int tm_wday;
  int tm_yday;
  int tm_isdst;
  long tm_gmtoff;
  char* tm_zone;
};

enum clockid_t : unsigned { CLOCK_REALTIME = 0 };

extern "C" {

int clock_gettime(clockid_t clock, struct timespec* time);
struct tm* localtime_r(const time_t* time, struct tm* parts);
void tzset();

}  // extern "C"
