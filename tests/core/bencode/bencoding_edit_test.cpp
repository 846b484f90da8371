// Changing values: scalars, strings, virtual lists, lists and dictionaries.
#include <gtest/gtest.h>
#include <limits.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "core/base/mem1.h"
#include "core/bencode/bencoding.h"
#include "core/text/string.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"

namespace {

using namespace core;
using namespace std::string_literals;
using namespace std::string_view_literals;

#define EXPECT_MISUSE(statement) EXPECT_FATAL_ANY_LINE(statement, "core/bencoding")

BencEntityMem& AsMem(BencEntity& value) { return static_cast<BencEntityMem&>(value); }
BencodedList& AsList(BencEntity& value) { return static_cast<BencodedList&>(value); }
BencodedDict& AsDict(BencEntity& value) { return static_cast<BencodedDict&>(value); }

// A value that goes with the test.
template <class V>
struct Owned : V {
  ~Owned() { this->FreeMembers(); }
};

std::string TextOf(const BencEntity& value) {
  size_t len = 0;
  const char* text = static_cast<const BencEntityMem&>(value).GetString(&len);
  return text ? std::string(text, len) : "(no string)";
}

bool IsEmptyString(const BencEntity& value) {
  const BencArray<unsigned char>& bytes = BencPeek::Bytes(value);
  return value.GetType() == BENC_STR && bytes.count == 0 && bytes.capacity == 0 && !bytes.borrowed;
}

// The text, owned and followed by a zero byte.
bool IsTerminated(const BencEntity& value, std::string_view text) {
  const BencArray<unsigned char>& bytes = BencPeek::Bytes(value);
  return TextOf(value) == text && !bytes.borrowed && bytes.capacity > text.size() && bytes.data[text.size()] == 0;
}

class BencodingEdit : public BencTest {};

TEST_F(BencodingEdit, SetIntReplacesAnyValueAndReturnsTheNumber) {
  BencTreeOf tree("l3:abci1ee");
  EXPECT_EQ(-5, tree.root.SetInt(-5));
  EXPECT_EQ(BENC_INT, tree.root.GetType());
  EXPECT_EQ(-5, tree.root.GetInt64(0));
  EXPECT_EQ(INT_MIN, tree.root.SetInt(INT_MIN));
  EXPECT_EQ(INT_MIN, tree.root.GetInt64(0));
}

TEST_F(BencodingEdit, SetInt64ReplacesAnyValue) {
  BencTreeOf tree("d1:al1:bee");
  tree.root.SetInt64(LLONG_MIN);
  EXPECT_EQ(BENC_INT64, tree.root.GetType());
  EXPECT_EQ(LLONG_MIN, tree.root.GetInt64(0));
}

TEST_F(BencodingEdit, SetStrStoresTerminatedBytes) {
  Owned<BencEntityMem> value;
  value.SetStr("abc", -1);
  EXPECT_TRUE(IsTerminated(value, "abc"));
  value.SetStr(ExactBytes("a\0bcd"sv).chars(), 5);
  EXPECT_TRUE(IsTerminated(value, "a\0bcd"sv));
  value.SetStr(ExactBytes("abcdefghijklmnopq").chars(), 16);
  EXPECT_TRUE(IsTerminated(value, "abcdefghijklmnop"));
}

TEST_F(BencodingEdit, SetStrOfNothingLeavesAnEmptyString) {
  Owned<BencEntityMem> value;
  for (const auto& [text, len] : {std::pair{static_cast<const char*>(nullptr), 5},
                                  {nullptr, -1},
                                  {nullptr, INT_MIN},
                                  {nullptr, 0},
                                  {"abc", 0},
                                  {"", -1}}) {
    SCOPED_TRACE(len);
    value.SetStr("old text", -1);
    value.SetStr(text, len);
    EXPECT_TRUE(IsEmptyString(value));
  }
}

TEST_F(BencodingEdit, SetStrTakesBytesOfTheStringItself) {
  for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
    BencTreeOf tree("l30:abcdefghijklmnopqrstuvwxyz0123e", mode);
    BencEntityMem& value = AsMem(*tree.list().Get(0));
    value.SetStr(value.GetString(nullptr) + 2, 20);
    EXPECT_TRUE(IsTerminated(value, "cdefghijklmnopqrstuv"));
    value.SetStr(value.GetString(nullptr) + 1, -1);
    EXPECT_TRUE(IsTerminated(value, "defghijklmnopqrstuv"));
    value.SetStr(value.GetString(nullptr), 3);
    EXPECT_TRUE(IsTerminated(value, "def"));
  }
}

