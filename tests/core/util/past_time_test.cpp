// Texts that tell how long ago something happened.
#include <gtest/gtest.h>
#include <stddef.h>
#include <stdint.h>

#include <random>
#include <string>

#include "core/util/util.h"
#include "tests/support/guarded_buffer.h"

using namespace core;

namespace {

// The text for an age, in a buffer that is large enough. Its length is what the call returns.
std::wstring Past(int64_t seconds) {
  GuardedBuffer<wchar_t> buffer(64);
  const int len = FormatPastTimeIntervalFuzzy(buffer.buf(), buffer.size(), seconds);
  std::wstring text = buffer.buf();
  EXPECT_EQ(text.size(), static_cast<size_t>(len));
  EXPECT_TRUE(buffer.UntouchedFrom(text.size() + 1));
  return text;
}

struct Case {
  int64_t seconds;
  const wchar_t* text;
};

TEST(PastTime, ChangesItsTextAtEveryThreshold) {
  const Case kCases[] = {
      {0, L"less than a minute ago"},  {1, L"less than a minute ago"}, {58, L"less than a minute ago"},
      {59, L"less than a minute ago"}, {60, L"a minute ago"},          {61, L"a minute ago"},
      {119, L"a minute ago"},          {120, L"2 minutes ago"},        {121, L"2 minutes ago"},
      {179, L"2 minutes ago"},         {180, L"3 minutes ago"},        {3599, L"59 minutes ago"},
      {3600, L"an hour ago"},          {3601, L"an hour ago"},         {7199, L"an hour ago"},
      {7200, L"2 hours ago"},          {86399, L"23 hours ago"},       {86400, L"a day ago"},
      {86401, L"a day ago"},           {172799, L"a day ago"},         {172800, L"2 days ago"},
      {604799, L"6 days ago"},         {604800, L"a week ago"},        {604801, L"a week ago"},
      {1209599, L"a week ago"},        {1209600, L"2 weeks ago"},      {2591999, L"4 weeks ago"},
      {2592000, L"a month ago"},       {2592001, L"a month ago"},      {5183999, L"a month ago"},
      {5184000, L"2 months ago"},      {31103999, L"11 months ago"},   {31104000, L"12 months ago"},
      {31535999, L"12 months ago"},    {31536000, L"a year ago"},      {31536001, L"a year ago"},
      {63071999, L"a year ago"},       {63072000, L"2 years ago"},     {63072001, L"2 years ago"},
      {3153600000, L"100 years ago"},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(c.text, Past(c.seconds)) << c.seconds;
  }
}

TEST(PastTime, IsLessThanAMinuteForWhatLiesAhead) {
  for (const int64_t seconds : {int64_t{-1}, int64_t{-5}, int64_t{-60}, int64_t{-31536000}, INT64_MIN}) {
    EXPECT_EQ(L"less than a minute ago", Past(seconds)) << seconds;
  }
}

TEST(PastTime, WritesTheLow32BitsOfTheNumber) {
  constexpr int64_t kYear = 31536000;
  EXPECT_EQ(L"2147483647 years ago", Past(kYear * INT32_MAX));
  EXPECT_EQ(L"-2147483648 years ago", Past(kYear * (int64_t{1} << 31)));
  EXPECT_EQ(L"0 years ago", Past(kYear * (int64_t{1} << 32)));
  EXPECT_EQ(L"1 years ago", Past(kYear * ((int64_t{1} << 32) + 1)));
  EXPECT_EQ(L"413432549 years ago", Past(INT64_MAX));
}

// The same by counting down from the largest unit.
std::wstring ModelPast(int64_t seconds) {
  const int64_t minutes = seconds / 60;
  const int64_t hours = minutes / 60;
  const int64_t days = hours / 24;
  const auto text = [](int64_t count, const wchar_t* article, const std::wstring& unit) {
    return (count == 1 ? article + (L" " + unit) : std::to_wstring(count) + L" " + unit + L"s") + L" ago";
  };
  return days >= 365    ? text(days / 365, L"a", L"year")
         : days >= 30   ? text(days / 30, L"a", L"month")
         : days >= 7    ? text(days / 7, L"a", L"week")
         : days >= 1    ? text(days, L"a", L"day")
         : hours >= 1   ? text(hours, L"an", L"hour")
         : minutes >= 1 ? text(minutes, L"a", L"minute")
                        : L"less than a minute ago";
}

TEST(PastTime, AgreesWithTheModelOnThreeYearsAndOnRandomAges) {
  for (int64_t seconds = 0; seconds < int64_t{3} * 365 * 86400; seconds += 360) {
    ASSERT_EQ(ModelPast(seconds), Past(seconds)) << seconds;
    ASSERT_EQ(ModelPast(seconds + 59), Past(seconds + 59)) << seconds + 59;
  }
  std::mt19937_64 random(5);
  for (int i = 0; i < 20'000; ++i) {
    const int64_t seconds = static_cast<int64_t>(random() >> (10 + random() % 54));
    if (seconds / 31536000 <= INT32_MAX) {
      ASSERT_EQ(ModelPast(seconds), Past(seconds)) << seconds;
    }
  }
}

TEST(PastTime, IsCutToTheBuffer) {
  const std::wstring texts[] = {L"less than a minute ago", L"an hour ago", L"12 months ago"};
  const int64_t ages[] = {0, 3600, 31535999};
  for (size_t i = 0; i < 3; ++i) {
    for (size_t capacity = 1; capacity <= texts[i].size() + 2; ++capacity) {
      GuardedBuffer<wchar_t> buffer(capacity);
      const std::wstring expected = texts[i].substr(0, capacity - 1);
      EXPECT_EQ(static_cast<int>(expected.size()), FormatPastTimeIntervalFuzzy(buffer.buf(), capacity, ages[i]));
      EXPECT_EQ(expected, buffer.buf());
      EXPECT_TRUE(buffer.UntouchedFrom(expected.size() + 1));
      EXPECT_TRUE(buffer.GuardsHold());
    }
  }
}

TEST(PastTime, WritesNothingWithoutRoom) {
  GuardedBuffer<wchar_t> buffer(0);
  for (const int64_t seconds : {int64_t{0}, int64_t{60}, int64_t{120}}) {
    EXPECT_EQ(0, FormatPastTimeIntervalFuzzy(buffer.buf(), 0, seconds));
  }
  EXPECT_TRUE(buffer.UntouchedFrom(0));
}

}  // namespace
