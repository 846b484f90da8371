// A Mach-O bundle for x86-64 in this process: mapped, fixed up, with its exports.
//
// Of Objective-C and of any library this knows nothing: what an image imports is asked of a resolver.
// Loading runs none of the image's code.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/macho/macho_file.h"

namespace macho {

// Gives the address of `symbol` in the library of that install name, "" for any library. Null when there
// is none.
using Resolver = std::function<void*(const std::string& library, const std::string& symbol)>;

struct Import {
  std::string library;
  std::string symbol;
};

// Whole pages of memory without access, and one more behind them that never gets any.
class Mapping {
 public:
  explicit Mapping(uint64_t size);
  ~Mapping();
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  uint8_t* base() const { return base_; }
  uint64_t size() const { return size_; }

 private:
  uint64_t size_;
  uint8_t* base_;
};

class Image {
 public:
  // Loads a file's bytes, universal or not. Throws a Refusal when they cannot be loaded or an import
  // cannot be resolved. The bytes are not needed afterwards.
  Image(Bytes file, const Resolver& resolve);

  // The same in two steps, for images that import from each other. Addresses in the image are known after
  // the first one; nothing in it can be used before the second, which takes the same bytes once more.
  explicit Image(Bytes file);
  void Bind(Bytes file, const Resolver& resolve);

  // Gives every segment the protection that it asks for. Call after all patching.
  void Protect();

  // Runs the image's own initialisers, in order. Throws a Refusal when one is not part of the image.
  void Initialise() const;

  // The address of an exported symbol; null when there is none.
  void* Exported(const std::string& symbol) const;
  size_t ExportCount() const { return exports_.size(); }

  // The address of a symbol that the image has not been stripped of; null when there is none.
  void* Local(const std::string& symbol) const;

  // The name of the symbol that `address` lies in; "?" when there is none.
  std::string NameOf(const void* address) const;

  // A section, writable until Protect; empty when absent.
  std::span<uint8_t> SectionNamed(const char* name) const;

  // Whether the `size` bytes at `address` are part of the image.
  bool Contains(const void* address, uint64_t size = 1) const;

  // Everything that was asked of the resolver.
  const std::vector<Import>& imports() const { return imports_; }
  uint8_t* base() const { return mapping_.base(); }

 private:
  struct Placed {
    std::string name;
    uint64_t address, size;
    int protection;
  };

  Image(const File& file, const Resolver& resolve);
  explicit Image(const File& file);
  void Map(const File& file);
  void Bind(const File& file, const Resolver& resolve);
  const uint8_t* Checked(const uint8_t* code) const;

  Mapping mapping_;
  std::vector<Placed> segments_;
  std::vector<Section> sections_;
  std::vector<Import> imports_;
  std::map<std::string, uint64_t> exports_;
  std::map<std::string, uint64_t> symbols_;
  std::map<uint64_t, std::string> names_;
};

// The bytes of the file at `path`. Throws a Refusal when it cannot be read.
std::vector<uint8_t> ReadFile(const std::string& path);

}  // namespace macho
