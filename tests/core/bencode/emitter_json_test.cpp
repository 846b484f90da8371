// Emitting bencode trees as JSON.
#include <gtest/gtest.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>

#include <random>
#include <string>
#include <string_view>
#include <utility>

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
using core::BencodedEmitter;

using namespace std::string_literals;

constexpr size_t kDeep = 1'000'000;

std::string Quoted(std::string_view bytes) {
  const ExactBytes in(bytes);
  return Emitted([&](BencodedEmitter& out) { out.EmitQuoted(in.begin(), in.size()); });
}

class EmitterJson : public BencTest {};

TEST_F(EmitterJson, WritesScalars) {
  const auto of = [](int kind, int64_t word) {
    BencEntity v;
    BencPeek::SetPlain(v, kind, word);
    return Json(v);
  };
  EXPECT_EQ("", of(core::BENC_NONE, 0));
  EXPECT_EQ("null", of(core::BENC_NULL, 0));
  EXPECT_EQ("null", of(core::BENC_NULL, 1));
  EXPECT_EQ("false", of(core::BENC_BOOL, 0));
  for (int64_t word : {int64_t{1}, int64_t{-1}, int64_t{2}, int64_t{1} << 8, int64_t{1} << 32, INT64_MIN}) {
    EXPECT_EQ("true", of(core::BENC_BOOL, word)) << word;
  }
  for (int kind : {core::BENC_INT, core::BENC_INT64}) {
    for (int64_t n : {int64_t{0}, int64_t{-3}, int64_t{INT_MAX} + 1, int64_t{1} << 32, INT64_MAX, INT64_MIN}) {
      EXPECT_EQ(std::to_string(n), of(kind, n));
    }
  }
}

struct JsonCase {
  const char* name;
  std::string tree;
  std::string json;
};

const JsonCase kJson[] = {
    {"dictionary", "d1:ai-3e1:b3:xyze", R"({ "a": -3, "b": "xyz" })"},
    {"empty list", "le", "[  ]"},
    {"empty dictionary", "de", "{  }"},
    {"list of one", "li1ee", "[ 1 ]"},
    {"list of three", "li1ei2ei3ee", "[ 1, 2, 3 ]"},
    {"empty containers inside", "d1:ade1:blledeee", R"({ "a": {  }, "b": [ [  ], {  } ] })"},
    {"neighbours of containers", "lli1eei2ed1:ki3eei4ee", R"([ [ 1 ], 2, { "k": 3 }, 4 ])"},
    {"keys in order", "d1:bi2e1:ai1ee", R"({ "a": 1, "b": 2 })"},
    {"quoted keys", "d4:\"/\\\ni1e2:\xc3\xa9i2ee", R"({ "\"\/\\\n": 1, "\u00e9": 2 })"},
    {"empty key and string", "d0:0:e", R"({ "": "" })"},
    {"directives", "d2:%d2:%se", R"({ "%d": "%s" })"},
};

TEST_F(EmitterJson, WritesTrees) {
  for (const JsonCase& c : kJson) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.json, Json(BencTreeOf(c.tree).root));
    EXPECT_EQ(c.json, Json(BencTreeOf(c.tree, BencTreeOf::kInPlace).root));
  }
}

TEST_F(EmitterJson, KeysAreWrittenWholeWithTheirZeroBytes) {
  for (auto mode : {BencTreeOf::kCopied, BencTreeOf::kInPlace}) {
    EXPECT_EQ(R"({ "\u0000": 2, "a\u0000b": 1 })", Json(BencTreeOf("d3:a\0bi1e1:\0i2ee"s, mode).root));
  }
}

TEST_F(EmitterJson, AnInsertedKeyHasNoTerminator) {
  OwnedDict dict;
  dict.InsertInt("key", 1);
  EXPECT_EQ(R"({ "key": 1 })", Json(dict));
}

TEST_F(EmitterJson, SeparatesElementsThatAreWrittenAsNothing) {
  OwnedList list;
  for (int i = 0; i < 2; ++i) {
    BencEntity none;
    list.Append(none);
  }
  EXPECT_EQ("[ ,  ]", Json(list));
  EXPECT_EQ("[ null ]", Json(Holding(core::BENC_NULL).list));
  EXPECT_EQ("[ true ]", Json(Holding(core::BENC_BOOL, 1).list));
}

TEST_F(EmitterJson, DoesNotUseTheIndent) {
  const BencTreeOf tree("d1:ali1eee");
  for (int indent : {0, 1, 7, -1, INT_MAX, INT_MIN}) {
    EXPECT_EQ(R"({ "a": [ 1 ] })", Emitted([&](BencodedEmitter& out) { out.EmitAsJson(&tree.root, indent); }));
  }
}

