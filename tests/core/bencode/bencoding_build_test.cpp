// Building trees: the entry points, what they accept and leave behind, and the steps below them with
// token sources and ways of storing of the tests' own.
#include <gtest/gtest.h>
#include <limits.h>
#include <string.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/base/mem1.h"
#include "core/bencode/bencoding.h"
#include "tests/support/benc_building.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/emitted.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/test_host.h"

namespace {

using namespace core;
using namespace std::string_literals;
using namespace std::string_view_literals;

using Token = IBencParser::PARSE_T;

constexpr ptrdiff_t kFails = -1;

ptrdiff_t EndOffset(const unsigned char* end, const ExactBytes& in) {
  return end ? static_cast<ptrdiff_t>(reinterpret_cast<uintptr_t>(end) - reinterpret_cast<uintptr_t>(in.begin()))
             : kFails;
}

struct EndCase {
  const char* name;
  std::string_view input;
  ptrdiff_t end;  // or kFails
};

const EndCase kEnds[] = {
    {"empty dictionary", "de", 2},
    {"empty list", "le", 2},
    {"one entry", "d3:fooi42ee", 11},
    {"trailing bytes stay unread", "d3:fooi42eexyz", 11},
    {"a trailing value stays unread", "lele", 2},
    {"keys in descending order", "d1:b1:x1:a1:ye", 14},
    {"empty key", "d0:0:e", 6},
    {"nested containers", "ld1:alleeee", 11},
    {"leading zero in a length", "l04:spame", 9},
    {"integers with leading zeros", "li-0ei007eiee", 13},
    {"integer that is no number", "li12xee", 7},
    {"length counted modulo 2^64", "l18446744073709551617:ae", 24},

    {"empty input", "", kFails},
    {"integer at the top", "i5e", kFails},
    {"string at the top", "3:abc", kFails},
    {"end at the top", "e", kFails},
    {"unknown byte at the top", "?", kFails},
    {"malformed length at the top", "1", kFails},
    {"blank before the value", " de", kFails},

    {"list without its end", "l", kFails},
    {"list without its end after a scalar", "li1e", kFails},
    {"list without its end after a container", "lle", kFails},
    {"list without its end after a string", "l1:a", kFails},
    {"integer without its end", "li12", kFails},
    {"integer that is only its letter", "li", kFails},
    {"nested lists without an end", "lll", kFails},
    {"dictionary without its end", "d", kFails},
    {"dictionary without its end after an entry", "d1:ai1e", kFails},
    {"dictionary without its end in a list", "ld", kFails},
    {"list without its end in a dictionary", "d1:al", kFails},
    {"key at the end of the input", "d1:a", kFails},
    {"key without a value", "d1:ae", kFails},
    {"bad byte for a key", "d?e", kFails},
    {"bad byte for a value", "d3:foo?e", kFails},
    {"integer key", "di1e1:ae", kFails},
    {"list key", "dle1:ae", kFails},
    {"dictionary key", "dde1:ae", kFails},
    {"malformed length for a key", "d12xe", kFails},
    {"malformed length for a value", "d1:a12xe", kFails},
    {"key longer than the input", "d5:abce", kFails},
    {"value longer than the input", "d1:a5:abce", kFails},
    {"duplicate key", "d1:a1:x1:a1:ye", kFails},
    {"duplicate key after another", "d1:a1:x1:b1:x1:a1:ye", kFails},
    {"duplicate key with a container", "d1:ale1:aleee", kFails},
    {"duplicate empty key", "d0:i1e0:i2ee", kFails},
    {"duplicate key up to a zero byte", "d3:a\0xi1e3:a\0yi2ee"sv, kFails},
    {"duplicate key in a list's dictionary", "ld1:ai1e1:ai2eee", kFails},
    {"a bad byte after an entry of a list's dictionary", "ld1:ai1e?e", kFails},

    {"keys that differ before a zero byte", "d3:a\0xi1e3:b\0xi2ee"sv, 18},
    {"keys of different lengths with one zero byte", "d3:a\0xi1e4:a\0yzi2ee"sv, 19},
    {"a bad byte closes an empty list", "l?1:ae", 2},
    {"a bad byte after a scalar is skipped", "l1:a?1:be", 9},
    {"a bad byte after an integer is skipped", "li1e?i2ee", 9},
    {"a bad byte before the end is skipped", "l1:a?e", 6},
    {"a second bad byte closes the list", "l1:a??", 6},
    {"bad bytes after each of two scalars are skipped", "l1:a?1:b?e", 10},
    {"a bad byte after a container closes the list", "lle?", 4},
    {"a bad byte closes the inner list only", "ll?i1ee", 7},
    {"a bad byte closes a list in a dictionary", "d1:al?1:bi1ee", 13},
    {"a string longer than the input closes the list", "l5:abce", 8},
    {"a string longer than the input after a scalar", "li1e5:abce", 11},
    {"a string longer than the input closes every list", "lll9:a", 14},
    {"a string longer than the input fails a dictionary around", "d1:al9:aee", kFails},
    {"a malformed length closes the list at its first digit", "l12xe", 1},
    {"a malformed length after a scalar is found twice", "li1e12xe", 4},
    {"digits up to the end close the list", "l12", 1},
    {"digits up to the end close every list", "lll12", 3},
    {"digits up to the end after a scalar", "li1e12", 4},
    {"the end of the input after a skipped byte", "l1:a?", kFails},
    {"the end of the input after a closed inner list", "ll?", kFails},
};

class BencodingParse : public BencTest {};

TEST_F(BencodingParse, ReturnsTheAddressPastTheValue) {
  for (const EndCase& c : kEnds) {
    SCOPED_TRACE(c.name);
    ExactBytes in(c.input);
    BencEntity root;
    EXPECT_EQ(c.end, EndOffset(BencEntity::Parse(in.begin(), root, in.end()), in));
    EXPECT_EQ(c.end == kFails ? BENC_NONE : in.begin()[0] == 'l' ? BENC_LIST : BENC_DICT, root.GetType());
    root.FreeMembers();
  }
}

TEST_F(BencodingParse, InPlaceReturnsTheSameAddressAndChangesNothing) {
  for (const EndCase& c : kEnds) {
    SCOPED_TRACE(c.name);
    ExactBytes in(c.input);
    BencEntity root;
    EXPECT_EQ(c.end, EndOffset(BencEntity::ParseInPlace(in.data(), root, in.end()), in));
    EXPECT_EQ(c.end == kFails ? BENC_NONE : in.begin()[0] == 'l' ? BENC_LIST : BENC_DICT, root.GetType());
    EXPECT_EQ(c.input, in.view());
    root.FreeMembers();
    EXPECT_EQ(c.input, in.view());
  }
}

TEST_F(BencodingParse, WithAnElementNameReturnsTheSameAddress) {
  for (const EndCase& c : kEnds) {
    SCOPED_TRACE(c.name);
    ExactBytes in(c.input);
    BencEntity root;
    ReturnElementRgn range = {in.data(), in.data()};
    EXPECT_EQ(c.end, EndOffset(BencEntity::Parse(in.begin(), root, in.end(), "no such key", &range), in));
    EXPECT_EQ(c.end == kFails ? BENC_NONE : in.begin()[0] == 'l' ? BENC_LIST : BENC_DICT, root.GetType());
    EXPECT_EQ(c.end == kFails ? in.data() : nullptr, range.start);
    EXPECT_EQ(c.end == kFails ? in.data() : nullptr, range.end);
    root.FreeMembers();
  }
}

TEST_F(BencodingParse, IsValidWantsTheWholeBuffer) {
  for (const EndCase& c : kEnds) {
    SCOPED_TRACE(c.name);
    ExactBytes in(c.input);
    BencEntity root;
    const bool whole = c.end == static_cast<ptrdiff_t>(c.input.size());
    EXPECT_EQ(whole, BencEntityIsValid(in.data(), in.size(), &root));
    EXPECT_EQ(c.end == kFails, root.GetType() == BENC_NONE);
    EXPECT_EQ(c.input, in.view());
    root.FreeMembers();
  }
}

TEST_F(BencodingParse, IsValidLooksOnlyAtTheGivenLength) {
  ExactBytes in("d3:fooi42eexyz");
  BencEntity root;
  EXPECT_TRUE(BencEntityIsValid(in.data(), 11, &root));
  EXPECT_FALSE(BencEntityIsValid(in.data(), 10, &root));
  EXPECT_FALSE(BencEntityIsValid(in.data(), 12, &root));
  root.FreeMembers();
}

TEST_F(BencodingParse, FailsOnNoInputAtAll) {
  BencEntity root;
  EXPECT_EQ(nullptr, BencEntity::Parse(nullptr, root, nullptr));
  EXPECT_EQ(nullptr, BencEntity::ParseInPlace(nullptr, root, nullptr));
  EXPECT_FALSE(BencEntityIsValid(nullptr, 0, &root));
  EXPECT_EQ(BENC_NONE, root.GetType());
}

TEST_F(BencodingParse, FreesItsTargetFirst) {
  for (std::string_view second : {"le"sv, "d1:ai1ee"sv, "?"sv, ""sv, "li1e"sv}) {
    SCOPED_TRACE(second);
    ExactBytes first("d1:al3:xyzee");
    ExactBytes in(second);
    BencEntity root;
    ReturnElementRgn range;
    const bool ok = second.ends_with("e") && second != "li1e";
    BencEntity::Parse(first.begin(), root, first.end());
    EXPECT_EQ(ok, BencEntity::Parse(in.begin(), root, in.end()) != nullptr);
    EXPECT_EQ(ok, root.GetType() != BENC_NONE);
    BencEntity::Parse(first.begin(), root, first.end());
    EXPECT_EQ(ok, BencEntity::ParseInPlace(in.data(), root, in.end()) != nullptr);
    BencEntity::Parse(first.begin(), root, first.end());
    EXPECT_EQ(ok, BencEntity::Parse(in.begin(), root, in.end(), "a", &range) != nullptr);
    root.FreeMembers();
  }
}

// Every prefix but the whole of a value fails or, by closing lists early, succeeds; neither leaks.
TEST_F(BencodingParse, FreesEverythingItHeldWhenItFails) {
  const std::string_view whole = "d1:al3:xyzd1:bi1ee4:abcdi5ee1:cd1:dld1:el0:eeeee";
  for (size_t len = 0; len < whole.size(); ++len) {
    SCOPED_TRACE(len);
    BencTreeOf tree(whole.substr(0, len));
    EXPECT_EQ(nullptr, tree.end);
    EXPECT_EQ(BENC_NONE, tree.root.GetType());
    BencTreeOf in_place(whole.substr(0, len), BencTreeOf::kInPlace);
    EXPECT_EQ(nullptr, in_place.end);
    EXPECT_EQ(BENC_NONE, in_place.root.GetType());
  }
  BencTreeOf tree(whole);
  EXPECT_EQ(tree.bytes.end(), tree.end);
}

TEST_F(BencodingParse, CopiesKeysAndStrings) {
  BencTreeOf tree("d1:a3:xyz1:bl2:uvee");
  memset(tree.bytes.data(), '?', tree.bytes.size());
  size_t len = 0;
  const char* text = tree.dict().GetString("a", &len);
  EXPECT_EQ("xyz\0"sv, std::string_view(text, len + 1));
  text = tree.dict().GetList("b")->GetString(0, &len);
  EXPECT_EQ("uv\0"sv, std::string_view(text, len + 1));
}

TEST_F(BencodingParse, TerminatesEveryCopiedString) {
  for (std::string_view text : {""sv, "a"sv, "1234567"sv}) {
    SCOPED_TRACE(text);
    BencTreeOf tree("d1:k" + std::to_string(text.size()) + ":" + std::string(text) + "e");
    const char* raw = tree.dict().GetString("k", text.size());
    ASSERT_NE(nullptr, raw);
    EXPECT_EQ(0, raw[text.size()]);
  }
}

TEST_F(BencodingParse, InPlaceBorrowsKeysAndStrings) {
  BencTreeOf tree("d1:a3:xyz1:bl2:uvee", BencTreeOf::kInPlace);
  EXPECT_EQ(tree.bytes.chars() + 6, tree.dict().GetString("a", size_t{3}));
  tree.bytes.data()[3] = '0';
  EXPECT_EQ(nullptr, tree.dict().Get("a"));
  EXPECT_NE(nullptr, tree.dict().Get("0"));
}

TEST_F(BencodingParse, InPlaceStringsAreTerminatedWhenRead) {
  BencTreeOf tree("d1:a3:xyz1:bi1ee", BencTreeOf::kInPlace);
  EXPECT_EQ("d1:a3:xyz1:bi1ee", tree.bytes.view());
  size_t len = 0;
  const char* text = tree.dict().GetString("a", &len);
  EXPECT_EQ(tree.bytes.chars() + 6, text);
  EXPECT_STREQ("xyz", text);
  EXPECT_EQ(3u, len);
  EXPECT_EQ("d1:a3:xyz\0:bi1ee"sv, tree.bytes.view());
  EXPECT_EQ(1, tree.dict().GetInt("b", 0));
}

TEST_F(BencodingParse, InPlaceStringsAllSurviveBeingReadInAnyOrder) {
  for (bool backwards : {false, true}) {
    BencTreeOf tree("l1:a2:bb0:3:ccce", BencTreeOf::kInPlace);
    const char* const expected[] = {"a", "bb", "", "ccc"};
    for (int round = 0; round < 2; ++round) {
      for (size_t i = 0; i < 4; ++i) {
        const size_t k = backwards ? 3 - i : i;
        EXPECT_STREQ(expected[k], tree.list().GetString(k, nullptr));
      }
    }
  }
}

TEST_F(BencodingParse, MakesEveryIntegerAnInt64) {
  BencTreeOf tree("li0ei2147483648ei-1ee");
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(BENC_INT64, tree.list().Get(i)->GetType());
  }
}

