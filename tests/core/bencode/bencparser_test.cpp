// The tokenizer and the element finder: every token, every way to be malformed, and nothing read or
// skipped beyond the end of the input.
#include "core/bencode/bencparser.h"

#include <gtest/gtest.h>
#include <stdint.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/page_end.h"

namespace {

using core::BencParser;
using core::BencParserElement;
using core::FixedInput;
using core::IBencParser;

using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr size_t kNull = SIZE_MAX;           // a text that is a null pointer
constexpr size_t kUntouched = SIZE_MAX - 1;  // a text that the call left alone

const unsigned char kSentinel = 0;

uintptr_t Address(const void* p) { return reinterpret_cast<uintptr_t>(p); }

size_t TextOffset(const unsigned char* text, const unsigned char* begin) {
  if (text == &kSentinel) {
    return kUntouched;
  }
  return text ? static_cast<size_t>(text - begin) : kNull;
}

struct TokenCase {
  const char* name;
  std::string_view input;
  IBencParser::PARSE_T kind;
  size_t text;      // offset
  size_t len;       // of the text
  size_t position;  // offset afterwards
};

const TokenCase kTokens[] = {
    {"end of input", "", IBencParser::PARSE_EOF, kUntouched, 0, 0},
    {"list", "l", IBencParser::PARSE_LIST, 1, 0, 1},
    {"list before more", "ll", IBencParser::PARSE_LIST, 1, 0, 1},
    {"dictionary", "d", IBencParser::PARSE_DICT, 1, 0, 1},
    {"dictionary before more", "de", IBencParser::PARSE_DICT, 1, 0, 1},
    {"end", "e", IBencParser::PARSE_END, 1, 0, 1},
    {"end before more", "ee", IBencParser::PARSE_END, 1, 0, 1},

    {"integer", "i12e", IBencParser::PARSE_INT, 1, 2, 4},
    {"integer without text", "ie", IBencParser::PARSE_INT, 1, 0, 2},
    {"integer with a sign", "i-5e", IBencParser::PARSE_INT, 1, 2, 4},
    {"integer ends at the first e", "i1ee", IBencParser::PARSE_INT, 1, 1, 3},
    {"integer text is not looked at", "ild?:e", IBencParser::PARSE_INT, 1, 4, 6},
    {"integer text may hold a zero byte", "i1\0002e"sv, IBencParser::PARSE_INT, 1, 3, 5},
    {"integer without an end", "i12", IBencParser::PARSE_INT, 1, 2, 3},
    {"integer that is only its letter", "i", IBencParser::PARSE_INT, 1, 0, 1},

    {"string", "3:abc", IBencParser::PARSE_STRING, 2, 3, 5},
    {"string before more", "3:abcd", IBencParser::PARSE_STRING, 2, 3, 5},
    {"empty string", "0:", IBencParser::PARSE_STRING, 2, 0, 2},
    {"empty string before more", "0:a", IBencParser::PARSE_STRING, 2, 0, 2},
    {"string of two digits", "10:0123456789", IBencParser::PARSE_STRING, 3, 10, 13},
    {"leading zero", "03:abc", IBencParser::PARSE_STRING, 3, 3, 5 + 1},
    {"many leading zeros", "00000000000000000000000000000001:a", IBencParser::PARSE_STRING, 33, 1, 34},
    {"several zeros", "000:", IBencParser::PARSE_STRING, 4, 0, 4},
    {"string of raw bytes", "4:\0\xff:e"sv, IBencParser::PARSE_STRING, 2, 4, 6},

    {"string one byte too long", "4:abc", IBencParser::PARSE_ERROR, kNull, 0, 6},
    {"string without its bytes", "1:", IBencParser::PARSE_ERROR, kNull, 0, 3},
    {"string far too long", "4294967296:ab", IBencParser::PARSE_ERROR, kNull, 0, 4294967307},
    {"a letter in the length", "12x", IBencParser::PARSE_ERROR, kNull, 0, 0},
    {"a sign in the length", "1-1:a", IBencParser::PARSE_ERROR, kNull, 0, 0},
    {"an e in the length", "1e", IBencParser::PARSE_ERROR, kNull, 0, 0},
    {"one digit at the end", "1", IBencParser::PARSE_ERROR, kNull, 0, 0},
    {"digits up to the end", "123", IBencParser::PARSE_ERROR, kNull, 0, 0},

    {"length 2^64 is 0", "18446744073709551616:a", IBencParser::PARSE_STRING, 21, 0, 21},
    {"length 2^64 + 1 is 1", "18446744073709551617:a", IBencParser::PARSE_STRING, 21, 1, 22},
    {"length 2^65 + 3 is 3", "36893488147419103235:abc", IBencParser::PARSE_STRING, 21, 3, 24},
    {"length 10 * 2^64 is 0", "184467440737095516160:", IBencParser::PARSE_STRING, 22, 0, 22},
    {"length 2^64 + 2 does not fit", "18446744073709551618:a", IBencParser::PARSE_ERROR, kNull, 0, 23},

    {"unknown letter", "x", IBencParser::PARSE_ERROR, kNull, 0, 1},
    {"unknown byte before more", "?3:abc", IBencParser::PARSE_ERROR, kNull, 0, 1},
    {"colon without a length", ":abc", IBencParser::PARSE_ERROR, kNull, 0, 1},
    {"sign without an integer", "-1", IBencParser::PARSE_ERROR, kNull, 0, 1},
    {"zero byte", "\0"sv, IBencParser::PARSE_ERROR, kNull, 0, 1},
    {"blank", " i1e", IBencParser::PARSE_ERROR, kNull, 0, 1},
};

TEST(BencParser, ReadsOneToken) {
  for (const TokenCase& c : kTokens) {
    SCOPED_TRACE(c.name);
    ExactBytes in(c.input);
    BencParser parser(in.begin(), in.end());
    IBencParser& tokens = parser;
    const unsigned char* text = &kSentinel;
    size_t len = 99;
    EXPECT_EQ(c.kind, tokens.ParseNext(&text, &len));
    EXPECT_EQ(c.text, TextOffset(text, in.begin()));
    EXPECT_EQ(c.len, len);
    EXPECT_EQ(c.position, Address(parser.position()) - Address(in.begin()));
  }
}

TEST(BencParser, ReadsTheSameTokenWithoutTheVirtualCall) {
  for (const TokenCase& c : kTokens) {
    SCOPED_TRACE(c.name);
    ExactBytes in(c.input);
    BencParser parser(in.begin(), in.end());
    const unsigned char* text = &kSentinel;
    size_t len = 99;
    EXPECT_EQ(c.kind, parser.Next(&text, &len));
    EXPECT_EQ(c.text, TextOffset(text, in.begin()));
    EXPECT_EQ(c.len, len);
    EXPECT_EQ(c.position, Address(parser.position()) - Address(in.begin()));
  }
}

TEST(BencParser, TheElementFinderReadsTheSameTokens) {
  for (const TokenCase& c : kTokens) {
    SCOPED_TRACE(c.name);
    ExactBytes in(c.input);
    BencParserElement parser(in.begin(), in.end(), "a");
    const unsigned char* text = &kSentinel;
    size_t len = 99;
    EXPECT_EQ(c.kind, parser.ParseNext(&text, &len));
    EXPECT_EQ(c.text, TextOffset(text, in.begin()));
    EXPECT_EQ(c.len, len);
    EXPECT_EQ(c.position, Address(parser.position()) - Address(in.begin()));
  }
}

IBencParser::PARSE_T KindOfLoneByte(int byte) {
  switch (byte) {
    case 'd':
      return IBencParser::PARSE_DICT;
    case 'l':
      return IBencParser::PARSE_LIST;
    case 'e':
      return IBencParser::PARSE_END;
    case 'i':
      return IBencParser::PARSE_INT;
    default:
      return IBencParser::PARSE_ERROR;
  }
}

TEST(BencParser, KnowsEveryFirstByte) {
  for (int byte = 0; byte < 256; ++byte) {
    SCOPED_TRACE(byte);
    const char value = static_cast<char>(byte);
    ExactBytes in(&value, 1);
    BencParser parser(in.begin(), in.end());
    const unsigned char* text = nullptr;
    size_t len = 0;
    EXPECT_EQ(KindOfLoneByte(byte), parser.ParseNext(&text, &len));
  }
}

TEST(BencParser, TakesTheTenDigitsAndNothingAroundThemForALength) {
  for (int byte = 0; byte < 256; ++byte) {
    SCOPED_TRACE(byte);
    ExactBytes in(std::string(1, static_cast<char>(byte)) + ":123456789");
    BencParser parser(in.begin(), in.end());
    const unsigned char* text = nullptr;
    size_t len = 0;
    const bool is_string = parser.ParseNext(&text, &len) == IBencParser::PARSE_STRING;
    EXPECT_EQ(byte >= '0' && byte <= '9', is_string);
    if (is_string) {
      EXPECT_EQ(static_cast<size_t>(byte - '0'), len);
    }
  }
}

TEST(BencParser, StaysAtTheEnd) {
  ExactBytes in("e");
  BencParser parser(in.begin(), in.end());
  const unsigned char* text = nullptr;
  size_t len = 0;
  EXPECT_EQ(IBencParser::PARSE_END, parser.ParseNext(&text, &len));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(IBencParser::PARSE_EOF, parser.ParseNext(&text, &len));
    EXPECT_EQ(in.end(), parser.position());
  }
}

