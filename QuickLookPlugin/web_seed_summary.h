// A one-line summary of a torrent's web seeds.
#pragma once

#include <stddef.h>

namespace reader {

// "first, second, ..." in a fixed buffer. What still fits whole is added; the first text that does
// not fit is replaced by ", ..." and ends the line.
class WebSeedSummary {
 public:
  // Adds the text that stands at `index` of the list.
  // On purpose: the separator depends on the index, not on whether anything was added before, and a
  // text counts with its whole length although a zero byte inside it blanks the rest.
  void Add(size_t index, const char* text, size_t len);

  // The line so far; it ends at the first zero byte.
  const char* text() const { return text_; }

 private:
  static constexpr size_t kSize = 1024;
  static constexpr size_t kBudget = kSize - 6;  // leaves room for ", ..." and its terminator

  void Append(const char* text, size_t len);

  char text_[kSize] = {};
  size_t used_ = 0;
  size_t budget_ = kBudget;  // used_ + budget_ = kBudget until the line has ended, then 0
};

}  // namespace reader
