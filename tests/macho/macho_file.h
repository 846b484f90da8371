// What a Mach-O bundle for x86-64 says about itself. Nothing is mapped or run here.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/macho/cursor.h"

namespace macho {

inline constexpr uint64_t kPageBytes = 4096;

struct Segment {
  static constexpr uint32_t kReadable = 1;
  static constexpr uint32_t kWritable = 2;
  static constexpr uint32_t kExecutable = 4;

  std::string name;
  uint64_t address;  // from the image's beginning, as all addresses here
  uint64_t size;     // in memory; what the file does not hold is zero
  Bytes contents;
  uint32_t protection;
  bool sealed;  // writable only until it has been fixed up
};

struct Section {
  std::string name;
  uint64_t address;
  uint64_t size;
  uint8_t kind;
};

struct Symbol {
  std::string name;
  uint64_t address;
};

// The tables of the older way to say what must be patched.
struct DyldInfo {
  Bytes rebase, bind, weak_bind, lazy_bind, exports;
};

struct File {
  std::vector<Segment> segments;  // by address, the first one at 0
  std::vector<Section> sections;
  std::vector<std::string> libraries;  // install names, in the order that imports count them
  std::vector<Symbol> symbols;         // those with an address, unless stripped
  std::optional<DyldInfo> info;        // either this
  std::optional<Bytes> chained;        // or this
  Bytes exports;

  // Bytes that the segments span.
  uint64_t Size() const { return segments.back().address + segments.back().size; }
};

// The slice for x86-64 of a universal file; a file that is not universal as it is. Throws a Refusal when
// there is none.
Bytes SliceOf(Bytes file);

// Reads a slice. Throws a Refusal when it is no bundle for x86-64, is cut short, or asks for anything
// that this loader does not do. The result refers to `slice`.
File Parse(Bytes slice);

}  // namespace macho