TEST(BencParser, NoticesAMissingIntegerEndWithTheNextToken) {
  ExactBytes in("i12");
  BencParser parser(in.begin(), in.end());
  const unsigned char* text = nullptr;
  size_t len = 0;
  EXPECT_EQ(IBencParser::PARSE_INT, parser.ParseNext(&text, &len));
  EXPECT_EQ(IBencParser::PARSE_EOF, parser.ParseNext(&text, &len));
}

TEST(BencParser, AnswersErrorBeyondTheEnd) {
  ExactBytes in("9:abc");
  BencParser parser(in.begin(), in.end());
  const unsigned char* text = nullptr;
  size_t len = 0;
  for (int i = 0; i < 3; ++i) {
    len = 99;
    EXPECT_EQ(IBencParser::PARSE_ERROR, parser.ParseNext(&text, &len));
    EXPECT_EQ(0u, len);
    EXPECT_EQ(11u, Address(parser.position()) - Address(in.begin()));
  }
}

TEST(BencParser, AnswersErrorAgainAtAMalformedLength) {
  ExactBytes in("12x");
  BencParser parser(in.begin(), in.end());
  const unsigned char* text = nullptr;
  size_t len = 0;
  for (int i = 0; i < 3; ++i) {
    text = &kSentinel;
    EXPECT_EQ(IBencParser::PARSE_ERROR, parser.ParseNext(&text, &len));
    EXPECT_EQ(nullptr, text);
    EXPECT_EQ(in.begin(), parser.position());
  }
}

