// Deep copies: every kind, both kinds of bytes, aliases, depth and the readiness of a copy for changes.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "core/bencode/bencoding.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/fatal.h"
#include "tests/support/repeat.h"
#include "tests/support/small_stack.h"

namespace {

using namespace core;
using namespace std::string_view_literals;

#define EXPECT_MISUSE(statement) EXPECT_FATAL_ANY_LINE(statement, "core/bencoding")

BencEntityMem& AsMem(BencEntity& value) { return static_cast<BencEntityMem&>(value); }
BencodedList& AsList(BencEntity& value) { return static_cast<BencodedList&>(value); }

template <class V>
struct Owned : V {
  ~Owned() { this->FreeMembers(); }
};

std::string Wrap(std::string_view text) { return std::to_string(text.size()).append(":").append(text); }

// Writes a value as text that tells every difference, the kinds of integers included. Recurses.
std::string Listing(const BencEntity& value) {
  const auto* list = static_cast<const BencodedList*>(&value);
  const auto* dict = static_cast<const BencodedDict*>(&value);
  std::string text = std::to_string(value.GetType());
  switch (value.GetType()) {
    case BENC_INT:
    case BENC_INT64:
    case BENC_BOOL:
      return text + "=" + std::to_string(BencPeek::Word(value));
    case BENC_STR:
    case BENC_INT_LAZY: {
      const auto& bytes = BencPeek::Bytes(value);
      return text + Wrap({reinterpret_cast<const char*>(bytes.begin()), bytes.size()});
    }
    case BENC_LIST:
      text += "(";
      for (size_t i = 0; i < list->GetCount(); ++i) {
        text += Listing(*list->Get(i)) + ",";
      }
      return text + ")";
    case BENC_DICT:
      text += "{";
      for (auto at = dict->begin(); !at.AtEnd(); ++at) {
        text += Wrap({at->first.begin(), at->first.size()}) + Listing(at->second) + ",";
      }
      return text + "}";
    default:
      return text;
  }
}

void MakeLazy(BencEntity& value, const char* digits) {
  auto* bytes = new BencArray<unsigned char>;
  bytes->Assign(reinterpret_cast<const unsigned char*>(digits), strlen(digits));
  BencPeek::SetBytes(value, BENC_INT_LAZY, bytes);
}

// A list with a value of every kind that can be copied, the containers empty and filled.
void MakeAllKinds(BencodedList& list) {
  list.AppendInt(-1);
  list.AppendInt64(INT64_MIN);
  list.AppendString("abc", 3);
  list.AppendString("", 0);
  AsMem(*list.AppendString("", 0)).SetMem("a\0b", 3);
  BencEntity plain;
  list.Append(plain);
  BencPeek::SetPlain(plain, BENC_NULL);
  list.Append(plain);
  BencPeek::SetPlain(plain, BENC_BOOL, 1);
  list.Append(plain);
  MakeLazy(plain, "123");
  list.Append(plain);
  list.AppendList();
  list.AppendDict();
  list.AppendList()->AppendList()->AppendString("deep", 4);
  BencodedDict* dict = list.AppendDict();
  dict->InsertDict("b")->InsertInt("x", 1);
  dict->InsertList("a")->AppendInt(5);
  dict->InsertString("c", "text", -1);
}

class BencodingCopy : public BencTest {};

// The fixture finds what is not freed.
TEST_F(BencodingCopy, NullsAndTruthValuesFreeWhatTheyReplace) {
  for (int kind : {BENC_NULL, BENC_BOOL}) {
    SCOPED_TRACE(kind);
    BencTreeOf target("l3:abcd1:a1:xee");
    BencEntity source;
    BencPeek::SetPlain(source, kind, 1);
    target.root.CopyFrom(source);
    EXPECT_EQ(kind, target.root.GetType());
  }
}

TEST_F(BencodingCopy, ACopyEqualsItsSourceAndIsIndependent) {
  Owned<BencodedList> copy;
  std::string listing;
  {
    Owned<BencodedList> source;
    MakeAllKinds(source);
    listing = Listing(source);
    copy.CopyFrom(source);
    EXPECT_EQ(listing, Listing(copy));
    for (size_t i = source.GetCount(); i > 0; --i) {
      source.Delete(i - 1);
    }
    EXPECT_EQ(listing, Listing(copy));
  }
  EXPECT_EQ(listing, Listing(copy));
}

TEST_F(BencodingCopy, EveryKindCopiesIntoADictionaryAndOverScalars) {
  Owned<BencodedList> source;
  MakeAllKinds(source);
  for (size_t i = 0; i < source.GetCount(); ++i) {
    SCOPED_TRACE(i);
    const BencEntity& from = *source.Get(i);
    Owned<BencEntity> target;
    if (from.GetType() == BENC_LIST) {
      BencodedList list;
      target.MoveFrom(list);
    }
    target.CopyFrom(from);
    EXPECT_EQ(Listing(from), Listing(target));
  }
}

TEST_F(BencodingCopy, NothingLeavesTheTargetAsItIs) {
  const BencEntity nothing;
  Owned<BencEntity> target;
  target.SetInt(7);
  target.CopyFrom(nothing);
  EXPECT_EQ(BENC_INT, target.GetType());
  EXPECT_EQ(7, target.GetInt(0));
  BencTreeOf tree("l1:ae");
  const std::string before = Listing(tree.root);
  tree.root.CopyFrom(nothing);
  EXPECT_EQ(before, Listing(tree.root));
}

TEST_F(BencodingCopy, ScalarsReplaceAnyValue) {
  BencEntity sources[4];
  sources[0].SetInt(3);
  sources[1].SetInt64(4);
  BencPeek::SetPlain(sources[2], BENC_NULL);
  BencPeek::SetPlain(sources[3], BENC_BOOL, 1);
  for (const BencEntity& source : sources) {
    for (const char* input : {"l3:abce", "d1:al1:xee"}) {
      BencTreeOf tree(input);
      tree.root.CopyFrom(source);
      EXPECT_EQ(Listing(source), Listing(tree.root));
    }
  }
}

TEST_F(BencodingCopy, DictionariesReplaceAnyValue) {
  BencTreeOf source("d1:ai1ee");
  for (const char* input : {"", "l3:abce", "d1:al1:xe1:bi1ee"}) {
    BencTreeOf tree(input);
    tree.root.CopyFrom(source.root);
    EXPECT_EQ("5{1:a2=1,}", Listing(tree.root));
  }
  Owned<BencEntity> number;
  number.SetInt(1);
  number.CopyFrom(source.root);
  EXPECT_EQ("5{1:a2=1,}", Listing(number));
}

TEST_F(BencodingCopy, TheViewsCopyLikeTheValue) {
  BencTreeOf source("ld1:ai1ee1:xe");
  Owned<BencodedDict> dict;
  dict.CopyFrom(*source.list().Get(0));
  EXPECT_EQ("5{1:a2=1,}", Listing(dict));
  Owned<BencEntityMem> text;
  text.CopyFrom(*source.list().Get(1));
  EXPECT_EQ("31:x", Listing(text));
  Owned<BencodedList> list;
  list.AppendInt(1);
  list.CopyFrom(source.root);
  EXPECT_EQ(Listing(source.root), Listing(list));
}

TEST_F(BencodingCopy, StringsAndLazyIntegersReplaceEachOther) {
  Owned<BencEntity> lazy;
  MakeLazy(lazy, "42");
  Owned<BencEntityMem> text;
  text.SetStr("text", -1);
  Owned<BencEntityMem> target;
  target.CopyFrom(lazy);
  EXPECT_EQ(BENC_INT_LAZY, target.GetType());
  target.CopyFrom(text);
  EXPECT_EQ("34:text", Listing(target));
  target.CopyFrom(lazy);
  EXPECT_EQ(42, static_cast<BencEntityLazyInt&>(static_cast<BencEntity&>(target)).GetInt(0));
  EXPECT_EQ("82:42", Listing(lazy));
}

TEST_F(BencodingCopy, OwnedBytesAreCopiedAndTerminated) {
  BencTreeOf source("d3:k\0x3:a\0b1:yl0:20:01234567890123456789ee"sv);
  Owned<BencodedDict> copy;
  copy.CopyFrom(source.root);
  EXPECT_EQ(Listing(source.root), Listing(copy));
  const auto& key = copy.begin()->first;
  EXPECT_FALSE(key.borrowed);
  EXPECT_NE(source.dict().begin()->first.begin(), key.begin());
  EXPECT_EQ(0, key.begin()[3]);
  const auto& text = BencPeek::Bytes(copy.begin()->second);
  EXPECT_FALSE(text.borrowed);
  EXPECT_NE(BencPeek::Bytes(source.dict().begin()->second).begin(), text.begin());
  EXPECT_EQ(0, text.begin()[3]);
  EXPECT_STREQ("01234567890123456789", copy.GetList("y")->GetString(1, nullptr));
}

TEST_F(BencodingCopy, ACopyOfATreeDecodedInPlaceBorrowsTheSameBuffer) {
  BencTreeOf source("d1:a3:xyz1:bl4:listee", BencTreeOf::kInPlace);
  Owned<BencodedDict> copy;
  copy.CopyFrom(source.root);
  const char* buffer = source.bytes.chars();
  EXPECT_TRUE(copy.begin()->first.borrowed);
  EXPECT_EQ(buffer + 3, copy.begin()->first.begin());
  EXPECT_TRUE(BencPeek::Bytes(*copy.Get("a")).borrowed);
  source.root.FreeMembers();
  EXPECT_EQ(buffer + 6, copy.GetString("a", nullptr));
  EXPECT_EQ(buffer + 15, copy.GetList("b")->GetString(0, nullptr));
  EXPECT_STREQ("xyz", copy.GetString("a", nullptr));
  Owned<BencEntity> text;
  text.CopyFrom(*copy.Get("a"));
  EXPECT_TRUE(BencPeek::Bytes(text).borrowed);
  EXPECT_EQ(buffer + 6, AsMem(text).GetString(nullptr));
}

TEST_F(BencodingCopy, AListHasRoomForItsElementsOnly) {
  BencTreeOf source("li1ei2ei3ee");
  Owned<BencodedList> copy;
  copy.CopyFrom(source.root);
  EXPECT_EQ(3u, BencPeek::List(copy).capacity);
}

TEST_F(BencodingCopy, AListNeedsAListToBeCopiedInto) {
  BencTreeOf source("l1:ae");
  BencEntity nothing;
  EXPECT_MISUSE(nothing.CopyFrom(source.root));
  EXPECT_MISUSE(AsList(nothing).CopyFrom(source.root));
  BencEntity number;
  number.SetInt(1);
  EXPECT_MISUSE(number.CopyFrom(source.root));
  Owned<BencodedDict> dict;
  EXPECT_MISUSE(static_cast<BencEntity&>(dict).CopyFrom(source.root));
}

TEST_F(BencodingCopy, AStringNeedsNothingOrAStringToBeCopiedInto) {
  BencTreeOf source("l1:ae");
  const BencEntity& text = *source.list().Get(0);
  Owned<BencEntity> targets[4];
  targets[0].SetInt(1);
  BencPeek::SetPlain(targets[1], BENC_NULL);
  BencodedList list;
  targets[2].MoveFrom(list);
  BencodedDict dict;
  targets[3].MoveFrom(dict);
  for (BencEntity& target : targets) {
    EXPECT_MISUSE(target.CopyFrom(text));
    EXPECT_MISUSE(AsMem(target).CopyFrom(text));
  }
}

void NoElement(void*, size_t, BencEntity*) {}

TEST_F(BencodingCopy, WhatCannotBeCopiedStopsTheProcess) {
  Owned<BencEntity> sources[6];
  BencPeek::SetPlain(sources[0], BENC_VOID);
  sources[1].SetVList(NoElement, 1, nullptr);
  BencPeek::SetPlain(sources[2], 7);
  BencPeek::SetPlain(sources[3], BENC_LIST);
  BencPeek::SetPlain(sources[4], BENC_DICT);
  BencPeek::SetPlain(sources[5], BENC_STR);
  for (BencEntity& source : sources) {
    SCOPED_TRACE(source.GetType());
    Owned<BencodedList> target;
    EXPECT_MISUSE(static_cast<BencEntity&>(target).CopyFrom(source));
    BencEntity nothing;
    EXPECT_MISUSE(nothing.CopyFrom(source));
    Owned<BencodedList> list;
    list.Append(source);
    EXPECT_MISUSE(target.CopyFrom(list));
    source.MoveFrom(*list.Get(0));
  }
  BencPeek::SetKind(sources[2], BENC_NONE);
}

TEST_F(BencodingCopy, TheViewsTakeNoOtherKinds) {
  BencTreeOf source("l1:ai1edee");
  Owned<BencodedDict> dict;
  EXPECT_MISUSE(dict.CopyFrom(source.root));
  EXPECT_MISUSE(dict.CopyFrom(*source.list().Get(0)));
  Owned<BencodedList> list;
  EXPECT_MISUSE(list.CopyFrom(*source.list().Get(2)));
  EXPECT_MISUSE(list.CopyFrom(*source.list().Get(1)));
  Owned<BencEntityMem> text;
  EXPECT_MISUSE(text.CopyFrom(source.root));
  EXPECT_MISUSE(text.CopyFrom(*source.list().Get(1)));
}

TEST_F(BencodingCopy, AValueCopiesFromItself) {
  for (const char* input : {"li1e3:abcd1:al1:xeee", "d1:al1:xe1:b1:ye"}) {
    for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
      BencTreeOf tree(input, mode);
      const std::string before = Listing(tree.root);
      tree.root.CopyFrom(tree.root);
      EXPECT_EQ(before, Listing(tree.root));
    }
  }
  BencTreeOf tree("l3:abci5ee");
  for (size_t i = 0; i < 2; ++i) {
    const std::string before = Listing(*tree.list().Get(i));
    tree.list().Get(i)->CopyFrom(*tree.list().Get(i));
    EXPECT_EQ(before, Listing(*tree.list().Get(i)));
  }
}

