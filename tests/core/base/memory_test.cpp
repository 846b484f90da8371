#include <gtest/gtest.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <barrier>
#include <string>
#include <thread>
#include <vector>

#include "core/base/fatal.h"
#include "core/base/host.h"
#include "core/base/mem1.h"
#include "core/base/memutils.h"
#include "core/containers/templates.h"
#include "tests/support/fatal.h"
#include "tests/support/test_host.h"

namespace core {
namespace {

constexpr size_t kSignBit = size_t{1} << 63;

// Every test starts with a fresh host and must give back what it allocated.
class Memory : public ::testing::Test {
 protected:
  ~Memory() override { EXPECT_EQ(live_before_, test_host::LiveBlocks()); }

 private:
  test_host::Scope host_;
  long live_before_ = test_host::LiveBlocks();
};
using MemoryDeathTest = Memory;

// Ends the process with the number of warnings that preceded SIGINT.
void ExitWithWarnCalls(int) { _exit(test_host::WarnNoMemoryCalls()); }

// --- assertions ---

TEST(FatalAssertDeathTest, PrintsOneLineAndRaisesSigint) {
  EXPECT_EXIT(FatalAssert("some/source", 7), ::testing::KilledBySignal(SIGINT),
              ::testing::Eq("\nassert failed some/source:7 (40000)\n"));
}

TEST(FatalAssertDeathTest, AbortsWhenSigintIsIgnored) {
  EXPECT_EXIT(
      {
        signal(SIGINT, SIG_IGN);
        FatalAssert("some/source", 2147483647);
      },
      ::testing::KilledBySignal(SIGABRT), ::testing::Eq("\nassert failed some/source:2147483647 (40000)\n"));
}

TEST(FatalAssertDeathTest, AssertAtStopsOnlyWhenTheConditionIsFalse) {
  AssertAt(true, "some/source", 8);
  EXPECT_FATAL(AssertAt(false, "some/source", 9), "some/source", 9);
}

// --- MyMalloc ---

TEST_F(Memory, MallocOfZeroIsNullAndAsksNobody) {
  EXPECT_EQ(nullptr, MyMalloc(0));
  EXPECT_EQ(0, test_host::AllocationAttempts());
}

TEST_F(Memory, MallocGivesWritableBlocksOfTheSize) {
  for (size_t n : {size_t{1}, size_t{16}, size_t{100000}}) {
    void* p = MyMalloc(n);
    ASSERT_NE(nullptr, p);
    memset(p, 0x5A, n);
    MyFree(p);
  }
}

TEST_F(Memory, MallocTriesThreeTimes) {
  for (int failures : {0, 1, 2}) {
    SCOPED_TRACE(failures);
    test_host::Reset();
    test_host::FailAllocations(failures);
    void* p = MyMalloc(24);
    EXPECT_NE(nullptr, p);
    EXPECT_EQ(failures + 1, test_host::AllocationAttempts());
    EXPECT_EQ(failures, test_host::WarnNoMemoryCalls());
    EXPECT_EQ(failures == 0 ? 0u : 24u, test_host::WarnNoMemorySize());
    MyFree(p);
  }
}

TEST_F(MemoryDeathTest, MallocStopsAfterTheThirdFailure) {
  test_host::FailAllocations(3);
  EXPECT_FATAL(MyMalloc(24), "core/mem1", 216);
}

TEST_F(MemoryDeathTest, MallocWarnsThreeTimesBeforeItStops) {
  test_host::FailAllocations(3);
  EXPECT_EXIT(
      {
        signal(SIGINT, ExitWithWarnCalls);
        MyMalloc(24);
      },
      ::testing::ExitedWithCode(3), "");
}

TEST_F(MemoryDeathTest, MallocTellsNegativeSizesFromUnavailableOnes) {
  EXPECT_FATAL(MyMalloc(kSignBit - 1), "core/mem1", 216);
  EXPECT_FATAL(MyMalloc(kSignBit), "core/mem1", 192);
  EXPECT_FATAL(MyMalloc(kSignBit + 1), "core/mem1", 192);
  EXPECT_FATAL(MyMalloc(SIZE_MAX), "core/mem1", 192);
}

// --- MyRealloc ---

TEST_F(Memory, ReallocOfNullAllocates) {
  void* p = MyRealloc(nullptr, 16);
  ASSERT_NE(nullptr, p);
  memset(p, 1, 16);
  MyFree(p);
}

TEST_F(Memory, ReallocOfNullToZeroIsNull) {
  EXPECT_EQ(nullptr, MyRealloc(nullptr, 0));
  EXPECT_EQ(0, test_host::AllocationAttempts());
}

TEST_F(Memory, ReallocToZeroFreesAndIsNull) {
  const long live = test_host::LiveBlocks();
  void* p = MyMalloc(16);
  EXPECT_EQ(live + 1, test_host::LiveBlocks());
  EXPECT_EQ(nullptr, MyRealloc(p, 0));
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST_F(Memory, ReallocKeepsTheContents) {
  char* p = static_cast<char*>(MyMalloc(4));
  memcpy(p, "abcd", 4);
  p = static_cast<char*>(MyRealloc(p, 100000));
  EXPECT_EQ("abcd", std::string(p, 4));
  p = static_cast<char*>(MyRealloc(p, 2));
  EXPECT_EQ("ab", std::string(p, 2));
  MyFree(p);
}

TEST_F(Memory, ReallocTriesThreeTimesAndKeepsTheBlockMeanwhile) {
  for (int failures : {0, 1, 2}) {
    SCOPED_TRACE(failures);
    char* p = static_cast<char*>(MyMalloc(4));
    memcpy(p, "abcd", 4);
    test_host::Reset();
    test_host::FailAllocations(failures);
    p = static_cast<char*>(MyRealloc(p, 48));
    EXPECT_EQ("abcd", std::string(p, 4));
    EXPECT_EQ(failures + 1, test_host::AllocationAttempts());
    EXPECT_EQ(failures, test_host::WarnNoMemoryCalls());
    EXPECT_EQ(failures == 0 ? 0u : 48u, test_host::WarnNoMemorySize());
    MyFree(p);
  }
}

TEST_F(MemoryDeathTest, ReallocStopsAfterTheThirdFailure) {
  void* p = MyMalloc(4);
  test_host::FailAllocations(3);
  EXPECT_FATAL(MyRealloc(p, 48), "core/mem1", 258);
  MyFree(p);
}

TEST_F(MemoryDeathTest, ReallocOfNullStopsAsMalloc) {
  EXPECT_FATAL(MyRealloc(nullptr, kSignBit), "core/mem1", 192);
  test_host::FailAllocations(3);
  EXPECT_FATAL(MyRealloc(nullptr, 48), "core/mem1", 216);
}

TEST_F(MemoryDeathTest, ReallocDoesNotTellNegativeSizesApart) {
  void* p = MyMalloc(4);
  EXPECT_FATAL(MyRealloc(p, kSignBit - 1), "core/mem1", 258);
  EXPECT_FATAL(MyRealloc(p, kSignBit), "core/mem1", 258);
  EXPECT_FATAL(MyRealloc(p, SIZE_MAX), "core/mem1", 258);
  EXPECT_EXIT(
      {
        signal(SIGINT, ExitWithWarnCalls);
        p = MyRealloc(p, SIZE_MAX);
      },
      ::testing::ExitedWithCode(3), "");
  MyFree(p);
}

// --- MyCalloc ---

TEST_F(Memory, CallocFillsTheBlockWithZeroBytes) {
  auto* p = static_cast<unsigned char*>(MyCalloc(4, 8));
  ASSERT_NE(nullptr, p);
  EXPECT_TRUE(std::all_of(p, p + 32, [](unsigned char byte) { return byte == 0; }));
  MyFree(p);
}

TEST_F(Memory, CallocOfNothingIsNull) {
  EXPECT_EQ(nullptr, MyCalloc(0, 0));
  EXPECT_EQ(nullptr, MyCalloc(0, 8));
  EXPECT_EQ(nullptr, MyCalloc(8, 0));
  EXPECT_EQ(nullptr, MyCalloc(0, SIZE_MAX));
}

TEST_F(MemoryDeathTest, CallocNeverGivesAShortBlock) {
  EXPECT_FATAL(MyCalloc(1, kSignBit - 1), "core/mem1", 216);
  EXPECT_FATAL(MyCalloc(kSignBit / 2, 2), "core/mem1", 192);
  EXPECT_FATAL(MyCalloc(kSignBit, 2), "core/mem1", 192);                       // wraps to 0
  EXPECT_FATAL(MyCalloc(size_t{1} << 32, size_t{1} << 32), "core/mem1", 192);  // wraps to 0
  EXPECT_FATAL(MyCalloc(SIZE_MAX, SIZE_MAX), "core/mem1", 192);                // wraps to 1
  EXPECT_FATAL(MyCalloc((size_t{1} << 61) + 2, 8), "core/mem1", 192);          // wraps to 16
}

// --- MyFree ---

TEST_F(Memory, FreeTakesNullAndIgnoresTheFlag) {
  MyFree(nullptr);
  MyFree(nullptr, true);
  MyFree(MyMalloc(1), false);
  MyFree(MyMalloc(1), true);
}

// --- memdup, memcpy_e ---

TEST_F(Memory, MemdupCopiesTheBytes) {
  const char source[] = {'a', '\0', 'b'};
  char* copy = static_cast<char*>(memdup(source, sizeof source));
  ASSERT_NE(nullptr, copy);
  EXPECT_NE(source, copy);
  EXPECT_EQ(std::string(source, 3), std::string(copy, 3));
  MyFree(copy);
}

TEST_F(Memory, MemdupOfNullOrNothingIsNull) {
  EXPECT_EQ(nullptr, memdup(nullptr, 5));
  EXPECT_EQ(nullptr, memdup(nullptr, 0));
  EXPECT_EQ(nullptr, memdup("abc", 0));
  EXPECT_EQ(nullptr, memdup(nullptr, SIZE_MAX));
  EXPECT_EQ(0, test_host::AllocationAttempts());
}

TEST_F(MemoryDeathTest, MemdupStopsWhenTheAllocatorDoes) { EXPECT_FATAL(memdup("abc", SIZE_MAX), "core/mem1", 192); }

TEST_F(Memory, MemcpyECopiesChain) {
  char buf[] = "........";
  void* end = memcpy_e(memcpy_e(memcpy_e(buf + 1, "ab", 2), "", 0), "cde", 3);
  EXPECT_EQ(buf + 6, end);
  EXPECT_STREQ(".abcde..", buf);
}

TEST_F(Memory, MemcpyEOfNothingTakesNullPointers) { EXPECT_EQ(nullptr, memcpy_e(nullptr, nullptr, 0)); }

// --- GetMaxStackSize: no test calls it outside a child of its own, because it reads the limit once ---

// Prints the budget of a process whose soft stack limit is `limit`, and ends it.
void PrintBudgetUnder(rlim_t limit) {
  struct rlimit limits;
  getrlimit(RLIMIT_STACK, &limits);
  limits.rlim_cur = limit;
  if (setrlimit(RLIMIT_STACK, &limits) != 0) {
    fputs("cannot set the limit", stderr);
  } else {
    fprintf(stderr, "%zu", GetMaxStackSize());
  }
  _exit(0);
}

bool HardStackLimitIsUnlimited() {
  struct rlimit limits;
  return getrlimit(RLIMIT_STACK, &limits) == 0 && limits.rlim_max == RLIM_INFINITY;
}

TEST(GetMaxStackSizeDeathTest, IsTheFiniteSoftLimit) {
  for (size_t limit : {size_t{1} << 20, (size_t{1} << 20) + 4096, size_t{8} << 20}) {
    EXPECT_EXIT(PrintBudgetUnder(limit), ::testing::ExitedWithCode(0), ::testing::Eq(std::to_string(limit)));
  }
}

TEST(GetMaxStackSizeDeathTest, IsTheDefaultWithoutALimit) {
  if (!HardStackLimitIsUnlimited()) {
    GTEST_SKIP() << "the hard stack limit is finite: this process cannot lift the soft one";
  }
  EXPECT_EXIT(PrintBudgetUnder(RLIM_INFINITY), ::testing::ExitedWithCode(0), ::testing::Eq("500000"));
  EXPECT_EXIT(PrintBudgetUnder(INT64_MAX), ::testing::ExitedWithCode(0), ::testing::Eq("500000"));
}

TEST(GetMaxStackSizeDeathTest, TakesTheLargestFiniteLimit) {
  if (!HardStackLimitIsUnlimited()) {
    GTEST_SKIP() << "the hard stack limit is finite: this process cannot raise the soft one";
  }
  EXPECT_EXIT(PrintBudgetUnder(INT64_MAX - 1), ::testing::ExitedWithCode(0), ::testing::Eq("9223372036854775806"));
}

TEST(GetMaxStackSizeDeathTest, IsTheDefaultUnderALimitOfZero) {
  EXPECT_EXIT(PrintBudgetUnder(0), ::testing::ExitedWithCode(0), ::testing::Eq("500000"));
}

TEST(GetMaxStackSizeDeathTest, ReadsTheLimitOnce) {
  EXPECT_EXIT(
      {
        struct rlimit limits;
        getrlimit(RLIMIT_STACK, &limits);
        limits.rlim_cur = 3 << 20;
        setrlimit(RLIMIT_STACK, &limits);
        GetMaxStackSize();
        PrintBudgetUnder(2 << 20);
      },
      ::testing::ExitedWithCode(0), ::testing::Eq("3145728"));
}

TEST(GetMaxStackSizeDeathTest, FirstCallsFromManyThreadsAgree) {
  EXPECT_EXIT(
      {
        constexpr size_t kThreads = 16;
        std::vector<size_t> sizes(kThreads);
        std::barrier together(kThreads);
        std::vector<std::thread> threads;
        for (size_t& size : sizes) {
          threads.emplace_back([&] {
            together.arrive_and_wait();
            size = GetMaxStackSize();
          });
        }
        for (std::thread& thread : threads) {
          thread.join();
        }
        _exit(sizes == std::vector<size_t>(kThreads, GetMaxStackSize()) ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

// --- the tests' own host ---

bool CopyBytes(unsigned char* bytes, size_t len, void* context) {
  *static_cast<std::string*>(context) = std::string(bytes, bytes + len);
  return len != 1;
}

TEST_F(Memory, TestHostHandsRegisteredFilesToTheCallback) {
  test_host::RegisterFile(L"/a", "two");
  test_host::RegisterFile(L"/b", "1");
  std::string seen;
  EXPECT_TRUE(LoadFile_Safe(L"/a", CopyBytes, &seen));
  EXPECT_EQ("two", seen);
  EXPECT_FALSE(LoadFile_Safe(L"/b", CopyBytes, &seen));
  EXPECT_EQ("1", seen);
  EXPECT_FALSE(LoadFile_Safe(L"/c", CopyBytes, &seen));
  EXPECT_EQ("1", seen);
}

TEST_F(Memory, TestHostAnswersWithRegisteredCanonicalPaths) {
  test_host::RegisterCanonicalPath(L"/a/../b", L"/b");
  wchar_t* known = GetCanonicalPath(L"/a/../b");
  wchar_t* unknown = GetCanonicalPath(L"/a");
  EXPECT_STREQ(L"/b", known);
  EXPECT_STREQ(L"/a", unknown);
  MyFree(known);
  MyFree(unknown);
}

TEST_F(Memory, TestHostCountsLogLines) {
  Logf("%d lines", 2);
  EXPECT_EQ(1, test_host::LogfCalls());
  EXPECT_EQ("%d lines", test_host::LastLogFormat());
}

}  // namespace
}  // namespace core
