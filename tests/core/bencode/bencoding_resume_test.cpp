// The steps below the entry points: one token stored, one container filled until it ends or a container
// in it begins.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/bencode/bencoding.h"
#include "tests/support/benc_building.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/repeat.h"

namespace {

using namespace core;
using namespace std::string_view_literals;

using Token = IBencParser::PARSE_T;

class SetParsed : public BuildingTest {};

TEST_F(SetParsed, StoresAnIntegerAsInt64) {
  ExactBytes in("-12");
  EXPECT_TRUE(root.SetParsed(Token::PARSE_INT, in.begin(), in.size(), &regime));
  EXPECT_EQ(BENC_INT64, root.GetType());
  EXPECT_EQ(-12, root.GetInt64(0));
  EXPECT_TRUE(regime.log.empty());
}

TEST_F(SetParsed, StoresALazyIntegerAsText) {
  regime.lazy = true;
  ExactBytes in("-12");
  EXPECT_TRUE(root.SetParsed(Token::PARSE_INT, in.begin(), in.size(), &regime));
  EXPECT_EQ(BENC_INT_LAZY, root.GetType());
  EXPECT_EQ((std::vector<std::string>{"mem -12"}), regime.log);
}

TEST_F(SetParsed, StoresAString) {
  ExactBytes in("abc");
  EXPECT_TRUE(root.SetParsed(Token::PARSE_STRING, in.begin(), in.size(), &regime));
  EXPECT_EQ(BENC_STR, root.GetType());
  EXPECT_STREQ("abc", static_cast<BencEntityMem&>(root).GetString(nullptr));
}

TEST_F(SetParsed, StoresEmptyContainers) {
  EXPECT_TRUE(root.SetParsed(Token::PARSE_LIST, nullptr, 0, &regime));
  EXPECT_EQ(BENC_LIST, root.GetType());
  EXPECT_EQ(0u, list().GetCount());
  root.FreeMembers();
  EXPECT_TRUE(root.SetParsed(Token::PARSE_DICT, nullptr, 0, &regime));
  EXPECT_EQ(BENC_DICT, root.GetType());
  EXPECT_EQ(nullptr, dict().Get(""));
}

TEST_F(SetParsed, StoresNothingForEveryOtherToken) {
  for (Token kind : {Token::PARSE_ERROR, Token::PARSE_END, Token::PARSE_EOF}) {
    SCOPED_TRACE(kind);
    ExactBytes in("1");
    EXPECT_FALSE(root.SetParsed(kind, in.begin(), in.size(), &regime));
    EXPECT_EQ(BENC_NONE, root.GetType());
  }
  EXPECT_TRUE(regime.log.empty());
}

TEST_F(SetParsed, ReplacesAValueOfTheSameKindAndFreesIt) {
  for (Token kind : {Token::PARSE_STRING, Token::PARSE_LIST, Token::PARSE_DICT, Token::PARSE_INT}) {
    SCOPED_TRACE(kind);
    ExactBytes in("12");
    root.FreeMembers();
    ASSERT_TRUE(root.SetParsed(kind, in.begin(), in.size(), &regime));
    const BencType type = root.GetType();
    EXPECT_TRUE(root.SetParsed(kind, in.begin(), in.size(), &regime));
    EXPECT_EQ(type, root.GetType());
  }
}

TEST_F(SetParsed, TakesTextOfTheStringThatItReplaces) {
  ExactBytes in("abcdef");
  ASSERT_TRUE(root.SetParsed(Token::PARSE_STRING, in.begin(), in.size(), &regime));
  const auto* text = reinterpret_cast<const unsigned char*>(static_cast<BencEntityMem&>(root).GetString(nullptr));
  EXPECT_TRUE(root.SetParsed(Token::PARSE_STRING, text + 2, 3, &regime));
  EXPECT_STREQ("cde", static_cast<BencEntityMem&>(root).GetString(nullptr));
}

TEST_F(SetParsed, LeavesTheValueAloneWhenItStoresNothing) {
  ExactBytes in("abc");
  ASSERT_TRUE(root.SetParsed(Token::PARSE_STRING, in.begin(), in.size(), &regime));
  EXPECT_FALSE(root.SetParsed(Token::PARSE_END, in.begin(), in.size(), &regime));
  EXPECT_STREQ("abc", static_cast<BencEntityMem&>(root).GetString(nullptr));
}

TEST_F(SetParsed, BoundsTheLengthOfKeptTextsAlone) {
  constexpr size_t kTooLong = size_t{1} << 31;
  ExactBytes in("7e");  // the number is read no further than its digits
  EXPECT_FALSE(root.SetParsed(Token::PARSE_STRING, in.begin(), kTooLong, &regime));
  EXPECT_TRUE(root.SetParsed(Token::PARSE_INT, in.begin(), kTooLong, &regime));
  EXPECT_EQ(7, root.GetInt64(0));
  regime.lazy = true;
  EXPECT_FALSE(root.SetParsed(Token::PARSE_INT, in.begin(), kTooLong, &regime));
}

TEST_F(SetParsed, AValueOfAnotherKindIsFatal) {
  ExactBytes in("abc");
  ASSERT_TRUE(root.SetParsed(Token::PARSE_STRING, in.begin(), in.size(), &regime));
  EXPECT_FATAL_ANY_LINE(root.SetParsed(Token::PARSE_LIST, in.begin(), 0, &regime), "core/bencoding");
}

class Resume : public BuildingTest {
 protected:
  // Starts with an empty container and a child slot that the calls find null.
  void Open(Token kind) { root.SetParsed(kind, nullptr, 0, &regime); }
  bool List(std::string_view input) {
    bytes = std::make_unique<ExactBytes>(input);
    BencParser parser(bytes->begin(), bytes->end());
    const bool ok = list().ResumeList(&parser, &child, &regime);
    position = parser.position() - bytes->begin();
    return ok;
  }
  bool Dict(std::string_view input) {
    bytes = std::make_unique<ExactBytes>(input);
    BencParser parser(bytes->begin(), bytes->end());
    const bool ok = dict().ResumeDict(&parser, &child, &regime);
    position = parser.position() - bytes->begin();
    return ok;
  }
  size_t Capacity() const { return BencPeek::List(root).capacity; }

