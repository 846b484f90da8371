// Emitting bencode trees as bencoding and as the ASCII listing, and raw bytes.
#include <gtest/gtest.h>
#include <limits.h>
#include <stdint.h>
#include <string.h>

#include <string>
#include <string_view>
#include <vector>

#include "core/bencode/bencemitter.h"
#include "core/bencode/bencoding.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/emitted.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/repeat.h"
#include "tests/support/small_stack.h"

namespace {

using core::BencEntity;
using core::BencodedDict;
using core::BencodedEmitter;
using core::BencodedList;

using namespace std::string_literals;

constexpr size_t kDeep = 1'000'000;

class Emitter : public BencTest {};
class EmitterAscii : public BencTest {};

TEST_F(Emitter, WritesIntegersOfBothKindsWithAllTheirBits) {
  for (int64_t n : {int64_t{0}, int64_t{1}, int64_t{-1}, int64_t{9}, int64_t{10}, int64_t{-3}, int64_t{INT_MAX},
                    int64_t{INT_MIN}, int64_t{INT_MAX} + 1, int64_t{1} << 32, INT64_MAX, INT64_MIN}) {
    for (int kind : {core::BENC_INT, core::BENC_INT64}) {
      BencEntity v;
      BencPeek::SetPlain(v, kind, n);
      EXPECT_EQ("i" + std::to_string(n) + "e", Bencoded(v)) << kind;
    }
  }
}

TEST_F(Emitter, AnIntegerOfMoreThan64BitsComesOutAsTheNearest) {
  for (const char* text : {"li9223372036854775807ee", "li-9223372036854775808ee"}) {
    EXPECT_EQ(text, Bencoded(BencTreeOf(text).root));
  }
  EXPECT_EQ("li9223372036854775807ee", Bencoded(BencTreeOf("li9223372036854775808ee").root));
}

TEST_F(Emitter, WritesTheSetIntegers) {
  BencEntity v;
  v.SetInt(INT_MIN);
  EXPECT_EQ("i-2147483648e", Bencoded(v));
  v.SetInt64(LLONG_MIN);
  EXPECT_EQ("i-9223372036854775808e", Bencoded(v));
}

TEST_F(Emitter, WritesStringsByCount) {
  for (const std::string& text : {""s, "a"s, "%d%s%"s, "\0"s, "a\0b\0"s, "\xff\xfe"s, std::string(9, 'x'),
                                  std::string(10, 'x'), std::string(12345, '\n'), AllBytes()}) {
    EXPECT_EQ(BencodedText(text), Bencoded(OwnedString(text)));
  }
}

TEST_F(Emitter, WritesOwnedAndBorrowedTreesAsTheyWere) {
  for (const std::string& text : {"de"s, "le"s, "d1:ai-3e1:b3:xyze"s, "lli1eel2:abedee"s, "d0:d0:leee"s, "l0:0:i0ee"s,
                                  "d1:ad1:bd1:cleee2:abi1e1:b0:e"s, "d1:\x7fi1e1:\x80i2e1:\xffi3ee"s}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(text, Bencoded(BencTreeOf(text).root));
    EXPECT_EQ(text, Bencoded(BencTreeOf(text, BencTreeOf::kInPlace).root));
  }
}

TEST_F(Emitter, WritesDictionariesInAscendingKeyOrder) {
  EXPECT_EQ("d0:i0e1:ai1e2:aai2e1:bi3ee", Bencoded(BencTreeOf("d1:bi3e2:aai2e0:i0e1:ai1ee").root));
}

TEST_F(Emitter, WritesKeysUpToTheirFirstZeroByte) {
  for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
    EXPECT_EQ("d1:ai1ee", Bencoded(BencTreeOf("d3:a\0bi1ee"s, mode).root));
    EXPECT_EQ("d0:i1ee", Bencoded(BencTreeOf("d1:\0i1ee"s, mode).root));
    EXPECT_EQ("d1:ai1e1:ai2e1:bi3ee", Bencoded(BencTreeOf("d1:ai1e2:a\0i2e1:bi3ee"s, mode).root));
  }
}

TEST_F(Emitter, WritesAnInsertedKeyWithoutItsTerminator) {
  OwnedDict dict;
  dict.InsertInt("key", 1);
  EXPECT_EQ("d3:keyi1ee", Bencoded(dict));
}

TEST_F(Emitter, WritesLongKeys) {
  for (size_t len : {63u, 64u, 65u, 127u, 128u, 5000u}) {
    const std::string text = "d" + BencodedText(std::string(len, 'k')) + "i1ee";
    EXPECT_EQ(text, Bencoded(BencTreeOf(text).root));
  }
}

