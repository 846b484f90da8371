// Allocation, and growth, preconditions and left-over fields of every array operation, at their boundaries.
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "core/base/host.h"
#include "core/base/mem1.h"
#include "core/base/memutils.h"
#include "core/containers/templates.h"
#include "tests/support/arrays.h"
#include "tests/support/fatal.h"
#include "tests/support/stack_limit.h"
#include "tests/support/test_host.h"

using namespace core;

namespace {

constexpr char kTemplates[] = "core/templates";

// An array of `n` ascending numbers in a block of exactly `n` slots.
void FillCompact(Ints& array, int n) {
  for (int i = 0; i < n; ++i) {
    array.push_back(i);
  }
  ptrdiff_t start = 0;
  array.LDCompact(kInt, start);
}

bool SameInt(const void* key, const void* element) {
  return *static_cast<const int*>(key) == *static_cast<const int*>(element);
}

bool NeverCalled(const void* /*key*/, const void* /*element*/) {
  ADD_FAILURE() << "called for an empty array";
  return true;
}

}  // namespace

TEST(MemoryRules, ThreeFailuresStopTheProcess) {
  const test_host::Scope host;
  test_host::FailAllocations(2);
  void* p = MyMalloc(24);
  ASSERT_NE(nullptr, p);
  EXPECT_EQ(2, test_host::WarnNoMemoryCalls());
  EXPECT_EQ(24U, test_host::WarnNoMemorySize());
  EXPECT_EQ(3, test_host::AllocationAttempts());
  test_host::FailAllocations(2);
  p = MyRealloc(p, 48);
  EXPECT_EQ(4, test_host::WarnNoMemoryCalls());
  EXPECT_EQ(48U, test_host::WarnNoMemorySize());
  EXPECT_FATAL((test_host::FailAllocations(3), MyMalloc(1)), "core/mem1", 216);
  EXPECT_FATAL((test_host::FailAllocations(3), MyRealloc(p, 1)), "core/mem1", 258);
  EXPECT_FATAL((test_host::FailAllocations(3), MyRealloc(nullptr, 1)), "core/mem1", 216);
  EXPECT_FATAL((test_host::FailAllocations(3), MyCalloc(1, 1)), "core/mem1", 216);
  MyFree(p, true);
}

TEST(MemoryRules, NegativeSizesStopOnlyNewBlocks) {
  EXPECT_FATAL(MyMalloc(SIZE_MAX), "core/mem1", 192);
  EXPECT_FATAL(MyMalloc(SIZE_MAX / 2 + 1), "core/mem1", 192);
  EXPECT_FATAL(MyRealloc(nullptr, SIZE_MAX), "core/mem1", 192);
  void* p = MyMalloc(1);
  EXPECT_FATAL(MyRealloc(p, SIZE_MAX), "core/mem1", 258);
  EXPECT_FATAL(memdup(p, SIZE_MAX), "core/mem1", 192);
  MyFree(p);
}

TEST(MemoryRules, NothingIsNull) {
  const test_host::Scope host;
  const long live = test_host::LiveBlocks();
  EXPECT_EQ(nullptr, MyMalloc(0));
  EXPECT_EQ(nullptr, MyCalloc(0, 8));
  EXPECT_EQ(nullptr, MyCalloc(8, 0));
  EXPECT_EQ(nullptr, MyRealloc(nullptr, 0));
  EXPECT_EQ(nullptr, MyRealloc(MyMalloc(3), 0));
  EXPECT_EQ(nullptr, memdup(nullptr, 5));
  EXPECT_EQ(nullptr, memdup("x", 0));
  MyFree(nullptr);
  MyFree(MyRealloc(nullptr, 16), false);
  EXPECT_EQ(live, test_host::LiveBlocks());
  unsigned char* zero = static_cast<unsigned char*>(MyCalloc(4, 8));
  EXPECT_EQ(std::string(32, '\0'), std::string(reinterpret_cast<char*>(zero), 32));
  EXPECT_EQ(zero + 5, memcpy_e(memcpy_e(zero, "ab", 2), "cde", 3));
  EXPECT_EQ(zero, memcpy_e(zero, "x", 0));
  EXPECT_EQ("abcde", std::string(reinterpret_cast<char*>(zero)));
  MyFree(zero);
}