// A tokenizer whose input arrives in pieces.
class FedParser : public BencParser {
 public:
  explicit FedParser(const unsigned char* begin) : BencParser(begin, begin) {}
  void Feed(size_t bytes) { end_ += bytes; }
};

TEST(BencParser, ReadsACutLengthAgainWhenADerivedOneIsFedTheRest) {
  ExactBytes in("3:abc");
  FedParser parser(in.begin());
  const unsigned char* text = nullptr;
  size_t len = 0;
  parser.Feed(1);
  EXPECT_EQ(IBencParser::PARSE_ERROR, parser.ParseNext(&text, &len));
  parser.Feed(4);
  EXPECT_EQ(IBencParser::PARSE_STRING, parser.ParseNext(&text, &len));
  EXPECT_EQ(in.begin() + 2, text);
  EXPECT_EQ(3u, len);
}

TEST(BencParser, ReadsATokenSequence) {
  ExactBytes in("d3:keyl0:i-7ee?e");
  const std::pair<IBencParser::PARSE_T, std::string_view> expected[] = {
      {IBencParser::PARSE_DICT, ""},   {IBencParser::PARSE_STRING, "key"}, {IBencParser::PARSE_LIST, ""},
      {IBencParser::PARSE_STRING, ""}, {IBencParser::PARSE_INT, "-7"},     {IBencParser::PARSE_END, ""},
      {IBencParser::PARSE_ERROR, ""},  {IBencParser::PARSE_END, ""},       {IBencParser::PARSE_EOF, ""},
  };
  BencParser parser(in.begin(), in.end());
  for (const auto& [kind, content] : expected) {
    const unsigned char* text = in.begin();
    size_t len = 0;
    EXPECT_EQ(kind, parser.ParseNext(&text, &len));
    EXPECT_EQ(content, std::string_view(reinterpret_cast<const char*>(text), len));
  }
}

