#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>

#include <string>

#include "core/format/strfmt.h"
#include "core/text/string.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

using String = core::basic_string<char>;
using WString = core::basic_string<wchar_t>;

bool IsNull(const String& s) { return s.c_str() == String().c_str(); }

// Every test must free what it made.
class StringConversion : public ::testing::Test {
 public:
  ~StringConversion() override { EXPECT_EQ(blocks_, test_host::LiveBlocks()); }

 private:
  test_host::Scope host_;
  long blocks_ = test_host::LiveBlocks();
};

TEST_F(StringConversion, HexIsLowerCaseWithTheHighDigitFirst) {
  const ExactBytes bytes("\x0A\xFF");
  EXPECT_STREQ("0aff", core::to_hex(bytes.begin(), 2).c_str());
  EXPECT_STREQ("0a", core::to_hex(bytes.begin(), 1).c_str());
}

TEST_F(StringConversion, HexOfEveryByteIsWhatThePlatformPrints) {
  std::string bytes;
  std::string expected;
  for (unsigned byte = 0; byte < 256; byte++) {
    bytes.push_back(static_cast<char>(byte));
    char digits[3];
    snprintf(digits, sizeof digits, "%02x", byte);
    expected += digits;
  }
  EXPECT_EQ(expected, core::to_hex(ExactBytes(bytes).begin(), 256).c_str());
}

TEST_F(StringConversion, HexOfNothingIsAnEmptyTextOfItsOwn) {
  const String hex = core::to_hex(nullptr, 0);
  EXPECT_FALSE(IsNull(hex));
  EXPECT_EQ(0u, hex.size());
}

TEST_F(StringConversion, HexAsksForExactlyItsSize) {
  const ExactBytes bytes("abc");
  test_host::FailAllocations(1);
  EXPECT_STREQ("616263", core::to_hex(bytes.begin(), 3).c_str());
  EXPECT_EQ(7u, test_host::WarnNoMemorySize());
}

using StringConversionDeathTest = StringConversion;

TEST_F(StringConversionDeathTest, HexOfANegativeLengthIsFatal) {
  const ExactBytes bytes("abc");
  for (ptrdiff_t len : {ptrdiff_t{-1}, ptrdiff_t{INT32_MIN}, PTRDIFF_MIN}) {
    EXPECT_FATAL(core::to_hex(bytes.begin(), len), "core/templates", 1008);
  }
}

TEST_F(StringConversion, FormatGivesTheFormattersText) {
  EXPECT_STREQ("7 torrents, 50%", core::string_fmt("%d %s, %d%%", 7, "torrents", 50).c_str());
  EXPECT_STREQ("1.5 kB", core::string_fmt("%Z", uint64_t{1536}).c_str());
  EXPECT_STREQ(L"7 torrents wide", core::tstring_fmt(L"%d %s %S", 7, L"torrents", "wide").c_str());
}

TEST_F(StringConversion, FormatOfNothingIsAnEmptyTextOfItsOwn) {
  EXPECT_FALSE(IsNull(core::string_fmt("%s", "")));
  const WString wide = core::tstring_fmt(L"%s", L"");
  EXPECT_NE(WString().c_str(), wide.c_str());
  EXPECT_EQ(0u, wide.size());
}

TEST_F(StringConversion, FormatTakesTheTextWithoutCopyingIt) {
  const Owned<char> direct(core::str_fmt("%d", 5));
  const long one_run = test_host::AllocationAttempts();
  const String text = core::string_fmt("%d", 5);
  EXPECT_EQ(2 * one_run, test_host::AllocationAttempts());
  test_host::ResetPlatformMemory();
  const Owned<wchar_t> wide_direct(core::wstr_fmt(L"%d", 5));
  const long wide_run = test_host::AllocationAttempts();
  const WString wide = core::tstring_fmt(L"%d", 5);
  EXPECT_EQ(2 * wide_run, test_host::AllocationAttempts());
}

TEST_F(StringConversion, FormatIsCutAtItsLimit) {
  const std::string longer(core::kAllocFormatLimit + 1, 'x');
  EXPECT_EQ(core::kAllocFormatLimit, core::string_fmt("%s", longer.c_str()).size());
  EXPECT_EQ(core::kAllocFormatLimit, core::tstring_fmt(L"%S", longer.c_str()).size());
}

TEST_F(StringConversion, TextPassesBetweenTheWidths) {
  EXPECT_STREQ(L"text", core::to_tstring("text").c_str());
  EXPECT_STREQ("text", core::to_string(L"text").c_str());
  EXPECT_STREQ("text", core::tstr_to_string(L"text").c_str());
}

TEST_F(StringConversion, FollowsTheLocale) {
  const Latin1Locale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no ISO 8859-1 locale";
  }
  EXPECT_STREQ(L"\u00E9", core::to_tstring("\xE9").c_str());
  EXPECT_STREQ("\xE9", core::to_string(L"\u00E9").c_str());
  EXPECT_STREQ("\xE9", core::tstr_to_string(L"\u00E9").c_str());
}

TEST_F(StringConversion, TextThatTheLocaleLacksIsReplaced) {
  EXPECT_STREQ("a?u", core::to_string(L"a\u20AC\u00B5").c_str());
  EXPECT_STREQ("a?u", core::tstr_to_string(L"a\u20AC\u00B5").c_str());
}

TEST_F(StringConversion, TextThatCannotBeWidenedIsAnEmptyTextOfItsOwn) {
  const WString wide = core::to_tstring("a\xE9");
  EXPECT_NE(WString().c_str(), wide.c_str());
  EXPECT_EQ(0u, wide.size());
}

// Language tags, which some C libraries drop: the text around them is all that is left.
TEST_F(StringConversion, CharactersWithoutBytesDoNoHarm) {
  const ScopedLocale locale("C");
  ASSERT_TRUE(locale.ok());
  for (const wchar_t* text : {L"\U000E0000\U000E0000", L"\U000E0041\U000E0041\U000E0041b"}) {
    EXPECT_FALSE(IsNull(core::tstr_to_string(text)));
  }
}

TEST_F(StringConversion, NullStringsReadAsEmpty) {
  const WString wide = core::to_tstring(String());
  EXPECT_NE(WString().c_str(), wide.c_str());
  EXPECT_EQ(0u, wide.size());
  const String narrow = core::to_string(WString());
  EXPECT_FALSE(IsNull(narrow));
  EXPECT_EQ(0u, narrow.size());
}

TEST_F(StringConversion, NullPointerGivesNull) { EXPECT_TRUE(IsNull(core::tstr_to_string(nullptr))); }

}  // namespace
