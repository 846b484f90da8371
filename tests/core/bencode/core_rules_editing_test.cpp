// Setting, copying and moving between all kinds of values, and changes to decoded trees.
#include <gtest/gtest.h>
#include <limits.h>
#include <stdint.h>
#include <string.h>

#include <functional>
#include <string>
#include <string_view>

#include "core/base/mem1.h"
#include "core/bencode/bencoding.h"
#include "core/text/basic_string.h"
#include "core/text/string.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/fatal.h"
#include "tests/support/platform_memory.h"

using namespace core;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

constexpr BencTreeOf::Mode kModes[] = {BencTreeOf::kCopied, BencTreeOf::kInPlace};

using EditingRules = BencTest;

std::string BytesOf(const BencEntity& value) {
  const BencArray<unsigned char>& bytes = BencPeek::Bytes(value);
  return {reinterpret_cast<const char*>(bytes.data), bytes.size()};
}

std::string Show(const BencEntity& value);

std::string ShowList(const BencEntity& value) {
  std::string text = "[";
  for (const BencEntity& element : BencPeek::List(value)) {
    text += Show(element) + " ";
  }
  return text + "]";
}

std::string ShowDict(const BencodedDict& dict) {
  std::string text = "{";
  for (const auto& entry : dict) {
    text += std::string(entry.first.begin(), entry.first.size()) + "=" + Show(entry.second) + " ";
  }
  return text + "}";
}

// Kinds and contents, without reading through anything that writes or converts.
std::string Show(const BencEntity& value) {
  switch (value.GetType()) {
    case BENC_NONE:
      return "-";
    case BENC_INT:
      return "i" + std::to_string(BencPeek::Word(value));
    case BENC_INT64:
      return "I" + std::to_string(BencPeek::Word(value));
    case BENC_STR:
      return "s" + BytesOf(value);
    case BENC_INT_LAZY:
      return "z" + BytesOf(value);
    case BENC_LIST:
      return ShowList(value);
    case BENC_DICT:
      return ShowDict(static_cast<const BencodedDict&>(value));
    case BENC_VLIST:
      return "v";
    case BENC_NULL:
      return "null";
    case BENC_BOOL:
      return "b" + std::to_string(BencPeek::Word(value));
    case BENC_VOID:
      return "void";
  }
  return "?";
}

void MakeIndexed(void* user_data, size_t index, BencEntity* out) {
  ++*static_cast<int*>(user_data);
  EXPECT_EQ(BENC_NONE, out->GetType());
  BencodedList inner;
  inner.AppendInt64(static_cast<long long>(index));
  inner.AppendString("text", 4);
  out->MoveFrom(inner);
}

int g_calls = 0;

constexpr int kKinds[] = {BENC_NONE,  BENC_INT,      BENC_INT64, BENC_STR,  BENC_LIST, BENC_DICT,
                          BENC_VLIST, BENC_INT_LAZY, BENC_NULL,  BENC_BOOL, BENC_VOID};

// Makes `value`, which owns nothing, a value of the kind, with a payload where the kind has one.
void Fill(BencEntity& value, int kind) {
  switch (kind) {
    case BENC_STR: {
      BencEntityMem made;
      made.SetStr("held", 4);
      value.MoveFrom(made);
      return;
    }
    case BENC_INT_LAZY: {
      auto* bytes = new BencArray<unsigned char>;
      bytes->Assign(reinterpret_cast<const unsigned char*>("4294967301"), 10);
      BencPeek::SetBytes(value, kind, bytes);
      return;
    }
    case BENC_LIST: {
      BencodedList made;
      made.AppendString("held", 4);
      value.MoveFrom(made);
      return;
    }
    case BENC_DICT: {
      BencodedDict made;
      made.InsertString("key", "held", 4);
      value.MoveFrom(made);
      return;
    }
    case BENC_VLIST:
      value.SetVList(MakeIndexed, 3, &g_calls)->Get(1);
      return;
    case BENC_NONE:
      return;
    default:
      BencPeek::SetPlain(value, kind, 77);
  }
}

std::string Filled(int kind) {
  BencEntity value;
  Fill(value, kind);
  std::string text = Show(value);
  value.FreeMembers();
  return text;
}

void ExpectEmptied(const BencEntity& value) {
  EXPECT_EQ(BENC_NONE, value.GetType());
  EXPECT_EQ(0, BencPeek::Word(value));
}

// Whether CopyFrom takes a source of one kind into a target of another.
bool Copies(int source, int target) {
  switch (source) {
    case BENC_STR:
    case BENC_INT_LAZY:
      return target == BENC_NONE || target == BENC_STR || target == BENC_INT_LAZY;
    case BENC_LIST:
      return target == BENC_LIST;
    case BENC_VLIST:
    case BENC_VOID:
      return false;
    default:
      return true;
  }
}

}  // namespace

