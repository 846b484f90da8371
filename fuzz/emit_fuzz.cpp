// Property: what is decoded from bencoding and emitted is the model's, and a fixed point from then on unless a
// zero byte cuts a key; a copy is the same tree; the listing and XML are the model's, XML is well-formed where
// the keys are names, JSON parses and is the model's for ASCII; a tree in place emits the same as one of copies.
#include <ctype.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "core/base/mem1.h"
#include "core/bencode/bencoding.h"
#include "fuzz/models/emit_model.h"
#include "fuzz/support/fuzz_check.h"
#include "tests/support/benc_model.h"
#include "tests/support/benc_model_text.h"
#include "tests/support/benc_same.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/test_host.h"

namespace {

using benc_model::Value;
using core::BencEntity;

constexpr char kTag[] = "tree";

std::string Take(void* block, size_t len) {
  std::string bytes(static_cast<const char*>(block), len);
  core::MyFree(block);
  return bytes;
}

// Text without the zero byte that is counted as its last.
std::string TakeText(char* block, size_t len) {
  Require(len > 0 && block[len - 1] == '\0', "emitted text is terminated, and the terminator counted");
  return Take(block, len - 1);
}

struct Forms {
  explicit Forms(const BencEntity& tree) {
    size_t len = 0;
    unsigned char* block = tree.Serialize(&len);
    bencoding = Take(block, len);
    char* text = tree.SerializeAsAscii(&len);
    listing = TakeText(text, len);
    text = tree.SerializeAsXML(kTag, &len);
    xml = TakeText(text, len);
    text = tree.SerializeAsJson(&len);
    json = TakeText(text, len);
  }
  bool operator==(const Forms&) const = default;

  std::string bencoding;
  std::string listing;
  std::string xml;
  std::string json;
};

bool IsWhole(const std::string& key) { return key.find('\0') == std::string::npos; }
bool FitsTag(const std::string& key) { return key.size() <= 40; }
bool IsName(const std::string& key) {
  return !key.empty() && FitsTag(key) && isalpha(static_cast<unsigned char>(key[0])) &&
         std::ranges::all_of(key, [](unsigned char c) { return isalnum(c) || c == '-' || c == '.'; });
}
bool IsAscii(const std::string& text) {
  return std::ranges::all_of(text, [](unsigned char c) { return c < 128; });
}

void CheckBencoding(const Value& model, const std::string& bencoding) {
  Require(bencoding == benc_model::EncodeWithCutKeys(model), "the bencoding is the model's");
  if (!emit_model::AllTexts(model, false, IsWhole)) {
    return;
  }
  const ExactBytes in(bencoding);
  BencEntity again;
  Require(BencEntity::Parse(in.begin(), again, in.end()) == in.end(), "emitted bencoding decodes");
  Require(benc_model::SameDecodedTree(model, again), "emitted bencoding decodes to the same tree");
  size_t len = 0;
  unsigned char* block = again.Serialize(&len);
  Require(Take(block, len) == bencoding, "emitted bencoding is a fixed point");
  again.FreeMembers();
}

void CheckTexts(const Value& model, const Forms& forms) {
  Require(forms.listing == benc_model::Listing(model), "the listing is the model's");
  if (emit_model::AllTexts(model, false, FitsTag)) {
    Require(forms.xml == emit_model::Xml(model, kTag), "XML is the model's");
  }
  if (emit_model::AllTexts(model, false, IsName)) {
    Require(emit_model::IsXml(forms.xml), "XML with names for tags is well-formed");
  }
  if (emit_model::AllTexts(model, true, IsAscii)) {
    Require(forms.json == emit_model::Json(model), "JSON of ASCII texts is the model's");
    Require(emit_model::IsJsonOf(forms.json, model), "JSON of ASCII texts holds the same values");
  } else if (forms.json.find("\\ud") == std::string::npos) {  // no strict parser takes lone surrogates
    Require(emit_model::IsJson(forms.json), "JSON parses");
  }
  Require(IsAscii(forms.json), "JSON is ASCII");
}

// Frees the tree: its copy lives without it.
void CheckCopy(const Value& model, BencEntity& tree, const Forms& forms) {
  core::BencodedList list;
  core::BencodedDict dict;
  BencEntity& copy = tree.GetType() == core::BENC_LIST ? static_cast<BencEntity&>(list) : dict;
  copy.CopyFrom(tree);
  tree.FreeMembers();
  Require(benc_model::SameDecodedTree(model, copy), "a copy is the same tree");
  Require(Forms(copy) == forms, "a copy emits the same");
  list.FreeMembers();
  dict.FreeMembers();
}

void CheckCallback(const BencEntity& tree, const std::string& json) {
  const char* type = "unset";
  char* wrapped = tree.SerializeByMimeType("application/jsonrequest", kTag, type, "call");
  Require(Take(wrapped, strlen(wrapped)) == "call(" + json + ");", "a callback is wrapped around JSON");
  Require(strcmp(type, "application/jsonrequest") == 0, "the content type is the one asked for");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kLongest = 64 * 1024;  // longer strings have no XML
  const long blocks = test_host::LiveBlocks();
  ExactBytes in(data, size < kLongest ? size : 0);
  const benc_model::Result model = benc_model::Decode(in.view(), "");
  BencEntity copied;
  BencEntity in_place;
  if (BencEntity::Parse(in.begin(), copied, in.end())) {
    const Forms forms(copied);
    CheckBencoding(model.root, forms.bencoding);
    CheckTexts(model.root, forms);
    CheckCallback(copied, forms.json);
    CheckCopy(model.root, copied, forms);
    Require(BencEntity::ParseInPlace(in.data(), in_place, in.end()) != nullptr, "both decoders take the same inputs");
    Require(Forms(in_place) == forms, "a tree in place emits the same");
    CheckCopy(model.root, in_place, forms);
  }
  Require(test_host::LiveBlocks() == blocks, "nothing stays allocated");
  return 0;
}
