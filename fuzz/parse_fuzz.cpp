// Property: the decoder accepts the inputs that the model accepts, stops at the same offset and makes the
// same tree, asks for at most four tokens a byte and sixteen more, and everything can be freed.
#include <stddef.h>
#include <stdint.h>

#include "core/bencode/bencoding.h"
#include "fuzz/support/fuzz_check.h"
#include "tests/support/benc_model.h"
#include "tests/support/benc_same.h"
#include "tests/support/counting_parser.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/test_host.h"

namespace {

using core::BencEntity;

// By address: after a string that overran the input the position lies beyond its end.
size_t Offset(const ExactBytes& in, const unsigned char* position) {
  return reinterpret_cast<uintptr_t>(position) - reinterpret_cast<uintptr_t>(in.begin());
}

void CheckTree(const benc_model::Result& model, BencEntity& root) {
  Require(model.ok ? benc_model::SameDecodedTree(model.root, root) : root.GetType() == core::BENC_NONE,
          "the tree is the model's");
  root.FreeMembers();
}

void CheckParse(const ExactBytes& in, const benc_model::Result& model) {
  BencEntity root;
  const unsigned char* end = BencEntity::Parse(in.begin(), root, in.end());
  Require((end != nullptr) == model.ok, "the decoder accepts what the model accepts");
  Require(!model.ok || Offset(in, end) == model.end, "the value ends where the model's ends");
  CheckTree(model, root);
}

void CheckSteps(const ExactBytes& in, const benc_model::Result& model) {
  BencEntity root;
  CountingParser parser(in.begin(), in.end());
  core::AllocateMemRegime regime;
  Require(BencEntity::DoParse(root, &parser, &regime) == model.ok, "any token source gives the same result");
  Require(Offset(in, parser.position()) == model.end, "the tokenizer stops where the model's does");
  Require(parser.tokens <= 4 * in.size() + 16, "four tokens a byte and sixteen more are enough");
  CheckTree(model, root);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const long blocks = test_host::LiveBlocks();
  const ExactBytes in(data, size);
  const benc_model::Result model = benc_model::Decode(in.view(), "");
  CheckParse(in, model);
  CheckSteps(in, model);
  Require(test_host::LiveBlocks() == blocks, "nothing stays allocated");
  return 0;
}