// Input of 20 digits, a colon and one byte, whose length moves the position `beyond` the top of the
// address space (or to it, for 0).
ExactBytes LengthPastTheTop(uint64_t beyond) {
  ExactBytes in("00000000000000000000:a");
  const uint64_t length = UINTPTR_MAX - Address(in.begin() + 21) + beyond;
  const std::string digits = std::to_string(length);
  std::copy(digits.begin(), digits.end(), in.chars() + 20 - digits.size());
  return in;
}

TEST(BencParser, KeepsThePositionExactUpToTheTopAddressAndStopsThere) {
  const std::pair<uint64_t, uintptr_t> cases[] = {
      {UINT64_MAX, UINTPTR_MAX - 1}, {0, UINTPTR_MAX}, {1, UINTPTR_MAX}, {2, UINTPTR_MAX}};
  for (const auto& [beyond, position] : cases) {
    SCOPED_TRACE(beyond);
    ExactBytes in = LengthPastTheTop(beyond);
    BencParser parser(in.begin(), in.end());
    const unsigned char* text = &kSentinel;
    size_t len = 99;
    EXPECT_EQ(IBencParser::PARSE_ERROR, parser.ParseNext(&text, &len));
    EXPECT_EQ(position, Address(parser.position()));
    EXPECT_EQ(IBencParser::PARSE_ERROR, parser.ParseNext(&text, &len));
  }
}

TEST(BencParser, StopsAtTheTopAddressForTheLargestLength) {
  ExactBytes in("18446744073709551615:a");
  BencParser parser(in.begin(), in.end());
  const unsigned char* text = nullptr;
  size_t len = 0;
  EXPECT_EQ(IBencParser::PARSE_ERROR, parser.ParseNext(&text, &len));
  EXPECT_EQ(UINTPTR_MAX, Address(parser.position()));
}

TEST(BencParserParseString, ReturnsTheContent) {
  ExactBytes in("2:abX");
  BencParser parser(in.begin(), in.end());
  size_t len = 99;
  EXPECT_EQ(in.begin() + 2, parser.ParseString(&len));
  EXPECT_EQ(2u, len);
  EXPECT_EQ(in.begin() + 4, parser.position());
}

TEST(BencParserParseString, TakesNoDigitsForLengthZero) {
  ExactBytes in(":ab");
  BencParser parser(in.begin(), in.end());
  size_t len = 99;
  EXPECT_EQ(in.begin() + 1, parser.ParseString(&len));
  EXPECT_EQ(0u, len);
  EXPECT_EQ(in.begin() + 1, parser.position());
}

TEST(BencParserParseString, GivesNullAtTheEnd) {
  ExactBytes in("");
  BencParser parser(in.begin(), in.end());
  size_t len = 0;
  EXPECT_EQ(nullptr, parser.ParseString(&len));
  EXPECT_EQ(in.end(), parser.position());
}

TEST(BencParserParseString, StoresTheLengthOfAnOverrunningString) {
  ExactBytes in("7:ab");
  BencParser parser(in.begin(), in.end());
  size_t len = 99;
  EXPECT_EQ(nullptr, parser.ParseString(&len));
  EXPECT_EQ(7u, len);
  EXPECT_EQ(9u, Address(parser.position()) - Address(in.begin()));
}