TEST_F(BencodingCopy, AValueCopiesFromItsOwnPart) {
  BencTreeOf list("lli1el1:xeee");
  list.root.CopyFrom(*list.list().Get(0));
  EXPECT_EQ("4(2=1,4(31:x,),)", Listing(list.root));
  list.root.CopyFrom(*list.list().Get(1));
  EXPECT_EQ("4(31:x,)", Listing(list.root));
  BencTreeOf dict("d1:ad1:bd1:ci1eeee");
  dict.root.CopyFrom(*dict.dict().GetDict("a")->Get("b"));
  EXPECT_EQ("5{1:c2=1,}", Listing(dict.root));
  BencTreeOf scalar("li1ei2ee");
  scalar.root.CopyFrom(*scalar.list().Get(1));
  EXPECT_EQ("2=2", Listing(scalar.root));
}

TEST_F(BencodingCopy, AValueCopiesFromWhatHoldsIt) {
  BencTreeOf list("li1eli2eee");
  list.list().Get(1)->CopyFrom(list.root);
  EXPECT_EQ("4(2=1,4(2=1,4(2=2,),),)", Listing(list.root));
  BencTreeOf dict("d1:ad1:bi1eee");
  dict.dict().Get("a")->CopyFrom(dict.root);
  EXPECT_EQ("5{1:a5{1:a5{1:b2=1,},},}", Listing(dict.root));
}