TEST_F(EditingRules, CopyTakesEveryKindThatItsTargetAllows) {
  for (int source : kKinds) {
    for (int target : kKinds) {
      if (!Copies(source, target)) {
        continue;
      }
      SCOPED_TRACE(std::to_string(source) + " into " + std::to_string(target));
      BencEntity from;
      BencEntity to;
      Fill(from, source);
      Fill(to, target);
      const long held_before = test_host::LiveBlocks();
      to.CopyFrom(from);
      EXPECT_EQ(Filled(source == BENC_NONE ? target : source), Show(to));
      EXPECT_EQ(Filled(source), Show(from));
      if (source == BENC_NONE) {
        EXPECT_EQ(held_before, test_host::LiveBlocks());
      }
      from.FreeMembers();
      EXPECT_EQ(Filled(source == BENC_NONE ? target : source), Show(to));
      to.FreeMembers();
    }
  }
}

TEST_F(EditingRules, CopyIntoAnyOtherTargetIsFatal) {
  for (int source : {BENC_STR, BENC_INT_LAZY, BENC_LIST, BENC_VLIST, BENC_VOID}) {
    for (int target : kKinds) {
      if (Copies(source, target)) {
        continue;
      }
      SCOPED_TRACE(std::to_string(source) + " into " + std::to_string(target));
      BencEntity from;
      BencEntity to;
      Fill(from, source);
      Fill(to, target);
      EXPECT_FATAL_ANY_LINE(to.CopyFrom(from), "core/bencoding");
      from.FreeMembers();
      to.FreeMembers();
    }
  }
}

TEST_F(EditingRules, CopyKeepsAllBitsOfABencInt) {
  BencEntity lazy;
  Fill(lazy, BENC_INT_LAZY);
  static_cast<BencEntityLazyInt&>(lazy).GetInt(0);
  BencEntity copy;
  copy.CopyFrom(lazy);
  EXPECT_EQ("i4294967301", Show(copy));
  copy.FreeMembers();
  lazy.FreeMembers();
}

TEST_F(EditingRules, CopyConstructionEmptiesItsConstSource) {
  for (int kind : kKinds) {
    SCOPED_TRACE(kind);
    BencEntity source;
    Fill(source, kind);
    const BencEntity& constant = source;
    BencEntity taken(constant);
    ExpectEmptied(source);
    EXPECT_EQ(Filled(kind), Show(taken));
    taken.FreeMembers();
  }
}

TEST_F(EditingRules, SettersFreeWhatTheyReplace) {
  using Setter = std::function<void(BencEntity&)>;
  const struct {
    const char* after;
    Setter set;
  } cases[] = {
      {"i-2147483648", [](BencEntity& v) { EXPECT_EQ(INT_MIN, v.SetInt(INT_MIN)); }},
      {"I-9223372036854775808", [](BencEntity& v) { v.SetInt64(LLONG_MIN); }},
      {"v", [](BencEntity& v) { EXPECT_EQ(&v, v.SetVList(MakeIndexed, 0, nullptr)); }},
  };
  for (const auto& c : cases) {
    for (int kind : kKinds) {
      SCOPED_TRACE(c.after + " over "s + std::to_string(kind));
      BencEntity value;
      Fill(value, kind);
      c.set(value);
      EXPECT_EQ(c.after, Show(value));
      value.FreeMembers();
    }
  }
}

TEST_F(EditingRules, EverySetterReplacesDecodedBytes) {
  constexpr std::string_view kInput = "l5:helloe";
  const struct {
    const char* name;
    std::string_view after;
    void (*set)(BencEntityMem&);
  } cases[] = {
      {"SetMem", "raw", [](BencEntityMem& v) { v.SetMem("raw", 3); }},
      {"SetMem empty", "", [](BencEntityMem& v) { v.SetMem("raw", 0); }},
      {"SetMemOwn", "own", [](BencEntityMem& v) { v.SetMemOwn(memcpy(MyMalloc(3), "own", 3), 3); }},
      {"SetMemOwn null", "", [](BencEntityMem& v) { v.SetMemOwn(nullptr, 0); }},
      {"SetMemOwn empty", "", [](BencEntityMem& v) { v.SetMemOwn(MyMalloc(3), 0); }},
      {"SetStrT", "\xE2\x82\xACx", [](BencEntityMem& v) { v.SetStrT(L"\u20acx"); }},
      {"SetStrT empty", "", [](BencEntityMem& v) { v.SetStrT(L""); }},
      {"SetStrT null", "", [](BencEntityMem& v) { v.SetStrT(nullptr); }},
  };
  for (BencTreeOf::Mode mode : kModes) {
    for (const auto& first : cases) {
      for (const auto& second : cases) {
        SCOPED_TRACE(std::string(first.name) + ", " + second.name + std::to_string(mode));
        BencTreeOf tree(kInput, mode);
        auto* value = static_cast<BencEntityMem*>(tree.list().Get(0));
        first.set(*value);
        EXPECT_EQ(first.after, BytesOf(*value));
        second.set(*value);
        EXPECT_EQ(second.after, BytesOf(*value));
        value->SetStr("text", -1);
        EXPECT_STREQ("text", value->GetString(nullptr));
        EXPECT_EQ(kInput, tree.bytes.view());
      }
    }
  }
}

