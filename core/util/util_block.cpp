#include "core/util/util_block.h"

#include <string.h>

#include "core/base/fatal.h"

namespace core {
namespace {

constexpr char kSource[] = "core/util";

// A block may start at any address, so its link is copied byte by byte.
void* NextOf(const void* block) {
  void* next;
  memcpy(&next, block, sizeof next);
  return next;
}

void SetNext(void* block, void* next) { memcpy(block, &next, sizeof next); }

}  // namespace

void* BlockAllocator::GetBlock() {
  if (free_list == nullptr) {
    Grow();
  }
  void* block = free_list;
  if (block != nullptr) {
    free_list = NextOf(block);
  }
  return block;
}

void BlockAllocator::FreeBlock(void* block) {
  if (block != nullptr) {
    SetNext(block, free_list);
    free_list = block;
  }
}

void BlockAllocator::Grow() {
  if (blocks_per_chunk == 0) {
    return;
  }
  AssertAt(block_size >= sizeof(void*), kSource, 1001);
  const size_t size = block_size;
  char* chunk = new char[size * blocks_per_chunk];
  for (size_t i = blocks_per_chunk; i-- > 0;) {
    FreeBlock(chunk + i * size);
  }
}

}  // namespace core