TEST(BencParserParseString, StaysAtTheFirstDigitOfAMalformedLength) {
  for (std::string_view input : {"12x"sv, "12"sv, "1"sv, "1 :a"sv, "x"sv}) {
    SCOPED_TRACE(input);
    ExactBytes in(input);
    BencParser parser(in.begin(), in.end());
    size_t len = 0;
    EXPECT_EQ(nullptr, parser.ParseString(&len));
    EXPECT_EQ(in.begin(), parser.position());
  }
}

void ParseStringBeyondTheEnd() {
  ExactBytes in("1:");
  BencParser parser(in.begin(), in.end());
  size_t len = 0;
  parser.ParseString(&len);
  parser.ParseString(&len);
}

TEST(BencParserDeathTest, ParseStringBeyondTheEndIsFatal) {
  EXPECT_FATAL(ParseStringBeyondTheEnd(), "core/bencparser", 1001);
}

TEST(BencParserParseNum, ReadsUpToAnEOrTheEnd) {
  struct Case {
    std::string_view input;
    size_t len;
    size_t position;
  };
  const Case cases[] = {{"12e", 2, 3}, {"12ee", 2, 3}, {"12", 2, 2}, {"e", 0, 1}, {"", 0, 0}, {"-x1e", 3, 4}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.input);
    ExactBytes in(c.input);
    BencParser parser(in.begin(), in.end());
    size_t len = 99;
    EXPECT_EQ(in.begin(), parser.ParseNum(&len));
    EXPECT_EQ(c.len, len);
    EXPECT_EQ(in.begin() + c.position, parser.position());
  }
}

// Takes tokens until the end or until there has been no progress for a while.
void Drain(IBencParser& parser, size_t tokens) {
  const unsigned char* text = nullptr;
  size_t len = 0;
  while (tokens-- > 0 && parser.ParseNext(&text, &len) != IBencParser::PARSE_EOF) {
  }
}

TEST(BencParser, ReadsNothingPastTheEndOfAnyPrefix) {
  const std::string_view whole = "d1:ai-12e4:infod3:abcl0:12:abcdefghijkleei007ei?x10:x18446744073709551617:ae";
  for (size_t len = 0; len <= whole.size(); ++len) {
    PageEndBytes in(whole.substr(0, len));
    BencParser plain(in.begin(), in.end());
    Drain(plain, whole.size());
    BencParserElement element(in.begin(), in.end(), "info");
    Drain(element, whole.size());
  }
}

// What a tokenizer answers, its text as an offset.
struct Answer {
  IBencParser::PARSE_T kind;
  size_t text;
  size_t len;
  uintptr_t position;
  bool operator==(const Answer&) const = default;
};

template <class Parser>
Answer Ask(Parser& parser, const unsigned char* begin) {
  IBencParser& tokens = parser;
  const unsigned char* text = &kSentinel;
  size_t len = 99;
  const IBencParser::PARSE_T kind = tokens.ParseNext(&text, &len);
  return {kind, TextOffset(text, begin), len, Address(parser.position())};
}

TEST(FixedInput, AnswersAsItsTokenizerDoesHoweverOftenItIsAsked) {
  for (const TokenCase& c : kTokens) {
    SCOPED_TRACE(c.name);
    ExactBytes in(c.input);
    BencParser plain(in.begin(), in.end());
    FixedInput<BencParser> fixed(in.begin(), in.end());
    FixedInput<BencParserElement> fixed_element(in.begin(), in.end(), "a");
    for (int i = 0; i < 4; ++i) {
      const Answer answer = Ask(plain, in.begin());
      EXPECT_EQ(answer, Ask(fixed, in.begin()));
      EXPECT_EQ(answer, Ask(fixed_element, in.begin()));
    }
  }
}