TEST(MemoryRules, StackSizeFollowsTheFirstFiniteLimit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // the limit is read once per process
  EXPECT_EXIT(
      {
        LimitStack(700000);
        const size_t first = GetMaxStackSize();
        LimitStack(600000);
        _exit(first == 700000 && GetMaxStackSize() == 700000 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(MemoryRules, ThreadBlockIsSixZeroSlots) {
  FreeTLS(GetTLS());
  const ThreadBlock* block = GetTLS();
  const ThreadBlock zero = {};
  EXPECT_EQ(0, memcmp(block, &zero, sizeof(zero)));
  EXPECT_EQ(block, GetTLS());
  FreeTLS(GetTLS());
  FreeTLS(nullptr);
}

TEST(ArrayRules, ResizeRaisesSmallRequestsToSixteenOnly) {
  const size_t kCases[][2] = {{1, 16}, {5, 16}, {15, 16}, {16, 16}, {17, 17}, {33, 33}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c[0]);
    Ints array;
    array.Resize(c[0]);
    ExpectFields(array, true, c[1], 0);
  }
}

TEST(ArrayRules, ResizeShrinksTheBlockAndLeavesTheCount) {
  Ints array(Iota(40));
  array.Resize(20);
  ExpectFields(array, true, 20, 40);
  array.Resize(3);
  ExpectFields(array, true, 16, 40);
  array.SetCount(16);
  EXPECT_EQ(Iota(16), Contents(array));
}

TEST(ArrayRules, ResizeToNothingZeroesAllFields) {
  Ints array(Iota(3));
  array.Resize(0);
  ExpectFields(array, false, 0, 0);
  array.Resize(0);
  ExpectFields(array, false, 0, 0);
}

TEST(ArrayRules, GuaranteeAllocatesExactlyTheRequest) {
  Ints array;
  array.Guarantee(0);
  ExpectFields(array, false, 0, 0);
  array.Guarantee(1);
  ExpectFields(array, true, 16, 0);
  array.Guarantee(16);
  ExpectFields(array, true, 16, 0);
  array.Guarantee(17);
  ExpectFields(array, true, 17, 0);
  array.Guarantee(18);
  ExpectFields(array, true, 18, 0);
  array.Guarantee(2);
  ExpectFields(array, true, 18, 0);
}

TEST(ArrayRules, BlockAppendGrowsToTheLargerOfDoubleAndNeed) {
  struct Case {
    int before;  // in a block of just as many slots
    int added;
    size_t capacity;
  };
  const Case kCases[] = {
      {0, 0, 0},   {0, 1, 16},   {0, 16, 16},  {0, 17, 17},  {0, 20, 20},  {3, 1, 16},
      {3, 14, 17}, {8, 1, 16},   {9, 1, 18},   {10, 3, 20},  {10, 11, 21}, {16, 3, 32},
      {20, 1, 40}, {20, 20, 40}, {20, 21, 41}, {20, 30, 50}, {10, 0, 10},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::to_string(c.before) + "+" + std::to_string(c.added));
    const std::vector<int> source(static_cast<size_t>(c.added), 7);

    Ints appended;
    FillCompact(appended, c.before);
    const int* slot = appended.Append(source.data(), c.added);
    EXPECT_EQ(c.capacity, appended.capacity);
    EXPECT_EQ(c.before + c.added, appended.count);
    EXPECT_EQ(appended.begin() + c.before, slot);

    Ints expanded;
    FillCompact(expanded, c.before);
    slot = expanded.Expand(c.added);
    EXPECT_EQ(expanded.begin() + c.before, slot);
    EXPECT_EQ(c.capacity, expanded.capacity);
    EXPECT_EQ(c.before + c.added, expanded.count);
  }
}

TEST(ArrayRules, BlockAppendStaysWhileItJustFits) {
  Ints array(Iota(4));
  ExpectFields(array, true, 16, 4);
  array.Expand(12);
  ExpectFields(array, true, 16, 16);
  array.SetCount(4);
  array.Expand(13);
  ExpectFields(array, true, 32, 17);
}

TEST(ArrayRules, SingleSlotGrowthDoublesWithAFloorOfSixteen) {
  const struct {
    int before;
    size_t capacity;
  } kCases[] = {{0, 16}, {3, 16}, {8, 16}, {9, 18}, {16, 32}, {17, 34}, {20, 40}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.before);
    Ints one;
    FillCompact(one, c.before);
    int* slot = one.Append();
    EXPECT_EQ(one.begin() + c.before, slot);
    ExpectFields(one, true, c.capacity, c.before + 1);

    Ints inserted;
    FillCompact(inserted, c.before);
    slot = inserted.Insert(0);
    EXPECT_EQ(inserted.begin(), slot);
    ExpectFields(inserted, true, c.capacity, c.before + 1);

    Ints back;
    FillCompact(back, c.before);
    ptrdiff_t start = 0;
    slot = static_cast<int*>(back.LDpush_back(kInt, start));
    EXPECT_EQ(back.begin() + c.before, slot);
    ExpectFields(back, true, c.capacity, c.before + 1);
    EXPECT_EQ(0, start);

    Ints front;
    FillCompact(front, c.before);
    slot = static_cast<int*>(front.LDpush_front(kInt, start));
    EXPECT_EQ(front.begin() + start, slot);
    ExpectFields(front, true, c.capacity, c.before + 1);
    const ptrdiff_t shift = (static_cast<ptrdiff_t>(c.capacity) + 1 - c.before) / 2;
    EXPECT_EQ(shift - 1, start);
  }
}

TEST(ArrayRules, NegativeBlockCountsAreFatal) {
  Ints array;
  const int source = 0;
  EXPECT_FATAL(array.Append(&source, -1), kTemplates, 88);
  EXPECT_FATAL(array.Expand(-1), kTemplates, 101);
}

TEST(ArrayRules, InsertKeepsTheFormerBytesAndMovesTheRest) {
  Ints array(Iota(3));
  int* slot = array.Insert(1);
  EXPECT_EQ(array.begin() + 1, slot);
  EXPECT_EQ((std::vector<int>{0, 1, 1, 2}), Contents(array));
  *array.Insert(4) = 9;
  EXPECT_EQ((std::vector<int>{0, 1, 1, 2, 9}), Contents(array));
  EXPECT_FATAL(array.Insert(-1), kTemplates, 106);
  EXPECT_FATAL(array.Insert(6), kTemplates, 107);
}

TEST(ArrayRules, MoveUpLastSwapsInTheLast) {
  Ints array(Iota(4));
  EXPECT_TRUE(array.MoveUpLast(1));
  EXPECT_EQ((std::vector<int>{0, 3, 2}), Contents(array));
  EXPECT_FALSE(array.MoveUpLast(2));
  EXPECT_EQ((std::vector<int>{0, 3}), Contents(array));
  EXPECT_FATAL(array.MoveUpLast(2), kTemplates, 117);
  Ints empty;
  EXPECT_FATAL(empty.MoveUpLast(0), kTemplates, 117);
}

TEST(ArrayRules, RemoveElementsChecksItsArgumentsInOrder) {
  Ints array(Iota(5));
  EXPECT_FATAL(array.RemoveElements(-1, -1), kTemplates, 196);
  EXPECT_FATAL(array.RemoveElements(9, -1), kTemplates, 197);
  EXPECT_FATAL(array.RemoveElements(6, 0), kTemplates, 198);
  EXPECT_FATAL(array.RemoveElements(4, 2), kTemplates, 198);
  EXPECT_FATAL(array.RemoveElements(PTRDIFF_MAX, 1), kTemplates, 198);
  EXPECT_FATAL(array.RemoveElements(1, PTRDIFF_MAX), kTemplates, 198);
  array.RemoveElements(5, 0);
  EXPECT_EQ(Iota(5), Contents(array));
  array.RemoveElements(1, 2);
  EXPECT_EQ((std::vector<int>{0, 3, 4}), Contents(array));
  array.RemoveElements(0, 3);
  ExpectFields(array, true, 16, 0);

  Ints empty;
  empty.RemoveElements(0, 0);
  ExpectFields(empty, false, 0, 0);
  EXPECT_FATAL(empty.RemoveElements(1, 0), kTemplates, 198);
}

TEST(ArrayRules, CountsBelowZeroAreFatal) {
  Ints array;
  EXPECT_FATAL(array.pop_back(), kTemplates, 190);
  EXPECT_FATAL(array.back(), kTemplates, 514);
  EXPECT_FATAL(array.SetCount(-1), kTemplates, 332);
}

TEST(ArrayRules, LookupFindsTheLowestOrMisses) {
  Ints array(std::vector<int>{4, 5, 6, 5});
  int key = 5;
  EXPECT_EQ(1, array.LookupElement(&key, kInt, SameInt));
  EXPECT_EQ(1, array.LookupElementExist(&key, kInt, SameInt));
  key = 7;
  EXPECT_EQ(-1, array.LookupElement(&key, kInt, SameInt));
  EXPECT_FATAL(array.LookupElementExist(&key, kInt, SameInt), kTemplates, 136);
  Ints empty;
  EXPECT_EQ(-1, empty.LookupElement(&key, kInt, NeverCalled));
  EXPECT_FATAL(empty.LookupElementExist(&key, kInt, SameInt), kTemplates, 136);
}

TEST(ArrayRules, AssignTakesTheSourcesCapacityWithTheFloor) {
  Ints source(Iota(3));
  source.Resize(32);
  Ints target(Iota(64));
  target.assign(source, kInt);
  ExpectFields(target, true, 32, 3);
  EXPECT_EQ(Iota(3), Contents(target));

  Ints compact;
  FillCompact(compact, 3);
  EXPECT_EQ(3U, compact.capacity);
  target.assign(compact, kInt);
  ExpectFields(target, true, 16, 3);
  EXPECT_EQ(Iota(3), Contents(target));

  compact.assign(compact, kInt);
  ExpectFields(compact, true, 3, 3);

  Ints never;
  target.assign(never, kInt);
  ExpectFields(target, false, 0, 0);
}

TEST(ArrayRules, NegativeCountsDoNotTravel) {
  Ints bad;
  bad.Resize(16);
  bad.count = -1;
  Ints good;
  EXPECT_FATAL(good.assign(bad, kInt), kTemplates, 53);
  EXPECT_FATAL(good.Swap(bad), kTemplates, 46);
  EXPECT_FATAL(good.SetArray(nullptr, SIZE_MAX, 1), kTemplates, 64);
  bad.count = 0;
}

TEST(ArrayRules, SetArrayCountsWholeElementsAndLeavesTheOldBlock) {
  const test_host::Scope host;
  Ints array(Iota(2));
  void* old = array.data;
  void* block = MyCalloc(11, 1);
  const long live = test_host::LiveBlocks();
  array.SetArray(block, 11, kInt);
  EXPECT_EQ(live, test_host::LiveBlocks());
  ExpectFields(array, true, 2, 2);
  EXPECT_EQ(block, array.data);
  MyFree(old);
}

TEST(ArrayRules, StealArrayLeavesNothingBehind) {
  Ints array(Iota(5));
  const void* block = array.data;
  size_t count = 99;
  void* stolen = array.StealArray(&count);
  EXPECT_EQ(block, stolen);
  EXPECT_EQ(5U, count);
  ExpectFields(array, false, 0, 0);
  MyFree(stolen);
  EXPECT_EQ(nullptr, array.StealArray(nullptr));
  EXPECT_EQ(nullptr, array.StealArray(&count));
  EXPECT_EQ(0U, count);
}

TEST(ArrayRules, FreeClearsOnlyTheCount) {
  const test_host::Scope host;
  const long live = test_host::LiveBlocks();
  LList<int> array;
  array.Expand(20);
  const uintptr_t block = reinterpret_cast<uintptr_t>(array.data);
  array.Free();
  EXPECT_EQ(live, test_host::LiveBlocks());
  EXPECT_EQ(block, reinterpret_cast<uintptr_t>(array.data));
  EXPECT_EQ(20U, array.capacity);
  EXPECT_EQ(0, array.count);
}

TEST(ArrayDequeRules, FrontPushesFollowTheHalvingShifts) {
  const ptrdiff_t kStarts[] = {7, 6, 5, 4, 3, 2, 1, 0, 3, 2, 1, 0, 1, 0, 0, 0, 7};
  Ints array;
  ptrdiff_t start = 0;
  int i = 0;
  for (ptrdiff_t expected : kStarts) {
    SCOPED_TRACE(i);
    int* slot = static_cast<int*>(array.LDpush_front(kInt, start));
    *slot = i++;
    EXPECT_EQ(expected, start);
    EXPECT_EQ(array.begin() + start, slot);
    EXPECT_EQ(i, array.count);
    EXPECT_EQ(i <= 16 ? 16U : 32U, array.capacity);
    for (int k = 0; k < i; ++k) {
      EXPECT_EQ(i - 1 - k, array[start + k]);
    }
  }
}

TEST(ArrayDequeRules, BackPushAtTheEndMovesTheRunTowardTheFront) {
  Ints array;
  ptrdiff_t start = 0;
  *static_cast<int*>(array.LDpush_front(kInt, start)) = 0;
  ASSERT_EQ(7, start);
  for (int i = 1; i <= 8; ++i) {
    *static_cast<int*>(array.LDpush_back(kInt, start)) = i;
    EXPECT_EQ(7, start);
  }
  int* slot = static_cast<int*>(array.LDpush_back(kInt, start));
  *slot = 9;
  EXPECT_EQ(3, start);
  EXPECT_EQ(array.begin() + 12, slot);
  EXPECT_EQ(16U, array.capacity);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(i, array[start + i]);
  }
}

