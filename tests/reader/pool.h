// One autorelease pool for each test.
#pragma once

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <string>

class PoolTest : public ::testing::Test {
 protected:
  void SetUp() override { pool_ = [NSAutoreleasePool new]; }
  void TearDown() override { [pool_ release]; }

  void DrainPool() {
    [pool_ release];
    pool_ = [NSAutoreleasePool new];
  }

 private:
  NSAutoreleasePool* pool_ = nil;
};

// A string's UTF-8 bytes, "<nil>" for nil.
inline std::string Text(NSString* string) { return string ? [string UTF8String] : "<nil>"; }