  BencEntity* child = nullptr;
  ptrdiff_t position = 0;
};

TEST_F(Resume, AListReadsScalarsUpToItsEnd) {
  Open(Token::PARSE_LIST);
  EXPECT_TRUE(List("i1e1:aexyz"));
  EXPECT_EQ(nullptr, child);
  EXPECT_EQ(7, position);
  EXPECT_EQ(2u, list().GetCount());
  EXPECT_EQ(2u, Capacity());
}

TEST_F(Resume, AListStopsAtANewContainer) {
  for (std::string_view input : {"i1ed1:a"sv, "i1el1:a"sv}) {
    SCOPED_TRACE(input);
    root.FreeMembers();
    Open(Token::PARSE_LIST);
    child = nullptr;
    EXPECT_TRUE(List(input));
    ASSERT_EQ(2u, list().GetCount());
    EXPECT_EQ(list().Get(1), child);
    EXPECT_EQ(input[3] == 'd' ? BENC_DICT : BENC_LIST, child->GetType());
    EXPECT_EQ(4, position);
  }
}

TEST_F(Resume, AListFailsAtTheEndOfTheInput) {
  Open(Token::PARSE_LIST);
  EXPECT_FALSE(List(""));
  EXPECT_FALSE(List("i1e"));
}

TEST_F(Resume, AListIsClosedByAnErrorBeforeAnyElement) {
  Open(Token::PARSE_LIST);
  ASSERT_TRUE(List("i1ei2ele"));
  child = nullptr;
  EXPECT_TRUE(List("?i3ee"));
  EXPECT_EQ(nullptr, child);
  EXPECT_EQ(1, position);
  EXPECT_EQ(3u, list().GetCount());
  EXPECT_EQ(3u, Capacity());
}

TEST_F(Resume, AListNamesItsLastScalarAtAnError) {
  Open(Token::PARSE_LIST);
  EXPECT_TRUE(List("i1e1:a?e"));
  ASSERT_EQ(2u, list().GetCount());
  EXPECT_EQ(list().Get(1), child);
  EXPECT_EQ(BENC_STR, child->GetType());
  EXPECT_EQ(7, position);
}

TEST_F(Resume, AListGoesOnAfterItsElements) {
  Open(Token::PARSE_LIST);
  ASSERT_TRUE(List("i1el"));
  child = nullptr;
  ASSERT_TRUE(List("i2ed"));
  child = nullptr;
  ASSERT_TRUE(List("i3ee"));
  EXPECT_EQ(nullptr, child);
  ASSERT_EQ(5u, list().GetCount());
  EXPECT_EQ(3, list().GetInt(4, 0));
  EXPECT_EQ(5u, Capacity());
}

TEST_F(Resume, AnOpenListHasRoomForSixteenElements) {
  for (size_t count = 1; count <= 16; ++count) {
    SCOPED_TRACE(count);
    root.FreeMembers();
    Open(Token::PARSE_LIST);
    std::string input;
    for (size_t i = 1; i < count; ++i) {
      input += "i0e";
    }
    EXPECT_TRUE(List(input + "l"));
    EXPECT_EQ(count, list().GetCount());
    EXPECT_EQ(16u, Capacity());
  }
}

// A list that was closed has room for its elements alone. Sixteen are as many as an open one has room for.
TEST_F(Resume, AListMayBeClosedAgain) {
  for (size_t count : {0u, 1u, 15u, 16u, 17u, 40u}) {
    SCOPED_TRACE(count);
    root.FreeMembers();
    Open(Token::PARSE_LIST);
    ASSERT_TRUE(List(Repeat("i7e", count) + "e"));
    child = nullptr;
    ASSERT_TRUE(List("e"));
    ASSERT_TRUE(List("?"));
    EXPECT_EQ(nullptr, child);
    ASSERT_EQ(count, list().GetCount());
    EXPECT_EQ(count, Capacity());
    EXPECT_TRUE(count == 0 || list().GetInt(count - 1, 0) == 7);
  }
}

TEST_F(Resume, AClosedListGoesOn) {
  for (size_t count : {0u, 1u, 15u, 16u, 17u, 40u}) {
    for (size_t more : {1u, 15u, 16u, 40u}) {
      SCOPED_TRACE(testing::Message() << count << " and " << more);
      root.FreeMembers();
      Open(Token::PARSE_LIST);
      ASSERT_TRUE(List(Repeat("i7e", count) + "e"));
      child = nullptr;
      ASSERT_TRUE(List(Repeat("1:a", more) + "e"));
      ASSERT_EQ(count + more, list().GetCount());
      EXPECT_EQ(count + more, Capacity());
      EXPECT_TRUE(count == 0 || list().GetInt(count - 1, 0) == 7);
      EXPECT_STREQ("a", list().GetString(count, nullptr));
      EXPECT_STREQ("a", list().GetString(count + more - 1, nullptr));
    }
  }
}

TEST_F(Resume, AListThatLostElementsGoesOn) {
  for (const auto& [count, left] : {std::pair<size_t, size_t>{40, 16}, {40, 15}, {40, 1}, {16, 15}, {16, 1}, {15, 1}}) {
    SCOPED_TRACE(testing::Message() << left << " of " << count);
    root.FreeMembers();
    Open(Token::PARSE_LIST);
    ASSERT_TRUE(List(Repeat("i7e", count) + "e"));
    while (list().GetCount() > left) {
      list().Delete(left);
    }
    child = nullptr;
    ASSERT_TRUE(List("e"));
    EXPECT_EQ(left, Capacity());
    ASSERT_TRUE(List("l"));
    ASSERT_EQ(left + 1, list().GetCount());
    EXPECT_EQ(7, list().GetInt(left - 1, 0));
    EXPECT_EQ(left < 16 ? 16 : 32, Capacity());
  }
}

// A copy has room for its elements alone, however many they are.
TEST_F(Resume, ACopiedListGoesOn) {
  for (size_t count : {1u, 15u, 16u, 17u, 40u}) {
    SCOPED_TRACE(count);
    BencTreeOf source("l" + Repeat("i7e", count) + "e");
    root.FreeMembers();
    Open(Token::PARSE_LIST);
    list().CopyFrom(source.root);
    ASSERT_EQ(count, Capacity());
    child = nullptr;
    ASSERT_TRUE(List("l"));
    EXPECT_EQ(count < 16 ? 16 : 2 * count, Capacity());
    EXPECT_EQ(7, list().GetInt(count - 1, 0));
    EXPECT_EQ(BENC_LIST, list().Get(count)->GetType());
  }
}

// With nothing in it there is nothing to fit the room to.
TEST_F(Resume, AnEmptiedListKeepsItsRoom) {
  for (size_t count : {1u, 16u, 40u}) {
    SCOPED_TRACE(count);
    root.FreeMembers();
    Open(Token::PARSE_LIST);
    ASSERT_TRUE(List(Repeat("i7e", count) + "e"));
    while (list().GetCount() > 0) {
      list().Delete(0);
    }
    child = nullptr;
    ASSERT_TRUE(List("e"));
    EXPECT_EQ(count, Capacity());
    ASSERT_TRUE(List("i8ee"));
    EXPECT_EQ(8, list().GetInt(0, 0));
    EXPECT_EQ(1u, Capacity());
  }
}

TEST_F(Resume, OnlyListsAndDictsCanBeFilled) {
  BencParser parser(nullptr, nullptr);
  EXPECT_FATAL_ANY_LINE(list().ResumeList(&parser, &child, &regime), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(dict().ResumeDict(&parser, &child, &regime), "core/bencoding");
  Open(Token::PARSE_LIST);
  EXPECT_FATAL_ANY_LINE(dict().ResumeDict(&parser, &child, &regime), "core/bencoding");
  root.FreeMembers();
  Open(Token::PARSE_DICT);
  EXPECT_FATAL_ANY_LINE(list().ResumeList(&parser, &child, &regime), "core/bencoding");
}

TEST_F(Resume, ADictReadsPairsUpToItsEnd) {
  Open(Token::PARSE_DICT);
  EXPECT_TRUE(Dict("1:bi2e1:a1:xexyz"));
  EXPECT_EQ(nullptr, child);
  EXPECT_EQ(13, position);
  EXPECT_EQ(2, dict().GetInt("b", 0));
  EXPECT_STREQ("x", dict().GetString("a", size_t{1}));
}

TEST_F(Resume, ADictStopsAtANewContainer) {
  for (std::string_view input : {"1:ai1e1:bd1:x"sv, "1:ai1e1:bl1:x"sv}) {
    SCOPED_TRACE(input);
    root.FreeMembers();
    Open(Token::PARSE_DICT);
    child = nullptr;
    EXPECT_TRUE(Dict(input));
    EXPECT_NE(nullptr, child);
    EXPECT_EQ(dict().Get("b"), child);
    EXPECT_EQ(input[9] == 'd' ? BENC_DICT : BENC_LIST, child->GetType());
    EXPECT_EQ(10, position);
  }
}

TEST_F(Resume, ADictGoesOnAfterItsEntries) {
  Open(Token::PARSE_DICT);
  ASSERT_TRUE(Dict("1:mi1e1:zl"));
  child = nullptr;
  ASSERT_TRUE(Dict("1:ai2e1:nd"));
  child = nullptr;
  ASSERT_TRUE(Dict("1:yi3ee"));
  EXPECT_EQ(nullptr, child);
  EXPECT_EQ(1, dict().GetInt("m", 0));
  EXPECT_EQ(2, dict().GetInt("a", 0));
  EXPECT_EQ(3, dict().GetInt("y", 0));
  EXPECT_NE(nullptr, dict().GetList("z"));
  EXPECT_NE(nullptr, dict().GetDict("n"));
}

TEST_F(Resume, ADictFailsAtAnythingButPairs) {
  for (std::string_view input :
       {""sv, "?"sv, "i1e"sv, "l"sv, "d"sv, "1:a"sv, "1:a?"sv, "1:ae"sv, "1:ai1e"sv, "1:ai1e1:ai2e"sv, "12x"sv}) {
    SCOPED_TRACE(input);
    root.FreeMembers();
    Open(Token::PARSE_DICT);
    EXPECT_FALSE(Dict(input));
  }
}

TEST_F(Resume, ADictRejectsAKeyOfAnEarlierCall) {
  Open(Token::PARSE_DICT);
  ASSERT_TRUE(Dict("1:al"));
  EXPECT_FALSE(Dict("1:bi1e1:ai2ee"));
}

}  // namespace
