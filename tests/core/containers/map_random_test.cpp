// Random and exhaustive operations on the map beside std::map and beside a second reading of its rules.
#include <gtest/gtest.h>
#include <stddef.h>

#include <algorithm>
#include <deque>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/bencode/bencarray.h"
#include "core/containers/templates_map.h"
#include "tests/support/map_model.h"
#include "tests/support/map_nodes.h"
#include "tests/support/platform_memory.h"

namespace core {
namespace {

using MapPrivate::NodeBase;

// --- beside std::map ---

// Whole runs of operations on both containers.
class BesideStdMap {
 public:
  using Ours = Map<int, int>;

  explicit BesideStdMap(unsigned seed) : random_(seed) {}

  void Step() {
    const size_t what = Below(1000);
    const int key = static_cast<int>(Below(kKeys));
    if (what < 300) {
      Inserted(key, ours_.insert({key, ++value_}));
    } else if (what < 550) {
      Inserted(key, ours_.insert(Hint(key), {key, ++value_}));
    } else if (what < 560) {
      int value = ++value_;
      Inserted(key, ours_.insert(key, value));
    } else if (what < 800) {
      ASSERT_EQ(peer_.erase(key), ours_.erase(key));
    } else {
      Found(key);
    }
    ASSERT_EQ(peer_.size(), ours_.size());
  }

  void Verify() {
    ours_.head.VerifyDepth();
    auto ours = ours_.begin();
    for (const auto& [key, value] : peer_) {
      ASSERT_EQ(key, ours->first);
      ASSERT_EQ(value, (ours++)->second);
    }
    ASSERT_TRUE(ours.AtEnd());
  }

  void Clear() {
    ours_.clear();
    peer_.clear();
    ASSERT_TRUE(ours_.begin() == ours_.end());
  }

 private:
  static constexpr size_t kKeys = 3000;

  size_t Below(size_t n) { return random_() % n; }

  // Half of the hints are right: the entry before `key`, or the end.
  MapPrivate::ConstIterator Hint(int key) {
    auto peer = peer_.lower_bound(Below(2) == 0 ? key : static_cast<int>(Below(kKeys)));
    return peer == peer_.begin() ? ours_.end() : ours_.find(std::prev(peer)->first);
  }

  void Inserted(int key, const Ours::Inserted& ours) {
    const auto peer = peer_.insert({key, value_});
    ASSERT_EQ(peer.second, ours.second);
    ASSERT_EQ(key, ours.first->first);
    ASSERT_EQ(peer.first->second, ours.first->second);
  }

  void Found(int key) {
    const auto peer = peer_.find(key);
    const auto ours = ours_.find(key);
    ASSERT_EQ(peer == peer_.end(), ours == ours_.end());
    if (peer != peer_.end()) {
      ASSERT_EQ(peer->second, ours->second);
      const auto next = std::next(peer);
      auto our_next = ours;
      ++our_next;
      ASSERT_EQ(next == peer_.end(), our_next == ours_.end());
      ASSERT_TRUE(next == peer_.end() || next->first == our_next->first);
    }
  }

  std::mt19937 random_;
  int value_ = 0;
  Ours ours_;
  std::map<int, int> peer_;
};

TEST(MapBesideStdMap, AgreesOverAMillionOperations) {
  constexpr int kSteps = 1'000'000;
  BesideStdMap both(20240501);
  for (int step = 1; step <= kSteps && !testing::Test::HasFatalFailure(); ++step) {
    SCOPED_TRACE(step);
    both.Step();
    if (step % 1000 == 0) {
      both.Verify();
    }
    if (step % 70'000 == 0) {
      both.Clear();
    }
  }
}

// The dictionary's order on standard strings: as far as a common zero byte, then the shorter first.
struct KeyLess {
  bool operator()(const std::string& a, const std::string& b) const {
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
      if (a[i] != b[i]) {
        return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[i]);
      }
      if (a[i] == '\0') {
        break;
      }
    }
    return a.size() < b.size();
  }
};

