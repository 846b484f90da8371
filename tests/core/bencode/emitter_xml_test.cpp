// Emitting bencode trees as XML.
#include <gtest/gtest.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <utility>

#include "core/bencode/bencemitter.h"
#include "core/bencode/bencoding.h"
#include "core/containers/templates.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/emitted.h"
#include "tests/support/fatal.h"
#include "tests/support/repeat.h"
#include "tests/support/small_stack.h"
#include "tests/support/stack_limit.h"

namespace {

using core::BencEntity;
using core::BencodedEmitter;

using namespace std::string_literals;

constexpr size_t kDeep = 1'000'000;
constexpr size_t kTagLine = 127;  // bytes of a tag with its brackets

// `text` with every byte but the unreserved ones of a URL as an escape.
std::string UrlEncoded(std::string_view text) {
  static const std::string kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~";
  std::string out;
  for (char c : text) {
    char escape[4];
    snprintf(escape, sizeof escape, "%%%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    out += kPlain.find(c) == std::string::npos ? std::string(escape) : std::string(1, c);
  }
  return out;
}

std::string Indented(int level) {
  return Emitted([&](BencodedEmitter& out) { out.EmitIndent(level); });
}

class EmitterXml : public BencTest {};

TEST_F(EmitterXml, IndentsTwoTabsALevelAndSixAtMost) {
  for (const auto& [level, tabs] : {std::pair{0, 0}, {1, 2}, {2, 4}, {3, 6}, {4, 6}, {5, 6}, {1000, 6}, {INT_MAX, 6}}) {
    EXPECT_EQ(std::string(static_cast<size_t>(tabs), '\t'), Indented(level)) << level;
  }
}

TEST_F(EmitterXml, IndentsNothingBelowLevelZero) {
  EXPECT_EQ("", Indented(-1));
  EXPECT_EQ("", Indented(INT_MIN));
}

TEST_F(EmitterXml, WritesIntegersByKind) {
  for (const auto& [n, low] : {std::pair{int64_t{-5}, "-5"},
                               {int64_t{INT_MAX} + 1, "-2147483648"},
                               {(int64_t{1} << 32) + 1, "1"},
                               {INT64_MIN, "0"},
                               {INT64_MAX, "-1"}}) {
    BencEntity v;
    BencPeek::SetPlain(v, core::BENC_INT, n);
    EXPECT_EQ("<t>"s + low + "</t>\r\n", Xml(v));
    v.SetInt64(n);
    EXPECT_EQ("<t>" + std::to_string(n) + "</t>\r\n", Xml(v));
  }
}

TEST_F(EmitterXml, UrlEncodesStringsByCount) {
  EXPECT_EQ("<t></t>\r\n", Xml(OwnedString("")));
  EXPECT_EQ("<t>a%20b%2fc~</t>\r\n", Xml(OwnedString("a b/c~")));
  EXPECT_EQ("<t>%3ca%26b%3e</t>\r\n", Xml(OwnedString("<a&b>")));
  EXPECT_EQ("<t>%00%00a</t>\r\n", Xml(OwnedString("\0\0a"s)));
  EXPECT_EQ("<t>" + UrlEncoded(AllBytes()) + "</t>\r\n", Xml(OwnedString(AllBytes())));
}

TEST_F(EmitterXml, UrlEncodesStringsOfEveryLengthWhole) {
  for (size_t len = 1; len <= 300; ++len) {
    EXPECT_EQ("<t>" + Repeat("%ff", len) + "</t>\r\n", Xml(OwnedString(std::string(len, '\xff'))));
  }
  EXPECT_EQ("<t>" + Repeat("%00", 80'000) + "</t>\r\n", Xml(OwnedString(std::string(80'000, '\0'))));
}

TEST_F(EmitterXml, ReadsBorrowedStringsByCount) {
  EXPECT_EQ("<t>\r\n\t\t<item>ab</item>\r\n\t\t<item>c</item>\r\n</t>\r\n",
            Xml(BencTreeOf("l2:ab1:ce", BencTreeOf::kInPlace).root));
}

TEST_F(EmitterXml, WritesListsAsItems) {
  EXPECT_EQ("<t>\r\n</t>\r\n", Xml(BencTreeOf("le").root));
  EXPECT_EQ("<t>\r\n\t\t<item>1</item>\r\n\t\t<item></item>\r\n\t\t<item>\r\n\t\t</item>\r\n</t>\r\n",
            Xml(BencTreeOf("li1e0:lee").root));
}