// One code unit of a string as JSON text.
std::string QuotedUnit(uint32_t unit) {
  static const std::string kSpecial = "\b\t\n\f\r\"/\\";
  static const std::string kLetters = "btnfr\"/\\";
  if (unit < 128 && kSpecial.find(static_cast<char>(unit)) != std::string::npos) {
    return "\\"s + kLetters[kSpecial.find(static_cast<char>(unit))];
  }
  if (unit >= 32 && unit <= 127) {
    return std::string(1, static_cast<char>(unit));
  }
  char escape[16];
  snprintf(escape, sizeof escape, "\\u%04x", unit);
  return std::string(escape).substr(0, 6);
}

std::string Utf8(uint32_t c) {
  const auto tail = [&](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80) {
    return std::string(1, static_cast<char>(c));
  }
  if (c < 0x800) {
    return {static_cast<char>(0xC0 | c >> 6), tail(0)};
  }
  return {static_cast<char>(0xE0 | c >> 12), tail(6), tail(0)};
}

TEST_F(EmitterJson, QuotesTheSpecialCharacters) {
  for (const auto& [bytes, literal] : {std::pair{"a/b"s, R"("a\/b")"s},
                                       {"\"", R"("\"")"},
                                       {"\\", R"("\\")"},
                                       {"\b\t\n\f\r", R"("\b\t\n\f\r")"},
                                       {"\v", R"("\u000b")"},
                                       {"\0"s, R"("\u0000")"},
                                       {"\x1f", R"("\u001f")"},
                                       {" ", "\" \""},
                                       {"\x7e", "\"~\""},
                                       {"\x7f", "\"\x7f\""},
                                       {"\xc2\x80", R"("\u0080")"},
                                       {"\xc3\xa9", R"("\u00e9")"},
                                       {"'<>&", "\"'<>&\""},
                                       {"\xef\xbf\xbf", R"("\uffff")"},
                                       {"a\0b"s, R"("a\u0000b")"}}) {
    EXPECT_EQ(literal, Quoted(bytes));
  }
}

TEST_F(EmitterJson, QuotesNothingAsAnEmptyLiteral) {
  EXPECT_EQ("\"\"", Quoted(""));
  EXPECT_EQ("\"\"", Emitted([](BencodedEmitter& out) { out.EmitQuoted(nullptr, 0); }));
}

TEST_F(EmitterJson, QuotesEveryCharacterOfTheBasicPlane) {
  std::string bytes;
  std::string want;
  for (uint32_t c = 0; c <= 0xFFFF; ++c) {
    EXPECT_EQ("\"" + QuotedUnit(c) + "\"", Quoted(Utf8(c))) << c;
    bytes += Utf8(c);
    want += QuotedUnit(c);
  }
  EXPECT_TRUE("\"" + want + "\"" == Quoted(bytes));
}

// The two units that four bytes of UTF-8 decode to: the second byte does not matter, the last one
// counts twice, and bytes are signed.
std::pair<uint32_t, uint32_t> UnitsOfFour(uint32_t lead, uint32_t third, uint32_t last) {
  const auto extended = [](uint32_t byte) { return byte | 0xFFFFFF00; };
  const uint32_t value =
      extended(lead) << 18 ^ extended(last) << 12 ^ extended(third) << 6 ^ extended(last) ^ 0x3C82080;
  return {(value - 0x10000) >> 10 | 0xD800, (value & 0x3FF) | 0xDC00};
}

TEST_F(EmitterJson, QuotesFourByteCharactersAsTheDecoderReadsThem) {
  for (uint32_t lead = 0xF0; lead <= 0xF7; ++lead) {
    for (uint32_t third = 0x80; third <= 0xBF; ++third) {
      for (uint32_t last = 0x80; last <= 0xBF; ++last) {
        const std::string bytes = {static_cast<char>(lead), static_cast<char>(0x80 | ((third + last) & 0x3F)),
                                   static_cast<char>(third), static_cast<char>(last)};
        const auto [high, low] = UnitsOfFour(lead, third, last);
        ASSERT_EQ("\"" + QuotedUnit(high) + QuotedUnit(low) + "\"", Quoted(bytes))
            << lead << ' ' << third << ' ' << last;
      }
    }
  }
}

TEST_F(EmitterJson, ACharacterAboveTheFirst65536BecomesTwoEscapesThatAreNoPair) {
  const std::string quoted = Quoted("\xf0\x9f\x98\x80");  // U+1F600
  ASSERT_EQ(14u, quoted.size());
  EXPECT_EQ("\"\\u", quoted.substr(0, 3));
  EXPECT_EQ("\\u", quoted.substr(7, 2));
  EXPECT_LE(0xF800, std::stoi(quoted.substr(3, 4), nullptr, 16));
  const int second = std::stoi(quoted.substr(9, 4), nullptr, 16);
  EXPECT_LE(0xDC00, second);
  EXPECT_GE(0xDFFF, second);
}