TEST(MapBesideStdMap, AgreesOnKeysOfAllBytes) {
  const long blocks = test_host::LiveBlocks();
  {
    std::mt19937 random(7);
    Map<BencArray<char>, int> ours;
    std::map<std::string, int, KeyLess> peer;
    for (int step = 0; step < 20'000; ++step) {
      std::string text(random() % 5, '\0');
      std::generate(text.begin(), text.end(), [&] { return "\0\1a\xff"[random() % 4]; });
      BencArray<char> key;
      key.Assign(text.data(), text.size());
      if (random() % 3 == 0) {
        ASSERT_EQ(peer.erase(text), ours.erase(key));
      } else {
        const auto added = random() % 2 == 0 ? ours.insert({key, step}) : ours.insert(ours.begin(), {key, step});
        ASSERT_EQ(peer.emplace(text, step).second, added.second);
      }
      ASSERT_EQ(peer.size(), ours.size());
    }
    auto it = ours.begin();
    for (const auto& [text, value] : peer) {
      ASSERT_EQ(text, std::string(it->first.begin(), it->first.size()));
      ASSERT_EQ(value, it->second);
      ++it;
    }
    EXPECT_TRUE(it.AtEnd());
  }
  EXPECT_EQ(blocks, test_host::LiveBlocks());
}

// --- every order, every hint ---

using Ints = Map<int, int>;

// A hint by its key, 0 being the end.
struct Step {
  int key;
  int hint;
};

void Apply(const Step& step, Ints& ours, map_model::Tree& model) {
  ours.insert(ours.find(step.hint), {step.key, 0});
  model.InsertAt(model.Find(step.hint), step.key);
}

// Every tree that insertions with any hints can make of the keys 1 to 8 is reached by one of `queue`'s
// sequences, and every further insertion is tried on it with every hint.
TEST(MapEveryHint, OfEightKeysLeadsToTheTreeOfAPlainInsertion) {
  constexpr int kKeys = 8;
  std::deque<std::vector<Step>> queue = {{}};
  std::set<std::string> seen;
  while (!queue.empty()) {
    const std::vector<Step> steps = queue.front();
    queue.pop_front();
    for (int key = 1; key <= kKeys; ++key) {
      if (std::any_of(steps.begin(), steps.end(), [key](const Step& step) { return step.key == key; })) {
        continue;
      }
      std::set<std::string> shapes;
      for (int hint = 0; hint <= kKeys; ++hint) {
        Ints ours;
        map_model::Tree model;
        std::vector<Step> longer = steps;
        longer.push_back({key, hint});
        for (const Step& step : longer) {
          Apply(step, ours, model);
        }
        const std::string shape = Shape(ours.head.left);
        ASSERT_EQ(map_model::Text(model.root()), shape);
        ASSERT_EQ(longer.size(), ours.size());
        shapes.insert(shape);
        if (seen.insert(shape).second) {
          queue.push_back(longer);
        }
      }
      ASSERT_EQ(1u, shapes.size());
    }
  }
  EXPECT_GT(seen.size(), 1000u);
}

TEST(MapEveryOrder, OfUpToEightKeysMakesTheTreeOfTheRules) {
  std::vector<int> keys;
  for (int count = 1; count <= 8; ++count) {
    keys.push_back(count);
    std::vector<int> order = keys;
    do {
      Ints ours;
      map_model::Tree model;
      for (int key : order) {
        ours.insert({key, 0});
        model.Insert(key);
      }
      ASSERT_EQ(map_model::Text(model.root()), Shape(ours.head.left));
    } while (std::next_permutation(order.begin(), order.end()));
  }
}

// --- shapes beside the model ---

bool SameTree(const NodeBase* ours, const map_model::Node* model) {
  if (!ours || !model) {
    return !ours && !model;
  }
  return KeyOf(ours) == model->key && ours->height == model->height && (!ours->left || ours->left->parent == ours) &&
         (!ours->right || ours->right->parent == ours) && SameTree(ours->left, model->left) &&
         SameTree(ours->right, model->right);
}

