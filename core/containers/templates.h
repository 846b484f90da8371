// The growable array and the stack budget.
//
// LListRaw knows nothing about its elements: their size is passed to every call that needs it, and
// they are moved as raw bytes, never constructed, copied or destroyed; the owner frees what they
// hold. LList<T> is the typed view. An array belongs to one thread at a time.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <type_traits>

#include "core/base/fatal.h"

namespace core {

// The bytes that callers may put on the stack are bounded by half of this: the process's finite soft
// stack limit, read once, or 500000. Safe to call from any thread.
size_t GetMaxStackSize();

struct LListRaw {
  unsigned char* data = nullptr;  // from the library's allocator; null when never allocated
  size_t capacity = 0;            // element slots in the block, which holds capacity * elemsize bytes
  ptrdiff_t count = 0;            // live elements, at slots 0 to count - 1 in plain use

  // A zero-filled object is the valid empty array. There is no destructor: the owner calls Free.
  LListRaw() = default;
  LListRaw(const LListRaw&) = delete;
  LListRaw& operator=(const LListRaw&) = delete;

  // Every call on one array passes the same `elemsize`, the bytes of one element. Whatever adds or
  // removes slots invalidates pointers into the array. A byte size that does not fit stops the process
  // in the allocator.

  // Makes room for max(n, 16) elements, growing or shrinking the block. `n` = 0 frees the block and
  // zeroes all fields.
  // On purpose: otherwise `count` is not touched. Set it right when `n` is
  // below it.
  void Resize(size_t n, size_t elemsize);

  // Makes room for at least `n` elements in all. Never shrinks.
  void Guarantee(size_t n, size_t elemsize);

  // Appends the `n` elements at `source` and returns the address of the first new slot. The source may
  // lie in this array. A full block grows to twice its slots or to what is needed, if that is more.
  // Requires: n >= 0.
  void* Append(const void* source, ptrdiff_t n, size_t elemsize);

  // Appends one slot, uninitialised, and returns its address. A full block doubles, to 16 slots at
  // least. Cost: amortised constant, without a call while there is room.
  void* Append(size_t elemsize);

  // Appends `n` slots, uninitialised, and returns the address of the first. Grows as Append of a block.
  // Requires: n >= 0.
  void* Expand(ptrdiff_t n, size_t elemsize);

  // Opens a gap of one element at `index` and returns the address of the slot, which still holds its
  // former bytes: overwrite it. Grows as Append of one slot.
  // Requires: 0 <= index <= count.
  // Cost: moves the elements from `index` on; amortised constant at the end.
  void* Insert(ptrdiff_t index, size_t elemsize);

  // Removes the element at `index` by moving the last one into its place; the order is not kept.
  // Returns false when it was the last one, so that nothing moved.
  // Requires: 0 <= index < count.
  bool MoveUpLast(ptrdiff_t index, size_t elemsize);

  // Removes `n` elements from `index` on and keeps the order of the rest. The block keeps its size.
  // Requires: index >= 0, n >= 0, index + n <= count.
  // Cost: moves the elements behind the removed ones.
  void RemoveElements(ptrdiff_t index, ptrdiff_t n, size_t elemsize);

  // Drops the last element. Requires: count != 0.
  void pop_back();

  // Returns the lowest index whose element `equal` accepts, or -1.
  ptrdiff_t LookupElement(const void* key, size_t elemsize, bool (*equal)(const void* key, const void* element)) const;

  // LookupElement for a caller who knows that the element is there.
  // Requires: it is; a miss is fatal.
  ptrdiff_t LookupElementExist(const void* key, size_t elemsize,
                               bool (*equal)(const void* key, const void* element)) const;

  // Makes this array a byte copy of `other`, with the capacity of `other`; assigning an array to
  // itself changes nothing, and a never allocated source frees this one.
  void assign(const LListRaw& other, size_t elemsize);

  // Exchanges the two arrays without touching their elements.
  void Swap(LListRaw& other);

  // Adopts a block of `bytes` bytes from the library's allocator; each whole element in it is live.
  // Requires: elemsize != 0.
  // On purpose: the previous block is not freed; free or steal it first.
  void SetArray(void* block, size_t bytes, size_t elemsize);

  // Hands the block to the caller, who frees it with MyFree, and leaves the array empty. The count goes
  // to `count_out` unless that is null.
  void* StealArray(size_t* count_out);

  // Frees the block of an array that is about to disappear.
  // On purpose: `data` and `capacity` stay as they were. To go on using an array call Resize(0, ...).
  void Free();

  // Declares `n` elements live, when the caller has filled or dropped slots itself.
  // Requires: n >= 0, and a block with that many slots.
  void SetCount(ptrdiff_t n);

