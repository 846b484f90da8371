#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "core/text/string.h"
#include "tests/support/small_stack.h"
#include "tests/support/test_host.h"
#include "tests/support/text.h"

namespace {

// Every test runs in both character types and must free what it made.
template <class C>
class StringVector : public ::testing::Test {
 public:
  using String = core::basic_string<C>;
  using List = core::Vector<String>;
  using Model = std::vector<std::basic_string<C>>;

  ~StringVector() override { EXPECT_EQ(blocks_, test_host::LiveBlocks()); }

 protected:
  static std::basic_string<C> Widen(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }
  static String Make(std::string_view ascii) { return String(ExactText<C>(Widen(ascii)).get()); }
  static Model Held(const List& list) {
    Model model;
    for (const String& string : list) {
      model.push_back(string.c_str());
    }
    return model;
  }
  static Model Expected(std::initializer_list<std::string_view> texts) {
    Model model;
    for (std::string_view text : texts) {
      model.push_back(Widen(text));
    }
    return model;
  }

  // A list of the texts "0", "1" and so on.
  static void Fill(List& list, int n) {
    for (int i = 0; i < n; i++) {
      list.push_back(Make(std::to_string(i)));
    }
  }

 private:
  test_host::Scope host_;
  long blocks_ = test_host::LiveBlocks();
};
struct CharacterName {
  template <class C>
  static std::string GetName(int) {
    return sizeof(C) == 1 ? "Narrow" : "Wide";
  }
};
using Characters = ::testing::Types<char, wchar_t>;
TYPED_TEST_SUITE(StringVector, Characters, CharacterName);

TYPED_TEST(StringVector, StartsEmptyWithoutABlock) {
  const typename TestFixture::List list;
  EXPECT_EQ(0u, list.size());
  EXPECT_EQ(0u, list.capacity());
  EXPECT_EQ(list.begin(), list.end());
  EXPECT_EQ(0, test_host::AllocationAttempts());
}

TYPED_TEST(StringVector, PushBackStoresACopy) {
  typename TestFixture::List list;
  auto text = TestFixture::Make("text");
  list.push_back(text);
  EXPECT_NE(text.c_str(), list[0].c_str());
  text = static_cast<const TypeParam*>(nullptr);
  EXPECT_EQ(TestFixture::Expected({"text"}), TestFixture::Held(list));
}

TYPED_TEST(StringVector, AStoredStringIsNeverNull) {
  const typename TestFixture::String null;
  typename TestFixture::List list;
  list.push_back(null);
  EXPECT_NE(null.c_str(), list[0].c_str());
  EXPECT_EQ(0u, list[0].size());
}

TYPED_TEST(StringVector, GrowsAsAnArrayFilledOneByOne) {
  typename TestFixture::List list;
  const size_t kCapacities[] = {16, 16, 32, 32, 64};
  const int kCounts[] = {1, 16, 17, 32, 33};
  for (size_t i = 0; i < 5; i++) {
    TestFixture::Fill(list, kCounts[i] - static_cast<int>(list.size()));
    EXPECT_EQ(kCapacities[i], list.capacity()) << kCounts[i];
  }
}

TYPED_TEST(StringVector, PushBackTakesAStringOfItsOwn) {
  typename TestFixture::List list;
  TestFixture::Fill(list, 1);
  for (int i = 0; i < 40; i++) {  // past several moves of the block
    list.push_back(list[0]);
  }
  ASSERT_EQ(41u, list.size());
  for (const auto& string : list) {
    EXPECT_EQ(TestFixture::Widen("0"), string.c_str());
  }
}

TYPED_TEST(StringVector, AppendAddsCopiesInOrder) {
  typename TestFixture::List list;
  typename TestFixture::List other;
  list.append(other);
  EXPECT_EQ(0u, list.capacity());
  list.push_back(TestFixture::Make("x"));
  TestFixture::Fill(other, 3);
  list.append(other);
  EXPECT_EQ(TestFixture::Expected({"x", "0", "1", "2"}), TestFixture::Held(list));
  EXPECT_EQ(TestFixture::Expected({"0", "1", "2"}), TestFixture::Held(other));
  EXPECT_NE(other[0].c_str(), list[1].c_str());
}

TYPED_TEST(StringVector, AppendTakesItself) {
  typename TestFixture::List list;
  TestFixture::Fill(list, 3);
  list.append(list);
  EXPECT_EQ(TestFixture::Expected({"0", "1", "2", "0", "1", "2"}), TestFixture::Held(list));
  for (int i = 0; i < 4; i++) {
    list.append(list);  // past several moves of the block
  }
  ASSERT_EQ(96u, list.size());
  EXPECT_EQ(TestFixture::Widen("2"), list[95].c_str());
}

TYPED_TEST(StringVector, ClearFreesTheStringsAndKeepsTheBlock) {
  typename TestFixture::List list;
  TestFixture::Fill(list, 17);
  const auto* block = list.begin();
  const long live = test_host::LiveBlocks();
  list.clear();
  EXPECT_EQ(0u, list.size());
  EXPECT_EQ(32u, list.capacity());
  EXPECT_EQ(block, list.begin());
  EXPECT_EQ(live - 17, test_host::LiveBlocks());
  list.clear();
  EXPECT_EQ(32u, list.capacity());
  TestFixture::Fill(list, 2);
  EXPECT_EQ(block, list.begin());
  EXPECT_EQ(TestFixture::Expected({"0", "1"}), TestFixture::Held(list));
}

TYPED_TEST(StringVector, ElementsCanBeChanged) {
  typename TestFixture::List list;
  TestFixture::Fill(list, 2);
  list[1] += list[0].c_str();
  for (auto& string : list) {
    string += TestFixture::Make("!").c_str();
  }
  EXPECT_EQ(TestFixture::Expected({"0!", "10!"}), TestFixture::Held(list));
}

TYPED_TEST(StringVector, MovesButIsNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<typename TestFixture::List>);
  EXPECT_FALSE(std::is_copy_assignable_v<typename TestFixture::List>);
  typename TestFixture::List list;
  TestFixture::Fill(list, 2);
  const auto* block = list.begin();
  const typename TestFixture::List moved(std::move(list));
  EXPECT_EQ(block, moved.begin());
  EXPECT_EQ(TestFixture::Expected({"0", "1"}), TestFixture::Held(moved));
  EXPECT_EQ(0u, list.size());  // NOLINT(bugprone-use-after-move): left empty, as promised
}