TEST_F(EditingRules, AppendStringReadsItsLengthInThirtyTwoBits) {
  const struct {
    size_t len;
    const char* after;
  } cases[] = {{SIZE_MAX, "sabc"}, {0xFFFFFFFFu, "sabc"}, {0x1FFFFFFFF, "sabc"},
               {0, "s"},           {0x100000000, "s"},    {0x100000002, "sab"},
               {3, "sabc"}};
  BencodedList list;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.len);
    EXPECT_EQ(c.after, Show(*list.AppendString("abc", c.len)));
  }
  EXPECT_EQ("s", Show(*list.AppendString(nullptr, 7)));
  EXPECT_FATAL_ANY_LINE(list.AppendString("abc", 0x80000000u), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(list.AppendString("abc", 0xFFFFFFFEu), "core/bencoding");
  list.FreeMembers();
}

TEST_F(EditingRules, AppendEmptiesTheRecordOfEveryKind) {
  BencodedList list;
  std::string expected = "[";
  for (int kind : kKinds) {
    BencEntity value;
    Fill(value, kind);
    const BencEntity* stored = list.Append(value);
    ExpectEmptied(value);
    EXPECT_EQ(Filled(kind), Show(*stored));
    expected += Filled(kind) + " ";
  }
  EXPECT_EQ(expected + "]", Show(list));
  list.FreeMembers();
}

TEST_F(EditingRules, InsertEmptiesTheRecordOfEveryKindUnderANewAndAnOldKey) {
  for (int kind : kKinds) {
    for (int held : kKinds) {
      SCOPED_TRACE(std::to_string(kind) + " over " + std::to_string(held));
      BencodedDict dict;
      BencEntity value;
      Fill(value, held);
      BencEntity* stored = dict.Insert("key", value);
      ExpectEmptied(value);
      EXPECT_EQ(stored, dict.Get("key"));
      Fill(value, kind);
      EXPECT_EQ(stored, dict.Insert("key", value));
      ExpectEmptied(value);
      EXPECT_EQ(Filled(held), Show(*stored));
      EXPECT_EQ(1u, dict.size());
      dict.FreeMembers();
    }
  }
}

TEST_F(EditingRules, InsertStringTakesNullStringsAsEmptyAndCutsAtItsLength) {
  BencodedDict dict;
  dict.InsertString(basic_string<char>(), basic_string<char>(), -1);
  dict.InsertString(basic_string<char>("a"), basic_string<char>("text"), 2);
  dict.InsertString(basic_string<char>("b"), basic_string<char>("text"), -1);
  dict.InsertString("c", nullptr, 4);
  dict.InsertStringT("d", nullptr);
  EXPECT_EQ("{=s a=ste b=stext c=s d=s }", Show(dict));
  dict.FreeMembers();
}

TEST_F(EditingRules, KeysAreComparedUpToACommonZeroByteThenByLength) {
  for (BencTreeOf::Mode mode : kModes) {
    SCOPED_TRACE(mode);
    // Order: "", "a", "a\0b", "a\0aa", "a\x01", "ab", "a\x80", "b".
    BencTreeOf tree("d1:bi7e2:a\x80i6e2:abi5e2:a\x01i4e4:a\0aai3e3:a\0bi2e1:ai1e0:i0ee"sv, mode);
    ASSERT_NE(nullptr, tree.end);
    BencodedDict copy;
    copy.CopyFrom(tree.root);
    BencodedDict second;
    second.BencEntity::CopyFrom(copy);
    const std::string expected = "{=I0 a=I1 a\0b=I2 a\0aa=I3 a\x01=I4 ab=I5 a\x80=I6 b=I7 }"s;
    for (BencodedDict* dict : {&tree.dict(), &copy, &second}) {
      EXPECT_EQ(expected, Show(*dict));
      EXPECT_EQ(1, dict->GetInt("a", -1));
      EXPECT_EQ(0, dict->GetInt("", -1));
      dict->Delete("a");
      dict->Delete("a");
      EXPECT_EQ(nullptr, dict->Get("a"));
      dict->InsertInt("a", 9);
      dict->Delete("");
      dict->Delete("ab");
      dict->Delete("missing");
      EXPECT_EQ("{a=i9 a\0b=I2 a\0aa=I3 a\x01=I4 a\x80=I6 b=I7 }"s, Show(*dict));
      EXPECT_EQ(6u, dict->size());
    }
    copy.FreeMembers();
    second.FreeMembers();
  }
}