  // Returns a new string, freed with MyFree: `prefix`, then the text of each element with "," between
  // them. With `url_encode` everything behind the prefix is URL-encoded, the commas included.
  //
  // The URL-encoded form goes through str_fmt: the text ends at the first zero byte of an element's text,
  // and the result is cut at kAllocFormatLimit characters.
  // Requires: with `url_encode`, three times the text that is joined and not cut is below half of
  // GetMaxStackSize() (see fmt_urlencoded).
  //
  // `format` writes the text of `element` to `dst`, at most `room` bytes and a terminator, and returns
  // the bytes it wrote without the terminator. The room is at least 9 bytes for each element and never
  // asked for again: longer text is cut by the formatter. `stride` is the element size.
  char* AsStringNoCheck(const char* prefix, bool url_encode, int stride,
                        int (*format)(char* dst, int room, const void* element)) const;

  // The array as a double-ended queue: the live elements occupy the slots from `start` on. `start`
  // belongs to the caller, begins as 0 and is passed to each of these calls, which update it. Drop the
  // last element with pop_back, the first with SetCount(count - 1) and ++start.
  // Requires: 0 <= start and start + count <= capacity, unless count is 0. A block of one slot, which
  // only LDCompact makes, takes no LDpush_front while it is empty: Resize it first.

  // Adds a slot, uninitialised, behind the last element or before the first and returns its address.
  // Cost: a run that reached its end of the block moves by half of the free slots. That is logarithmic on
  // average while the array only grows; in a queue that is kept nearly full each push may move the whole run.
  void* LDpush_back(size_t elemsize, ptrdiff_t& start);
  void* LDpush_front(size_t elemsize, ptrdiff_t& start);

  // Moves the run by half of the free slots, towards slot 0 or away from it.
  // Requires: there is a free slot, the run stays in the block, and its new start fits 31 bits.
  void LDRepartition(size_t elemsize, ptrdiff_t& start, bool toward_front);

  // Moves the run to slot 0 and shrinks the block to exactly its elements, below 16 slots too. An empty
  // array is freed.
  // On purpose: then `start` is left as it is; the next push copes with one that its block does not
  // reach.
  void LDCompact(size_t elemsize, ptrdiff_t& start);

 private:
  unsigned char* SlotAt(ptrdiff_t index, size_t elemsize) const { return data + static_cast<size_t>(index) * elemsize; }
  void GrowForOne(size_t elemsize);
  bool CanAdd(ptrdiff_t n) const;
  void* AddSlots(ptrdiff_t n, size_t elemsize);
  bool RunFits(ptrdiff_t start) const;
  void ReserveForPush(size_t elemsize, ptrdiff_t& start);
};
static_assert(sizeof(LListRaw) == 24);

inline void* LListRaw::Append(size_t elemsize) {
  if (static_cast<size_t>(count) >= capacity) [[unlikely]] {
    GrowForOne(elemsize);
  }
  return SlotAt(count++, elemsize);
}

inline void LListRaw::SetCount(ptrdiff_t n) {
  AssertAt(n >= 0, "core/templates", 332);
  count = n;
}

// LListRaw with the element type's size passed along; adds no fields. T must be movable as bytes.
template <class T>
struct LList : LListRaw {
  T* begin() { return reinterpret_cast<T*>(data); }
  T* end() { return begin() + count; }
  const T* begin() const { return reinterpret_cast<const T*>(data); }
  const T* end() const { return begin() + count; }
  T& operator[](ptrdiff_t i) { return begin()[i]; }
  const T& operator[](ptrdiff_t i) const { return begin()[i]; }
  size_t size() const { return static_cast<size_t>(count); }
  T& back() {
    AssertAt(count != 0, "core/templates", 514);
    return end()[-1];
  }

  void Resize(size_t n) { LListRaw::Resize(n, sizeof(T)); }
  void Guarantee(size_t n) { LListRaw::Guarantee(n, sizeof(T)); }
  T* Append(const T* source, ptrdiff_t n) { return static_cast<T*>(LListRaw::Append(source, n, sizeof(T))); }
  T* Append() { return static_cast<T*>(LListRaw::Append(sizeof(T))); }
  // There for elements that are their bytes alone. One that owns something is made by its user, in the slot
  // that Append() gives: an assignment would free what that slot held before.
  void push_back(const T& value) requires std::is_trivially_copyable_v<T> {
    const T copy = value;  // `value` may live in this array's block, which Append may move
    *Append() = copy;
  }
  T* Expand(ptrdiff_t n) { return static_cast<T*>(LListRaw::Expand(n, sizeof(T))); }
  T* Insert(ptrdiff_t index) { return static_cast<T*>(LListRaw::Insert(index, sizeof(T))); }
  bool MoveUpLast(ptrdiff_t index) { return LListRaw::MoveUpLast(index, sizeof(T)); }
  void RemoveElements(ptrdiff_t index, ptrdiff_t n) { LListRaw::RemoveElements(index, n, sizeof(T)); }
};

}  // namespace core

#include "core/containers/templates_map.h"  // the ordered map, the other container
