// The formatter's rules, read anew: plain and slow, one character at a time.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

namespace format_model {

// One character of output, as the sink of its own width receives it.
struct Cell {
  bool wide;
  uint32_t code;  // a narrow character's byte, a wide one's unit
};

// What a run leaves: at most `limit` characters.
class Output {
 public:
  explicit Output(uint64_t limit) : limit_(limit) {}

  uint64_t Room() const { return limit_ - cells_.size(); }
  const std::vector<Cell>& cells() const { return cells_; }

  void Put(Cell cell);
  void Put(const std::string& text);
  void Repeat(char c, int64_t count);
  // Spaces until what was put since there were `start` characters spans `width`.
  void PadSince(size_t start, int64_t width);

 private:
  uint64_t limit_;
  std::vector<Cell> cells_;
};

// Runs `format`, which is wide or holds one byte to a unit, over arguments of eight bytes each: integers in
// the low bytes, doubles by their bits, an IPv6 address in two. Every directive must be complete.
Output Run(const std::u32string& format, bool wide, const std::vector<uint64_t>& arguments, uint64_t limit);

}  // namespace format_model
