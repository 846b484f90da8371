// The newer way to say what must be patched: in each page the words form a chain, and each word says
// both what becomes of it and how far the next one is.
#include <string.h>

#include "tests/macho/fixups.h"

namespace macho {
namespace {

constexpr char kWhat[] = "the chained fixups";
constexpr uint16_t kNoChain = 0xFFFF;
constexpr uint16_t kPointer64 = 2;        // targets are addresses
constexpr uint16_t kPointer64Offset = 6;  // targets are offsets; the same here, as images begin at 0
constexpr uint32_t kPlainImports = 1;
constexpr uint64_t kStride = 4;

uint32_t At32(Bytes bytes, uint64_t offset) { return ValueAt<uint32_t>(bytes, offset, kWhat); }
uint16_t At16(Bytes bytes, uint64_t offset) { return ValueAt<uint16_t>(bytes, offset, kWhat); }

Bytes From(Bytes bytes, uint64_t offset) {
  Part(bytes, offset, 0, kWhat);
  return bytes.subspan(offset);
}

}  // namespace

void Fixups::ApplyChained(Bytes table) {
  if (At32(table, 0) != 0 || At32(table, 20) != kPlainImports || At32(table, 24) != 0) {
    throw Refusal("the chained fixups are of a kind that is not supported");
  }
  const std::vector<uint64_t> imports = ResolveChained(table);
  const Bytes starts = From(table, At32(table, 4));
  const uint32_t count = At32(starts, 0);
  for (uint32_t segment = 0; segment < count; segment++) {
    if (const uint32_t offset = At32(starts, 4 + uint64_t{4} * segment)) {
      ApplySegment(From(starts, offset), segment, imports);
    }
  }
}

// Each row: eight bits of library, one for an import that may be missing, the rest where its name is.
std::vector<uint64_t> Fixups::ResolveChained(Bytes table) {
  const Bytes rows = From(table, At32(table, 8));
  const Bytes names = From(table, At32(table, 12));
  const uint32_t count = At32(table, 16);
  std::vector<uint64_t> addresses;
  for (uint32_t i = 0; i < count; i++) {
    const uint32_t row = At32(rows, uint64_t{4} * i);
    const std::string symbol = Cursor(From(names, row >> 9), kWhat).Text();
    addresses.push_back(Resolve(static_cast<int8_t>(row & 0xFF), symbol, (row >> 8 & 1) != 0));
  }
  return addresses;
}

void Fixups::ApplySegment(Bytes starts, size_t segment, const std::vector<uint64_t>& imports) {
  const uint16_t page_bytes = At16(starts, 4);
  const uint16_t kind = At16(starts, 6);
  if ((kind != kPointer64 && kind != kPointer64Offset) || page_bytes == 0) {
    throw Refusal("the chained fixups hold pointers of a kind that is not supported");
  }
  const bool placed =
      segment < file_.segments.size() && ValueAt<uint64_t>(starts, 8, kWhat) == file_.segments[segment].address;
  if (!placed) {
    throw Refusal("the chained fixups and the segments differ");
  }
  const uint16_t pages = At16(starts, 20);
  for (uint64_t page = 0; page < pages; page++) {
    const uint16_t first = At16(starts, 22 + 2 * page);
    if (first != kNoChain) {
      FollowChain({segment, page * page_bytes + first}, (page + 1) * page_bytes, imports);
    }
  }
}

void Fixups::FollowChain(Place place, uint64_t page_end, const std::vector<uint64_t>& imports) {
  for (;;) {
    if (place.offset >= page_end) {
      throw Refusal("a chain of fixups leaves its page");
    }
    uint8_t* at = Word(place);
    uint64_t word;
    memcpy(&word, at, sizeof word);
    const uint64_t patched = Patched(word, imports);
    memcpy(at, &patched, sizeof patched);
    const uint64_t next = word >> 51 & 0xFFF;
    if (next == 0) {
      return;
    }
    place.offset += next * kStride;
  }
}

uint64_t Fixups::Patched(uint64_t word, const std::vector<uint64_t>& imports) const {
  if (word >> 63 != 0) {
    const uint64_t import = word & 0xFFFFFF;
    if (import >= imports.size()) {
      throw Refusal("a fixup is for an import that does not exist");
    }
    return imports[import] + (word >> 24 & 0xFF);
  }
  const uint64_t target = word & 0xFFFFFFFFF;
  if (target >= file_.Size()) {
    throw Refusal("a pointer into the image leads outside it");
  }
  return (reinterpret_cast<uint64_t>(base_) + target) | (word >> 36 & 0xFF) << 56;
}

}  // namespace macho
