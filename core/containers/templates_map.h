// The ordered map.
//
// A height-balanced search tree of (key, value) entries, AVL (Adelson-Velsky and Landis 1962). The
// tree's code is written once, in MapPrivate::NodeBase, and knows keys only through its nodes'
// virtual operations; Map supplies types and ordering. Entries never move, so their addresses stay
// valid until they are erased. A map belongs to one thread at a time.
//
// Insertions alone keep the height logarithmic in the number of entries. Removals rotate nothing: a map
// that has lost entries may keep the height that it had with all of them.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <new>
#include <type_traits>
#include <utility>

#include "core/base/fatal.h"
#include "core/base/record.h"

namespace core {

// A key and its value. The key is copied. The value moves, even out of a constant pair, when V's copy
// constructor moves.
template <class K, class V>
struct Pair {
  struct KeyFrom {};  // selects the constructor below

  K first;
  V second;

  Pair(const K& key, const V& value) : first(key), second(value) {}
  Pair(const Pair& other) : first(other.first), second(other.second) {}
  // An empty value under the key that K makes from `source`.
  template <class S>
  Pair(KeyFrom, S&& source) : first(std::forward<S>(source)), second() {}
  Pair& operator=(const Pair&) = delete;
};

namespace MapPrivate {

// One node of a tree. The operations that link and unlink keep the heights of the node and all its
// ancestors right; breaking one of their conditions is fatal.
struct NodeBase {
  uint32_t height = 0;  // 0 for a leaf, else 1 + the larger height of the children
  RecordOrigin from = kSingle;
  NodeBase* left = nullptr;    // smaller keys
  NodeBase* right = nullptr;   // larger keys
  NodeBase* parent = nullptr;  // the map's head for the root, null for the head

  NodeBase() = default;
  NodeBase(const NodeBase&) = delete;
  NodeBase& operator=(const NodeBase&) = delete;
  // Destroys the whole subtree, without recursion.
  virtual ~NodeBase() {
    if (left || right) {
      DeleteDescendants();
    }
  }
  // Frees a node in the way that it was made.
  static void operator delete(NodeBase* node, std::destroying_delete_t);

  // Only a map's head is a bare NodeBase. It has no key and is never asked for one.

  // True when key `a` orders before key `b`.
  virtual bool isLessThan(const void*, const void*) const { FatalAssert("core/templates", 1005); }
  // The node's pair; its first member is the key.
  virtual const void* getData() const { FatalAssert("core/templates", 1006); }
  // A new node of the same type, built from a pair of the type that getData() points to.
  virtual NodeBase* newNode(const void*) const { FatalAssert("core/templates", 1007); }

  // Links `child` or, null, leaves the slot empty. Requires: the slot is empty, `child` has no parent.
  void AssignLeft(NodeBase* child);
  void AssignRight(NodeBase* child);

  // Unlinks the child and returns it, null when there is none.
  NodeBase* DisownLeft();
  NodeBase* DisownRight();

  // Sets the heights of this node and of all its ancestors from those of their children.
  void Recount();

  // The height on the left minus the height on the right, a missing child counting as -1.
  int getBalance() const {
    return static_cast<int>(left ? left->height + 1 : 0) - static_cast<int>(right ? right->height + 1 : 0);
  }

  // The node with the smallest (largest) key of this subtree.
  NodeBase* getSmallest() { return const_cast<NodeBase*>(static_cast<const NodeBase*>(this)->getSmallest()); }
  NodeBase* getLargest() { return const_cast<NodeBase*>(static_cast<const NodeBase*>(this)->getLargest()); }
  const NodeBase* getSmallest() const;
  const NodeBase* getLargest() const;

  // The node of this subtree with `key`, or null. Cost: the height.
  NodeBase* Lookup(const void* key) { return const_cast<NodeBase*>(LookupBase(key)); }
  const NodeBase* LookupBase(const void* key) const;

  // Adds a node for `pair` to this subtree, which is part of a map's tree, and returns it.
  // On purpose: a node with an equal key is replaced, and is itself deleted.
  NodeBase* Insert(const void* pair);

  // Insert for a pair that belongs right behind this node; then repairs the ancestors of this node up
  // to the first that is balanced exactly.
  NodeBase* InsertBehind(const void* pair);

  // Repairs the tree at each unbalanced node from `node` up to `top`, an ancestor or `node` itself.
  static void RebalancePath(NodeBase* node, const NodeBase* top);

  // Rotates the subtree of `child`, which leans by `balance`, below `parent`.
  // On purpose: a child whose heavy side is balanced itself is left as it is; no insertion makes one.
  static void Rebalance(NodeBase* parent, NodeBase* child, int balance);

  // Takes `child`, one of the two children, out of the tree; its subtrees stay. Deletes it or returns
  // it without links.
  // On purpose: nothing is rotated, so removals may leave the tree out of balance.
  NodeBase* RemoveChild(NodeBase* child, bool deleteIt);

  // Removes and deletes the node of this subtree with `key`, if there is one.
  void Delete(const void* key);

  // The height of this subtree, counted anew, by recursion.
  uint32_t CountDepth() const;

