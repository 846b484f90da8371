#import "QuickLookPlugin/FileTable.h"

#include <objc/runtime.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#import "tests/reader/pool.h"

// A string that refuses to be asked for the platform's hash.
@interface UnhashableString : NSString {
  std::string* characters;
}
- (id)initWithCharacters:(const char*)ascii;
@end

@implementation UnhashableString
- (id)initWithCharacters:(const char*)ascii {
  self = [super init];
  characters = new std::string(ascii);
  return self;
}
- (void)dealloc {
  delete characters;
  [super dealloc];
}
- (NSUInteger)length {
  return characters->size();
}
- (unichar)characterAtIndex:(NSUInteger)index {
  return static_cast<unsigned char>((*characters)[index]);
}
- (id)copyWithZone:(NSZone*)__attribute__((unused))zone {
  return [self retain];
}
- (NSUInteger)hash {
  ADD_FAILURE() << "the platform's hash was asked for";
  return 0;
}
@end

namespace {

class FileTableTest : public PoolTest {
 protected:
  void SetUp() override {
    PoolTest::SetUp();
    table_ = [[SorrelFileTable alloc] init];
  }
  void TearDown() override {
    [table_ release];
    PoolTest::TearDown();
  }

  void SetSize(const std::string& path, long long size) {
    [table_ setSize:size forPath:[NSString stringWithUTF8String:path.c_str()] utf8:path.data() length:path.size()];
  }
  std::vector<std::string> Keys() const {
    std::vector<std::string> keys;
    NSArray* all = [table_ allKeys];
    for (NSUInteger i = 0; i < [all count]; ++i) {
      keys.push_back(Text([all objectAtIndex:i]));
    }
    return keys;
  }

  SorrelFileTable* table_ = nil;
};

TEST_F(FileTableTest, IsEmptyAtFirst) {
  EXPECT_EQ(0u, [table_ count]);
  EXPECT_EQ(0u, [[table_ allKeys] count]);
  EXPECT_EQ(nil, [[table_ keyEnumerator] nextObject]);
  EXPECT_EQ(nil, [table_ objectForKey:@"a"]);
}

TEST_F(FileTableTest, IsAMutableDictionary) { EXPECT_TRUE([table_ isKindOfClass:[NSMutableDictionary class]]); }

TEST_F(FileTableTest, CapacityIsAHint) {
  for (const NSUInteger capacity : {NSUInteger{1} << 40, ~NSUInteger{0}}) {
    SorrelFileTable* table = [[[SorrelFileTable alloc] initWithCapacity:capacity] autorelease];
    [table setObject:@"one" forKey:@"a"];
    EXPECT_EQ(1u, [table count]);
  }
}

TEST_F(FileTableTest, GivesSizesAsNumbers) {
  SetSize("a", 5);
  SetSize("b", -7);
  SetSize("c", 0x7FFFFFFFFFFFFFFF);
  SetSize("d", -0x7FFFFFFFFFFFFFFF - 1);
  EXPECT_EQ(4u, [table_ count]);
  EXPECT_TRUE([[table_ objectForKey:@"a"] isEqual:[NSNumber numberWithLongLong:5]]);
  EXPECT_EQ(-7, [[table_ objectForKey:@"b"] longLongValue]);
  EXPECT_EQ(0x7FFFFFFFFFFFFFFF, [[table_ objectForKey:@"c"] longLongValue]);
  EXPECT_EQ(-0x7FFFFFFFFFFFFFFF - 1, [[table_ objectForKey:@"d"] longLongValue]);
}

TEST_F(FileTableTest, MakesANumberOnceAndKeepsIt) {
  SetSize("a", 123456789012345);
  NSNumber* number = [table_ objectForKey:@"a"];
  EXPECT_EQ(number, [table_ objectForKey:@"a"]);
  DrainPool();
  EXPECT_EQ(123456789012345, [number longLongValue]);
}

// Does `step`, once, in the midst of the next +[NSNumber numberWithLongLong:].
class WhileANumberIsMade {
 public:
  explicit WhileANumberIsMade(std::function<void()> step)
      : method_(class_getClassMethod([NSNumber class], @selector(numberWithLongLong:))) {
    next_step = std::move(step);
    real = reinterpret_cast<Maker>(method_setImplementation(method_, reinterpret_cast<IMP>(Make)));
  }
  ~WhileANumberIsMade() { method_setImplementation(method_, reinterpret_cast<IMP>(real)); }
  WhileANumberIsMade(const WhileANumberIsMade&) = delete;
  WhileANumberIsMade& operator=(const WhileANumberIsMade&) = delete;

