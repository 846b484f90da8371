// The pool of blocks of one size.
#include <gtest/gtest.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <new>
#include <random>
#include <set>
#include <vector>

#include "core/util/util.h"
#include "tests/support/fatal.h"

using namespace core;

namespace {

// The arrays that were asked for while one test runs, which never asks for others.
struct ArrayRequests {
  bool recording = false;
  bool failing = false;
  std::vector<size_t> sizes;
  std::vector<void*> arrays;
};
ArrayRequests requests;

void* NewArray(size_t size) {
  if (requests.recording) {
    requests.sizes.push_back(size);
    if (requests.failing) {
      throw std::bad_alloc();
    }
  }
  void* array = malloc(size != 0 ? size : 1);
  if (array == nullptr) {
    throw std::bad_alloc();
  }
  if (requests.recording) {
    requests.arrays.push_back(array);
  }
  return array;
}

}  // namespace

void* operator new[](size_t size) { return NewArray(size); }
void operator delete[](void* array) noexcept { free(array); }
void operator delete[](void* array, size_t) noexcept { free(array); }

namespace {

// Frees the chunks of a test, which the pool never does.
class BlockPool : public ::testing::Test {
 protected:
  BlockPool() { requests = {.recording = true, .failing = false, .sizes = {}, .arrays = {}}; }
  ~BlockPool() override {
    requests.recording = false;
    for (void* array : requests.arrays) {
      free(array);
    }
  }

  static const std::vector<size_t>& Requested() { return requests.sizes; }
  static char* Chunk(size_t i) { return static_cast<char*>(requests.arrays.at(i)); }
};

TEST_F(BlockPool, HandsOutAChunksBlocksInAscendingOrder) {
  BlockAllocator pool{16, 4};
  for (size_t i = 0; i < 4; ++i) {
    char* block = static_cast<char*>(pool.GetBlock());
    EXPECT_EQ(Chunk(0) + 16 * i, block);
  }
  EXPECT_EQ(nullptr, pool.free_list);
  EXPECT_EQ((std::vector<size_t>{64}), Requested());
}

TEST_F(BlockPool, GetsAChunkOnlyWhenNoBlockIsFree) {
  BlockAllocator pool{16, 4};
  EXPECT_TRUE(Requested().empty());
  for (int i = 0; i < 9; ++i) {
    EXPECT_NE(nullptr, pool.GetBlock());
    EXPECT_EQ(static_cast<size_t>(i / 4 + 1), Requested().size());
  }
  EXPECT_EQ((std::vector<size_t>{64, 64, 64}), Requested());
}

TEST_F(BlockPool, HandsOutTheLastFreedBlockFirst) {
  BlockAllocator pool{16, 4};
  void* blocks[4];
  for (void*& block : blocks) {
    block = pool.GetBlock();
  }
  pool.FreeBlock(blocks[2]);
  EXPECT_EQ(blocks[2], pool.GetBlock());
  for (const int i : {1, 3, 0}) {
    pool.FreeBlock(blocks[i]);
  }
  for (const int i : {0, 3, 1}) {
    EXPECT_EQ(blocks[i], pool.GetBlock());
  }
  EXPECT_EQ(1u, Requested().size());
}

TEST_F(BlockPool, AFreedBlockComesBeforeTheRestOfItsChunk) {
  BlockAllocator pool{16, 4};
  void* first = pool.GetBlock();
  void* second = pool.GetBlock();
  pool.FreeBlock(first);
  EXPECT_EQ(first, pool.GetBlock());
  EXPECT_EQ(static_cast<char*>(second) + 16, pool.GetBlock());
}

TEST_F(BlockPool, GrowsInFrontOfTheFreeBlocks) {
  BlockAllocator pool{16, 3};
  void* first = pool.GetBlock();
  pool.Grow();
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(Chunk(1) + 16 * i, pool.GetBlock());
  }
  EXPECT_EQ(static_cast<char*>(first) + 16, pool.GetBlock());
  EXPECT_EQ(static_cast<char*>(first) + 32, pool.GetBlock());
  EXPECT_EQ(nullptr, pool.free_list);
}

TEST_F(BlockPool, ChainsFreeBlocksThroughTheirFirstWord) {
  BlockAllocator pool{24, 2};
  pool.Grow();
  EXPECT_EQ(Chunk(0), pool.free_list);
  void* next;
  memcpy(&next, Chunk(0), sizeof next);
  EXPECT_EQ(Chunk(0) + 24, next);
  memcpy(&next, Chunk(0) + 24, sizeof next);
  EXPECT_EQ(nullptr, next);
}

