// The byte array behind dictionary keys and string values.
#pragma once

#include <string.h>

#include "core/base/record.h"
#include "core/containers/templates.h"

namespace core {

// Bytes for an array's constructor: to be copied to `room`, which has space for one more.
template <class T>
struct EmbeddedBytes {
  void* room;
  const T* text;
  size_t len;
};

// Bytes for an array's constructor: to be pointed at.
template <class T>
struct BorrowedBytes {
  const T* text;
  size_t len;
};

// Bytes that are either owned, followed by one zero byte that is not counted, or borrowed from a
// buffer that must outlive the array (no terminator). The destructor frees owned bytes and forgets
// borrowed ones. Owned bytes may stand in the same block behind the array (embedded); they go with
// the block.
template <class T>
struct BencArray : LList<T>, Record {
  static_assert(sizeof(T) == 1);

  static constexpr bool kOrderedByCompare = true;  // as the key of a Map

  bool borrowed = false;
  bool embedded = false;
  RecordOrigin from = kSingle;

  BencArray() = default;
  // A copy of owned bytes owns its own; a copy of borrowed bytes borrows the same.
  BencArray(const BencArray& other) {
    if (other.borrowed) {
      Borrow(other.begin(), other.size());
    } else {
      Assign(other.begin(), other.size());
    }
  }
  explicit BencArray(const EmbeddedBytes<T>& bytes) { Embed(bytes.room, bytes.text, bytes.len); }
  explicit BencArray(const BorrowedBytes<T>& bytes) { Borrow(bytes.text, bytes.len); }
  // Takes the bytes of `other`, which is left empty.
  explicit BencArray(BencArray* other) {
    if (other->embedded) {
      Assign(other->begin(), other->size());
      other->Clear();
      return;
    }
    this->Swap(*other);
    std::swap(borrowed, other->borrowed);
  }
  BencArray& operator=(const BencArray&) = delete;
  ~BencArray() {
    if (!borrowed && !embedded) {
      this->Free();
    }
  }

  RecordOrigin& origin() { return from; }

  // Makes an empty array own a terminated copy of the `len` bytes at `text`.
  // Requires: the array is empty and has no block.
  void Assign(const T* text, size_t len) {
    this->Resize(len + 1);
    if (len != 0) {
      memcpy(this->data, text, len);
    }
    this->data[len] = 0;
    this->count = static_cast<ptrdiff_t>(len);
  }

  // The same with the bytes at `room`, which has space for len + 1 of them in the array's own block.
  void Embed(void* room, const T* text, size_t len) {
    embedded = true;
    this->data = static_cast<unsigned char*>(room);
    this->capacity = len + 1;
    this->count = static_cast<ptrdiff_t>(len);
    if (len != 0) {
      memcpy(this->data, text, len);
    }
    this->data[len] = 0;
  }

  // Makes an empty array point at the `len` bytes at `text`.
  // Requires: the array is empty and has no block.
  void Borrow(const T* text, size_t len) {
    borrowed = true;
    this->data = const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(text));
    this->capacity = len;
    this->count = static_cast<ptrdiff_t>(len);
  }

  // Makes the array empty: it owns its bytes and has none.
  void Clear() {
    if (borrowed || embedded) {
      this->StealArray(nullptr);
      borrowed = false;
      embedded = false;
    } else {
      this->Resize(0);
    }
  }

  // Makes an empty array own the `len` bytes at the start of `block`, which has `room` bytes and comes
  // from the library's allocator.
  // Requires: the array is empty and has no block.
  void Adopt(void* block, size_t room, size_t len) {
    this->SetArray(block, room, 1);
    this->SetCount(static_cast<ptrdiff_t>(len));
  }

  // Compares two keys: their common length as bytes up to a zero byte that both have, then the
  // shorter first, by the whole lengths. Negative, zero or positive.
  // On purpose: keys that agree up to a common zero byte and have equal lengths are equal.
  int Compare(const BencArray& other) const {
    const size_t common = this->size() < other.size() ? this->size() : other.size();
    const int order = common == 0 ? 0
                                  : strncmp(reinterpret_cast<const char*>(this->data),
                                            reinterpret_cast<const char*>(other.data), common);
    if (order != 0) {
      return order;
    }
    return this->size() < other.size() ? -1 : this->size() > other.size();
  }
};
static_assert(sizeof(BencArray<char>) == 32);

template <class T>
bool operator<(const BencArray<T>& a, const BencArray<T>& b) {
  return a.Compare(b) < 0;
}

}  // namespace core
