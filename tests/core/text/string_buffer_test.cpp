// Growing text.
#include <gtest/gtest.h>

#include <string>

#include "core/text/string.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

using core::StringBuffer;
using core::StringBufferT;
using std::string;
using std::string_view;
using std::wstring;

constexpr size_t kAddFmtLimit = 8191;

TEST(StringBuffer, AppendsCharactersRunsAndStrings) {
  StringBuffer buffer;
  buffer.Add('a');
  buffer.Add(Narrow("bc").get());
  const ExactBytes run(string_view("d\0e", 3));
  buffer.Add(run.chars(), run.size());
  EXPECT_EQ(string_view("abcd\0e", 6), string_view(buffer.begin(), buffer.size()));
  StringBufferT wide;
  wide.Add(L'a');
  wide.Add(Wide(L"bc").get());
  wide.Add(L"d\0e", 3);
  EXPECT_EQ(std::wstring_view(L"abcd\0e", 6), std::wstring_view(wide.begin(), wide.size()));
}

TEST(StringBuffer, AppendingNothingChangesNothing) {
  StringBuffer buffer;
  buffer.Add("");
  buffer.Add(nullptr, 0);
  EXPECT_EQ(0, buffer.count);
  StringBufferT wide;
  wide.Add(L"");
  wide.Add(nullptr, 0);
  EXPECT_EQ(0, wide.count);
}

TEST(StringBuffer, TerminatorOfAsStringIsNotCounted) {
  StringBuffer buffer;
  StringBufferT wide;
  string want;
  wstring wide_want;
  for (int i = 0; i < 40; i++) {
    EXPECT_EQ(want, buffer.AsString());
    EXPECT_EQ(want.size(), buffer.size());
    EXPECT_EQ(wide_want, wide.AsString());
    EXPECT_EQ(wide_want.size(), wide.size());
    buffer.Add('x');
    wide.Add(L'x');
    want += 'x';
    wide_want += L'x';
  }
}

TEST(StringBuffer, StealingLeavesItEmptyAndUsable) {
  const long live = test_host::LiveBlocks();
  {
    StringBuffer buffer;
    buffer.Add("abc");
    EXPECT_EQ("abc", Take(buffer.StealString()));
    EXPECT_EQ(0, buffer.count);
    EXPECT_EQ(nullptr, buffer.data);
    EXPECT_EQ("", Take(buffer.StealString()));
    buffer.Add("de");
    EXPECT_STREQ("de", buffer.AsString());
    StringBufferT wide;
    wide.Add(L"abc");
    EXPECT_EQ(L"abc", Take(wide.StealString()));
    EXPECT_EQ(0, wide.count);
    EXPECT_EQ(L"", Take(wide.StealString()));
    wide.Add(L"de");
    EXPECT_STREQ(L"de", wide.AsString());
  }
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST(StringBuffer, FreedByItsOwnerItIsEmptyAndUsable) {
  const long live = test_host::LiveBlocks();
  {
    StringBuffer buffer;
    buffer.Add("abc");
    buffer.Free();
    EXPECT_STREQ("", buffer.AsString());
    buffer.Free();
    StringBufferT wide;
    wide.Add(L"abc");
    wide.Free();
    EXPECT_STREQ(L"", wide.AsString());
    wide.Free();
  }
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST(StringBuffer, AppendsFormattedText) {
  const long live = test_host::LiveBlocks();
  {
    StringBuffer buffer;
    buffer.Add("<");
    buffer.AddFmt("%s-%d", "abc", 42);
    buffer.AddFmt("");
    buffer.Add(">");
    EXPECT_STREQ("<abc-42>", buffer.AsString());
    StringBufferT wide;
    wide.Add(L"<");
    wide.AddFmt(L"%d-%d", 7, 42);
    wide.AddFmt(L"");
    wide.Add(L">");
    EXPECT_STREQ(L"<7-42>", wide.AsString());
  }
  EXPECT_EQ(live, test_host::LiveBlocks());
}

TEST(StringBuffer, FormattedNarrowTextIsCut) {
  for (size_t len : {kAddFmtLimit - 1, kAddFmtLimit, kAddFmtLimit + 1, 3 * kAddFmtLimit}) {
    StringBuffer buffer;
    buffer.Add('<');
    buffer.AddFmt("%s", string(len, 'x').c_str());
    buffer.Add('>');
    EXPECT_EQ("<" + string(std::min(len, kAddFmtLimit), 'x') + ">", buffer.AsString()) << len;
  }
}

TEST(StringBuffer, FormattedWideTextOfTheSameLengthIsNotCut) {
  const wstring format(3 * kAddFmtLimit, L'x');
  StringBufferT wide;
  wide.AddFmt(format.c_str());
  EXPECT_EQ(format, wide.AsString());
}

}  // namespace
