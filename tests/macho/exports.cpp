#include "tests/macho/exports.h"

namespace macho {
namespace {

constexpr char kWhat[] = "the exports";
constexpr size_t kMaxNameBytes = 1024;   // which also bounds the depth of the tree
constexpr uint64_t kWeakDefinition = 4;  // the only flag that changes nothing here; ordinary symbols have none

class Reader {
 public:
  Reader(Bytes tree, uint64_t size) : tree_(tree), size_(size) {}

  std::map<std::string, uint64_t> Run() {
    if (!tree_.empty()) {
      Node(0, "");
    }
    return std::move(found_);
  }

 private:
  // Every node is at least two bytes, so a tree that is visited more often goes round in circles.
  void Node(uint64_t offset, const std::string& name) {
    if (++visited_ > tree_.size() / 2 + 1) {
      throw Refusal("the exports go round in circles");
    }
    if (name.size() > kMaxNameBytes) {
      throw Refusal("the exports hold a name that is too long");
    }
    Cursor node(Part(tree_, offset, offset < tree_.size() ? tree_.size() - offset : 1, kWhat), kWhat);
    const Bytes symbol = node.Take(node.Unsigned());
    if (!symbol.empty()) {
      Add(Cursor(symbol, kWhat), name);
    }
    for (unsigned children = node.Value<uint8_t>(); children > 0; children--) {
      const std::string part = node.Text();
      if (part.empty()) {
        throw Refusal("the exports hold an empty part of a name");
      }
      Node(node.Unsigned(), name + part);
    }
  }

  void Add(Cursor symbol, const std::string& name) {
    const uint64_t flags = symbol.Unsigned();
    if ((flags & ~kWeakDefinition) != 0) {
      throw Refusal("export " + name + " is of a kind that is not supported");
    }
    const uint64_t address = symbol.Unsigned();
    if (address >= size_) {
      throw Refusal("export " + name + " lies outside the image");
    }
    found_[name] = address;
  }

  Bytes tree_;
  uint64_t size_;
  uint64_t visited_ = 0;
  std::map<std::string, uint64_t> found_;
};

}  // namespace

std::map<std::string, uint64_t> ReadExports(Bytes tree, uint64_t size) { return Reader(tree, size).Run(); }

}  // namespace macho
