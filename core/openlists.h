// The lists that a decode is filling.
#pragma once

#include <string.h>

#include <new>

#include "core/bencoding.h"
#include "core/mem1.h"
#include "core/record.h"

namespace core {

// Lists are built in blocks with room for 16 elements and then moved to blocks of their exact size.
// The large block of one list serves the next.
class OpenLists {
 public:
  OpenLists() = default;
  OpenLists(const OpenLists&) = delete;
  OpenLists& operator=(const OpenLists&) = delete;
  ~OpenLists() {
    if (spare_) {
      DestroyRecord(spare_);
    }
  }

  BencListRecord* Open() {
    BencListRecord* list = spare_;
    spare_ = nullptr;
    if (!list) {
      list = new (AllocateRecord(sizeof(BencListRecord) + kPresizeBytes)) BencListRecord;
    }
    list->embedded = true;
    list->data = reinterpret_cast<unsigned char*>(list + 1);
    list->capacity = kPresize;
    return list;
  }

  // Adds a BENC_NONE element; a list with fewer than 16 has room for 16.
  static BencEntity* Append(BencListRecord& list) {
    const bool small = list.capacity < kPresize;
    if (list.embedded && (small || list.size() == list.capacity)) {
      MoveOut(list);
    } else if (small) {
      list.Resize(kPresize);
    }
    return new (list.LList<BencEntity>::Append()) BencEntity;
  }

  // Leaves the list with storage for exactly its elements and returns its record, which may be a new
  // one.
  BencListRecord* Close(BencListRecord* list, RecordArena& arena) {
    if (list->embedded && list->capacity == kPresize) {
      BencListRecord* exact = MakeExact(*list, arena);
      Keep(list);
      return exact;
    }
    if (!list->embedded && list->count != 0 && list->size() != list->capacity) {
      list->data = static_cast<unsigned char*>(MyRealloc(list->data, list->size() * sizeof(BencEntity)));
      list->capacity = list->size();
    }
    return list;
  }

 private:
  static constexpr size_t kPresize = 16;
  static constexpr size_t kPresizeBytes = kPresize * sizeof(BencEntity);

  // Gives the elements of a full embedded list, 16 at the most, a block with room for 16.
  static void MoveOut(BencListRecord& list) {
    void* block = MyMalloc(kPresizeBytes);
    list.data = static_cast<unsigned char*>(memcpy(block, list.data, list.size() * sizeof(BencEntity)));
    list.capacity = kPresize;
    list.embedded = false;
  }

  static BencListRecord* MakeExact(const BencListRecord& list, RecordArena& arena) {
    const size_t bytes = list.size() * sizeof(BencEntity);
    BencListRecord* exact = new (arena.Allocate(sizeof(BencListRecord) + bytes)) BencListRecord;
    if (bytes != 0) {
      exact->embedded = true;
      exact->data = reinterpret_cast<unsigned char*>(exact + 1);
      memcpy(exact->data, list.data, bytes);
      exact->capacity = list.size();
      exact->count = list.count;
    }
    return exact;
  }

  void Keep(BencListRecord* list) {
    if (spare_) {
      DestroyRecord(list);
      return;
    }
    spare_ = new (list) BencListRecord;
  }

  BencListRecord* spare_ = nullptr;
};

}  // namespace core