TYPED_TEST(StringVector, TokenizesAtEveryCharacterOfTheSet) {
  const struct {
    const char* text;
    const char* delimiters;
    std::initializer_list<std::string_view> pieces;
  } kCases[] = {
      {"a,b", ",", {"a", "b"}},
      {",a", ",", {"", "a"}},
      {"a,,b", ",", {"a", "", "b"}},
      {"a,b,", ",", {"a", "b"}},
      {"a;b,c", ",;", {"a", "b", "c"}},
      {"a;b,c", ",", {"a;b", "c"}},
      {"", ",", {}},
      {"", "", {}},
      {",", ",", {""}},
      {",,", ",", {"", ""}},
      {"one", ",", {"one"}},
      {"a,b", "", {"a,b"}},
      {"alpha, beta", ", ", {"alpha", "", "beta"}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::string(c.text) + " by " + c.delimiters);
    const auto list = TestFixture::Make(c.text).tokenize(TestFixture::Make(c.delimiters));
    EXPECT_EQ(TestFixture::Expected(c.pieces), TestFixture::Held(list));
  }
}

TYPED_TEST(StringVector, NullTextHasNoPieces) {
  const auto list = typename TestFixture::String().tokenize(TestFixture::Make(","));
  EXPECT_EQ(0u, list.size());
  EXPECT_EQ(0u, list.capacity());
}

TYPED_TEST(StringVector, NullSetMatchesNothing) {
  const auto list = TestFixture::Make("a,b").tokenize(typename TestFixture::String());
  EXPECT_EQ(TestFixture::Expected({"a,b"}), TestFixture::Held(list));
}

TYPED_TEST(StringVector, EmptyPiecesAreNotNull) {
  const auto list = TestFixture::Make(",a").tokenize(TestFixture::Make(","));
  EXPECT_NE(typename TestFixture::String().c_str(), list[0].c_str());
}

