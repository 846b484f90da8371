// Calendar-day differences and the host's time records.
#include <gtest/gtest.h>
#include <stdint.h>

#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include "core/util/util.h"
#include "tests/support/scoped_time_zone.h"

using namespace core;

namespace {

constexpr int64_t kHour = 3600;
constexpr int64_t kDay = 24 * kHour;

// --- a calendar of our own ---

using std::chrono::April;
using std::chrono::last;
using std::chrono::March;
using std::chrono::November;
using std::chrono::September;
using std::chrono::Sunday;
using std::chrono::sys_days;
using std::chrono::year;
using std::chrono::year_month_day;

// The UTC time of the start of that day.
int64_t Seconds(sys_days day) { return int64_t{day.time_since_epoch().count()} * kDay; }
int64_t Seconds(int y, unsigned m, unsigned d) {
  return Seconds(sys_days(year(y) / std::chrono::month(m) / std::chrono::day(d)));
}

year YearOf(int64_t local) {
  const int64_t days = (local - ((local % kDay) + kDay) % kDay) / kDay;
  return year_month_day(sys_days(std::chrono::days(days))).year();
}

// A time zone: how the environment names it and what it adds to UTC.
struct Zone {
  const char* name;
  int64_t (*offset)(int64_t utc);
  bool changes;  // platforms differ on when such a zone changed its clocks before 1970
};

int64_t NoOffset(int64_t) { return 0; }
int64_t KathmanduOffset(int64_t) { return 5 * kHour + kHour * 3 / 4; }

// Daylight time from the second Sunday in March to the first in November, changed at 2:00.
int64_t NewYorkOffset(int64_t utc) {
  const year y = YearOf(utc - 5 * kHour);
  const int64_t begin = Seconds(sys_days(y / March / Sunday[2])) + 2 * kHour + 5 * kHour;
  const int64_t end = Seconds(sys_days(y / November / Sunday[1])) + 2 * kHour + 4 * kHour;
  return utc >= begin && utc < end ? -4 * kHour : -5 * kHour;
}

// Daylight time from the last Sunday in September, 2:00, to the first in April, 3:00.
int64_t AucklandOffset(int64_t utc) {
  const year y = YearOf(utc + 12 * kHour);
  const int64_t begin = Seconds(sys_days(y / September / Sunday[last])) + 2 * kHour - 12 * kHour;
  const int64_t end = Seconds(sys_days(y / April / Sunday[1])) + 3 * kHour - 13 * kHour;
  return utc >= begin || utc < end ? 13 * kHour : 12 * kHour;
}

const Zone kZones[] = {
    {"UTC0", NoOffset, false},
    {"EST5EDT,M3.2.0,M11.1.0", NewYorkOffset, true},
    {"NZST-12NZDT,M9.5.0,M4.1.0/3", AucklandOffset, true},
    {"<+0545>-5:45", KathmanduOffset, false},
};

int ModelDiff(const Zone& zone, int64_t a, int64_t b) {
  const int64_t local_a = a + zone.offset(a);
  const int64_t local_b = b + zone.offset(b);
  const int64_t first_a = Seconds(sys_days(YearOf(local_a) / 1 / 1));
  const int64_t first_b = Seconds(sys_days(YearOf(local_b) / 1 / 1));
  const int years = static_cast<int>(YearOf(local_a)) - static_cast<int>(YearOf(local_b));
  return years * 365 + static_cast<int>((local_a - first_a) / kDay - (local_b - first_b) / kDay);
}

void ExpectLikeModel(const Zone& zone, int64_t a, int64_t b) {
  const int expected = ModelDiff(zone, a, b);
  ASSERT_EQ(expected, day_diff(a, b)) << zone.name << " " << a << " " << b;
  ASSERT_EQ(expected != 0, day_changed(a, b)) << zone.name << " " << a << " " << b;
}

// Both orders of a second before, at and after `t`.
void ExpectLikeModelAround(const Zone& zone, int64_t t) {
  for (int64_t a = t - 1; a <= t + 1; ++a) {
    for (int64_t b = t - 1; b <= t + 1; ++b) {
      ExpectLikeModel(zone, a, b);
    }
  }
}

// The UTC time of that local time, for zones that do not change near it.
int64_t FromLocal(const Zone& zone, int64_t local) { return local - zone.offset(local); }

// --- day_diff ---

TEST(DayDiff, IsWhatEveryNewYearGives) {
  for (const Zone& zone : kZones) {
    const ScopedTimeZone environment(zone.name);
    for (int y = 1970; y <= 2100; ++y) {
      const int64_t new_year = FromLocal(zone, Seconds(y, 1, 1));
      const int expected = year(y - 1).is_leap() ? 0 : 1;
      ASSERT_EQ(expected, day_diff(new_year, new_year - 1)) << zone.name << " " << y;
      ASSERT_EQ(-expected, day_diff(new_year - 1, new_year)) << zone.name << " " << y;
      ASSERT_EQ(expected != 0, day_changed(new_year, new_year - 1)) << zone.name << " " << y;
      ASSERT_EQ(0, day_diff(new_year + kDay - 1, new_year)) << zone.name << " " << y;
      ASSERT_EQ(0, day_diff(new_year - 1, new_year - kDay)) << zone.name << " " << y;
    }
  }
}

TEST(DayDiff, AgreesWithTheModelOnTheDaysAroundEveryNewYear) {
  for (const Zone& zone : kZones) {
    const ScopedTimeZone environment(zone.name);
    for (int y = 1970; y <= 2100; ++y) {
      const int64_t new_year = FromLocal(zone, Seconds(y, 1, 1));
      for (int day = -3; day <= 3; ++day) {
        ExpectLikeModelAround(zone, new_year + day * kDay);
        ExpectLikeModel(zone, new_year + day * kDay, new_year);
        ExpectLikeModel(zone, new_year - 366 * kDay, new_year + day * kDay);
      }
    }
  }
}

TEST(DayDiff, AgreesWithTheModelOnRandomTimes) {
  for (const Zone& zone : kZones) {
    const ScopedTimeZone environment(zone.name);
    std::mt19937_64 random(8);
    std::uniform_int_distribution<int64_t> times(Seconds(zone.changes ? 1970 : 1900, 2, 1), Seconds(2200, 1, 1));
    for (int i = 0; i < 5000; ++i) {
      const int64_t a = times(random);
      ExpectLikeModel(zone, a, times(random));
      ExpectLikeModel(zone, a, a + times(random) % (3 * kDay));
    }
  }
}

TEST(DayDiff, FollowsTheClockThroughDaylightSaving) {
  for (const Zone& zone : {kZones[1], kZones[2]}) {
    const ScopedTimeZone environment(zone.name);
    int changes = 0;
    for (int64_t t = Seconds(1975, 1, 1); t < Seconds(2035, 1, 1); t += kHour) {
      if (zone.offset(t) == zone.offset(t - 1)) {
        continue;
      }
      ++changes;
      ExpectLikeModelAround(zone, t);
      const int64_t midnight = (t + zone.offset(t - 1)) / kDay * kDay - zone.offset(t - 1);
      ExpectLikeModelAround(zone, midnight);
      ExpectLikeModelAround(zone, midnight + kDay);
      ExpectLikeModelAround(zone, midnight + kDay + zone.offset(t - 1) - zone.offset(t));
    }
    EXPECT_EQ(120, changes);
  }
}

TEST(DayDiff, ADayMayHave23Or25Hours) {
  const ScopedTimeZone environment("EST5EDT,M3.2.0,M11.1.0");
  const int64_t spring = Seconds(2024, 3, 10) + 5 * kHour;
  EXPECT_EQ(0, day_diff(spring + 23 * kHour - 1, spring));
  EXPECT_EQ(1, day_diff(spring + 23 * kHour, spring));
  const int64_t autumn = Seconds(2024, 11, 3) + 4 * kHour;
  EXPECT_EQ(0, day_diff(autumn + 25 * kHour - 1, autumn));
  EXPECT_EQ(1, day_diff(autumn + 25 * kHour, autumn));
}

TEST(DayDiff, CountsDaysThroughTheYear) {
  const ScopedTimeZone environment("UTC0");
  EXPECT_EQ(0, day_diff(0, 0));
  EXPECT_EQ(0, day_diff(kDay - 1, 0));
  EXPECT_EQ(1, day_diff(kDay, 0));
  EXPECT_EQ(-1, day_diff(0, kDay));
  EXPECT_EQ(364, day_diff(364 * kDay, 0));
  EXPECT_EQ(59, day_diff(Seconds(2024, 2, 29), Seconds(2024, 1, 1)));
  EXPECT_EQ(60, day_diff(Seconds(2024, 3, 1), Seconds(2024, 1, 1)));
}

TEST(DayDiff, CountsEveryYearAs365Days) {
  const ScopedTimeZone environment("UTC0");
  EXPECT_EQ(365, day_diff(Seconds(2025, 1, 1), Seconds(2024, 1, 1)));
  EXPECT_EQ(365 * 130, day_diff(Seconds(2100, 1, 1), Seconds(1970, 1, 1)));
  EXPECT_EQ(-365 * 4, day_diff(Seconds(2024, 7, 1), Seconds(2028, 7, 1)));
  EXPECT_EQ(0, day_diff(Seconds(2025, 1, 1), Seconds(2024, 12, 31)));
  EXPECT_FALSE(day_changed(Seconds(2025, 1, 1), Seconds(2024, 12, 31)));
}

TEST(DayDiff, TakesTimesBefore1970) {
  const ScopedTimeZone environment("UTC0");
  EXPECT_EQ(1, day_diff(0, -1));
  EXPECT_EQ(0, day_diff(-1, -kDay));
  EXPECT_EQ(1, day_diff(-1, -kDay - 1));
}

TEST(DayDiff, NoticesThatTheTimeZoneHasChanged) {
  const int64_t t = Seconds(2024, 6, 15) + kHour;
  {
    const ScopedTimeZone environment("UTC0");
    EXPECT_TRUE(day_changed(t, t - 2 * kHour));
  }
  {
    const ScopedTimeZone environment("<+0545>-5:45");
    EXPECT_FALSE(day_changed(t, t - 2 * kHour));
  }
  const ScopedTimeZone environment("UTC0");
  EXPECT_TRUE(day_changed(t, t - 2 * kHour));
}

// --- where years end ---

// The UTC time of the start of a year, of any size.
int64_t YearStart(int64_t y) {
  const int64_t cycles = (y - 1970) / 400;  // of 146097 days each
  return cycles * 146097 * kDay + Seconds(static_cast<int>(y - cycles * 400), 1, 1);
}

// The platform keeps the years since 1900 in 32 bits.
const int64_t kTooLate = YearStart(int64_t{INT32_MAX} + 1901);
const int64_t kEarliest = YearStart(int64_t{INT32_MIN} + 1900);

TEST(DayDiff, ReachesTheLastYearThatThePlatformCanTell) {
  const ScopedTimeZone environment("UTC0");
  EXPECT_EQ(1, day_diff(kTooLate - 1, kTooLate - 1 - kDay));
  EXPECT_EQ(1, day_diff(kEarliest + kDay, kEarliest));
}

TEST(DayDiff, IsZeroWhenThePlatformCannotTellEither) {
  const ScopedTimeZone environment("UTC0");
  for (const int64_t bad : {kTooLate, kTooLate + 1, kEarliest - 1, INT64_MAX, INT64_MIN}) {
    EXPECT_EQ(0, day_diff(bad, 0)) << bad;
    EXPECT_EQ(0, day_diff(0, bad)) << bad;
    EXPECT_EQ(0, day_diff(bad, bad)) << bad;
    EXPECT_FALSE(day_changed(bad, 0)) << bad;
  }
}

// The difference in years, 2^32 - 1, counts as -1.
TEST(DayDiff, KeepsTheLow32BitsOfADifference) {
  const ScopedTimeZone environment("UTC0");
  EXPECT_EQ(-1, day_diff(kTooLate - 1, kEarliest));
  EXPECT_EQ(1, day_diff(kEarliest, kTooLate - 1));
  EXPECT_EQ(static_cast<int32_t>(static_cast<uint32_t>(int64_t{6'000'000} * 365)), day_diff(YearStart(6'001'970), 0));
}

TEST(DayDiff, IsReckonedByManyThreadsAtOnce) {
  const ScopedTimeZone environment(kZones[1].name);
  std::vector<int> wrong(4, 0);
  std::vector<std::thread> threads;
  threads.reserve(wrong.size());
  for (size_t n = 0; n < wrong.size(); ++n) {
    threads.emplace_back([n, &wrong] {
      const int64_t a = Seconds(1980 + 20 * static_cast<int>(n), 5, 5) + kDay / 2;
      for (int i = 0; i < 2000; ++i) {
        const int days = i % 100;
        wrong[n] += day_diff(a + days * kDay, a) != days;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(std::vector<int>(4, 0), wrong);
}

// --- time records ---

// What the records hold before anything is stored.
const int64_t initial_time = g_cur_time;
const int64_t initial_startup_time = GetStartupTime();

class TimeRecords : public ::testing::Test {
 protected:
  ~TimeRecords() override {
    g_cur_time = initial_time;
    SetStartupTime(initial_startup_time);
  }
};

TEST_F(TimeRecords, AreZeroAtFirst) {
  EXPECT_EQ(0, initial_time);
  EXPECT_EQ(0, initial_startup_time);
  EXPECT_EQ(0, TimeSinceStartup());
}

TEST_F(TimeRecords, KeepTheStartupTime) {
  for (const int64_t time : {int64_t{1}, int64_t{-1}, INT64_MAX, INT64_MIN, int64_t{1} << 40}) {
    SetStartupTime(time);
    EXPECT_EQ(time, GetStartupTime());
  }
}

TEST_F(TimeRecords, GiveTheTimeSinceStartup) {
  g_cur_time = 1'700'000'100;
  SetStartupTime(1'700'000'000);
  EXPECT_EQ(100, TimeSinceStartup());
  g_cur_time = 1'699'999'999;
  EXPECT_EQ(-1, TimeSinceStartup());
  EXPECT_EQ(1'700'000'000, GetStartupTime());
}

TEST_F(TimeRecords, WrapBeyond64Bits) {
  g_cur_time = INT64_MAX;
  SetStartupTime(-1);
  EXPECT_EQ(INT64_MIN, TimeSinceStartup());
  g_cur_time = INT64_MIN;
  SetStartupTime(1);
  EXPECT_EQ(INT64_MAX, TimeSinceStartup());
}

TEST_F(TimeRecords, AreReadWhileAnotherThreadStores) {
  std::thread writer([] {
    for (int i = 0; i < 1000; ++i) {
      SetStartupTime(i % 2 == 0 ? 0 : -1);
    }
  });
  int wrong = 0;
  for (int i = 0; i < 1000; ++i) {
    const int64_t since = TimeSinceStartup();
    wrong += since != 0 && since != 1;
  }
  writer.join();
  EXPECT_EQ(0, wrong);
}

}  // namespace