TEST(ArrayDequeRules, RepartitionMovesByHalfTheFreeSlotsRoundedUp) {
  const struct {
    int count;
    ptrdiff_t start;
    bool toward_front;
    ptrdiff_t moved;
  } kCases[] = {{3, 13, true, 6}, {3, 0, false, 7},  {4, 12, true, 6}, {4, 0, false, 6},
                {15, 1, true, 0}, {15, 0, false, 1}, {3, 7, true, 0},  {4, 5, false, 11}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::to_string(c.count) + " at " + std::to_string(c.start));
    Ints array;
    array.Resize(16);
    array.SetCount(c.count);
    for (int i = 0; i < c.count; ++i) {
      array[c.start + i] = i;
    }
    ptrdiff_t start = c.start;
    array.LDRepartition(kInt, start, c.toward_front);
    EXPECT_EQ(c.moved, start);
    for (int i = 0; i < c.count; ++i) {
      EXPECT_EQ(i, array[start + i]);
    }
  }
}

TEST(ArrayDequeRules, RepartitionPreconditionsAreFatal) {
  ptrdiff_t start = 0;
  Ints never;
  EXPECT_FATAL(never.LDRepartition(kInt, start, true), kTemplates, 228);
  Ints array;
  array.Resize(16);
  array.SetCount(16);
  EXPECT_FATAL(array.LDRepartition(kInt, start, true), kTemplates, 228);
  array.SetCount(18);
  EXPECT_FATAL(array.LDRepartition(kInt, start, true), kTemplates, 229);
  array.SetCount(0);
  EXPECT_FATAL(array.LDRepartition(kInt, start, true), kTemplates, 234);
  start = 7;
  EXPECT_FATAL(array.LDRepartition(kInt, start, true), kTemplates, 234);
  start = 8;
  EXPECT_FATAL(array.LDRepartition(kInt, start, false), kTemplates, 235);
}

