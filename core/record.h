// Blocks for the payload records of values: array records, map records, map entries.
//
// A decoded tree is made of many small blocks that are made one after the other and mostly die
// together. An arena cuts them from large chunks, and a chunk goes when the last of its blocks has
// been freed, so a value may outlive the tree that it was decoded with. Blocks are freed in the same
// way wherever they came from, on any thread.
#pragma once

#include <stddef.h>

#include <new>

namespace core {

struct RecordChunk;

// Cuts blocks from chunks. Used by one thread at a time; its blocks outlive it.
class RecordArena {
 public:
  RecordArena() = default;
  RecordArena(const RecordArena&) = delete;
  RecordArena& operator=(const RecordArena&) = delete;
  ~RecordArena() { CloseChunk(); }

  // Returns a new block of `bytes` bytes, aligned for pointers, freed through RecordReleaser. Large
  // blocks come from the library's allocator directly.
  void* Allocate(size_t bytes);

 private:
  void OpenChunk();
  void CloseChunk();

  RecordChunk* chunk_ = nullptr;
  unsigned char* next_ = nullptr;
  size_t room_ = 0;        // bytes left in the chunk
  size_t blocks_ = 0;      // cut from the chunk so far
  size_t chunk_size_ = 0;  // of the last chunk; grows from chunk to chunk
};

// Returns a new block of its own, aligned for pointers, freed through RecordReleaser.
void* AllocateRecord(size_t bytes);

// Frees blocks. Neighbours from one chunk are given back together, at the latest when the releaser
// ends.
class RecordReleaser {
 public:
  RecordReleaser() = default;
  RecordReleaser(const RecordReleaser&) = delete;
  RecordReleaser& operator=(const RecordReleaser&) = delete;
  ~RecordReleaser() { Flush(); }

  void Release(void* block);

 private:
  void Flush();

  RecordChunk* chunk_ = nullptr;
  size_t blocks_ = 0;  // of `chunk_`, freed and not yet given back
};

// Makes a T in a block of its own; freed with DestroyRecord.
template <class T>
T* MakeRecord() {
  static_assert(alignof(T) <= alignof(void*));
  return new (AllocateRecord(sizeof(T))) T();
}

template <class T>
void DestroyRecord(T* record, RecordReleaser& releaser) {
  record->~T();
  releaser.Release(record);
}

template <class T>
void DestroyRecord(T* record) {
  RecordReleaser releaser;
  DestroyRecord(record, releaser);
}

}  // namespace core
