// A second reading of the map's tree rules on structs of its own, by plain recursion and one full
// recount per link change, for comparing shapes with. Slow.
#pragma once

#include <stdlib.h>

#include <algorithm>
#include <string>

namespace map_model {

struct Node {
  int key = 0;
  long height = 0;
  Node* left = nullptr;
  Node* right = nullptr;
  Node* parent = nullptr;
};

inline void Require(bool holds) {
  if (!holds) {
    abort();
  }
}

inline long Above(const Node* child) { return child ? child->height + 1 : 0; }
inline long Balance(const Node* node) { return Above(node->left) - Above(node->right); }

inline void Recount(Node* node) {
  for (; node; node = node->parent) {
    node->height = std::max(Above(node->left), Above(node->right));
  }
}

// A child slot, so that each mirrored rule is written once: `Side` names the slot of a rule for the
// left, and its opposite the slot of the mirrored one.
using Side = Node* Node::*;
constexpr Side kLeft = &Node::left;
constexpr Side kRight = &Node::right;
inline Side Opposite(Side side) { return side == kLeft ? kRight : kLeft; }

inline void Assign(Node* node, Side side, Node* child) {
  Require(!(node->*side));
  if (child) {
    Require(!child->parent);
    child->parent = node;
    node->*side = child;
  }
  Recount(node);
}

inline Node* Disown(Node* node, Side side) {
  Node* child = node->*side;
  if (child) {
    Require(child->parent == node);
    child->parent = nullptr;
    node->*side = nullptr;
  }
  Recount(node);
  return child;
}

inline Side SideOf(const Node* parent, const Node* child) {
  Require(parent->left == child || parent->right == child);
  return parent->left == child ? kLeft : kRight;
}

// `node` hangs below `parent` on `place`. Its child on `heavy` takes its place, and the inner subtree
// changes sides.
inline void Rotate(Node* parent, Side place, Side heavy) {
  Node* node = Disown(parent, place);
  Node* up = Disown(node, heavy);
  Node* inner = Disown(up, Opposite(heavy));
  Assign(node, heavy, inner);
  Assign(up, Opposite(heavy), node);
  Assign(parent, place, up);
}

inline void Rebalance(Node* parent, Node* child, long balance) {
  Require(child->parent == parent);
  const Side place = SideOf(parent, child);
  const Side heavy = balance < 1 ? kRight : kLeft;
  Require(child->*heavy);
  if (Above(child->*heavy->*Opposite(heavy)) > Above(child->*heavy->*heavy)) {
    Rotate(child, heavy, Opposite(heavy));
  }
  Require(child->*heavy);
  if (Above(child->*heavy->*heavy) > Above(child->*heavy->*Opposite(heavy))) {
    Rotate(parent, place, heavy);
  }
}

inline void RebalanceIfNeeded(Node* node) {
  const long balance = Balance(node);
  if (balance < -1 || balance > 1) {
    Rebalance(node->parent, node, balance);
  }
}

// Returns the node that replaces `node`, which has an equal key.
inline Node* Replace(Node* node) {
  Node* fresh = new Node{node->key};
  Assign(fresh, kLeft, Disown(node, kLeft));
  Assign(fresh, kRight, Disown(node, kRight));
  Node* parent = node->parent;
  const Side side = SideOf(parent, node);
  Disown(parent, side);
  Assign(parent, side, fresh);
  delete node;
  return fresh;
}

inline Node* Insert(Node* node, int key) {
  Require(node->parent->left == node || node->parent->right == node);
  if (key == node->key) {
    return Replace(node);
  }
  const Side side = node->key < key ? kRight : kLeft;
  Node* added = nullptr;
  if (node->*side) {
    added = Insert(node->*side, key);
  } else {
    added = new Node{key};
    Assign(node, side, added);
  }
  RebalanceIfNeeded(node);
  return added;
}

inline Node* Last(Node* node, Side side) {
  while (node->*side) {
    node = node->*side;
  }
  return node;
}

inline Node* RemoveChild(Node* parent, Node* child, bool delete_it) {
  const Side side = parent->left == child ? kLeft : kRight;
  const Side inner = Opposite(side);  // a left child is replaced from its right subtree
  Disown(parent, side);
  if (child->left || child->right) {
    Node* replacement = nullptr;
    if (child->*inner) {
      Node* neighbour = Last(child->*inner, side);
      replacement = RemoveChild(neighbour->parent, neighbour, false);
      Assign(replacement, side, Disown(child, side));
      Assign(Last(replacement, inner), inner, Disown(child, inner));
    } else {
      replacement = Disown(child, side);
    }
    Assign(parent, side, replacement);
  }
  Require(!child->parent);
  if (delete_it) {
    delete child;
    return nullptr;
  }
  return child;
}

inline Node* Find(Node* node, int key) {
  while (node && node->key != key) {
    node = key < node->key ? node->left : node->right;
  }
  return node;
}

// The node before (kLeft) or after (kRight) `node` in key order, null at the end.
inline Node* Neighbour(Node* node, Side side) {
  if (node->*side) {
    return Last(node->*side, Opposite(side));
  }
  while (node->parent && node->parent->*side == node) {
    node = node->parent;
  }
  return node->parent && node->parent->parent ? node->parent : nullptr;
}

inline std::string Text(const Node* node) {
  if (!node) {
    return "-";
  }
  const std::string key = std::to_string(node->key);
  return node->height == 0 ? key : key + "(" + Text(node->left) + "," + Text(node->right) + ")";
}

// The map: the root is the head's left child.
class Tree {
 public:
  Tree() = default;
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  ~Tree() { Clear(); }

  Node* root() const { return head_.left; }
  Node* head() { return &head_; }
  Node* Find(int key) const { return map_model::Find(head_.left, key); }

  // False when the key is there.
  bool Insert(int key) {
    if (Find(key)) {
      return false;
    }
    if (!head_.left) {
      Assign(&head_, kLeft, new Node{key});
    } else {
      map_model::Insert(head_.left, key);
    }
    return true;
  }

  // Insertion behind `hint`, null for the end.
  bool InsertAt(Node* hint, int key) {
    if (!hint || !(hint->key < key)) {
      return Insert(key);
    }
    const Node* next = Neighbour(hint, kRight);
    if (next && !(key < next->key)) {
      return Insert(key);
    }
    map_model::Insert(hint, key);
    RepairAbove(hint);
    return true;
  }

  bool Erase(int key) {
    Node* node = Find(key);
    if (node) {
      RemoveChild(node->parent, node, true);
    }
    return node != nullptr;
  }

  void Clear() {
    DeleteAll(head_.left);
    head_ = Node();
  }

 private:
  // A rotated node's parent is the one that took its place.
  void RepairAbove(Node* hint) {
    for (Node* node = hint->parent; node != &head_ && Balance(node) != 0; node = node->parent) {
      RebalanceIfNeeded(node);
    }
  }

  static void DeleteAll(Node* node) {
    if (node) {
      DeleteAll(node->left);
      DeleteAll(node->right);
      delete node;
    }
  }

  Node head_;
};

}  // namespace map_model
