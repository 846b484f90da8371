#include "QuickLookPlugin/code_page.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/reader/decoded.h"
#include "tests/reader/encoded.h"
#include "tests/support/scoped_locale.h"

namespace {

using encoded::Bytes;
using encoded::Dict;
using encoded::Int;
using encoded::List;
using encoded::Str;
using reader::CodePageOfName;

TEST(CodePageOfName, KnowsTheTable) {
  struct Case {
    const char* name;
    int code_page;
  };
  const Case kCases[] = {
      {"utf-8", 1},     {"utf8", 1},     {"ansi", 0},        {"big5", 950},     {"korean", 949},    {"uhc", 949},
      {"chinese", 936}, {"gb2312", 936}, {"gbk", 936},       {"japanese", 932}, {"shift-jis", 932}, {"UTF-8", 1},
      {"Utf8", 1},      {"BIG5", 950},   {"Shift-JIS", 932}, {"latin1", 0},     {"utf-16", 0},      {"utf-8 ", 0},
      {"utf-", 0},      {" utf-8", 0},   {"big", 0},         {"", 0},           {"shift_jis", 0},   {"1251", 0},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.code_page, CodePageOfName(c.name));
  }
}

TEST(CodePageOfName, ReadsTheNumberBehindAPrefix) {
  struct Case {
    const char* name;
    int code_page;
  };
  const Case kCases[] = {
      {"Windows-1251", 1251},
      {"windows-1251", 1251},
      {"WINDOWS-874x", 874},
      {"Windows-", 0},
      {"Windows-x", 0},
      {"Windows", 0},
      {"Windows1251", 0},
      {"CP936", 936},
      {"cp936", 936},
      {"cP0949", 949},
      {"cp", 0},
      {"cpx", 0},
      {"c", 0},
      {"cp-5", -5},
      {"cp +7", 7},
      {"cp-", 0},
      {"cp1", 1},
      {"cp2147483647", 2147483647},
      {"cp2147483648", -2147483647 - 1},
      {"cp4294967297", 1},
      {"cp9223372036854775807", -1},
      {"cp9223372036854775808", -1},  // saturates
      {"cp-9223372036854775808", 0},
      {"cp-99999999999999999999", 0},  // saturates
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.code_page, CodePageOfName(c.name));
  }
}

TEST(CodePageOfName, IgnoresTheLocale) {
  const TurkishLocale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no Turkish locale here";
  }
  EXPECT_EQ(932, CodePageOfName("SHIFT-JIS"));
  EXPECT_EQ(1254, CodePageOfName("WINDOWS-1254"));
}

// The code page of a torrent with this encoded value under "encoding".
int CodePageOf(const std::string& encoding) {
  Decoded holder(List({Dict({{"encoding", encoding}})}));
  return reader::ReadCodePage(*holder.dict());
}

TEST(ReadCodePage, PrefersANumber) {
  EXPECT_EQ(932, CodePageOf(Int(932)));
  EXPECT_EQ(1, CodePageOf(Int(1)));
  EXPECT_EQ(-3, CodePageOf(Int(-3)));
  EXPECT_EQ(0, CodePageOf(Int(0)));
}

TEST(ReadCodePage, TakesTheLowHalfOfALongNumber) {
  EXPECT_EQ(0, CodePageOf(Int(4294967296)));
  EXPECT_EQ(1, CodePageOf(Int(4294967297)));
}

TEST(ReadCodePage, ReadsAName) {
  EXPECT_EQ(1251, CodePageOf(Str("Windows-1251")));
  EXPECT_EQ(936, CodePageOf(Str("cp936")));
  EXPECT_EQ(1, CodePageOf(Str("UTF-8")));
  EXPECT_EQ(0, CodePageOf(Str("latin1")));
  EXPECT_EQ(0, CodePageOf(Str("")));
}

TEST(ReadCodePage, EndsANameAtAZeroByte) {
  EXPECT_EQ(1, CodePageOf(Str(Bytes("utf-8\0x"))));
  EXPECT_EQ(12, CodePageOf(Str(Bytes("cp12\0"
                                     "34"))));
  EXPECT_EQ(0, CodePageOf(Str(Bytes("\0utf-8"))));
}

TEST(ReadCodePage, IgnoresOtherKinds) {
  EXPECT_EQ(0, CodePageOf("le"));
  EXPECT_EQ(0, CodePageOf("d3:utfi8ee"));
}

TEST(ReadCodePage, IsZeroWithoutAnEntry) {
  Decoded holder("ldee");
  EXPECT_EQ(0, reader::ReadCodePage(*holder.dict()));
}

}  // namespace
