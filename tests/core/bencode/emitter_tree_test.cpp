// Properties of emitted text over generated trees: what the decoder, a JSON parser, an XML parser and a
// model of the listing make of it.
#include <expat.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdlib.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/bencode/bencoding.h"
#include "tests/support/benc_model_text.h"
#include "tests/support/benc_tree.h"
#include "tests/support/emitted.h"

namespace {

using benc_model::Kind;
using benc_model::Value;

using namespace std::string_literals;

constexpr int kTrees = 100'000;
constexpr int kFewTrees = 20'000;
constexpr unsigned kSeed = 20240517;

using Random = std::mt19937;

size_t Below(Random& random, size_t limit) { return random() % limit; }

// Makes the text of a key or of a string.
using MakeText = std::string (*)(Random&);

size_t SomeLength(Random& random) { return Below(random, 8) == 0 ? Below(random, 40) : Below(random, 4); }

// Any bytes, likely to look like bencoding.
std::string AnyBytes(Random& random) {
  std::string text(SomeLength(random), '\0');
  for (char& c : text) {
    c = Below(random, 4) == 0 ? static_cast<char>(random()) : "dlei:01.\\\n\r\0"[Below(random, 12)];
  }
  return text;
}

std::string BytesButZero(Random& random) {
  std::string text = AnyBytes(random);
  std::ranges::replace(text, '\0', '\x80');
  return text;
}

// UTF-8 of characters up to U+FFFF, surrogates excepted.
std::string BasicPlaneText(Random& random) {
  std::string text;
  for (size_t left = SomeLength(random); left > 0; --left) {
    const unsigned kind = static_cast<unsigned>(Below(random, 3));
    auto c = static_cast<unsigned>(random() & (kind == 0 ? 0x7F : kind == 1 ? 0x7FF : 0xFFFF));
    c = c >= 0xD800 && c < 0xE000 ? c - 0x800 : c;
    if (c < 0x80) {
      text += static_cast<char>(c);
    } else if (c < 0x800) {
      text += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 63))};
    } else {
      text += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 63)),
               static_cast<char>(0x80 | (c & 63))};
    }
  }
  return text;
}

// A name that an XML element can have.
std::string ElementName(Random& random) {
  std::string name(1, "aZ_q"[Below(random, 4)]);
  for (size_t left = SomeLength(random); left > 0; --left) {
    name += "abXY09-_."[Below(random, 9)];
  }
  return name;
}

int64_t SomeNumber(Random& random) {
  static const int64_t kExtremes[] = {0, 1, -1, 9, 10, INT32_MAX, INT32_MIN, INT64_MAX, INT64_MIN, INT64_MAX - 1};
  if (Below(random, 3) == 0) {
    return kExtremes[Below(random, std::size(kExtremes))];
  }
  const uint64_t bits = uint64_t{random()} << 32 | random();
  return static_cast<int64_t>(bits) >> Below(random, 64);
}

class Generator {
 public:
  Generator(MakeText make_key, MakeText make_string) : make_key_(make_key), make_string_(make_string) {}

  Random& random() { return random_; }

  Value Tree() { return Make(0); }

 private:
  Value Make(int depth) {
    Value value;
    const size_t pick = depth == 0 ? 3 + Below(random_, 2) : Below(random_, depth < 6 ? 5 : 3);
    const size_t count = pick < 3 ? 0 : Below(random_, 40) == 0 ? Below(random_, 30) : Below(random_, 4);
    switch (pick) {
      case 0:
        value.kind = Kind::kInt;
        value.number = SomeNumber(random_);
        break;
      case 1:
      case 2:
        value.kind = Kind::kString;
        value.text = make_string_(random_);
        break;
      case 3:
        value.kind = Kind::kList;
        for (size_t i = 0; i < count; ++i) {
          value.list.push_back(Make(depth + 1));
        }
        break;
      default:
        value.kind = Kind::kDict;
        for (size_t i = 0; i < count; ++i) {
          value.dict.try_emplace(make_key_(random_), std::make_unique<Value>(Make(depth + 1)));
        }
        break;
    }
    return value;
  }

