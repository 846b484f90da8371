#include "core/util/util_time.h"

#include <time.h>

#include "core/format/strfmt.h"

namespace core {
namespace {

static_assert(sizeof(time_t) == sizeof(int64_t));

int64_t startup_time = 0;

// Two's complement, so that no pair of times overflows.
int64_t Minus(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

struct PastUnit {
  int64_t seconds;
  const wchar_t* one;
  const wchar_t* many;
};

constexpr int64_t kMinute = 60;
constexpr int64_t kHour = 60 * kMinute;
constexpr int64_t kDay = 24 * kHour;

constexpr PastUnit kPastUnits[] = {
    {365 * kDay, L"a year ago", L"%d years ago"}, {30 * kDay, L"a month ago", L"%d months ago"},
    {7 * kDay, L"a week ago", L"%d weeks ago"},   {kDay, L"a day ago", L"%d days ago"},
    {kHour, L"an hour ago", L"%d hours ago"},     {kMinute, L"a minute ago", L"%d minutes ago"},
};

// What the platform makes of a time; false when it cannot.
bool LocalDay(int64_t seconds, struct tm* day) {
  const time_t time = seconds;
  return ::localtime_r(&time, day) != nullptr;
}

}  // namespace

constinit int64_t g_cur_time = 0;

int64_t GetStartupTime() { return __atomic_load_n(&startup_time, __ATOMIC_RELAXED); }

void SetStartupTime(int64_t time) { __atomic_store_n(&startup_time, time, __ATOMIC_RELAXED); }

int64_t TimeSinceStartup() { return Minus(__atomic_load_n(&g_cur_time, __ATOMIC_RELAXED), GetStartupTime()); }

int day_diff(int64_t a, int64_t b) {
  ::tzset();  // localtime_r alone need not notice that the environment's time zone has changed
  struct tm day_a;
  struct tm day_b;
  if (!LocalDay(a, &day_a) || !LocalDay(b, &day_b)) {
    return 0;
  }
  const int64_t years = int64_t{day_a.tm_year} - day_b.tm_year;
  const int64_t days = years * 365 + (day_a.tm_yday - day_b.tm_yday);
  return static_cast<int>(static_cast<uint32_t>(days));
}

bool day_changed(int64_t a, int64_t b) { return day_diff(a, b) != 0; }

int FormatPastTimeIntervalFuzzy(wchar_t* buffer, size_t capacity, int64_t seconds) {
  for (const PastUnit& unit : kPastUnits) {
    if (seconds >= unit.seconds) {
      const int64_t count = seconds / unit.seconds;
      const int shown = static_cast<int>(static_cast<uint32_t>(count));
      return count == 1 ? nuwsnprintf(buffer, capacity, unit.one) : nuwsnprintf(buffer, capacity, unit.many, shown);
    }
  }
  return nuwsnprintf(buffer, capacity, L"less than a minute ago");
}

}  // namespace core