TYPED_TEST(StringVector, TokenizingLeavesTheTextAlone) {
  const auto text = TestFixture::Make("a,b,c");
  const auto list = text.tokenize(text);  // each character is in the set, the letters too
  EXPECT_EQ(TestFixture::Expected({"", "", "", "", ""}), TestFixture::Held(list));
  EXPECT_EQ(TestFixture::Widen("a,b,c"), text.c_str());
}

// The rule as it is told, one piece per recursion: the piece before the first delimiter, then the
// pieces of what follows it.
template <class Text>
void Split(const Text& text, const Text& delimiters, std::vector<Text>& pieces) {
  if (text.empty()) {
    return;
  }
  const size_t at = text.find_first_of(delimiters);
  pieces.push_back(text.substr(0, at));
  if (at != Text::npos) {
    Split(text.substr(at + 1), delimiters, pieces);
  }
}

// The text number `index` of the length over the four letters.
std::string TextAt(size_t index, size_t len) {
  std::string text;
  for (size_t i = 0; i < len; i++, index /= 4) {
    text.push_back("ab,;"[index % 4]);
  }
  return text;
}

TYPED_TEST(StringVector, TokenizesAllShortTextsAsTheRecursiveRuleDoes) {
  for (const char* set : {"", ",", ";", ",;", ";,,", "a", "ab,;", "x"}) {
    const auto delimiters = TestFixture::Make(set);
    for (size_t len = 0; len <= 7; len++) {
      for (size_t index = 0; index < size_t{1} << (2 * len); index++) {
        const std::string text = TextAt(index, len);
        typename TestFixture::Model expected;
        Split(TestFixture::Widen(text), TestFixture::Widen(set), expected);
        const auto list = TestFixture::Make(text).tokenize(delimiters);
        ASSERT_EQ(expected, TestFixture::Held(list)) << text << " by " << set;
      }
    }
  }
}

// A recursion per piece, or a copy of the rest for each piece, would not come to an end here.
TYPED_TEST(StringVector, AMillionPiecesNeedLittleStackAndLinearTime) {
  constexpr size_t kPieces = 1000000;
  std::basic_string<TypeParam> text;
  for (size_t i = 0; i < kPieces; i++) {
    text += TestFixture::Widen(i % 2 == 0 ? "ab," : ";");
  }
  const typename TestFixture::String string(text.c_str());
  const auto delimiters = TestFixture::Make(",;");
  size_t pieces = 0;
  size_t length = 0;
  OnSmallStack([&] {
    const auto list = string.tokenize(delimiters);
    pieces = list.size();
    for (const auto& piece : list) {
      length += piece.size();
    }
  });
  EXPECT_EQ(kPieces, pieces);
  EXPECT_EQ(kPieces, length);  // two characters in every other piece
}

TYPED_TEST(StringVector, TokenizingAllocatesOncePerPieceAndForTheList) {
  const auto text = TestFixture::Make("a,b,c");
  auto delimiters = TestFixture::Make(",");
  const long before = test_host::AllocationAttempts();
  const auto list = text.tokenize(std::move(delimiters));
  EXPECT_EQ(3u, list.size());
  EXPECT_EQ(4, test_host::AllocationAttempts() - before);
}

TEST(StringVectorNarrow, BytesBeyondAsciiAreDelimitersToo) {
  const auto list = core::basic_string<char>(
                        "a\xFF"
                        "b\x80"
                        "c")
                        .tokenize("\x80\xFF");
  ASSERT_EQ(3u, list.size());
  EXPECT_STREQ("c", list[2].c_str());
}

TEST(StringVectorWide, DelimitersAreComparedAsWholeUnits) {
  const std::wstring text = L"a" + Units({0x10000 + ','}) + L"b" + Units({0xFFFFFFE9}) + L"c";
  const auto list = core::basic_string<wchar_t>(text.c_str()).tokenize((L"," + Units({0xFFFFFFE9})).c_str());
  ASSERT_EQ(2u, list.size());
  EXPECT_STREQ(L"c", list[1].c_str());
}

}  // namespace
