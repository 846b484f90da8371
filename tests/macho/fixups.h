// The words of a mapped image that depend on where it lies and on what it imports.
#pragma once

#include <vector>

#include "tests/macho/image.h"

namespace macho {

// Patches an image that has just been mapped at `base`, all of it writable. Imports are bound at once,
// also those that could wait for their first use.
class Fixups {
 public:
  Fixups(const File& file, uint8_t* base, const Resolver& resolve) : file_(file), base_(base), resolve_(resolve) {}

  // Throws a Refusal when a table is damaged, a word to patch lies outside the segments that are
  // writable, or an import cannot be resolved.
  void Apply();

  std::vector<Import> TakeImports() { return std::move(imports_); }

 private:
  enum class Table { kOrdinary, kWeak, kLazy };

  // Where the opcodes stand.
  struct Place {
    size_t segment = 0;
    uint64_t offset = 0;
  };
  struct Binding {
    Place place;
    int64_t library = 0;
    int64_t addend = 0;
    std::string symbol;
    bool optional = false;
  };

  // In fixups.cpp.
  uint8_t* Word(const Place& place) const;
  static void Advance(Place& place, uint64_t by);
  void Rebase(Place& place, uint64_t count, uint64_t skip);
  void RunRebasing(Cursor opcodes);
  uint64_t Resolve(int64_t library, const std::string& symbol, bool optional);
  void Bind(Binding& binding, Table table, uint64_t count, uint64_t skip);
  void RunBinding(Cursor opcodes, Table table);

  // In chained_fixups.cpp.
  void ApplyChained(Bytes table);
  std::vector<uint64_t> ResolveChained(Bytes table);
  void ApplySegment(Bytes starts, size_t segment, const std::vector<uint64_t>& imports);
  void FollowChain(Place place, uint64_t page_end, const std::vector<uint64_t>& imports);
  uint64_t Patched(uint64_t word, const std::vector<uint64_t>& imports) const;

  const File& file_;
  uint8_t* base_;
  const Resolver& resolve_;
  std::vector<Import> imports_;
};

}  // namespace macho
