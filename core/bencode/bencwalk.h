// Visiting every value of a tree in order, without recursion.
#pragma once

#include "core/bencode/bencoding.h"
#include "core/bencode/benctree.h"

namespace core {

// Where a value stands in its container.
struct BencPlace {
  size_t depth = 0;                      // containers around it
  const BencArray<char>* key = nullptr;  // in a dictionary
  size_t index = 0;                      // among the elements or entries
  size_t mark = 0;                       // what the visitor's Open gave for the container
};

// Calls `visitor` for `root` and everything inside it:
//   void Scalar(const BencEntity& v, const BencPlace& place);
//   size_t Open(const BencEntity& v, const BencPlace& place);   before the elements of a container
//   void Close(const BencEntity& v, const BencPlace& place);    after them
// Dictionaries are visited in ascending key order. A visitor that must not see a virtual list stops the
// process in Open.
template <class Visitor>
class BencWalk {
 public:
  explicit BencWalk(Visitor& visitor) : visitor_(visitor) {}
  BencWalk(const BencWalk&) = delete;
  BencWalk& operator=(const BencWalk&) = delete;
  ~BencWalk() { open_.Free(); }

  void Visit(const BencEntity& root) {
    Enter(root, BencPlace());
    while (open_.count != 0) {
      Level& level = open_.back();
      const BencEntity* child = level.Next();
      if (child) {
        Enter(*child, PlaceIn(level));
      } else {
        const BencEntity& done = *level.container;
        open_.pop_back();
        visitor_.Close(done, open_.count == 0 ? BencPlace() : PlaceIn(open_.back()));
      }
    }
  }

 private:
  using Entry = BencDictMap::Entry;

  // A container that is being visited, and the element reached.
  struct Level {
    const BencEntity* container;
    const Entry* entry;  // of a dictionary
    size_t index;        // all ones before the first element
    size_t mark;

    const BencEntity* Next() {
      ++index;
      if (container->GetType() != BENC_DICT) {
        const BencodedList& list = static_cast<const BencodedList&>(*container);
        return index < list.GetCount() ? list.Get(index) : nullptr;
      }
      const BencDictMap& dict = *BencTree::Dict(*container);
      const MapPrivate::NodeBase* node = entry ? entry->Next() : dict.begin().current();
      entry = node == &dict.head ? nullptr : static_cast<const Entry*>(node);
      return entry ? &entry->pair.second : nullptr;
    }
  };

  static bool IsContainer(BencType kind) { return kind == BENC_LIST || kind == BENC_DICT || kind == BENC_VLIST; }

  BencPlace PlaceIn(const Level& level) const {
    return {static_cast<size_t>(open_.count), level.entry ? &level.entry->pair.first : nullptr, level.index,
            level.mark};
  }

  void Enter(const BencEntity& v, const BencPlace& place) {
    if (!IsContainer(v.GetType())) {
      visitor_.Scalar(v, place);
      return;
    }
    const size_t mark = visitor_.Open(v, place);
    open_.push_back({&v, nullptr, SIZE_MAX, mark});
  }

  Visitor& visitor_;
  LList<Level> open_;
};

}  // namespace core