  Random random_{kSeed};
  MakeText make_key_;
  MakeText make_string_;
};

// Calls `check` with the model of each generated tree and with the library's, decoded in either way.
template <class Check>
void ForEachTree(Generator generator, Check check, int trees = kTrees) {
  SCOPED_TRACE(kSeed);
  for (int i = 0; i < trees; ++i) {
    const Value model = generator.Tree();
    const std::string input = benc_model::Encode(model);
    const BencTreeOf tree(input, i % 2 == 0 ? BencTreeOf::kCopied : BencTreeOf::kInPlace);
    ASSERT_EQ(tree.bytes.end(), tree.end) << input;
    ASSERT_NO_FATAL_FAILURE(check(model, tree.root)) << input;
    ASSERT_FALSE(testing::Test::HasFailure()) << input;
  }
}

class EmitterTree : public BencTest {};

TEST_F(EmitterTree, CanonicalInputComesBackByteForByte) {
  ForEachTree({BytesButZero, AnyBytes}, [](const Value& model, const core::BencEntity& root) {
    size_t len = 0;
    unsigned char* block = root.Serialize(&len);
    EXPECT_EQ(benc_model::Encode(model), TakeBytes(block, len));
  });
}

// The same value in a spelling that a careless writer might choose.
std::string Loosely(const Value& value, Random& random) {
  const auto text = [&](const std::string& bytes) {
    return std::string(Below(random, 3), '0') + std::to_string(bytes.size()) + ":" + bytes;
  };
  std::string out;
  switch (value.kind) {
    case Kind::kInt: {
      const std::string digits = std::to_string(value.number);
      const bool negative = digits[0] == '-';
      return "i" + std::string(Below(random, 2), ' ') +
             (negative           ? "-"
              : Below(random, 2) ? "+"
                                 : "") +
             std::string(Below(random, 3), '0') + digits.substr(negative) + (Below(random, 2) ? "x5" : "") + "e";
    }
    case Kind::kString:
      return text(value.text);
    case Kind::kList:
      for (const Value& element : value.list) {
        out += Loosely(element, random);
      }
      return "l" + out + "e";
    default:
      std::vector<std::pair<std::string, const Value*>> entries;
      for (const auto& [key, element] : value.dict) {
        entries.emplace_back(key, element.get());
      }
      std::ranges::shuffle(entries, random);
      for (const auto& [key, element] : entries) {
        out += text(key) + Loosely(*element, random);
      }
      return "d" + out + "e";
  }
}

TEST_F(EmitterTree, LooseInputBecomesCanonicalAndStaysSo) {
  SCOPED_TRACE(kSeed);
  Generator generator(BytesButZero, AnyBytes);
  for (int i = 0; i < kTrees; ++i) {
    const Value model = generator.Tree();
    const std::string input = Loosely(model, generator.random());
    const BencTreeOf tree(input);
    const std::string once = Bencoded(tree.root);
    ASSERT_EQ(benc_model::Encode(model), once) << input;
    const BencTreeOf again(once);
    ASSERT_EQ(again.bytes.end(), again.end) << input;
    ASSERT_EQ(once, Bencoded(again.root)) << input;
  }
}

TEST_F(EmitterTree, KeysEndAtTheirZeroBytes) {
  ForEachTree(
      {AnyBytes, AnyBytes},
      [](const Value& model, const core::BencEntity& root) {
        EXPECT_EQ(benc_model::EncodeWithCutKeys(model), Bencoded(root));
      },
      kFewTrees);
}

TEST_F(EmitterTree, TheListingIsTheModels) {
  ForEachTree({AnyBytes, AnyBytes}, [](const Value& model, const core::BencEntity& root) {
    EXPECT_EQ(benc_model::Listing(model), Listed(root));
  });
}