TEST(FixedInput, AnswersAtOnceWhenAskedAgainForAMalformedLength) {
  ExactBytes in(std::string(1'000'000, '1'));
  FixedInput<BencParser> parser(in.begin(), in.end());
  const unsigned char* text = nullptr;
  size_t len = 0;
  const clock_t start = clock();
  for (int i = 0; i < 100'000; ++i) {
    ASSERT_EQ(IBencParser::PARSE_ERROR, parser.ParseNext(&text, &len));
  }
  EXPECT_LT(clock() - start, 2 * CLOCKS_PER_SEC);
}

struct ElementCase {
  const char* name;
  std::string_view input;
  const char* element;
  size_t start;  // offsets, or kNull
  size_t end;
};

const ElementCase kElements[] = {
    {"dictionary from d to e", "d4:infod1:ai1eee", "info", 7, 15},
    {"string without its length", "d4:info3:abce", "info", 9, 12},
    {"empty string", "d4:info0:e", "info", 9, 9},
    {"empty dictionary", "d4:infodee", "info", 7, 9},
    {"no such key", "d4:nope3:abce", "info", kNull, kNull},
    {"no string before the dictionary", "d", "info", kNull, kNull},
    {"a longer key begins with the name", "d5:infoX3:abce", "info", 10, 13},
    {"a shorter key does not", "d3:inf3:abce", "info", kNull, kNull},
    {"the same letters in another case", "d4:Info3:abce", "info", kNull, kNull},
    {"a name that goes on in the bytes after the string", "l3:info4:abcde", "info", 9, 13},
    {"a name that ends where the input does", "l1:a0:", "a0:", 6, 6},
    {"a name that would end past the input", "l1:a0:", "a0:?", kNull, kNull},
    {"any string token counts, not only keys", "d1:a4:info1:b1:xe", "info", 12, 13},
    {"the string before the last does not count", "d4:infoi1e1:x1:y1:z1:we", "info", 12, 13},
    {"an integer neither matches nor forgets the string", "d4:infoi1e1:x1:ye", "info", 12, 13},
    {"an unknown byte neither matches nor forgets the string", "l4:info?1:xe", "info", 10, 11},
    {"an end does not forget the string", "d4:infole1:k1:ve", "info", 11, 12},
    {"a list is not captured, the first string in it is", "d4:infol1:aee", "info", 10, 11},
    {"a list is not captured, the first dictionary in it is", "d4:infoldee", "info", 8, 10},
    {"dictionary in two lists", "d4:infollde1:beee", "info", 9, 11},
    {"the first of two strings wins", "d4:info1:a5:infoZ1:be", "info", 9, 10},
    {"the first of two dictionaries wins", "d4:infode5:infoZdee", "info", 7, 9},
    {"the first element wins over one inside it", "d4:infod4:info1:aee", "info", 7, 18},
    {"element in a nested dictionary", "d1:xd4:infodeee", "info", 11, 13},
    {"containers inside the element", "d4:infod1:ad1:bleeee", "info", 7, 19},
    {"element in a list", "l4:infod1:ai1eee", "info", 7, 15},
    {"dictionary without its end", "d4:infod1:ai1e", "info", 7, kNull},
    {"dictionary at depth 0 has no end", "4:infode", "info", 6, kNull},
    {"dictionary at a negative depth", "e4:infode", "info", 7, 9},
    {"an empty name matches the first string", "d1:a1:be", "", 6, 7},
    {"an empty name matches the first dictionary after a string", "d1:adee", "", 4, 6},
    {"a list that a bad byte closes leaves the depth too high", "d4:infod1:al?ee", "info", 7, 15},
};

TEST(BencParserElement, FindsTheElement) {
  for (const ElementCase& c : kElements) {
    SCOPED_TRACE(c.name);
    PageEndBytes in(c.input);
    BencParserElement parser(in.begin(), in.end(), c.element);
    Drain(parser, 100);
    unsigned char* start = in.begin();
    unsigned char* end = in.begin();
    parser.GetElement(&start, &end);
    EXPECT_EQ(c.start, start ? static_cast<size_t>(start - in.begin()) : kNull);
    EXPECT_EQ(c.end, end ? static_cast<size_t>(end - in.begin()) : kNull);
  }
}