TEST_F(BencodingEdit, SetStrLeavesABorrowedBufferAlone) {
  BencTreeOf tree("l3:abc3:defe", BencTreeOf::kInPlace);
  AsMem(*tree.list().Get(0)).SetStr("xyzxyz", -1);
  EXPECT_EQ("l3:abc3:defe", tree.bytes.view());
  EXPECT_TRUE(IsTerminated(*tree.list().Get(0), "xyzxyz"));
}

TEST_F(BencodingEdit, SetStrTStoresUtf8) {
  Owned<BencEntityMem> value;
  value.SetStrT(L"a\u00e9\u20ac");
  EXPECT_TRUE(IsTerminated(value, "a\xc3\xa9\xe2\x82\xac"));
  value.SetStrT(L"");
  EXPECT_TRUE(IsTerminated(value, ""));
  value.SetStrT(L"x");
  value.SetStrT(nullptr);
  EXPECT_TRUE(IsEmptyString(value));
}

TEST_F(BencodingEdit, SetStrTTakesTheStringsOwnText) {
  Owned<BencEntityMem> value;
  value.SetStr("own", -1);
  value.SetStrT(value.GetStringT(1, nullptr));
  EXPECT_TRUE(IsTerminated(value, "own"));
}

TEST_F(BencodingEdit, SetMemStoresRawBytesWithoutATerminator) {
  Owned<BencEntityMem> value;
  for (std::string_view text : {"a\0c"sv, "0123456789abcde"sv, "0123456789abcdef"sv, "0123456789abcdefg"sv}) {
    ExactBytes bytes(text);
    value.SetMem(bytes.begin(), bytes.size());
    EXPECT_EQ(text, TextOf(value));
    EXPECT_EQ(text.size(), BencPeek::Bytes(value).capacity);
  }
  value.SetMem("x", 0);
  EXPECT_TRUE(IsEmptyString(value));
}

TEST_F(BencodingEdit, SetMemTakesBytesOfTheStringItself) {
  for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
    BencTreeOf tree("l6:abcdefe", mode);
    BencEntityMem& value = AsMem(*tree.list().Get(0));
    value.SetMem(value.GetString(nullptr) + 1, 4);
    EXPECT_EQ("bcde", TextOf(value));
    value.SetMem(value.GetString(nullptr) + 1, 2);
    EXPECT_EQ("cd", TextOf(value));
  }
}

TEST_F(BencodingEdit, SetMemOwnAdoptsTheBlock) {
  Owned<BencEntityMem> value;
  value.SetStr("old", -1);
  void* block = memcpy(MyMalloc(3), "abc", 3);
  value.SetMemOwn(block, 3);
  EXPECT_EQ(block, value.GetString(nullptr));
  EXPECT_EQ("abc", TextOf(value));
  value.SetMemOwn(MyMalloc(1), 0);
  EXPECT_EQ("", TextOf(value));
  value.SetMemOwn(nullptr, 0);
  EXPECT_TRUE(IsEmptyString(value));
}

TEST_F(BencodingEdit, SetMemOwnTakesItsOwnBlockAgain) {
  Owned<BencEntityMem> value;
  value.SetMemOwn(memcpy(MyMalloc(3), "abc", 3), 3);
  value.SetMemOwn(const_cast<char*>(value.GetString(nullptr)), 2);
  EXPECT_EQ("ab", TextOf(value));
}

