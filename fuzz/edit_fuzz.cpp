// Property: after every change, to values that lie anywhere in the tree and with sources inside of it, the tree is
// the model's, lists and strings have the room that the change gives them, a copy agrees, and all can be freed.
#include <stddef.h>
#include <stdint.h>

#include <string_view>

#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "tests/support/benc_edit.h"
#include "tests/support/test_host.h"

namespace {

using namespace std::string_view_literals;

constexpr int kMostSteps = 100;

constexpr std::string_view kStarts[] = {
    "de"sv,
    "le"sv,
    "li1e1:ali2e16:0123456789abcdefed1:a1:xee"sv,
    "d1:ali0ei1ei2ei3ei4ei5ei6ei7ei8ei9ei10ei11ei12ei13ei14ei15ee1:b0:e"sv,
    // keys that no terminated name can express
    "d0:de1:ai1e3:a\0bl1:xe2:b\0d1:al1:xe1:b3:abce1:cl20:01234567890123456789li1ei2eleeee"sv,
};

void Edit(FuzzInput& input) {
  const std::string_view start = input.Pick(kStarts);
  const bool in_place = input.Flip();
  EditedTree tree(start, in_place,
                  [&](size_t limit) { return static_cast<size_t>(input.Between(0, static_cast<int64_t>(limit) - 1)); });
  Require(tree.Agrees(), "the decoded tree is the model's");
  for (int step = 0; step < kMostSteps && !input.Empty(); ++step) {
    tree.Step();
    Require(tree.Agrees(), "a change does to the tree what it does to the model");
  }
  Require(tree.CopyAgrees(), "a copy is the model's tree too");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const long blocks = test_host::LiveBlocks();
  FuzzInput input(data, size);
  Edit(input);
  Require(test_host::LiveBlocks() == blocks, "nothing stays allocated");
  return 0;
}
