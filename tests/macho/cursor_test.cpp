#include "tests/macho/cursor.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/macho/sample_files.h"

namespace macho {
namespace {

using Raw = std::vector<uint8_t>;

TEST(MachOCursor, ValuesAreLittleEndian) {
  const Raw raw = {1, 2, 3, 4, 5, 6};
  Cursor cursor(raw, "it");
  EXPECT_EQ(cursor.Value<uint32_t>(), 0x04030201u);
  EXPECT_EQ(cursor.Value<uint16_t>(), 0x0605u);
  EXPECT_TRUE(cursor.AtEnd());
}

TEST(MachOCursor, RefusesToLeaveTheBytes) {
  const Raw raw = {1, 2, 3};
  Cursor cursor(raw, "it");
  EXPECT_EQ(RefusalOf([&] { cursor.Value<uint32_t>(); }), "it reaches beyond the end");
  EXPECT_EQ(cursor.Take(3).size(), 3u);
  EXPECT_EQ(RefusalOf([&] { cursor.Take(1); }), "it reaches beyond the end");
  EXPECT_EQ(RefusalOf([&] { Part(raw, UINT64_MAX, 2, "it"); }), "it reaches beyond the end");
  EXPECT_EQ(RefusalOf([&] { Part(raw, 2, UINT64_MAX, "it"); }), "it reaches beyond the end");
}

TEST(MachOCursor, TextEndsAtItsZeroByte) {
  const Raw raw = {'a', 'b', 0, 'c'};
  Cursor cursor(raw, "it");
  EXPECT_EQ(cursor.Text(), "ab");
  EXPECT_EQ(RefusalOf([&] { cursor.Text(); }), "it ends within a name");
}

TEST(MachOCursor, NameMayFillItsField) {
  const Raw raw = {'a', 'b', 'c', 'd', 0, 0};
  Cursor cursor(raw, "it");
  EXPECT_EQ(cursor.Name(3), "abc");
  EXPECT_EQ(cursor.Name(3), "d");
}

TEST(MachOCursor, NumbersOfSevenBitGroups) {
  struct Case {
    Raw raw;
    uint64_t plain;
    int64_t with_sign;
  };
  const Case cases[] = {
      {{0x00}, 0, 0},
      {{0x3F}, 63, 63},
      {{0x40}, 64, -64},
      {{0x7F}, 127, -1},
      {{0x80, 0x01}, 128, 128},
      {{0xFF, 0x7F}, 16383, -1},
      {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01}, UINT64_MAX, -1},
      {{0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x01}, uint64_t{1} << 63, INT64_MIN},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Cursor(c.raw, "it").Unsigned(), c.plain);
    EXPECT_EQ(Cursor(c.raw, "it").Signed(), c.with_sign);
  }
}

TEST(MachOCursor, NumbersOfMoreThan64BitsAreRefused) {
  const Raw too_large = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x02};
  const Raw too_long = {0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x00};
  const Raw cut = {0x80};
  EXPECT_EQ(RefusalOf([&] { Cursor(too_large, "it").Unsigned(); }), "it holds a number of more than 64 bits");
  EXPECT_EQ(RefusalOf([&] { Cursor(too_long, "it").Unsigned(); }), "it holds a number of more than 64 bits");
  EXPECT_EQ(RefusalOf([&] { Cursor(cut, "it").Unsigned(); }), "it reaches beyond the end");
}

}  // namespace
}  // namespace macho
