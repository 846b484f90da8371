// The lists that a decode is filling.
#pragma once

#include <string.h>

#include <new>

#include "core/base/mem1.h"
#include "core/base/record.h"
#include "core/bencode/bencrecords.h"

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
      RecordReleaser().Destroy(spare_);
    }
  }

  BencListRecord* Open() {
    BencListRecord* list = spare_;
    spare_ = nullptr;
    if (!list) {
      list = ::new (MyMalloc(sizeof(BencListRecord) + kPresizeBytes)) BencListRecord;
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
      list.Detach(small ? kPresize : list.capacity);
    } else if (small) {
      list.Resize(kPresize);
    }
    return new (list.LList<BencEntity>::Append()) BencEntity;
  }

  // Leaves the list with storage for exactly its elements and returns its record, which may be a new
  // one.
  BencListRecord* Close(BencListRecord* list, RecordArena& arena) {
    if (list->embedded && list->origin() == kSingle) {  // as Open() made it
      BencListRecord* exact = MakeExact(*list, arena);
      Keep(list);
      return exact;
    }
    if (list->count != 0 && list->size() != list->capacity) {
      if (!list->embedded) {
        list->data = static_cast<unsigned char*>(MyRealloc(list->data, list->size() * sizeof(BencEntity)));
      }
      list->capacity = list->size();
    }
    return list;
  }

 private:
  static constexpr size_t kPresize = 16;
  static constexpr size_t kPresizeBytes = kPresize * sizeof(BencEntity);

  static BencListRecord* MakeExact(const BencListRecord& list, RecordArena& arena) {
    BencListRecord* exact = NewList(arena, list.size());
    if (list.count != 0) {
      memcpy(exact->data, list.data, list.size() * sizeof(BencEntity));
      exact->count = list.count;
    }
    return exact;
  }

  void Keep(BencListRecord* list) {
    if (spare_) {
      RecordReleaser().Destroy(list);
      return;
    }
    spare_ = ::new (list) BencListRecord;
  }

  BencListRecord* spare_ = nullptr;
};

}  // namespace core