TEST_F(BencodingParse, ReadsIntegersAsStrtollDoes) {
  const std::pair<std::string_view, long long> cases[] = {
      {"ie", 0},
      {"i-e", 0},
      {"i-0e", 0},
      {"i+7e", 7},
      {"i  7e", 7},
      {"i\t\n\v\f\r-7e", -7},
      {"i007e", 7},
      {"i12xe", 12},
      {"i1:2e", 1},
      {"i1\0002e"sv, 1},
      {"i9223372036854775807e", LLONG_MAX},
      {"i9223372036854775808e", LLONG_MAX},
      {"i-9223372036854775808e", LLONG_MIN},
      {"i-9223372036854775809e", LLONG_MIN},
      {"i99999999999999999999999e", LLONG_MAX},
      {"i-99999999999999999999999e", LLONG_MIN},
  };
  for (const auto& [encoded, expected] : cases) {
    SCOPED_TRACE(encoded);
    BencTreeOf list("l" + std::string(encoded) + "e");
    ASSERT_EQ(list.bytes.end(), list.end);
    EXPECT_EQ(expected, list.list().GetInt64(0, 55));
    BencTreeOf dict("d1:k" + std::string(encoded) + "e", BencTreeOf::kInPlace);
    ASSERT_EQ(dict.bytes.end(), dict.end);
    EXPECT_EQ(expected, dict.dict().GetInt64("k", 55));
  }
}