// The map and the model, given the same operations.
class BesideModel : public testing::TestWithParam<int> {
 protected:
  void ExpectSameTree() const {
    ASSERT_TRUE(SameTree(ours_.head.left, model_.root()))
        << "ours  " << Shape(ours_.head.left) << "\nmodel " << map_model::Text(model_.root());
    ASSERT_EQ(ours_.head.left ? ours_.head.left->height + 1 : 0, ours_.head.height);
  }

  // A number in [0, n).
  int Below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }
  int AnyKey() { return Below(GetParam()); }

  // The key before `key`, or none: the hint that a sorted insertion gives.
  int KeyBefore(int key) const {
    do {
      --key;
    } while (key >= 0 && !model_.Find(key));
    return key;
  }

  void Insert(int key) { ASSERT_EQ(model_.Insert(key), ours_.insert({key, 0}).second); }

  void InsertAt(int hint, int key) {
    ASSERT_EQ(model_.InsertAt(model_.Find(hint), key), ours_.insert(ours_.find(hint), {key, 0}).second);
  }

  void Erase(int key) { ASSERT_EQ(model_.Erase(key) ? 1u : 0u, ours_.erase(key)); }

  // Inserts below the node with the key `below`, where equal keys replace.
  void InsertBelow(int below, int key) {
    map_model::Node* model = model_.Find(below);
    if (model && Belongs(below, key)) {
      const Ints::value_type pair(key, 0);
      const bool known = model_.Find(key) != nullptr;
      const NodeBase* added = ours_.find(below).current()->Insert(&pair);
      ASSERT_EQ(key, KeyOf(added));
      ASSERT_EQ(key, map_model::Insert(model, key)->key);
      ours_.count += known ? 0 : 1;
    }
  }

  // Takes out the node with the key, which must come back bare.
  void TakeOut(int key) {
    if (map_model::Node* model = model_.Find(key)) {
      NodeBase* node = ours_.find(key).current();
      ASSERT_EQ(node, node->parent->RemoveChild(node, false));
      ASSERT_TRUE(!node->parent && !node->left && !node->right && node->height == 0);
      delete node;
      delete map_model::RemoveChild(model->parent, model, false);
      --ours_.count;
    }
  }

  // Many insertions, then many removals, by turns; `hints` tells how many insertions have a hint, in
  // percent, and `tree` how many operations use the tree's own ones.
  void Run(int steps, int hints, int tree) {
    for (int step = 0; step < steps && !HasFatalFailure(); ++step) {
      const bool shrinking = step / (2 * GetParam()) % 2 == 1;
      const int key = AnyKey();
      const bool own = Below(100) < tree;
      if (Below(100) < (shrinking ? 75 : 25)) {
        own ? TakeOut(key) : Erase(key);
      } else if (own) {
        InsertBelow(AnyKey(), key);
      } else if (Below(100) < hints) {
        InsertAt(Below(4) == 0 ? AnyKey() : KeyBefore(key), key);
      } else {
        Insert(key);
      }
      SCOPED_TRACE(testing::Message() << "step " << step << ", key " << key);
      ExpectSameTree();
    }
  }

 private:
  // True when a descent from the root to `key` meets `below`.
  bool Belongs(int below, int key) const {
    const map_model::Node* node = model_.root();
    while (node && node->key != below && node->key != key) {
      node = key < node->key ? node->left : node->right;
    }
    return node && node->key == below;
  }

  std::mt19937 random_{static_cast<unsigned>(GetParam())};
  Ints ours_;
  map_model::Tree model_;
};

constexpr int kSteps = 20'000;

TEST_P(BesideModel, InsertionsAndRemovalsMakeTheTreeOfTheRules) { Run(kSteps, 0, 0); }
TEST_P(BesideModel, PositionalInsertionsAndRemovalsMakeTheTreeOfTheRules) { Run(kSteps, 100, 0); }
TEST_P(BesideModel, MixedOperationsMakeTheTreeOfTheRules) { Run(kSteps, 50, 0); }
TEST_P(BesideModel, TheTreesOwnOperationsMakeTheTreeOfTheRules) { Run(kSteps, 50, 60); }

INSTANTIATE_TEST_SUITE_P(Keys, BesideModel, testing::Values(6, 12, 40, 150), testing::PrintToStringParamName());

}  // namespace
}  // namespace core
