#include <gtest/gtest.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "core/base/mem1.h"
#include "core/containers/templates.h"
#include "core/text/basic_string.h"
#include "tests/support/arrays.h"
#include "tests/support/fatal.h"
#include "tests/support/test_host.h"

namespace core {
namespace {

constexpr char kSource[] = "core/templates";
constexpr ptrdiff_t kMax = PTRDIFF_MAX;

bool IntsEqual(const void* key, const void* element) {
  return *static_cast<const int*>(key) == *static_cast<const int*>(element);
}

// --- the record ---

TEST(LListRaw, HasThreeFieldsInOrder) {
  EXPECT_EQ(0u, offsetof(LListRaw, data));
  EXPECT_EQ(8u, offsetof(LListRaw, capacity));
  EXPECT_EQ(16u, offsetof(LListRaw, count));
  EXPECT_EQ(sizeof(LListRaw), sizeof(LList<int>));
}

TEST(LListRaw, ZeroFilledIsTheEmptyArray) {
  Ints array;
  ExpectFields(array, false, 0, 0);
  memset(static_cast<void*>(&array), 0, sizeof array);
  ExpectFields(array, false, 0, 0);
  array.push_back(7);
  EXPECT_EQ(std::vector<int>{7}, Contents(array));
}

// --- Resize, Guarantee ---

TEST(LListRaw, ResizeHasAFloorOfSixteenSlots) {
  struct Case {
    size_t request, capacity;
  };
  for (const Case& c : {Case{1, 16}, {5, 16}, {15, 16}, {16, 16}, {17, 17}, {1000, 1000}}) {
    SCOPED_TRACE(c.request);
    Ints array;
    array.Resize(c.request);
    ExpectFields(array, true, c.capacity, 0);
    std::fill_n(array.begin(), c.capacity, -1);
  }
}

TEST(LListRaw, ResizeKeepsTheElementsAndTheCount) {
  Ints array(Iota(20));
  array.Resize(100);
  ExpectFields(array, true, 100, 20);
  EXPECT_EQ(Iota(20), Contents(array));
  array.Resize(20);
  ExpectFields(array, true, 20, 20);
  EXPECT_EQ(Iota(20), Contents(array));
}

TEST(LListRaw, ResizeBelowTheCountLeavesTheCount) {
  Ints array(Iota(40));
  array.Resize(20);
  ExpectFields(array, true, 20, 40);
}

TEST(LListRaw, AppendingAfterResizeBelowTheCountStaysInTheBlock) {
  Ints array(Iota(40));
  array.Resize(17);
  array.push_back(1);
  EXPECT_GE(array.capacity, size_t{41});
  EXPECT_EQ(41, array.count);
}

TEST(LListRaw, ResizeToZeroFreesAndZeroesAllFields) {
  const long live = test_host::LiveBlocks();
  Ints array(Iota(3));
  array.Resize(0);
  ExpectFields(array, false, 0, 0);
  EXPECT_EQ(live, test_host::LiveBlocks());
  array.Resize(0);
  ExpectFields(array, false, 0, 0);
}

TEST(LListRaw, GuaranteeAllocatesExactlyWhatIsAsked) {
  Ints array;
  array.Guarantee(0);
  ExpectFields(array, false, 0, 0);
  array.Guarantee(3);
  ExpectFields(array, true, 16, 0);
  array.Guarantee(16);
  EXPECT_EQ(16u, array.capacity);
  array.Guarantee(17);
  EXPECT_EQ(17u, array.capacity);
  array.Guarantee(2);
  EXPECT_EQ(17u, array.capacity);
}

TEST(LListRawDeathTest, ByteSizesThatWrapStopInTheAllocator) {
  Ints empty;
  EXPECT_FATAL(empty.Resize(size_t{1} << 62), "core/mem1", 192);        // wraps to 0 bytes
  EXPECT_FATAL(empty.Resize((size_t{1} << 62) + 4), "core/mem1", 192);  // wraps to 16 bytes
  EXPECT_FATAL(empty.Guarantee(SIZE_MAX), "core/mem1", 192);
  Ints filled(Iota(1));
  EXPECT_FATAL(filled.Resize(size_t{1} << 62), "core/mem1", 258);
  EXPECT_FATAL(filled.Resize((size_t{1} << 62) + 4), "core/mem1", 258);
  EXPECT_FATAL(filled.Guarantee(SIZE_MAX), "core/mem1", 258);
}

// --- Append ---

TEST(LListRaw, FirstAppendedSlotAllocatesSixteen) {
  Ints array;
  int* slot = array.Append();
  ExpectFields(array, true, 16, 1);
  EXPECT_EQ(array.begin(), slot);
}

TEST(LListRaw, AppendedSlotsDoubleAFullBlock) {
  Ints array;
  std::vector<size_t> capacities;
  for (int i = 0; i < 65; ++i) {
    int* slot = array.Append();
    EXPECT_EQ(array.begin() + i, slot);
    *slot = i;
    if (capacities.empty() || capacities.back() != array.capacity) {
      capacities.push_back(array.capacity);
    }
  }
  EXPECT_EQ((std::vector<size_t>{16, 32, 64, 128}), capacities);
  EXPECT_EQ(Iota(65), Contents(array));
}

TEST(LListRaw, AppendingSlotsAllocatesOnlyWhenTheBlockIsFull) {
  Ints array;
  array.Append();
  const long attempts = test_host::AllocationAttempts();
  for (int i = 1; i < 16; ++i) {
    array.Append();
  }
  EXPECT_EQ(attempts, test_host::AllocationAttempts());
  array.Append();
  EXPECT_EQ(attempts + 1, test_host::AllocationAttempts());
}

TEST(LListRaw, AppendedBlocksGrowToTheLargerOfTwiceAndNeeded) {
  struct Case {
    int first, second;
    size_t capacity;
  };
  for (const Case& c : {Case{0, 20, 20},
                        {0, 3, 16},
                        {0, 16, 16},
                        {16, 3, 32},
                        {16, 16, 32},
                        {16, 17, 33},
                        {20, 1, 40},
                        {10, 6, 16},
                        {10, 7, 32}}) {
    SCOPED_TRACE(c.first);
    SCOPED_TRACE(c.second);
    const std::vector<int> all = Iota(c.first + c.second);
    Ints array(Iota(c.first));
    int* first_new = array.Append(all.data() + c.first, c.second);
    EXPECT_EQ(array.begin() + c.first, first_new);
    EXPECT_EQ(c.capacity, array.capacity);
    EXPECT_EQ(all, Contents(array));
  }
}

TEST(LListRaw, AppendOfNothingChangesNothing) {
  Ints array;
  EXPECT_EQ(nullptr, array.Append(nullptr, 0));
  ExpectFields(array, false, 0, 0);
  array.push_back(1);
  EXPECT_EQ(array.begin() + 1, array.Append(nullptr, 0));
  ExpectFields(array, true, 16, 1);
}

TEST(LListRaw, AppendTakesElementsOfTheArrayItself) {
  for (int n : {5, 10, 16, 20}) {  // with room and without
    SCOPED_TRACE(n);
    std::vector<int> expected = Iota(n);
    Ints array(expected);
    array.Append(array.begin() + 1, n - 2);
    for (int i = 1; i < n - 1; ++i) {
      expected.push_back(i);
    }
    EXPECT_EQ(expected, Contents(array));
  }
}

TEST(LListRaw, PushBackTakesAnElementOfTheArrayItself) {
  Ints array(Iota(16));
  array.push_back(array[3]);
  EXPECT_EQ(32u, array.capacity);
  EXPECT_EQ(3, array.back());
}

TEST(LListRawDeathTest, AppendOfABadNumberStopsBeforeAnythingIsTouched) {
  Ints array(Iota(5));
  EXPECT_FATAL(array.Append(nullptr, -1), kSource, 88);
  EXPECT_FATAL(array.Append(nullptr, -6), kSource, 88);
  EXPECT_FATAL(array.Append(nullptr, PTRDIFF_MIN), kSource, 88);
  EXPECT_FATAL(array.Append(nullptr, kMax - 4), kSource, 88);  // the sum wraps
  EXPECT_FATAL(array.Append(nullptr, kMax - 5), "core/mem1", 258);
  EXPECT_FATAL(array.Append(nullptr, ptrdiff_t{1} << 61), "core/mem1", 258);
  Ints empty;
  EXPECT_FATAL(empty.Append(nullptr, -1), kSource, 88);
  EXPECT_FATAL(empty.Append(nullptr, ptrdiff_t{1} << 62), "core/mem1", 192);
}

TEST(LListRawDeathTest, AppendToANegativeCountStops) {
  Ints array(Iota(5));
  array.count = -1;
  int value = 0;
  EXPECT_FATAL(array.Append(&value, 1), kSource, 88);
  EXPECT_FATAL_ANY_LINE(array.Append(), "core/templates");
}

// --- Expand ---

TEST(LListRaw, ExpandAddsUninitialisedSlots) {
  Ints array(Iota(10));
  int* slots = array.Expand(6);
  EXPECT_EQ(array.begin() + 10, slots);
  ExpectFields(array, true, 16, 16);
  slots = array.Expand(3);
  EXPECT_EQ(array.begin() + 16, slots);
  ExpectFields(array, true, 32, 19);
  array.Expand(100);
  ExpectFields(array, true, 119, 119);
  std::fill_n(array.begin(), 119, 1);
}

TEST(LListRaw, ExpandByNothingChangesNothing) {
  Ints array;
  EXPECT_EQ(nullptr, array.Expand(0));
  ExpectFields(array, false, 0, 0);
}

TEST(LListRawDeathTest, ExpandByABadNumberStops) {
  Ints array(Iota(5));
  EXPECT_FATAL(array.Expand(-1), kSource, 101);
  EXPECT_FATAL(array.Expand(PTRDIFF_MIN), kSource, 101);
  EXPECT_FATAL(array.Expand(kMax - 4), kSource, 101);
  EXPECT_FATAL(array.Expand(kMax - 5), "core/mem1", 258);
  EXPECT_FATAL(array.Expand(ptrdiff_t{1} << 61), "core/mem1", 258);
}

// --- Insert ---

TEST(LListRaw, InsertMovesTheTailUpAndLeavesTheOldBytesInTheSlot) {
  Ints array(Iota(4));
  int* slot = array.Insert(1);
  EXPECT_EQ(array.begin() + 1, slot);
  EXPECT_EQ((std::vector<int>{0, 1, 1, 2, 3}), Contents(array));
  *slot = 9;
  EXPECT_EQ((std::vector<int>{0, 9, 1, 2, 3}), Contents(array));
}

TEST(LListRaw, InsertAtCountAppends) {
  Ints array;
  *array.Insert(0) = 5;
  ExpectFields(array, true, 16, 1);
  *array.Insert(1) = 6;
  EXPECT_EQ((std::vector<int>{5, 6}), Contents(array));
}

TEST(LListRaw, InsertDoublesAFullBlock) {
  Ints array(Iota(16));
  *array.Insert(0) = -1;
  ExpectFields(array, true, 32, 17);
  EXPECT_EQ(-1, array[0]);
  EXPECT_EQ(0, array[1]);
  EXPECT_EQ(15, array[16]);
}

TEST(LListRawDeathTest, InsertOutsideTheArrayStops) {
  Ints array(Iota(3));
  EXPECT_FATAL(array.Insert(-1), kSource, 106);
  EXPECT_FATAL(array.Insert(4), kSource, 107);
  EXPECT_FATAL(array.Insert(kMax), kSource, 107);
}

TEST(LListRawDeathTest, InsertIntoACountThatCannotGrowStops) {
  LListRaw array;
  array.capacity = SIZE_MAX;
  array.count = kMax;
  EXPECT_FATAL(array.Insert(kMax, 0), kSource, 111);
}

// --- MoveUpLast, RemoveElements, pop_back ---

TEST(LListRaw, MoveUpLastFillsTheHoleWithTheLastElement) {
  Ints array(Iota(5));
  EXPECT_TRUE(array.MoveUpLast(1));
  EXPECT_EQ((std::vector<int>{0, 4, 2, 3}), Contents(array));
  EXPECT_EQ(16u, array.capacity);
}

TEST(LListRaw, MoveUpLastOfTheLastElementOnlyShrinks) {
  Ints array(Iota(3));
  EXPECT_FALSE(array.MoveUpLast(2));
  EXPECT_EQ((std::vector<int>{0, 1}), Contents(array));
  EXPECT_TRUE(array.MoveUpLast(0));
  EXPECT_FALSE(array.MoveUpLast(0));
  EXPECT_EQ(0, array.count);
}

TEST(LListRawDeathTest, MoveUpLastOfNoElementStops) {
  Ints array(Iota(3));
  EXPECT_FATAL(array.MoveUpLast(3), kSource, 117);
  EXPECT_FATAL(array.MoveUpLast(4), kSource, 117);
  EXPECT_FATAL(array.MoveUpLast(-1), kSource, 117);
  Ints empty;
  EXPECT_FATAL(empty.MoveUpLast(0), kSource, 117);
  EXPECT_FATAL(empty.MoveUpLast(-1), kSource, 119);
}

TEST(LListRaw, RemoveElementsKeepsTheOrder) {
  struct Case {
    ptrdiff_t index, n;
    std::vector<int> left;
  };
  const Case kCases[] = {
      {0, 2, {2, 3, 4, 5}}, {1, 1, {0, 2, 3, 4, 5}}, {4, 2, {0, 1, 2, 3}}, {0, 6, {}},
      {6, 0, Iota(6)},      {0, 0, Iota(6)},         {1, 4, {0, 5}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.index);
    SCOPED_TRACE(c.n);
    Ints array(Iota(6));
    array.RemoveElements(c.index, c.n);
    EXPECT_EQ(c.left, Contents(array));
    EXPECT_EQ(16u, array.capacity);
  }
}

TEST(LListRaw, RemoveElementsOfNothingTakesAnEmptyArray) {
  Ints array;
  array.RemoveElements(0, 0);
  ExpectFields(array, false, 0, 0);
}

TEST(LListRawDeathTest, RemoveElementsOutsideTheArrayStops) {
  Ints array(Iota(3));
  EXPECT_FATAL(array.RemoveElements(-1, 1), kSource, 196);
  EXPECT_FATAL(array.RemoveElements(-1, -1), kSource, 196);
  EXPECT_FATAL(array.RemoveElements(0, -1), kSource, 197);
  EXPECT_FATAL(array.RemoveElements(0, 4), kSource, 198);
  EXPECT_FATAL(array.RemoveElements(3, 1), kSource, 198);
  EXPECT_FATAL(array.RemoveElements(4, 0), kSource, 198);
  EXPECT_FATAL(array.RemoveElements(1, kMax), kSource, 198);  // the sum wraps
  EXPECT_FATAL(array.RemoveElements(kMax, kMax), kSource, 198);
}

TEST(LListRaw, PopBackDropsTheLastElement) {
  Ints array(Iota(2));
  array.pop_back();
  EXPECT_EQ(std::vector<int>{0}, Contents(array));
  array.pop_back();
  ExpectFields(array, true, 16, 0);
}

TEST(LListRawDeathTest, EmptyArrayHasNoLastElement) {
  Ints array;
  EXPECT_FATAL(array.pop_back(), kSource, 190);
  EXPECT_FATAL(array.back(), kSource, 514);
}

TEST(LListRaw, BackIsTheLastElement) {
  Ints array(Iota(3));
  EXPECT_EQ(2, array.back());
  array.back() = 8;
  EXPECT_EQ((std::vector<int>{0, 1, 8}), Contents(array));
}

TEST(LListRaw, SetCountDeclaresSlotsLive) {
  Ints array;
  array.Resize(16);
  std::fill_n(array.begin(), 16, 4);
  array.SetCount(3);
  EXPECT_EQ((std::vector<int>{4, 4, 4}), Contents(array));
  array.SetCount(0);
  EXPECT_EQ(0, array.count);
}

TEST(LListRawDeathTest, SetCountBelowZeroStops) {
  Ints array;
  EXPECT_FATAL(array.SetCount(-1), kSource, 332);
}

// --- look-up ---

TEST(LListRaw, LookupFindsTheLowestEqualElement) {
  Ints array(std::vector<int>{5, 7, 7, 9});
  for (const auto& [key, index] : {std::pair(5, 0), {7, 1}, {9, 3}}) {
    EXPECT_EQ(index, array.LookupElement(&key, kInt, IntsEqual));
    EXPECT_EQ(index, array.LookupElementExist(&key, kInt, IntsEqual));
  }
}

TEST(LListRaw, LookupOfAMissIsMinusOne) {
  Ints array(Iota(3));
  const int key = 3;
  EXPECT_EQ(-1, array.LookupElement(&key, kInt, IntsEqual));
}

TEST(LListRaw, LookupInAnEmptyArrayCallsNothing) {
  Ints array;
  EXPECT_EQ(-1, array.LookupElement(nullptr, kInt, [](const void*, const void*) {
    ADD_FAILURE() << "called";
    return true;
  }));
}

TEST(LListRawDeathTest, LookupElementExistStopsAtAMiss) {
  Ints array(Iota(3));
  const int key = 3;
  EXPECT_FATAL(array.LookupElementExist(&key, kInt, IntsEqual), kSource, 136);
  Ints empty;
  EXPECT_FATAL(empty.LookupElementExist(&key, kInt, IntsEqual), kSource, 136);
}

// --- whole arrays ---

TEST(LListRaw, AssignTakesOverCapacityAndElements) {
  Ints source(Iota(3));
  source.Resize(32);
  Ints array(Iota(100));
  array.assign(source, kInt);
  ExpectFields(array, true, 32, 3);
  EXPECT_EQ(Iota(3), Contents(array));
  array[0] = 9;
  EXPECT_EQ(0, source[0]);
}

TEST(LListRaw, AssignFromANeverAllocatedArrayFrees) {
  const long live = test_host::LiveBlocks();
  Ints source;
  Ints array(Iota(3));
  array.assign(source, kInt);
  ExpectFields(array, false, 0, 0);
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST(LListRaw, AssignFromAnEmptiedArrayKeepsItsCapacity) {
  Ints source;
  source.Resize(40);
  Ints array(Iota(3));
  array.assign(source, kInt);
  ExpectFields(array, true, 40, 0);
}

TEST(LListRaw, AssignToItselfChangesNothing) {
  Ints array(Iota(3));
  const unsigned char* data = array.data;
  const long attempts = test_host::AllocationAttempts();
  array.assign(array, kInt);
  EXPECT_EQ(data, array.data);
  EXPECT_EQ(attempts, test_host::AllocationAttempts());
  EXPECT_EQ(Iota(3), Contents(array));
}

TEST(LListRaw, SwapExchangesAllFields) {
  Ints a(Iota(3));
  Ints b(Iota(20));
  const unsigned char* a_data = a.data;
  const unsigned char* b_data = b.data;
  a.Swap(b);
  EXPECT_EQ(b_data, a.data);
  EXPECT_EQ(a_data, b.data);
  ExpectFields(a, true, 20, 20);
  ExpectFields(b, true, 16, 3);
  a.Swap(a);
  EXPECT_EQ(Iota(20), Contents(a));
}

TEST(LListRawDeathTest, ImpossibleCountsAreNeitherAssignedNorSwapped) {
  Ints good;
  Ints bad;
  bad.count = -1;
  EXPECT_FATAL(good.assign(bad, kInt), kSource, 53);
  bad.count = 1;  // more than its block holds
  EXPECT_FATAL(good.assign(bad, kInt), kSource, 53);
  bad.count = -1;
  EXPECT_FATAL(good.Swap(bad), kSource, 46);
  EXPECT_FATAL(bad.Swap(good), kSource, 46);
}

TEST(LListRaw, SetArrayAdoptsWholeElements) {
  for (size_t bytes : {size_t{8}, size_t{9}, size_t{11}}) {
    SCOPED_TRACE(bytes);
    Ints array;
    int* block = static_cast<int*>(MyMalloc(bytes));
    block[0] = 4;
    block[1] = 5;
    array.SetArray(block, bytes, kInt);
    ExpectFields(array, true, 2, 2);
    EXPECT_EQ((std::vector<int>{4, 5}), Contents(array));
    array.push_back(6);
    ExpectFields(array, true, 16, 3);
  }
}

TEST(LListRaw, SetArrayDoesNotFreeThePreviousBlock) {
  Ints array(Iota(3));
  void* old = array.data;
  const long live = test_host::LiveBlocks();
  array.SetArray(nullptr, 0, kInt);
  EXPECT_EQ(live, test_host::LiveBlocks());
  ExpectFields(array, false, 0, 0);
  MyFree(old);
}

TEST(LListRawDeathTest, SetArrayOfACountThatIsNegativeOrUndefinedStops) {
  LListRaw array;
  EXPECT_FATAL(array.SetArray(nullptr, size_t{1} << 63, 1), kSource, 64);
  EXPECT_FATAL(array.SetArray(nullptr, SIZE_MAX, 1), kSource, 64);
  EXPECT_FATAL(array.SetArray(nullptr, 8, 0), kSource, 64);
}

TEST(LListRaw, StealArrayHandsOverTheBlock) {
  Ints array(Iota(3));
  void* data = array.data;
  size_t count = 99;
  void* block = array.StealArray(&count);
  EXPECT_EQ(data, block);
  EXPECT_EQ(3u, count);
  ExpectFields(array, false, 0, 0);
  MyFree(block);
}

TEST(LListRaw, StealArrayNeedsNoReceiver) {
  Ints array(Iota(3));
  MyFree(array.StealArray(nullptr));
  size_t count = 99;
  EXPECT_EQ(nullptr, array.StealArray(&count));
  EXPECT_EQ(0u, count);
}

template <class T>
concept CanPushBack = requires(LList<T>& array, const T& value) {
  array.push_back(value);
};

TEST(LList, PushesBackNoElementThatOwnsSomething) { EXPECT_FALSE(CanPushBack<basic_string<char>>); }

TEST(LList, PushesBackElementsThatAreTheirBytesAlone) { EXPECT_TRUE(CanPushBack<wchar_t*>); }

TEST(LListRaw, FreeLeavesPointerAndCapacity) {
  const long live = test_host::LiveBlocks();
  LList<int> array;
  array.push_back(1);
  const unsigned char* data = array.data;
  array.Free();
  EXPECT_EQ(data, array.data);
  EXPECT_EQ(16u, array.capacity);
  EXPECT_EQ(0, array.count);
  EXPECT_EQ(live, test_host::LiveBlocks());
}

}  // namespace
}  // namespace core