TEST_F(BencodingEdit, RawBytesAreCopiedWithATerminatorBehindThem) {
  Owned<BencodedDict> dict;
  Owned<BencEntityMem> raw;
  raw.SetMem("0123456789abcdef", 16);
  Owned<BencEntityMem> copy;
  copy.CopyFrom(raw);
  EXPECT_TRUE(IsTerminated(copy, "0123456789abcdef"));
}

// The copy of the string "k" that `fill` has set.
template <class Fill>
std::string CopiedText(Fill fill) {
  Owned<BencodedDict> dict;
  fill(AsMem(*dict.InsertString("k", "", 0)));
  char* copy = dict.GetStringCopy("k");
  const std::string text = copy;
  MyFree(copy);
  return text;
}

TEST_F(BencodingEdit, NoTerminatorIsSoughtBehindRawBytes) {
  const ExactBytes in("0123456789abcdef");
  EXPECT_EQ("0123456789abcdef", CopiedText([&](BencEntityMem& v) { v.SetMem(in.begin(), in.size()); }));
  EXPECT_EQ("abc", CopiedText([](BencEntityMem& v) { v.SetMemOwn(memcpy(MyMalloc(3), "abc", 3), 3); }));
}

TEST_F(BencodingEdit, ACopyOfRawBytesEndsAtTheirFirstZeroByte) {
  EXPECT_EQ("ab", CopiedText([](BencEntityMem& v) { v.SetMem("ab\0c", 4); }));
  EXPECT_EQ("abc", CopiedText([](BencEntityMem& v) { v.SetMem("abc", 4); }));
}

TEST_F(BencodingEdit, ACopyOfNoRawBytesIsEmpty) {
  EXPECT_EQ("", CopiedText([](BencEntityMem& v) { v.SetMem("x", 0); }));
  EXPECT_EQ("", CopiedText([](BencEntityMem& v) { v.SetMemOwn(nullptr, 0); }));
  EXPECT_EQ("", CopiedText([](BencEntityMem& v) { v.SetMemOwn(MyMalloc(1), 0); }));
}

// A string with room behind it, whose byte after the text is `last`.
void FillWithByteBehind(BencEntityMem& v, char last) {
  auto* bytes = new core::BencArray<unsigned char>;
  bytes->Assign(reinterpret_cast<const unsigned char*>("abc"), 3);
  bytes->data[3] = static_cast<unsigned char>(last);
  v.FreeMembers();
  BencPeek::SetBytes(v, BENC_STR, bytes);
}

TEST_F(BencodingEdit, ACopyTakesBytesWithAZeroByteBehindThem) {
  EXPECT_EQ("abc", CopiedText([](BencEntityMem& v) { FillWithByteBehind(v, 0); }));
}

TEST_F(BencodingEdit, ACopyOfBytesWithAnotherByteBehindThemIsFatal) {
  EXPECT_FATAL(CopiedText([](BencEntityMem& v) { FillWithByteBehind(v, 'x'); }), "core/bencoding", 1010);
}

TEST_F(BencodingEdit, StringSettersNeedAString) {
  for (int kind : {BENC_NONE, BENC_INT, BENC_LIST, BENC_INT_LAZY, BENC_STR}) {
    SCOPED_TRACE(kind);
    BencEntity value;
    BencPeek::SetPlain(value, kind);  // a string, but without its array
    char* block = static_cast<char*>(MyMalloc(1));
    EXPECT_MISUSE(AsMem(value).SetStr("a", 1));
    EXPECT_MISUSE(AsMem(value).SetStr(nullptr, 0));
    EXPECT_MISUSE(AsMem(value).SetStrT(L"a"));
    EXPECT_MISUSE(AsMem(value).SetStrT(nullptr));
    EXPECT_MISUSE(AsMem(value).SetMem("a", 1));
    EXPECT_MISUSE(AsMem(value).SetMemOwn(block, 1));
    MyFree(block);
  }
}

