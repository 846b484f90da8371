#include "core/base/record.h"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <thread>
#include <vector>

namespace core {
namespace {

struct Block {
  unsigned char* bytes;
  size_t size;
  unsigned char fill;
  RecordOrigin origin;

  bool Intact() const {
    for (size_t i = 0; i < size; ++i) {
      if (bytes[i] != fill) {
        return false;
      }
    }
    return true;
  }
};

// Blocks of many sizes, small and large, each filled with a byte of its own.
std::vector<Block> Fill(RecordArena& arena, size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<Block> blocks;
  for (size_t i = 0; i < count; ++i) {
    const size_t size = random() % 100 == 0 ? 1000 + random() % 100 : 1 + random() % 120;
    RecordOrigin origin = kSingle;
    auto* bytes = static_cast<unsigned char*>(arena.Allocate(size, &origin));
    EXPECT_NE(kSingle, origin);
    const Block block = {bytes, size, static_cast<unsigned char>(random()), origin};
    memset(block.bytes, block.fill, size);
    blocks.push_back(block);
  }
  return blocks;
}

TEST(RecordArena, BlocksDoNotOverlapAndAreAlignedForPointers) {
  RecordArena arena;
  const std::vector<Block> blocks = Fill(arena, 20000, 1);
  RecordReleaser releaser;
  for (const Block& block : blocks) {
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(block.bytes) % sizeof(void*));
    EXPECT_TRUE(block.Intact());
    releaser.Release(block.bytes, block.origin);
  }
}

TEST(RecordArena, BlocksOutliveTheArena) {
  std::vector<Block> blocks;
  {
    RecordArena arena;
    blocks = Fill(arena, 5000, 2);
  }
  RecordReleaser releaser;
  for (const Block& block : blocks) {
    EXPECT_TRUE(block.Intact());
    releaser.Release(block.bytes, block.origin);
  }
}

TEST(RecordArena, FreedBlocksDoNotDisturbTheirNeighbours) {
  RecordArena arena;
  std::vector<Block> blocks = Fill(arena, 5000, 3);
  std::shuffle(blocks.begin(), blocks.end(), std::mt19937(4));
  while (!blocks.empty()) {
    EXPECT_TRUE(blocks.back().Intact());
    RecordReleaser().Release(blocks.back().bytes, blocks.back().origin);
    blocks.pop_back();
    if (blocks.size() % 500 == 0) {
      const std::vector<Block> more = Fill(arena, 50, static_cast<unsigned>(blocks.size()));
      for (const Block& block : more) {
        RecordReleaser().Release(block.bytes, block.origin);
      }
    }
  }
}

TEST(RecordArena, BlocksOfOneChunkMayBeFreedOnManyThreads) {
  constexpr size_t kThreads = 4;
  std::vector<Block> blocks;
  {
    RecordArena arena;
    blocks = Fill(arena, 8000, 5);
  }
  std::vector<std::thread> threads;
  for (size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&blocks, t] {
      RecordReleaser releaser;
      for (size_t i = t; i < blocks.size(); i += kThreads) {
        EXPECT_TRUE(blocks[i].Intact());
        releaser.Release(blocks[i].bytes, blocks[i].origin);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// A record that counts its ends.
struct Counted : Record {
  explicit Counted(int* count) : destroyed(count) {}
  ~Counted() { ++*destroyed; }
  RecordOrigin& origin() { return from; }

  int* destroyed;
  RecordOrigin from = kSingle;
};

TEST(Record, OfAnArenaIsDestroyedOnce) {
  int destroyed = 0;
  RecordArena arena;
  RecordReleaser releaser;
  releaser.Destroy(arena.Make<Counted>(&destroyed));
  EXPECT_EQ(1, destroyed);
}

TEST(Record, OfItsOwnIsDestroyedOnce) {
  int destroyed = 0;
  RecordReleaser().Destroy(new Counted(&destroyed));
  EXPECT_EQ(1, destroyed);
}

TEST(Record, HasItsTailBehindIt) {
  int destroyed = 0;
  void* tail = nullptr;
  RecordArena arena;
  Counted* record = arena.MakeWithTail<Counted>(100, [&](void* room) {
    tail = room;
    memset(room, 7, 100);
    return Counted(&destroyed);
  });
  EXPECT_EQ(record + 1, tail);
  RecordReleaser().Destroy(record);
  EXPECT_EQ(1, destroyed);
}

}  // namespace
}  // namespace core