TEST_F(BencodingParse, SkipsABadByteBetweenScalars) {
  for (std::string_view input : {"l1:a?1:be"sv, "l1:a?1:b?e"sv}) {
    BencTreeOf tree(input);
    ASSERT_EQ(2u, tree.list().GetCount());
    EXPECT_STREQ("a", tree.list().GetString(0, nullptr));
    EXPECT_STREQ("b", tree.list().GetString(1, nullptr));
  }
}

TEST_F(BencodingParse, AnOverrunningStringLeavesWhatTheListHeld) {
  BencTreeOf empty("l5:abce");
  EXPECT_EQ(0u, empty.list().GetCount());
  BencTreeOf one("li7e5:abce");
  ASSERT_EQ(1u, one.list().GetCount());
  EXPECT_EQ(7, one.list().GetInt(0, 0));
}

TEST_F(BencodingParse, AListClosedByABadByteLeavesTheRestToTheEnclosingOne) {
  BencTreeOf list("ll1:a??i5ee");
  ASSERT_EQ(2u, list.list().GetCount());
  EXPECT_EQ(1u, list.list().GetList(0)->GetCount());
  EXPECT_EQ(5, list.list().GetInt(1, 0));

  BencTreeOf dict("d1:al?1:bi5ee");
  EXPECT_EQ(0u, dict.dict().GetList("a")->GetCount());
  EXPECT_EQ(5, dict.dict().GetInt("b", 0));
}

