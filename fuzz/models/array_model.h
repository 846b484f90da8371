// A model of the growable array: its elements in a std::deque, and the slots and the start of a deque's run as
// numbers beside them.
#pragma once

#include <stddef.h>

#include <algorithm>
#include <deque>
#include <string>

struct ArrayModel {
  std::deque<std::string> elements;
  size_t capacity = 0;
  ptrdiff_t start = 0;  // of the run of live elements; 0 in plain use

  size_t count() const { return elements.size(); }
  size_t free_slots() const { return capacity - count(); }

  void Resize(size_t n) {
    capacity = n == 0 ? 0 : std::max<size_t>(n, 16);
    if (n == 0) {
      elements.clear();
    }
  }
  void GrowForOne() {
    if (count() >= capacity) {
      Resize(std::max<size_t>(2 * capacity, 16));
    }
  }
  void GrowFor(size_t n) {
    if (count() + n > capacity) {
      Resize(std::max(2 * capacity, count() + n));
    }
  }

  // Whether half of the free slots, rounded up, is a move that stays in the block.
  bool CanRepartition(bool toward_front) const {
    const ptrdiff_t shift = Shift();
    const ptrdiff_t to = toward_front ? start - shift : start + shift;
    return shift != 0 && to >= 0 && to + static_cast<ptrdiff_t>(count()) <= static_cast<ptrdiff_t>(capacity) &&
           to < static_cast<ptrdiff_t>(capacity);
  }
  void Repartition(bool toward_front) { start += toward_front ? -Shift() : Shift(); }

  // A run that is empty may have kept a start that a new block does not reach.
  void BringStartBack() {
    if (count() == 0 && start > static_cast<ptrdiff_t>(capacity)) {
      start = 0;
    }
  }
  void PushBack(const std::string& element) {
    GrowForOne();
    BringStartBack();
    if (start + static_cast<ptrdiff_t>(count()) == static_cast<ptrdiff_t>(capacity)) {
      Repartition(true);
    }
    elements.push_back(element);
  }
  void PushFront(const std::string& element) {
    GrowForOne();
    BringStartBack();
    if (start == 0) {
      Repartition(false);
    }
    --start;
    elements.push_front(element);
  }
  void Compact() {
    capacity = count();
    start = count() == 0 ? start : 0;
  }

 private:
  ptrdiff_t Shift() const { return static_cast<ptrdiff_t>((free_slots() + 1) / 2); }
};
