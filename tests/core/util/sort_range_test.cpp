// What sorting must not do: leave the array, lose a record, use memory, take longer than promised.
#include <gtest/gtest.h>
#include <limits.h>
#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "core/util/util_sort.h"
#include "tests/support/page_end.h"
#include "tests/support/small_stack.h"
#include "tests/support/sort_model.h"
#include "tests/support/test_host.h"

namespace core {
namespace {

using sort_model::Checked;
using sort_model::Trace;

std::vector<int> Iota(size_t count) {
  std::vector<int> keys(count);
  std::iota(keys.begin(), keys.end(), 0);
  return keys;
}

int CompareInts(const void* a, const void* b) {
  return sort_model::Honest(*static_cast<const int*>(a), *static_cast<const int*>(b));
}

// --- nothing to do ---

TEST(QuickSortRange, FewerThanTwoRecordsOrNoWidthCompareNothing) {
  struct Case {
    const char* name;
    uint32_t count, width;
  };
  for (const Case& c : {Case{"no record", 0, 4},
                        {"no record, greatest width", 0, UINT32_MAX},
                        {"one record", 1, 4},
                        {"one record, greatest width", 1, UINT32_MAX},
                        {"no width", 3, 0},
                        {"no width, greatest count", UINT32_MAX, 0},
                        {"nothing", 0, 0}}) {
    SCOPED_TRACE(c.name);
    int keys[3] = {3, 2, 1};
    const Checked compare(keys, 3, sizeof keys[0], CompareInts);
    QuickSort(keys, c.count, c.width, compare);
    EXPECT_EQ(0u, compare.calls());
    EXPECT_TRUE(keys[0] == 3 && keys[1] == 2 && keys[2] == 1);
  }
}

TEST(QuickSortRange, NoRecordsMayBeNull) {
  QuickSort(nullptr, 0, 8, CompareInts);
  const Checked compare(nullptr, 0, 8, CompareInts);
  QuickSort(nullptr, 0, 8, compare);
  EXPECT_EQ(0u, compare.calls());
}

TEST(QuickSortRange, TwoRecordsAreComparedOnce) {
  int keys[2] = {2, 1};
  const Checked compare(keys, 2, sizeof keys[0], CompareInts);
  QuickSort(keys, 2, sizeof keys[0], compare);
  EXPECT_EQ(1u, compare.calls());
  EXPECT_TRUE(keys[0] == 1 && keys[1] == 2);
}

// --- comparisons that contradict themselves ---

struct Liar {
  const char* name;
  // Makes a fresh function: each depends on nothing but the number of its call and the keys.
  std::function<sort_model::Order()> make;
};

std::vector<Liar> Liars() {
  const auto random = [](unsigned seed, int least, int most) {
    return [=]() -> sort_model::Order {
      return [engine = std::mt19937(seed), least, most](int, int) mutable {
        return least + static_cast<int>(engine() % static_cast<unsigned>(most - least + 1));
      };
    };
  };
  const auto fixed = [](int result) {
    return [result]() -> sort_model::Order { return [result](int, int) { return result; }; };
  };
  return {
      {"always less", fixed(-1)},
      {"always equal", fixed(0)},
      {"always greater", fixed(1)},
      {"least number", fixed(INT_MIN)},
      {"greatest number", fixed(INT_MAX)},
      {"random", random(1, -1, 1)},
      {"random, never equal", random(2, 0, 1)},
      {"random, rarely less", random(3, -1, 9)},
      {"random, rarely greater", random(4, -9, 1)},
      {"in turns", [] { return [sign = 1](int, int) mutable { return sign = -sign; }; }},
      {"round and round", [] { return [](int a, int b) { return (a - b + 300) % 3 - 1; }; }},
  };
}

void ExpectSurvives(const Liar& liar, size_t count) {
  std::vector<int> keys = Iota(count);
  std::vector<int> expected = keys;
  const Trace trace = sort_model::Sort(expected, liar.make());
  const sort_model::Order order = liar.make();
  Checked compare(keys.data(), count, sizeof keys[0], [&order](const void* a, const void* b) {
    return order(*static_cast<const int*>(a), *static_cast<const int*>(b));
  });
  compare.KeepTrace();
  QuickSort(keys.data(), static_cast<uint32_t>(count), sizeof keys[0], compare);
  EXPECT_EQ(0u, compare.strays());
  EXPECT_TRUE(trace == compare.trace());
  EXPECT_EQ(expected, keys);
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(Iota(count), keys);
}

TEST(QuickSortRange, ComparisonsThatLieStayInsideAndKeepEveryRecord) {
  for (const Liar& liar : Liars()) {
    for (size_t count = 0; count <= 80; ++count) {
      SCOPED_TRACE(std::string(liar.name) + ", count " + std::to_string(count));
      ExpectSurvives(liar, count);
    }
    SCOPED_TRACE(liar.name);
    ExpectSurvives(liar, 1500);
  }
}

TEST(QuickSortRange, NothingBehindTheArrayIsRead) {
  for (const unsigned count : {2u, 6u, 7u, 8u, 100u}) {
    for (const Liar& liar : Liars()) {
      SCOPED_TRACE(std::string(liar.name) + ", count " + std::to_string(count));
      PageEndBytes block(std::string(count * 3, 'x'));
      const sort_model::Order order = liar.make();
      const Checked compare(block.begin(), count, 3, [&order](const void* a, const void* b) {
        return order(*static_cast<const char*>(a), *static_cast<const char*>(b));
      });
      QuickSort(block.begin(), static_cast<uint32_t>(count), 3, compare);
      EXPECT_EQ(0u, compare.strays());
    }
  }
}

// --- what it takes ---

TEST(QuickSortRange, WideRecordsNeedNoStack) {
  constexpr uint32_t kWidth = (1 << 20) + 7;
  constexpr uint32_t kCount = 9;
  std::vector<unsigned char> bytes(size_t{kWidth} * kCount);
  for (uint32_t i = 0; i < kCount; ++i) {
    std::fill_n(bytes.begin() + i * ptrdiff_t{kWidth}, kWidth, static_cast<unsigned char>(i * 4 % kCount));
  }
  OnSmallStack([&bytes] {
    QuickSort(bytes.data(), kCount, kWidth, [](const void* a, const void* b) { return memcmp(a, b, 1); });
  });
  for (uint32_t i = 0; i < kCount; ++i) {
    const auto record = bytes.begin() + i * ptrdiff_t{kWidth};
    EXPECT_EQ(kWidth, std::count(record, record + kWidth, static_cast<unsigned char>(i))) << "record " << i;
  }
}

TEST(QuickSortRange, TheWorstSplitsNeedNoStack) {
  std::vector<int> keys = Iota(5000);
  size_t strays = 0;
  OnSmallStack([&keys, &strays] {
    const Checked compare(keys.data(), keys.size(), sizeof keys[0], [](const void*, const void*) { return -1; });
    QuickSort(keys.data(), static_cast<uint32_t>(keys.size()), sizeof keys[0], compare);
    strays = compare.strays();
  });
  EXPECT_EQ(0u, strays);
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(Iota(5000), keys);
}

TEST(QuickSortRange, AllocatesNothing) {
  const test_host::Scope host;
  std::vector<int> keys = Iota(1000);
  std::reverse(keys.begin(), keys.end());
  const long before = test_host::AllocationAttempts();
  QuickSort(keys.data(), 1000, sizeof keys[0], CompareInts);
  EXPECT_EQ(before, test_host::AllocationAttempts());
  EXPECT_EQ(Iota(1000), keys);
}

TEST(QuickSortRange, SortedReversedAndEqualRecordsAreNoWorseThanRandomOnes) {
  constexpr size_t kCount = 100'000;
  const std::vector<int> sorted = Iota(kCount);
  const std::vector<int> reversed(sorted.rbegin(), sorted.rend());
  std::vector<int> random = sorted;
  std::shuffle(random.begin(), random.end(), std::mt19937(5));
  for (std::vector<int> keys : {sorted, reversed, std::vector<int>(kCount, 1), random}) {
    const Checked compare(keys.data(), kCount, sizeof keys[0], CompareInts);
    QuickSort(keys.data(), kCount, sizeof keys[0], compare);
    EXPECT_LT(static_cast<double>(compare.calls()), 1.5 * kCount * log2(kCount));
  }
}

}  // namespace
}  // namespace core