TEST_F(BencodingParse, FindsEveryKeyWhateverTheirOrder) {
  for (std::string_view input : {"d1:ai1e1:bi2e1:ci3ee"sv, "d1:ci3e1:bi2e1:ai1ee"sv, "d1:bi2e1:ai1e1:ci3ee"sv,
                                 "d1:bi2e1:ci3e1:ai1ee"sv, "d1:ai1e1:ci3e1:bi2ee"sv, "d1:ci3e1:ai1e1:bi2ee"sv}) {
    SCOPED_TRACE(input);
    BencTreeOf tree(input);
    ASSERT_NE(nullptr, tree.end);
    EXPECT_EQ(1, tree.dict().GetInt("a", 0));
    EXPECT_EQ(2, tree.dict().GetInt("b", 0));
    EXPECT_EQ(3, tree.dict().GetInt("c", 0));
  }
}

TEST_F(BencodingParse, FindsEveryKeyAroundNestedContainers) {
  BencTreeOf tree("d1:mle1:cd1:zi9ee1:xi1e1:al1:ae1:ni2e1:bi3ee");
  ASSERT_NE(nullptr, tree.end);
  EXPECT_NE(nullptr, tree.dict().GetList("m"));
  EXPECT_EQ(9, tree.dict().GetDict("c")->GetInt("z", 0));
  EXPECT_EQ(1, tree.dict().GetInt("x", 0));
  EXPECT_STREQ("a", tree.dict().GetList("a")->GetString(0, nullptr));
  EXPECT_EQ(2, tree.dict().GetInt("n", 0));
  EXPECT_EQ(3, tree.dict().GetInt("b", 0));
}

struct RangeCase {
  const char* name;
  std::string_view input;
  ptrdiff_t start;  // or -1 for null
  ptrdiff_t end;
};

TEST_F(BencodingParse, ReportsTheRangeOfANamedElement) {
  const RangeCase cases[] = {
      {"dictionary from d to e", "d4:infod1:ai1eee", 7, 15},
      {"string content", "d4:info3:abce", 9, 12},
      {"no such key", "d4:nope3:abce", -1, -1},
      {"integer under the key", "d4:infoi1ee", -1, -1},
      {"longer key", "d5:infoX3:abce", 10, 13},
      {"string in a list under the key", "d4:infol1:aee", 10, 11},
      {"trailing bytes", "d4:infodeee", 7, 9},
      {"after other keys", "d1:a1:b4:infodee", 13, 15},
      {"list with trailing name", "l4:infoe", -1, -1},
  };
  for (const RangeCase& c : cases) {
    SCOPED_TRACE(c.name);
    ExactBytes in(c.input);
    BencEntity root;
    ReturnElementRgn range = {in.data(), in.data()};
    ASSERT_NE(nullptr, BencEntity::Parse(in.begin(), root, in.end(), "info", &range));
    EXPECT_EQ(c.start, EndOffset(range.start, in));
    EXPECT_EQ(c.end, EndOffset(range.end, in));
    root.FreeMembers();
  }
}

TEST_F(BencodingParse, LeavesTheRangeAloneWhenItFails) {
  ExactBytes in("d4:infodei1e");
  BencEntity root;
  unsigned char mark = 0;
  ReturnElementRgn range = {&mark, &mark + 1};
  EXPECT_EQ(nullptr, BencEntity::Parse(in.begin(), root, in.end(), "info", &range));
  EXPECT_EQ(&mark, range.start);
  EXPECT_EQ(&mark + 1, range.end);
}