  // Stops the process when a height in this subtree is wrong. For tests: quadratic in the height.
  void VerifyDepth() const;

  // The node with the next larger key; the head after the largest.
  NodeBase* Next() { return const_cast<NodeBase*>(static_cast<const NodeBase*>(this)->Next()); }
  const NodeBase* Next() const;

  RecordOrigin& origin() { return from; }

 private:
  enum Side { kLeft, kRight };
  static Side Other(Side side) { return side == kLeft ? kRight : kLeft; }

  NodeBase* ChildOn(Side side) const { return side == kLeft ? left : right; }
  void Assign(Side side, NodeBase* child) { side == kLeft ? AssignLeft(child) : AssignRight(child); }
  NodeBase* Disown(Side side) { return side == kLeft ? DisownLeft() : DisownRight(); }
  bool IsLinked() const { return parent && (parent->left == this || parent->right == this); }
  Side SideInParent() const { return parent->left == this ? kLeft : kRight; }
  NodeBase* Outermost(Side side) { return side == kLeft ? getSmallest() : getLargest(); }
  NodeBase* NeighbourAbove(Side side);

  void DeleteDescendants();
  void GiveWayTo(NodeBase* other);
  void ReplaceBy(NodeBase* fresh);
  NodeBase* TakeNeighbour(Side side);
};
static_assert(sizeof(NodeBase) == 40);

// A position in a map: an entry or the end. Moves in ascending key order.
class ConstIterator {
 public:
  ConstIterator(NodeBase* end, NodeBase* start) : current_(start ? start : end), end_(end) {}

  NodeBase* current() const { return current_; }
  bool AtEnd() const { return current_ == end_; }

  bool operator==(const ConstIterator& other) const { return current_ == other.current_; }

  // The end stays the end.
  ConstIterator& operator++() {
    if (current_ != end_) {
      current_ = current_->Next();
    }
    return *this;
  }
  ConstIterator operator++(int) {
    const ConstIterator before = *this;
    ++*this;
    return before;
  }

 private:
  NodeBase* current_;
  NodeBase* end_;
};

// A key type that is ordered by its Compare(other), which is negative, zero or positive, in place of its
// operator<: it says so with a constant member kOrderedByCompare that is true. A search then compares once
// at each node instead of twice.
template <class K>
concept OrderedByCompare = requires {
  requires K::kOrderedByCompare;
};

// Orders keys by their operator< or, where the type asks for it, by their Compare.
template <class K>
struct less_than {
  bool operator()(const K& a, const K& b) const {
    if constexpr (OrderedByCompare<K>) {
      return a.Compare(b) < 0;
    } else {
      return a < b;
    }
  }
};

// How key `a` stands to `b` in the order of `Less`: negative, zero or positive.
template <class Less, class K>
int ThreeWay(const K& a, const K& b) {
  if constexpr (std::is_same_v<Less, less_than<K>> && OrderedByCompare<K>) {
    return a.Compare(b);
  } else {
    return Less()(a, b) ? -1 : Less()(b, a);
  }
}

// Frees what a value owns, for value types that free nothing in their destructor.
template <class V>
void FreeValue(V& value) {
  if constexpr (requires { value.FreeMembers(); }) {
    value.FreeMembers();
  }
}

}  // namespace MapPrivate

// Keys and values, each key once, in ascending order by `Less`, which every operation asks. An entry's value
// is freed with the entry.
template <class K, class V, class Less = MapPrivate::less_than<K>>
class Map : public Record {
 public:
  using value_type = Pair<const K, V>;
  using NodeBase = MapPrivate::NodeBase;

  // An entry with its links.
  template <class P, class Order>
  struct Node final : NodeBase {
    P pair;

    explicit Node(const P& from_pair) : pair(from_pair) {}
    template <class S>
    Node(typename P::KeyFrom tag, S&& source) : pair(tag, std::forward<S>(source)) {}
    ~Node() override { MapPrivate::FreeValue(pair.second); }

    bool isLessThan(const void* a, const void* b) const override {
      return Order()(*static_cast<const K*>(a), *static_cast<const K*>(b));
    }
    const void* getData() const override { return &pair; }
    NodeBase* newNode(const void* from_pair) const override { return ::new Node(*static_cast<const P*>(from_pair)); }
  };
  using Entry = Node<value_type, Less>;

  // A position whose entry can be read; E is value_type or const value_type.
  template <class E>
  class Position : public MapPrivate::ConstIterator {
   public:
    using MapPrivate::ConstIterator::ConstIterator;

    E& operator*() const { return static_cast<Entry*>(current())->pair; }
    E* operator->() const { return &**this; }
    Position& operator++() {
      MapPrivate::ConstIterator::operator++();
      return *this;
    }
    Position operator++(int) {
      const Position before = *this;
      ++*this;
      return before;
    }
  };
  using iterator = Position<value_type>;
  using const_iterator = Position<const value_type>;

  // Where an insertion ended: the entry, and whether it is new.
  struct Inserted {
    iterator first;
    bool second;
  };

  // Where an absent key belongs: left or right of `parent`.
  struct Place {
    NodeBase* parent;
    bool left;
  };

