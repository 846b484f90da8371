// A host that throws out of the allocator: what is half built must not leak. This program brings its
// own host and platform allocator.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <new>
#include <string>

#include "core/base/host.h"
#include "core/text/string.h"
#include "tests/support/platform_memory.h"

namespace {

long live_blocks = 0;
long admitted = 0;  // allocations that succeed before the rest fails

bool Admit() { return admitted-- > 0; }

}  // namespace

namespace test_host {

void* PlatformMalloc(size_t n) {
  if (!Admit()) {
    return nullptr;
  }
  live_blocks++;
  return malloc(n);
}

void* PlatformRealloc(void* p, size_t n) { return Admit() ? realloc(p, n) : nullptr; }

void PlatformFree(void* p) {
  live_blocks -= p != nullptr ? 1 : 0;
  free(p);
}

}  // namespace test_host

namespace core {

void WarnNoMemory(size_t) { throw std::bad_alloc(); }

}  // namespace core

namespace {

constexpr long kUnlimited = 1000000;

// Runs `work` with 0, 1, 2 ... allocations allowed until it comes to its end; returns how many that
// took. Whatever failed must have freed what it made.
template <class Work>
long AllocationsNeeded(Work work) {
  for (long allowed = 0;; allowed++) {
    const long before = live_blocks;
    admitted = allowed;
    bool failed = false;
    try {
      work();
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    admitted = kUnlimited;
    EXPECT_EQ(before, live_blocks) << "with " << allowed << " allocations";
    if (!failed) {
      return allowed;
    }
  }
}

TEST(StringUnwind, TokenizeFreesThePiecesAndTheirBlock) {
  admitted = kUnlimited;
  std::string text;
  for (int i = 0; i < 20; i++) {
    text += "piece,";
  }
  const core::basic_string<char> string(text.c_str());
  // The set, 20 pieces, and the block, which grows once.
  EXPECT_EQ(23, AllocationsNeeded([&] { string.tokenize(","); }));
}

TEST(StringUnwind, AFailingPushBackLeaksNothing) {
  admitted = kUnlimited;
  const core::basic_string<wchar_t> string(L"text");
  core::Vector<core::basic_string<wchar_t>> list;
  for (int i = 0; i < 16; i++) {
    list.push_back(string);
  }
  const long before = live_blocks;
  for (long allowed : {0, 1}) {  // neither the copy nor the larger block
    admitted = allowed;
    EXPECT_THROW(list.push_back(string), std::bad_alloc);
    EXPECT_EQ(16u, list.size());
    EXPECT_EQ(before, live_blocks);
  }
  admitted = kUnlimited;
}

TEST(StringUnwind, ChangesLeaveTheStringAsItWas) {
  admitted = kUnlimited;
  core::basic_string<char> string("text");
  admitted = 0;
  EXPECT_THROW(string += "more", std::bad_alloc);
  EXPECT_THROW(string = "more", std::bad_alloc);
  EXPECT_THROW(string.assign("more", 2), std::bad_alloc);
  EXPECT_STREQ("text", string.c_str());
  admitted = kUnlimited;
}

}  // namespace