TEST_F(BencodingEdit, StringSettersRejectBadArguments) {
  Owned<BencEntityMem> value;
  EXPECT_MISUSE(value.SetStr("abc", -2));
  EXPECT_MISUSE(value.SetStr("abc", INT_MIN));
  EXPECT_MISUSE(value.SetMem(nullptr, 1));
  EXPECT_MISUSE(value.SetMem(nullptr, 0));
  EXPECT_MISUSE(value.SetMemOwn(nullptr, 1));
  EXPECT_MISUSE(value.SetMemOwn(&value, size_t{1} << 63));
}

TEST_F(BencodingEdit, SetMemOwnRejectsBytesInsideADecodedTree) {
  BencTreeOf tree("l3:abce");
  BencEntityMem& value = AsMem(*tree.list().Get(0));
  EXPECT_MISUSE(value.SetMemOwn(const_cast<char*>(value.GetString(nullptr)), 3));
}

void MakeIndex(void* calls, size_t index, BencEntity* out) {
  EXPECT_EQ(BENC_NONE, out->GetType());
  ++*static_cast<int*>(calls);
  BencodedList list;
  list.AppendInt(static_cast<int>(index));
  out->MoveFrom(list);
}

// 0 is a length and a null pointer: a caller has to say which.
template <class Dict>
concept TakesALiteralZero = requires(Dict dict) {
  dict.GetString("k", 0);
};
static_assert(!TakesALiteralZero<BencodedDict>);

TEST_F(BencodingEdit, AVirtualListAsksNobodyForTheLargestIndex) {
  Owned<BencEntity> root;
  int calls = 0;
  BencodedList* list = root.SetVList(MakeIndex, SIZE_MAX, &calls);
  EXPECT_EQ(BENC_NONE, list->Get(SIZE_MAX)->GetType());
  EXPECT_EQ(0, calls);
}

TEST_F(BencodingEdit, SetVListMakesElementsOnDemand) {
  int calls = 0;
  BencTreeOf tree("l3:abce");
  BencodedList* list = tree.root.SetVList(MakeIndex, 100, &calls);
  EXPECT_EQ(&tree.root, list);
  EXPECT_EQ(BENC_VLIST, list->GetType());
  EXPECT_EQ(100u, list->GetCount());
  EXPECT_EQ(0, calls);
  EXPECT_EQ(0, list->GetList(0)->GetInt(0, -1));
  EXPECT_EQ(7, list->GetList(7)->GetInt(0, -1));
  EXPECT_EQ(7, list->GetList(7)->GetInt(0, -1));
  EXPECT_EQ(2, calls);
  list->SetVList(MakeIndex, 3, &calls);
  EXPECT_EQ(3u, list->GetCount());
}

TEST_F(BencodingEdit, AVirtualListKeepsItsFieldsInOrder) {
  static_assert(offsetof(BencVList, callback) < offsetof(BencVList, user_data));
  static_assert(offsetof(BencVList, user_data) < offsetof(BencVList, cached_index));
  static_assert(offsetof(BencVList, cached_index) < offsetof(BencVList, cached));
  static_assert(offsetof(BencVList, cached) < offsetof(BencVList, count));
}

TEST_F(BencodingEdit, AppendMovesTheValue) {
  Owned<BencodedList> list;
  BencEntityMem value;
  value.SetStr("abc", -1);
  const char* bytes = value.GetString(nullptr);
  BencEntity* stored = list.Append(value);
  EXPECT_EQ(BENC_NONE, value.GetType());
  EXPECT_EQ(0, BencPeek::Word(value));
  EXPECT_EQ(list.Get(0), stored);
  EXPECT_EQ(bytes, list.GetString(0, nullptr));
}

TEST_F(BencodingEdit, AppendTakesAnElementOfTheListItself) {
  for (const char* input : {"l3:abci7ee", "l3:abci0ei1ei2ei3ei4ei5ei6ei7ei8ei9ei10ei11ei12ei13ei14ee"}) {
    BencTreeOf tree(input);
    BencodedList& list = tree.list();
    const size_t count = list.GetCount();
    for (size_t i = 0; i < 40; ++i) {
      BencEntity* stored = list.Append(*list.Get(i == 0 ? 0 : count + i - 1));
      EXPECT_EQ(list.Get(count + i), stored);
      EXPECT_EQ("abc", TextOf(*list.Get(count + i)));
    }
    EXPECT_EQ(BENC_NONE, list.Get(0)->GetType());
    EXPECT_EQ(count + 40, list.GetCount());
  }
}

