#include <gtest/gtest.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <sys/mman.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "core/util/util_sort.h"

namespace core {
namespace {

// The array that is being searched, and what the comparison sees of it.
struct Search {
  const unsigned char* base;
  uint64_t count;
  uint64_t width;
  size_t calls;
  size_t strays;

  void Note(const void* record) {
    const uint64_t offset = reinterpret_cast<uintptr_t>(record) - reinterpret_cast<uintptr_t>(base);
    ++calls;
    strays += offset % width == 0 && offset / width < count ? 0 : 1;
  }
};
Search search;

int Order(uint64_t value, uint32_t key) { return value < key ? -1 : value > key; }

int CompareStored(const void* record, uint32_t key) {
  search.Note(record);
  uint32_t value = 0;
  memcpy(&value, record, sizeof value);
  return Order(value, key);
}

// A record is its own index: any number of them needs no memory.
int CompareIndex(const void* record, uint32_t key) {
  search.Note(record);
  return Order(static_cast<uint64_t>(static_cast<const unsigned char*>(record) - search.base) / search.width, key);
}

int32_t Find(const std::vector<uint32_t>& values, size_t width, uint32_t key) {
  std::vector<unsigned char> records(values.size() * width);
  for (size_t i = 0; i < values.size(); ++i) {
    memcpy(&records[i * width], &values[i], sizeof values[i]);
  }
  search = {records.data(), values.size(), width, 0, 0};
  return qfind(records.data(), static_cast<uint32_t>(values.size()), static_cast<uint32_t>(width), key, CompareStored);
}

int32_t Expected(const std::vector<uint32_t>& values, uint32_t key) {
  const auto found = std::lower_bound(values.begin(), values.end(), key);
  const auto index = static_cast<int32_t>(found - values.begin());
  return found != values.end() && *found == key ? index : -index - 1;
}

TEST(Qfind, AnEmptyArrayGivesMinusOneAndComparesNothing) {
  search = {nullptr, 0, 1, 0, 0};
  EXPECT_EQ(-1, qfind(nullptr, 0, 4, 17, CompareStored));
  EXPECT_EQ(0u, search.calls);
}

TEST(Qfind, FindsEveryRecordAndEveryGap) {
  const std::vector<uint32_t> values = {10, 20, 30, 40};
  struct Case {
    uint32_t key;
    int32_t result;
  };
  for (const Case& c : {Case{0, -1},
                        {9, -1},
                        {10, 0},
                        {11, -2},
                        {20, 1},
                        {25, -3},
                        {30, 2},
                        {39, -4},
                        {40, 3},
                        {41, -5},
                        {UINT32_MAX, -5}}) {
    SCOPED_TRACE(c.key);
    EXPECT_EQ(c.result, Find(values, 4, c.key));
  }
}

TEST(Qfind, FindsTheFirstOfEqualRecords) {
  EXPECT_EQ(0, Find({5, 5, 5, 5, 5}, 4, 5));
  EXPECT_EQ(1, Find({1, 5, 5, 5, 9}, 4, 5));
  EXPECT_EQ(2, Find({1, 1, 9}, 4, 9));
}

TEST(Qfind, AgreesWithTheStandardSearch) {
  std::mt19937 random(1);
  for (uint32_t count = 0; count <= 70; ++count) {
    for (const uint32_t range : {count / 3 + 1, 2 * count + 1}) {  // with many equal records, and with few
      std::vector<uint32_t> values(count);
      std::generate(values.begin(), values.end(), [&] { return 1 + random() % range; });
      std::sort(values.begin(), values.end());
      for (uint32_t key = 0; key <= range + 1; ++key) {
        SCOPED_TRACE("count " + std::to_string(count) + ", key " + std::to_string(key));
        ASSERT_EQ(Expected(values, key), Find(values, 4 + key % 9, key));
        ASSERT_EQ(0u, search.strays);
      }
    }
  }
}

TEST(Qfind, KeysUseAll32Bits) {
  const std::vector<uint32_t> values = {0, 0x7FFFFFFF, 0x80000000, UINT32_MAX};
  for (int32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(i, Find(values, 4, values[static_cast<size_t>(i)]));
  }
  EXPECT_EQ(-4, Find(values, 4, 0x80000001));
}

TEST(Qfind, ComparesTheUpperOfNoMiddle) {
  // Of two records the first is looked at first: (0 + 2 - 1) / 2 is 0.
  static std::vector<const void*> seen;
  seen.clear();
  const char records[2] = {};
  qfind(records, 2, 1, 0, [](const void* record, uint32_t) {
    seen.push_back(record);
    return 0;
  });
  EXPECT_EQ((std::vector<const void*>{&records[0], &records[0]}), seen);
}

TEST(Qfind, ComparisonsThatLieStayInside) {
  for (const uint32_t count : {1u, 2u, 3u, 6u, 7u, 100u}) {
    const std::vector<unsigned char> records(count);
    for (const auto lie : {+[](const void*r, uint32_t) { return search.Note(r), -1; },
                           +[](const void*r, uint32_t) { return search.Note(r), 1; },
                           +[](const void*r, uint32_t) { return search.Note(r), search.calls % 2 != 0 ? -1 : 1; },
                           +[](const void*r, uint32_t) { return search.Note(r), search.calls % 3 != 0 ? 0 : -1; }}) {
      search = {records.data(), count, 1, 0, 0};
      const int64_t result = qfind(records.data(), count, 1, 0, lie);
      EXPECT_EQ(0u, search.strays);
      EXPECT_LE(-int64_t{count} - 1, result);
      EXPECT_GE(int64_t{count} - 1, result);
    }
  }
}

// Address space for 2^33 bytes that nobody reads.
class ManyRecords : public testing::Test {
 protected:
  ManyRecords() : block_(mmap(nullptr, kSpace, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {}
  ~ManyRecords() override { munmap(block_, kSpace); }
  void SetUp() override { ASSERT_NE(MAP_FAILED, block_); }

  int32_t Find(uint32_t count, uint32_t width, uint32_t key) {
    search = {static_cast<const unsigned char*>(block_), count, width, 0, 0};
    const int32_t result = qfind(block_, count, width, key, CompareIndex);
    EXPECT_EQ(0u, search.strays);
    EXPECT_LE(search.calls, 34u);
    return result;
  }

  static constexpr size_t kSpace = size_t{1} << 33;
  void* block_;
};

TEST_F(ManyRecords, TheGreatestCountWhoseIndexFits) {
  EXPECT_EQ(INT32_MAX - 1, Find(INT32_MAX, 1, INT32_MAX - 1));
  EXPECT_EQ(INT32_MIN, Find(INT32_MAX, 1, INT32_MAX));
  EXPECT_EQ(0, Find(INT32_MAX, 1, 0));
}

TEST_F(ManyRecords, CountsBeyondStayInsideAndEnd) {
  for (const uint32_t count : {0x80000000u, 0x80000001u, UINT32_MAX}) {
    for (const uint32_t key : {0u, 1u, 0x7FFFFFFFu, count - 1}) {
      SCOPED_TRACE(std::to_string(count) + ", key " + std::to_string(key));
      EXPECT_EQ(key, static_cast<uint32_t>(Find(count, 1, key)));
    }
  }
}

TEST_F(ManyRecords, SortingReachesRecordsBeyond32Bits) {
  // The second record is the greater one: nothing is exchanged, and nothing but addresses is used.
  static const void* seen[2];
  QuickSort(block_, 2, 0x80000000, [](const void* a, const void* b) {
    seen[0] = a;
    seen[1] = b;
    return 1;
  });
  EXPECT_EQ(static_cast<unsigned char*>(block_) + 0x80000000, seen[0]);
  EXPECT_EQ(block_, seen[1]);
}

TEST_F(ManyRecords, OffsetsBeyond32BitsAreReached) {
  constexpr uint32_t kWidth = 0x20000000;
  EXPECT_EQ(15, Find(16, kWidth, 15));
  EXPECT_EQ(-17, Find(16, kWidth, 16));
}

}  // namespace
}  // namespace core
