// Trees as text in blocks of their own: Serialize and its siblings.
#include <gtest/gtest.h>
#if __has_include(<malloc.h>)
#include <malloc.h>
#endif
#include <signal.h>
#include <stdint.h>

#include <string>

#include "core/base/mem1.h"
#include "core/bencode/bencoding.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_tree.h"
#include "tests/support/emitted.h"
#include "tests/support/fatal.h"
#include "tests/support/platform_memory.h"
#include "tests/support/text.h"

namespace {

using core::BencEntity;
using core::BencodedDict;

using namespace std::string_literals;

constexpr size_t kMostFormatted = 1'048'576;  // characters that the formatter puts in a new string

class Serialize : public BencTest {};
class SerializeByMimeType : public BencTest {};

// The bytes and the length that a wrapper hands out.
template <class Wrapper>
std::string Taken(Wrapper wrapper) {
  size_t len = SIZE_MAX;
  void* block = wrapper(&len);
  return TakeBytes(block, len);
}

TEST_F(Serialize, HandsOutBencodingWithoutATerminator) {
  for (const std::string& text : {"de"s, "le"s, "d1:ai-3e1:b3:xyze"s, "l3:a\0be"s}) {
    const BencTreeOf tree(text);
    EXPECT_EQ(text, Taken([&](size_t* len) { return tree.root.Serialize(len); }));
  }
}

TEST_F(Serialize, CountsTheTerminatorOfTheOtherForms) {
  const BencTreeOf tree("d1:ai-3e1:b3:xyze");
  EXPECT_EQ("a=-3\r\nb=xyz\r\n\0"s, Taken([&](size_t* len) { return tree.root.SerializeAsAscii(len); }));
  EXPECT_EQ("<x>\r\n\t\t<a>-3</a>\r\n\t\t<b>xyz</b>\r\n</x>\r\n\0"s,
            Taken([&](size_t* len) { return tree.root.SerializeAsXML("x", len); }));
  EXPECT_EQ("{ \"a\": -3, \"b\": \"xyz\" }\0"s, Taken([&](size_t* len) { return tree.root.SerializeAsJson(len); }));
}

TEST_F(Serialize, HandsOutATerminatorForNothing) {
  const BencTreeOf tree("le");
  EXPECT_EQ("\0"s, Taken([&](size_t* len) { return tree.root.SerializeAsAscii(len); }));
  const BencEntity none;
  EXPECT_EQ("\0"s, Taken([&](size_t* len) { return none.SerializeAsJson(len); }));
}

TEST_F(Serialize, TakesScalars) {
  const OwnedString text("a\nb");
  EXPECT_EQ("3:a\nb", Taken([&](size_t* len) { return text.Serialize(len); }));
  EXPECT_EQ("a\\\nb\0"s, Taken([&](size_t* len) { return text.SerializeAsAscii(len); }));
  EXPECT_EQ("<t>a%0ab</t>\r\n\0"s, Taken([&](size_t* len) { return text.SerializeAsXML("t", len); }));
  EXPECT_EQ("\"a\\nb\"\0"s, Taken([&](size_t* len) { return text.SerializeAsJson(len); }));
}

TEST_F(Serialize, TheLengthMayBeNull) {
  const BencTreeOf tree("d1:ai1ee");
  EXPECT_EQ("d1:ai1ee", TakeBytes(tree.root.Serialize(nullptr), 8));
  EXPECT_EQ("a=1\r\n", Take(tree.root.SerializeAsAscii(nullptr)));
  EXPECT_EQ("<t>\r\n\t\t<a>1</a>\r\n</t>\r\n", Take(tree.root.SerializeAsXML("t", nullptr)));
  EXPECT_EQ("{ \"a\": 1 }", Take(tree.root.SerializeAsJson(nullptr)));
}

TEST_F(Serialize, IsExactAroundTheFirstRoom) {
  for (size_t size = 4090; size <= 4100; ++size) {
    const std::string string(size - 7, 'x');
    const std::string text = "l" + std::to_string(string.size()) + ":" + string + "e";
    const BencTreeOf tree(text);
    EXPECT_EQ(text, Taken([&](size_t* len) { return tree.root.Serialize(len); }));
    EXPECT_EQ("0=" + string + "\r\n\0"s, Taken([&](size_t* len) { return tree.root.SerializeAsAscii(len); }));
    EXPECT_EQ("<t>\r\n\t\t<item>" + string + "</item>\r\n</t>\r\n\0"s,
              Taken([&](size_t* len) { return tree.root.SerializeAsXML("t", len); }));
    EXPECT_EQ("[ \"" + string + "\" ]\0"s, Taken([&](size_t* len) { return tree.root.SerializeAsJson(len); }));
  }
}

TEST_F(Serialize, TakesOneBlockForShortTextAndShrinksIt) {
  BencEntity number;
  number.SetInt(5);
  const auto attempts = [&](auto wrapper) {
    const long before = test_host::AllocationAttempts();
    core::MyFree(wrapper());
    return test_host::AllocationAttempts() - before;
  };
  EXPECT_EQ(2, attempts([&] { return number.Serialize(nullptr); }));
  EXPECT_EQ(2, attempts([&] { return number.SerializeAsAscii(nullptr); }));
  EXPECT_EQ(2, attempts([&] { return number.SerializeAsXML("t", nullptr); }));
  EXPECT_EQ(2, attempts([&] { return number.SerializeAsJson(nullptr); }));
}

#if __has_include(<malloc.h>)
TEST_F(Serialize, LeavesNoRoomInItsBlocks) {
  constexpr size_t kPage = 4096;  // large blocks are whole pages
  for (size_t size : {10u, 4000u, 5000u, 100'000u}) {
    const size_t rounding = size < kPage * 16 ? 32 : kPage + 32;  // what the platform may add to a block
    const OwnedString text(std::string(size, 'x'));
    const auto expect_exact = [&](auto wrapper) {
      size_t len = 0;
      void* block = wrapper(&len);
      EXPECT_LT(malloc_usable_size(block), len + rounding) << size;
      core::MyFree(block);
    };
    expect_exact([&](size_t* len) { return text.Serialize(len); });
    expect_exact([&](size_t* len) { return text.SerializeAsAscii(len); });
    expect_exact([&](size_t* len) { return text.SerializeAsXML("t", len); });
    expect_exact([&](size_t* len) { return text.SerializeAsJson(len); });
  }
}
#endif

TEST_F(Serialize, GrowsInFewSteps) {
  const std::string string(1 << 20, 'x');
  const BencTreeOf tree("l" + std::to_string(string.size()) + ":" + string + "e");
  const BencTreeOf many("l" + [] {
    std::string ints;
    for (int i = 0; i < 200'000; ++i) {
      ints += "i1e";
    }
    return ints;
  }() + "e");
  for (const BencEntity* root : {&tree.root, &many.root}) {
    const long before = test_host::AllocationAttempts();
    core::MyFree(root->Serialize(nullptr));
    EXPECT_LT(test_host::AllocationAttempts() - before, 30);
  }
}

TEST_F(Serialize, KindsWithoutAFormAreFatal) {
  BencEntity none;
  EXPECT_FATAL_ANY_LINE(none.Serialize(nullptr), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(none.SerializeAsAscii(nullptr), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(none.SerializeAsXML("t", nullptr), "core/bencoding");
  BencEntity reserved;
  BencPeek::SetPlain(reserved, core::BENC_VOID);
  EXPECT_FATAL_ANY_LINE(reserved.SerializeAsJson(nullptr), "core/bencoding");
}

TEST_F(Serialize, OfADictionaryIsItsBencoding) {
  BencTreeOf tree("d1:ai1ee");
  EXPECT_EQ("d1:ai1ee", Taken([&](size_t* len) { return tree.dict().Serialize(len); }));
  EXPECT_EQ("d1:ai1ee", TakeBytes(tree.dict().Serialize(nullptr), 8));
}

TEST_F(Serialize, OfADictionaryTakesNothingElse) {
  for (int kind : {core::BENC_NONE, core::BENC_INT, core::BENC_INT64, core::BENC_NULL, core::BENC_BOOL}) {
    BencEntity v;
    BencPeek::SetPlain(v, kind);
    EXPECT_FATAL_ANY_LINE(static_cast<BencodedDict&>(v).Serialize(nullptr), "core/bencoding") << kind;
  }
  BencTreeOf list("le");
  EXPECT_FATAL_ANY_LINE(list.dict().Serialize(nullptr), "core/bencoding");
}

TEST_F(Serialize, MissingMemoryIsFatal) {
  const BencTreeOf tree("de");
  EXPECT_EXIT(
      {
        test_host::FailAllocations(1000);
        tree.root.Serialize(nullptr);
      },
      testing::KilledBySignal(SIGINT), testing::ContainsRegex("^\nassert failed core/mem1:"));
}

TEST_F(Serialize, ShortMissingMemoryIsNoMatter) {
  const BencTreeOf tree("d1:ai1ee");
  test_host::FailAllocations(1);
  EXPECT_EQ("d1:ai1ee", TakeBytes(tree.root.Serialize(nullptr), 8));
}

// What a MIME type gives for the tree "d1:ai1ee" with the tag "x" and no callback.
enum Form { kXml, kAscii, kJson };
struct Mime {
  const char* type;
  Form form;
  const char* answer;  // null: the caller's content type stays
};

const Mime kMimes[] = {
    {"text/xml", kXml, "text/xml; charset=UTF-8"},
    {"text/xml;q=1", kXml, "text/xml; charset=UTF-8"},
    {"text/xmlish", kXml, "text/xml; charset=UTF-8"},
    {"text/ascii", kAscii, "text/ascii; charset=UTF-8"},
    {"text/ascii; x", kAscii, "text/ascii; charset=UTF-8"},
    {"application/jsonrequest", kJson, "application/jsonrequest"},
    {"application/jsonrequest+x", kJson, "application/jsonrequest"},
    {"application/json", kJson, nullptr},
    {"application/jsonreques", kJson, nullptr},
    {"text/xm", kJson, nullptr},
    {"text/asci", kJson, nullptr},
    {"TEXT/XML", kJson, nullptr},
    {"Text/ascii", kJson, nullptr},
    {"Application/jsonrequest", kJson, nullptr},
    {" text/xml", kJson, nullptr},
    {"x,text/xml", kJson, nullptr},
    {"*/*", kJson, nullptr},
    {"", kJson, nullptr},
    {nullptr, kJson, nullptr},
};
const char* const kForms[] = {"<x>\r\n\t\t<a>1</a>\r\n</x>\r\n", "a=1\r\n", "{ \"a\": 1 }"};

TEST_F(SerializeByMimeType, ChoosesTheFormByHowTheTypeBegins) {
  const BencTreeOf tree("d1:ai1ee");
  for (const Mime& c : kMimes) {
    SCOPED_TRACE(c.type ? c.type : "null");
    const char* const before = "before";
    const char* content_type = before;
    EXPECT_EQ(kForms[c.form], Take(tree.root.SerializeByMimeType(c.type, "x", content_type, nullptr)));
    EXPECT_STREQ(c.answer ? c.answer : before, content_type);
    content_type = nullptr;
    EXPECT_EQ(kForms[c.form], Take(tree.root.SerializeByMimeType(c.type, "x", content_type, nullptr)));
    EXPECT_STREQ(c.answer, content_type);
  }
}

TEST_F(SerializeByMimeType, WrapsACallbackAroundJsonOnly) {
  const BencTreeOf tree("d1:ai1ee");
  for (const Mime& c : kMimes) {
    SCOPED_TRACE(c.type ? c.type : "null");
    const char* content_type = "before";
    const std::string want = c.form == kJson ? "cb({ \"a\": 1 });" : kForms[c.form];
    EXPECT_EQ(want, Take(tree.root.SerializeByMimeType(c.type, "x", content_type, "cb")));
    EXPECT_STREQ(c.answer ? c.answer : "before", content_type);
  }
}

TEST_F(SerializeByMimeType, TakesAnyCallbackText) {
  const BencTreeOf tree("l4:%s%de");
  const char* content_type = nullptr;
  for (const std::string& callback : {""s, "%s%d%n"s, "a.b"s, std::string(5000, 'c')}) {
    EXPECT_EQ(callback + "([ \"%s%d\" ]);",
              Take(tree.root.SerializeByMimeType(nullptr, "x", content_type, callback.c_str())));
  }
}

TEST_F(SerializeByMimeType, WritesAZeroByteInTheTreeAsAnEscape) {
  const BencTreeOf tree("l3:a\0be"s);
  const char* content_type = nullptr;
  EXPECT_EQ("cb([ \"a\\u0000b\" ]);", Take(tree.root.SerializeByMimeType(nullptr, "x", content_type, "cb")));
}

TEST_F(SerializeByMimeType, WrapsNothingOfAnEmptyValue) {
  const BencEntity none;
  const char* content_type = nullptr;
  EXPECT_EQ("cb();", Take(none.SerializeByMimeType(nullptr, "x", content_type, "cb")));
  EXPECT_EQ("", Take(none.SerializeByMimeType(nullptr, "x", content_type, nullptr)));
}

TEST_F(SerializeByMimeType, CutsWrappedTextOnly) {
  const size_t around = "cb(\"\");"s.size();
  const char* content_type = nullptr;
  for (size_t size : {kMostFormatted - 1, kMostFormatted, kMostFormatted + 1, kMostFormatted + 2, 2 * kMostFormatted}) {
    const OwnedString text(std::string(size - around, 'x'));
    const std::string json = "\"" + std::string(size - around, 'x') + "\"";
    EXPECT_TRUE(("cb(" + json + ");").substr(0, kMostFormatted) ==
                Take(text.SerializeByMimeType(nullptr, "x", content_type, "cb")))
        << size;
    EXPECT_TRUE(json == Take(text.SerializeByMimeType(nullptr, "x", content_type, nullptr))) << size;
  }
}

TEST_F(SerializeByMimeType, CutsALongCallbackToo) {
  const OwnedString text("x");
  const std::string callback(kMostFormatted + 10, 'c');
  const char* content_type = nullptr;
  EXPECT_TRUE(callback.substr(0, kMostFormatted) ==
              Take(text.SerializeByMimeType(nullptr, "x", content_type, callback.c_str())));
}

TEST_F(SerializeByMimeType, NeedsNoTagButForXml) {
  const BencTreeOf tree("d1:ai1ee");
  const char* content_type = nullptr;
  EXPECT_EQ("a=1\r\n", Take(tree.root.SerializeByMimeType("text/ascii", nullptr, content_type, nullptr)));
  EXPECT_EQ("{ \"a\": 1 }", Take(tree.root.SerializeByMimeType(nullptr, nullptr, content_type, nullptr)));
}

TEST_F(SerializeByMimeType, KindsWithoutTheFormAreFatal) {
  BencEntity v;
  BencPeek::SetPlain(v, core::BENC_NULL);
  const char* content_type = nullptr;
  EXPECT_FATAL_ANY_LINE(v.SerializeByMimeType("text/xml", "x", content_type, nullptr), "core/bencoding");
  EXPECT_FATAL_ANY_LINE(v.SerializeByMimeType("text/ascii", "x", content_type, nullptr), "core/bencoding");
  EXPECT_EQ("null", Take(v.SerializeByMimeType("application/jsonrequest", "x", content_type, nullptr)));
}

}  // namespace