TEST_F(BencodingEdit, AppendTakesAValueFromInsideAnElement) {
  BencTreeOf tree("ld1:al1:xeee");
  tree.list().Append(*tree.list().GetDict(0)->Get("a"));
  EXPECT_EQ("x", TextOf(*tree.list().GetList(1)->Get(0)));
  EXPECT_EQ(BENC_NONE, tree.list().GetDict(0)->Get("a")->GetType());
}

TEST_F(BencodingEdit, AppendingToADecodedListKeepsItsElements) {
  for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
    for (size_t decoded : {0u, 1u, 8u, 9u, 15u, 16u, 17u, 100u}) {
      SCOPED_TRACE(decoded);
      std::string input = "l";
      for (size_t i = 0; i < decoded; ++i) {
        input += "i" + std::to_string(i) + "e";
      }
      BencTreeOf tree(input + "e", mode);
      for (size_t i = decoded; i < 150; ++i) {
        tree.list().AppendInt(static_cast<int>(i));
      }
      ASSERT_EQ(150u, tree.list().GetCount());
      for (int i = 0; i < 150; ++i) {
        EXPECT_EQ(i, tree.list().GetInt(static_cast<size_t>(i), -1));
      }
    }
  }
}

TEST_F(BencodingEdit, AppendsOfEveryKindReturnWhatTheyStored) {
  Owned<BencodedList> list;
  EXPECT_TRUE(IsTerminated(*list.AppendString("abcdef", 3), "abc"));
  EXPECT_TRUE(IsTerminated(*list.AppendString("abcdef", static_cast<size_t>(-1)), "abcdef"));
  EXPECT_TRUE(IsEmptyString(*list.AppendString(nullptr, 3)));
  EXPECT_EQ(BENC_INT, list.AppendInt(-1)->GetType());
  EXPECT_EQ(BENC_INT64, list.AppendInt64(LLONG_MAX)->GetType());
  list.AppendDict()->InsertInt("k", 1);
  list.AppendList()->AppendInt(2);
  ASSERT_EQ(7u, list.GetCount());
  EXPECT_EQ("abc", TextOf(*list.Get(0)));
  EXPECT_EQ("abcdef", TextOf(*list.Get(1)));
  EXPECT_EQ("", TextOf(*list.Get(2)));
  EXPECT_EQ(-1, list.GetInt(3, 0));
  EXPECT_EQ(LLONG_MAX, list.GetInt64(4, 0));
  EXPECT_EQ(1, list.GetDict(5)->GetInt("k", 0));
  EXPECT_EQ(2, list.GetList(6)->GetInt(0, 0));
}

TEST_F(BencodingEdit, AppendStringTakesTheTextOfAnElement) {
  Owned<BencodedList> list;
  list.AppendString("text", 4);
  for (size_t i = 0; i < 20; ++i) {
    list.AppendString(list.GetString(i, nullptr), 4);
    EXPECT_EQ("text", TextOf(*list.Get(i + 1)));
  }
}

TEST_F(BencodingEdit, DeleteFreesAnElementAndMovesTheLaterOnesDown) {
  for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
    BencTreeOf tree("l1:al1:be1:c1:de", mode);
    BencodedList& list = tree.list();
    list.Delete(1);
    ASSERT_EQ(3u, list.GetCount());
    EXPECT_EQ("a", TextOf(*list.Get(0)));
    EXPECT_EQ("c", TextOf(*list.Get(1)));
    EXPECT_EQ("d", TextOf(*list.Get(2)));
    list.Delete(2);
    list.Delete(0);
    ASSERT_EQ(1u, list.GetCount());
    EXPECT_EQ("c", TextOf(*list.Get(0)));
    list.Delete(0);
    EXPECT_EQ(0u, list.GetCount());
    list.AppendInt(5);
    EXPECT_EQ(5, list.GetInt(0, 0));
  }
}

