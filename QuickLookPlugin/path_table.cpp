#include "QuickLookPlugin/path_table.h"

#include "core/base/mem1.h"

namespace reader {

namespace {

constexpr size_t kMinCapacity = 16;

// The upper half of the hash, to pass by other keys without looking at their entries. The lower half
// says where to begin.
uint32_t TagOf(uint64_t hash) { return static_cast<uint32_t>(hash >> 32); }

}  // namespace

struct Slot {
  uint32_t tag;
  uint32_t position;  // of the entry, counted from 1; 0 when the slot is free
};

void PathTable::Reserve(size_t count) {
  size_t wanted = capacity == 0 ? kMinCapacity : capacity;
  while (wanted < count) {
    wanted *= 2;
  }
  if (wanted != capacity) {
    Grow(wanted);
  }
}

PathEntry* PathTable::Find(uint64_t hash, const void* key, Same same) const {
  if (capacity == 0) {
    return nullptr;
  }
  const size_t mask = SlotCount() - 1;
  for (size_t i = hash & mask; slots[i].position != 0; i = (i + 1) & mask) {
    if (slots[i].tag != TagOf(hash)) {
      continue;
    }
    PathEntry& entry = entries[slots[i].position - 1];
    if (entry.key && entry.hash == hash && same(entry.key, key)) {
      return &entry;
    }
  }
  return nullptr;
}

PathEntry* PathTable::Add(uint64_t hash, void* key) {
  if (used == capacity) {
    Grow(live >= capacity / 2 ? (capacity == 0 ? kMinCapacity : capacity * 2) : capacity);
  }
  entries[used] = {key, nullptr, 0, hash};
  Index(used);
  ++live;
  return &entries[used++];
}

// The slot stays taken, so that the search for keys behind it still passes by.
void PathTable::Remove(PathEntry* entry) {
  entry->key = nullptr;
  entry->value = nullptr;
  --live;
}

void PathTable::Grow(size_t new_capacity) {
  size_t kept = 0;
  for (size_t i = 0; i < used; ++i) {
    if (entries[i].key) {
      entries[kept++] = entries[i];
    }
  }
  used = kept;
  capacity = new_capacity;
  entries = static_cast<PathEntry*>(core::MyRealloc(entries, capacity * sizeof(PathEntry)));
  core::MyFree(slots);
  slots = static_cast<Slot*>(core::MyCalloc(SlotCount(), sizeof(Slot)));
  for (size_t i = 0; i < used; ++i) {
    Index(i);
  }
}

void PathTable::Index(size_t position) {
  const size_t mask = SlotCount() - 1;
  size_t i = entries[position].hash & mask;
  while (slots[i].position != 0) {
    i = (i + 1) & mask;
  }
  slots[i] = {TagOf(entries[position].hash), static_cast<uint32_t>(position + 1)};
}

void PathTable::Free() {
  core::MyFree(entries);
  core::MyFree(slots);
  *this = PathTable();
}

}  // namespace reader
