// The directive grammar: flags, width, precision, modifier and unknown letters.
#include <arpa/inet.h>
#include <limits.h>
#include <string.h>

#include <string>

#include "core/format/strfmt.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/formatted.h"

namespace {

const unsigned char kHash[20] = {0x00, 0x01, 0x02, 0x03, 0xde, 0xad, 0xbe, 0xef, 0x00, 0x00,
                                 0x00, 0x00, 0x7f, 0xff, 0xff, 0xff, 0x0a, 0x0b, 0x0c, 0xff};

in6_addr AddressOf(const char* text) {
  in6_addr address;
  EXPECT_EQ(1, inet_pton(AF_INET6, text, &address)) << text;
  return address;
}

TEST(FormatterGrammar, LiteralTextIsCopied) {
  EXPECT_EQ("", Both(""));
  EXPECT_EQ("a", Both("a"));
  EXPECT_EQ("plain text", Both("plain text"));
}

TEST(FormatterGrammar, LiteralBytesAbove127AreCopied) {
  EXPECT_EQ("\xC3\xA9\xFF", Narrow("\xC3\xA9\xFF"));
  EXPECT_EQ(L"\u4E2D\u00E9", Wide(L"\u4E2D\u00E9"));
}

TEST(FormatterGrammar, PercentSignIgnoresWidthAndPrecision) {
  EXPECT_EQ("%", Both("%%"));
  EXPECT_EQ("a%b", Both("a%-010.3l%b"));
}

TEST(FormatterGrammar, PercentSignStillTakesStarArguments) { EXPECT_EQ("%7", Both("%*.*%%d", 4, 2, 7)); }

TEST(FormatterGrammar, FlagsStandInAnyOrderAndMayRepeat) {
  EXPECT_EQ("+0007", Both("%+05d", 7));
  EXPECT_EQ("+0007", Both("%0+5d", 7));
  EXPECT_EQ("+0007", Both("%0+0+ 5d", 7));
  EXPECT_EQ("+0x0.07 |", Both("%-:+#8.2d|", 7));
}

TEST(FormatterGrammar, WidthComesFromDigitsOrFromAStar) {
  EXPECT_EQ("    7", Both("%5d", 7));
  EXPECT_EQ("    7", Both("%*d", 5, 7));
  EXPECT_EQ("7", Both("%*d", 0, 7));
}

TEST(FormatterGrammar, NegativeStarWidthPadsOnTheRight) {
  EXPECT_EQ("7    |", Both("%*d|", -5, 7));
  EXPECT_EQ("ab   |", Both("%*s|", -5, "ab"));
}

TEST(FormatterGrammar, DigitsAndStarDoNotMix) {
  // The "*" behind a width is an unknown conversion letter.
  EXPECT_EQ("d7", Both("%5*d%d", 7));
}

TEST(FormatterGrammar, PrecisionComesFromDigitsOrFromAStar) {
  EXPECT_EQ("007", Both("%.3d", 7));
  EXPECT_EQ("007", Both("%.*d", 3, 7));
}

TEST(FormatterGrammar, NegativeStarPrecisionIsZero) {
  EXPECT_EQ("|", Both("%.*s|", -1, "abc"));
  EXPECT_EQ("|", Both("%.*s|", INT_MIN, "abc"));
  EXPECT_EQ("7.|", Both("%:.*d|", -5, 7));
}

TEST(FormatterGrammar, PointWithoutDigitsIsNoPrecision) {
  EXPECT_EQ("abc", Both("%.s", "abc"));
  EXPECT_EQ("  abc", Both("%5.s", "abc"));
  EXPECT_EQ("3.500000", Both("%.f", 3.5));
}

TEST(FormatterGrammar, PrecisionSignIsNoPrecision) {
  // "-" ends the precision and is an unknown letter itself.
  EXPECT_EQ("3d7", Both("%.-3d%d", 7));
}

TEST(FormatterGrammar, WidthBeyondIntIsCutToIt) {
  const std::string spaces(kTestLimit, ' ');
  EXPECT_EQ(spaces, Both("%2147483646d", 7));
  EXPECT_EQ(spaces, Both("%2147483647d", 7));
  EXPECT_EQ(spaces, Both("%2147483648d", 7));
  EXPECT_EQ(spaces, Both("%4294967297d", 7));
  EXPECT_EQ(spaces, Both("%18446744073709551617d", 7));
  EXPECT_EQ(spaces, Both("%99999999999999999999999999999999d", 7));
}

TEST(FormatterGrammar, PrecisionBeyondIntIsCutToIt) {
  const std::string zeros(kTestLimit, '0');
  EXPECT_EQ(zeros, Both("%.2147483647d", 7));
  EXPECT_EQ(zeros, Both("%.2147483648d", 7));
  EXPECT_EQ(zeros, Both("%.18446744073709551617d", 7));
  EXPECT_EQ("abc", Both("%.99999999999s", "abc"));
}

TEST(FormatterGrammar, LeastStarWidthIsTheGreatestMagnitude) {
  EXPECT_EQ("7" + std::string(kTestLimit - 1, ' '), Both("%*d", INT_MIN, 7));
  EXPECT_EQ("7" + std::string(kTestLimit - 1, ' '), Both("%*d", INT_MIN + 1, 7));
  EXPECT_EQ("-0x7" + std::string(kTestLimit - 4, ' '), Both("%#*d", INT_MIN, -7));
}

TEST(FormatterGrammar, OnlyCapitalLMeans64Bits) {
  EXPECT_EQ("-1", Both("%d", -1));
  EXPECT_EQ("-1", Both("%ld", -1));
  EXPECT_EQ("4294967295", Both("%lu", -1));
  EXPECT_EQ("18446744073709551615", Both("%Lu", UINT64_MAX));
  EXPECT_EQ("-9223372036854775808", Both("%Ld", INT64_MIN));
  EXPECT_EQ("9223372036854775807", Both("%Li", INT64_MAX));
}

TEST(FormatterGrammar, SmallLReadsOnly32BitsOfAStackSlot) {
  // Behind the registers, where the upper half of a slot may hold anything.
  EXPECT_EQ("1 2 3 4 5 6 4294967295 4294967294", Both("%d %d %d %d %d %d %lu %u", 1, 2, 3, 4, 5, 6, -1, -2));
}

TEST(FormatterGrammar, SecondModifierIsAnUnknownLetter) {
  EXPECT_EQ("d|5", Both("%lld|%d", 5));
  EXPECT_EQ("d|5", Both("%LLd|%d", 5));
  EXPECT_EQ("u|5", Both("%lLu|%d", 5));
}

TEST(FormatterGrammar, ShortIsNoModifier) {
  EXPECT_EQ("00010203deadbeef000000007fffffff0a0b0cffd", Both("%hd", kHash));
}

TEST(FormatterGrammar, UnknownLettersVanishAndTakeNoArgument) {
  for (char letter : std::string("BCDEFGJKMNOPQRTWYejgknqrtvwy!\"$&'(),/;<=>?@[\\]^_`{|}~\x7f\x01\t\n")) {
    SCOPED_TRACE(letter);
    const std::string format = std::string("<%-08.3l") + letter + ">%d";
    EXPECT_EQ("<>7", Both(format.c_str(), 7));
  }
}

TEST(FormatterGrammar, LettersAbove127AreNeverMistakenForOthers) {
  EXPECT_EQ("<>7", Narrow("<%\xC9>%d", 7));  // 'I' with the top bit set
  EXPECT_EQ("<>7", Narrow("<%\xFF>%d", 7));
  EXPECT_EQ("<>7", Narrow("<%\x80>%d", 7));
  EXPECT_EQ(L"<>7", Wide(L"<%\u0149>%d", 7));  // 'I' in the low byte
  EXPECT_EQ(L"<>7", Wide(L"<%\u0173>%d", 7));  // 's' in the low byte
  EXPECT_EQ(L"<>7", Wide(L"<%\u0080>%d", 7));
  EXPECT_EQ(L"<>7", Wide(L"<%\U00010064>%d", 7));  // 'd' in the low half
}

TEST(FormatterGrammar, WideFlagsAndDigitsAreComparedWhole) {
  EXPECT_EQ(L"5d7", Wide(L"%\u012D5d%d", 7));   // '-' in the low byte
  EXPECT_EQ(L"d7", Wide(L"%\u0135d%d", 7));     // '5' in the low byte
  EXPECT_EQ(L"d7", Wide(L"%\u012Ad%d", 7));     // '*' in the low byte
  EXPECT_EQ(L"d7", Wide(L"%\u016Cd%d", 7));     // 'l' in the low byte
  EXPECT_EQ(L"\u01257", Wide(L"\u0125%d", 7));  // '%' in the low byte
}

TEST(FormatterGrammar, FormatMayEndInsideADirective) {
  for (const char* format : {"ab%", "ab%-", "ab%5", "ab%5.", "ab%.3", "ab%l", "ab%-05.3L"}) {
    SCOPED_TRACE(format);
    const ExactBytes narrow(format, strlen(format) + 1);
    EXPECT_EQ("ab", Both(narrow.chars()));
  }
}

TEST(FormatterGrammar, SwitchDeclinesOtherLettersWithoutTakingAnything) {
  Recorder out(100);
  const auto run = [&out](int dummy, ...) {
    core::FormatArgs args;
    va_start(args.list, dummy);
    for (char letter : std::string("sScqlL*.")) {
      EXPECT_FALSE(core::fd_format_switch(out, letter, -1, -1, 0, 0, args)) << letter;
    }
    EXPECT_FALSE(core::fd_format_switch(out, '\0', -1, -1, 0, 0, args));
    EXPECT_TRUE(core::fd_format_switch(out, 'd', 4, -1, 0, core::kFormatZero, args));
    EXPECT_TRUE(core::fd_format_switch(out, 'X', -1, -1, 'L', 0, args));
    va_end(args.list);
  };
  run(0, -7, uint64_t{0xABCDEF0123});
  EXPECT_EQ("-007ABCDEF0123", out.Bytes());
}

TEST(FormatterGrammar, CallersArgumentListIsNotMoved) {
  const auto twice = [](const char* format, ...) {
    va_list args;
    va_start(args, format);
    Recorder out(100);
    core::fd_formatter(out, format, args);
    core::fd_formatter(out, format, args);
    va_end(args);
    return out.Bytes();
  };
  EXPECT_EQ("1 2;1 2;", twice("%d %d;", 1, 2));
}

TEST(FormatterGrammar, EachDirectiveTakesExactlyItsArgument) {
  EXPECT_EQ("1 2 x abc 2.500000 0.0.0.3 ::1 de 4 B 5 0000000000000006 7",
            Both("%d %Lu %c %s %f %I %V %.2m %Z %Lx %.16Lx %d", 1, uint64_t{2}, 'x', "abc", 2.5, 3U, AddressOf("::1"),
                 "def", uint64_t{4}, uint64_t{5}, uint64_t{6}, 7));
}

TEST(FormatterGrammar, ArgumentsBehindTheRegistersAreFoundToo) {
  EXPECT_EQ("1 2 3 4 5 6 7 8 1.500000 ::2 9 ::3 x", Both("%d %d %d %d %d %d %d %d %f %V %d %V %c", 1, 2, 3, 4, 5, 6, 7,
                                                         8, 1.5, AddressOf("::2"), 9, AddressOf("::3"), 'x'));
}

}  // namespace