 private:
  using Maker = id (*)(id self, SEL selector, long long value);

  static id Make(id self, SEL selector, long long value) {
    if (next_step) {
      std::exchange(next_step, nullptr)();
    }
    return real(self, selector, value);
  }

  static inline std::function<void()> next_step;
  static inline Maker real = nullptr;
  Method method_;
};

// As when another thread asks at the same moment; the address sanitizer sees that the second number goes.
TEST_F(FileTableTest, GivesOneNumberToAllWhoAskAtOnce) {
  SetSize("a", 123456789012345);
  id first = nil;
  const WhileANumberIsMade meanwhile([&] { first = [table_ objectForKey:@"a"]; });
  id second = [table_ objectForKey:@"a"];
  EXPECT_NE(nil, first);
  EXPECT_EQ(first, second);
  DrainPool();
  EXPECT_EQ(123456789012345, [second longLongValue]);
}

TEST_F(FileTableTest, ReplacesASizeInItsPlace) {
  SetSize("a", 1);
  SetSize("b", 2);
  [table_ objectForKey:@"a"];
  SetSize("a", 3);
  EXPECT_EQ(2u, [table_ count]);
  EXPECT_EQ(3, [[table_ objectForKey:@"a"] longLongValue]);
  EXPECT_EQ((std::vector<std::string>{"a", "b"}), Keys());
}

TEST_F(FileTableTest, MixesSizesAndObjects) {
  SetSize("a", 1);
  [table_ setObject:@"one" forKey:@"a"];
  EXPECT_EQ("one", Text([table_ objectForKey:@"a"]));
  SetSize("a", 2);
  EXPECT_EQ(2, [[table_ objectForKey:@"a"] longLongValue]);
  [table_ setObject:@"b" forKey:@"b"];
  EXPECT_EQ("b", Text([table_ objectForKey:@"b"]));
  EXPECT_EQ(2u, [table_ count]);
}

TEST_F(FileTableTest, KeepsTheOrderOfTheKeys) {
  std::vector<std::string> paths;
  for (int i = 999; i >= 0; --i) {
    paths.push_back("folder/" + std::to_string(i * 7919 % 1000));
    SetSize(paths.back(), i);
  }
  EXPECT_EQ(paths, Keys());
}

TEST_F(FileTableTest, EnumeratesTheKeysInOrder) {
  SetSize("b", 1);
  SetSize("a", 2);
  NSEnumerator* keys = [table_ keyEnumerator];
  EXPECT_EQ("b", Text([keys nextObject]));
  EXPECT_EQ("a", Text([keys nextObject]));
  EXPECT_EQ(nil, [keys nextObject]);
}

TEST_F(FileTableTest, EnumeratesTheObjectsInTheOrderOfTheKeys) {
  SetSize("b", 1);
  SetSize("gone", 2);
  [table_ setObject:@"three" forKey:@"a"];
  [table_ removeObjectForKey:@"gone"];
  NSEnumerator* objects = [table_ objectEnumerator];
  EXPECT_EQ(1, [[objects nextObject] longLongValue]);
  EXPECT_EQ("three", Text([objects nextObject]));
  EXPECT_EQ(nil, [objects nextObject]);
  NSArray* both = [NSArray arrayWithObjects:[NSNumber numberWithInt:1], @"three", nil];
  EXPECT_TRUE([[table_ allValues] isEqual:both]);
}

TEST_F(FileTableTest, GivesItsKeysInBatchesAndInOrder) {
  constexpr size_t kFiles = 40;
  std::vector<std::string> expected;
  for (size_t i = 0; i < kFiles; ++i) {
    const std::string name = "file " + std::to_string(i);
    SetSize(name, static_cast<long long>(i));
    if (i % 3 == 0) {
      [table_ removeObjectForKey:[NSString stringWithUTF8String:name.c_str()]];
    } else {
      expected.push_back(name);
    }
  }
  std::vector<std::string> found;
  NSFastEnumerationState state = {};
  id batch[7];
  while (NSUInteger count = [table_ countByEnumeratingWithState:&state objects:batch count:7]) {
    ASSERT_LE(count, 7u);
    for (NSUInteger i = 0; i < count; ++i) {
      found.push_back(Text(state.itemsPtr[i]));
    }
  }
  EXPECT_EQ(expected, found);
}

TEST_F(FileTableTest, TellsAnEnumerationThatKeysHaveComeOrGone) {
  SetSize("a", 1);
  NSFastEnumerationState state = {};
  id batch[4];
  ASSERT_EQ(1u, [table_ countByEnumeratingWithState:&state objects:batch count:4]);
  const unsigned long before = *state.mutationsPtr;
  SetSize("a", 2);
  EXPECT_EQ(before, *state.mutationsPtr);
  SetSize("b", 1);
  const unsigned long after_adding = *state.mutationsPtr;
  EXPECT_NE(before, after_adding);
  [table_ removeObjectForKey:@"a"];
  EXPECT_NE(after_adding, *state.mutationsPtr);
}

TEST_F(FileTableTest, FindsPathsOfAllCharacters) {
  const std::string paths[] = {"", " ", "a/b", "\xC3\xA9", "\xE4\xB8\xAD/\xF0\x9F\x98\x80", std::string(1000, 'x')};
  long long size = 0;
  for (const std::string& path : paths) {
    SetSize(path, ++size);
  }
  size = 0;
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    EXPECT_EQ(++size, [[table_ objectForKey:[NSString stringWithUTF8String:path.c_str()]] longLongValue]);
  }
}

