#include "core/containers/templates_map.h"

#include <gtest/gtest.h>
#include <stddef.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/map_nodes.h"

namespace core {
namespace {

using Ints = Map<int, int>;
using IntPair = Ints::value_type;

Ints::Inserted Add(Ints& map, int key, int value = 0) { return map.insert(IntPair(key, value)); }

std::unique_ptr<Ints> Filled(const std::vector<int>& keys) {
  auto map = std::make_unique<Ints>();
  for (int key : keys) {
    Add(*map, key);
  }
  return map;
}

std::vector<int> Keys(const Ints& map) {
  std::vector<int> keys;
  for (const IntPair& pair : map) {
    keys.push_back(pair.first);
  }
  return keys;
}

// --- the record ---

TEST(Map, CountsThenHoldsTheHead) {
  Ints map;
  const auto* start = reinterpret_cast<const char*>(static_cast<const void*>(&map));
  EXPECT_EQ(start, reinterpret_cast<const char*>(&map.count));
  EXPECT_EQ(start + sizeof map.count, reinterpret_cast<const char*>(&map.head));
  EXPECT_EQ(sizeof map, sizeof map.count + sizeof map.head);
}

TEST(Map, RootIsTheHeadsLeftChild) {
  Ints map;
  EXPECT_EQ(nullptr, map.head.left);
  Add(map, 1);
  EXPECT_EQ("1", Shape(map.head.left));
  EXPECT_EQ(&map.head, map.head.left->parent);
  EXPECT_EQ(nullptr, map.head.right);
  EXPECT_EQ(nullptr, map.head.parent);
}

TEST(Map, NodesNameTheirPairWhoseFirstMemberIsTheKey) {
  Ints map;
  const auto added = Add(map, 7, 70);
  EXPECT_EQ(&*added.first, added.first.current()->getData());
  EXPECT_EQ(static_cast<const void*>(&added.first->first), added.first.current()->getData());
}

TEST(Map, NodesOrderKeysAndMakeNodesOfTheirKind) {
  Ints map;
  Add(map, 7, 70);
  const int low = 1;
  const int high = 2;
  EXPECT_TRUE(map.head.left->isLessThan(&low, &high));
  EXPECT_FALSE(map.head.left->isLessThan(&high, &low));
  EXPECT_FALSE(map.head.left->isLessThan(&low, &low));
  const IntPair pair(8, 80);
  MapPrivate::NodeBase* node = map.head.left->newNode(&pair);
  const auto* made = static_cast<const IntPair*>(node->getData());
  EXPECT_EQ(8, made->first);
  EXPECT_EQ(80, made->second);
  EXPECT_EQ("8", Shape(node));
  EXPECT_EQ(nullptr, node->parent);
  delete node;
}

struct Descending {
  bool operator()(int a, int b) const { return a > b; }
};

TEST(Map, TakesItsOrderFromTheTemplate) {
  Map<int, int, Descending> map;
  for (int key : {2, 1, 3}) {
    map.insert({key, 0});
  }
  std::vector<int> keys;
  for (const auto& pair : map) {
    keys.push_back(pair.first);
  }
  EXPECT_EQ((std::vector<int>{3, 2, 1}), keys);
}

// Keys whose Compare orders them the other way round than their operator<.
struct Contrary {
  int number;
  bool operator<(const Contrary& other) const { return number < other.number; }
  int Compare(const Contrary& other) const { return other.number - number; }
};
struct ContraryByCompare : Contrary {
  static constexpr bool kOrderedByCompare = true;
};

// The keys 1 to 7 in the map's order, added with hints and without. Fails the test where a key is not found
// both by the map and by its nodes, or can be added twice.
template <class Key>
std::vector<int> OrderOf() {
  using KeyMap = Map<Key, int>;
  KeyMap map;
  auto hint = map.insert({Key{4}, 0}).first;
  for (int number : {5, 3, 6, 2}) {
    hint = map.insert(hint, {Key{number}, 0}).first;
  }
  for (int number : {7, 1}) {
    map.insert({Key{number}, 0});
  }
  std::vector<int> order;
  for (const auto& pair : map) {
    order.push_back(pair.first.number);
    EXPECT_EQ(map.find(pair.first).current(), map.head.left->Lookup(&pair)) << pair.first.number;
    EXPECT_FALSE(map.insert(map.begin(), {pair.first, 1}).second) << pair.first.number;
  }
  return order;
}

TEST(Map, OrdersEverywhereByOperatorLess) { EXPECT_EQ((std::vector<int>{1, 2, 3, 4, 5, 6, 7}), OrderOf<Contrary>()); }

TEST(Map, OrdersEverywhereByTheCompareOfAKeyThatAsksForIt) {
  EXPECT_EQ((std::vector<int>{7, 6, 5, 4, 3, 2, 1}), OrderOf<ContraryByCompare>());
}

// --- insert ---

TEST(MapInsert, AscendingKeysKeepTheTreeLow) {
  const auto map = Filled({1, 2, 3, 4, 5, 6, 7});
  EXPECT_EQ("4(2(1,3),6(5,7))", Shape(map->head.left));
  EXPECT_EQ(2u, map->head.left->height);
  EXPECT_EQ((std::vector<int>{1, 2, 3, 4, 5, 6, 7}), Keys(*map));
  EXPECT_EQ(7u, map->size());
}

TEST(MapInsert, NewKeyReturnsItsEntryAndTrue) {
  Ints map;
  for (int key : {5, 3, 8}) {
    const auto added = Add(map, key, key * 10);
    EXPECT_TRUE(added.second);
    EXPECT_EQ(key, added.first->first);
    EXPECT_EQ(key * 10, added.first->second);
  }
  EXPECT_EQ(3u, map.count);
}

TEST(MapInsert, KnownKeyReturnsTheOldEntryAndFalse) {
  Ints map;
  const auto old = Add(map, 5, 50);
  for (const auto& again : {Add(map, 5, 51), map.insert(map.begin(), {5, 52}), map.insert(map.end(), {5, 53})}) {
    EXPECT_FALSE(again.second);
    EXPECT_EQ(old.first, again.first);
    EXPECT_EQ(50, again.first->second);
  }
  EXPECT_EQ(1u, map.count);
}

TEST(MapInsert, EntriesNeverMove) {
  Ints map;
  const IntPair* entry = &*Add(map, 0, 42).first;
  for (int key = 1; key < 100; ++key) {
    Add(map, key);
    Add(map, -key);
  }
  for (int key = 1; key < 100; key += 2) {
    map.erase(key);
    map.erase(-key);
  }
  EXPECT_EQ(entry, &*map.find(0));
  EXPECT_EQ(42, entry->second);
}

// --- positional insert ---

// The shape after a plain insertion of `keys` and then `last`.
std::string PlainShape(std::vector<int> keys, int last) {
  keys.push_back(last);
  return Shape(Filled(keys)->head.left);
}

TEST(MapInsertAt, EveryHintLeadsToTheSameTree) {
  const std::vector<int> keys = {10, 20, 30, 40, 50, 60, 70};
  for (int key = 5; key < 80; key += 10) {
    for (int hint : {0, 10, 20, 30, 40, 50, 60, 70}) {
      SCOPED_TRACE(testing::Message() << key << " at " << hint);
      const auto map = Filled(keys);
      const auto added = map->insert(map->find(hint), {key, -key});
      EXPECT_TRUE(added.second);
      EXPECT_EQ(key, added.first->first);
      EXPECT_EQ(-key, added.first->second);
      EXPECT_EQ(8u, map->count);
      EXPECT_EQ(PlainShape(keys, key), Shape(map->head.left));
    }
  }
}

TEST(MapInsertAt, KnownKeysChangeNothingWhateverTheHint) {
  const std::vector<int> keys = {10, 20, 30, 40, 50};
  const auto map = Filled(keys);
  const std::string shape = Shape(map->head.left);
  for (int key : keys) {
    for (int hint : {0, 10, 20, 30, 40, 50}) {
      const auto again = map->insert(map->find(hint), {key, -key});
      EXPECT_FALSE(again.second);
      EXPECT_EQ(key, again.first->first);
      EXPECT_EQ(0, again.first->second);
    }
  }
  EXPECT_EQ(5u, map->count);
  EXPECT_EQ(shape, Shape(map->head.left));
}

TEST(MapInsertAt, TheHeadIsNoEntryToInsertBehind) {
  Ints map;
  const MapPrivate::ConstIterator head(nullptr, &map.head);
  EXPECT_TRUE(map.insert(head, {2, 0}).second);
  EXPECT_TRUE(map.insert(head, {3, 0}).second);
  EXPECT_FALSE(map.insert(head, {3, 0}).second);
  EXPECT_EQ("2(-,3)", Shape(map.head.left));
}

TEST(MapInsertAt, AscendingKeysKeepTheTreeLow) {
  Ints map;
  MapPrivate::ConstIterator hint = map.end();
  for (int key = 1; key < 1024; ++key) {
    hint = map.insert(hint, {key, 0}).first;
  }
  map.head.VerifyDepth();
  EXPECT_EQ(9u, map.head.left->height);
  EXPECT_EQ(1023u, map.count);
}

// A map that erasing 1 and 2 has left without a left side.
std::unique_ptr<Ints> Leaning(const std::vector<int>& keys) {
  auto map = Filled(keys);
  map->erase(1);
  map->erase(2);
  return map;
}

TEST(MapInsertAt, RepairsTheAncestorsOfTheHint) {
  const auto map = Leaning({4, 2, 8, 1, 6, 10, 9, 12});
  ASSERT_EQ("4(-,8(6,10(9,12)))", Shape(map->head.left));
  map->insert(map->find(12), {13, 0});
  EXPECT_EQ("4(-,10(8(6,9),12(-,13)))", Shape(map->head.left));
}

TEST(MapInsertAt, StopsRepairingAtABalancedAncestor) {
  const auto map = Leaning({4, 2, 8, 1, 6, 10, 12});
  ASSERT_EQ("4(-,8(6,10(-,12)))", Shape(map->head.left));
  map->insert(map->find(10), {11, 0});
  EXPECT_EQ("4(-,8(6,11(10,12)))", Shape(map->head.left));
  map->insert(map->find(6), {7, 0});
  EXPECT_EQ("4(-,8(6(-,7),11(10,12)))", Shape(map->head.left));
}

TEST(MapInsertAt, StopsRepairingAboveARotationThatBalanced) {
  const auto map = Leaning({4, 2, 8, 1, 6, 10, 12});
  map->insert(map->find(12), {13, 0});
  EXPECT_EQ("4(-,8(6,12(10,13)))", Shape(map->head.left));
}

TEST(MapInsert, RepairsEveryAncestor) {
  const auto map = Leaning({4, 2, 8, 1, 6, 10, 12});
  Add(*map, 13);
  EXPECT_EQ("8(4(-,6),12(10,13))", Shape(map->head.left));
}

// --- find, erase, clear ---

TEST(MapFind, OfAnEmptyMapIsTheEnd) {
  Ints map;
  EXPECT_EQ(map.end(), map.find(1));
  EXPECT_EQ(map.begin(), map.end());
}

TEST(MapFind, IsAtTheEntryOrTheEnd) {
  const auto map = Filled({10, 20, 30});
  const Ints& constant = *map;
  for (int key : {10, 20, 30}) {
    EXPECT_EQ(key, map->find(key)->first);
    EXPECT_EQ(key, constant.find(key)->first);
  }
  for (int key : {9, 11, 19, 21, 29, 31}) {
    EXPECT_TRUE(map->find(key) == map->end());
    EXPECT_TRUE(constant.find(key) == constant.end());
  }
}

TEST(MapErase, OfAnEmptyMapIsZero) {
  Ints map;
  EXPECT_EQ(0u, map.erase(1));
  EXPECT_EQ(0u, map.count);
}

TEST(MapErase, OfAnUnknownKeyChangesNothing) {
  const auto map = Filled({10, 20, 30});
  EXPECT_EQ(0u, map->erase(15));
  EXPECT_EQ(3u, map->count);
  EXPECT_EQ("20(10,30)", Shape(map->head.left));
}

TEST(MapErase, OfTheRootPromotesItsSuccessor) {
  const auto map = Filled({20, 10, 30});
  EXPECT_EQ(1u, map->erase(20));
  EXPECT_EQ(2u, map->count);
  EXPECT_EQ("30(10,-)", Shape(map->head.left));
  EXPECT_EQ((std::vector<int>{10, 30}), Keys(*map));
}

TEST(MapErase, OfTheOnlyEntryEmptiesTheMap) {
  const auto map = Filled({20});
  EXPECT_EQ(1u, map->erase(20));
  EXPECT_EQ(0u, map->erase(20));
  EXPECT_EQ(0u, map->count);
  EXPECT_EQ(0u, map->head.height);
  EXPECT_EQ(map->begin(), map->end());
}

TEST(MapErase, NeverRotates) {
  const auto map = Filled({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15});
  for (int key = 1; key < 8; ++key) {
    map->erase(key);
  }
  EXPECT_EQ("8(-,12(10(9,11),14(13,15)))", Shape(map->head.left));
}

TEST(MapErase, TakesAKeyThatLivesInTheEntry) {
  const auto map = Filled({10, 20, 30});
  EXPECT_EQ(1u, map->erase(map->find(20)->first));
  EXPECT_EQ((std::vector<int>{10, 30}), Keys(*map));
}

TEST(MapClear, LeavesAnEmptyMapThatCanBeFilledAgain) {
  Ints map;
  map.clear();
  for (int round = 0; round < 2; ++round) {
    for (int key : {1, 2, 3}) {
      Add(map, key);
    }
    map.clear();
    EXPECT_EQ(0u, map.count);
    EXPECT_EQ(nullptr, map.head.left);
    EXPECT_EQ(0u, map.head.height);
    EXPECT_EQ(map.begin(), map.end());
  }
  Add(map, 7);
  EXPECT_EQ("7", Shape(map.head.left));
}

// A value that notes its number when it is freed.
struct Freed {
  inline static std::vector<int> order;
  int number = 0;
  void FreeMembers() { order.push_back(number); }
};

TEST(MapClear, FreesTheRootsValueFirstAndTheOthersBelowBeforeAbove) {
  Map<int, Freed> map;
  for (int key : {1, 2, 3, 4, 5, 6, 7}) {
    map.insert({key, Freed{key}});
  }
  ASSERT_EQ("4(2(1,3),6(5,7))", Shape(map.head.left));
  Freed::order.clear();
  map.clear();
  EXPECT_EQ((std::vector<int>{4, 1, 3, 2, 5, 7, 6}), Freed::order);
}

TEST(MapErase, LeavesAnEntryAsDeepAsItWas) {
  Ints map;
  for (int key = 1; key < 1024; ++key) {
    Add(map, key);
  }
  for (int key = 1; key < 1024; ++key) {
    const bool on_the_left_edge = (key & (key - 1)) == 0;
    if (!on_the_left_edge) {
      map.erase(key);
    }
  }
  EXPECT_EQ(10u, map.size());
  EXPECT_EQ(9u, map.head.left->height);
}

// --- iterators ---

TEST(MapIterator, StartsAtItsNodeOrTheEnd) {
  MapPrivate::NodeBase end;
  MapPrivate::NodeBase start;
  EXPECT_EQ(&start, MapPrivate::ConstIterator(&end, &start).current());
  EXPECT_EQ(&end, MapPrivate::ConstIterator(&end, nullptr).current());
  EXPECT_TRUE(MapPrivate::ConstIterator(&end, nullptr).AtEnd());
}

TEST(MapIterator, StaysAtTheEnd) {
  const auto map = Filled({1});
  MapPrivate::ConstIterator it = map->end();
  EXPECT_TRUE((++it).AtEnd());
  EXPECT_TRUE((it++).AtEnd());
  EXPECT_EQ(map->end().current(), it.current());
  it = map->begin();
  EXPECT_EQ(map->begin().current(), (it++).current());
  EXPECT_TRUE(it.AtEnd());
}

TEST(MapIterator, EqualityLooksAtTheCurrentNodeOnly) {
  MapPrivate::NodeBase a;
  MapPrivate::NodeBase b;
  EXPECT_TRUE(MapPrivate::ConstIterator(&a, &a) == MapPrivate::ConstIterator(&b, &a));
  EXPECT_TRUE(MapPrivate::ConstIterator(&a, &a) != MapPrivate::ConstIterator(&a, &b));
}

TEST(MapIterator, PrefixReturnsTheNewPositionAndPostfixTheOld) {
  const auto map = Filled({1, 2, 3});
  Ints::iterator it = map->begin();
  EXPECT_EQ(2, (++it)->first);
  EXPECT_EQ(2, (it++)->first);
  EXPECT_EQ(3, it->first);
  EXPECT_EQ(3, (it++)->first);
  EXPECT_EQ(map->end(), it);
}

TEST(MapIterator, WritesValuesThroughTheEntry) {
  const auto map = Filled({1, 2});
  map->begin()->second = 5;
  EXPECT_EQ(5, map->find(1)->second);
  static_assert(!std::is_assignable_v<decltype((map->begin()->first)), int>);
}

}  // namespace
}  // namespace core
