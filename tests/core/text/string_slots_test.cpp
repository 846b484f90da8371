// Owned string slots.
#include <gtest/gtest.h>

#include <string>

#include "core/text/nustr.h"
#include "core/text/string.h"
#include "tests/support/fatal.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

using std::string;
using std::wstring;

// A slot of each width that starts with a string, and a check that nothing is lost.
class StringSlot : public testing::Test {
 protected:
  StringSlot() : wide(core::wstrdup(L"old text")), narrow(core::nustrdup("old text")) {}
  ~StringSlot() override {
    core::str_free(&wide);
    core::str_free_ansi(&narrow);
    EXPECT_EQ(live_, test_host::LiveBlocks());
  }

 private:
  const long live_ = test_host::LiveBlocks();  // before the slots are filled

 protected:
  wchar_t* wide;
  char* narrow;
};
using StringSlotDeathTest = StringSlot;

TEST_F(StringSlot, StoresACopy) {
  const Wide text(L"new");
  core::str_set(&wide, text.get());
  EXPECT_STREQ(L"new", wide);
  EXPECT_NE(text.get(), wide);
  core::str_set_ansi(&narrow, "new");
  EXPECT_STREQ("new", narrow);
}

TEST_F(StringSlot, CopyOfNullIsTheEmptyString) {
  core::str_set(&wide, nullptr);
  EXPECT_STREQ(L"", wide);
}

TEST_F(StringSlot, EmptySlotMayBeSet) {
  core::str_free(&wide);
  core::str_free_ansi(&narrow);
  core::str_set(&wide, nullptr);
  EXPECT_STREQ(L"", wide);
  core::str_set_ansi(&narrow, "a");
  EXPECT_STREQ("a", narrow);
}

TEST_F(StringSlot, CopyMayComeFromTheOldString) {
  core::str_set(&wide, wide + 4);
  EXPECT_STREQ(L"text", wide);
  core::str_sety(&wide, wide + 2);
  EXPECT_STREQ(L"xt", wide);
  core::str_set_ansi(&narrow, narrow + 4);
  EXPECT_STREQ("text", narrow);
  core::utf8_to_tstr(&wide, reinterpret_cast<const char*>(wide));
  EXPECT_STREQ(L"x", wide);  // the first byte of the first unit, where bytes are stored low end first
}

TEST_F(StringSlot, TakesOwnership) {
  wchar_t* text = core::wstrdup(L"new");
  core::str_setx(&wide, text);
  EXPECT_EQ(text, wide);
  char* bytes = core::nustrdup("new");
  core::str_setx_ansi(&narrow, bytes);
  EXPECT_EQ(bytes, narrow);
}

TEST_F(StringSlot, OwnershipOfNullIsANewEmptyStringWhenWide) {
  core::str_setx(&wide, nullptr);
  EXPECT_STREQ(L"", wide);
  core::str_free(&wide);
  core::str_setx(&wide, nullptr);
  EXPECT_STREQ(L"", wide);
}

TEST_F(StringSlot, OwnershipOfNullIsNullWhenNarrow) {
  core::str_setx_ansi(&narrow, nullptr);
  EXPECT_EQ(nullptr, narrow);
  core::str_setx_ansi(&narrow, nullptr);
  EXPECT_EQ(nullptr, narrow);
}

TEST_F(StringSlot, TakesOwnershipOfNonEmptyTextOnly) {
  wchar_t* text = core::wstrdup(L"new");
  core::str_setxy(&wide, text);
  EXPECT_EQ(text, wide);
  const Owned<wchar_t> empty(core::wstrdup(L""));
  core::str_setxy(&wide, empty.get());
  EXPECT_EQ(nullptr, wide);
  core::str_setxy(&wide, nullptr);
  EXPECT_EQ(nullptr, wide);
}

TEST_F(StringSlot, EmptyEndOfTheOldStringStoresNull) {
  core::str_setxy(&wide, wide + 8);
  EXPECT_EQ(nullptr, wide);
}

TEST_F(StringSlot, CopiesNonEmptyTextOnly) {
  const Wide text(L"new");
  core::str_sety(&wide, text.get());
  EXPECT_STREQ(L"new", wide);
  EXPECT_NE(text.get(), wide);
  core::str_sety(&wide, L"");
  EXPECT_EQ(nullptr, wide);
  core::str_sety(&wide, L"a");
  core::str_sety(&wide, nullptr);
  EXPECT_EQ(nullptr, wide);
}

TEST_F(StringSlot, StoresDecodedText) {
  const wchar_t* stored = core::utf8_to_tstr(&wide, "\xC3\xA9x");
  EXPECT_EQ(wide, stored);
  EXPECT_STREQ(L"\u00E9x", wide);
  EXPECT_EQ(nullptr, core::utf8_to_tstr(&wide, nullptr));
  EXPECT_EQ(nullptr, wide);
}

TEST_F(StringSlot, FreeingStoresNull) {
  core::str_free(&wide);
  core::str_free_ansi(&narrow);
  EXPECT_EQ(nullptr, wide);
  EXPECT_EQ(nullptr, narrow);
  core::str_free(&wide);
  core::str_free_ansi(&narrow);
  EXPECT_EQ(nullptr, wide);
  EXPECT_EQ(nullptr, narrow);
}

TEST_F(StringSlotDeathTest, StoringItsOwnStringBackIsFatal) {
  EXPECT_FATAL(core::str_set(&wide, wide), "core/string", 295);
  EXPECT_FATAL(core::str_set_ansi(&narrow, narrow), "core/string", 305);
  EXPECT_FATAL(core::str_setx_ansi(&narrow, narrow), "core/string", 314);
  EXPECT_FATAL(core::str_setxy(&wide, wide), "core/string", 336);
  EXPECT_FATAL(core::str_sety(&wide, wide), "core/string", 344);
  EXPECT_FATAL(core::str_setx(&wide, wide), "core/string", 352);
}

TEST_F(StringSlotDeathTest, StoringItsOwnEmptyStringBackIsFatal) {
  core::str_set(&wide, L"");
  EXPECT_FATAL(core::str_setxy(&wide, wide), "core/string", 336);
  EXPECT_FATAL(core::str_sety(&wide, wide), "core/string", 344);
}

TEST_F(StringSlotDeathTest, NarrowCopyOfNullIsFatal) {
  EXPECT_FATAL(core::str_set_ansi(&narrow, nullptr), "core/string", 305);
  core::str_free_ansi(&narrow);
  EXPECT_FATAL(core::str_set_ansi(&narrow, nullptr), "core/string", 305);
}

TEST_F(StringSlotDeathTest, DecodingIntoNoSlotIsFatal) {
  EXPECT_FATAL(core::utf8_to_tstr(nullptr, "a"), "core/string", 323);
  EXPECT_FATAL(core::utf8_to_tstr(nullptr, nullptr), "core/string", 323);
}

}  // namespace