TEST_F(Emitter, WritesBuiltTreesOfEveryKind) {
  OwnedDict dict;
  BencodedList* list = dict.InsertList("l");
  list->AppendInt(-1);
  list->AppendInt64(INT64_MAX);
  list->AppendString("a\0b", 3);
  list->AppendList();
  list->AppendDict()->InsertString("k", "", 0);
  EXPECT_EQ("d1:lli-1ei9223372036854775807e3:a\0bled1:k0:eee"s, Bencoded(dict));
}

TEST_F(Emitter, AppendsToWhatWasEmitted) {
  const OwnedString text("x");
  BencodedEmitter out;
  out.Emit(&text);
  out.Emit("raw", 3);
  out.EmitAsAscii(&text, "");
  out.EmitAsXML("t", &text, 0);
  out.EmitAsJson(&text, 0);
  EXPECT_EQ("1:xrawx<t>x</t>\r\n\"x\"", std::string(reinterpret_cast<const char*>(out.data()), out.size()));
}

TEST_F(Emitter, GrowsAroundItsFirstRoom) {
  for (size_t size = 4090; size <= 4100; ++size) {
    const std::string text = "l" + BencodedText(std::string(size - 7, 'x')) + "e";
    ASSERT_EQ(size, text.size());
    EXPECT_EQ(text, Bencoded(BencTreeOf(text).root));
    const std::string ints = "l" + Repeat("i1e", size) + "e";
    EXPECT_EQ(ints, Bencoded(BencTreeOf(ints).root));
  }
}

TEST_F(Emitter, HandsOverItsOutputAndStartsAnew) {
  BencodedEmitter out;
  for (const char* text : {"one", "three"}) {
    out.Emit(text, strlen(text));
    size_t len = 0;
    unsigned char* block = out.Take(&len);
    EXPECT_EQ(text, TakeBytes(block, len));
    EXPECT_EQ(0u, out.size());
  }
  out.Emit("x", 1);
  EXPECT_EQ("x", TakeBytes(out.Take(nullptr), 1));
  size_t len = 1;
  EXPECT_EQ(nullptr, out.Take(&len));
  EXPECT_EQ(0u, len);
}

