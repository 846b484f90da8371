// Values: freeing, moving, and every reader on the right kind, the wrong kind and nothing.
#include "core/bencode/bencoding.h"

#include <gtest/gtest.h>
#include <limits.h>

#include <string>
#include <string_view>
#include <vector>

#include "core/base/mem1.h"
#include "core/format/strfmt.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"

namespace {

using namespace core;
using namespace std::string_literals;
using namespace std::string_view_literals;

static_assert(BENC_NONE == 0 && BENC_INT == 1 && BENC_INT64 == 2 && BENC_STR == 3 && BENC_LIST == 4 && BENC_DICT == 5);
static_assert(BENC_VLIST == 6 && BENC_INT_LAZY == 8 && BENC_NULL == 253 && BENC_BOOL == 254 && BENC_VOID == 255);
static_assert(sizeof(BencodedDict) == 16 && sizeof(BencodedList) == 16 && sizeof(BencEntityMem) == 16 &&
              sizeof(BencEntityLazyInt) == 16);

// A string or lazy integer with owned or borrowed bytes.
void MakeText(BencEntity& value, int kind, std::string_view text) {
  auto* bytes = new BencArray<unsigned char>;
  bytes->Assign(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  BencPeek::SetBytes(value, kind, bytes);
}
void BorrowText(BencEntity& value, int kind, const unsigned char* text, size_t len) {
  auto* bytes = new BencArray<unsigned char>;
  bytes->Borrow(text, len);
  BencPeek::SetBytes(value, kind, bytes);
}

BencEntityMem& AsMem(BencEntity& value) { return static_cast<BencEntityMem&>(value); }
BencEntityLazyInt& AsLazy(BencEntity& value) { return static_cast<BencEntityLazyInt&>(value); }
BencodedList& AsList(BencEntity& value) { return static_cast<BencodedList&>(value); }
BencodedDict& AsDict(BencEntity& value) { return static_cast<BencodedDict&>(value); }

// Values of every kind: name 'n' none, 'i' int, 'I' int64, 's' string, 'l' list, 'd' dictionary,
// 'v' virtual list, 'z' lazy integer, 'N' null, 'B' bool, 'V' void.
constexpr std::string_view kKinds = "niIsldvzNBV";

void NoElement(void*, size_t, BencEntity*) {}

void Make(BencEntity& value, char kind) {
  switch (kind) {
    case 'i':
      return BencPeek::SetPlain(value, BENC_INT, 42);
    case 'I':
      return BencPeek::SetPlain(value, BENC_INT64, 42);
    case 's':
      return MakeText(value, BENC_STR, "text");
    case 'l': {
      BencodedList list;
      return value.MoveFrom(list);
    }
    case 'd': {
      BencodedDict dict;
      return value.MoveFrom(dict);
    }
    case 'v':
      value.SetVList(NoElement, 3, nullptr);
      return;
    case 'z':
      return MakeText(value, BENC_INT_LAZY, "42");
    case 'N':
      return BencPeek::SetPlain(value, BENC_NULL);
    case 'B':
      return BencPeek::SetPlain(value, BENC_BOOL, 1);
    case 'V':
      return BencPeek::SetPlain(value, BENC_VOID);
    default:
      return value.ZeroOut();
  }
}

class Bencoding : public BencTest {};

TEST_F(Bencoding, AnOwnedArrayCopiesAndTerminates) {
  ExactBytes in("a\0b"sv);
  BencArray<unsigned char> array;
  array.Assign(in.begin(), in.size());
  EXPECT_FALSE(array.borrowed);
  ASSERT_EQ(3u, array.size());
  EXPECT_NE(in.begin(), array.begin());
  EXPECT_EQ(0, memcmp("a\0b\0", array.begin(), 4));
}

TEST_F(Bencoding, ACopyOfAnOwnedArrayOwnsItsBytes) {
  BencArray<unsigned char> array;
  array.Assign(ExactBytes("ab").begin(), 2);
  BencArray<unsigned char> copy(array);
  EXPECT_FALSE(copy.borrowed);
  EXPECT_NE(array.begin(), copy.begin());
  ASSERT_EQ(2u, copy.size());
  EXPECT_EQ(0, memcmp("ab\0", copy.begin(), 3));
}

TEST_F(Bencoding, ACopyOfABorrowedArrayBorrowsTheSameBytes) {
  ExactBytes in("ab");
  BencArray<unsigned char> array;
  array.Borrow(in.begin(), in.size());
  BencArray<unsigned char> copy(array);
  EXPECT_TRUE(copy.borrowed);
  EXPECT_EQ(in.begin(), copy.begin());
  EXPECT_EQ(2u, copy.size());
}

struct KeyCase {
  std::string_view less;
  std::string_view greater;
};

const KeyCase kOrderedKeys[] = {
    {"", "a"},       {"a", "b"},     {"a", "aa"},     {"aa", "b"},        {"\x7f", "\x80"},      {"z", "\xff"},
    {"", "\0"sv},    {"a", "a\0"sv}, {"a\0"sv, "ab"}, {"a\0zzz"sv, "ab"}, {"a\0z"sv, "a\0aa"sv}, {"\0"sv, "\0\0"sv},
    {"\0zz"sv, "a"},
};

TEST_F(Bencoding, KeysAreOrderedByBytesThenByLength) {
  for (const KeyCase& c : kOrderedKeys) {
    SCOPED_TRACE(testing::PrintToString(c.less) + " < " + testing::PrintToString(c.greater));
    ExactBytes less(c.less);
    ExactBytes greater(c.greater);
    BencArray<char> a;
    BencArray<char> b;
    a.Borrow(less.chars(), less.size());
    b.Borrow(greater.chars(), greater.size());
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(a < a);
  }
}

TEST_F(Bencoding, KeysOfOneLengthThatAgreeUpToACommonZeroByteAreEqual) {
  ExactBytes x("a\0x"sv);
  ExactBytes y("a\0y"sv);
  BencArray<char> a;
  BencArray<char> b;
  a.Borrow(x.chars(), x.size());
  b.Borrow(y.chars(), y.size());
  EXPECT_FALSE(a < b);
  EXPECT_FALSE(b < a);
}

TEST_F(Bencoding, FreeMembersLeavesEveryKindNone) {
  for (char kind : kKinds) {
    SCOPED_TRACE(kind);
    BencEntity value;
    Make(value, kind);
    value.FreeMembers();
    EXPECT_EQ(BENC_NONE, value.GetType());
    value.FreeMembers();
    EXPECT_EQ(BENC_NONE, value.GetType());
  }
}

TEST_F(Bencoding, FreeMembersFreesEveryKindAtAnyDepth) {
  for (char kind : kKinds) {
    SCOPED_TRACE(kind);
    BencTreeOf tree("ld1:alli1eeeee");
    BencEntity* deep = tree.list().GetDict(0)->GetList("a")->GetList(0)->Get(0);
    deep->FreeMembers();
    Make(*deep, kind);
    tree.root.FreeMembers();
    EXPECT_EQ(BENC_NONE, tree.root.GetType());
  }
}

TEST_F(Bencoding, FreeMembersOfABorrowedStringLeavesTheBytes) {
  ExactBytes in("abc");
  BencEntity value;
  BorrowText(value, BENC_STR, in.begin(), in.size());
  value.FreeMembers();
  EXPECT_EQ("abc", in.view());
}

TEST_F(Bencoding, FreeMembersZeroesAVirtualList) {
  BencEntity value;
  Make(value, 'v');
  value.FreeMembers();
  EXPECT_EQ(0, BencPeek::Word(value));
}

using BencodingDeathTest = Bencoding;

void FreeKind(int kind) {
  BencEntity value;
  BencPeek::SetPlain(value, kind);
  value.FreeMembers();
}

TEST_F(BencodingDeathTest, FreeingAnInvalidKindIsFatal) {
  for (int kind : {7, 9, 128, 252, 256, -1}) {
    SCOPED_TRACE(kind);
    EXPECT_FATAL(FreeKind(kind), "core/bencoding", 1041);
  }
}

TEST_F(BencodingDeathTest, FreeingAnInvalidKindInsideATreeIsFatal) {
  for (std::string_view input : {"li1ei2ee"sv, "d1:ai1e1:bi2ee"sv}) {
    SCOPED_TRACE(input);
    BencTreeOf tree(input);
    BencEntity* inner = input[0] == 'l' ? tree.list().Get(1) : tree.dict().Get("b");
    EXPECT_FATAL_ANY_LINE((BencPeek::SetKind(*inner, 7), tree.root.FreeMembers()), "core/bencoding");
  }
}

TEST_F(BencodingDeathTest, DecodingIntoAnInvalidKindIsFatal) {
  ExactBytes in("le");
  BencEntity value;
  EXPECT_FATAL_ANY_LINE((BencPeek::SetKind(value, 7), BencEntity::Parse(in.begin(), value, in.end())),
                        "core/bencoding");
}

TEST_F(Bencoding, ZeroOutForgetsWithoutFreeing) {
  BencodedList list;
  BencEntity saved;
  saved.MoveFrom(list);
  BencEntity alias;
  memcpy(static_cast<void*>(&alias), static_cast<const void*>(&saved), sizeof(alias));
  alias.ZeroOut();
  EXPECT_EQ(BENC_NONE, alias.GetType());
  EXPECT_EQ(0, BencPeek::Word(alias));
  EXPECT_EQ(0u, AsList(saved).GetCount());
  saved.FreeMembers();
}

TEST_F(Bencoding, MoveFromTakesTheValueAndEmptiesTheSource) {
  for (char kind : kKinds) {
    SCOPED_TRACE(kind);
    BencEntity source;
    Make(source, kind);
    const BencType type = source.GetType();
    const int64_t word = BencPeek::Word(source);
    BencEntity target;
    target.MoveFrom(source);
    EXPECT_EQ(type, target.GetType());
    EXPECT_EQ(word, BencPeek::Word(target));
    EXPECT_EQ(BENC_NONE, source.GetType());
    EXPECT_EQ(0, BencPeek::Word(source));
    target.FreeMembers();
  }
}

TEST_F(Bencoding, MoveFromReplacesANull) {
  for (char kind : kKinds) {
    SCOPED_TRACE(kind);
    BencEntity source;
    Make(source, kind);
    const BencType type = source.GetType();
    BencEntity target;
    Make(target, 'N');
    target.MoveFrom(source);
    EXPECT_EQ(type, target.GetType());
    target.FreeMembers();
  }
}

TEST_F(Bencoding, MoveFromFreesAValueOfTheSameKind) {
  for (char kind : kKinds) {
    SCOPED_TRACE(kind);
    BencEntity source;
    Make(source, kind);
    const int64_t word = BencPeek::Word(source);
    BencEntity target;
    Make(target, kind);
    target.MoveFrom(source);
    EXPECT_EQ(word, BencPeek::Word(target));
    target.FreeMembers();
  }
}

TEST_F(Bencoding, MoveFromTakesAnElementOfItself) {
  BencTreeOf tree("lli1ei2eei3ee");
  tree.root.MoveFrom(*tree.list().Get(0));
  ASSERT_EQ(2u, tree.list().GetCount());
  EXPECT_EQ(2, tree.list().GetInt(1, 0));
}

TEST_F(Bencoding, AMovedValueOutlivesTheTreeItWasDecodedIn) {
  BencEntity kept;
  {
    BencTreeOf tree("d1:ai1e1:bd1:kl3:xyzi7eee1:c1:ve");
    kept.MoveFrom(*tree.dict().Get("b"));
    EXPECT_EQ(BENC_NONE, tree.dict().Get("b")->GetType());
  }
  size_t len = 0;
  BencodedList* list = AsDict(kept).GetList("k");
  ASSERT_NE(nullptr, list);
  EXPECT_STREQ("xyz", list->GetString(0, &len));
  EXPECT_EQ(7, list->GetInt(1, 0));
  kept.FreeMembers();
}

TEST_F(Bencoding, CopyConstructionMoves) {
  BencEntity source;
  Make(source, 's');
  BencEntity copy(static_cast<const BencEntity&>(source));
  EXPECT_EQ(BENC_STR, copy.GetType());
  EXPECT_EQ(BENC_NONE, source.GetType());
  copy.FreeMembers();
}

TEST_F(BencodingDeathTest, MovingBetweenDifferentKindsIsFatal) {
  for (char to : kKinds) {
    for (char from : kKinds) {
      if (to == from || to == 'n' || to == 'N' || (to != 'i' && from != 's')) {
        continue;
      }
      SCOPED_TRACE(std::string(1, to) + from);
      BencEntity source;
      BencEntity target;
      Make(source, from);
      Make(target, to);
      EXPECT_FATAL(target.MoveFrom(source), "core/bencoding", 1002);
      source.FreeMembers();
      target.FreeMembers();
    }
  }
}

TEST_F(BencodingDeathTest, MovingAValueOntoItselfIsFatal) {
  for (char kind : {'n', 'I', 'l'}) {
    SCOPED_TRACE(kind);
    BencEntity value;
    Make(value, kind);
    EXPECT_FATAL(value.MoveFrom(value), "core/bencoding", 1001);
    value.FreeMembers();
  }
}

TEST_F(Bencoding, TheTypedConstructorsMakeEmptyValues) {
  BencodedList list;
  EXPECT_EQ(BENC_LIST, list.GetType());
  EXPECT_EQ(0u, list.GetCount());
  list.FreeMembers();

  BencodedDict dict;
  EXPECT_EQ(BENC_DICT, dict.GetType());
  EXPECT_EQ(nullptr, dict.Get(""));
  dict.FreeMembers();

  BencEntityMem text;
  EXPECT_EQ(BENC_STR, text.GetType());
  EXPECT_FALSE(BencPeek::Bytes(text).borrowed);
  size_t len = 99;
  EXPECT_STREQ("", text.GetString(&len));
  EXPECT_EQ(0u, len);
  text.FreeMembers();
}

TEST_F(Bencoding, GetIntGivesTheLow32BitsOfAnInteger) {
  const std::pair<int64_t, int> cases[] = {{0, 0},
                                           {-1, -1},
                                           {INT_MAX, INT_MAX},
                                           {INT_MIN, INT_MIN},
                                           {int64_t{INT_MAX} + 1, INT_MIN},
                                           {int64_t{INT_MIN} - 1, INT_MAX},
                                           {4294967295, -1},
                                           {4294967296, 0},
                                           {4294967297, 1},
                                           {INT64_MAX, -1},
                                           {INT64_MIN, 0}};
  for (const auto& [stored, expected] : cases) {
    for (int kind : {BENC_INT, BENC_INT64}) {
      SCOPED_TRACE(stored);
      BencEntity value;
      BencPeek::SetPlain(value, kind, stored);
      EXPECT_EQ(expected, value.GetInt(7));
      EXPECT_EQ(stored, value.GetInt64(7));
      EXPECT_EQ(stored, value.GetInt64(8));
      EXPECT_EQ(kind, value.GetType());
    }
  }
}

TEST_F(Bencoding, GetIntGivesTheDefaultForEveryOtherKind) {
  for (char kind : kKinds) {
    if (kind == 'i' || kind == 'I') {
      continue;
    }
    SCOPED_TRACE(kind);
    BencEntity value;
    Make(value, kind);
    const BencType type = value.GetType();
    EXPECT_EQ(7, value.GetInt(7));
    EXPECT_EQ(-5000000000, value.GetInt64(-5000000000));
    EXPECT_EQ(type, value.GetType());
    value.FreeMembers();
  }
}

TEST_F(Bencoding, ALazyIntegerBecomesAnIntOnItsFirstRead) {
  BencEntity value;
  MakeText(value, BENC_INT_LAZY, "4294967298");
  EXPECT_EQ(4294967298, AsLazy(value).GetInt64(7));
  EXPECT_EQ(BENC_INT, value.GetType());
  EXPECT_EQ(4294967298, value.GetInt64(7));
}

TEST_F(Bencoding, ALazyIntegerReadAs32BitsKeepsAllOfThem) {
  BencEntity value;
  MakeText(value, BENC_INT_LAZY, "4294967298");
  EXPECT_EQ(2, AsLazy(value).GetInt(7));
  EXPECT_EQ(BENC_INT, value.GetType());
  EXPECT_EQ(4294967298, value.GetInt64(7));
}

TEST_F(Bencoding, ALazyIntegerIsReadAsStrtollReads) {
  const std::pair<std::string_view, long long> cases[] = {
      {"", 0}, {"-", 0}, {" -12x", -12}, {"007", 7}, {"99999999999999999999", INT64_MAX}, {"1\0002"sv, 1}};
  for (const auto& [text, number] : cases) {
    SCOPED_TRACE(text);
    BencEntity value;
    MakeText(value, BENC_INT_LAZY, text);
    EXPECT_EQ(number, AsLazy(value).GetInt64(55));
  }
}

TEST_F(Bencoding, ABorrowedLazyIntegerEndsWhereItsTextEnds) {
  ExactBytes digits("12345");
  BencEntity part;
  BorrowText(part, BENC_INT_LAZY, digits.begin(), 2);
  EXPECT_EQ(12, AsLazy(part).GetInt64(0));
  BencEntity whole;
  BorrowText(whole, BENC_INT_LAZY, digits.begin(), digits.size());
  EXPECT_EQ(12345, AsLazy(whole).GetInt64(0));
  EXPECT_EQ("12345", digits.view());
}

TEST_F(BencodingDeathTest, ALazyReadOfAnotherKindIsFatal) {
  for (char kind : kKinds) {
    if (kind == 'z') {
      continue;
    }
    SCOPED_TRACE(kind);
    BencEntity value;
    Make(value, kind);
    EXPECT_FATAL(AsLazy(value).GetInt64(0), "core/bencoding", 1003);
    EXPECT_FATAL(AsLazy(value).GetInt(0), "core/bencoding", 1003);
    value.FreeMembers();
  }
}

TEST_F(BencodingDeathTest, ALazyReadOfAConvertedIntegerIsFatal) {
  BencEntity value;
  MakeText(value, BENC_INT_LAZY, "1");
  AsLazy(value).GetInt(0);
  EXPECT_FATAL(AsLazy(value).GetInt(0), "core/bencoding", 1003);
}

TEST_F(Bencoding, ParseNumTakesTheTextOfTheStringItself) {
  BencTreeOf tree("l20:00000000000000000042e");
  BencEntity& value = *tree.list().Get(0);
  value.ParseNum(reinterpret_cast<const unsigned char*>(static_cast<BencEntityMem&>(value).GetString(nullptr)));
  EXPECT_EQ(BENC_INT64, value.GetType());
  EXPECT_EQ(42, value.GetInt64(0));
}

TEST_F(Bencoding, ParseNumReplacesTheValue) {
  const std::pair<const char*, long long> cases[] = {
      {"12", 12}, {"-12x", -12}, {"", 0}, {"e", 0}, {" 9223372036854775808", INT64_MAX}, {"12e5", 12}};
  for (const auto& [text, number] : cases) {
    for (char kind : kKinds) {
      SCOPED_TRACE(text);
      BencEntity value;
      Make(value, kind);
      value.ParseNum(reinterpret_cast<const unsigned char*>(text));
      EXPECT_EQ(BENC_INT64, value.GetType());
      EXPECT_EQ(number, value.GetInt64(55));
    }
  }
}

TEST_F(Bencoding, GetStringGivesBytesAndLength) {
  BencEntity value;
  MakeText(value, BENC_STR, "a\0b"sv);
  size_t len = 99;
  const char* text = AsMem(value).GetString(&len);
  ASSERT_EQ(3u, len);
  EXPECT_EQ("a\0b\0"sv, std::string_view(text, 4));
  EXPECT_EQ(text, AsMem(value).GetString(nullptr));
  value.FreeMembers();
}

TEST_F(Bencoding, GetStringGivesNullForEveryOtherKind) {
  for (char kind : kKinds) {
    if (kind == 's') {
      continue;
    }
    SCOPED_TRACE(kind);
    BencEntity value;
    Make(value, kind);
    size_t len = 99;
    EXPECT_EQ(nullptr, AsMem(value).GetString(&len));
    EXPECT_EQ(nullptr, AsMem(value).GetStringT(0, &len));
    EXPECT_EQ(99u, len);
    EXPECT_EQ(nullptr, AsMem(value).GetString(nullptr));
    value.FreeMembers();
  }
}

TEST_F(Bencoding, GetStringTerminatesABorrowedStringInItsBuffer) {
  ExactBytes in("abcdef");
  BencEntity value;
  BorrowText(value, BENC_STR, in.begin() + 1, 3);
  size_t len = 0;
  const char* text = AsMem(value).GetString(&len);
  EXPECT_EQ(in.chars() + 1, text);
  EXPECT_EQ(3u, len);
  EXPECT_EQ("abcd\0f"sv, in.view());
  value.FreeMembers();
}

TEST_F(Bencoding, GetStringWritesNothingBehindAnEmptyBorrowedString) {
  ExactBytes in("abc");
  BencEntity value;
  BorrowText(value, BENC_STR, in.begin() + 1, 0);
  size_t len = 99;
  const char* text = AsMem(value).GetString(&len);
  EXPECT_STREQ("", text);
  EXPECT_EQ(0u, len);
  EXPECT_TRUE(text < in.chars() || text > in.chars() + 3);
  EXPECT_EQ("abc", in.view());
  value.FreeMembers();
}

TEST_F(Bencoding, GetStringTConvertsByCodePage) {
  BencEntity value;
  MakeText(value, BENC_STR, "caf\xc3\xa9");
  for (int code_page : {0, 1}) {
    SCOPED_TRACE(code_page);
    size_t len = 99;
    EXPECT_STREQ(L"caf\u00e9", AsMem(value).GetStringT(code_page, &len));
    EXPECT_EQ(4u, len);
  }
  value.FreeMembers();
}

TEST_F(Bencoding, GetStringTTakesTheBytesAsTheyAreForUtf8Only) {
  BencEntity value;
  MakeText(value, BENC_STR, "a\xe9");
  size_t len = 99;
  const wchar_t* text = AsMem(value).GetStringT(1, &len);
  ASSERT_EQ(2u, len);
  EXPECT_EQ(0xFFFFFFE9u, static_cast<unsigned>(text[1]));
  value.FreeMembers();
}

TEST_F(Bencoding, GetStringTOfAnEmptyStringIsEmpty) {
  for (int code_page : {0, 1, 2, -1}) {
    SCOPED_TRACE(code_page);
    BencEntity value;
    MakeText(value, BENC_STR, "");
    size_t len = 99;
    EXPECT_STREQ(L"", AsMem(value).GetStringT(code_page, &len));
    EXPECT_EQ(0u, len);
    EXPECT_STREQ(L"", AsMem(value).GetStringT(code_page, nullptr));
    value.FreeMembers();
  }
  BencEntityMem never_set;
  EXPECT_STREQ(L"", never_set.GetStringT(0, nullptr));
  never_set.FreeMembers();
}

TEST_F(Bencoding, GetStringTNeedsNoTerminatorAndWritesNone) {
  ExactBytes in("xabcx");
  BencEntity value;
  BorrowText(value, BENC_STR, in.begin() + 1, 3);
  size_t len = 0;
  EXPECT_STREQ(L"abc", AsMem(value).GetStringT(0, &len));
  EXPECT_EQ(3u, len);
  EXPECT_EQ("xabcx", in.view());
  value.FreeMembers();

  BorrowText(value, BENC_STR, in.begin() + 1, 4);
  EXPECT_STREQ(L"abcx", AsMem(value).GetStringT(0, nullptr));
  value.FreeMembers();
}

TEST_F(Bencoding, GetStringTLivesInTheThreadsTemporarySlot) {
  BencEntity value;
  MakeText(value, BENC_STR, "one");
  const wchar_t* text = AsMem(value).GetStringT(0, nullptr);
  value.FreeMembers();
  EXPECT_STREQ(L"one", text);
  EXPECT_EQ(text, GetTLS()->temp_wide);
  const long blocks = test_host::LiveBlocks();
  str_temp(nullptr);
  EXPECT_EQ(blocks - 1, test_host::LiveBlocks());
}

TEST_F(Bencoding, TheNextGetStringTReplacesTheLast) {
  BencTreeOf tree("l3:one3:twoe");
  tree.list().GetStringT(0, 0, nullptr);
  const long blocks = test_host::LiveBlocks();
  EXPECT_STREQ(L"two", tree.list().GetStringT(1, 0, nullptr));
  EXPECT_EQ(blocks, test_host::LiveBlocks());
}

// A dictionary with one value of each kind, under the kind's letter.
class EveryKind {
 public:
  EveryKind() : tree_(Encoded()) {
    for (char kind : kKinds) {
      BencEntity* value = dict().Get(std::string(1, kind).c_str());
      value->FreeMembers();
      Make(*value, kind);
    }
  }
  BencodedDict& dict() { return tree_.dict(); }

 private:
  static std::string Encoded() {
    std::string out = "d";
    for (char kind : kKinds) {
      out += std::string("1:") + kind + "i0e";
    }
    return out + "e";
  }
  BencTreeOf tree_;
};

TEST_F(Bencoding, DictGetFindsEveryKindAndNothingElse) {
  EveryKind all;
  for (char kind : kKinds) {
    SCOPED_TRACE(kind);
    BencEntity expected;
    Make(expected, kind);
    const BencEntity* found = all.dict().Get(std::string(1, kind).c_str());
    ASSERT_NE(nullptr, found);
    EXPECT_EQ(expected.GetType(), found->GetType());
    expected.FreeMembers();
  }
  for (const char* missing : {"", "a", "ii", "D", "\xff"}) {
    SCOPED_TRACE(missing);
    EXPECT_EQ(nullptr, all.dict().Get(missing));
  }
}

TEST_F(Bencoding, DictGetDictGivesDictionariesOnly) {
  EveryKind all;
  for (char kind : kKinds) {
    SCOPED_TRACE(kind);
    const std::string key(1, kind);
    EXPECT_EQ(kind == 'd' ? all.dict().Get("d") : nullptr, all.dict().GetDict(key.c_str()));
  }
  EXPECT_EQ(nullptr, all.dict().GetDict("missing"));
}

TEST_F(Bencoding, DictGetListGivesListsButNoVirtualOnes) {
  EveryKind all;
  for (char kind : kKinds) {
    SCOPED_TRACE(kind);
    const std::string key(1, kind);
    EXPECT_EQ(kind == 'l' ? all.dict().Get("l") : nullptr, all.dict().GetList(key.c_str()));
  }
  EXPECT_EQ(nullptr, all.dict().GetList("missing"));
}

TEST_F(Bencoding, DictGetStringGivesStringsOnly) {
  EveryKind all;
  for (char kind : kKinds) {
    SCOPED_TRACE(kind);
    const std::string key(1, kind);
    size_t len = 99;
    const char* text = all.dict().GetString(key.c_str(), &len);
    const wchar_t* wide = all.dict().GetStringT(key.c_str(), 0, nullptr);
    char* copy = all.dict().GetStringCopy(key.c_str());
    const char* exact = all.dict().GetString(key.c_str(), size_t{4});
    if (kind == 's') {
      EXPECT_STREQ("text", text);
      EXPECT_EQ(4u, len);
      EXPECT_STREQ(L"text", wide);
      EXPECT_STREQ("text", copy);
      EXPECT_EQ(text, exact);
    } else {
      EXPECT_EQ(nullptr, text);
      EXPECT_EQ(99u, len);
      EXPECT_EQ(nullptr, wide);
      EXPECT_EQ(nullptr, copy);
      EXPECT_EQ(nullptr, exact);
    }
    MyFree(copy);
  }
}

TEST_F(Bencoding, DictGetStringGivesNullForAMissingKey) {
  EveryKind all;
  size_t len = 99;
  EXPECT_EQ(nullptr, all.dict().GetString("missing", &len));
  EXPECT_EQ(nullptr, all.dict().GetString("missing", size_t{0}));
  EXPECT_EQ(nullptr, all.dict().GetStringCopy("missing"));
  EXPECT_EQ(nullptr, all.dict().GetStringT("missing", 0, &len));
  EXPECT_EQ(99u, len);
}

TEST_F(Bencoding, DictGetStringTakesANullLength) {
  EveryKind all;
  size_t* const none = nullptr;
  EXPECT_STREQ("text", all.dict().GetString("s", none));
  EXPECT_EQ(nullptr, all.dict().GetString("i", none));
}

TEST_F(Bencoding, DictGetIntGivesIntegersOnly) {
  EveryKind all;
  for (char kind : kKinds) {
    SCOPED_TRACE(kind);
    const std::string key(1, kind);
    const bool integer = kind == 'i' || kind == 'I';
    EXPECT_EQ(integer ? 42 : 7, all.dict().GetInt(key.c_str(), 7));
    EXPECT_EQ(integer ? 42 : -5000000000, all.dict().GetInt64(key.c_str(), -5000000000));
  }
  EXPECT_EQ(7, all.dict().GetInt("missing", 7));
  EXPECT_EQ(-5000000000, all.dict().GetInt64("missing", -5000000000));
  EXPECT_EQ(BENC_INT_LAZY, all.dict().Get("z")->GetType());
}

TEST_F(Bencoding, DictGetIntCutsToTheLow32Bits) {
  BencTreeOf tree("d1:ki4294967297e1:s1:xe");
  EXPECT_EQ(1, tree.dict().GetInt("k", 7));
  EXPECT_EQ(4294967297, tree.dict().GetInt64("k", 7));
  EXPECT_EQ(7, tree.dict().GetInt("s", 7));
  EXPECT_EQ(7, tree.dict().GetInt64("s", 7));
}

TEST_F(Bencoding, DictGetStringByLengthWantsExactlyThatLength) {
  for (size_t stored : {19u, 20u, 21u}) {
    SCOPED_TRACE(stored);
    for (BencTreeOf::Mode mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
      const std::string input = "d3:key" + std::to_string(stored) + ":" + std::string(stored, 'x') + "e";
      BencTreeOf tree(input, mode);
      const char* text = tree.dict().GetString("key", size_t{20});
      if (stored == 20) {
        ASSERT_NE(nullptr, text);
        EXPECT_EQ(std::string(20, 'x'), std::string_view(text, 20));
      } else {
        EXPECT_EQ(nullptr, text);
      }
      EXPECT_EQ(input, tree.bytes.view());
    }
  }
}

TEST_F(Bencoding, DictGetStringByLengthGivesTheRawPointer) {
  BencTreeOf tree("d1:a3:xyz1:b0:e", BencTreeOf::kInPlace);
  EXPECT_EQ(tree.bytes.chars() + 6, tree.dict().GetString("a", size_t{3}));
  EXPECT_EQ(tree.bytes.chars() + 14, tree.dict().GetString("b", size_t{0}));
  EXPECT_EQ("d1:a3:xyz1:b0:e", tree.bytes.view());
}

TEST_F(Bencoding, DictGetStringCopyIsIndependentAndStopsAtAZeroByte) {
  BencTreeOf tree("d1:a3:xyz1:b3:x\0z1:c0:e"sv);
  char* a = tree.dict().GetStringCopy("a");
  char* b = tree.dict().GetStringCopy("b");
  char* c = tree.dict().GetStringCopy("c");
  tree.root.FreeMembers();
  EXPECT_STREQ("xyz", a);
  EXPECT_STREQ("x", b);
  EXPECT_STREQ("", c);
  MyFree(a);
  MyFree(b);
  MyFree(c);
}

TEST_F(Bencoding, DictGetStringCopyTakesAStringThatWasNeverSet) {
  BencTreeOf tree("d1:ai0ee");
  tree.dict().Get("a")->FreeMembers();
  BencEntityMem empty;
  tree.dict().Get("a")->MoveFrom(empty);
  char* copy = tree.dict().GetStringCopy("a");
  EXPECT_STREQ("", copy);
  MyFree(copy);
}

TEST_F(BencodingDeathTest, CopyingAnUnterminatedStringIsFatal) {
  BencTreeOf tree("d1:a3:xyz1:b0:e", BencTreeOf::kInPlace);
  EXPECT_FATAL(tree.dict().GetStringCopy("a"), "core/bencoding", 1010);
  EXPECT_FATAL(tree.dict().GetStringCopy("b"), "core/bencoding", 1010);
}

TEST_F(Bencoding, DictGetStringCopyTakesABorrowedStringOnceItWasRead) {
  BencTreeOf tree("d1:a3:xyze", BencTreeOf::kInPlace);
  size_t len = 0;
  tree.dict().GetString("a", &len);
  char* copy = tree.dict().GetStringCopy("a");
  EXPECT_STREQ("xyz", copy);
  MyFree(copy);
}

TEST_F(Bencoding, AKeyWithAZeroByteIsFoundByNoTerminatedName) {
  BencTreeOf tree("d3:a\0xi1e1:bi2ee"sv);
  EXPECT_EQ(nullptr, tree.dict().Get("a"));
  EXPECT_EQ(2, tree.dict().GetInt("b", 0));
}

TEST_F(Bencoding, TheEmptyKeyIsAKey) {
  BencTreeOf tree("d0:i1e1:ai2ee");
  EXPECT_EQ(1, tree.dict().GetInt("", 0));
}

// Every reader of a dictionary.
void ReadDict(BencodedDict& dict, int reader) {
  size_t len = 0;
  switch (reader) {
    case 0:
      dict.Get("a");
      return;
    case 1:
      dict.GetDict("a");
      return;
    case 2:
      dict.GetList("a");
      return;
    case 3:
      dict.GetString("a", &len);
      return;
    case 4:
      dict.GetString("a", size_t{0});
      return;
    case 5:
      dict.GetStringCopy("a");
      return;
    case 6:
      dict.GetStringT("a", 0, &len);
      return;
    case 7:
      dict.GetInt("a", 0);
      return;
    default:
      dict.GetInt64("a", 0);
      return;
  }
}

TEST_F(BencodingDeathTest, EveryDictReaderOnAListIsFatal) {
  BencodedList list;
  for (int reader = 0; reader < 9; ++reader) {
    SCOPED_TRACE(reader);
    EXPECT_FATAL_ANY_LINE(ReadDict(AsDict(list), reader), "core/bencoding");
  }
  list.FreeMembers();
}

TEST_F(BencodingDeathTest, ADictReaderOnAnyOtherKindIsFatal) {
  for (char kind : kKinds) {
    if (kind == 'd') {
      continue;
    }
    SCOPED_TRACE(kind);
    BencEntity value;
    Make(value, kind);
    EXPECT_FATAL_ANY_LINE(ReadDict(AsDict(value), 0), "core/bencoding");
    value.FreeMembers();
  }
}

TEST_F(BencodingDeathTest, EveryDictReaderOnADictionaryWithoutAMapIsFatal) {
  for (int reader = 0; reader < 9; ++reader) {
    SCOPED_TRACE(reader);
    BencEntity value;
    EXPECT_FATAL_ANY_LINE((BencPeek::SetPlain(value, BENC_DICT), ReadDict(AsDict(value), reader)), "core/bencoding");
  }
}

// A list with one value of each kind, in the order of kKinds.
class EveryElement {
 public:
  EveryElement() : tree_(Encoded()) {
    for (size_t i = 0; i < kKinds.size(); ++i) {
      list().Get(i)->FreeMembers();
      Make(*list().Get(i), kKinds[i]);
    }
  }
  BencodedList& list() { return tree_.list(); }

 private:
  static std::string Encoded() {
    std::string out = "l";
    for (size_t i = 0; i < kKinds.size(); ++i) {
      out += "i0e";
    }
    return out + "e";
  }
  BencTreeOf tree_;
};

TEST_F(Bencoding, ListReadersGiveElementsOfTheirKindOnly) {
  EveryElement all;
  ASSERT_EQ(kKinds.size(), all.list().GetCount());
  for (size_t i = 0; i < kKinds.size(); ++i) {
    const char kind = kKinds[i];
    SCOPED_TRACE(kind);
    BencEntity* element = all.list().Get(i);
    EXPECT_EQ(kind == 'd' ? element : nullptr, all.list().GetDict(i));
    EXPECT_EQ(kind == 'l' ? element : nullptr, all.list().GetList(i));
    const bool integer = kind == 'i' || kind == 'I';
    EXPECT_EQ(integer ? 42 : 7, all.list().GetInt(i, 7));
    EXPECT_EQ(integer ? 42 : -5000000000, all.list().GetInt64(i, -5000000000));
    size_t len = 99;
    if (kind == 's') {
      EXPECT_STREQ("text", all.list().GetString(i, &len));
      EXPECT_EQ(4u, len);
      len = 99;
      EXPECT_STREQ(L"text", all.list().GetStringT(i, 0, &len));
      EXPECT_EQ(4u, len);
    } else {
      EXPECT_EQ(nullptr, all.list().GetString(i, &len));
      EXPECT_EQ(nullptr, all.list().GetStringT(i, 0, &len));
      EXPECT_EQ(99u, len);
    }
    EXPECT_EQ(kind == 's', all.list().GetString(i, nullptr) != nullptr);
  }
}

TEST_F(Bencoding, ListElementsLieSideBySide) {
  BencTreeOf tree("li0eli1ee1:ade1:be");
  for (size_t i = 0; i < tree.list().GetCount(); ++i) {
    EXPECT_EQ(tree.list().Get(0) + i, tree.list().Get(i));
  }
}

TEST_F(Bencoding, ListGetIntCutsToTheLow32Bits) {
  BencTreeOf tree("li4294967297ei-2147483649ee");
  EXPECT_EQ(1, tree.list().GetInt(0, 7));
  EXPECT_EQ(INT_MAX, tree.list().GetInt(1, 7));
  EXPECT_EQ(4294967297, tree.list().GetInt64(0, 7));
}

// Every reader of a list.
void ReadList(BencodedList& list, int reader) {
  size_t len = 0;
  switch (reader) {
    case 0:
      list.GetCount();
      return;
    case 1:
      list.Get(0);
      return;
    case 2:
      list.GetDict(0);
      return;
    case 3:
      list.GetList(0);
      return;
    case 4:
      list.GetString(0, &len);
      return;
    case 5:
      list.GetStringT(0, 0, &len);
      return;
    case 6:
      list.GetInt(0, 0);
      return;
    default:
      list.GetInt64(0, 0);
      return;
  }
}

TEST_F(BencodingDeathTest, EveryListReaderOnADictionaryIsFatal) {
  BencodedDict dict;
  for (int reader = 0; reader < 8; ++reader) {
    SCOPED_TRACE(reader);
    EXPECT_FATAL_ANY_LINE(ReadList(AsList(dict), reader), "core/bencoding");
  }
  dict.FreeMembers();
}

TEST_F(BencodingDeathTest, AListReaderOnAnyOtherKindIsFatal) {
  for (char kind : kKinds) {
    if (kind == 'l' || kind == 'v') {
      continue;
    }
    SCOPED_TRACE(kind);
    BencEntity value;
    Make(value, kind);
    EXPECT_FATAL_ANY_LINE(ReadList(AsList(value), 0), "core/bencoding");
    EXPECT_FATAL_ANY_LINE(ReadList(AsList(value), 1), "core/bencoding");
    EXPECT_FATAL_ANY_LINE(ReadList(AsList(value), 6), "core/bencoding");
    value.FreeMembers();
  }
}

TEST_F(BencodingDeathTest, ReadingAnIntegerOfAListWithoutStorageIsFatal) {
  for (int reader : {6, 7}) {
    SCOPED_TRACE(reader);
    BencEntity value;
    EXPECT_FATAL_ANY_LINE((BencPeek::SetPlain(value, BENC_LIST), ReadList(AsList(value), reader)), "core/bencoding");
  }
}

struct Callbacks {
  std::vector<size_t> indices;
  std::vector<BencType> found;  // kind of the record as the callback received it
};

// Makes the string "<index>".
void MakeIndexText(void* user_data, size_t index, BencEntity* out) {
  auto& calls = *static_cast<Callbacks*>(user_data);
  calls.indices.push_back(index);
  calls.found.push_back(out->GetType());
  MakeText(*out, BENC_STR, std::to_string(index));
}

void MakeNested(void*, size_t index, BencEntity* out) {
  if (index == 0) {
    BencodedDict dict;
    out->MoveFrom(dict);
  } else {
    BencodedList list;
    out->MoveFrom(list);
  }
}

TEST_F(Bencoding, AVirtualListCountsWithoutMakingElements) {
  Callbacks calls;
  BencEntity value;
  value.SetVList(MakeIndexText, size_t{1} << 40, &calls);
  EXPECT_EQ(size_t{1} << 40, AsList(value).GetCount());
  EXPECT_TRUE(calls.indices.empty());
  value.FreeMembers();
}

TEST_F(Bencoding, AVirtualListMakesAnElementOnceUntilAnotherIsAskedFor) {
  Callbacks calls;
  BencEntity value;
  value.SetVList(MakeIndexText, 3, &calls);
  BencodedList& list = AsList(value);
  EXPECT_STREQ("2", list.GetString(2, nullptr));
  BencEntity* element = list.Get(2);
  EXPECT_EQ(element, list.Get(2));
  EXPECT_STREQ("0", list.GetString(0, nullptr));
  EXPECT_STREQ(L"0", list.GetStringT(0, 0, nullptr));
  EXPECT_EQ(element, list.Get(0));
  EXPECT_STREQ("2", list.GetString(2, nullptr));
  EXPECT_EQ((std::vector<size_t>{2, 0, 2}), calls.indices);
  EXPECT_EQ((std::vector<BencType>{BENC_NONE, BENC_NONE, BENC_NONE}), calls.found);
  value.FreeMembers();
}

TEST_F(Bencoding, AVirtualListGivesItsElementsByKind) {
  BencEntity value;
  value.SetVList(MakeNested, 2, nullptr);
  BencodedList& list = AsList(value);
  EXPECT_NE(nullptr, list.GetDict(0));
  EXPECT_EQ(nullptr, list.GetList(0));
  EXPECT_EQ(nullptr, list.GetDict(1));
  EXPECT_NE(nullptr, list.GetList(1));
  EXPECT_EQ(nullptr, list.GetString(1, nullptr));
  value.FreeMembers();
}

TEST_F(BencodingDeathTest, ReadingAnIntegerOfAVirtualListIsFatal) {
  BencEntity value;
  Make(value, 'v');
  EXPECT_FATAL_ANY_LINE(AsList(value).GetInt(0, 0), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(AsList(value).GetInt64(0, 0), "core/bencoding");
  value.FreeMembers();
}

TEST_F(Bencoding, AVirtualListInAVirtualListIsFreed) {
  BencEntity value;
  value.SetVList([](void*, size_t, BencEntity* out) { out->SetVList(MakeNested, 2, nullptr); }, 2, nullptr);
  EXPECT_NE(nullptr, AsList(*AsList(value).Get(0)).GetDict(0));
  EXPECT_NE(nullptr, AsList(*AsList(value).Get(1)).GetList(1));
  value.FreeMembers();
}

}  // namespace
