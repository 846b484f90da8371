#include "core/containers/templates_map.h"

namespace core::MapPrivate {

namespace {

constexpr char kSource[] = "core/templates";

uint32_t HeightAbove(const NodeBase* child) { return child ? child->height + 1 : 0; }

uint32_t HeightOf(const NodeBase* node) {
  const uint32_t left = HeightAbove(node->left);
  const uint32_t right = HeightAbove(node->right);
  return left > right ? left : right;
}

// Turns the edge between `top`, which has no parent and leans to the left, and its left child; returns
// the new top.
NodeBase* RotateRight(NodeBase* top) {
  NodeBase* left = top->DisownLeft();
  top->AssignLeft(left->DisownRight());
  left->AssignRight(top);
  return left;
}

NodeBase* RotateLeft(NodeBase* top) {
  NodeBase* right = top->DisownRight();
  top->AssignRight(right->DisownLeft());
  right->AssignLeft(top);
  return right;
}

// Repairs `top`, which has no parent and leans to the right; returns the subtree's top.
NodeBase* RepairRight(NodeBase* top) {
  AssertAt(top->right != nullptr, kSource, 573);
  if (top->right->getBalance() > 0) {
    top->AssignRight(RotateRight(top->DisownRight()));
  }
  AssertAt(top->right != nullptr, kSource, 583);
  return top->right->getBalance() < 0 ? RotateLeft(top) : top;  // NOLINT(clang-analyzer-core.CallAndMessage)
}

NodeBase* RepairLeft(NodeBase* top) {
  AssertAt(top->left != nullptr, kSource, 547);
  if (top->left->getBalance() < 0) {
    top->AssignLeft(RotateLeft(top->DisownLeft()));
  }
  AssertAt(top->left != nullptr, kSource, 557);
  return top->left->getBalance() > 0 ? RotateRight(top) : top;  // NOLINT(clang-analyzer-core.CallAndMessage)
}

}  // namespace

// The last node on the way down goes first, so that nothing is ever deleted with children.
void NodeBase::DeleteDescendants() {
  NodeBase* node = this;
  for (;;) {
    while (node->left || node->right) {
      node = node->left ? node->left : node->right;
    }
    if (node == this) {
      return;
    }
    NodeBase* up = node->parent;
    (up->left == node ? up->left : up->right) = nullptr;
    delete node;
    node = up;
  }
}

void NodeBase::operator delete(NodeBase* node, std::destroying_delete_t) {
  const RecordOrigin origin = node->from;
  node->~NodeBase();
  if (origin == kSingle) {
    ::operator delete(node);
  } else {
    RecordReleaser().Release(node, origin);
  }
}

void NodeBase::AssignLeft(NodeBase* child) {
  AssertAt(left == nullptr, kSource, 493);
  if (child) {
    AssertAt(child->parent == nullptr, kSource, 494);
    child->parent = this;
  }
  left = child;
  Recount();
}

void NodeBase::AssignRight(NodeBase* child) {
  AssertAt(right == nullptr, kSource, 503);
  if (child) {
    AssertAt(child->parent == nullptr, kSource, 504);
    child->parent = this;
  }
  right = child;
  Recount();
}

NodeBase* NodeBase::DisownLeft() {
  NodeBase* child = left;
  if (child) {
    AssertAt(child->parent == this, kSource, 515);
    child->parent = nullptr;
    left = nullptr;
  }
  Recount();
  return child;
}

NodeBase* NodeBase::DisownRight() {
  NodeBase* child = right;
  if (child) {
    AssertAt(child->parent == this, kSource, 526);
    child->parent = nullptr;
    right = nullptr;
  }
  Recount();
  return child;
}

void NodeBase::Recount() {
  for (NodeBase* node = this; node; node = node->parent) {
    node->height = HeightOf(node);
  }
}

const NodeBase* NodeBase::getSmallest() const {
  const NodeBase* node = this;
  while (node->left) {
    node = node->left;
  }
  return node;
}

const NodeBase* NodeBase::getLargest() const {
  const NodeBase* node = this;
  while (node->right) {
    node = node->right;
  }
  return node;
}

const NodeBase* NodeBase::Next() const {
  if (right) {
    return right->getSmallest();
  }
  const NodeBase* node = this;
  while (node->parent->right == node) {
    node = node->parent;
  }
  return node->parent;
}

const NodeBase* NodeBase::LookupBase(const void* key) const {
  const NodeBase* node = this;
  while (node) {
    if (node->isLessThan(key, node->getData())) {
      node = node->left;
    } else if (node->isLessThan(node->getData(), key)) {
      node = node->right;
    } else {
      return node;
    }
  }
  return nullptr;
}

NodeBase* NodeBase::Insert(const void* pair) {
  NodeBase* node = this;
  for (;;) {
    AssertAt(node->IsLinked(), kSource, 620);
    const bool to_right = node->isLessThan(node->getData(), pair);
    if (!to_right && !node->isLessThan(pair, node->getData())) {
      break;
    }
    const Side side = to_right ? kRight : kLeft;
    if (!node->ChildOn(side)) {
      NodeBase* leaf = newNode(pair);
      node->Assign(side, leaf);
      RebalancePath(node, this);
      return leaf;
    }
    node = node->ChildOn(side);
  }
  NodeBase* fresh = newNode(pair);
  node->ReplaceBy(fresh);
  if (node != this) {
    RebalancePath(fresh->parent, this);
  }
  delete node;
  return fresh;
}

NodeBase* NodeBase::InsertBehind(const void* pair) {
  NodeBase* added = Insert(pair);
  NodeBase* node = parent;
  while (node->parent) {
    const int balance = node->getBalance();
    if (balance == 0) {
      break;
    }
    if (balance < -1 || balance > 1) {
      Rebalance(node->parent, node, balance);
    }
    node = node->parent;
  }
  return added;
}

// Links `other`, which may be null, in the place of this node.
void NodeBase::GiveWayTo(NodeBase* other) {
  AssertAt(IsLinked(), kSource, 641);
  NodeBase* up = parent;
  const Side side = SideInParent();
  up->Disown(side);
  up->Assign(side, other);
}

// Puts `fresh` above both subtrees of this node, which is left without links.
void NodeBase::ReplaceBy(NodeBase* fresh) {
  fresh->AssignLeft(DisownLeft());
  fresh->AssignRight(DisownRight());
  GiveWayTo(fresh);
}

void NodeBase::RebalancePath(NodeBase* node, const NodeBase* top) {
  for (;;) {
    NodeBase* up = node->parent;
    const int balance = node->getBalance();
    if (balance < -1 || balance > 1) {
      AssertAt(node->IsLinked(), kSource, 659);
      Rebalance(up, node, balance);
    }
    if (node == top) {
      return;
    }
    node = up;
  }
}

void NodeBase::Rebalance(NodeBase* parent, NodeBase* child, int balance) {
  AssertAt(parent && child->parent == parent, kSource, 538);
  AssertAt(child->IsLinked(), kSource, 539);
  const Side side = child->SideInParent();
  parent->Disown(side);
  parent->Assign(side, balance < 1 ? RepairRight(child) : RepairLeft(child));
}

NodeBase* NodeBase::RemoveChild(NodeBase* child, bool deleteIt) {
  AssertAt(child && (left == child || right == child), kSource, 718);
  const Side side = left == child ? kLeft : kRight;
  Disown(side);
  Assign(side, child->TakeNeighbour(Other(side)));
  if (deleteIt) {
    delete child;
    return nullptr;
  }
  return child;
}

// Empties this node, which has no parent, and returns what takes its place: its next neighbour on `side`
// above both subtrees, or the other subtree when there is none on that side.
//
// A neighbour that is not at the edge of its own subtree leaves a gap, which its next neighbour fills, and
// so on. The last one moves first.
NodeBase* NodeBase::TakeNeighbour(Side side) {
  if (!ChildOn(side)) {
    return Disown(Other(side));
  }
  NodeBase* mover = ChildOn(side)->Outermost(Other(side));
  while (mover->SideInParent() != side && mover->ChildOn(side)) {
    mover = mover->ChildOn(side)->Outermost(Other(side));
  }
  NodeBase* gap = mover->NeighbourAbove(side);
  mover->GiveWayTo(mover->Disown(side));
  while (gap != this) {
    NodeBase* next = gap->NeighbourAbove(side);
    gap->ReplaceBy(mover);
    mover = gap;
    gap = next;
  }
  mover->Assign(Other(side), Disown(Other(side)));
  mover->Assign(side, Disown(side));
  return mover;
}

// The ancestor whose subtree on `side` has this node as its nearest.
NodeBase* NodeBase::NeighbourAbove(Side side) {
  NodeBase* node = this;
  while (node->SideInParent() != side) {
    node = node->parent;
  }
  return node->parent;
}

void NodeBase::Delete(const void* key) {
  if (NodeBase* match = Lookup(key)) {
    AssertAt(match->parent != nullptr, kSource, 1004);
    match->parent->RemoveChild(match, true);
  }
}

uint32_t NodeBase::CountDepth() const {
  const uint32_t on_left = left ? left->CountDepth() + 1 : 0;
  const uint32_t on_right = right ? right->CountDepth() + 1 : 0;
  return on_left > on_right ? on_left : on_right;
}

void NodeBase::VerifyDepth() const {
  const bool below_left = left && left->height + 1 == height;
  const bool below_right = right && right->height + 1 == height;
  AssertAt(height == 0 ? !left && !right : below_left || below_right, kSource, 485);
  AssertAt(height == HeightOf(this), kSource, 486);
  AssertAt(height == CountDepth(), kSource, 487);
  if (left) {
    left->VerifyDepth();
  }
  if (right) {
    right->VerifyDepth();
  }
}

}  // namespace core::MapPrivate
