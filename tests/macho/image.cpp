#include "tests/macho/image.h"

#include <string.h>
#include <sys/mman.h>

#include <fstream>
#include <iterator>

#include "tests/macho/exports.h"
#include "tests/macho/fixups.h"

namespace macho {
namespace {

constexpr uint8_t kInitialiserPointers = 0x9;
constexpr uint8_t kInitialiserOffsets = 0x16;

uint64_t WholePages(uint64_t size) { return (size + kPageBytes - 1) / kPageBytes * kPageBytes; }

int AccessOf(const Segment& segment) {
  const bool writable = (segment.protection & Segment::kWritable) != 0 && !segment.sealed;
  return ((segment.protection & Segment::kReadable) != 0 ? PROT_READ : 0) | (writable ? PROT_WRITE : 0) |
         ((segment.protection & Segment::kExecutable) != 0 ? PROT_EXEC : 0);
}

using Initialiser = void (*)(int, char**, char**, char**, void*);

void Run(const void* function) {
  char* none[] = {nullptr};
  reinterpret_cast<Initialiser>(const_cast<void*>(function))(0, none, none, none, nullptr);
}

}  // namespace

Mapping::Mapping(uint64_t size) : size_(WholePages(size)) {
  void* pages = mmap(nullptr, size_ + kPageBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages == MAP_FAILED) {
    throw Refusal("there is no memory for the image");
  }
  base_ = static_cast<uint8_t*>(pages);
}

Mapping::~Mapping() { munmap(base_, size_ + kPageBytes); }

Image::Image(Bytes file, const Resolver& resolve) : Image(Parse(SliceOf(file)), resolve) {}

Image::Image(Bytes file) : Image(Parse(SliceOf(file))) {}

Image::Image(const File& file, const Resolver& resolve) : Image(file) { Bind(file, resolve); }

Image::Image(const File& file) : mapping_(file.Size()), sections_(file.sections) {
  Map(file);
  exports_ = ReadExports(file.exports, file.Size());
  for (const Symbol& symbol : file.symbols) {
    symbols_[symbol.name] = symbol.address;
    names_[symbol.address] = symbol.name;
  }
}

void Image::Bind(Bytes file, const Resolver& resolve) { Bind(Parse(SliceOf(file)), resolve); }

void Image::Bind(const File& file, const Resolver& resolve) {
  Fixups fixups(file, mapping_.base(), resolve);
  fixups.Apply();
  imports_ = fixups.TakeImports();
}

// Writable everywhere while it is patched.
void Image::Map(const File& file) {
  for (const Segment& segment : file.segments) {
    uint8_t* place = mapping_.base() + segment.address;
    if (mprotect(place, WholePages(segment.size), PROT_READ | PROT_WRITE) != 0) {
      throw Refusal("segment " + segment.name + " cannot be made writable");
    }
    if (!segment.contents.empty()) {
      memcpy(place, segment.contents.data(), segment.contents.size());
    }
    segments_.push_back({segment.name, segment.address, segment.size, AccessOf(segment)});
  }
}

void Image::Protect() {
  for (const Placed& segment : segments_) {
    if (mprotect(base() + segment.address, WholePages(segment.size), segment.protection) != 0) {
      throw Refusal("segment " + segment.name + " cannot be protected");
    }
  }
}

const uint8_t* Image::Checked(const uint8_t* code) const {
  if (!Contains(code)) {
    throw Refusal("an initialiser lies outside the image");
  }
  return code;
}

void Image::Initialise() const {
  for (const Section& section : sections_) {
    const Bytes words(base() + section.address, section.size);
    if (section.kind == kInitialiserPointers) {
      for (uint64_t at = 0; at < words.size(); at += 8) {
        Run(Checked(ValueAt<const uint8_t*>(words, at, "the initialisers")));
      }
    } else if (section.kind == kInitialiserOffsets) {
      for (uint64_t at = 0; at < words.size(); at += 4) {
        Run(Checked(base() + ValueAt<uint32_t>(words, at, "the initialisers")));
      }
    }
  }
}

void* Image::Exported(const std::string& symbol) const {
  const auto found = exports_.find(symbol);
  return found == exports_.end() ? nullptr : base() + found->second;
}

void* Image::Local(const std::string& symbol) const {
  const auto found = symbols_.find(symbol);
  return found == symbols_.end() || found->second >= mapping_.size() ? nullptr : base() + found->second;
}

std::string Image::NameOf(const void* address) const {
  if (!Contains(address)) {
    return "?";
  }
  const auto offset = static_cast<uint64_t>(static_cast<const uint8_t*>(address) - base());
  const auto next = names_.upper_bound(offset);
  return next == names_.begin() ? "?" : std::prev(next)->second;
}

std::span<uint8_t> Image::SectionNamed(const char* name) const {
  for (const Section& section : sections_) {
    if (section.name == name) {
      return {base() + section.address, section.size};
    }
  }
  return {};
}

bool Image::Contains(const void* address, uint64_t size) const {
  const auto place = reinterpret_cast<uintptr_t>(address);
  const auto begin = reinterpret_cast<uintptr_t>(base());
  return place >= begin && place - begin <= mapping_.size() && size <= mapping_.size() - (place - begin);
}

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
  if (!in.is_open() || in.bad()) {
    throw Refusal(path + " cannot be read");
  }
  return bytes;
}

}  // namespace macho
