#include <gtest/gtest.h>

#include <type_traits>

#include "core/base/mem1.h"
#include "core/text/nustr.h"
#include "core/text/string.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

// Every test must free what it made.
class BasicStringRaw : public ::testing::Test {
 public:
  ~BasicStringRaw() override {
    raw.clear();
    EXPECT_EQ(blocks_, test_host::LiveBlocks());
  }

 protected:
  core::basic_string_raw raw;

 private:
  long blocks_ = test_host::LiveBlocks();

 protected:
  void* block = core::MyMalloc(8);
};

TEST_F(BasicStringRaw, StartsNull) {
  EXPECT_EQ(nullptr, raw.get());
  core::MyFree(block);
}

TEST_F(BasicStringRaw, AdoptTakesTheBlockAndFreesTheFormerOne) {
  raw.adopt(block);
  EXPECT_EQ(block, raw.get());
  const long live = test_host::LiveBlocks();
  void* next = core::MyMalloc(8);
  raw.adopt(next);
  EXPECT_EQ(next, raw.get());
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST_F(BasicStringRaw, AdoptingTheHeldBlockDoesNothing) {
  raw.adopt(block);
  const long live = test_host::LiveBlocks();
  raw.adopt(block);
  EXPECT_EQ(block, raw.get());
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST_F(BasicStringRaw, AdoptingNullFreesTheHeldBlock) {
  raw.adopt(block);
  raw.adopt(nullptr);
  EXPECT_EQ(nullptr, raw.get());
}

TEST_F(BasicStringRaw, AssignFreesTheHeldBlockAndLeavesTheNewOneToTheCaller) {
  raw.adopt(block);
  char* other = core::nustrdup("text");
  const long live = test_host::LiveBlocks();
  raw.assign(other);
  EXPECT_EQ(nullptr, raw.get());
  EXPECT_EQ(live - 1, test_host::LiveBlocks());
  EXPECT_EQ("text", Take(other));
}

TEST_F(BasicStringRaw, AssigningTheHeldBlockDoesNothing) {
  raw.adopt(block);
  raw.assign(block);
  EXPECT_EQ(block, raw.get());
}

TEST_F(BasicStringRaw, AssigningNullFreesTheHeldBlock) {
  raw.adopt(block);
  raw.assign(nullptr);
  EXPECT_EQ(nullptr, raw.get());
}

TEST_F(BasicStringRaw, ClearFreesTheHeldBlock) {
  raw.adopt(block);
  const long live = test_host::LiveBlocks();
  raw.clear();
  EXPECT_EQ(nullptr, raw.get());
  EXPECT_EQ(live - 1, test_host::LiveBlocks());
  raw.clear();
  EXPECT_EQ(nullptr, raw.get());
}

TEST_F(BasicStringRaw, DestructionFreesTheHeldBlock) {
  const long live = test_host::LiveBlocks();
  {
    core::basic_string_raw holder;
    holder.adopt(block);
  }
  EXPECT_EQ(live - 1, test_host::LiveBlocks());
}

TEST_F(BasicStringRaw, SwapExchangesTheBlocks) {
  core::basic_string_raw other;
  raw.adopt(block);
  raw.swap(other);
  EXPECT_EQ(nullptr, raw.get());
  EXPECT_EQ(block, other.get());
  void* second = core::MyMalloc(8);
  raw.adopt(second);
  raw.swap(other);
  EXPECT_EQ(block, raw.get());
  EXPECT_EQ(second, other.get());
}

TEST(BasicStringRawType, CannotBeCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<core::basic_string_raw>);
  EXPECT_FALSE(std::is_copy_assignable_v<core::basic_string_raw>);
}

}  // namespace
