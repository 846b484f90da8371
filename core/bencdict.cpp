#include "core/bencdict.h"

namespace core {

namespace {

int HeightAbove(const BencDictNode* child) { return child ? child->height + 1 : 0; }

int Balance(const BencDictNode* node) { return HeightAbove(node->left) - HeightAbove(node->right); }

// Sets the node's height from its children; false when it did not change.
bool Recount(BencDictNode* node) {
  const int left = HeightAbove(node->left);
  const int right = HeightAbove(node->right);
  const int height = left > right ? left : right;
  const bool changed = height != node->height;
  node->height = height;
  return changed;
}

BencDictNode* Leftmost(BencDictNode* node) {
  while (node->left) {
    node = node->left;
  }
  return node;
}

int CompareToNode(const char* key, size_t len, const BencDictNode* node) {
  return CompareKeys(key, len, node->key.begin(), node->key.size());
}

}  // namespace

BencDictNode* BencDictMap::Find(const char* key, size_t len) const {
  BencDictNode* node = root;
  while (node) {
    const int order = CompareToNode(key, len, node);
    if (order == 0) {
      return node;
    }
    node = order < 0 ? node->left : node->right;
  }
  return nullptr;
}

bool BencDictMap::FindPlace(const char* key, size_t len, Place* place) const {
  *place = {largest, false};
  if (!largest || CompareToNode(key, len, largest) > 0) {
    return true;
  }
  BencDictNode* node = root;
  while (node) {
    const int order = CompareToNode(key, len, node);
    if (order == 0) {
      return false;
    }
    *place = {node, order < 0};
    node = order < 0 ? node->left : node->right;
  }
  return true;
}

void BencDictMap::Attach(BencDictNode* node, Place place) {
  ++count;
  node->parent = place.parent;
  if (!place.parent) {
    root = node;
  } else if (place.left) {
    place.parent->left = node;
  } else {
    place.parent->right = node;
  }
  if (place.parent == largest && !place.left) {
    largest = node;
  }
  Rebalance(place.parent);
}

// Walks up from the parent of a new entry until a height stays as it was. One rotation, single or
// double, restores the height that the subtree had before.
void BencDictMap::Rebalance(BencDictNode* node) {
  while (node && Recount(node)) {
    const int balance = Balance(node);
    if (balance > 1) {
      if (Balance(node->left) < 0) {
        Rotate(node->left, true);
      }
      node = Rotate(node, false);
    } else if (balance < -1) {
      if (Balance(node->right) > 0) {
        Rotate(node->right, false);
      }
      node = Rotate(node, true);
    }
    node = node->parent;
  }
}

// Turns the edge between `node` and its right (to_left) or left child round; returns the subtree's
// new root. The child exists: a node leans to that side.
BencDictNode* BencDictMap::Rotate(BencDictNode* node, bool to_left) {
  BencDictNode* top = to_left ? node->right : node->left;
  BencDictNode* inner = to_left ? top->left : top->right;  // NOLINT(clang-analyzer-core.NullDereference)
  Replace(node, top);
  (to_left ? node->right : node->left) = inner;
  if (inner) {
    inner->parent = node;
  }
  (to_left ? top->left : top->right) = node;
  node->parent = top;
  Recount(node);
  Recount(top);
  return top;
}

void BencDictMap::Replace(BencDictNode* node, BencDictNode* by) {
  BencDictNode* parent = node->parent;
  by->parent = parent;
  if (!parent) {
    root = by;
  } else if (parent->left == node) {
    parent->left = by;
  } else {
    parent->right = by;
  }
}

BencDictNode* BencDictMap::First() const { return root ? Leftmost(root) : nullptr; }

BencDictNode* BencDictMap::Next(BencDictNode* node) {
  if (node->right) {
    return Leftmost(node->right);
  }
  while (node->parent && node->parent->right == node) {
    node = node->parent;
  }
  return node->parent;
}

// An entry is reached only when nothing smaller is left, so its right subtree can take its place.
BencDictNode* BencDictMap::DeleteAndAdvance(BencDictNode* node, RecordReleaser& releaser) {
  BencDictNode* right = node->right;
  BencDictNode* parent = node->parent;
  DestroyRecord(node, releaser);
  if (!right) {
    return parent;
  }
  right->parent = parent;
  return Leftmost(right);
}

}  // namespace core