TEST_F(EditingRules, NullKeysAreFatal) {
  BencodedDict dict;
  BencEntity added;
  EXPECT_FATAL_ANY_LINE(dict.Insert(nullptr, added), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(dict.InsertString(nullptr, "a", 1), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(dict.InsertStringT(nullptr, L"a"), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(dict.InsertInt(nullptr, 1), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(dict.InsertInt64(nullptr, 1), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(dict.InsertDict(nullptr), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(dict.InsertList(nullptr), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(dict.Delete(nullptr), "core/bencoding");
  dict.FreeMembers();
}

TEST_F(EditingRules, ValuesMovedOutOfADecodedTreeOutliveIt) {
  for (const char* key : {"d", "l", "s"}) {
    SCOPED_TRACE(key);
    BencEntity kept;
    std::string before;
    {
      BencTreeOf tree("d1:dd1:k1:v1:zl1:xee1:ll1:ai2eli3eee1:s6:stringe");
      ASSERT_NE(nullptr, tree.end);
      before = Show(*tree.dict().Get(key));
      kept.MoveFrom(*tree.dict().Get(key));
      ExpectEmptied(*tree.dict().Get(key));
    }
    EXPECT_EQ(before, Show(kept));
    if (kept.GetType() == BENC_LIST) {
      for (int i = 0; i < 40; ++i) {
        static_cast<BencodedList&>(kept).AppendInt(i);
      }
      static_cast<BencodedList&>(kept).Delete(0);
      EXPECT_EQ(42u, static_cast<BencodedList&>(kept).GetCount());
    } else if (kept.GetType() == BENC_DICT) {
      static_cast<BencodedDict&>(kept).InsertString("a", "new", -1);
      static_cast<BencodedDict&>(kept).Delete("k");
      EXPECT_EQ("{a=snew z=[sx ] }", Show(kept));
    } else {
      static_cast<BencEntityMem&>(kept).SetStr("another", -1);
      EXPECT_EQ("sanother", Show(kept));
    }
    kept.FreeMembers();
  }
}

TEST_F(EditingRules, KeysInsertedIntoABorrowedTreeAreOwned) {
  BencTreeOf tree("d1:bi1ee", BencTreeOf::kInPlace);
  tree.dict().InsertInt("a", 2);
  BencEntity copy;
  copy.CopyFrom(tree.root);
  const auto& first = *static_cast<BencodedDict&>(copy).begin();
  EXPECT_FALSE(first.first.borrowed);
  EXPECT_STREQ("a", first.first.begin());
  copy.FreeMembers();
}

TEST_F(EditingRules, EntriesStayWhileTheirValuesAreReplaced) {
  for (BencTreeOf::Mode mode : kModes) {
    SCOPED_TRACE(mode);
    BencTreeOf tree("d1:a1:x1:bl1:ye1:cd1:z1:zee", mode);
    int i = 0;
    for (auto& entry : tree.dict()) {
      BencEntity taken;
      taken.MoveFrom(entry.second);
      entry.second.SetInt(++i);
      taken.FreeMembers();
    }
    EXPECT_EQ("{a=i1 b=i2 c=i3 }", Show(tree.root));
  }
}

TEST_F(EditingRules, VirtualListElementsAreFreedBeforeTheNextIsMade) {
  int calls = 0;
  BencEntity value;
  Fill(value, BENC_DICT);
  BencodedList* list = value.SetVList(MakeIndexed, 3, &calls);
  EXPECT_EQ(0, calls);
  EXPECT_EQ(3u, list->GetCount());
  const BencEntity* first = list->Get(0);
  EXPECT_EQ("[I0 stext ]", Show(*first));
  EXPECT_EQ(first, list->Get(0));
  EXPECT_EQ(1, calls);
  EXPECT_EQ("[I2 stext ]", Show(*list->Get(2)));
  EXPECT_EQ("[I0 stext ]", Show(*list->Get(0)));
  EXPECT_EQ(3, calls);
  value.SetVList(MakeIndexed, 1, &calls);
  EXPECT_EQ(1u, list->GetCount());
  EXPECT_EQ("[I0 stext ]", Show(*list->Get(0)));
  EXPECT_EQ(4, calls);
  value.FreeMembers();
  ExpectEmptied(value);
}
