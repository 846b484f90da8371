// Objective-C in an image: its classes, categories, messages and constant strings, in this runtime.
#include <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include "tests/macho/loaded_image.h"
#include "tests/macho/sample_files.h"
#include "tests/plugin/foundation_test.h"

@interface NSObject (MachOSample)
- (long long)twice;
- (long long)total;
- (NSString*)name;
- (NSUInteger)sampleLength;
+ (int)sides;
@end

namespace {

macho::Image& Objects() {
  static macho::Image& image = macho::LoadForGood(MACHO_SAMPLES "/objects.classic");
  return image;
}

class MachOObjects : public FoundationTest {
 protected:
  template <class Function>
  static Function* Get(const char* name) {
    void* address = Objects().Exported(name);
    EXPECT_NE(address, nullptr) << name;
    return reinterpret_cast<Function*>(address);
  }
};

TEST_F(MachOObjects, MessagesToSuperReachTheClassAbove) {
  EXPECT_EQ(Get<long long()>("_TwiceOfADerived")(), 43);
  EXPECT_EQ(Get<int()>("_SidesOfADerived")(), 5);
}

TEST_F(MachOObjects, ClassesAreKnownOutside) {
  Objects();
  Class derived = NSClassFromString(@"SampleDerived");
  ASSERT_NE(derived, Nil);
  EXPECT_EQ([derived superclass], NSClassFromString(@"SampleBase"));
  EXPECT_EQ([derived sides], 5);
  id object = [derived new];
  EXPECT_EQ([object twice], 1);
  [object release];
}

TEST_F(MachOObjects, PropertiesAndInstanceVariablesAreInTheirPlaces) {
  id object = [Get<id()>("_NewDerived")() autorelease];
  EXPECT_EQ([object total], 21);
  EXPECT_EQ(Utf8([object name]), "caf\xC3\xA9 \xE2\x82\xAC");
  EXPECT_EQ([object twice], 43);
}

TEST_F(MachOObjects, ConstantStringsEqualThoseMadeHere) {
  NSString* wide = [[Get<id()>("_NewDerived")() autorelease] name];
  NSString* made = [NSString stringWithUTF8String:"caf\xC3\xA9 \xE2\x82\xAC"];
  EXPECT_EQ([wide isEqual:made], YES);
  EXPECT_EQ([made isEqual:wide], YES);
  EXPECT_EQ([wide hash], [made hash]);
  NSString* plain = Get<id()>("_CategoryText")();
  EXPECT_EQ([plain hash], [[NSString stringWithUTF8String:"plain"] hash]);
  EXPECT_EQ([plain isEqual:@"plain"], YES);
}

TEST_F(MachOObjects, ConstantStringsFindTheirKeys) {
  NSDictionary* dictionary = [NSDictionary dictionaryWithObject:@"value" forKey:Text("key")];
  EXPECT_EQ(Utf8(Get<id(id)>("_UnderAKey")(dictionary)), "value");
}

TEST_F(MachOObjects, VariadicMessagesKeepTheirArguments) {
  EXPECT_EQ(Utf8(Get<id(int, double)>("_Formatted")(7, 2.5)), "7 \xE2\x82\xAC 2.50 c 5");
}

TEST_F(MachOObjects, CategoriesAreAddedToClassesThatExist) {
  Objects();
  EXPECT_EQ([@"abc" sampleLength], 30u);
}

TEST_F(MachOObjects, MessageToNilGivesZero) { EXPECT_EQ(Get<long long()>("_MessageToNil")(), 0); }

TEST_F(MachOObjects, ImageCatchesWhatFoundationRaises) { EXPECT_EQ(Get<int()>("_CatchesWhatFoundationRaises")(), 1); }

TEST_F(MachOObjects, WhatTheImageRaisesIsCaughtOutside) {
  bool caught = false;
  try {
    Get<void()>("_Raise")();
  } catch (...) {
    caught = true;
  }
  EXPECT_TRUE(caught);
}

TEST_F(MachOObjects, ClassThatExistsAlreadyIsRefused) {
  Objects();
  const std::string path = MACHO_SAMPLES "/objects.chained";
  EXPECT_EQ(macho::RefusalOf([&] { macho::LoadForGood(path); }), path + ": class SampleBase exists already");
}

// In a process of its own, where no such class exists yet.
TEST(MachOObjectsDeathTest, ChainedImageWorksTheSame) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        macho::Image& image = macho::LoadForGood(MACHO_SAMPLES "/objects.chained");
        NSAutoreleasePool* pool = [NSAutoreleasePool new];
        const bool right = reinterpret_cast<long long (*)()>(image.Exported("_TwiceOfADerived"))() == 43 &&
                           reinterpret_cast<int (*)()>(image.Exported("_CatchesWhatFoundationRaises"))() == 1;
        [pool release];
        _Exit(right ? 7 : 8);
      },
      ::testing::ExitedWithCode(7), "");
}

}  // namespace