TEST_F(BencodingCopy, ACopyCanBeChanged) {
  for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
    BencTreeOf source("d1:al1:x1:ye1:bd1:ci1eee", mode);
    const std::string before = Listing(source.root);
    Owned<BencodedDict> copy;
    copy.CopyFrom(source.root);
    copy.GetList("a")->AppendInt(3);
    AsMem(*copy.GetList("a")->Get(0)).SetStr("longer than it was", -1);
    copy.GetList("a")->Delete(1);
    copy.Delete("b");
    copy.InsertInt("0", 1);
    copy.InsertInt("z", 2);
    EXPECT_EQ("5{1:01=1,1:a4(318:longer than it was,1=3,),1:z1=2,}", Listing(copy));
    EXPECT_EQ(before, Listing(source.root));
  }
}

TEST_F(BencodingCopy, ALargeDictionaryKeepsItsOrderAndIsBalanced) {
  Owned<BencodedDict> source;
  for (int i = 0; i < 1000; ++i) {
    source.InsertInt(std::to_string(i * 7919 % 1000).c_str(), i);
  }
  for (int i = 0; i < 1000; i += 3) {
    source.Delete(std::to_string(i).c_str());
  }
  Owned<BencodedDict> copy;
  copy.CopyFrom(source);
  EXPECT_EQ(Listing(source), Listing(copy));
  EXPECT_EQ(source.size(), copy.size());
  copy.begin().current()->VerifyDepth();
}

