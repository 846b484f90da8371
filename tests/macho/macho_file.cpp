#include "tests/macho/macho_file.h"

#include <algorithm>

namespace macho {
namespace {

constexpr uint32_t kUniversal = 0xBEBAFECA;  // big-endian
constexpr uint32_t kMagic64 = 0xFEEDFACF;
constexpr uint32_t kX86_64 = 0x01000007;
constexpr uint32_t kBundle = 8;
constexpr uint32_t kTwoLevelNames = 0x80;
constexpr uint32_t kSealedSegment = 0x10;
constexpr uint64_t kMaxImageBytes = uint64_t{64} << 20;

enum Command : uint32_t {
  kSymbolTable = 0x2,
  kDynamicSymbolTable = 0xB,
  kLoadLibrary = 0xC,
  kSegment = 0x19,
  kUUID = 0x1B,
  kSignature = 0x1D,
  kMinimumSystem = 0x24,
  kFunctionStarts = 0x26,
  kDataInCode = 0x29,
  kSourceVersion = 0x2A,
  kBuildVersion = 0x32,
  kLoadWeakLibrary = 0x80000018,
  kDyldInfoOnly = 0x80000022,
  kExportsTrie = 0x80000033,
  kChainedFixups = 0x80000034,
};

std::string Hex(uint32_t value) {
  char text[16];
  snprintf(text, sizeof text, "0x%x", value);
  return text;
}

class Parser {
 public:
  explicit Parser(Bytes slice) : slice_(slice) {}

  File Run() {
    Cursor header(slice_, "the header");
    if (header.Value<uint32_t>() != kMagic64 || header.Value<uint32_t>() != kX86_64) {
      throw Refusal("not a Mach-O file for x86-64");
    }
    header.Take(4);  // which x86-64
    if (header.Value<uint32_t>() != kBundle) {
      throw Refusal("not a bundle");
    }
    const auto count = header.Value<uint32_t>();
    Cursor commands(Part(slice_, 32, ValueAt<uint32_t>(slice_, 20, "the header"), "the load commands"),
                    "the load commands");
    if ((ValueAt<uint32_t>(slice_, 24, "the header") & kTwoLevelNames) == 0) {
      throw Refusal("imports do not name their libraries");
    }
    for (uint32_t i = 0; i < count; i++) {
      ReadCommand(commands);
    }
    if (!commands.AtEnd()) {
      throw Refusal("the load commands are fewer than announced");
    }
    CheckSegments();
    CheckFixups();
    return std::move(file_);
  }

 private:
  void ReadCommand(Cursor& commands) {
    const auto kind = commands.Value<uint32_t>();
    const auto size = commands.Value<uint32_t>();
    if (size < 8 || size % 8 != 0) {
      throw Refusal("a load command of " + std::to_string(size) + " bytes");
    }
    Cursor body(commands.Take(size - 8), "a load command");
    switch (kind) {
      case kSegment:
        return ReadSegment(body);
      case kLoadLibrary:
      case kLoadWeakLibrary:
        return ReadLibrary(body);
      case kSymbolTable:
        return ReadSymbols(body);
      case kDyldInfoOnly:
        return ReadDyldInfo(body);
      case kExportsTrie:
        return Once(has_exports_trie_, kind), Assign(file_.exports, body, "the exports");
      case kChainedFixups:
        Once(file_.chained.has_value(), kind);
        return Assign(file_.chained.emplace(), body, "the chained fixups");
      case kDynamicSymbolTable:
      case kUUID:
      case kSignature:
      case kMinimumSystem:
      case kFunctionStarts:
      case kDataInCode:
      case kSourceVersion:
      case kBuildVersion:
        return;  // nothing that loading needs
      default:
        throw Refusal("load command " + Hex(kind) + " is not supported");
    }
  }

  static void Once(bool& seen, uint32_t kind) {
    Once(static_cast<const bool&>(seen), kind);
    seen = true;
  }
  static void Once(const bool& seen, uint32_t kind) {
    if (seen) {
      throw Refusal("load command " + Hex(kind) + " comes twice");
    }
  }

  // An offset and a size in the file.
  Bytes Range(Cursor& body, const char* what) {
    const auto offset = body.Value<uint32_t>();
    return Part(slice_, offset, body.Value<uint32_t>(), what);
  }
  void Assign(Bytes& range, Cursor& body, const char* what) { range = Range(body, what); }

  void ReadSegment(Cursor& body) {
    Segment segment;
    segment.name = body.Name(16);
    segment.address = body.Value<uint64_t>();
    segment.size = body.Value<uint64_t>();
    const auto offset = body.Value<uint64_t>();
    const auto len = body.Value<uint64_t>();
    segment.contents = Part(slice_, offset, len, "a segment");
    body.Take(4);  // the most that its protection may become
    segment.protection = body.Value<uint32_t>();
    const auto count = body.Value<uint32_t>();
    segment.sealed = (body.Value<uint32_t>() & kSealedSegment) != 0;
    if (segment.size > kMaxImageBytes || segment.address > kMaxImageBytes || len > segment.size) {
      throw Refusal("segment " + segment.name + " has no sound size");
    }
    for (uint32_t i = 0; i < count; i++) {
      ReadSection(body, segment);
    }
    file_.segments.push_back(std::move(segment));
  }