TEST_F(BencodingEdit, DeleteTakesOnlyIndicesBelowTheCount) {
  BencTreeOf tree("l1:a1:be");
  EXPECT_FATAL(tree.list().Delete(2), "core/templates", 198);
  EXPECT_FATAL(tree.list().Delete(3), "core/templates", 198);
  EXPECT_FATAL(tree.list().Delete(SIZE_MAX), "core/templates", 198);
  tree.list().Delete(1);
  EXPECT_FATAL(tree.list().Delete(1), "core/templates", 198);
}

void NoElement(void*, size_t, BencEntity*) {}

TEST_F(BencodingEdit, ListOperationsNeedAListWithStorage) {
  BencEntity wrong[5];
  BencPeek::SetPlain(wrong[1], BENC_LIST);
  BencPeek::SetPlain(wrong[2], BENC_INT, 1);
  wrong[3].SetVList(NoElement, 3, nullptr);
  BencodedDict dict;
  wrong[4].MoveFrom(dict);
  for (BencEntity& value : wrong) {
    SCOPED_TRACE(value.GetType());
    BencEntity element;
    EXPECT_MISUSE(AsList(value).Append(element));
    EXPECT_MISUSE(AsList(value).AppendString("a", 1));
    EXPECT_MISUSE(AsList(value).AppendInt(1));
    EXPECT_MISUSE(AsList(value).AppendInt64(1));
    EXPECT_MISUSE(AsList(value).AppendDict());
    EXPECT_MISUSE(AsList(value).AppendList());
    EXPECT_MISUSE(AsList(value).Delete(0));
  }
  wrong[3].FreeMembers();
  wrong[4].FreeMembers();
}

TEST_F(BencodingEdit, AContainerCannotHoldItself) {
  Owned<BencodedList> list;
  Owned<BencodedDict> dict;
  EXPECT_MISUSE(list.Append(list));
  EXPECT_MISUSE(dict.Insert("a", dict));
}

TEST_F(BencodingEdit, InsertMovesTheValueAndCopiesTheKey) {
  Owned<BencodedDict> dict;
  BencEntityMem value;
  value.SetStr("abc", -1);
  const char* bytes = value.GetString(nullptr);
  std::string key = "key";
  BencEntity* stored = dict.Insert(key.c_str(), value);
  key = "xxx";
  EXPECT_EQ(BENC_NONE, value.GetType());
  EXPECT_EQ(0, BencPeek::Word(value));
  EXPECT_EQ(stored, dict.Get("key"));
  EXPECT_EQ(bytes, dict.GetString("key", nullptr));
  const BencArray<char>& stored_key = dict.begin()->first;
  EXPECT_FALSE(stored_key.borrowed);
  EXPECT_STREQ("key", stored_key.begin());
}

TEST_F(BencodingEdit, TheFirstValueUnderAKeyWins) {
  Owned<BencodedDict> dict;
  BencEntity* first = dict.InsertInt("a", 1);
  EXPECT_EQ(first, dict.InsertInt("a", 2));
  EXPECT_EQ(1, dict.GetInt("a", 0));
  EXPECT_EQ(first, dict.InsertList("a"));
  EXPECT_EQ(first, dict.InsertDict("a"));
  EXPECT_EQ(first, dict.InsertString("a", "text", -1));
  EXPECT_EQ(first, dict.InsertStringT("a", L"text"));
  EXPECT_EQ(first, dict.InsertInt64("a", 3));
  BencodedList list;
  list.AppendString("freed", 5);
  EXPECT_EQ(first, dict.Insert("a", list));
  EXPECT_EQ(BENC_NONE, list.GetType());
  EXPECT_EQ(BENC_INT, first->GetType());
  EXPECT_EQ(1, dict.GetInt("a", 0));
  EXPECT_EQ(1u, dict.size());
}

