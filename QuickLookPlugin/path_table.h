// The table behind the reader's dictionary of files: opaque keys found by hash, kept in the order in
// which they came.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace reader {

struct PathEntry {
  void* key;    // null when removed
  void* value;  // the owner's, as is the key
  long long number;
  uint64_t hash;
};

// All-zero is an empty table; there is no constructor. The table holds pointers and owns nothing but
// its own two blocks: the owner frees keys and values, then calls Free.
struct PathTable {
  using Same = bool (*)(const void* key, const void* other);

  PathEntry* entries;  // in order of insertion, removed ones included until the table grows
  struct Slot* slots;  // open addressing, at least twice as many as entries; the number a power of 2
  size_t used;         // entries in use, removed ones included
  size_t capacity;
  size_t live;  // keys in the table

  // Makes room for `count` entries in all.
  void Reserve(size_t count);

  // The entry under `key`, whose hash is `hash`; null when there is none. `same` is asked only about
  // keys of an equal hash. Valid until the entry is removed or the table is added to, reserved or freed.
  PathEntry* Find(uint64_t hash, const void* key, Same same) const;

  // Adds a key and returns its entry, with no value and the number 0. Other entries are invalidated.
  // Requires: the key is not null and not in the table.
  PathEntry* Add(uint64_t hash, void* key);

  // Empties an entry; those that follow keep their order.
  void Remove(PathEntry* entry);

  void Free();

 private:
  void Grow(size_t new_capacity);
  void Index(size_t position);
  size_t SlotCount() const { return capacity * 2; }
};

}  // namespace reader