TEST_F(EmitterXml, WritesDictionariesAsElementsInKeyOrder) {
  EXPECT_EQ("<t>\r\n</t>\r\n", Xml(BencTreeOf("de").root));
  const char* want = "<t>\r\n\t\t<a>x</a>\r\n\t\t<b>2</b>\r\n</t>\r\n";
  EXPECT_EQ(want, Xml(BencTreeOf("d1:bi2e1:a1:xe").root));
  EXPECT_EQ(want, Xml(BencTreeOf("d1:bi2e1:a1:xe", BencTreeOf::kInPlace).root));
}

TEST_F(EmitterXml, IndentsByLevelFromTheOneGiven) {
  const BencTreeOf tree("d1:ald1:bl1:xeeee");
  const auto at = [](size_t level) { return std::string(std::min<size_t>(2 * level, 6), '\t'); };
  for (size_t from : {0u, 1u, 2u, 3u, 9u}) {
    const std::string want = at(from) + "<t>\r\n" + at(from + 1) + "<a>\r\n" + at(from + 2) + "<item>\r\n" +
                             at(from + 3) + "<b>\r\n" + at(from + 4) + "<item>x</item>\r\n" + at(from + 3) +
                             "</b>\r\n" + at(from + 2) + "</item>\r\n" + at(from + 1) + "</a>\r\n" + at(from) +
                             "</t>\r\n";
    EXPECT_EQ(want, Xml(tree.root, "t", static_cast<int>(from)));
  }
}

TEST_F(EmitterXml, IndentsBelowTheHighestLevelToo) {
  const std::string six(6, '\t');
  EXPECT_EQ(six + "<t>\r\n" + six + "<item>1</item>\r\n" + six + "</t>\r\n",
            Xml(BencTreeOf("li1ee").root, "t", INT_MAX));
}

TEST_F(EmitterXml, CountsLevelsFromBelowZero) {
  const BencTreeOf tree("ll1:xee");
  EXPECT_EQ("<t>\r\n<item>\r\n\t\t<item>x</item>\r\n</item>\r\n</t>\r\n", Xml(tree.root, "t", -1));
  EXPECT_EQ("<t>\r\n<item>\r\n<item>x</item>\r\n</item>\r\n</t>\r\n", Xml(tree.root, "t", INT_MIN));
}

TEST_F(EmitterXml, NamesANullTag) { EXPECT_EQ("<%3cNULL%3e>x</%3cNULL%3e>\r\n", Xml(OwnedString("x"), nullptr)); }

TEST_F(EmitterXml, UrlEncodesTags) {
  EXPECT_EQ("<a%20b>1</a%20b>\r\n", Xml(*BencTreeOf("li1ee").list().Get(0), "a b"));
  EXPECT_EQ("<>\r\n\t\t<>1</>\r\n\t\t<%3c%25d%3e>2</%3c%25d%3e>\r\n</>\r\n",
            Xml(BencTreeOf("d0:i1e4:<%d>i2ee").root, ""));
}

TEST_F(EmitterXml, TagsAreKeysUpToTheirFirstZeroByte) {
  for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
    EXPECT_EQ("<t>\r\n\t\t<>2</>\r\n\t\t<a>1</a>\r\n</t>\r\n", Xml(BencTreeOf("d3:a\0bi1e1:\0i2ee"s, mode).root));
  }
}

// The lines around an element called `tag` in a list-free place.
std::string Element(const std::string& tag, const std::string& content) {
  const std::string encoded = UrlEncoded(tag);
  // What is left of the tag's text is as many of its bytes as fit, encoded.
  const auto cut = [&](const std::string& open, const std::string& close) {
    const std::string kept = UrlEncoded(tag.substr(0, kTagLine - open.size()));
    return (open + kept + close).substr(0, kTagLine);
  };
  return cut("<", ">") + content + cut("</", ">\r\n");
}

TEST_F(EmitterXml, CutsTagLinesTo127Bytes) {
  const OwnedString x("x");
  EXPECT_EQ("<" + std::string(125, 'a') + ">x</" + std::string(125, 'a'), Xml(x, std::string(125, 'a').c_str()));
  EXPECT_EQ("<" + std::string(126, 'a') + "x</" + std::string(125, 'a'), Xml(x, std::string(126, 'a').c_str()));
  EXPECT_EQ("<" + std::string(122, 'a') + ">x</" + std::string(122, 'a') + ">\r\n",
            Xml(x, std::string(122, 'a').c_str()));
  EXPECT_EQ("<" + std::string(123, 'a') + ">x</" + std::string(123, 'a') + ">\r",
            Xml(x, std::string(123, 'a').c_str()));
  EXPECT_EQ("<" + std::string(124, 'a') + ">x</" + std::string(124, 'a') + ">", Xml(x, std::string(124, 'a').c_str()));
}