TEST_F(Emitter, WritesRawBytesAsTheyAre) {
  for (const std::string& bytes : {"%d\0\n"s, AllBytes(), std::string(100'000, '\0')}) {
    const ExactBytes in(bytes);
    EXPECT_EQ(bytes, Emitted([&](BencodedEmitter& out) { out.Emit(in.begin(), in.size()); }));
  }
}

TEST_F(Emitter, WritesItsOwnOutputAgain) {
  const std::string text(4096, 'x');
  EXPECT_EQ(text + text, Emitted([&](BencodedEmitter& out) {
              out.Emit(text.data(), text.size());
              out.Emit(out.data(), out.size());
            }));
}

TEST_F(Emitter, WritesNoRawBytesForLengthZero) {
  EXPECT_EQ("", Emitted([](BencodedEmitter& out) {
              out.Emit(nullptr, 0);
              out.Emit("x", 0);
            }));
}

TEST_F(Emitter, RawBytesAtNullAreFatal) {
  BencodedEmitter out;
  EXPECT_FATAL(out.Emit(nullptr, 1), "core/bencoding", 1045);
  EXPECT_FATAL(out.Emit(nullptr, SIZE_MAX), "core/bencoding", 1045);
}

// Kinds that neither bencoding nor the listing nor XML can write.
const int kUnwritable[] = {
    core::BENC_NONE, 7, core::BENC_INT_LAZY, 9, 252, core::BENC_NULL, core::BENC_BOOL, core::BENC_VOID, 256, -1};

TEST_F(Emitter, OtherKindsAreFatal) {
  for (int kind : kUnwritable) {
    SCOPED_TRACE(kind);
    BencEntity v;
    BencPeek::SetPlain(v, kind);
    EXPECT_FATAL_ANY_LINE(Bencoded(v), "core/bencoding");
    EXPECT_FATAL_ANY_LINE(Bencoded(Holding(kind).list), "core/bencoding");
  }
}

// A virtual list's element `index`, and what was asked for.
struct Squares {
  std::vector<size_t> asked;

  static void Make(void* self, size_t index, BencEntity* out) {
    EXPECT_EQ(core::BENC_NONE, out->GetType());
    static_cast<Squares*>(self)->asked.push_back(index);
    out->SetInt(static_cast<int>(index * index));
  }
};

TEST_F(Emitter, WritesAVirtualListElementByElement) {
  Squares squares;
  OwnedValue v;
  v.SetVList(Squares::Make, 5, &squares);
  EXPECT_EQ("li0ei1ei4ei9ei16ee", Bencoded(v));
  EXPECT_EQ((std::vector<size_t>{0, 1, 2, 3, 4}), squares.asked);
}

TEST_F(Emitter, AsksForNothingOfAnEmptyVirtualList) {
  Squares squares;
  OwnedValue v;
  v.SetVList(Squares::Make, 0, &squares);
  EXPECT_EQ("le", Bencoded(v));
  EXPECT_TRUE(squares.asked.empty());
}

TEST_F(Emitter, TakesTheElementThatAVirtualListKeeps) {
  Squares squares;
  OwnedValue v;
  v.SetVList(Squares::Make, 2, &squares)->Get(0);
  EXPECT_EQ("li0ei1ee", Bencoded(v));
  EXPECT_EQ((std::vector<size_t>{0, 1}), squares.asked);
}

void MakeContainer(void* user_data, size_t index, BencEntity* out) {
  if (index == 0) {
    BencodedDict dict;
    dict.InsertList("k")->AppendInt(1);
    out->MoveFrom(dict);
  } else {
    out->SetVList(Squares::Make, index, user_data);
  }
}

TEST_F(Emitter, WritesContainersAndVirtualListsInsideVirtualLists) {
  Squares squares;
  OwnedDict dict;
  BencEntity vlist;
  vlist.SetVList(MakeContainer, 3, &squares);
  dict.InsertList("l")->Append(vlist);
  dict.InsertInt("z", 1);
  const std::string elements[] = {"d1:kli1eee", "li0ee", "li0ei1ee"};
  EXPECT_EQ("d1:lll" + elements[0] + elements[1] + elements[2] + "ee1:zi1ee", Bencoded(dict));
}

TEST_F(Emitter, AVirtualElementThatWasNotMadeIsFatal) {
  OwnedValue v;
  v.SetVList([](void*, size_t, BencEntity*) {}, 1, nullptr);
  EXPECT_FATAL_ANY_LINE(Bencoded(v), "core/bencoding");
}

void MakeNested(void* levels_left, size_t, BencEntity* out) {
  size_t& left = *static_cast<size_t*>(levels_left);
  if (left == 0) {
    out->SetInt(7);
  } else {
    --left;
    out->SetVList(MakeNested, 1, levels_left);
  }
}

TEST_F(Emitter, WritesNestedVirtualListsOnASmallStack) {
  constexpr size_t kLevels = 100'000;
  OnSmallStack([] {
    size_t left = kLevels;
    OwnedValue v;
    MakeNested(&left, 0, &v);
    EXPECT_EQ(Repeat("l", kLevels) + "i7e" + Repeat("e", kLevels), Bencoded(v));
  });
}

TEST_F(Emitter, WritesAMillionLevelsOnASmallStack) {
  for (const std::string& text :
       {Repeat("l", kDeep) + Repeat("e", kDeep), Repeat("d1:k", kDeep) + "de" + Repeat("e", kDeep),
        Repeat("li1ed1:a0:1:b", kDeep / 2) + "le" + Repeat("1:ci-1eei2ee", kDeep / 2)}) {
    OnSmallStack([&] { EXPECT_TRUE(text == Bencoded(BencTreeOf(text).root)) << text.substr(0, 20); });
  }
}

TEST_F(Emitter, LeavesTheInputOfABorrowedTreeAsItIs) {
  const std::string text = "d1:a3:xyz1:bl1:p1:qe1:c0:e";
  BencTreeOf tree(text, BencTreeOf::kInPlace);
  Bencoded(tree.root);
  Listed(tree.root);
  Xml(tree.root);
  Json(tree.root);
  EXPECT_EQ(text, tree.bytes.view());
}

TEST_F(EmitterAscii, ListsIntegersByKind) {
  for (const auto& [n, low] : {std::pair{int64_t{-5}, "-5"},
                               {int64_t{INT_MAX} + 1, "-2147483648"},
                               {int64_t{INT_MAX}, "2147483647"},
                               {(int64_t{1} << 32) + 1, "1"},
                               {INT64_MIN, "0"},
                               {INT64_MAX, "-1"}}) {
    BencEntity v;
    BencPeek::SetPlain(v, core::BENC_INT, n);
    EXPECT_EQ(low, Listed(v));
    v.SetInt64(n);
    EXPECT_EQ(std::to_string(n), Listed(v));
  }
}

TEST_F(EmitterAscii, WritesAScalarWithoutItsPrefix) {
  BencEntity v;
  v.SetInt(1);
  EXPECT_EQ("1", Listed(v, "prefix"));
  EXPECT_EQ("x\\\\y", Listed(OwnedString("x\\y"), "prefix"));
}

TEST_F(EmitterAscii, QuotesLineFeedCarriageReturnAndBackslashOnly) {
  std::string want;
  for (char c : AllBytes()) {
    want += c == '\n' || c == '\r' || c == '\\' ? "\\"s + c : std::string(1, c);
  }
  const ExactBytes in(AllBytes());
  EXPECT_EQ(want, Emitted([&](BencodedEmitter& out) { out.EmitQuotedAscii(in.begin(), 256); }));
  EXPECT_EQ(want, Listed(OwnedString(AllBytes())));
}

TEST_F(EmitterAscii, QuotesAtBothEndsAndInRuns) {
  for (const auto& [text, want] : {std::pair{"\n"s, "\\\n"s},
                                   {"\r\n", "\\\r\\\n"},
                                   {"\\\\\\", "\\\\\\\\\\\\"},
                                   {"a\n", "a\\\n"},
                                   {"\na", "\\\na"},
                                   {"\\n", "\\\\n"}}) {
    EXPECT_EQ(want, Listed(OwnedString(text)));
  }
}

TEST_F(EmitterAscii, QuotesExactlyTheLengthGiven) {
  const ExactBytes in("a\\\nb");
  const char* want[] = {"", "a", "a\\\\", "a\\\\\\\n", "a\\\\\\\nb"};
  for (int len = 0; len <= 4; ++len) {
    EXPECT_EQ(want[len], Emitted([&](BencodedEmitter& out) { out.EmitQuotedAscii(in.begin(), len); }));
  }
}

TEST_F(EmitterAscii, QuotesNothingForALengthThatIsNotPositive) {
  for (int len : {0, -1, INT_MIN}) {
    EXPECT_EQ("", Emitted([&](BencodedEmitter& out) {
                out.EmitQuotedAscii("abc", len);
                out.EmitQuotedAscii(nullptr, len);
              }));
  }
}

struct Listing {
  const char* name;
  std::string tree;
  std::string lines;
};

const Listing kListings[] = {
    {"dictionary and list", "d1:ad1:bi1ee1:cl1:xee", "a.b=1\r\nc.0=x\r\n"},
    {"empty list", "le", ""},
    {"empty dictionary", "de", ""},
    {"empty containers inside", "d1:ade1:blledel1:xeee", "b.2.0=x\r\n"},
    {"list", "li1e0:i-1ee", "0=1\r\n1=\r\n2=-1\r\n"},
    {"two-digit index", "l" + Repeat("le", 10) + "i1ee", "10=1\r\n"},
    {"lists in lists", "lli1eel1:a1:bee", "0.0=1\r\n1.0=a\r\n1.1=b\r\n"},
    {"dictionary in list", "ld1:ki1eee", "0.k=1\r\n"},
    {"keys in order", "d1:bi2e1:ai1ee", "a=1\r\nb=2\r\n"},
    {"empty key", "d0:i1e1:ad0:i2eee", "=1\r\na.=2\r\n"},
    {"zero byte in a key", "d3:a\0bi1e2:b\0d1:ci2eee"s, "a=1\r\nb.c=2\r\n"},
    {"directives in keys", "d4:%d%si1e2:%nd1:%i2eee", "%d%s=1\r\n%n.%=2\r\n"},
    {"separators in keys", "d5:a.b=\\i1ee", "a.b=\\=1\r\n"},
    {"line end in a key", "d2:\r\ni1ee", "\r\n=1\r\n"},
    {"line end in a string", "d1:a3:\r\n\\e", "a=\\\r\\\n\\\\\r\n"},
    {"zero byte in a string", "l3:a\0be"s, "0=a\0b\r\n"s},
};

TEST_F(EmitterAscii, ListsOnePathAndValueALine) {
  for (const Listing& c : kListings) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.lines, Listed(BencTreeOf(c.tree).root));
    EXPECT_EQ(c.lines, Listed(BencTreeOf(c.tree, BencTreeOf::kInPlace).root));
  }
}

