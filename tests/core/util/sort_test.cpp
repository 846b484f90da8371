#include <gtest/gtest.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "core/util/util_sort.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/sort_model.h"

namespace core {
namespace {

using sort_model::Checked;
using sort_model::Trace;

int KeyAt(const void* p) {
  int key = 0;
  memcpy(&key, p, sizeof key);
  return key;
}

int CompareKeys(const void* a, const void* b) { return sort_model::Honest(KeyAt(a), KeyAt(b)); }

uint32_t Count(const std::vector<int>& keys) { return static_cast<uint32_t>(keys.size()); }

// --- the comparison objects ---

struct Deleted : SortCompareBase {
  explicit Deleted(int* count) : count_(count) {}
  ~Deleted() override { ++*count_; }
  int operator()(const void*, const void*) const override { return 0; }
  int* count_;
};

TEST(SortCompare, IsDestroyedThroughItsBase) {
  int count = 0;
  const SortCompareBase* compare = new Deleted(&count);
  delete compare;
  EXPECT_EQ(1, count);
}

// The first entries of an object's table of virtual functions.
using Call = int (*)(const SortCompareBase*, const void*, const void*);
TEST(SortCompare, CallComesFirstInTheTable) {
  const int less = 1;
  const int greater = 2;
  const SortCompareLegacy<void> compare(CompareKeys);
  void** table = nullptr;
  memcpy(&table, static_cast<const void*>(&compare), sizeof table);
  Call call = nullptr;
  memcpy(&call, table, sizeof call);
  EXPECT_EQ(-1, call(&compare, &less, &greater));
}

TEST(SortCompareLegacy, PassesBothRecordsAndTheResultOn) {
  static const void* seen[2];
  const SortCompareLegacy<void> compare([](const void* a, const void* b) {
    seen[0] = a;
    seen[1] = b;
    return -12345;
  });
  const char records[2] = {};
  EXPECT_EQ(-12345, compare(&records[0], &records[1]));
  EXPECT_EQ(&records[0], seen[0]);
  EXPECT_EQ(&records[1], seen[1]);
}

TEST(SortCompareLegacy, HoldsOneFunction) { EXPECT_EQ(2 * sizeof(void*), sizeof(SortCompareLegacy<void>)); }

// --- the order ---

TEST(QuickSort, SortsByAPlainFunction) {
  std::vector<int> keys = {5, -3, 9, 0, 9, INT32_MIN, 7, 1, INT32_MAX, 2};
  QuickSort(keys.data(), Count(keys), sizeof keys[0], CompareKeys);
  EXPECT_EQ((std::vector<int>{INT32_MIN, -3, 0, 1, 2, 5, 7, 9, 9, INT32_MAX}), keys);
}

TEST(QuickSort, SortsDescendingWhenTheComparisonIsTurnedRound) {
  std::vector<int> keys(100);
  std::iota(keys.begin(), keys.end(), 0);
  QuickSort(keys.data(), Count(keys), sizeof keys[0], [](const void* a, const void* b) { return CompareKeys(b, a); });
  EXPECT_TRUE(std::is_sorted(keys.rbegin(), keys.rend()));
}

// The list whose middle record is the greatest one at every split, so that a split takes away nothing
// but the pivot.
std::vector<int> MiddleKiller(int count) {
  std::vector<int> places(static_cast<size_t>(count));
  std::iota(places.begin(), places.end(), 0);
  std::vector<int> keys(places.size());
  int next = count;
  for (size_t size = places.size(); size > 0; --size) {
    std::swap(places[0], places[size / 2]);  // the record that becomes the pivot
    keys[static_cast<size_t>(places[0])] = next--;
    std::swap(places[0], places[size - 1]);  // as the greatest it goes to the end
  }
  return keys;
}

struct Input {
  const char* name;
  std::vector<int> keys;
};

std::vector<Input> Inputs(int count) {
  std::mt19937 random(static_cast<unsigned>(count) + 1);
  const auto make = [count](auto key) {
    std::vector<int> keys;
    for (int i = 0; i < count; ++i) {
      keys.push_back(key(i));
    }
    return keys;
  };
  return {
      {"random", make([&random](int) { return static_cast<int>(random()); })},
      {"few values", make([&random](int) { return static_cast<int>(random() % 3); })},
      {"sorted", make([](int i) { return i; })},
      {"reversed", make([](int i) { return -i; })},
      {"equal", make([](int) { return 7; })},
      {"organ pipe", make([count](int i) { return std::min(i, count - i); })},
      {"valley", make([count](int i) { return std::max(i, count - i); })},
      {"sawtooth", make([](int i) { return i % 17; })},
      {"killer", MiddleKiller(count)},
  };
}

// Sorts whole records by all their bytes, and compares with std::sort.
void ExpectSorted(const std::vector<int>& keys, size_t width) {
  std::mt19937 random(3);
  std::vector<std::string> records;
  std::string bytes;
  for (const int key : keys) {
    const unsigned order = static_cast<unsigned>(key) + 0x80000000u;  // high byte first sorts as the key does
    std::string record;
    for (size_t i = 0; i < width; ++i) {
      record += static_cast<char>(i < 4 ? order >> (8 * (std::min<size_t>(width, 4) - 1 - i)) : random());
    }
    records.push_back(record);
    bytes += record;
  }
  ExactBytes block(bytes);
  Checked compare(block.begin(), keys.size(), width,
                  [width](const void* a, const void* b) { return memcmp(a, b, width); });
  QuickSort(block.data(), Count(keys), static_cast<uint32_t>(width), compare);
  std::sort(records.begin(), records.end());
  std::string expected;
  for (const std::string& record : records) {
    expected += record;
  }
  EXPECT_TRUE(expected == block.view());
  EXPECT_EQ(0u, compare.strays());
}

TEST(QuickSort, AgreesWithTheStandardSortForEveryWidth) {
  for (size_t width = 1; width <= 64; ++width) {
    for (const int count : {2, 6, 7, 8, 50, 301}) {
      for (const Input& input : Inputs(count)) {
        SCOPED_TRACE(std::string(input.name) + ", width " + std::to_string(width));
        ExpectSorted(input.keys, width);
      }
    }
  }
}

TEST(QuickSort, AgreesWithTheStandardSortForEveryCount) {
  for (int count = 0; count <= 5000; count += count < 130 ? 1 : 487) {
    for (const Input& input : Inputs(count)) {
      SCOPED_TRACE(std::string(input.name) + ", count " + std::to_string(count));
      ExpectSorted(input.keys, 8);
    }
  }
  for (const Input& input : Inputs(5000)) {
    SCOPED_TRACE(input.name);
    ExpectSorted(input.keys, 5);
  }
}

// --- what it takes ---

// The comparisons that sorting `keys` takes, which must leave them sorted.
double Comparisons(std::vector<int> keys) {
  const Checked compare(keys.data(), keys.size(), sizeof keys[0], CompareKeys);
  QuickSort(keys.data(), Count(keys), sizeof keys[0], compare);
  EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
  return static_cast<double>(compare.calls());
}

// A list of `count` keys, one for each place.
std::vector<int> Keys(int count, const std::function<int(int)>& key) {
  std::vector<int> keys;
  for (int i = 0; i < count; ++i) {
    keys.push_back(key(i));
  }
  return keys;
}

constexpr int kMany = 2000;
constexpr double kSquare = double{kMany} * kMany;

TEST(QuickSort, AGreatestMiddleAtEverySplitTakesHalfTheSquareOfTheCount) {
  const double calls = Comparisons(MiddleKiller(kMany));
  EXPECT_LT(0.49 * kSquare, calls);
  EXPECT_GT(0.51 * kSquare, calls);
}

TEST(QuickSort, ZerosAndOnesDescendingTakeHalfTheSquareOfTheCount) {
  const double calls = Comparisons(Keys(kMany, [](int i) { return i < kMany / 2 ? 1 : 0; }));
  EXPECT_LT(0.49 * kSquare, calls);
  EXPECT_GT(0.51 * kSquare, calls);
}

TEST(QuickSort, ZerosAndOnesInRandomOrderTakeAQuarterOfTheSquareOfTheCount) {
  std::mt19937 random(1);
  const double calls = Comparisons(Keys(kMany, [&random](int) { return static_cast<int>(random() % 2); }));
  EXPECT_LT(0.22 * kSquare, calls);
  EXPECT_GT(0.28 * kSquare, calls);
}

TEST(QuickSort, DistinctKeysTakeTheCountTimesItsLogarithm) {
  const double limit = 1.4 * kMany * std::log2(kMany);
  std::mt19937 random(1);
  std::vector<int> shuffled = Keys(kMany, [](int i) { return i; });
  std::shuffle(shuffled.begin(), shuffled.end(), random);
  EXPECT_GT(limit, Comparisons(shuffled));
  EXPECT_GT(limit, Comparisons(Keys(kMany, [](int i) { return i; })));
  EXPECT_GT(limit, Comparisons(Keys(kMany, [](int i) { return -i; })));
}

TEST(QuickSort, EqualRecordsTakeTwoComparisonsEach) { EXPECT_GE(2.0 * kMany, Comparisons(std::vector<int>(kMany, 7))); }

// --- which records are compared, and in what order ---

Trace Traced(std::vector<int>& keys) {
  Checked compare(keys.data(), keys.size(), sizeof keys[0], CompareKeys);
  compare.KeepTrace();
  QuickSort(keys.data(), Count(keys), sizeof keys[0], compare);
  return compare.trace();
}

void ExpectModelsTrace(const std::vector<int>& keys) {
  std::vector<int> expected = keys;
  std::vector<int> sorted = keys;
  const Trace trace = sort_model::Sort(expected);
  ASSERT_TRUE(trace == Traced(sorted)) << testing::PrintToString(keys);
  ASSERT_EQ(expected, sorted);
}

TEST(QuickSort, SixRecordsAreOnlySelected) {
  std::vector<int> keys = {1, 3, 2, 3, 0, 2};
  EXPECT_EQ((Trace{{1, 0},
                   {2, 1},
                   {3, 1},
                   {4, 1},
                   {5, 1},  // the first 3 to the end: 1 2 2 3 0 3
                   {1, 0},
                   {2, 1},
                   {3, 1},
                   {4, 3},  // 1 2 2 0 3 3
                   {1, 0},
                   {2, 1},
                   {3, 1},  // 1 0 2 2 3 3
                   {1, 0},
                   {2, 0},  // the 2 stays
                   {1, 0}}),
            Traced(keys));
}

TEST(QuickSort, SevenRecordsArePartedOnceAtTheMiddleOne) {
  std::vector<int> keys = {1, 2, 3, 4, 5, 6, 7};
  EXPECT_EQ((Trace{{1, 0},
                   {2, 0},
                   {3, 0},
                   {4, 0},  // 4 2 3 1 5 6 7: upwards to the 5
                   {6, 0},
                   {5, 0},
                   {4, 0},
                   {3, 0},  // downwards to the 1
                   {5, 4},
                   {6, 5},
                   {5, 4},  // of two equal parts the right one first
                   {1, 0},
                   {2, 1},
                   {1, 0}}),
            Traced(keys));
  EXPECT_EQ((std::vector<int>{1, 2, 3, 4, 5, 6, 7}), keys);
}

TEST(QuickSort, ComparesAsTheModelForAllShortLists) {
  for (size_t count = 0; count <= 8; ++count) {
    std::vector<int> keys(count);
    for (;;) {
      ExpectModelsTrace(keys);
      size_t i = 0;
      while (i < count && keys[i] == 2) {
        keys[i++] = 0;
      }
      if (i == count) {
        break;
      }
      ++keys[i];
    }
  }
}

TEST(QuickSort, ComparesAsTheModelForAllOrdersOfEightRecords) {
  std::vector<int> keys = {0, 1, 2, 3, 4, 5, 6, 7};
  do {
    ExpectModelsTrace(keys);
  } while (std::next_permutation(keys.begin(), keys.end()));
}

TEST(QuickSort, ComparesAsTheModelForLongLists) {
  for (const int count : {9, 12, 13, 14, 15, 16, 31, 100, 999, 3000}) {
    for (const Input& input : Inputs(count)) {
      SCOPED_TRACE(std::string(input.name) + ", count " + std::to_string(count));
      ExpectModelsTrace(input.keys);
    }
  }
}

TEST(QuickSort, IsNotStable) {
  struct Pair {
    int key;
    int id;
  };
  Pair pairs[] = {{1, 0}, {1, 1}, {0, 2}};
  QuickSort(pairs, 3, sizeof pairs[0], CompareKeys);
  EXPECT_EQ(2, pairs[0].id);
  EXPECT_EQ(1, pairs[1].id);
  EXPECT_EQ(0, pairs[2].id);
}

}  // namespace
}  // namespace core
