#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "core/base/mem1.h"
#include "core/containers/templates.h"
#include "core/format/strfmt.h"
#include "tests/support/arrays.h"
#include "tests/support/test_host.h"

namespace core {
namespace {

int FormatInt(char* dst, int room, const void* element) {
  return snprintf(dst, static_cast<size_t>(room), "%d", *static_cast<const int*>(element));
}

std::string Joined(const LListRaw& array, const char* prefix, bool url_encode, size_t stride,
                   int (*format)(char*, int, const void*)) {
  char* text = array.AsStringNoCheck(prefix, url_encode, static_cast<int>(stride), format);
  std::string copy = text;
  MyFree(text);
  return copy;
}

TEST(AsStringNoCheck, JoinsWithCommas) {
  EXPECT_EQ("x=1,2,3", Joined(Ints({1, 2, 3}), "x=", false, kInt, FormatInt));
  EXPECT_EQ("1", Joined(Ints({1}), "", false, kInt, FormatInt));
}

TEST(AsStringNoCheck, OfAnEmptyArrayIsThePrefix) {
  EXPECT_EQ("x=", Joined(Ints(), "x=", false, kInt, FormatInt));
  EXPECT_EQ("", Joined(Ints(), "", false, kInt, FormatInt));
}

TEST(AsStringNoCheck, UrlEncodesWhatFollowsThePrefix) {
  EXPECT_EQ("x= 1%2c2%2c3", Joined(Ints({1, 2, 3}), "x= ", true, kInt, FormatInt));
  EXPECT_EQ("x=", Joined(Ints(), "x=", true, kInt, FormatInt));
}

int FormatWithZeroByte(char* dst, int, const void*) {
  memcpy(dst, "a\0b", 3);
  return 3;
}

TEST(AsStringNoCheck, UrlEncodedTextEndsAtAZeroByte) {
  EXPECT_EQ("x=a", Joined(Ints({1, 2}), "x=", true, kInt, FormatWithZeroByte));
}

TEST(AsStringNoCheck, UrlEncodedTextIsCutAtTheLimit) {
  const std::string prefix(kAllocFormatLimit - 1, 'x');
  EXPECT_EQ(prefix + "1", Joined(Ints({1, 2, 3}), prefix.c_str(), true, kInt, FormatInt));
  EXPECT_EQ(prefix + "1,2,3", Joined(Ints({1, 2, 3}), prefix.c_str(), false, kInt, FormatInt));
}

TEST(AsStringNoCheck, FreesWhatItDoesNotReturn) {
  const long live = test_host::LiveBlocks();
  Joined(Ints({1, 2, 3}), "x=", true, kInt, FormatInt);
  Joined(Ints({1, 2, 3}), "x=", false, kInt, FormatInt);
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST(AsStringNoCheck, StepsByTheStride) {
  EXPECT_EQ("0,2,4", Joined(Owned<std::pair<int, int>>({{0, 1}, {2, 3}, {4, 5}}), "", false, 2 * kInt, FormatInt));
}

// Formats an int `n` as a text of `n` letters, cut to the room, and notes each room it was told.
std::vector<int> rooms;
int FormatLetters(char* dst, int room, const void* element) {
  rooms.push_back(room);
  const int n = std::min(*static_cast<const int*>(element), room);
  memset(dst, 'a', static_cast<size_t>(n));
  return n;
}

std::vector<int> RoomsFor(const char* prefix, bool url_encode, const std::vector<int>& lengths) {
  rooms.clear();
  Joined(Ints(lengths), prefix, url_encode, kInt, FormatLetters);
  return rooms;
}

TEST(AsStringNoCheck, RoomStartsAtThePrefixAnd1022) {
  EXPECT_EQ(std::vector<int>{1022}, RoomsFor("", false, {1}));
  EXPECT_EQ(std::vector<int>{1024}, RoomsFor("x=", false, {1}));
  EXPECT_EQ(std::vector<int>{1024}, RoomsFor("x=", true, {1}));
}

TEST(AsStringNoCheck, RoomShrinksByTheTextAndTheComma) {
  EXPECT_EQ((std::vector<int>{1024, 1022, 1011, 1010}), RoomsFor("x=", false, {1, 10, 0, 3}));
}

TEST(AsStringNoCheck, GrowsWhenFewerThanTenBytesAreLeft) {
  EXPECT_EQ((std::vector<int>{1022, 1022 - 1011 - 1}), RoomsFor("", false, {1011, 1}));
  EXPECT_EQ((std::vector<int>{1022, 1022 - 1012 - 1}), RoomsFor("", false, {1012, 1}));
  EXPECT_EQ((std::vector<int>{1022, 1022 + 1024 - 1013 - 1}), RoomsFor("", false, {1013, 1}));
  EXPECT_EQ((std::vector<int>{1022, 1022 + 1024 - 1022 - 1}), RoomsFor("", false, {1022, 1}));
}

TEST(AsStringNoCheck, LongTextsSurviveGrowthAndFitTheBlock) {
  // Each is cut to the room it meets: 1027, then 1023 after each step.
  const std::string prefix = "12345";
  std::string expected = prefix + std::string(1027, 'a');
  for (int i = 0; i < 9; ++i) {
    expected += ',' + std::string(1023, 'a');
  }
  EXPECT_EQ(expected, Joined(Ints(std::vector<int>(10, 5000)), prefix.c_str(), false, kInt, FormatLetters));
}

TEST(AsStringNoCheck, RoomCountsALongPrefixThatTheBlockHolds) {
  const std::string prefix(5000, 'p');
  EXPECT_EQ(prefix + std::string(6022, 'a'), Joined(Ints({100000}), prefix.c_str(), false, kInt, FormatLetters));
}

TEST(AsStringNoCheck, DoesNotBelieveAnImpossibleLength) {
  auto too_much = [](char* dst, int room, const void*) {
    memset(dst, 'b', static_cast<size_t>(room));
    return INT32_MAX;
  };
  auto negative = [](char*, int, const void*) { return INT32_MIN; };
  EXPECT_EQ(std::string(1022, 'b') + ',' + std::string(1023, 'b'), Joined(Ints({1, 2}), "", false, kInt, too_much));
  EXPECT_EQ("x=,", Joined(Ints({1, 2}), "x=", false, kInt, negative));
}

TEST(AsStringNoCheck, ReadsTheCountAs32Bits) {
  Ints array({1, 2, 3});
  array.count = (ptrdiff_t{1} << 32) + 2;
  EXPECT_EQ("1,2", Joined(array, "", false, kInt, FormatInt));
  array.count = ptrdiff_t{1} << 31;
  EXPECT_EQ("", Joined(array, "", false, kInt, FormatInt));
}

}  // namespace
}  // namespace core
