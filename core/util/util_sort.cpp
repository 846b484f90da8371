#include "core/util/util_sort.h"

#include <string.h>

namespace core {
namespace {

// Ranges of at most so many records are finished by selection.
constexpr size_t kSelected = 6;

template <class Word>
void ExchangeWords(unsigned char* a, unsigned char* b) {
  Word x;
  Word y;
  memcpy(&x, a, sizeof x);
  memcpy(&y, b, sizeof y);
  memcpy(a, &y, sizeof y);
  memcpy(b, &x, sizeof x);
}

// Exchanges two records in the widest words that fit; a record is not exchanged with itself.
void Exchange(unsigned char* a, unsigned char* b, size_t width) {
  if (a == b) {
    return;
  }
  for (; width >= sizeof(uint64_t); width -= sizeof(uint64_t)) {
    ExchangeWords<uint64_t>(a, b);
    a += sizeof(uint64_t);
    b += sizeof(uint64_t);
  }
  if (width >= sizeof(uint32_t)) {
    ExchangeWords<uint32_t>(a, b);
    a += sizeof(uint32_t);
    b += sizeof(uint32_t);
    width -= sizeof(uint32_t);
  }
  for (; width != 0; --width) {
    ExchangeWords<unsigned char>(a++, b++);
  }
}

// Whole records from `lo` up to, not including, `end`.
struct Range {
  unsigned char* lo;
  unsigned char* end;

  size_t bytes() const { return static_cast<size_t>(end - lo); }
};

// The ranges that still have to be sorted.
//
// Of two parts the larger one is pushed and the smaller one goes on, with less than half of the
// records. So a range above n pending ones has fewer than 2^(32 - n) records, and as a range of six
// is not split, the one above 29 is the last that can push.
class Pending {
 public:
  bool empty() const { return count_ == 0; }
  void Push(const Range& range) { ranges_[count_++] = range; }
  Range Pop() { return ranges_[--count_]; }

 private:
  Range ranges_[30];
  int count_ = 0;
};

class Sorter {
 public:
  Sorter(size_t width, const SortCompareBase& compare) : width_(width), compare_(compare) {}

  void Sort(const Range& whole);

 private:
  void Select(Range range) const;
  Range Split(const Range& range);
  // Puts the larger of two ranges aside and returns the smaller one.
  Range PushLarger(const Range& left, const Range& right);
  bool HasWork(const Range& range) const { return range.bytes() > width_; }

  const size_t width_;
  const SortCompareBase& compare_;
  Pending pending_;
};

void Sorter::Sort(const Range& whole) {
  Range range = whole;
  for (;;) {
    while (range.bytes() / width_ > kSelected) {
      range = Split(range);
    }
    Select(range);
    if (pending_.empty()) {
      return;
    }
    range = pending_.Pop();
  }
}

// Brings the greatest record to the end, the first of equal ones, then the next one before it.
void Sorter::Select(Range range) const {
  while (HasWork(range)) {
    unsigned char* greatest = range.lo;
    for (unsigned char* p = range.lo + width_; p != range.end; p += width_) {
      if (compare_(p, greatest) > 0) {
        greatest = p;
      }
    }
    range.end -= width_;
    Exchange(greatest, range.end, width_);
  }
}

// Parts the records at the middle one and returns the part to go on with. Both cursors stop at the
// ends of the range by themselves: the comparison may not be trusted to stop them.
Range Sorter::Split(const Range& range) {
  unsigned char* const lo = range.lo;
  Exchange(lo + range.bytes() / width_ / 2 * width_, lo, width_);
  unsigned char* up = lo;
  unsigned char* down = range.end;
  for (;;) {
    do {
      up += width_;
    } while (up != range.end && compare_(up, lo) <= 0);
    do {
      down -= width_;
    } while (down != lo && compare_(down, lo) >= 0);
    if (down < up) {
      break;
    }
    Exchange(up, down, width_);
  }
  Exchange(lo, down, width_);
  return PushLarger({lo, down}, {up, range.end});
}

Range Sorter::PushLarger(const Range& left, const Range& right) {
  const bool left_is_larger = left.bytes() >= right.bytes();
  const Range& larger = left_is_larger ? left : right;
  if (HasWork(larger)) {
    pending_.Push(larger);
  }
  return left_is_larger ? right : left;
}

}  // namespace

void QuickSort(void* base, uint32_t count, uint32_t width, const SortCompareBase& compare) {
  if (count < 2 || width == 0) {
    return;
  }
  auto* const lo = static_cast<unsigned char*>(base);
  Sorter(width, compare).Sort({lo, lo + size_t{count} * width});
}

void QuickSort(void* base, uint32_t count, uint32_t width, int (*compare)(const void* a, const void* b)) {
  QuickSort(base, count, width, SortCompareLegacy<void>(compare));
}

int32_t qfind(const void* base, uint32_t count, uint32_t width, uint32_t key,
              int (*compare)(const void* record, uint32_t key)) {
  const auto* const first = static_cast<const unsigned char*>(base);
  uint32_t lo = 0;
  uint32_t hi = count;
  while (lo != hi) {
    const uint32_t mid = lo + (hi - lo - 1) / 2;  // lo + hi may not fit
    if (compare(first + size_t{mid} * width, key) < 0) {
      lo = mid + 1;
    } else {
      hi = mid;
    }
  }
  const bool found = lo != count && compare(first + size_t{lo} * width, key) == 0;
  return static_cast<int32_t>(found ? lo : ~lo);
}

}  // namespace core