  Map() = default;
  Map(const Map&) = delete;
  Map& operator=(const Map&) = delete;

  size_t size() const { return count; }
  bool empty() const { return count == 0; }
  iterator begin() { return {&head, Smallest()}; }
  iterator end() { return {&head, nullptr}; }
  const_iterator begin() const { return {Head(), Smallest()}; }
  const_iterator end() const { return {Head(), nullptr}; }

  // Adds a copy of `pair`, whose value moves; changes nothing when the key is there.
  // Cost, here and below: comparisons up to the height of the tree.
  Inserted insert(const value_type& pair) {
    Place place;
    if (Entry* found = Find(pair.first, nullptr, &place)) {
      return {iterator(&head, found), false};
    }
    return {Attach(::new Entry(pair), place), true};
  }

  // The same with the value moved out of the caller's.
  // On purpose: when the key is there the given value is used up all the same, and freed.
  Inserted insert(const K& key, V& value) {
    struct Temporary {
      value_type pair;
      ~Temporary() { MapPrivate::FreeValue(pair.second); }
    };
    const Temporary temporary = {value_type(key, value)};
    return insert(temporary.pair);
  }

  // insert that starts at `hint`: without a search when the key belongs right behind that entry.
  Inserted insert(const MapPrivate::ConstIterator& hint, const value_type& pair) {
    NodeBase* at = hint.current();
    if (hint.AtEnd() || at == &head || !Less()(KeyOf(at), pair.first)) {
      return insert(pair);
    }
    const NodeBase* next = at->Next();
    if (next != &head && !Less()(pair.first, KeyOf(next))) {
      return insert(pair);
    }
    NodeBase* added = at->InsertBehind(&pair);
    ++count;
    return {iterator(&head, added), true};
  }

  // The entry with `key`, or end().
  iterator find(const K& key) { return {&head, Find(key)}; }
  const_iterator find(const K& key) const { return {Head(), Find(key)}; }

  // Removes the entry with `key`; returns the number of entries removed.
  size_t erase(const K& key) {
    Entry* entry = Find(key);
    if (!entry) {
      return 0;
    }
    --count;
    entry->parent->RemoveChild(entry, true);
    return 1;
  }

  // Removes all entries. The root's value is freed first, every other one after the values below it.
  // Cost: linear, without recursion.
  void clear() {
    if (NodeBase* root = head.DisownLeft()) {
      delete root;
    }
    count = 0;
  }

  // The entry with the largest key, null when empty.
  Entry* Largest() const { return head.left ? static_cast<Entry*>(head.left->getLargest()) : nullptr; }

  // Finds the entry with `key` in one descent or, null, the place where it belongs. `largest`, if not
  // null, is Largest(): keys beyond it are placed without a descent.
  Entry* Find(const K& key, Entry* largest, Place* place) const {
    if (largest && MapPrivate::ThreeWay<Less>(key, largest->pair.first) > 0) {
      *place = {largest, false};
      return nullptr;
    }
    *place = {Head(), true};
    NodeBase* node = head.left;
    while (node) {
      const int order = MapPrivate::ThreeWay<Less>(key, KeyOf(node));
      if (order == 0) {
        return static_cast<Entry*>(node);
      }
      *place = {node, order < 0};
      node = order < 0 ? node->left : node->right;
    }
    return nullptr;
  }

  // Adds `entry`, whose key is absent and belongs to `place`; the map owns it from then on.
  iterator Attach(Entry* entry, const Place& place) {
    ++count;
    if (place.left) {
      place.parent->AssignLeft(entry);
    } else {
      place.parent->AssignRight(entry);
    }
    if (place.parent != &head) {
      NodeBase::RebalancePath(place.parent, head.left);
    }
    return {&head, entry};
  }

  // Tear-down in ascending order, one pass: destroys `entry`, whose value has been freed, and returns
  // the next entry or, when it was the last, null and an empty map. Begin with begin(); nothing else
  // may be called on the map in between.
  Entry* DestroyAndAdvance(Entry* entry, RecordReleaser& releaser) {
    NodeBase* next = entry->right;
    NodeBase* parent = entry->parent;
    entry->right = nullptr;
    releaser.Destroy(entry);
    if (next) {
      // An entry is reached only when nothing smaller is left, so its right subtree takes its place.
      next->parent = parent;
      return static_cast<Entry*>(next->getSmallest());
    }
    if (parent == &head) {
      head.left = nullptr;
      return nullptr;
    }
    parent->left = nullptr;
    return static_cast<Entry*>(parent);
  }

  // The map record's own.
  RecordOrigin& origin() { return head.from; }

  size_t count = 0;
  NodeBase head;  // no entry; its left child is the root

 private:
  static const K& KeyOf(const NodeBase* node) { return static_cast<const Entry*>(node)->pair.first; }

  NodeBase* Head() const { return const_cast<NodeBase*>(&head); }
  NodeBase* Smallest() const { return head.left ? head.left->getSmallest() : nullptr; }

  Entry* Find(const K& key) const {
    Place place;
    return Find(key, nullptr, &place);
  }
};

}  // namespace core
