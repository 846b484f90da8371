// The byte array behind dictionary keys and string values.
#pragma once

#include <string.h>

#include "core/record.h"
#include "core/templates.h"

namespace core {

// Bytes that are either owned, followed by one zero byte that is not counted, or borrowed from a
// buffer that must outlive the array (no terminator). The destructor frees owned bytes and forgets
// borrowed ones. Owned bytes may stand in the same block behind the array (embedded); they go with
// the block.
template <class T>
struct BencArray : LList<T> {
  static_assert(sizeof(T) == 1);

  bool borrowed = false;
  bool embedded = false;

  BencArray() = default;
  // A copy of owned bytes owns its own; a copy of borrowed bytes borrows the same.
  BencArray(const BencArray& other) {
    if (other.borrowed) {
      Borrow(other.begin(), other.size());
    } else {
      Assign(other.begin(), other.size());
    }
  }
  BencArray& operator=(const BencArray&) = delete;
  ~BencArray() {
    if (!borrowed && !embedded) {
      this->Free();
    }
  }

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
    memcpy(this->data, text, len);
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
};
static_assert(sizeof(BencArray<char>) == 32);

// Compares two keys: their common length as bytes up to a zero byte that both have, then the
// shorter first. Negative, zero or positive.
// On purpose: keys that agree up to a common zero byte and have equal lengths are equal.
inline int CompareKeys(const char* a, size_t a_len, const char* b, size_t b_len) {
  const int order = strncmp(a, b, a_len < b_len ? a_len : b_len);
  if (order != 0) {
    return order;
  }
  return a_len < b_len ? -1 : a_len > b_len;
}

inline bool operator<(const BencArray<char>& a, const BencArray<char>& b) {
  return CompareKeys(a.begin(), a.size(), b.begin(), b.size()) < 0;
}

}  // namespace core
