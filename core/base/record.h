// Blocks for the payload records of values: array records, map records, map entries.
//
// A decoded tree is made of many small records that are made one after the other and mostly die
// together. An arena cuts them from large chunks, and a chunk goes when the last of its records has
// been freed, so a value may outlive the tree that it was decoded with. Each record says where it
// came from, so they are all freed in the same way, on any thread.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <new>
#include <utility>

#include "core/base/mem1.h"

namespace core {

struct RecordChunk;

// Where a record's block comes from: kSingle when it was made with `new`, kOwnBlock when an arena
// gave it a block of the library's allocator, else the bytes from the start of its chunk.
using RecordOrigin = uint32_t;
constexpr RecordOrigin kSingle = 0;
constexpr RecordOrigin kOwnBlock = 1;

// A type whose `new` and `delete` use the library's allocator. Derived types have a member function
// `RecordOrigin& origin()`, kSingle from the start.
struct Record {
  static void* operator new(size_t bytes) { return MyMalloc(bytes); }
  static void operator delete(void* block) { MyFree(block); }
};

// Cuts blocks from chunks. Used by one thread at a time; its blocks outlive it.
class RecordArena {
 public:
  RecordArena() = default;
  RecordArena(const RecordArena&) = delete;
  RecordArena& operator=(const RecordArena&) = delete;
  ~RecordArena() { CloseChunk(); }

  // Makes a T from `args`.
  template <class T, class... Args>
  T* Make(Args&&... args) {
    return MakeWithTail<T>(0, [&](void*) { return T(std::forward<Args>(args)...); });
  }

  // The same with room for `tail_bytes` behind the T; `make` is given their address and returns it.
  template <class T, class MakeT>
  T* MakeWithTail(size_t tail_bytes, MakeT make) {
    RecordOrigin origin;
    void* block = Allocate(sizeof(T) + tail_bytes, &origin);
    T* record = ::new (block) T(make(static_cast<T*>(block) + 1));
    record->origin() = origin;
    return record;
  }

  // Returns a new block of `bytes` bytes, aligned for pointers, freed with RecordReleaser::Release and
  // the origin. Large blocks come from the library's allocator directly.
  void* Allocate(size_t bytes, RecordOrigin* origin) {
    const size_t need = (bytes + sizeof(void*) - 1) & ~(sizeof(void*) - 1);
    if (need > room_ || bytes > kLargestBlock) [[unlikely]] {
      return AllocateElsewhere(bytes, origin);
    }
    unsigned char* block = next_;
    next_ += need;
    room_ -= need;
    ++blocks_;
    *origin = static_cast<RecordOrigin>(block - reinterpret_cast<unsigned char*>(chunk_));
    return block;
  }

 private:
  static constexpr size_t kLargestBlock = 1024;

  void* AllocateElsewhere(size_t bytes, RecordOrigin* origin);
  void OpenChunk();
  void CloseChunk();

  RecordChunk* chunk_ = nullptr;
  unsigned char* next_ = nullptr;
  size_t room_ = 0;        // bytes left in the chunk
  size_t blocks_ = 0;      // cut from the chunk so far
  size_t chunk_size_ = 0;  // of the last chunk; grows from chunk to chunk
};

// Frees records and blocks. Neighbours from one chunk are given back together, at the latest when the
// releaser ends.
class RecordReleaser {
 public:
  RecordReleaser() = default;
  RecordReleaser(const RecordReleaser&) = delete;
  RecordReleaser& operator=(const RecordReleaser&) = delete;
  ~RecordReleaser() { Flush(); }

  template <class T>
  void Destroy(T* record) {
    const RecordOrigin origin = record->origin();
    if (origin == kSingle) {
      delete record;
      return;
    }
    record->~T();
    Release(record, origin);
  }

  // Gives back a block of an arena.
  void Release(void* block, RecordOrigin origin) {
    if (static_cast<unsigned char*>(block) - origin == reinterpret_cast<unsigned char*>(chunk_)) [[likely]] {
      ++blocks_;
    } else {
      ReleaseElsewhere(block, origin);
    }
  }

 private:
  void ReleaseElsewhere(void* block, RecordOrigin origin);
  void Flush();

  RecordChunk* chunk_ = nullptr;
  size_t blocks_ = 0;  // of `chunk_`, freed and not yet given back
};

}  // namespace core