TEST_F(EmitterJson, BytesThatAreNoTextGiveTheLastCharacter) {
  for (int c = 0x80; c <= 0xFF; ++c) {
    const std::string byte(1, static_cast<char>(c));
    EXPECT_EQ(R"("\uffff")", Quoted(byte)) << c;
    EXPECT_EQ(R"("a\uffffb")", Quoted("a" + byte + "b")) << c;
  }
  EXPECT_EQ(R"("\uffff\uffff")", Quoted("\xe2\x82"));
  EXPECT_EQ(R"("\uffff\uffff\uffff")", Quoted("\xf0\x9f\x98"));
  EXPECT_EQ(R"("\uffff\uffffa")", Quoted("\xe2\x82"
                                         "a"));
}

TEST_F(EmitterJson, OverlongFormsAndSurrogatesGiveTheirValue) {
  EXPECT_EQ(R"("\u0000")", Quoted("\xc0\x80"));
  EXPECT_EQ(R"("\/")", Quoted("\xc0\xaf"));
  EXPECT_EQ(R"("\"")", Quoted("\xe0\x80\xa2"));
  EXPECT_EQ(R"("A")", Quoted("\xc1\x81"));
  EXPECT_EQ(R"("\ud800\udfff")", Quoted("\xed\xa0\x80\xed\xbf\xbf"));
}

// A second reading of the rules for text in JSON.
std::string QuotedByTheRules(std::string_view bytes) {
  std::string out = "\"";
  const auto at = [&](size_t i) { return static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])); };
  for (size_t i = 0; i < bytes.size();) {
    const uint32_t lead = at(i);
    const size_t len = lead >= 0xF8 || lead < 0xC0 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    bool whole = len > 1 && bytes.size() - i >= len;
    for (size_t k = 1; whole && k < len; ++k) {
      whole = at(i + k) >> 6 == 2;
    }
    if (!whole) {
      out += QuotedUnit(lead < 0x80 ? lead : lead | 0xFFFFFF00);
    } else if (len == 4) {
      const auto [high, low] = UnitsOfFour(lead, at(i + 2), at(i + 3));
      out += QuotedUnit(high) + QuotedUnit(low);
    } else {
      out += QuotedUnit(len == 3 ? (lead & 15) << 12 | (at(i + 1) & 63) << 6 | (at(i + 2) & 63)
                                 : (lead & 31) << 6 | (at(i + 1) & 63));
    }
    i += whole ? len : 1;
  }
  return out + "\"";
}

TEST_F(EmitterJson, QuotesRandomBytesByTheRules) {
  constexpr unsigned kSeed = 41;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  static const std::string kLikely = "a\"/\\\n\x7f\x80\xbf\xc0\xc3\xe0\xef\xf0\xf4\xf7\xf8\xff";
  for (int round = 0; round < 50'000; ++round) {
    std::string bytes(random() % 12, '\0');
    for (char& c : bytes) {
      c = random() % 4 == 0 ? static_cast<char>(random()) : kLikely[random() % kLikely.size()];
    }
    ASSERT_EQ(QuotedByTheRules(bytes), Quoted(bytes));
  }
}

TEST_F(EmitterJson, QuotesLongStringsWhole) {
  for (size_t len : {4095u, 4096u, 4097u, 1'000'000u}) {
    EXPECT_TRUE("\"" + std::string(len, 'x') + "\"" == Quoted(std::string(len, 'x')));
    EXPECT_TRUE("\"" + Repeat("\\u0001", len) + "\"" == Quoted(std::string(len, '\1')));
  }
}

TEST_F(EmitterJson, OtherKindsAreFatal) {
  for (int kind : {7, 8, 9, 252, 255, 256, -1}) {
    SCOPED_TRACE(kind);
    BencEntity v;
    BencPeek::SetPlain(v, kind);
    EXPECT_FATAL_ANY_LINE(Json(v), "core/bencoding");
    EXPECT_FATAL_ANY_LINE(Json(Holding(kind).list), "core/bencoding");
  }
}

TEST_F(EmitterJson, VirtualListsAreFatal) {
  for (size_t count : {0u, 1u}) {
    OwnedList list;
    BencEntity v;
    v.SetVList(MakeNothing, count, nullptr);
    EXPECT_FATAL_ANY_LINE(Json(v), "core/bencoding");
    list.Append(v);
    EXPECT_FATAL_ANY_LINE(Json(list), "core/bencoding");
    OwnedDict dict;
    dict.Insert("k", *list.Get(0));
    EXPECT_FATAL_ANY_LINE(Json(dict), "core/bencoding");
  }
}

TEST_F(EmitterJson, WritesAMillionLevelsOnASmallStack) {
  OnSmallStack([] {
    EXPECT_TRUE(Repeat("[ ", kDeep) + Repeat(" ]", kDeep) ==
                Json(BencTreeOf(Repeat("l", kDeep) + Repeat("e", kDeep)).root));
    EXPECT_TRUE(Repeat("{ \"k\": ", kDeep) + "[  ]" + Repeat(", \"l\": 1 }", kDeep) ==
                Json(BencTreeOf(Repeat("d1:k", kDeep) + "le" + Repeat("1:li1ee", kDeep)).root));
  });
}

}  // namespace