TEST(BencParserElement, HasNoElementBeforeTheFirstToken) {
  ExactBytes in("d4:infodee");
  BencParserElement parser(in.begin(), in.end(), "info");
  unsigned char* start = in.data();
  unsigned char* end = in.data();
  parser.GetElement(&start, &end);
  EXPECT_EQ(nullptr, start);
  EXPECT_EQ(nullptr, end);
}

// What strtoll makes of the same text, in a copy that ends where the text does.
int64_t Strtoll(std::string_view text) { return strtoll(std::string(text).c_str(), nullptr, 10); }

TEST(ParseInteger, ReadsWhatStrtollReads) {
  const std::string_view cases[] = {"",
                                    "0",
                                    "-0",
                                    "+0",
                                    "7",
                                    "-7",
                                    "+7",
                                    "007",
                                    "-007",
                                    "12x",
                                    "x12",
                                    "-",
                                    "+",
                                    "--1",
                                    "-+1",
                                    "+-1",
                                    "- 1",
                                    " 5",
                                    "  -5",
                                    "\t\n\v\f\r5",
                                    "\b5",
                                    "5 5",
                                    "1.5",
                                    "0x10",
                                    "1e5",
                                    "\0001"sv,
                                    "1\0002"sv,
                                    "\xa0"
                                    "5",
                                    "2147483647",
                                    "2147483648",
                                    "4294967297",
                                    "9223372036854775806",
                                    "9223372036854775807",
                                    "9223372036854775808",
                                    "9223372036854775809",
                                    "-9223372036854775807",
                                    "-9223372036854775808",
                                    "-9223372036854775809",
                                    "9223372036854775810",
                                    "9223372036854775799",
                                    "9300000000000000000",
                                    "18446744073709551615",
                                    "18446744073709551616",
                                    "18446744073709551617",
                                    "-18446744073709551617",
                                    "99999999999999999999999",
                                    "-99999999999999999999999",
                                    "00000000000000000000000000000000000000000000000009",
                                    "9223372036854775807x",
                                    "92233720368547758070",
                                    "92233720368547758079",
                                    "-92233720368547758080",
                                    "340282366920938463463374607431768211457"};
  for (std::string_view text : cases) {
    SCOPED_TRACE(text);
    ExactBytes in(text);
    EXPECT_EQ(Strtoll(text), core::ParseInteger(in.begin(), in.end()));
  }
}

TEST(ParseInteger, ReadsWhatStrtollReadsOfAllShortTexts) {
  const std::string_view letters("0 9-+\t\v\r\0e/:"sv);
  std::vector<std::string> texts = {""};
  for (size_t i = 0; i < texts.size(); ++i) {
    const std::string text = texts[i];
    ExactBytes in(text);
    ASSERT_EQ(Strtoll(text), core::ParseInteger(in.begin(), in.end())) << testing::PrintToString(text);
    for (size_t k = 0; text.size() < 4 && k < letters.size(); ++k) {
      texts.push_back(text + letters[k]);
    }
  }
}

TEST(ParseInteger, EndsWhereItsTextEnds) {
  const std::string digits = "1234567890123456789012345";
  for (size_t len = 0; len <= digits.size(); ++len) {
    SCOPED_TRACE(len);
    ExactBytes in(digits);
    EXPECT_EQ(Strtoll(std::string_view(digits).substr(0, len)), core::ParseInteger(in.begin(), in.begin() + len));
  }
}

TEST(ParseInteger, ReadsNothingPastTheEnd) {
  for (std::string_view text :
       {""sv, " "sv, "-"sv, "+"sv, "0"sv, "12"sv, "-12"sv, " \t-12"sv, "99999999999999999999"sv}) {
    SCOPED_TRACE(text);
    PageEndBytes in(text);
    EXPECT_EQ(Strtoll(text), core::ParseInteger(in.begin(), in.end()));
  }
}

}  // namespace