nlohmann::json JsonOf(const Value& value) {
  nlohmann::json json;
  switch (value.kind) {
    case Kind::kInt:
      return value.number;
    case Kind::kString:
      return value.text;
    case Kind::kList:
      json = nlohmann::json::array();
      for (const Value& element : value.list) {
        json.push_back(JsonOf(element));
      }
      return json;
    default:
      json = nlohmann::json::object();
      for (const auto& [key, element] : value.dict) {
        json[key] = JsonOf(*element);
      }
      return json;
  }
}

TEST_F(EmitterTree, AJsonParserReadsTheSameValues) {
  ForEachTree({BasicPlaneText, BasicPlaneText}, [](const Value& model, const core::BencEntity& root) {
    const nlohmann::json read = nlohmann::json::parse(Json(root), nullptr, false);
    ASSERT_FALSE(read.is_discarded()) << Json(root);
    EXPECT_EQ(JsonOf(model), read);
  });
}

TEST_F(EmitterTree, JsonOfAnyBytesIsJsonInAsciiAlone) {
  ForEachTree(
      {AnyBytes, AnyBytes},
      [](const Value&, const core::BencEntity& root) {
        const std::string json = Json(root);
        EXPECT_TRUE(std::ranges::all_of(json, [](char c) { return c >= 32; })) << json;
        // Surrogates that are no pair are the one thing that a strict parser refuses.
        EXPECT_TRUE(json.find("\\ud") != std::string::npos || nlohmann::json::accept(json)) << json;
      },
      kFewTrees);
}

struct Element {
  std::string name;
  std::string text;  // outside of the children
  std::vector<Element> children;
};

// Reads one document with expat.
class XmlReader {
 public:
  XmlReader() {
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(
        parser_.get(),
        [](void* self, const char* name, const char**) {
          auto& open = static_cast<XmlReader*>(self)->open_;
          open.push_back(&open.back()->children.emplace_back(Element{name, {}, {}}));
        },
        [](void* self, const char*) { static_cast<XmlReader*>(self)->open_.pop_back(); });
    XML_SetCharacterDataHandler(parser_.get(), [](void* self, const char* text, int len) {
      static_cast<XmlReader*>(self)->open_.back()->text.append(text, static_cast<size_t>(len));
    });
  }

  // False when the document is not well-formed.
  bool Read(std::string_view document) {
    return XML_Parse(parser_.get(), document.data(), static_cast<int>(document.size()), 1) == XML_STATUS_OK;
  }
  const Element& root() const { return document_.children.at(0); }

 private:
  std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser_{XML_ParserCreate("UTF-8"), XML_ParserFree};
  Element document_;
  std::vector<Element*> open_{&document_};
};

std::string UrlDecoded(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      out += static_cast<char>(strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

bool Same(const Value& value, const Element& element) {
  if (value.kind == Kind::kInt || value.kind == Kind::kString) {
    const std::string want = value.kind == Kind::kInt ? std::to_string(value.number) : value.text;
    return element.children.empty() && want == UrlDecoded(element.text);
  }
  if (element.text.find_first_not_of("\n\t") != std::string::npos || element.text.empty()) {
    return false;
  }
  std::vector<std::pair<std::string, const Value*>> want;
  for (const Value& item : value.list) {
    want.emplace_back("item", &item);
  }
  for (const auto& [key, item] : value.dict) {
    want.emplace_back(key, item.get());
  }
  return std::ranges::equal(want, element.children, [](const auto& entry, const Element& child) {
    return entry.first == child.name && Same(*entry.second, child);
  });
}

TEST_F(EmitterTree, AnXmlParserReadsTheSameValues) {
  ForEachTree({ElementName, AnyBytes}, [](const Value& model, const core::BencEntity& root) {
    const std::string xml = Xml(root, "root");
    XmlReader reader;
    ASSERT_TRUE(reader.Read(xml)) << xml;
    EXPECT_EQ("root", reader.root().name);
    EXPECT_TRUE(Same(model, reader.root())) << xml;
  });
}

}  // namespace
