#include <gtest/gtest.h>

#include <string>

#include "core/containers/templates_map.h"
#include "tests/support/fatal.h"
#include "tests/support/map_nodes.h"
#include "tests/support/small_stack.h"

namespace core {
namespace {

using MapPrivate::NodeBase;

constexpr char kSource[] = "core/templates";

using MapNodeDeathTest = MapNode;

// --- Insert ---

TEST_F(MapNode, InsertAttachesLeavesOnTheirSides) {
  Root(Tree(4));
  EXPECT_EQ(2, KeyOf(Insert(2)));
  EXPECT_EQ(6, KeyOf(Insert(6)));
  EXPECT_EQ(3, KeyOf(Insert(3)));
  EXPECT_EQ("4(2(-,3),6)", Below());
}

TEST_F(MapNode, InsertRotatesEachOfTheFourShapes) {
  struct Case {
    int first, second, third;
  };
  for (const Case& c : {Case{1, 2, 3}, {1, 3, 2}, {3, 1, 2}, {3, 2, 1}}) {
    Root(Tree(c.first));
    Insert(c.second);
    EXPECT_EQ(c.third, KeyOf(Insert(c.third)));
    EXPECT_EQ("2(1,3)", Below());
    Drop();
  }
}

TEST_F(MapNode, AnEqualKeyReplacesTheNodeInItsPlace) {
  Root(Tree(4, Tree(2, Tree(1), Tree(3)), Tree(6)));
  const NodeBase* old = Find(2);
  NodeBase* fresh = Insert(2);
  EXPECT_NE(old, fresh);
  EXPECT_EQ(fresh, Find(2));
  EXPECT_EQ("4(2(1,3),6)", Below());
  EXPECT_EQ(5, IntNode::live);
  EXPECT_EQ(Insert(4), head_.left);
  EXPECT_EQ(Insert(6), head_.left->right);
  EXPECT_EQ("4(2(1,3),6)", Below());
  EXPECT_EQ(5, IntNode::live);
}

TEST_F(MapNode, AReplacedNodeIsNotRebalancedItself) {
  Root(Tree(1, nullptr, Tree(2, nullptr, Tree(3))));
  Insert(1);
  EXPECT_EQ("1(-,2(-,3))", Below());
}

TEST_F(MapNode, AReplacementRebalancesTheNodesAboveIt) {
  Root(Tree(1, nullptr, Tree(2, nullptr, Tree(3))));
  EXPECT_EQ(3, KeyOf(Insert(3)));
  EXPECT_EQ("2(1,3)", Below());
}

TEST_F(MapNode, InsertRepairsNothingAboveTheNodeItIsCalledOn) {
  Root(Tree(1, nullptr, Tree(2, nullptr, Tree(4))));
  const int key = 3;
  Find(4)->Insert(&key);
  EXPECT_EQ("1(-,2(-,4(3,-)))", Below());
}

TEST_F(MapNode, InsertRepairsNothingBesideItsPath) {
  Root(Tree(10, Tree(1, nullptr, Tree(2, nullptr, Tree(3))), Tree(20, nullptr, Tree(30))));
  Insert(40);
  EXPECT_EQ("10(1(-,2(-,3)),30(20,40))", Below());
}

// Takes the root off its head while a node is made, in the middle of an insertion.
struct HarmfulNode : IntNode {
  inline static NodeBase* head = nullptr;

