// What the tests of platform objects share.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <string>

// A test with an autorelease pool of its own.
class FoundationTest : public ::testing::Test {
 protected:
  ~FoundationTest() override { [pool_ release]; }

 private:
  NSAutoreleasePool* pool_ = [NSAutoreleasePool new];
};

inline NSString* Text(const std::string& utf8) { return [NSString stringWithUTF8String:utf8.c_str()]; }

inline std::string Utf8(id object) { return object ? [[object description] UTF8String] : "(nil)"; }

// An autoreleased UUID from its text form.
inline CFUUIDRef UUIDOf(const std::string& text) {
  return (CFUUIDRef)[[[NSUUID alloc] initWithUUIDString:Text(text)] autorelease];
}

// The text of a UUID that nothing else in this process uses.
inline std::string FreshUUIDText() { return [[[NSUUID UUID] UUIDString] UTF8String]; }