// Where the element "info" stands in `text`: its start, and its end or -1.
std::pair<ptrdiff_t, ptrdiff_t> RangeOfInfo(std::string_view text) {
  ExactBytes in(text);
  BencEntity root;
  ReturnElementRgn range;
  EXPECT_NE(nullptr, BencEntity::Parse(in.begin(), root, in.end(), "info", &range));
  root.FreeMembers();
  return {range.start - in.begin(), range.end ? range.end - in.begin() : -1};
}

TEST_F(BencodingParse, CountsNoEndForAListInTheElementThatABadByteCloses) {
  EXPECT_EQ(std::pair(ptrdiff_t{7}, ptrdiff_t{14}), RangeOfInfo("l4:infod1:aleee"));
  EXPECT_EQ(std::pair(ptrdiff_t{7}, ptrdiff_t{15}), RangeOfInfo("l4:infod1:al?ee"));
  EXPECT_EQ(std::pair(ptrdiff_t{7}, ptrdiff_t{-1}), RangeOfInfo("l4:infod1:al?e?"));
}

TEST_F(BencodingParse, WithAnElementNameCopiesKeysAndStrings) {
  ExactBytes in("d1:a3:xyze");
  BencEntity root;
  ReturnElementRgn range;
  ASSERT_NE(nullptr, BencEntity::Parse(in.begin(), root, in.end(), "a", &range));
  memset(in.data(), '?', in.size());
  EXPECT_STREQ("xyz", static_cast<BencodedDict&>(root).GetString("a", size_t{3}));
  root.FreeMembers();
}

using BencodingParseDeathTest = BencodingParse;

TEST_F(BencodingParseDeathTest, AskingForARangeWithoutARecordIsFatal) {
  ExactBytes in("de");
  BencEntity root;
  EXPECT_FATAL(BencEntity::Parse(in.begin(), root, in.end(), "info", nullptr), "core/bencoding", 1013);
}

TEST_F(BencodingParse, LoadsAFileThroughTheHost) {
  test_host::RegisterFile(L"whole", "d1:ai5ee");
  test_host::RegisterFile(L"trailing", "d1:ai5eex");
  test_host::RegisterFile(L"broken", "d1:a");
  BencEntity root;
  EXPECT_TRUE(root.LoadFromFile_Safe(L"whole"));
  EXPECT_EQ(5, static_cast<BencodedDict&>(root).GetInt("a", 0));
  EXPECT_FALSE(root.LoadFromFile_Safe(L"trailing"));
  EXPECT_FALSE(root.LoadFromFile_Safe(L"broken"));
  EXPECT_EQ(BENC_NONE, root.GetType());
  EXPECT_FALSE(root.LoadFromFile_Safe(L"missing"));
}

TEST_F(BencodingParse, AnEmptyListHasNoStorage) {
  for (std::string_view input : {"le"sv, "l?"sv, "l9:a"sv}) {
    SCOPED_TRACE(input);
    BencTreeOf tree(input);
    EXPECT_EQ(0u, BencPeek::List(tree.root).size());
    EXPECT_EQ(0u, BencPeek::List(tree.root).capacity);
    EXPECT_EQ(nullptr, BencPeek::List(tree.root).begin());
  }
}

TEST_F(BencodingParse, AClosedListHasRoomForItsElementsOnly) {
  for (size_t count : {1u, 2u, 15u, 16u, 17u, 18u, 100u}) {
    for (std::string_view close : {"e"sv, "??"sv, "9:a"sv, "?e"sv}) {
      SCOPED_TRACE(std::to_string(count) + " " + std::string(close));
      std::string input = "l";
      for (size_t i = 0; i < count; ++i) {
        input += "i" + std::to_string(i) + "e";
      }
      BencTreeOf tree(input + std::string(close));
      ASSERT_EQ(count, tree.list().GetCount());
      EXPECT_EQ(count, BencPeek::List(tree.root).capacity);
      for (size_t i = 0; i < count; ++i) {
        EXPECT_EQ(static_cast<int>(i), tree.list().GetInt(i, -1));
      }
    }
  }
}

class BencodingDoParse : public BuildingTest {};

TEST_F(BencodingDoParse, BuildsATreeFromAnyTokenSource) {
  script.Add(Token::PARSE_DICT)
      .Add(Token::PARSE_STRING, "k")
      .Add(Token::PARSE_LIST)
      .Add(Token::PARSE_INT, "12")
      .Add(Token::PARSE_STRING, "text")
      .Add(Token::PARSE_END)
      .Add(Token::PARSE_END);
  ASSERT_TRUE(BencEntity::DoParse(root, &script, &regime));
  EXPECT_EQ(12, dict().GetList("k")->GetInt(0, 0));
  EXPECT_STREQ("text", dict().GetList("k")->GetString(1, nullptr));
  EXPECT_EQ(7u, script.next);
}

