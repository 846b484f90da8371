#include <gtest/gtest.h>
#include <stdint.h>

#include <type_traits>

#include "core/containers/templates_map.h"
#include "tests/support/fatal.h"
#include "tests/support/map_nodes.h"
#include "tests/support/small_stack.h"

namespace core {
namespace {

using MapPrivate::NodeBase;

constexpr char kSource[] = "core/templates";

using MapNodeDeathTest = MapNode;

// --- the record ---

TEST_F(MapNode, StartsAsALeafWithoutLinks) {
  const IntNode node(1);
  EXPECT_EQ(0u, node.height);
  EXPECT_EQ(nullptr, node.left);
  EXPECT_EQ(nullptr, node.right);
  EXPECT_EQ(nullptr, node.parent);
}

TEST_F(MapNode, DeletingOneDeletesItsSubtreeOnly) {
  Root(Tree(4, Tree(2, Tree(1), Tree(3)), Tree(6, nullptr, Tree(7))));
  delete head_.left->DisownLeft();
  EXPECT_EQ(3, IntNode::live);
  EXPECT_EQ("4(-,6(-,7))", Below());
}

TEST_F(MapNode, OnTheStackDeletesItsChildrenWhenItEnds) {
  {
    IntNode top(4);
    top.AssignLeft(Tree(2, Tree(1), Tree(3)));
    top.AssignRight(Tree(6));
    EXPECT_EQ(5, IntNode::live);
  }
  EXPECT_EQ(0, IntNode::live);
}

// --- Assign, Disown, Recount ---

TEST_F(MapNode, AssignLinksBothWaysAndCountsUpToTheHead) {
  Root(Tree(4));
  auto* left = new IntNode(2);
  auto* right = Tree(6, Tree(5));
  head_.left->AssignLeft(left);
  EXPECT_EQ(head_.left, left->parent);
  EXPECT_EQ("4(2,-)", Below());
  head_.left->AssignRight(right);
  EXPECT_EQ(head_.left, right->parent);
  EXPECT_EQ("4(2,6(5,-))", Below());
  EXPECT_EQ(3u, head_.height);
}

TEST_F(MapNode, AssigningNothingClearsTheSlotAndRecounts) {
  Root(Tree(4));
  head_.left->height = 7;
  head_.left->AssignLeft(nullptr);
  EXPECT_EQ("4", Below());
  head_.left->height = 7;
  head_.left->AssignRight(nullptr);
  EXPECT_EQ("4", Below());
}

TEST_F(MapNode, DisownUnlinksBothWaysAndCountsUpToTheHead) {
  Root(Tree(4, Tree(2, Tree(1)), Tree(6)));
  NodeBase* left = head_.left->DisownLeft();
  EXPECT_EQ("2(1,-)", Shape(left));
  EXPECT_EQ(nullptr, left->parent);
  EXPECT_EQ("4(-,6)", Below());
  NodeBase* right = head_.left->DisownRight();
  EXPECT_EQ("6", Shape(right));
  EXPECT_EQ(nullptr, right->parent);
  EXPECT_EQ("4", Below());
  delete left;
  delete right;
}

TEST_F(MapNode, DisowningNothingReturnsNullAndRecounts) {
  Root(Tree(4));
  head_.left->height = 7;
  EXPECT_EQ(nullptr, head_.left->DisownLeft());
  EXPECT_EQ("4", Below());
  head_.left->height = 7;
  EXPECT_EQ(nullptr, head_.left->DisownRight());
  EXPECT_EQ("4", Below());
}

// A tree in which the height of 6 and those of all its ancestors are wrong.
class MapNodeTampered : public MapNode {
 protected:
  void SetUp() override {
    Root(Tree(8, Tree(3, Tree(2), Tree(6, Tree(5), Tree(7))), Tree(9)));
    for (NodeBase* node = Find(6); node; node = node->parent) {
      node->height = 40;
    }
  }
  static constexpr char kShape[] = "8(3(2,6(5,7)),9)";
};

TEST_F(MapNodeTampered, RecountRepairsEveryAncestorUpToTheHead) {
  Find(6)->Recount();
  EXPECT_EQ(kShape, Below());
}

TEST_F(MapNodeTampered, RecountGoesOnBehindARightHeight) {
  Find(6)->height = 1;
  Find(3)->height = 2;
  Find(5)->Recount();
  EXPECT_EQ(kShape, Below());
}

TEST_F(MapNodeTampered, AssigningRepairsEveryAncestor) {
  Find(5)->AssignRight(nullptr);
  EXPECT_EQ(kShape, Below());
}

TEST_F(MapNodeTampered, DisowningRepairsEveryAncestor) {
  delete Find(6)->DisownRight();
  EXPECT_EQ("8(3(2,6(5,-)),9)", Below());
}

TEST_F(MapNode, RecountLeavesTheNodesBelowAlone) {
  Root(Tree(4, Tree(2, Tree(1))));
  Find(1)->height = 9;
  Find(2)->Recount();
  EXPECT_EQ(9u, Find(1)->height);
  EXPECT_EQ(10u, Find(2)->height);
  EXPECT_EQ(12u, head_.height);
}

TEST_F(MapNodeDeathTest, ATakenSlotIsFatal) {
  Root(Tree(4, Tree(2), Tree(6)));
  EXPECT_FATAL(head_.left->AssignLeft(new IntNode(1)), kSource, 493);
  EXPECT_FATAL(head_.left->AssignLeft(nullptr), kSource, 493);
  EXPECT_FATAL(head_.left->AssignRight(new IntNode(7)), kSource, 503);
  EXPECT_FATAL(head_.left->AssignRight(nullptr), kSource, 503);
  EXPECT_FATAL(head_.left->AssignLeft(Find(6)), kSource, 493);
  EXPECT_FATAL(head_.left->AssignRight(Find(2)), kSource, 503);
}

TEST_F(MapNodeDeathTest, AssigningANodeWithAParentIsFatal) {
  Root(Tree(4, Tree(2), Tree(6)));
  EXPECT_FATAL(Find(2)->AssignLeft(Find(6)), kSource, 494);
  EXPECT_FATAL(Find(2)->AssignRight(Find(6)), kSource, 504);
}

TEST_F(MapNodeDeathTest, DisowningAChildOfAnotherParentIsFatal) {
  Root(Tree(4, Tree(2), Tree(6)));
  auto disown = [this](bool left) {
    Find(2)->parent = left ? nullptr : head_.left;
    Find(6)->parent = left ? head_.left : &head_;
    left ? head_.left->DisownLeft() : head_.left->DisownRight();
  };
  EXPECT_FATAL(disown(true), kSource, 515);
  EXPECT_FATAL(disown(false), kSource, 526);
}

// --- getBalance, getSmallest, getLargest, Lookup ---

TEST_F(MapNode, BalanceIsTheLeftHeightMinusTheRight) {
  Root(Tree(4, Tree(2, Tree(1, Tree(0)))));
  EXPECT_EQ(3, Find(4)->getBalance());
  EXPECT_EQ(2, Find(2)->getBalance());
  EXPECT_EQ(1, Find(1)->getBalance());
  EXPECT_EQ(0, Find(0)->getBalance());
  head_.left->AssignRight(Tree(6));
  EXPECT_EQ(2, Find(4)->getBalance());
  Find(6)->AssignRight(Tree(7, nullptr, Tree(8, nullptr, Tree(9))));
  EXPECT_EQ(-1, Find(4)->getBalance());
  EXPECT_EQ(-3, Find(6)->getBalance());
}

TEST_F(MapNode, SmallestAndLargestFollowTheLinksToTheirEnds) {
  Root(Tree(5, Tree(1, nullptr, Tree(3, Tree(2), Tree(4))), Tree(9, Tree(7))));
  const NodeBase* root = head_.left;
  EXPECT_EQ(Find(1), root->getSmallest());
  EXPECT_EQ(Find(9), root->getLargest());
  EXPECT_EQ(Find(2), Find(3)->getSmallest());
  EXPECT_EQ(Find(4), Find(3)->getLargest());
  EXPECT_EQ(Find(4), Find(4)->getSmallest());
  EXPECT_EQ(Find(4), Find(4)->getLargest());
  static_assert(std::is_same_v<decltype(root->getSmallest()), const NodeBase*>);
  static_assert(std::is_same_v<decltype(head_.getLargest()), NodeBase*>);
}

TEST_F(MapNode, LookupFindsTheKeysOfTheSubtreeOnly) {
  Root(Tree(40, Tree(20, Tree(10), Tree(30)), Tree(60)));
  for (int key = 0; key < 70; ++key) {
    SCOPED_TRACE(key);
    const bool there = key == 10 || key == 20 || key == 30 || key == 40 || key == 60;
    const NodeBase* found = head_.left->LookupBase(&key);
    EXPECT_EQ(there, found != nullptr);
    EXPECT_EQ(found, head_.left->Lookup(&key));
    if (found) {
      EXPECT_EQ(key, KeyOf(found));
    }
    EXPECT_EQ(there && key < 40, head_.left->left->Lookup(&key) != nullptr);
  }
}

// --- CountDepth, VerifyDepth ---

TEST_F(MapNode, CountDepthCountsTheLinksAnew) {
  Root(Tree(4, Tree(2, Tree(1)), Tree(6)));
  for (int key : {1, 2, 4}) {
    Find(key)->height = 50;
  }
  EXPECT_EQ(0u, Find(1)->CountDepth());
  EXPECT_EQ(1u, Find(2)->CountDepth());
  EXPECT_EQ(2u, Find(4)->CountDepth());
  EXPECT_EQ(3u, head_.CountDepth());
  EXPECT_EQ(50u, Find(4)->height);
}

TEST_F(MapNode, VerifyDepthTakesRightHeights) {
  Root(Tree(4, Tree(2, Tree(1)), Tree(6, nullptr, Tree(8, nullptr, Tree(9)))));
  head_.VerifyDepth();
  head_.left->VerifyDepth();
  EXPECT_EQ("4(2(1,-),6(-,8(-,9)))", Below());
}

TEST_F(MapNodeDeathTest, VerifyDepthStopsAtAHeightThatNoChildExplains) {
  Root(Tree(4, Tree(2, Tree(1)), Tree(6)));
  auto verify = [this](int key, uint32_t height) {
    Find(key)->height = height;
    head_.VerifyDepth();
  };
  EXPECT_FATAL(verify(4, 3), kSource, 485);
  EXPECT_FATAL(verify(4, 0), kSource, 485);
  EXPECT_FATAL(verify(2, 0), kSource, 485);
  EXPECT_FATAL(verify(1, 1), kSource, 485);
  EXPECT_FATAL(verify(6, 1), kSource, 485);
}

TEST_F(MapNodeDeathTest, VerifyDepthStopsAtAHeightOfTheLowerChild) {
  Root(Tree(4, Tree(2, Tree(1)), Tree(6)));
  auto verify = [this] {
    Find(4)->height = 1;
    Find(4)->VerifyDepth();
  };
  EXPECT_FATAL(verify(), kSource, 486);
}

TEST_F(MapNodeDeathTest, VerifyDepthStopsAtAHeightThatTheSubtreeBelowDoesNotHave) {
  Root(Tree(4, Tree(2, Tree(1)), Tree(6)));
  auto verify = [this] {
    Find(1)->height = 1;
    Find(1)->parent->Recount();
    head_.VerifyDepth();
  };
  EXPECT_FATAL(verify(), kSource, 487);
}

// --- the next node ---

TEST_F(MapNode, NextVisitsTheKeysInOrderAndEndsAtTheHead) {
  Root(Tree(5, Tree(1, nullptr, Tree(3, Tree(2), Tree(4))), Tree(9, Tree(7, Tree(6), Tree(8)))));
  const NodeBase* node = head_.getSmallest();
  for (int key = 1; key <= 9; ++key) {
    ASSERT_NE(&head_, node);
    EXPECT_EQ(key, KeyOf(node));
    node = node->Next();
  }
  EXPECT_EQ(&head_, node);
}

// --- deep trees ---

constexpr int kDeep = 1'000'000;

struct Lean {
  const char* name;
  bool (*left)(int depth);
};
constexpr Lean kLeans[] = {
    {"left", [](int) { return true; }},
    {"right", [](int) { return false; }},
    {"zigzag", [](int depth) { return depth % 2 == 0; }},
};

TEST_F(MapNode, ADeepTreeIsDeletedOnASmallStack) {
  for (const Lean& lean : kLeans) {
    SCOPED_TRACE(lean.name);
    NodeBase* root = Chain(kDeep, lean.left);
    EXPECT_EQ(kDeep, IntNode::live);
    OnSmallStack([&] { delete root; });
    EXPECT_EQ(0, IntNode::live);
  }
}

TEST_F(MapNode, ADeepTreeIsSearchedAndPrunedOnASmallStack) {
  for (const Lean& lean : kLeans) {
    SCOPED_TRACE(lean.name);
    Root(Chain(kDeep, lean.left));
    OnSmallStack([&] {
      for (int key : {0, kDeep / 2, kDeep - 1}) {
        EXPECT_EQ(key, KeyOf(Find(key)));
        EXPECT_EQ(key == kDeep - 1 ? &head_ : Find(key + 1), Find(key)->Next());
      }
      EXPECT_EQ(0, KeyOf(head_.left->getSmallest()));
      EXPECT_EQ(kDeep - 1, KeyOf(head_.left->getLargest()));
      Delete(kDeep / 2);
      EXPECT_EQ(kDeep - 1, IntNode::live);
      Drop();
    });
  }
}

TEST_F(MapNode, InsertingIntoADeepTreeRunsOnASmallStack) {
  constexpr int kLevels = 4000;
  Root(Chain(kLevels, [](int) { return false; }));
  OnSmallStack([&] { Insert(kLevels); });
  int expected = 0;
  for (const NodeBase* node = head_.getSmallest(); node != &head_; node = node->Next()) {
    ASSERT_EQ(expected++, KeyOf(node));
  }
  EXPECT_EQ(kLevels + 1, expected);
}

// The head of a map is such a node. It has no key.
TEST(BareNode, IsNeverAskedForAKey) {
  const NodeBase node;
  EXPECT_FATAL(static_cast<void>(node.isLessThan(&node, &node)), "core/templates", 1005);
  EXPECT_FATAL(static_cast<void>(node.getData()), "core/templates", 1006);
  EXPECT_FATAL(static_cast<void>(node.newNode(nullptr)), "core/templates", 1007);
}

}  // namespace
}  // namespace core