TEST_F(BencodingEdit, InsertsOfEveryKindReturnWhatTheyStored) {
  Owned<BencodedDict> dict;
  EXPECT_TRUE(IsTerminated(*dict.InsertString("s", "abc", 2), "ab"));
  EXPECT_TRUE(IsTerminated(*dict.InsertString(basic_string<char>("b"), basic_string<char>("text"), -1), "text"));
  EXPECT_TRUE(IsTerminated(*dict.InsertString(basic_string<char>("c"), basic_string<char>("text"), 2), "te"));
  EXPECT_TRUE(IsEmptyString(*dict.InsertString("n", nullptr, 2)));
  EXPECT_TRUE(IsTerminated(*dict.InsertStringT("t", L"\u00e9"), "\xc3\xa9"));
  EXPECT_TRUE(IsEmptyString(*dict.InsertStringT("u", nullptr)));
  EXPECT_EQ(BENC_INT, dict.InsertInt("i", -7)->GetType());
  EXPECT_EQ(BENC_INT64, dict.InsertInt64("I", LLONG_MIN)->GetType());
  dict.InsertDict("d")->InsertInt("k", 1);
  dict.InsertList("l")->AppendInt(2);
  EXPECT_EQ("ab", TextOf(*dict.Get("s")));
  EXPECT_EQ("text", TextOf(*dict.Get("b")));
  EXPECT_EQ("te", TextOf(*dict.Get("c")));
  EXPECT_EQ("\xc3\xa9", TextOf(*dict.Get("t")));
  EXPECT_EQ(-7, dict.GetInt("i", 0));
  EXPECT_EQ(LLONG_MIN, dict.GetInt64("I", 0));
  EXPECT_EQ(1, dict.GetDict("d")->GetInt("k", 0));
  EXPECT_EQ(2, dict.GetList("l")->GetInt(0, 0));
}

TEST_F(BencodingEdit, KeysComeInAscendingOrder) {
  BencTreeOf tree("d1:bi1e1:di2ee");
  for (const char* key : {"e", "a", "c", "", "ab"}) {
    tree.dict().InsertInt(key, 0);
  }
  std::vector<std::string> keys;
  for (auto at = tree.dict().begin(); !at.AtEnd(); ++at) {
    keys.emplace_back(at->first.begin(), at->first.size());
  }
  EXPECT_EQ((std::vector<std::string>{"", "a", "ab", "b", "c", "d", "e"}), keys);
}

TEST_F(BencodingEdit, InsertTakesAValueFromInsideTheDictionary) {
  BencTreeOf tree("d1:bl1:xe1:cd1:ki1eee");
  BencodedDict& dict = tree.dict();
  dict.Insert("a", *dict.Get("b"));
  EXPECT_EQ("x", TextOf(*dict.GetList("a")->Get(0)));
  EXPECT_EQ(BENC_NONE, dict.Get("b")->GetType());
  dict.Insert("d", *dict.GetDict("c")->Get("k"));
  EXPECT_EQ(1, dict.GetInt("d", 0));
  EXPECT_EQ(BENC_NONE, dict.GetDict("c")->Get("k")->GetType());
}

TEST_F(BencodingEdit, InsertingAStoredValueUnderItsOwnKeyFreesIt) {
  BencTreeOf tree("d1:al1:xee");
  BencEntity* stored = tree.dict().Get("a");
  EXPECT_EQ(stored, tree.dict().Insert("a", *stored));
  EXPECT_EQ(BENC_NONE, stored->GetType());
  EXPECT_EQ(1u, tree.dict().size());
}

TEST_F(BencodingEdit, InsertTakesAKeyFromInsideTheDictionary) {
  BencTreeOf tree("d1:a3:new1:b1:be");
  BencodedDict& dict = tree.dict();
  BencEntity* a = dict.Get("a");
  BencEntity* moved = dict.Insert(dict.GetString("a", nullptr), *a);
  EXPECT_EQ(moved, dict.Get("new"));
  EXPECT_EQ("new", TextOf(*moved));
  EXPECT_EQ(BENC_NONE, a->GetType());
  EXPECT_EQ(dict.Get("b"), dict.Insert(dict.GetString("b", nullptr), *dict.Get("b")));
  EXPECT_EQ(BENC_NONE, dict.Get("b")->GetType());
  EXPECT_EQ(a, dict.InsertString(dict.begin()->first.begin(), "x", -1));
}

