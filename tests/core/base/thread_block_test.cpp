#include <gtest/gtest.h>
#include <pthread.h>

#include <barrier>
#include <set>
#include <thread>
#include <vector>

#include "core/base/host.h"
#include "core/base/mem1.h"
#include "core/format/strfmt.h"
#include "core/net/sockaddr.h"
#include "core/text/nustr.h"
#include "core/text/string.h"
#include "core/util/util_url.h"
#include "tests/support/fatal.h"
#include "tests/support/test_host.h"

namespace core {
namespace {

void UseUpAllKeys() {
  pthread_key_t key;
  while (pthread_key_create(&key, nullptr) == 0) {
  }
}

// Runs first, in a child in which no block was asked for yet.
TEST(ThreadBlockDeathTest, StopsWhenTheKeyCannotBeCreated) {
  EXPECT_FATAL(
      {
        UseUpAllKeys();
        GetTLS();
      },
      "QuickLookPlugin/TorrentInfo", 35);
}

// Precedes every other test that asks for a block, so that these threads create the key.
TEST(ThreadBlock, SixteenFirstCallsAtOnceShareOneKey) {
  constexpr int kThreads = 16;
  const long before = test_host::LiveBlocks();
  std::vector<ThreadBlock*> first(kThreads);
  std::vector<ThreadBlock*> second(kThreads);
  std::barrier together(kThreads);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      together.arrive_and_wait();
      first[i] = GetTLS();
      together.arrive_and_wait();
      second[i] = GetTLS();
      together.arrive_and_wait();  // no block is freed and reused before all are known
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(first, second);
  EXPECT_EQ(size_t{kThreads}, std::set<ThreadBlock*>(first.begin(), first.end()).size());
  EXPECT_EQ(before, test_host::LiveBlocks());
}

// Each test runs in a thread of its own, whose block is new.
template <class Body>
void InNewThread(Body body) {
  std::thread(body).join();
}

TEST(ThreadBlock, IsZeroAtCreation) {
  InNewThread([] {
    const ThreadBlock* block = GetTLS();
    EXPECT_EQ(nullptr, block->temp_wide);
    EXPECT_EQ(nullptr, block->temp_narrow);
    EXPECT_EQ(nullptr, block->last_unicode);
    EXPECT_EQ(nullptr, block->last_ansi);
    EXPECT_EQ(0u, block->stack_copy_size);
    EXPECT_EQ(nullptr, block->stack_copy);
  });
}

// Addresses of every form are read without a copy, and the other temporaries have slots of their own.
TEST(ThreadBlock, LibraryLeavesTheLastTwoSlotsAlone) {
  InNewThread([] {
    for (const char* text : {"10.0.0.1", "10.0.0.1:80", "10.0.0.1:123456", "::1", "[::1]:80", "x:1", "[x", "x", ""}) {
      SockAddr::parse_addr(text);
    }
    char range[] = "10.0.0.0:80/8";
    ParseCIDR(range, nullptr, nullptr);
    const char* url = "a/b";
    url_split(&url);
    str_temp(wstrdup(L"wide"));
    to_unicode("unicode");
    to_ansi(L"ansi");
    const ThreadBlock* block = GetTLS();
    EXPECT_NE(nullptr, block->temp_wide);
    EXPECT_NE(nullptr, block->temp_narrow);
    EXPECT_NE(nullptr, block->last_unicode);
    EXPECT_NE(nullptr, block->last_ansi);
    EXPECT_EQ(0u, block->stack_copy_size);
    EXPECT_EQ(nullptr, block->stack_copy);
  });
}

TEST(ThreadBlock, StaysTheSameWithinAThread) {
  InNewThread([] {
    ThreadBlock* block = GetTLS();
    const long attempts = test_host::AllocationAttempts();
    EXPECT_EQ(block, GetTLS());
    EXPECT_EQ(attempts, test_host::AllocationAttempts());
  });
}

void FillSlots(ThreadBlock* block) {
  block->temp_wide = static_cast<wchar_t*>(MyMalloc(8));
  block->temp_narrow = static_cast<char*>(MyMalloc(8));
  block->last_unicode = static_cast<wchar_t*>(MyMalloc(8));
  block->last_ansi = static_cast<char*>(MyMalloc(8));
  block->stack_copy_size = 0xdeadbeef;  // a number, which must not be freed
  block->stack_copy = MyMalloc(8);
}

TEST(ThreadBlock, FreesItsFiveOwnedSlotsWhenTheThreadEnds) {
  const long before = test_host::LiveBlocks();
  long during = 0;
  InNewThread([&] {
    FillSlots(GetTLS());
    during = test_host::LiveBlocks();
  });
  EXPECT_EQ(before + 6, during);
  EXPECT_EQ(before, test_host::LiveBlocks());
}

TEST(ThreadBlock, FreeTLSFreesTheOwnedSlotsAndTheBlock) {
  InNewThread([] {
    const long before = test_host::LiveBlocks();
    FillSlots(GetTLS());
    FreeTLS(GetTLS());
    EXPECT_EQ(before, test_host::LiveBlocks());
  });
}

TEST(ThreadBlock, FreeTLSDetachesTheBlock) {
  InNewThread([] {
    FreeTLS(GetTLS());
    const long before = test_host::LiveBlocks();
    EXPECT_EQ(0u, GetTLS()->stack_copy_size);
    EXPECT_EQ(before + 1, test_host::LiveBlocks());
  });
}

TEST(ThreadBlock, FreeTLSOfNullOnlyDetaches) {
  InNewThread([] {
    ThreadBlock* block = GetTLS();
    const long before = test_host::LiveBlocks();
    FreeTLS(nullptr);
    EXPECT_EQ(before, test_host::LiveBlocks());
    EXPECT_NE(block, GetTLS());
    FreeTLS(GetTLS());
    FreeTLS(block);
    EXPECT_EQ(before - 1, test_host::LiveBlocks());
  });
}

TEST(ThreadBlock, FreeTLSOfNullIsHarmlessInAThreadWithoutABlock) {
  InNewThread([] {
    const long before = test_host::LiveBlocks();
    FreeTLS(nullptr);
    EXPECT_EQ(before, test_host::LiveBlocks());
  });
}

TEST(ThreadBlock, BlockCreatedWhileTheThreadEndsIsFreedToo) {
  GetTLS();  // creates the library's key before the one below, so that its destructor runs before
  pthread_key_t late;
  ASSERT_EQ(0, pthread_key_create(&late, [](void*) { FillSlots(GetTLS()); }));
  const long before = test_host::LiveBlocks();
  InNewThread([&] {
    GetTLS();
    pthread_setspecific(late, &late);
  });
  EXPECT_EQ(before, test_host::LiveBlocks());
  pthread_key_delete(late);
  FreeTLS(GetTLS());
}

}  // namespace
}  // namespace core
