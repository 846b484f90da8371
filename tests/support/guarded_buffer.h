// An output buffer that notices writes outside it.
#pragma once

#include <stddef.h>

#include <vector>

// A buffer of `size` characters between guard characters. Nothing may be written outside it.
template <class C>
class GuardedBuffer {
 public:
  explicit GuardedBuffer(size_t size) : size_(size), cells_(size + 2 * kGuard, kFill) {}

  C* buf() { return cells_.data() + kGuard; }
  size_t size() const { return size_; }
  bool GuardsHold() const { return AllFill(0, kGuard) && AllFill(kGuard + size_, cells_.size()); }
  // What stands behind the first `n` characters is as it was.
  bool UntouchedFrom(size_t n) const { return AllFill(kGuard + n, cells_.size()); }

 private:
  static constexpr size_t kGuard = 16;
  static constexpr C kFill = 0x5A;

  bool AllFill(size_t begin, size_t end) const {
    for (size_t i = begin; i < end; ++i) {
      if (cells_[i] != kFill) {
        return false;
      }
    }
    return true;
  }

  size_t size_;
  std::vector<C> cells_;
};