TEST_F(BencodingEdit, DeleteRemovesTheEntryWithItsValue) {
  for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
    BencTreeOf tree("d1:al1:xe1:bd1:ki1ee1:c3:abce", mode);
    BencodedDict& dict = tree.dict();
    dict.Delete("b");
    EXPECT_EQ(nullptr, dict.Get("b"));
    EXPECT_EQ(2u, dict.size());
    dict.Delete("b");
    dict.Delete("");
    dict.Delete("ab");
    EXPECT_EQ(2u, dict.size());
    EXPECT_EQ("abc", TextOf(*dict.Get("c")));
    dict.Delete("a");
    dict.Delete("c");
    EXPECT_EQ(0u, dict.size());
    dict.Delete("a");
    dict.InsertInt("a", 1);
    EXPECT_EQ(1, dict.GetInt("a", 0));
  }
}

TEST_F(BencodingEdit, DeleteTakesAKeyFromInsideTheEntry) {
  BencTreeOf tree("d1:a1:a1:b1:be");
  tree.dict().Delete(tree.dict().GetString("a", nullptr));
  EXPECT_EQ(nullptr, tree.dict().Get("a"));
  tree.dict().Delete(tree.dict().begin()->first.begin());
  EXPECT_EQ(0u, tree.dict().size());
}

TEST_F(BencodingEdit, ANameDoesNotReachAKeyThatGoesOnBehindAZeroByte) {
  BencTreeOf tree("d3:a\0bi1ee"sv);
  tree.dict().Delete("a");
  EXPECT_EQ(1u, tree.dict().size());
  tree.dict().InsertInt("a", 2);
  EXPECT_EQ(2u, tree.dict().size());
  EXPECT_EQ(2, tree.dict().GetInt("a", 0));
}

TEST_F(BencodingEdit, DictionaryOperationsNeedADictionaryWithAMapAndAKey) {
  BencEntity wrong[4];
  BencPeek::SetPlain(wrong[1], BENC_DICT);
  BencPeek::SetPlain(wrong[2], BENC_INT, 1);
  BencodedList list;
  wrong[3].MoveFrom(list);
  const basic_string<char> text("a");
  for (BencEntity& value : wrong) {
    SCOPED_TRACE(value.GetType());
    BencEntity element;
    EXPECT_MISUSE(AsDict(value).Insert("a", element));
    EXPECT_MISUSE(AsDict(value).InsertString("a", "a", 1));
    EXPECT_MISUSE(AsDict(value).InsertString(text, text, 1));
    EXPECT_MISUSE(AsDict(value).InsertStringT("a", L"a"));
    EXPECT_MISUSE(AsDict(value).InsertInt("a", 1));
    EXPECT_MISUSE(AsDict(value).InsertInt64("a", 1));
    EXPECT_MISUSE(AsDict(value).InsertDict("a"));
    EXPECT_MISUSE(AsDict(value).InsertList("a"));
    EXPECT_MISUSE(AsDict(value).Delete("a"));
  }
  wrong[3].FreeMembers();
  Owned<BencodedDict> dict;
  BencEntity element;
  EXPECT_MISUSE(dict.Insert(nullptr, element));
  EXPECT_MISUSE(dict.InsertInt(nullptr, 1));
  EXPECT_MISUSE(dict.Delete(nullptr));
}

TEST_F(BencodingEdit, TheSetterRejectsBeforeItFrees) {
  BencTreeOf tree("l3:abce");
  BencEntityMem& value = AsMem(*tree.list().Get(0));
  const auto* before = &BencPeek::Bytes(value);
  EXPECT_MISUSE(value.SetStr(value.GetString(nullptr), -2));
  EXPECT_EQ(before, &BencPeek::Bytes(value));
  EXPECT_EQ("abc", TextOf(value));
}

}  // namespace