  using IntNode::IntNode;
  NodeBase* newNode(const void* pair) const override {
    head->left = nullptr;
    return IntNode::newNode(pair);
  }
};

TEST_F(MapNodeDeathTest, InsertingBelowANodeThatIsNobodysChildIsFatal) {
  Root(Tree(4, Tree(2), Tree(6)));
  IntNode alone(9);
  const int key = 1;
  EXPECT_FATAL(alone.Insert(&key), kSource, 620);
  EXPECT_FATAL(head_.Insert(&key), kSource, 620);
  alone.parent = head_.left;
  EXPECT_FATAL(alone.Insert(&key), kSource, 620);
}

TEST_F(MapNodeDeathTest, InsertionChecksTheLinksOfEveryNodeOnItsWay) {
  Root(Tree(4, Tree(2), Tree(6)));
  auto insert = [this](int key) {
    Find(2)->parent = &head_;
    Find(6)->parent = nullptr;
    Insert(key);
  };
  EXPECT_FATAL(insert(1), kSource, 620);
  EXPECT_FATAL(insert(2), kSource, 620);
  EXPECT_FATAL(insert(7), kSource, 620);
}

TEST_F(MapNodeDeathTest, ReplacingANodeThatCameLooseIsFatal) {
  HarmfulNode::head = &head_;
  Root(new HarmfulNode(4));
  EXPECT_FATAL(Insert(4), kSource, 641);
}

TEST_F(MapNodeDeathTest, RebalancingANodeThatCameLooseIsFatal) {
  HarmfulNode::head = &head_;
  Root(new HarmfulNode(1));
  head_.left->AssignRight(new HarmfulNode(3));
  EXPECT_FATAL(Insert(2), kSource, 659);
}

// --- Rebalance ---

TEST_F(MapNode, RebalanceRotatesOnceWhenTheOuterGrandchildIsHigher) {
  EXPECT_EQ("2(1,3)", Rebalanced(Tree(1, nullptr, Tree(2, nullptr, Tree(3))), -2));
  EXPECT_EQ("2(1,3)", Rebalanced(Tree(3, Tree(2, Tree(1))), 2));
  EXPECT_EQ("4(2(1,3),5(-,6))", Rebalanced(Tree(2, Tree(1), Tree(4, Tree(3), Tree(5, nullptr, Tree(6)))), -2));
  EXPECT_EQ("3(2(1,-),5(4,6))", Rebalanced(Tree(5, Tree(3, Tree(2, Tree(1)), Tree(4)), Tree(6)), 2));
}

TEST_F(MapNode, RebalanceRotatesTwiceWhenTheInnerGrandchildIsHigher) {
  EXPECT_EQ("2(1,3)", Rebalanced(Tree(1, nullptr, Tree(3, Tree(2))), -2));
  EXPECT_EQ("2(1,3)", Rebalanced(Tree(3, Tree(1, nullptr, Tree(2))), 2));
  EXPECT_EQ("4(2(1,3),6(5,7))", Rebalanced(Tree(2, Tree(1), Tree(6, Tree(4, Tree(3), Tree(5)), Tree(7))), -2));
  EXPECT_EQ("4(2(1,3),6(5,7))", Rebalanced(Tree(6, Tree(2, Tree(1), Tree(4, Tree(3), Tree(5))), Tree(7)), 2));
}

TEST_F(MapNode, RebalanceLeavesABalancedHeavyChildAlone) {
  EXPECT_EQ("2(-,4(3,5))", Rebalanced(Tree(2, nullptr, Tree(4, Tree(3), Tree(5))), -2));
  EXPECT_EQ("4(2(1,3),-)", Rebalanced(Tree(4, Tree(2, Tree(1), Tree(3))), 2));
}

TEST_F(MapNode, RebalanceStopsBehindTheFirstRotationWhenItLeftABalancedChild) {
  EXPECT_EQ("0(-,3(2,10))", Rebalanced(Tree(0, nullptr, Tree(10, Tree(3, Tree(2)))), -3));
  EXPECT_EQ("20(10(3,12),-)", Rebalanced(Tree(20, Tree(3, nullptr, Tree(10, nullptr, Tree(12)))), 3));
}

TEST_F(MapNode, RebalanceStopsBehindTheFirstRotationWhenTheChildNowLeansInward) {
  EXPECT_EQ("0(-,3(2(1,-),10))", Rebalanced(Tree(0, nullptr, Tree(10, Tree(3, Tree(2, Tree(1))))), -4));
  EXPECT_EQ("20(10(3,12(-,13)),-)",
            Rebalanced(Tree(20, Tree(3, nullptr, Tree(10, nullptr, Tree(12, nullptr, Tree(13))))), 4));
}

TEST_F(MapNode, RebalanceReattachesOnTheSideTheChildCameFrom) {
  Root(Tree(0, nullptr, Tree(1, nullptr, Tree(2, nullptr, Tree(3)))));
  NodeBase::Rebalance(Find(0), Find(1), -2);
  EXPECT_EQ("0(-,2(1,3))", Below());
  Drop();
  Root(Tree(9, nullptr, Tree(13, Tree(12, Tree(11)))));
  NodeBase::Rebalance(Find(9), Find(13), 2);
  EXPECT_EQ("9(-,12(11,13))", Below());
  Drop();
  Root(Tree(9, Tree(3, Tree(2, Tree(1))), Tree(10)));
  NodeBase::Rebalance(Find(9), Find(3), 2);
  EXPECT_EQ("9(2(1,3),10)", Below());
}

TEST_F(MapNode, ABalanceBelowOneMeansRightHeavy) {
  Root(Tree(2, Tree(1), Tree(3, nullptr, Tree(4))));
  NodeBase::Rebalance(&head_, head_.left, 0);
  EXPECT_EQ("3(2(1,-),4)", Below());
}

TEST_F(MapNode, ABalanceOfOneMeansLeftHeavy) {
  Root(Tree(3, Tree(2, Tree(1)), Tree(4)));
  NodeBase::Rebalance(&head_, head_.left, 1);
  EXPECT_EQ("2(1,3(-,4))", Below());
}

TEST_F(MapNodeDeathTest, RebalancingUnderAnotherParentIsFatal) {
  Root(Tree(4, Tree(2), Tree(6)));
  EXPECT_FATAL(NodeBase::Rebalance(&head_, Find(2), 2), kSource, 538);
  auto rebalance = [this] {
    Find(2)->parent = &head_;
    NodeBase::Rebalance(&head_, Find(4)->left, 2);
  };
  EXPECT_FATAL(rebalance(), kSource, 539);
}

TEST_F(MapNodeDeathTest, RebalancingWithoutAHeavyChildIsFatal) {
  Root(Tree(4));
  EXPECT_FATAL(NodeBase::Rebalance(&head_, Find(4), 2), kSource, 547);
  EXPECT_FATAL(NodeBase::Rebalance(&head_, Find(4), 1), kSource, 547);
  EXPECT_FATAL(NodeBase::Rebalance(&head_, Find(4), 0), kSource, 573);
  EXPECT_FATAL(NodeBase::Rebalance(&head_, Find(4), -2), kSource, 573);
}

// --- RemoveChild, Delete ---

TEST_F(MapNode, ARemovedLeafLeavesAnEmptySlot) {
  EXPECT_EQ("-", WithoutRoot(Tree(4)));
  EXPECT_EQ(0u, head_.height);
  EXPECT_EQ("0", WithoutRightChild(Tree(4)));
}

TEST_F(MapNode, ALeftChildWithoutRightSubtreeIsReplacedByItsLeft) {
  EXPECT_EQ("2(1,3)", WithoutRoot(Tree(4, Tree(2, Tree(1), Tree(3)))));
}

TEST_F(MapNode, ARightChildWithoutLeftSubtreeIsReplacedByItsRight) {
  EXPECT_EQ("0(-,6(5,7))", WithoutRightChild(Tree(4, nullptr, Tree(6, Tree(5), Tree(7)))));
}

TEST_F(MapNode, ALeftChildIsReplacedByItsSuccessor) {
  EXPECT_EQ("6(2,-)", WithoutRoot(Tree(4, Tree(2), Tree(6))));
  EXPECT_EQ("6(2,7)", WithoutRoot(Tree(4, Tree(2), Tree(6, nullptr, Tree(7)))));
  EXPECT_EQ("5(2,6(-,7))", WithoutRoot(Tree(4, Tree(2), Tree(6, Tree(5), Tree(7)))));
  EXPECT_EQ("6(-,8(7,9))", WithoutRoot(Tree(4, nullptr, Tree(8, Tree(6, nullptr, Tree(7)), Tree(9)))));
}

TEST_F(MapNode, ARightChildIsReplacedByItsPredecessor) {
  EXPECT_EQ("0(-,2(-,6))", WithoutRightChild(Tree(4, Tree(2), Tree(6))));
  EXPECT_EQ("0(-,2(1,6))", WithoutRightChild(Tree(4, Tree(2, Tree(1)), Tree(6))));
  EXPECT_EQ("0(-,3(2(1,-),6))", WithoutRightChild(Tree(4, Tree(2, Tree(1), Tree(3)), Tree(6))));
  EXPECT_EQ("0(-,4(2(1,3),-))", WithoutRightChild(Tree(8, Tree(2, Tree(1), Tree(4, Tree(3))))));
}

TEST_F(MapNode, ANeighbourIsItselfRemovedByTheSameRules) {
  // The successor 5 is a left child with a right subtree, so its own successor 6 takes its place.
  EXPECT_EQ("5(2,10(6(-,8(7,-)),-))",
            WithoutRoot(Tree(4, Tree(2), Tree(10, Tree(5, nullptr, Tree(8, Tree(6, nullptr, Tree(7))))))));
  // The predecessor 7 is a right child with a left subtree, so its own predecessor 6 does.
  EXPECT_EQ("0(-,7(2(-,6(4(-,5),-)),20))",
            WithoutRightChild(Tree(10, Tree(2, nullptr, Tree(7, Tree(4, nullptr, Tree(6, Tree(5))))), Tree(20))));
}

TEST_F(MapNode, RemovingRotatesNothing) {
  Root(Tree(4, Tree(2), Tree(6, Tree(5), Tree(8, Tree(7), Tree(9)))));
  Delete(2);
  EXPECT_EQ("4(-,6(5,8(7,9)))", Below());
  Delete(5);
  EXPECT_EQ("4(-,6(-,8(7,9)))", Below());
}

TEST_F(MapNode, AChildThatIsKeptComesBackWithoutLinks) {
  Root(Tree(4, Tree(2, Tree(1), Tree(3)), Tree(7, Tree(6, Tree(5)), Tree(8))));
  for (int key : {7, 2, 8, 4}) {
    NodeBase* node = Find(key);
    const NodeBase* kept = node->parent->RemoveChild(node, false);
    EXPECT_EQ(node, kept);
    EXPECT_EQ(std::to_string(key), Shape(kept));
    EXPECT_EQ(nullptr, kept->parent);
    delete kept;
  }
  EXPECT_EQ(4, IntNode::live);
  EXPECT_EQ("5(3(1,-),6)", Below());
}

TEST_F(MapNode, DeleteRemovesTheKeyOfTheSubtreeOnly) {
  Root(Tree(4, Tree(2, Tree(1), Tree(3)), Tree(6)));
  const int six = 6;
  const int three = 3;
  head_.left->left->Delete(&six);
  Delete(5);
  EXPECT_EQ("4(2(1,3),6)", Below());
  head_.left->left->Delete(&three);
  Delete(6);
  EXPECT_EQ("4(2(1,-),-)", Below());
  Delete(4);
  EXPECT_EQ("2(1,-)", Below());
  EXPECT_EQ(2, IntNode::live);
}

TEST_F(MapNode, ARowOfReplacementsNeedsNoStack) {
  Root(Tree(-1, nullptr, Chain(5000, [](int depth) { return depth % 2 != 0; })));
  OnSmallStack([&] { head_.RemoveChild(head_.left, true); });
  int expected = 0;
  for (const NodeBase* node = head_.getSmallest(); node != &head_; node = node->Next()) {
    ASSERT_EQ(expected++, KeyOf(node));
  }
  EXPECT_EQ(5000, expected);
}

TEST_F(MapNodeDeathTest, RemovingTheChildOfAnotherNodeIsFatal) {
  Root(Tree(4, Tree(2, Tree(1), Tree(3)), Tree(6)));
  EXPECT_FATAL(head_.RemoveChild(Find(2), false), kSource, 718);
  EXPECT_FATAL(head_.RemoveChild(Find(6), true), kSource, 718);
  EXPECT_FATAL(Find(6)->RemoveChild(Find(2), false), kSource, 718);
  EXPECT_FATAL(Find(4)->RemoveChild(nullptr, true), kSource, 718);
}

}  // namespace
}  // namespace core