TEST(ArrayDequeRules, CompactKeepsExactlyTheRun) {
  Ints array;
  array.Resize(16);
  array.SetCount(3);
  ptrdiff_t start = 5;
  for (int i = 0; i < 3; ++i) {
    array[start + i] = i;
  }
  array.LDCompact(kInt, start);
  EXPECT_EQ(0, start);
  ExpectFields(array, true, 3, 3);
  EXPECT_EQ(Iota(3), Contents(array));
  array.LDCompact(kInt, start);
  ExpectFields(array, true, 3, 3);
}

TEST(ArrayDequeRules, CompactOfNothingFreesAndLeavesTheStart) {
  const test_host::Scope host;
  const long live = test_host::LiveBlocks();
  Ints array;
  array.Resize(16);
  ptrdiff_t start = 5;
  array.LDCompact(kInt, start);
  EXPECT_EQ(live, test_host::LiveBlocks());
  ExpectFields(array, false, 0, 0);
  EXPECT_EQ(5, start);
  *static_cast<int*>(array.LDpush_back(kInt, start)) = 1;
  EXPECT_EQ(5, start);
  *static_cast<int*>(array.LDpush_front(kInt, start)) = 0;
  EXPECT_EQ(4, start);
  EXPECT_EQ(0, array[4]);
  EXPECT_EQ(1, array[5]);
}

