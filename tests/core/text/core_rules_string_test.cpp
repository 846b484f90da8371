// Owned blocks that are offered but not taken, and texts that the locale's encoding does not hold.
#include <gtest/gtest.h>
#include <string.h>

#include "core/base/mem1.h"
#include "core/text/basic_string.h"
#include "core/text/string.h"
#include "tests/support/platform_memory.h"

using namespace core;

namespace {

class OwnedTextRules : public testing::Test {
 protected:
  ~OwnedTextRules() override { EXPECT_EQ(blocks_, test_host::LiveBlocks()); }

  // What every null string reads as.
  static const char* Null() { return basic_string<char>().c_str(); }

 private:
  long blocks_ = test_host::LiveBlocks();
};

}  // namespace

TEST_F(OwnedTextRules, AnEmptyHolderDoesNotTakeAnAssignedBlock) {
  void* mine = memcpy(MyMalloc(4), "mine", 4);
  {
    basic_string_raw raw;
    raw.assign(mine);
    EXPECT_EQ(nullptr, raw.get());
    raw.swap(raw);
    raw.clear();
  }
  EXPECT_EQ(0, memcmp(mine, "mine", 4));
  MyFree(mine);
}

TEST_F(OwnedTextRules, TextThatNoReplacementHelpsGivesNull) {
  const wchar_t negative[] = {L'a', static_cast<wchar_t>(0xFFFFFFE9), 0};
  EXPECT_EQ(Null(), tstr_to_string(negative).c_str());
  EXPECT_EQ(Null(), to_string(basic_string<wchar_t>(negative)).c_str());
}
