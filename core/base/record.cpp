#include "core/base/record.h"

namespace core {

// Stands at the start of a chunk. While the arena still cuts from the chunk, `live` holds kOpen more
// than it should: blocks are counted in the arena and added when it closes the chunk.
struct RecordChunk {
  size_t live;
};
static_assert(sizeof(RecordChunk) > kOwnBlock);  // an offset into a chunk is neither kSingle nor kOwnBlock

namespace {

constexpr size_t kOpen = size_t{1} << 40;
constexpr size_t kFirstChunk = 256;
constexpr size_t kLargestChunk = 65536;

// Under the address sanitizer every block is one of its own, so that a read past its end is seen.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kUseChunks = false;
#else
constexpr bool kUseChunks = true;
#endif

RecordChunk* ChunkOf(void* block, RecordOrigin origin) {
  return reinterpret_cast<RecordChunk*>(static_cast<unsigned char*>(block) - origin);
}

// Changes the count of live blocks by `difference`, modulo the word, and frees the chunk at zero.
void Count(RecordChunk* chunk, size_t difference) {
  if (__atomic_add_fetch(&chunk->live, difference, __ATOMIC_ACQ_REL) == 0) {
    MyFree(chunk);
  }
}

}  // namespace

void* RecordArena::AllocateElsewhere(size_t bytes, RecordOrigin* origin) {
  if (!kUseChunks || bytes > kLargestBlock) {
    *origin = kOwnBlock;
    return MyMalloc(bytes);
  }
  CloseChunk();
  OpenChunk();
  return Allocate(bytes, origin);
}

void RecordArena::OpenChunk() {
  chunk_size_ = chunk_size_ == 0 ? kFirstChunk : chunk_size_ < kLargestChunk ? chunk_size_ * 2 : kLargestChunk;
  chunk_ = new (MyMalloc(chunk_size_)) RecordChunk{kOpen};
  next_ = reinterpret_cast<unsigned char*>(chunk_ + 1);
  room_ = chunk_size_ - sizeof(RecordChunk);
  blocks_ = 0;
}

void RecordArena::CloseChunk() {
  if (chunk_) {
    Count(chunk_, blocks_ - kOpen);
    chunk_ = nullptr;
    room_ = 0;
  }
}

void RecordReleaser::ReleaseElsewhere(void* block, RecordOrigin origin) {
  if (origin == kOwnBlock) {
    MyFree(block);
    return;
  }
  Flush();
  chunk_ = ChunkOf(block, origin);
  blocks_ = 1;
}

void RecordReleaser::Flush() {
  if (chunk_) {
    Count(chunk_, 0 - blocks_);
  }
  blocks_ = 0;
}

}  // namespace core