TEST_F(BencodingDoParse, TakesNoTokenPastTheOutermostEnd) {
  script.Add(Token::PARSE_LIST).Add(Token::PARSE_END).Add(Token::PARSE_END);
  ASSERT_TRUE(BencEntity::DoParse(root, &script, &regime));
  EXPECT_EQ(2u, script.next);
}

TEST_F(BencodingDoParse, WantsAContainerFirst) {
  for (Token kind : {Token::PARSE_ERROR, Token::PARSE_INT, Token::PARSE_STRING, Token::PARSE_END, Token::PARSE_EOF}) {
    SCOPED_TRACE(kind);
    ScriptedParser one;
    one.Add(kind, "1");
    EXPECT_FALSE(BencEntity::DoParse(root, &one, &regime));
    EXPECT_EQ(BENC_NONE, root.GetType());
    EXPECT_EQ(1u, one.next);
  }
  EXPECT_TRUE(regime.log.empty());
}

// The library has no type information, a program that links it may.
TEST_F(BencodingDoParse, StoresByAClassDerivedFromARegimeOfTheLibrary) {
  struct CountingRegime : core::AllocateMemRegime {
    int strings = 0;
    core::BencArray<unsigned char>* NewMem(unsigned char* text, int len) override {
      ++strings;
      return AllocateMemRegime::NewMem(text, len);
    }
  };
  ExactBytes in("d1:a1:x1:b1:ye");
  BencParser parser(in.begin(), in.end());
  CountingRegime counting;
  ASSERT_TRUE(BencEntity::DoParse(root, &parser, &counting));
  EXPECT_EQ(2, counting.strings);
}

TEST_F(BencodingDoParse, FreesItsTargetFirst) {
  ASSERT_TRUE(Decode("d1:al1:bee"));
  EXPECT_FALSE(BencEntity::DoParse(root, &script, &regime));
  EXPECT_EQ(BENC_NONE, root.GetType());
}

// Reads the library's tokens and hides every unknown byte.
class ForgivingParser : public BencParser {
 public:
  using BencParser::BencParser;
  PARSE_T ParseNext(const unsigned char** text, size_t* len) override {
    PARSE_T kind = PARSE_ERROR;
    while (kind == PARSE_ERROR) {
      kind = BencParser::ParseNext(text, len);
    }
    return kind;
  }
};

TEST_F(BencodingDoParse, AsksADerivedParserForItsOwnTokens) {
  ExactBytes in("d?1:a?l?i1e??e1:b1:x?e");
  ForgivingParser parser(in.begin(), in.end());
  ASSERT_TRUE(BencEntity::DoParse(root, &parser, &regime));
  EXPECT_EQ(1, dict().GetList("a")->GetInt(0, 0));
  EXPECT_STREQ("x", dict().GetString("b", size_t{1}));
}

TEST_F(BencodingDoParse, ReadsAnIntegerNoFurtherThanItsText) {
  script.Add(Token::PARSE_LIST);
  const std::pair<std::string_view, long long> cases[] = {{"12", 12}, {"-", 0}, {"", 0}, {" ", 0}, {"-9", -9}};
  for (const auto& [text, number] : cases) {
    script.Add(Token::PARSE_INT, text);
  }
  script.Add(Token::PARSE_END);
  ASSERT_TRUE(BencEntity::DoParse(root, &script, &regime));
  for (size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(cases[i].second, list().GetInt64(i, 55));
  }
}

TEST_F(BencodingDoParse, AsksTheRegimeForEachKeyThenItsStringInOrder) {
  ASSERT_TRUE(Decode("d1:bl1:xe1:a1:y1:ci1ee"));
  EXPECT_EQ((std::vector<std::string>{"key b", "mem x", "key a", "mem y", "key c"}), regime.log);
}

TEST_F(BencodingDoParse, AsksForNoKeyBeforeItsValueWasRead) {
  EXPECT_FALSE(Decode("d1:ae"));
  EXPECT_TRUE(regime.log.empty());
}

TEST_F(BencodingDoParse, AsksForNoStringUnderADuplicateKey) {
  EXPECT_FALSE(Decode("d1:a1:x1:a1:ye"));
  EXPECT_EQ((std::vector<std::string>{"key a", "mem x", "key a"}), regime.log);
}

TEST_F(BencodingDoParse, KeepsTheKeysThatTheRegimeMakes) {
  regime.fold_case = true;
  ASSERT_TRUE(Decode("d1:bi2e1:Ci3e1:Ai1e1:Di4ee"));
  EXPECT_EQ(1, dict().GetInt("a", 0));
  EXPECT_EQ(2, dict().GetInt("b", 0));
  EXPECT_EQ(3, dict().GetInt("c", 0));
  EXPECT_EQ(4, dict().GetInt("d", 0));
  EXPECT_EQ(nullptr, dict().Get("A"));
}

TEST_F(BencodingDoParse, RejectsKeysThatTheRegimeMakesEqual) {
  regime.fold_case = true;
  for (std::string_view input : {"d1:Ai1e1:ai2ee"sv, "d1:ai1e1:Ai2ee"sv, "d1:ai1e1:Bi2e1:ble1:ci4ee"sv}) {
    SCOPED_TRACE(input);
    EXPECT_FALSE(Decode(input));
    EXPECT_EQ(BENC_NONE, root.GetType());
  }
}

