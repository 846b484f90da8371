// Nests of a thousand to ten million containers, and lists as long: what a caller of the decoder gets, and
// what the importer takes.
#include <gtest/gtest.h>

#include "core/bencode/bencoding.h"
#include "tests/hostile/counted_memory.h"
#include "tests/hostile/importing.h"
#include "tests/hostile/shapes.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/repeat.h"
#include "tests/support/small_stack.h"
#include "tests/support/temp_folder.h"

namespace hostile {
namespace {

// The decoder has no limit but memory; a tenth of the deepest nest is a few hundred megabytes.
constexpr size_t kDeepest = 10'000'000;
constexpr size_t kDeepestTree = 1'000'000 / HOSTILE_DIVISOR;

struct Kind {
  const char* name;
  const char* open;
  const char* core;
  const char* close;
  size_t most_in_torrent;  // of such containers in an otherwise small torrent
};

// How many a torrent may hold follows from the budget: 64 MiB and 64 bytes for each byte of the file,
// 1 GiB at most, against 392 bytes for a list in a list, 232 for a dictionary, 624 for one of each.
const Kind kKinds[] = {
    {"lists", "l", "", "e", 100'000},
    {"dictionaries", "d0:", "de", "e", 1'000'000},
    {"both", "ld1:a", "i1e", "ee", 100'000},
};

// Decodes and frees on a small stack; whether it decoded.
bool Decodes(const std::string& bytes) {
  bool decoded = false;
  const ExactBytes in(bytes);
  OnSmallStack([&] {
    const MemoryCount count;
    core::BencEntity root;
    decoded = core::BencEntity::Parse(in.begin(), root, in.end()) == in.end();
    root.FreeMembers();
    EXPECT_EQ(0, count.Use().left);
  });
  return decoded;
}

bool Imports(const TempFolder& folder, const std::string& bytes) {
  const std::string path = folder.Write("nest.torrent", bytes);
  bool imported = false;
  OnFoundationThread(kSmallStack, [&] { imported = Import(path); });
  return imported;
}

TEST(Nests, DecodeWhenClosedAndFailWhenOpenAtAnyDepth) {
  for (const Kind& kind : kKinds) {
    for (size_t depth = 1'000; depth <= kDeepestTree; depth *= 10) {
      SCOPED_TRACE(kind.name + std::to_string(depth));
      std::string nest = Nest(kind.open, kind.core, kind.close, depth);
      EXPECT_TRUE(Decodes(nest));
      nest.pop_back();
      EXPECT_FALSE(Decodes(nest));
      EXPECT_FALSE(Decodes(Repeat(kind.open, depth)));
    }
  }
}

TEST(Nests, AreImportedAsFarAsTheirTreesFitTheBudget) {
  const TempFolder folder;
  constexpr size_t kDeepestImport = HOSTILE_DIVISOR <= 4 ? kDeepest : kDeepest / 1000;
  for (const Kind& kind : kKinds) {
    for (size_t depth = 1'000; depth <= kDeepestImport; depth *= 10) {
      SCOPED_TRACE(kind.name + std::to_string(depth));
      const std::string nest = Nest(kind.open, kind.core, kind.close, depth);
      EXPECT_EQ(depth <= kind.most_in_torrent, Imports(folder, TorrentWith("1:a" + nest)));
      EXPECT_FALSE(Imports(folder, "d1:a" + Repeat(kind.open, depth)));
      EXPECT_FALSE(Imports(folder, nest));
    }
  }
}

// The smallest values there are: the decoder takes ten million, the budget for any file half as many.
TEST(EmptyStrings, AreImportedByTheMillion) {
  constexpr size_t kMany = HOSTILE_DIVISOR <= 4 ? 10'000'000 : 100'000;
  const TempFolder folder;
  const std::string list = "l" + Repeat("0:", kMany) + "e";
  EXPECT_TRUE(Decodes(list));
  EXPECT_EQ(kMany < 10'000'000, Imports(folder, TorrentWith("1:a" + list)));
  EXPECT_TRUE(Imports(folder, TorrentWith("1:al" + Repeat("0:", kMany / 2) + "e")));
}

// A refusal is cheap: it comes before the tree is built.
TEST(Nests, BeyondTheBudgetTakeNoMemoryForATree) {
  constexpr size_t kDepth = 2'000'000;
  const TempFolder folder;
  const std::string bytes = TorrentWith("1:a" + Nest("l", "", "e", kDepth));
  const std::string path = folder.Write("nest.torrent", bytes);
  OnFoundationThread(kSmallStack, [&] {
    const MemoryCount count;
    EXPECT_FALSE(Import(path));
    EXPECT_LE(count.Use().peak, bytes.size() + bytes.size() / 4 + 65536);
  });
}

}  // namespace
}  // namespace hostile
