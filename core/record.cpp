#include "core/record.h"

#include "core/mem1.h"

namespace core {

// Stands at the start of a chunk. While the arena still cuts from the chunk, `live` holds kOpen more
// than it should: blocks are counted in the arena and added when it closes the chunk.
struct RecordChunk {
  size_t live;
};

namespace {

constexpr size_t kOpen = size_t{1} << 40;
constexpr size_t kFirstChunk = 2048;
constexpr size_t kLargestChunk = 65536;

// Under the address sanitizer every block is one of its own, so that a read past its end is seen.
#if defined(__SANITIZE_ADDRESS__)
constexpr size_t kLargestBlock = 0;
#else
constexpr size_t kLargestBlock = 1024;
#endif

// Stands before every block: its chunk, or null when the block is one of its own.
struct BlockHeader {
  RecordChunk* chunk;
};

void* StartBlock(void* place, RecordChunk* chunk) { return new (place) BlockHeader{chunk} + 1; }

BlockHeader* HeaderOf(void* block) { return static_cast<BlockHeader*>(block) - 1; }

// Changes the count of live blocks by `difference`, modulo the word, and frees the chunk at zero.
void Count(RecordChunk* chunk, size_t difference) {
  if (__atomic_add_fetch(&chunk->live, difference, __ATOMIC_ACQ_REL) == 0) {
    MyFree(chunk);
  }
}

}  // namespace

void* RecordArena::Allocate(size_t bytes) {
  if (bytes > kLargestBlock) {
    return AllocateRecord(bytes);
  }
  const size_t need = sizeof(BlockHeader) + ((bytes + sizeof(void*) - 1) & ~(sizeof(void*) - 1));
  if (need > room_) {
    CloseChunk();
    OpenChunk();
  }
  void* place = next_;
  next_ += need;
  room_ -= need;
  ++blocks_;
  return StartBlock(place, chunk_);
}

void RecordArena::OpenChunk() {
  chunk_size_ = chunk_size_ == 0 ? kFirstChunk : chunk_size_ < kLargestChunk ? chunk_size_ * 2 : kLargestChunk;
  void* block = MyMalloc(chunk_size_);
  chunk_ = new (block) RecordChunk{kOpen};
  next_ = static_cast<unsigned char*>(block) + sizeof(RecordChunk);
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

void* AllocateRecord(size_t bytes) { return StartBlock(MyMalloc(sizeof(BlockHeader) + bytes), nullptr); }

void RecordReleaser::Release(void* block) {
  BlockHeader* header = HeaderOf(block);
  if (!header->chunk) {
    MyFree(header);
    return;
  }
  if (header->chunk != chunk_) {
    Flush();
    chunk_ = header->chunk;
  }
  ++blocks_;
}

void RecordReleaser::Flush() {
  if (chunk_) {
    Count(chunk_, 0 - blocks_);
  }
  blocks_ = 0;
}

}  // namespace core
