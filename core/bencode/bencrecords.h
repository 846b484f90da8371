// The records that the decoder and the copier make in an arena.
#pragma once

#include "core/base/record.h"
#include "core/bencode/bencoding.h"

namespace core {

// An array that owns a copy of the bytes, or borrows them.

inline BencArray<unsigned char>* NewOwnedBytes(RecordArena& arena, const unsigned char* text, size_t len) {
  using Bytes = BencArray<unsigned char>;
  return arena.MakeWithTail<Bytes>(len + 1, [&](void* tail) {
    return Bytes(EmbeddedBytes<unsigned char>{tail, text, len});
  });
}

inline BencArray<unsigned char>* NewBorrowedBytes(RecordArena& arena, const unsigned char* text, size_t len) {
  return arena.Make<BencArray<unsigned char>>(BorrowedBytes<unsigned char>{text, len});
}

// An entry without a value, under a key that owns a copy of the bytes, or borrows them.

inline BencDictMap::Entry* NewOwnedEntry(RecordArena& arena, const char* key, size_t len) {
  using Entry = BencDictMap::Entry;
  return arena.MakeWithTail<Entry>(len + 1, [&](void* tail) {
    return Entry(BencDictMap::value_type::KeyFrom(), EmbeddedBytes<char>{tail, key, len});
  });
}

inline BencDictMap::Entry* NewBorrowedEntry(RecordArena& arena, const char* key, size_t len) {
  return arena.Make<BencDictMap::Entry>(BencDictMap::value_type::KeyFrom(), BorrowedBytes<char>{key, len});
}

// A list with room for exactly `count` elements and none yet.
inline BencListRecord* NewList(RecordArena& arena, size_t count) {
  BencListRecord* list =
      arena.MakeWithTail<BencListRecord>(count * sizeof(BencEntity), [](void*) { return BencListRecord(); });
  if (count != 0) {
    list->embedded = true;
    list->data = reinterpret_cast<unsigned char*>(list + 1);
    list->capacity = count;
  }
  return list;
}

}  // namespace core