TEST_F(EmitterAscii, PutsThePrefixBeforeEachPath) {
  EXPECT_EQ("p-a.b=1\r\np-c.0=x\r\n", Listed(BencTreeOf("d1:ad1:bi1ee1:cl1:xee").root, "p-"));
  EXPECT_EQ("%s%n0=1\r\n", Listed(BencTreeOf("li1ee").root, "%s%n"));
}

TEST_F(EmitterAscii, NamesANullPrefix) { EXPECT_EQ("<NULL>0=1\r\n", Listed(BencTreeOf("li1ee").root, nullptr)); }

TEST_F(EmitterAscii, CutsTheStartOfALineTo63Bytes) {
  for (size_t len = 60; len <= 130; ++len) {
    const std::string key(len, 'k');
    const BencTreeOf dict("d" + BencodedText(key) + "1:xe");
    EXPECT_EQ((key + "=").substr(0, 63) + "x\r\n", Listed(dict.root)) << len;
    const BencTreeOf list("l1:x1:ye");
    EXPECT_EQ((key + "0=").substr(0, 63) + "x\r\n" + (key + "1=").substr(0, 63) + "y\r\n",
              Listed(list.root, key.c_str()));
  }
}

TEST_F(EmitterAscii, CutsThePathOfAContainerTo63Bytes) {
  for (size_t len = 55; len <= 130; ++len) {
    const std::string key(len, 'k');
    const std::string path = (key + ".").substr(0, 63);
    const BencTreeOf dict("d" + BencodedText(key) + "d2:ab1:xee");
    EXPECT_EQ((path + "ab=").substr(0, 63) + "x\r\n", Listed(dict.root)) << len;
    const BencTreeOf list("ll1:xee");
    const std::string inner = ((key + "0.").substr(0, 63) + "0=").substr(0, 63);
    EXPECT_EQ(inner + "x\r\n", Listed(list.root, key.c_str())) << len;
  }
}