TEST_F(FileTableTest, TellsComposedFromDecomposedCharacters) {
  SetSize("\xC3\xA9", 1);
  SetSize("e\xCC\x81", 2);
  EXPECT_EQ(2u, [table_ count]);
  EXPECT_EQ(1, [[table_ objectForKey:[NSString stringWithUTF8String:"\xC3\xA9"]] longLongValue]);
}

// A platform may drop a leading byte order mark; equal strings must be one key all the same.
TEST_F(FileTableTest, HashesTheStringWhenThePlatformMayHaveDroppedBytes) {
  SetSize("\xEF\xBB\xBF"
          "abc",
          1);
  NSString* path = [NSString stringWithUTF8String:"\xEF\xBB\xBF"
                                                  "abc"];
  EXPECT_EQ(1, [[table_ objectForKey:path] longLongValue]);
  [table_ setObject:@"again" forKey:path];
  EXPECT_EQ(1u, [table_ count]);
}

TEST_F(FileTableTest, RemovesAKey) {
  SetSize("a", 1);
  SetSize("b", 2);
  SetSize("c", 3);
  [table_ removeObjectForKey:@"b"];
  [table_ removeObjectForKey:@"missing"];
  EXPECT_EQ(2u, [table_ count]);
  EXPECT_EQ(nil, [table_ objectForKey:@"b"]);
  EXPECT_EQ((std::vector<std::string>{"a", "c"}), Keys());
  [table_ removeAllObjects];
  EXPECT_EQ(0u, [table_ count]);
}

TEST_F(FileTableTest, CopiesKeysThatCouldChange) {
  NSMutableString* key = [NSMutableString stringWithString:@"a"];
  [table_ setObject:@"value" forKey:key];
  [key setString:@"b"];
  EXPECT_EQ("value", Text([table_ objectForKey:@"a"]));
  EXPECT_EQ(nil, [table_ objectForKey:@"b"]);
}

TEST_F(FileTableTest, HoldsKeysAndObjects) {
  {
    NSAutoreleasePool* inner = [NSAutoreleasePool new];
    [table_ setObject:[NSMutableString stringWithString:@"value"] forKey:[NSMutableString stringWithString:@"key"]];
    [inner release];
  }
  EXPECT_EQ("value", Text([table_ objectForKey:@"key"]));
}