TEST_F(EmitterXml, CutsTagsOfAnyLengthAndSpelling) {
  for (size_t len = 1; len <= 260; ++len) {
    for (const std::string& tag : {std::string(len, 'a'), std::string(len, '/'), "a" + std::string(len, '/')}) {
      ASSERT_EQ(Element(tag, "x"), Xml(OwnedString("x"), tag.c_str())) << len;
      const BencTreeOf tree("d" + BencodedText(tag) + "i1ee", BencTreeOf::kInPlace);
      ASSERT_EQ("<t>\r\n\t\t" + Element(tag, "1") + "</t>\r\n", Xml(tree.root)) << len;
    }
  }
}

TEST_F(EmitterXml, TakesTagsBeyondTheStackLimitOfStrings) {
  const std::string tag(core::GetMaxStackSize() / 4, '/');
  EXPECT_EQ(Element(tag, "x"), Xml(OwnedString("x"), tag.c_str()));
}

TEST_F(EmitterXml, StringsMustEncodeBelowHalfTheStack) {
  const size_t most = (core::GetMaxStackSize() / 2 - 1) / 3;
  for (char c : {'a', '/'}) {
    const OwnedString fits(std::string(most, c));
    EXPECT_EQ("<t>" + UrlEncoded(std::string(most, c)) + "</t>\r\n", Xml(fits));
    EXPECT_FATAL(Xml(OwnedString(std::string(most + 1, c))), "core/strfmt", 431);
  }
}

TEST_F(EmitterXml, StringsFollowTheStackLimitOfTheProcess) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";  // the limit is read once in a process
  const auto emit = [](rlim_t stack, size_t len) {
    LimitStack(stack);
    Xml(OwnedString(std::string(len, 'a')));
    _exit(0);
  };
  EXPECT_EXIT(emit(600000, 99999), testing::ExitedWithCode(0), "");
  EXPECT_FATAL(emit(600000, 100000), "core/strfmt", 431);
  EXPECT_EXIT(emit(500000, 83333), testing::ExitedWithCode(0), "");
  EXPECT_FATAL(emit(500000, 83334), "core/strfmt", 431);
}

TEST_F(EmitterXml, LongStringsNeedLittleStack) {
  OnSmallStack([] {
    const size_t most = (core::GetMaxStackSize() / 2 - 1) / 3;
    EXPECT_EQ(3 * most + 9, Xml(OwnedString(std::string(most, '/'))).size());
  });
}

TEST_F(EmitterXml, OtherKindsAreFatal) {
  for (int kind : {0, 7, 8, 9, 252, 253, 254, 255, 256, -1}) {
    SCOPED_TRACE(kind);
    BencEntity v;
    BencPeek::SetPlain(v, kind);
    EXPECT_FATAL_ANY_LINE(Xml(v), "core/bencoding");
    EXPECT_FATAL_ANY_LINE(Xml(Holding(kind).list), "core/bencoding");
  }
}

TEST_F(EmitterXml, VirtualListsAreFatal) {
  for (size_t count : {0u, 1u}) {
    OwnedList list;
    BencEntity v;
    v.SetVList(MakeNothing, count, nullptr);
    EXPECT_FATAL_ANY_LINE(Xml(v), "core/bencoding");
    list.Append(v);
    EXPECT_FATAL_ANY_LINE(Xml(list), "core/bencoding");
    OwnedDict dict;
    dict.Insert("k", *list.Get(0));
    EXPECT_FATAL_ANY_LINE(Xml(dict), "core/bencoding");
  }
}

TEST_F(EmitterXml, WritesAMillionLevelsOnASmallStack) {
  const auto lines = [](const std::string& tag) {
    const std::string six(6, '\t');
    const std::string open = "<" + tag + ">\r\n";
    const std::string close = "</" + tag + ">\r\n";
    return "<t>\r\n\t\t" + open + "\t\t\t\t" + open + Repeat(six + open, kDeep - 3) + Repeat(six + close, kDeep - 3) +
           "\t\t\t\t" + close + "\t\t" + close + "</t>\r\n";
  };
  OnSmallStack([&] {
    EXPECT_TRUE(lines("item") == Xml(BencTreeOf(Repeat("l", kDeep) + Repeat("e", kDeep)).root));
    EXPECT_TRUE(lines("k") == Xml(BencTreeOf(Repeat("d1:k", kDeep - 1) + "de" + Repeat("e", kDeep - 1)).root));
  });
}

}  // namespace
