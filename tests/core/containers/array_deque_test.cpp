// The growable array as a double-ended queue.
#include <gtest/gtest.h>
#include <stdint.h>

#include <algorithm>
#include <deque>
#include <vector>

#include "core/containers/templates.h"
#include "tests/support/arrays.h"
#include "tests/support/fatal.h"
#include "tests/support/test_host.h"

namespace core {
namespace {

constexpr char kSource[] = "core/templates";
constexpr ptrdiff_t kMax = PTRDIFF_MAX;

template <class T>
std::vector<T> LiveRun(const LList<T>& array, ptrdiff_t start) {
  return std::vector<T>(array.begin() + start, array.begin() + start + array.count);
}

void PushBack(Ints& array, ptrdiff_t& start, int value) { *static_cast<int*>(array.LDpush_back(kInt, start)) = value; }

void PushFront(Ints& array, ptrdiff_t& start, int value) {
  *static_cast<int*>(array.LDpush_front(kInt, start)) = value;
}

// A queue of the values 0 to n - 1 from slot `start` on.
struct Queue {
  Ints array;
  ptrdiff_t start;
  Queue(size_t capacity, ptrdiff_t first, int n) : start(first) {
    array.Resize(capacity);
    std::fill_n(array.begin(), capacity, -1);
    std::vector<int> values = Iota(n);
    std::copy(values.begin(), values.end(), array.begin() + first);
    array.SetCount(n);
  }
};

TEST(LListDeque, FrontPushesCentreTheRunWhenTheyMeetSlotZero) {
  Ints array;
  ptrdiff_t start = 0;
  const ptrdiff_t kStarts[] = {7, 6, 5, 4, 3, 2, 1, 0, 3, 2, 1, 0, 1, 0, 0, 0, 7};
  std::vector<int> expected;
  for (int i = 0; i < 17; ++i) {
    SCOPED_TRACE(i);
    PushFront(array, start, i);
    expected.insert(expected.begin(), i);
    EXPECT_EQ(kStarts[i], start);
    EXPECT_EQ(i < 16 ? 16u : 32u, array.capacity);
    EXPECT_EQ(expected, LiveRun(array, start));
  }
}

TEST(LListDeque, BackPushesFillTheBlockFromSlotZero) {
  Ints array;
  ptrdiff_t start = 0;
  for (int i = 0; i < 33; ++i) {
    PushBack(array, start, i);
    EXPECT_EQ(0, start);
  }
  EXPECT_EQ(64u, array.capacity);
  EXPECT_EQ(Iota(33), LiveRun(array, start));
}

TEST(LListDeque, BackPushCentresTheRunThatReachedTheEnd) {
  Queue q(16, 8, 8);
  void* slot = q.array.LDpush_back(kInt, q.start);
  EXPECT_EQ(4, q.start);
  EXPECT_EQ(q.array.begin() + 12, slot);
  *static_cast<int*>(slot) = 8;
  EXPECT_EQ(Iota(9), LiveRun(q.array, q.start));
}

TEST(LListDeque, APushOntoANearlyFullQueueMovesTheWholeRun) {
  Ints array(Iota(16));
  ptrdiff_t start = 0;
  for (int i = 16; i < 50; ++i) {
    array.SetCount(15);
    ++start;
    *static_cast<int*>(array.LDpush_back(kInt, start)) = i;
    ASSERT_EQ(0, start);
    ASSERT_EQ(16u, array.capacity);
    ASSERT_EQ(i - 15, array[0]);
  }
}

TEST(LListDeque, MixedPushesKeepTheirOrder) {
  Ints array;
  ptrdiff_t start = 0;
  std::deque<int> oracle;
  for (int i = 0; i < 200; ++i) {
    if (i % 3 == 0) {
      PushFront(array, start, i);
      oracle.push_front(i);
    } else {
      PushBack(array, start, i);
      oracle.push_back(i);
    }
  }
  EXPECT_EQ(std::vector<int>(oracle.begin(), oracle.end()), LiveRun(array, start));
}

TEST(LListDeque, RepartitionMovesByHalfOfTheFreeSlots) {
  struct Case {
    ptrdiff_t start;
    int count;
    bool toward_front;
    ptrdiff_t moved_to;
  };
  // 16 slots; the shift is (17 - count) / 2.
  for (const Case& c : {Case{0, 4, false, 6},
                        {12, 4, true, 6},
                        {0, 5, false, 6},
                        {11, 5, true, 5},
                        {0, 15, false, 1},
                        {1, 15, true, 0},
                        {8, 0, true, 0},
                        {7, 0, false, 15},
                        {6, 4, false, 12},
                        {6, 4, true, 0}}) {
    SCOPED_TRACE(c.start);
    SCOPED_TRACE(c.count);
    Queue q(16, c.start, c.count);
    q.array.LDRepartition(kInt, q.start, c.toward_front);
    EXPECT_EQ(c.moved_to, q.start);
    EXPECT_EQ(Iota(c.count), LiveRun(q.array, q.start));
  }
}

TEST(LListDequeDeathTest, RepartitionWithoutAFreeSlotStops) {
  Queue q(16, 0, 16);
  EXPECT_FATAL(q.array.LDRepartition(kInt, q.start, false), kSource, 228);
  q.array.SetCount(17);
  EXPECT_FATAL(q.array.LDRepartition(kInt, q.start, false), kSource, 228);
  q.array.SetCount(18);
  EXPECT_FATAL(q.array.LDRepartition(kInt, q.start, false), kSource, 229);
}

TEST(LListDequeDeathTest, RepartitionOutOfTheBlockStops) {
  Queue front(16, 5, 4);
  EXPECT_FATAL(front.array.LDRepartition(kInt, front.start, true), kSource, 234);
  Queue back(16, 10, 4);
  EXPECT_FATAL(back.array.LDRepartition(kInt, back.start, false), kSource, 235);
  Queue edge(16, 8, 0);
  EXPECT_FATAL(edge.array.LDRepartition(kInt, edge.start, false), kSource, 235);
  Queue tail(16, 7, 4);  // its first slot would still fit
  EXPECT_FATAL(tail.array.LDRepartition(kInt, tail.start, false), "core/templates", 1002);
  Queue outside(16, 0, 4);
  outside.start = -1;
  EXPECT_FATAL(outside.array.LDRepartition(kInt, outside.start, false), "core/templates", 1002);
}

// Elements of no size make room for capacities beyond 32 bits.
TEST(LListDequeDeathTest, RepartitionChecksTheNewStartAs32Bits) {
  LListRaw array;
  ptrdiff_t start = 0;
  array.capacity = (size_t{1} << 32) - 1;
  EXPECT_FATAL(array.LDRepartition(0, start, false), kSource, 234);  // 2^31 is negative
  array.capacity = (size_t{1} << 32) - 2;
  array.LDRepartition(0, start, false);
  EXPECT_EQ((ptrdiff_t{1} << 31) - 1, start);
}

TEST(LListDequeDeathTest, PushesWithAStartOutsideTheBlockStop) {
  Queue q(16, 0, 1);
  for (ptrdiff_t start : {ptrdiff_t{-1}, ptrdiff_t{16}, ptrdiff_t{17}, kMax, PTRDIFF_MIN}) {
    SCOPED_TRACE(start);
    q.start = start;
    EXPECT_FATAL(q.array.LDpush_back(kInt, q.start), kSource, 259);
    EXPECT_FATAL(q.array.LDpush_front(kInt, q.start), kSource, 269);
  }
}

TEST(LListDeque, CompactMovesTheRunDownAndShrinksTheBlock) {
  Queue q(16, 5, 3);
  q.array.LDCompact(kInt, q.start);
  EXPECT_EQ(0, q.start);
  ExpectFields(q.array, true, 3, 3);
  EXPECT_EQ(Iota(3), LiveRun(q.array, q.start));
}

TEST(LListDeque, CompactOfARunAtSlotZeroOnlyShrinks) {
  Queue q(32, 0, 20);
  q.array.LDCompact(kInt, q.start);
  ExpectFields(q.array, true, 20, 20);
  EXPECT_EQ(Iota(20), LiveRun(q.array, q.start));
}

TEST(LListDeque, CompactOfAnEmptyQueueFreesAndLeavesTheStart) {
  const long live = test_host::LiveBlocks();
  Queue q(16, 5, 0);
  q.array.LDCompact(kInt, q.start);
  EXPECT_EQ(5, q.start);
  ExpectFields(q.array, false, 0, 0);
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST(LListDequeDeathTest, CompactOfARunOutsideTheBlockStops) {
  Queue q(16, 5, 3);
  for (ptrdiff_t start : {ptrdiff_t{-1}, ptrdiff_t{14}}) {
    q.start = start;
    EXPECT_FATAL(q.array.LDCompact(kInt, q.start), "core/templates", 1003);
  }
}

TEST(LListDeque, PushesAfterCompactingAnEmptyQueueStayInTheNewBlock) {
  struct Case {
    ptrdiff_t left, back, front;  // the start left over, and where each push puts the run
  };
  for (const Case& c : {Case{0, 0, 7}, {5, 5, 4}, {15, 15, 14}, {16, 8, 15}, {17, 0, 7}, {4000, 0, 7}, {-1, 0, 7}}) {
    SCOPED_TRACE(c.left);
    Ints back;
    ptrdiff_t start = c.left;
    PushBack(back, start, 1);
    EXPECT_EQ(c.back, start);
    EXPECT_EQ(std::vector<int>{1}, LiveRun(back, start));
    Ints front;
    start = c.left;
    PushFront(front, start, 1);
    EXPECT_EQ(c.front, start);
    EXPECT_EQ(std::vector<int>{1}, LiveRun(front, start));
  }
}

TEST(ArrayDequeDeathTest, AnEmptyBlockOfOneSlotHasNoRoomInFront) {
  Ints array;
  ptrdiff_t start = 0;
  PushBack(array, start, 1);
  array.LDCompact(kInt, start);
  ASSERT_EQ(1u, array.capacity);
  array.pop_back();
  EXPECT_FATAL(array.LDpush_front(kInt, start), kSource, 235);
}

}  // namespace
}  // namespace core
