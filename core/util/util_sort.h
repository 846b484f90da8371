// Sorting and searching in arrays of records of any one width, through comparisons of the caller's.
//
// Nothing here keeps state, allocates, or puts records on the stack: safe to call from any thread,
// as long as the comparison is and no other thread writes to the array.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace core {

// The order to sort by, as an object.
class SortCompareBase {
 public:
  // Returns a negative number, zero or a positive number as record `a` belongs before, with or after
  // record `b`. Both lie in the array that is being sorted; they may be the same, and neither may be
  // changed or kept.
  virtual int operator()(const void* a, const void* b) const = 0;
  virtual ~SortCompareBase() = default;
};

// The order to sort by, as a plain function over records of type T, or of a width alone.
template <class T>
class SortCompareLegacy final : public SortCompareBase {
 public:
  explicit SortCompareLegacy(int (*compare)(const T* a, const T* b)) : compare_(compare) {}

  int operator()(const void* a, const void* b) const override {
    return compare_(static_cast<const T*>(a), static_cast<const T*>(b));
  }

 private:
  int (*compare_)(const T* a, const T* b);
};

// Sorts the `count` records of `width` bytes each at `base`, ascending by `compare`.
//
// Equal records end in no particular order. Fewer than two records, or a width of 0, leave
// everything alone and compare nothing. A comparison that contradicts itself gives some order of the
// same records; it is never called with anything outside the array.
// Cost: a quicksort (C. A. R. Hoare, 1962) with the middle record as the pivot. Distinct keys take about
// 1.4 count log2 count comparisons, also when they are sorted or reversed, and equal ones 2 count; but
// count squared / 2 when the middle one is the greatest at every split. So do many records of few
// distinct keys: zeros and ones take count squared / 4 in random order and / 2 in descending order. Do
// not sort by it what strangers choose. Uses a fixed kilobyte of stack whatever the count and the width.
void QuickSort(void* base, uint32_t count, uint32_t width, const SortCompareBase& compare);
void QuickSort(void* base, uint32_t count, uint32_t width, int (*compare)(const void* a, const void* b));

// Searches the `count` records of `width` bytes each at `base` for `key`.
//
// `compare` returns a negative number, zero or a positive number as the record belongs before, with
// or after the key. Returns the index of the first record that compares equal, and otherwise the
// bitwise complement of the index where such a record would have to be inserted: -1 for an empty
// array, -count - 1 when the key is greater than every record.
// Requires: the records are sorted in the same order. With another order, or a comparison that
// contradicts itself, the result means nothing, but still lies between -count - 1 and count - 1.
// With more than 2^31 - 1 records the index no longer fits the result.
// Cost: at most log2 count + 2 comparisons.
int32_t qfind(const void* base, uint32_t count, uint32_t width, uint32_t key,
              int (*compare)(const void* record, uint32_t key));

}  // namespace core
