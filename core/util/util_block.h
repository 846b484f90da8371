// A pool of blocks of one size.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace core {

// Hands out blocks cut from chunks, which it gets as arrays of char and never gives back. A free block
// holds the address of the next one in its first bytes. Needs no construction or destruction beyond its
// fields; belongs to one thread at a time. Blocks are aligned as far as `block_size` allows.
struct BlockAllocator {
  uint16_t block_size;        // in bytes; at least those of a pointer
  uint16_t blocks_per_chunk;  // 0: the pool has only the blocks that were given to FreeBlock
  void* free_list = nullptr;  // the block to hand out next; null when a chunk is needed

  // Returns a block, whose bytes are not set: the one last freed, else one of a new chunk. Null when
  // there is none and chunks have no blocks.
  // Throws as new[] does when there is no memory; the pool is then unchanged.
  // Cost: constant, but for a new chunk.
  void* GetBlock();

  // Takes back a block, to be handed out next. Null changes nothing.
  // Requires: `block` has at least `block_size` bytes and is not free already.
  void FreeBlock(void* block);

  // Gets a chunk, whose blocks are handed out in ascending order before those that are free now.
  // Throws as new[] does when there is no memory; the pool is then unchanged.
  // Requires: `block_size` has room for a pointer.
  // Cost: touches every block of the chunk.
  void Grow();
};
static_assert(offsetof(BlockAllocator, block_size) == 0);
static_assert(offsetof(BlockAllocator, blocks_per_chunk) == 2);
static_assert(offsetof(BlockAllocator, free_list) == sizeof(void*));
static_assert(sizeof(BlockAllocator) == 2 * sizeof(void*));

}  // namespace core
