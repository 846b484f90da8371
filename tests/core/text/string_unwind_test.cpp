// A host that throws out of the allocator: what is half built must not leak. This program brings its
// own host and platform allocator.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <new>
#include <string>

#include "core/base/host.h"
#include "core/base/mem1.h"
#include "core/containers/templates.h"
#include "core/format/strfmt.h"
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

// The program runs in the C locale, which lacks the euro sign.
TEST(StringUnwind, TextThatTheEncodingLacksIsConvertedWithoutALeak) {
  admitted = kUnlimited;
  const core::basic_string<wchar_t> price(L"5 \u20AC");
  // The simplified copy and the result.
  EXPECT_EQ(2, AllocationsNeeded([&] { EXPECT_STREQ("5 ?", core::to_string(price).c_str()); }));
}

TEST(StringUnwind, AFailingAddFmtLeaksNothing) {
  // The formatted text and the buffer.
  EXPECT_EQ(2, AllocationsNeeded([] { core::StringBufferT().AddFmt(L"%d", 42); }));
}

int FormatInt(char* dst, int room, const void* element) {
  return core::nusnprintf(dst, static_cast<size_t>(room), "%d", *static_cast<const int*>(element));
}

int FormatOneRoom(char* dst, int room, const void*) {
  return core::nusnprintf(dst, static_cast<size_t>(room), "%*d", room - 1, 0);
}

long AllocationsToJoin(bool url_encode, int (*format)(char*, int, const void*)) {
  admitted = kUnlimited;
  core::LList<int> numbers;
  numbers.push_back(1);
  numbers.push_back(2);
  const long needed =
      AllocationsNeeded([&] { core::MyFree(numbers.AsStringNoCheck("x=", url_encode, sizeof(int), format)); });
  numbers.Free();
  return needed;
}

TEST(StringUnwind, AFailingUrlEncodedListLeaksNothing) {
  // The joined text and the encoded one.
  EXPECT_EQ(2, AllocationsToJoin(true, FormatInt));
}

TEST(StringUnwind, AFailingGrowthOfAListLeaksNothing) {
  // The joined text, which grows twice.
  EXPECT_EQ(3, AllocationsToJoin(false, FormatOneRoom));
}

}  // namespace