namespace {

std::vector<int> rooms;
std::vector<const void*> elements;
std::vector<int> lengths;  // what each call writes

int WriteNext(char* dst, int room, const void* element) {
  const size_t i = rooms.size();
  rooms.push_back(room);
  elements.push_back(element);
  const int n = i < lengths.size() ? lengths[i] : 1;
  memset(dst, 'a' + static_cast<int>(i % 26), static_cast<size_t>(n));
  return n;
}

int WriteInt(char* dst, int room, const void* element) {
  return snprintf(dst, static_cast<size_t>(room), "%d", *static_cast<const int*>(element));
}

std::string Join(const LListRaw& array, const char* prefix, bool encode, int stride, std::vector<int> write) {
  rooms.clear();
  elements.clear();
  lengths = std::move(write);
  char* text = array.AsStringNoCheck(prefix, encode, stride, WriteNext);
  std::string copy = text;
  MyFree(text);
  return copy;
}

std::string JoinInts(const LListRaw& array, const char* prefix, bool encode) {
  char* text = array.AsStringNoCheck(prefix, encode, static_cast<int>(kInt), WriteInt);
  std::string copy = text;
  MyFree(text);
  return copy;
}

}  // namespace

TEST(ArrayJoinRules, PutsCommasBetweenOnly) {
  Ints array(std::vector<int>{1, 2, 3});
  EXPECT_EQ("x=1,2,3", JoinInts(array, "x=", false));
  EXPECT_EQ("x=1%2c2%2c3", JoinInts(array, "x=", true));
  EXPECT_EQ("1,2,3", JoinInts(array, "", false));
  EXPECT_EQ("a b&1%2c2%2c3", JoinInts(array, "a b&", true));
  Ints one(std::vector<int>{-5});
  EXPECT_EQ("x=-5", JoinInts(one, "x=", false));
  Ints none;
  EXPECT_EQ("x=", JoinInts(none, "x=", false));
  EXPECT_EQ("x=", JoinInts(none, "x=", true));
  EXPECT_EQ("", JoinInts(none, "", false));
}