TEST_F(EmitterAscii, GoesOnWithTheOuterPathBehindAContainer) {
  const BencTreeOf tree("d1:ad1:bd1:ci1eee1:d" + BencodedText("x") + "1:eli1eee");
  EXPECT_EQ("a.b.c=1\r\nd=x\r\ne.0=1\r\n", Listed(tree.root));
  const std::string key(70, 'k');
  const BencTreeOf cut("d1:ad" + BencodedText(key) + "li1ee1:zi2ee1:bi3ee");
  EXPECT_EQ("a." + key.substr(0, 61) + "1\r\na.z=2\r\nb=3\r\n", Listed(cut.root));
}

TEST_F(EmitterAscii, OtherKindsAreFatal) {
  for (int kind : kUnwritable) {
    SCOPED_TRACE(kind);
    BencEntity v;
    BencPeek::SetPlain(v, kind);
    EXPECT_FATAL_ANY_LINE(Listed(v), "core/bencoding");
    EXPECT_FATAL_ANY_LINE(Listed(Holding(kind).list), "core/bencoding");
  }
}

TEST_F(EmitterAscii, VirtualListsAreFatal) {
  Squares squares;
  OwnedList list;
  OwnedDict dict;
  for (size_t count : {0u, 1u}) {
    BencEntity v;
    v.SetVList(Squares::Make, count, &squares);
    EXPECT_FATAL_ANY_LINE(Listed(v), "core/bencoding");
    list.Append(v);
    EXPECT_FATAL_ANY_LINE(Listed(list), "core/bencoding");
    dict.InsertDict("k");
    dict.Delete("k");
    dict.Insert("k", *list.Get(0));
    list.Delete(0);
    EXPECT_FATAL_ANY_LINE(Listed(dict), "core/bencoding");
  }
  EXPECT_TRUE(squares.asked.empty());
}

TEST_F(EmitterAscii, ListsAMillionLevelsOnASmallStack) {
  const std::string lists = Repeat("l", kDeep) + "i7e" + Repeat("e", kDeep);
  const std::string dicts = Repeat("d1:kli1ee1:l", kDeep / 2) + "de" + Repeat("e", kDeep / 2);
  OnSmallStack([&] {
    EXPECT_EQ(Repeat("0.", 31) + "0" + "7\r\n", Listed(BencTreeOf(lists).root));
    const std::string lines = Listed(BencTreeOf(dicts).root);
    EXPECT_EQ("k.0=1\r\nl.k.0=1\r\nl.l.k.0=1\r\n", lines.substr(0, 27));
    EXPECT_EQ(Repeat("l.", 31) + "l1\r\n", lines.substr(lines.size() - 66));
  });
}

}  // namespace