  void ReadSection(Cursor& body, const Segment& segment) {
    Section section;
    section.name = body.Name(16);
    body.Take(16);  // the segment's name again
    section.address = body.Value<uint64_t>();
    section.size = body.Value<uint64_t>();
    body.Take(16);  // places in the file
    section.kind = static_cast<uint8_t>(body.Value<uint32_t>());
    body.Take(12);
    const uint64_t end = segment.address + segment.size;
    if (section.address < segment.address || section.address > end || section.size > end - section.address) {
      throw Refusal("section " + section.name + " lies outside its segment");
    }
    file_.sections.push_back(std::move(section));
  }

  void ReadLibrary(Cursor& body) {
    const auto offset = body.Value<uint32_t>();
    if (offset != 24) {
      throw Refusal("a library's name is not where it belongs");
    }
    body.Take(12);
    file_.libraries.push_back(body.Text());
  }

  void ReadDyldInfo(Cursor& body) {
    Once(file_.info.has_value(), kDyldInfoOnly);
    DyldInfo& info = file_.info.emplace();
    info.rebase = Range(body, "the rebasing table");
    info.bind = Range(body, "the binding table");
    info.weak_bind = Range(body, "the weak binding table");
    info.lazy_bind = Range(body, "the lazy binding table");
    info.exports = Range(body, "the exports");
  }

  void ReadSymbols(Cursor& body) {
    Once(has_symbols_, kSymbolTable);
    const auto offset = body.Value<uint32_t>();
    const auto count = body.Value<uint32_t>();
    const Bytes names = Range(body, "the symbol names");
    Cursor entries(Part(slice_, offset, uint64_t{count} * 16, "the symbol table"), "the symbol table");
    for (uint32_t i = 0; i < count; i++) {
      ReadSymbol(entries, names);
    }
  }

  void ReadSymbol(Cursor& entries, Bytes names) {
    const auto name = entries.Value<uint32_t>();
    const auto kind = entries.Value<uint8_t>();
    entries.Take(3);
    const auto address = entries.Value<uint64_t>();
    const bool has_address = (kind & 0xE0) == 0 && (kind & 0x0E) == 0x0E;  // no debugger's entry, in a section
    if (has_address) {
      Cursor text(Part(names, name, names.size() - std::min<size_t>(name, names.size()), "a symbol's name"),
                  "a symbol's name");
      file_.symbols.push_back({text.Text(), address});
    }
  }

  void CheckSegments() const {
    if (file_.segments.empty()) {
      throw Refusal("there are no segments");
    }
    uint64_t free = 0;
    for (const Segment& segment : file_.segments) {
      if (segment.address % kPageBytes != 0 || segment.address < free) {
        throw Refusal("segment " + segment.name + " is not on pages of its own");
      }
      if ((segment.protection & Segment::kWritable) != 0 && (segment.protection & Segment::kExecutable) != 0) {
        throw Refusal("segment " + segment.name + " is writable and executable");
      }
      free = (segment.address + segment.size + kPageBytes - 1) / kPageBytes * kPageBytes;
    }
    const Segment& first = file_.segments.front();
    if (first.address != 0 || first.contents.data() != slice_.data() || first.contents.size() < 32) {
      throw Refusal("the first segment does not begin with the header");
    }
    if (free > kMaxImageBytes) {
      throw Refusal("the image is too large");
    }
  }

  void CheckFixups() {
    if (file_.info.has_value() == file_.chained.has_value()) {
      throw Refusal(file_.info ? "there are two kinds of fixups" : "there are no fixups");
    }
    if (file_.info && !file_.info->exports.empty()) {
      Once(has_exports_trie_, kDyldInfoOnly);
      file_.exports = file_.info->exports;
    }
    for (const Section& section : file_.sections) {
      if (section.kind >= 0x11 && section.kind <= 0x15) {
        throw Refusal("section " + section.name + " holds thread-local variables");
      }
    }
  }

  Bytes slice_;
  File file_;
  bool has_symbols_ = false;
  bool has_exports_trie_ = false;
};

}  // namespace

Bytes SliceOf(Bytes file) {
  if (ValueAt<uint32_t>(file, 0, "the header") != kUniversal) {
    return file;
  }
  const auto big = [file](uint64_t offset) {
    return __builtin_bswap32(ValueAt<uint32_t>(file, offset, "the list of slices"));
  };
  const uint32_t count = big(4);
  for (uint64_t i = 0; i < count; i++) {
    const uint64_t entry = 8 + 20 * i;
    if (big(entry) == kX86_64) {
      return Part(file, big(entry + 8), big(entry + 12), "the slice for x86-64");
    }
  }
  throw Refusal("a universal file without a slice for x86-64");
}

File Parse(Bytes slice) { return Parser(slice).Run(); }

}  // namespace macho
