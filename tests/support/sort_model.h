// A model of the sort that works on a list of keys and writes down what it compares, and records of
// any width to sort.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "core/util/util_sort.h"

namespace sort_model {

// The positions that were compared, in order.
using Trace = std::vector<std::pair<ptrdiff_t, ptrdiff_t>>;

// What a comparison of two keys gives; a function that lies may ignore them.
using Order = std::function<int(int, int)>;

inline int Honest(int a, int b) { return a < b ? -1 : a > b; }

// Sorts positions lo to hi of `keys`, both included. One call per range; which of two parts comes
// first is all that is left of the order of the ranges.
inline void SortRange(std::vector<int>& keys, ptrdiff_t lo, ptrdiff_t hi, const Order& order, Trace& trace) {
  const auto at = [&keys](ptrdiff_t i) -> int& { return keys[static_cast<size_t>(i)]; };
  const auto compare = [&](ptrdiff_t a, ptrdiff_t b) {
    trace.emplace_back(a, b);
    return order(at(a), at(b));
  };
  if (hi - lo + 1 <= 6) {
    for (; hi > lo; --hi) {
      ptrdiff_t max = lo;
      for (ptrdiff_t p = lo + 1; p <= hi; ++p) {
        max = compare(p, max) > 0 ? p : max;
      }
      std::swap(at(max), at(hi));
    }
    return;
  }
  std::swap(at(lo + (hi - lo + 1) / 2), at(lo));
  ptrdiff_t low = lo + 1;
  ptrdiff_t high = hi;
  for (;; ++low, --high) {
    while (low <= hi && compare(low, lo) <= 0) {
      ++low;
    }
    while (high > lo && compare(high, lo) >= 0) {
      --high;
    }
    if (high < low) {
      break;
    }
    std::swap(at(low), at(high));
  }
  std::swap(at(lo), at(high));
  const bool left_first = high - lo < hi - low + 1;
  if (left_first) {
    SortRange(keys, lo, high - 1, order, trace);
  }
  SortRange(keys, low, hi, order, trace);
  if (!left_first) {
    SortRange(keys, lo, high - 1, order, trace);
  }
}

inline Trace Sort(std::vector<int>& keys, const Order& order = Honest) {
  Trace trace;
  if (keys.size() >= 2) {
    SortRange(keys, 0, static_cast<ptrdiff_t>(keys.size()) - 1, order, trace);
  }
  return trace;
}

// Compares records of one array by an order over their addresses, and notices addresses that are no
// record of the array.
class Checked : public core::SortCompareBase {
 public:
  using Compare = std::function<int(const void*, const void*)>;

  Checked(const void* base, size_t count, size_t width, Compare compare)
      : base_(reinterpret_cast<uintptr_t>(base)), count_(count), width_(width), compare_(std::move(compare)) {}

  int operator()(const void* a, const void* b) const override {
    ++calls_;
    const bool inside = IsRecord(a) && IsRecord(b);
    strays_ += inside ? 0 : 1;
    if (keep_trace_) {
      trace_.emplace_back(Position(a), Position(b));
    }
    return inside ? compare_(a, b) : 0;
  }

  void KeepTrace() { keep_trace_ = true; }
  const Trace& trace() const { return trace_; }
  size_t calls() const { return calls_; }
  size_t strays() const { return strays_; }

 private:
  bool IsRecord(const void* p) const {
    const uintptr_t offset = reinterpret_cast<uintptr_t>(p) - base_;
    return offset % width_ == 0 && offset / width_ < count_;
  }
  ptrdiff_t Position(const void* p) const {
    return static_cast<ptrdiff_t>((reinterpret_cast<uintptr_t>(p) - base_) / width_);
  }

  uintptr_t base_;
  size_t count_;
  size_t width_;
  Compare compare_;
  bool keep_trace_ = false;
  mutable Trace trace_;
  mutable size_t calls_ = 0;
  mutable size_t strays_ = 0;
};

}  // namespace sort_model
