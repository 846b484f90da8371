// Every shape of file, by counting: tokens, blocks, bytes, stacks.
#include <gtest/gtest.h>

#include <optional>

#include "QuickLookPlugin/tree_budget.h"
#include "core/base/host.h"
#include "core/bencode/bencoding.h"
#include "tests/hostile/counted_memory.h"
#include "tests/hostile/importing.h"
#include "tests/hostile/shapes.h"
#include "tests/support/counting_parser.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/small_stack.h"
#include "tests/support/temp_folder.h"

namespace hostile {
namespace {

// What one decode and the freeing of its tree came to.
struct Decoding {
  bool decoded = false;
  MemoryUse tree;  // up to the end of the decode
  MemoryUse all;
};

Decoding DecodeAndFree(const ExactBytes& in) {
  Decoding result;
  const MemoryCount count;
  core::BencEntity root;
  result.decoded = core::BencEntity::Parse(in.begin(), root, in.end()) != nullptr;
  result.tree = count.Use();
  root.FreeMembers();
  result.all = count.Use();
  return result;
}

class HostileFile : public ::testing::TestWithParam<Shape> {
 protected:
  static std::string Make() { return GetParam().make(GetParam().n / HOSTILE_DIVISOR); }
  static bool Decodes() { return GetParam().fate != Fate::kBroken; }

  TempFolder folder_;
};

TEST_P(HostileFile, DecodesOnASmallStack) {
  const ExactBytes in(Make());
  Decoding result;
  OnSmallStack([&] { result = DecodeAndFree(in); });
  EXPECT_EQ(Decodes(), result.decoded);
  EXPECT_EQ(0, result.all.left);
  EXPECT_EQ(result.tree.calls, result.all.calls);  // freeing asks for no memory
}

// A value of a list takes the most memory when the list is nothing but the first of another one.
TEST_P(HostileFile, TakesBoundedMemoryToDecode) {
  constexpr size_t kPerByte = 48 + 17 * 16 + 24;
  constexpr size_t kFixed = 65536;
  const ExactBytes in(Make());
  const Decoding result = DecodeAndFree(in);
  EXPECT_LE(result.all.peak, kFixed + kPerByte * in.size());
  EXPECT_LE(result.all.calls, kFixed + in.size());
  if (result.decoded && result.tree.peak > kFixed) {
    EXPECT_FALSE(reader::TreeFitsBudget(in.begin(), in.end(), result.tree.peak - kFixed));
  }
}

// A bad token is seen once more by each list that it closes.
TEST_P(HostileFile, IsReadInTwoTokensForEachByteAtMost) {
  const ExactBytes in(Make());
  CountingParser parser(in.begin(), in.end());
  core::AllocateMemRegime regime;
  core::BencEntity root;
  EXPECT_EQ(Decodes(), core::BencEntity::DoParse(root, &parser, &regime));
  EXPECT_LE(parser.tokens, 2 * in.size() + 1);
  root.FreeMembers();
}

TEST_P(HostileFile, IsWeighedOnASmallStack) {
  const ExactBytes in(Make());
  bool unlimited = false;
  MemoryUse use;
  OnSmallStack([&] {
    const MemoryCount count;
    unlimited = reader::TreeFitsBudget(in.begin(), in.end(), SIZE_MAX);
    use = count.Use();
  });
  // Equal keys are the only mistake that is left to the decoder.
  EXPECT_EQ(Decodes() || GetParam().name == std::string_view("FirstKeyTwice"), unlimited);
  EXPECT_EQ(0, use.left);
  EXPECT_LE(use.peak, in.size() * 3 / 8 + 128);  // a bit for each level, doubled beside the old ones
}

// The thread's own block exists before the import, and must hold nothing more after it.
TEST_P(HostileFile, ImportsWithinItsBudgetAndLeavesNothing) {
  const std::string bytes = Make();
  const std::string path = folder_.Write("hostile.torrent", bytes);
  bool imported = false;
  MemoryUse use;
  OnFoundationThread(kSmallStack, [&] {
    core::GetTLS();
    const MemoryCount count;
    imported = Import(path);
    use = count.Use();
  });
  EXPECT_EQ(GetParam().fate == Fate::kTorrent, imported);
  EXPECT_LE(use.peak, reader::TreeBudget(bytes.size()));
  EXPECT_EQ(0, use.left);
}

std::string NameOf(const ::testing::TestParamInfo<Shape>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(Structure, HostileFile, ::testing::ValuesIn(StructureShapes()), NameOf);
INSTANTIATE_TEST_SUITE_P(Texts, HostileFile, ::testing::ValuesIn(TextShapes()), NameOf);
INSTANTIATE_TEST_SUITE_P(Files, HostileFile, ::testing::ValuesIn(FileShapes()), NameOf);

}  // namespace
}  // namespace hostile