TEST_F(BlockPool, LeavesTheRestOfABlockAlone) {
  BlockAllocator pool{16, 2};
  char* block = static_cast<char*>(pool.GetBlock());
  memset(block, 'x', 16);
  pool.FreeBlock(block);
  EXPECT_EQ(block, pool.GetBlock());
  EXPECT_EQ(0, memcmp(block + sizeof(void*), "xxxxxxxx", 16 - sizeof(void*)));
}

TEST_F(BlockPool, TakesBlocksOfAnySizeFromThatOfAPointerOn) {
  for (const uint16_t size : {uint16_t{8}, uint16_t{9}, uint16_t{13}, uint16_t{255}, uint16_t{65535}}) {
    BlockAllocator pool{size, 3};
    char* last = nullptr;
    for (int i = 0; i < 3; ++i) {
      char* block = static_cast<char*>(pool.GetBlock());
      memset(block, 0xEE, size);
      EXPECT_TRUE(last == nullptr || block == last + size) << size;
      last = block;
    }
    EXPECT_EQ(nullptr, pool.free_list);
  }
}

TEST_F(BlockPool, TakesTheLargestCount) {
  BlockAllocator pool{8, 65535};
  char* first = static_cast<char*>(pool.GetBlock());
  for (size_t i = 1; i < 65535; ++i) {
    ASSERT_EQ(first + 8 * i, pool.GetBlock());
  }
  EXPECT_EQ((std::vector<size_t>{524280}), Requested());
}

TEST_F(BlockPool, ChunksMayTakeFourGigabytes) {
  requests.failing = true;
  BlockAllocator pool{65535, 65535};
  EXPECT_THROW(pool.GetBlock(), std::bad_alloc);
  EXPECT_EQ((std::vector<size_t>{4294836225}), Requested());
}

TEST_F(BlockPool, StaysAsItWasWhenThereIsNoMemory) {
  BlockAllocator pool{16, 4};
  void* block = pool.GetBlock();
  void* head = pool.free_list;
  requests.failing = true;
  EXPECT_THROW(pool.Grow(), std::bad_alloc);
  EXPECT_EQ(head, pool.free_list);
  EXPECT_NE(block, pool.GetBlock());
}

TEST_F(BlockPool, WithoutBlocksPerChunkHasOnlyWhatItIsGiven) {
  BlockAllocator pool{16, 0};
  EXPECT_EQ(nullptr, pool.GetBlock());
  pool.Grow();
  EXPECT_EQ(nullptr, pool.free_list);
  char block[16];
  pool.FreeBlock(block);
  pool.Grow();
  EXPECT_EQ(block, pool.free_list);
  EXPECT_EQ(block, pool.GetBlock());
  EXPECT_EQ(nullptr, pool.GetBlock());
  EXPECT_TRUE(Requested().empty());
}

TEST_F(BlockPool, IgnoresANullBlock) {
  BlockAllocator pool{16, 2};
  pool.Grow();
  pool.FreeBlock(nullptr);
  EXPECT_EQ(Chunk(0), pool.GetBlock());
  EXPECT_EQ(Chunk(0) + 16, pool.GetBlock());
}

TEST(BlockPoolDeathTest, BlocksMustHoldAPointer) {
  for (const uint16_t size : {uint16_t{0}, uint16_t{1}, uint16_t{7}}) {
    BlockAllocator pool{size, 4};
    EXPECT_FATAL(pool.Grow(), "core/util", 1001);
    EXPECT_FATAL(pool.GetBlock(), "core/util", 1001);
  }
}

TEST_F(BlockPool, BehavesLikeAStackOfBlocks) {
  BlockAllocator pool{24, 5};
  std::vector<char*> free_blocks;  // the next one at the end
  std::vector<char*> used;
  std::mt19937 random(3);
  for (int i = 0; i < 20'000; ++i) {
    if (random() % 100 < (i % 2000 < 1000 ? 60u : 40u) || used.empty()) {
      const size_t chunks = requests.arrays.size();
      char* block = static_cast<char*>(pool.GetBlock());
      if (free_blocks.empty()) {
        ASSERT_EQ(chunks + 1, requests.arrays.size());
        for (size_t k = 5; k-- > 0;) {
          free_blocks.push_back(Chunk(chunks) + 24 * k);
        }
      }
      ASSERT_EQ(free_blocks.back(), block);
      free_blocks.pop_back();
      memset(block, 0xEE, 24);
      used.push_back(block);
    } else {
      const size_t k = random() % used.size();
      pool.FreeBlock(used[k]);
      free_blocks.push_back(used[k]);
      used.erase(used.begin() + static_cast<ptrdiff_t>(k));
    }
  }
  EXPECT_EQ(requests.arrays.size() * 5, free_blocks.size() + used.size());
  EXPECT_EQ(used.size(), std::set(used.begin(), used.end()).size());
}

}  // namespace