TEST_F(FileTableTest, NothingIsLeftOfOneThatCannotBeMade) {
  NSMutableString* value = [NSMutableString stringWithString:@"value"];
  const NSUInteger count = [value retainCount];
  const id objects[] = {value, value};
  const id keys[] = {@"a", [NSNull null]};
  bool raised = false;
  try {
    [[SorrelFileTable alloc] initWithObjects:objects forKeys:keys count:2];
  } catch (...) {
    raised = true;
  }
  EXPECT_TRUE(raised);
  EXPECT_EQ(count, [value retainCount]);
}

TEST_F(FileTableTest, ReleasesWhatItHeld) {
  NSMutableString* value = [NSMutableString stringWithString:@"value"];
  const NSUInteger count = [value retainCount];
  [table_ setObject:value forKey:@"a"];
  [table_ setObject:value forKey:@"b"];
  [table_ setObject:value forKey:@"c"];
  EXPECT_EQ(count + 3, [value retainCount]);
  [table_ setObject:@"other" forKey:@"a"];
  [table_ removeObjectForKey:@"b"];
  EXPECT_EQ(count + 1, [value retainCount]);
  SetSize("c", 1);
  EXPECT_EQ(count, [value retainCount]);
  [table_ setObject:value forKey:@"c"];
  [table_ release];
  table_ = nil;
  EXPECT_EQ(count, [value retainCount]);
}

TEST_F(FileTableTest, FindsNothingUnderOtherObjects) {
  SetSize("1", 1);
  EXPECT_EQ(nil, [table_ objectForKey:[NSNumber numberWithInt:1]]);
  EXPECT_EQ(nil, [table_ objectForKey:nil]);
  [table_ removeObjectForKey:nil];
  EXPECT_EQ(1u, [table_ count]);
}

TEST_F(FileTableTest, RefusesNilAndOtherKeys) {
  EXPECT_ANY_THROW([table_ setObject:nil forKey:@"a"]);
  EXPECT_ANY_THROW([table_ setObject:@"a" forKey:nil]);
  EXPECT_ANY_THROW([table_ setObject:@"a" forKey:(NSString*)[NSNumber numberWithInt:1]]);
  EXPECT_EQ(0u, [table_ count]);
}

TEST_F(FileTableTest, EqualsADictionaryOfTheSameContent) {
  SetSize("a", 1);
  [table_ setObject:@"two" forKey:@"b"];
  NSDictionary* other =
      [NSDictionary dictionaryWithObjectsAndKeys:[NSNumber numberWithLongLong:1], @"a", @"two", @"b", nil];
  EXPECT_TRUE([table_ isEqual:other]);
  EXPECT_TRUE([[NSDictionary dictionaryWithDictionary:table_] isEqual:other]);
}

TEST_F(FileTableTest, NeverAsksForThePlatformsHash) {
  UnhashableString* path = [[[UnhashableString alloc] initWithCharacters:"a/b"] autorelease];
  [table_ setSize:1 forPath:path utf8:"a/b" length:3];
  EXPECT_EQ(1, [[table_ objectForKey:path] longLongValue]);
  EXPECT_EQ(1, [[table_ objectForKey:@"a/b"] longLongValue]);
  [table_ setObject:@"x" forKey:path];
  [table_ removeObjectForKey:path];
  EXPECT_EQ(0u, [table_ count]);
}

TEST_F(FileTableTest, HoldsManyPaths) {
  constexpr int kCount = 20000;
  for (int i = 0; i < kCount; ++i) {
    SetSize("a folder of some length/" + std::to_string(i), i);
  }
  EXPECT_EQ(static_cast<NSUInteger>(kCount), [table_ count]);
  for (int i = 0; i < kCount; i += 37) {
    const std::string path = "a folder of some length/" + std::to_string(i);
    ASSERT_EQ(i, [[table_ objectForKey:[NSString stringWithUTF8String:path.c_str()]] longLongValue]);
  }
}

}  // namespace
