// The bundle's own host services, linked in place of the tests' host.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdint.h>
#include <unistd.h>

#include <string>

#include "core/base/host.h"

namespace core {
namespace {

bool NeverCalled(unsigned char*, size_t, void*) { _exit(77); }

// What the platform's assert prints, as the two C libraries word it.
auto PlatformAssertion(const std::string& function, const std::string& line) {
  return ::testing::ContainsRegex("QuickLookPlugin/stubs:" + line + ": " + function + ": Assertion `0' failed\\.\n$|" +
                                  "^Assertion failed: \\(0\\), function " + function +
                                  ", file QuickLookPlugin/stubs, line " + line + "\\.\n$");
}

TEST(StubsDeathTest, GetCanonicalPathStopsByThePlatformsAssertion) {
  EXPECT_EXIT(GetCanonicalPath(L"/a"), ::testing::KilledBySignal(SIGABRT), PlatformAssertion("GetCanonicalPath", "15"));
}

TEST(StubsDeathTest, GetCanonicalPathLooksAtNoPath) {
  EXPECT_EXIT(GetCanonicalPath(nullptr), ::testing::KilledBySignal(SIGABRT),
              PlatformAssertion("GetCanonicalPath", "15"));
}

TEST(StubsDeathTest, LoadFileSafeStopsByThePlatformsAssertionWithoutCallingBack) {
  EXPECT_EXIT(LoadFile_Safe(L"/", NeverCalled, nullptr), ::testing::KilledBySignal(SIGABRT),
              PlatformAssertion("LoadFile_Safe", "22"));
}

TEST(Stubs, LogfPrintsNothingAndReadsNoArguments) {
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  Logf("%s %n %d");
  Logf(nullptr);
  Logf("plain %d", 1);
  EXPECT_EQ("", ::testing::internal::GetCapturedStdout());
  EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
}

TEST(Stubs, WarnNoMemoryReturnsAndPrintsNothing) {
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  WarnNoMemory(0);
  WarnNoMemory(SIZE_MAX);
  EXPECT_EQ("", ::testing::internal::GetCapturedStdout());
  EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
}

}  // namespace
}  // namespace core