void CopyOnASmallStack(const std::string& input) {
  OnSmallStack([&] {
    BencTreeOf tree(input);
    ASSERT_EQ(tree.bytes.end(), tree.end);
    Owned<BencEntity> copy;
    if (tree.root.GetType() == BENC_LIST) {
      BencodedList list;
      copy.MoveFrom(list);
    }
    copy.CopyFrom(tree.root);
    tree.root.FreeMembers();
    const BencEntity* value = &copy;
    size_t depth = 0;
    while (value) {
      ++depth;
      const bool is_list = value->GetType() == BENC_LIST;
      const auto* list = static_cast<const BencodedList*>(value);
      value = !is_list                ? static_cast<const BencodedDict*>(value)->Get("a")
              : list->GetCount() != 0 ? list->Get(list->GetCount() - 1)
                                      : nullptr;
    }
    EXPECT_EQ(1'000'001u, depth);
  });
}

TEST_F(BencodingCopy, AMillionNestedListsCopyOnASmallStack) { CopyOnASmallStack(Nest("l", "le", "e", 1'000'000)); }

TEST_F(BencodingCopy, AMillionNestedDictionariesCopyOnASmallStack) {
  CopyOnASmallStack(Nest("d1:a", "de", "e", 1'000'000));
}

TEST_F(BencodingCopy, NestedContainersOfBothKindsCopyOnASmallStack) {
  CopyOnASmallStack(Nest("li1ed1:01:x1:a", "le", "1:bi2eee", 500'000));
}

}  // namespace
