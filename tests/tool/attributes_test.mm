#include "tools/mdtorrent/import/attributes.h"

#include <gtest/gtest.h>

#include "tools/mdtorrent/output/json_writer.h"

namespace mdtorrent {
namespace {

class AttributesTest : public testing::Test {
 protected:
  ~AttributesTest() override { [pool_ release]; }

  // The JSON of a dictionary with one entry.
  static std::string JsonOf(id value) {
    TextBuffer out;
    JsonWriter writer(out, JsonWriter::Layout::kOneLine);
    DictionaryAttributes([NSDictionary dictionaryWithObject:value forKey:@"k"]).WriteTo(writer);
    return out.text();
  }

  static NSString* Utf8(const std::string& bytes) { return [NSString stringWithUTF8String:bytes.c_str()]; }

 private:
  NSAutoreleasePool* pool_ = [NSAutoreleasePool new];
};

TEST_F(AttributesTest, KeysAreInOrder) {
  NSMutableDictionary* dictionary = [NSMutableDictionary dictionary];
  for (NSString* key : {@"b", @"a", @"B", @"aa", @""}) {
    [dictionary setObject:key forKey:key];
  }
  TextBuffer out;
  JsonWriter writer(out, JsonWriter::Layout::kOneLine);
  DictionaryAttributes(dictionary).WriteTo(writer);
  EXPECT_EQ(R"({"": "", "B": "B", "a": "a", "aa": "aa", "b": "b"})", out.text());
}

TEST_F(AttributesTest, NumbersKeepTheirKind) {
  EXPECT_EQ(R"({"k": true})", JsonOf([NSNumber numberWithBool:YES]));
  EXPECT_EQ(R"({"k": false})", JsonOf([NSNumber numberWithBool:NO]));
  EXPECT_EQ(R"({"k": 1})", JsonOf([NSNumber numberWithInt:1]));
  EXPECT_EQ(R"({"k": 0})", JsonOf([NSNumber numberWithChar:0]));
  EXPECT_EQ(R"({"k": -9223372036854775808})", JsonOf([NSNumber numberWithLongLong:INT64_MIN]));
  EXPECT_EQ(R"({"k": 1.5})", JsonOf([NSNumber numberWithDouble:1.5]));
}

TEST_F(AttributesTest, ContainersNest) {
  NSArray* inner = [NSArray arrayWithObjects:@"x", [NSArray array], [NSDictionary dictionary], nil];
  EXPECT_EQ(R"({"k": ["x", [], {}]})", JsonOf(inner));
}

TEST_F(AttributesTest, OtherObjectsDescribeThemselves) {
  NSURL* url = [NSURL URLWithString:@"http://example.org/"];
  EXPECT_EQ(R"({"k": "http://example.org/"})", JsonOf(url));
}

TEST_F(AttributesTest, LongArraysAreWhole) {
  NSMutableArray* array = [NSMutableArray array];
  std::string expected = "{\"k\": [\"0\"";
  [array addObject:@"0"];
  for (int i = 1; i < 200; ++i) {
    [array addObject:[NSString stringWithFormat:@"%d", i]];
    expected += ", \"" + std::to_string(i) + "\"";
  }
  EXPECT_EQ(expected + "]}", JsonOf(array));
}

// The strings are longer than a piece, and the pairs fall on every place around its end.
TEST_F(AttributesTest, CharactersAreNotSplitBetweenPieces) {
  for (size_t ascii = 2040; ascii < 2056; ++ascii) {
    const std::string text = std::string(ascii, 'x') + "\xF0\x9F\x98\x80\xE4\xB8\xAD" + std::string(3000, 'y');
    EXPECT_EQ("{\"k\": \"" + text + "\"}", JsonOf(Utf8(text))) << ascii;
  }
}

TEST_F(AttributesTest, ALoneSurrogateBecomesAReplacement) {
  NSMutableString* string = [NSMutableString stringWithString:@"ab"];
  [string insertString:[Utf8("\xF0\x9F\x98\x80") substringToIndex:1] atIndex:1];
  ASSERT_EQ(3u, [string length]);
  EXPECT_EQ("{\"k\": \"a\xEF\xBF\xBD"
            "b\"}",
            JsonOf(string));
}

}  // namespace
}  // namespace mdtorrent