TEST(ArrayJoinRules, RoomIsNotReducedByThePrefix) {
  Ints array(Iota(3));
  EXPECT_EQ("xyzaaaaa,bb,c", Join(array, "xyz", false, 4, {5, 2, 1}));
  EXPECT_EQ((std::vector<int>{1025, 1019, 1016}), rooms);
  EXPECT_EQ((std::vector<const void*>{&array[0], &array[1], &array[2]}), elements);
  Join(array, "xyz", true, 4, {5, 2, 1});
  EXPECT_EQ((std::vector<int>{1025, 1019, 1016}), rooms);
}

TEST(ArrayJoinRules, BlockGrowsOnlyAboveRoomLessTen) {
  Ints array(Iota(3));
  Join(array, "", false, 4, {1012, 0, 0});
  EXPECT_EQ((std::vector<int>{1022, 9, 1032}), rooms);  // 0 > 9 - 10: the second call grows it
  Join(array, "", false, 4, {1013, 1, 1});
  EXPECT_EQ((std::vector<int>{1022, 1032, 1030}), rooms);
  Join(array, "", false, 4, {1022, 1022, 1});
  EXPECT_EQ((std::vector<int>{1022, 1023, 1024}), rooms);
}

TEST(ArrayJoinRules, FormatterMayFillTheWholeRoomBehindALongPrefix) {
  const std::string prefix(3000, 'p');
  Ints array(Iota(2));
  const std::string text = Join(array, prefix.c_str(), false, 4, {4022, 1023});
  EXPECT_EQ((std::vector<int>{4022, 1023}), rooms);
  EXPECT_EQ(prefix + std::string(4022, 'a') + "," + std::string(1023, 'b'), text);
}

TEST(ArrayJoinRules, EmptyElementsStillGetTheirCommas) {
  Ints array(Iota(3));
  EXPECT_EQ("p,,", Join(array, "p", false, 4, {0, 0, 0}));
}

TEST(ArrayJoinRules, StrideIsTheDistanceOfTheElements) {
  Ints array(Iota(6));
  array.SetCount(3);
  Join(array, "", false, 8, {1, 1, 1});
  EXPECT_EQ((std::vector<const void*>{&array[0], &array[2], &array[4]}), elements);
}

TEST(ArrayJoinRules, CountIsReadAsThirtyTwoBits) {
  Ints array(Iota(3));
  array.SetCount((ptrdiff_t{1} << 32) + 2);
  EXPECT_EQ("a,b", Join(array, "", false, 4, {1, 1}));
  array.SetCount(ptrdiff_t{1} << 31);
  EXPECT_EQ("x", Join(array, "x", false, 4, {}));
  array.SetCount(3);
}
