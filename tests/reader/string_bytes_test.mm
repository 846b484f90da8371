#import "QuickLookPlugin/StringBytes.h"

#include <string>

#import "tests/reader/pool.h"

namespace {

using reader::StringBytes;

class StringBytesTest : public PoolTest {};

std::string BytesOf(NSString* string) {
  const StringBytes bytes(string);
  EXPECT_EQ('\0', bytes.begin()[bytes.size()]);
  return {bytes.begin(), bytes.size()};
}

TEST_F(StringBytesTest, GivesUtf8) {
  EXPECT_EQ("", BytesOf(@""));
  EXPECT_EQ("abc", BytesOf(@"abc"));
  const std::string mixed = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z";
  EXPECT_EQ(mixed, BytesOf([NSString stringWithUTF8String:mixed.c_str()]));
}

TEST_F(StringBytesTest, GivesNothingForNil) { EXPECT_EQ("", BytesOf(nil)); }

TEST_F(StringBytesTest, KeepsZeroCharacters) {
  const unichar units[] = {'a', 0, 'b'};
  EXPECT_EQ(std::string("a\0b", 3), BytesOf([NSString stringWithCharacters:units length:3]));
}

// Around the size of the pieces in which the characters are fetched.
TEST_F(StringBytesTest, KeepsPairsTogetherWhereverTheyStand) {
  for (size_t before = 250; before <= 260; ++before) {
    SCOPED_TRACE(before);
    const std::string text = std::string(before, 'x') + "\xF0\x9F\x98\x80" + std::string(300, 'y');
    EXPECT_EQ(text, BytesOf([NSString stringWithUTF8String:text.c_str()]));
  }
}

}  // namespace
