// The ordered map behind dictionaries: a height-balanced tree of (key, value) entries.
//
// Keys are unique and kept in ascending CompareKeys order. Entries never move, so their addresses
// stay valid until they are freed. Algorithm: AVL tree, Adelson-Velsky and Landis 1962.
#pragma once

#include "core/bencoding.h"
#include "core/record.h"

namespace core {

// An entry is its value with a key and links around it.
struct BencDictNode : BencEntity {
  BencDictNode* left = nullptr;
  BencDictNode* right = nullptr;
  BencDictNode* parent = nullptr;  // null for the root
  int height = 0;                  // of the subtree; 0 for a leaf
  BencArray<char> key;
};

struct BencDictMap {
  // Where a new key belongs.
  struct Place {
    BencDictNode* parent;  // null for the root
    bool left;
  };

  size_t count = 0;
  BencDictNode* root = nullptr;
  BencDictNode* largest = nullptr;  // the last entry, tried first because keys mostly arrive sorted

  // The entry with the `len` bytes of `key`, or null. Cost: logarithmic.
  BencDictNode* Find(const char* key, size_t len) const;

  // Finds where the absent key belongs; false when it is there already. Cost: constant for a key
  // beyond the largest, else logarithmic.
  bool FindPlace(const char* key, size_t len, Place* place) const;

  // Puts `node`, whose key is set, at the place just found for it. The map owns it from then on.
  void Attach(BencDictNode* node, Place place);

  // The entry with the smallest key, null when empty.
  BencDictNode* First() const;

  // The entry after `node` in ascending order, null at the end.
  static BencDictNode* Next(BencDictNode* node);

  // Tear-down in ascending order, one pass: deletes `node`, whose value has been freed, and returns
  // the next entry or null. Begin with First(); nothing else may be called on the map in between or
  // afterwards.
  static BencDictNode* DeleteAndAdvance(BencDictNode* node, RecordReleaser& releaser);

 private:
  void Rebalance(BencDictNode* node);
  BencDictNode* Rotate(BencDictNode* node, bool to_left);
  void Replace(BencDictNode* node, BencDictNode* by);
};

}  // namespace core