TEST_F(BencodingDoParse, KeepsIntegersAsTextForALazyRegime) {
  regime.lazy = true;
  ASSERT_TRUE(Decode("d1:ai12e1:bl3:xyzi-7x8eee"));
  EXPECT_EQ((std::vector<std::string>{"key a", "mem 12", "key b", "mem xyz", "mem -7x8"}), regime.log);
  BencEntity* a = dict().Get("a");
  EXPECT_EQ(BENC_INT_LAZY, a->GetType());
  EXPECT_EQ(5, dict().GetInt("a", 5));
  EXPECT_EQ(12, static_cast<BencEntityLazyInt*>(a)->GetInt64(5));
  EXPECT_EQ(BENC_INT, a->GetType());
  EXPECT_EQ(12, dict().GetInt("a", 5));
  BencEntity* b = dict().GetList("b")->Get(1);
  EXPECT_EQ(BENC_INT_LAZY, b->GetType());
  EXPECT_EQ(-7, static_cast<BencEntityLazyInt*>(b)->GetInt(5));
}

TEST_F(BencodingDoParse, FreesLazyIntegersThatWereNeverRead) {
  regime.lazy = true;
  EXPECT_TRUE(Decode("li1ei2ee"));
  EXPECT_FALSE(Decode("li1ei2e"));
}

TEST_F(BencodingDoParse, ReadsABorrowedLazyIntegerInPlace) {
  regime.lazy = true;
  regime.borrow = true;
  ASSERT_TRUE(Decode("li12345ee"));
  EXPECT_EQ(12345, static_cast<BencEntityLazyInt*>(list().Get(0))->GetInt(0));
  EXPECT_EQ("li12345ee", bytes->view());
}

// Stores bytes without a terminator, in a block without room for one, and none without a block.
class BareRegime : public BencEntity::AllocRegime {
 public:
  BencArray<char>* NewKey(char* text, int len) override { return Bare(text, static_cast<size_t>(len)); }
  BencArray<unsigned char>* NewMem(unsigned char* text, int len) override {
    return Bare(text, static_cast<size_t>(len));
  }

 private:
  template <class T>
  static BencArray<T>* Bare(const T* text, size_t len) {
    auto* array = new BencArray<T>;
    if (len != 0) {
      array->Adopt(memcpy(MyMalloc(len), text, len), len, len);
    }
    return array;
  }
};

TEST_F(BencodingDoParse, TakesBytesWithoutTerminatorsFromARegime) {
  constexpr std::string_view kInput = "d0:0:1:al0:3:xyz0:e1:bd0:i1e3:keylee1:xlee";
  ExactBytes in(kInput);
  BencParser parser(in.begin(), in.end());
  BareRegime bare;
  ASSERT_TRUE(BencEntity::DoParse(root, &parser, &bare));
  BencodedDict copy;
  copy.CopyFrom(root);
  for (const BencEntity* tree : {&root, static_cast<BencEntity*>(&copy)}) {
    EXPECT_EQ(kInput, Bencoded(*tree));
    EXPECT_EQ("=\r\na.0=\r\na.1=xyz\r\na.2=\r\nb.=1\r\n", Listed(*tree));
    EXPECT_EQ("{ \"\": \"\", \"a\": [ \"\", \"xyz\", \"\" ], \"b\": { \"\": 1, \"key\": [  ] }, \"x\": [  ] }",
              Json(*tree));
    const auto& read = static_cast<const BencodedDict&>(*tree);
    EXPECT_STREQ("", read.GetString("", nullptr));
    EXPECT_STREQ(L"", read.GetStringT("", 0, nullptr));
    EXPECT_NE(nullptr, read.Get("b"));
  }
  EXPECT_EQ(Xml(root), Xml(copy));
  copy.FreeMembers();
}

TEST_F(BencodingDoParse, TakesBorrowedStringsFromARegime) {
  regime.borrow = true;
  ASSERT_TRUE(Decode("d1:k3:xyze"));
  EXPECT_EQ(bytes->chars() + 6, dict().GetString("k", size_t{3}));
}

TEST_F(BencodingDoParse, FailsForAStringOf2GiB) {
  for (size_t len : {size_t{1} << 31, (size_t{1} << 31) + 1, size_t{1} << 32, (size_t{1} << 32) + 1, SIZE_MAX}) {
    SCOPED_TRACE(len);
    ScriptedParser in_list;
    in_list.Add(Token::PARSE_LIST).Add(Token::PARSE_INT, "1").AddLength(Token::PARSE_STRING, len).Add(Token::PARSE_END);
    EXPECT_FALSE(BencEntity::DoParse(root, &in_list, &regime));
    EXPECT_EQ(BENC_NONE, root.GetType());

    ScriptedParser in_dict;
    in_dict.Add(Token::PARSE_DICT).Add(Token::PARSE_STRING, "k").AddLength(Token::PARSE_STRING, len);
    in_dict.Add(Token::PARSE_END);
    EXPECT_FALSE(BencEntity::DoParse(root, &in_dict, &regime));
    EXPECT_EQ(BENC_NONE, root.GetType());

    ScriptedParser as_key;
    as_key.Add(Token::PARSE_DICT).AddLength(Token::PARSE_STRING, len).Add(Token::PARSE_INT, "1").Add(Token::PARSE_END);
    EXPECT_FALSE(BencEntity::DoParse(root, &as_key, &regime));
    EXPECT_EQ(BENC_NONE, root.GetType());
  }
  EXPECT_TRUE(regime.lengths.empty());
}

