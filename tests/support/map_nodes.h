// Trees of int nodes, built by hand and written as text: "4(2(1,3),6)", with "-" for a missing child
// beside a present one.
#pragma once

#include <gtest/gtest.h>
#include <stdint.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/containers/templates_map.h"

// A node whose pair is just its key.
struct IntNode : core::MapPrivate::NodeBase {
  inline static long live = 0;  // nodes made and not yet deleted

  int key;

  explicit IntNode(int node_key) : key(node_key) { ++live; }
  ~IntNode() override { --live; }

  bool isLessThan(const void* a, const void* b) const override {
    return *static_cast<const int*>(a) < *static_cast<const int*>(b);
  }
  const void* getData() const override { return &key; }
  NodeBase* newNode(const void* pair) const override { return new IntNode(*static_cast<const int*>(pair)); }
};

// A new node with these subtrees, linked by writing the fields.
inline IntNode* Tree(int key, core::MapPrivate::NodeBase* left = nullptr, core::MapPrivate::NodeBase* right = nullptr) {
  auto* node = new IntNode(key);
  node->left = left;
  node->right = right;
  for (core::MapPrivate::NodeBase* child : {left, right}) {
    if (child) {
      child->parent = node;
      node->height = std::max(node->height, child->height + 1);
    }
  }
  return node;
}

// A tree of `depth` nodes below each other, linked from the bottom up; `side(i)` tells whether the
// node at depth i is a left child.
template <class Side>
core::MapPrivate::NodeBase* Chain(int depth, Side side) {
  std::vector<int> keys(static_cast<size_t>(depth));
  int low = 0;
  int high = depth;
  for (int i = 0; i < depth; ++i) {
    keys[static_cast<size_t>(i)] = side(i + 1) ? --high : low++;
  }
  core::MapPrivate::NodeBase* node = nullptr;
  for (int i = depth - 1; i >= 0; --i) {
    const int key = keys[static_cast<size_t>(i)];
    node = side(i + 1) ? Tree(key, node) : Tree(key, nullptr, node);
  }
  return node;
}

inline int KeyOf(const core::MapPrivate::NodeBase* node) { return *static_cast<const int*>(node->getData()); }

// The tree as text. Fails the test where a height or a parent link is wrong.
inline std::string Shape(const core::MapPrivate::NodeBase* node) {
  if (!node) {
    return "-";
  }
  const std::string key = std::to_string(KeyOf(node));
  uint32_t height = 0;
  for (const core::MapPrivate::NodeBase* child : {node->left, node->right}) {
    if (child) {
      EXPECT_EQ(node, child->parent) << "below " << key;
      height = std::max(height, child->height + 1);
    }
  }
  EXPECT_EQ(height, node->height) << "at " << key;
  return height == 0 ? key : key + "(" + Shape(node->left) + "," + Shape(node->right) + ")";
}

// A map's head with a hand-built tree below it; all nodes are gone at the end.
class MapNode : public testing::Test {
 protected:
  void Root(core::MapPrivate::NodeBase* root) {
    head_.left = root;
    root->parent = &head_;
    head_.height = root->height + 1;
  }
  std::string Below() const {
    EXPECT_EQ(nullptr, head_.right);
    EXPECT_EQ(head_.left ? head_.left->height + 1 : 0, head_.height);
    return Shape(head_.left);
  }
  void Drop() {
    if (core::MapPrivate::NodeBase* root = head_.DisownLeft()) {
      delete root;
    }
  }
  core::MapPrivate::NodeBase* Find(int key) { return head_.left->Lookup(&key); }
  core::MapPrivate::NodeBase* Insert(int key) { return head_.left->Insert(&key); }
  void Delete(int key) { head_.left->Delete(&key); }

  // Rebalances the tree `root`, which leans by `balance`, and returns its new shape.
  std::string Rebalanced(core::MapPrivate::NodeBase* root, int balance) {
    EXPECT_EQ(balance, root->getBalance());
    Root(root);
    core::MapPrivate::NodeBase::Rebalance(&head_, root, balance);
    std::string shape = Below();
    Drop();
    return shape;
  }
  // Removes the root of the tree, a left child, and returns the new shape.
  std::string WithoutRoot(core::MapPrivate::NodeBase* root) {
    Root(root);
    head_.RemoveChild(root, true);
    std::string shape = Below();
    Drop();
    return shape;
  }
  // Hangs the tree right of a root 0, removes its top there and returns the new shape.
  std::string WithoutRightChild(core::MapPrivate::NodeBase* tree) {
    Root(Tree(0, nullptr, tree));
    head_.left->RemoveChild(tree, true);
    std::string shape = Below();
    Drop();
    return shape;
  }
  void TearDown() override {
    Drop();
    EXPECT_EQ(0, IntNode::live);
  }

  core::MapPrivate::NodeBase head_;
};