TEST_F(BencodingDoParse, FailsForALazyIntegerOf2GiB) {
  regime.lazy = true;
  for (size_t len : {size_t{1} << 31, size_t{1} << 32, SIZE_MAX}) {
    SCOPED_TRACE(len);
    ScriptedParser in_list;
    in_list.Add(Token::PARSE_LIST).AddLength(Token::PARSE_INT, len).Add(Token::PARSE_END);
    EXPECT_FALSE(BencEntity::DoParse(root, &in_list, &regime));
    EXPECT_EQ(BENC_NONE, root.GetType());
  }
  EXPECT_TRUE(regime.lengths.empty());
}

TEST_F(BencodingDoParse, TakesAStringOfOneByteLessThan2GiB) {
  regime.ignore_text = true;
  script.Add(Token::PARSE_LIST).AddLength(Token::PARSE_STRING, INT_MAX).Add(Token::PARSE_END);
  EXPECT_TRUE(BencEntity::DoParse(root, &script, &regime));
  EXPECT_EQ(std::vector<int>{INT_MAX}, regime.lengths);
}

TEST_F(BencodingDoParse, FailsWithAnyRegimeWhereParseFails) {
  for (const EndCase& c : kEnds) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.end != kFails, Decode(c.input));
    EXPECT_EQ(c.end == kFails, root.GetType() == BENC_NONE);
  }
}

TEST(AllocRegime, KeepsNoIntegersAsTextByDefault) {
  AllocateMemRegime copying;
  InplaceMemRegime in_place;
  for (BencEntity::AllocRegime* regime :
       {static_cast<BencEntity::AllocRegime*>(&copying), static_cast<BencEntity::AllocRegime*>(&in_place)}) {
    EXPECT_FALSE(regime->LazyInt());
  }
}

class Regimes : public BencTest {};

// Such bytes lie in the record's own block and cannot move to another record.
TEST_F(Regimes, EmbeddedBytesAreCopiedWhenTaken) {
  unsigned char room[4];
  BencArray<unsigned char> embedded(
      EmbeddedBytes<unsigned char>{room, reinterpret_cast<const unsigned char*>("abc"), 3});
  const BencArray<unsigned char> taken(&embedded);
  EXPECT_FALSE(taken.embedded);
  EXPECT_EQ(0, embedded.count);
  EXPECT_NE(room, taken.begin());
  EXPECT_EQ("abc"sv, std::string_view(reinterpret_cast<const char*>(taken.begin()), taken.size()));
}

TEST_F(Regimes, AllocateCopiesAndTerminates) {
  for (std::string_view text : {""sv, "a"sv, "a\0b"sv, "0123456789abcdef"sv}) {
    SCOPED_TRACE(text);
    AllocateMemRegime copying;
    BencEntity::AllocRegime& regime = copying;
    ExactBytes in(text);
    const int len = static_cast<int>(in.size());
    BencArray<char>* key = regime.NewKey(in.chars(), len);
    BencArray<unsigned char>* mem = regime.NewMem(in.data(), len);
    EXPECT_FALSE(key->borrowed);
    EXPECT_FALSE(mem->borrowed);
    EXPECT_EQ(text, std::string_view(key->begin(), key->size()));
    EXPECT_EQ(text, std::string_view(reinterpret_cast<char*>(mem->begin()), mem->size()));
    EXPECT_EQ(0, *key->end());
    EXPECT_EQ(0, *mem->end());
    EXPECT_NE(in.chars(), key->begin());
    EXPECT_NE(in.begin(), mem->begin());
    delete key;
    delete mem;
  }
}

TEST_F(Regimes, InplaceBorrows) {
  for (std::string_view text : {""sv, "a"sv, "a\0b"sv}) {
    SCOPED_TRACE(text);
    InplaceMemRegime in_place;
    BencEntity::AllocRegime& regime = in_place;
    ExactBytes in(text);
    const int len = static_cast<int>(in.size());
    BencArray<char>* key = regime.NewKey(in.chars(), len);
    BencArray<unsigned char>* mem = regime.NewMem(in.data(), len);
    EXPECT_TRUE(key->borrowed);
    EXPECT_TRUE(mem->borrowed);
    EXPECT_EQ(in.chars(), key->begin());
    EXPECT_EQ(in.begin(), mem->begin());
    EXPECT_EQ(in.size(), key->size());
    EXPECT_EQ(in.size(), mem->size());
    delete key;
    delete mem;
    EXPECT_EQ(text, in.view());
  }
}

}  // namespace
