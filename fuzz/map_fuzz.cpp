// Property: a map gives what std::map gives for the same operations, its tree has the shape of a slow model of
// the tree, every stored height is right after each step, and each value is freed once.
#include <stddef.h>
#include <stdint.h>

#include <iterator>
#include <map>
#include <string>
#include <utility>

#include "core/bencode/bencarray.h"
#include "core/containers/templates_map.h"
#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "fuzz/support/no_leak.h"
#include "tests/support/map_model.h"

namespace {

using core::MapPrivate::ConstIterator;
using core::MapPrivate::NodeBase;

constexpr int kKeys = 24;

// A block that moves with the value and is freed by hand, as a dictionary's values are.
struct Value {
  mutable int* number = nullptr;

  Value() = default;
  explicit Value(int n) : number(static_cast<int*>(core::MyMalloc(sizeof(int)))) { *number = n; }
  Value(const Value& other) : number(std::exchange(other.number, nullptr)) {}
  void FreeMembers() { core::MyFree(std::exchange(number, nullptr)); }
};

class Maps {
 public:
  using Ours = core::Map<int, Value>;

  explicit Maps(FuzzInput& in) : in_(in) {}

  void Step() {
    const int key = static_cast<int>(in_.Between(-kKeys, kKeys));
    switch (in_.Between(0, 9)) {
      case 0:
        return Insert(key);
      case 1:
        return InsertValue(key);
      case 2:
        return InsertWithHint(key, Hint(static_cast<int>(in_.Between(-kKeys, kKeys))));
      case 3:
        return InsertWithHint(key, Before(key));
      case 4:
        return Erase(key);
      case 5:
        return EraseNode(key);
      case 6:
        return Attach(key);
      case 7:
        return ReplaceNode(key);
      case 8:
        return Find(key);
      default:
        return Clear();
    }
  }

  // The same entries in ascending order, the same tree, and heights that are right.
  void Check() {
    Require(ours_.size() == peer_.size() && ours_.empty() == peer_.empty(), "both maps have the same size");
    ours_.head.VerifyDepth();
    Require(Same(ours_.head.left, tree_.root(), &ours_.head), "the tree has the model's shape");
    const Ours& reading = ours_;
    auto at = reading.begin();
    for (const auto& [key, value] : peer_) {
      Require(!at.AtEnd() && at->first == key && *at->second.number == value, "both maps have the same entries");
      at++;
    }
    Require(at == reading.end() && ++at == reading.end(), "the end is where std::map ends, and stays");
    const Ours::Entry* largest = ours_.Largest();
    Require(peer_.empty() ? largest == nullptr : largest && largest->pair.first == peer_.rbegin()->first,
            "the largest entry is the last");
  }

  // One entry after the other, or all at once.
  void TearDown(bool step_by_step) {
    if (!step_by_step || ours_.empty()) {
      ours_.clear();
      return;
    }
    core::RecordReleaser releaser;
    auto* entry = static_cast<Ours::Entry*>(ours_.begin().current());
    for (const auto& [key, value] : peer_) {
      Require(entry && entry->pair.first == key, "entries are destroyed in ascending order");
      entry->pair.second.FreeMembers();
      entry = ours_.DestroyAndAdvance(entry, releaser);
    }
    Require(!entry && !ours_.head.left, "the last entry leaves an empty map");
    ours_.count = 0;
  }

 private:
  static bool Same(const NodeBase* ours, const map_model::Node* model, const NodeBase* parent) {
    if (!ours || !model) {
      return !ours && !model;
    }
    return ours->parent == parent && *static_cast<const int*>(ours->getData()) == model->key &&
           ours->height == static_cast<uint32_t>(model->height) && Same(ours->left, model->left, ours) &&
           Same(ours->right, model->right, ours);
  }

  void Inserted(int key, const Ours::Inserted& result) {
    const auto [at, added] = peer_.emplace(key, value_);
    Require(result.second == added, "a key is new to both maps or to none");
    Require(result.first->first == key && *result.first->second.number == at->second,
            "the entry is the one that counts");
  }
  void Insert(int key) {
    const Ours::value_type pair(key, Value(++value_));
    Inserted(key, ours_.insert(pair));
    tree_.Insert(key);
    const_cast<Ours::value_type&>(pair).second.FreeMembers();
  }
  void InsertValue(int key) {
    Value value(++value_);
    Inserted(key, ours_.insert(key, value));
    tree_.Insert(key);
    Require(!value.number, "the given value is used up");
  }

  Ours::iterator Hint(int key) { return ours_.find(key); }
  Ours::iterator Before(int key) {
    const auto at = peer_.lower_bound(key);
    return at == peer_.begin() ? ours_.end() : ours_.find(std::prev(at)->first);
  }
  void InsertWithHint(int key, const ConstIterator& hint) {
    map_model::Node* model_hint =
        hint.AtEnd() ? nullptr : tree_.Find(*static_cast<const int*>(hint.current()->getData()));
    const Ours::value_type pair(key, Value(++value_));
    Inserted(key, ours_.insert(hint, pair));
    tree_.InsertAt(model_hint, key);
    const_cast<Ours::value_type&>(pair).second.FreeMembers();
  }

  void Erase(int key) {
    Require(ours_.erase(key) == peer_.erase(key), "as many entries are removed");
    tree_.Erase(key);
  }
  // Removal below the map, which does not count.
  void EraseNode(int key) {
    if (ours_.head.left) {
      ours_.head.left->Delete(&key);
      ours_.count -= peer_.erase(key);
      tree_.Erase(key);
    }
  }

  void Attach(int key) {
    Ours::Place place;
    Ours::Entry* found = ours_.Find(key, in_.Flip() ? ours_.Largest() : nullptr, &place);
    Require((found != nullptr) == (peer_.count(key) != 0), "an entry is found or has a place");
    if (!found) {
      peer_.emplace(key, ++value_);
      tree_.Insert(key);
      ours_.Attach(::new Ours::Entry(Ours::value_type(key, Value(value_))), place);
    }
  }
  // Insertion below the map: an equal key takes the place of the entry.
  void ReplaceNode(int key) {
    if (!ours_.head.left) {
      return;
    }
    ours_.count += peer_.count(key) == 0 ? 1 : 0;
    peer_[key] = ++value_;
    map_model::Insert(tree_.root(), key);
    const Ours::value_type pair(key, Value(value_));
    const NodeBase* node = ours_.head.left->Insert(&pair);
    Require(node == ours_.find(key).current(), "the node that holds the pair is returned");
  }

  void Find(int key) {
    const auto at = peer_.find(key);
    const auto found = std::as_const(ours_).find(key);
    Require(found.AtEnd() == (at == peer_.end()), "a key is in both maps or in none");
    const NodeBase* node = ours_.head.left ? ours_.head.left->Lookup(&key) : nullptr;
    Require(node == (found.AtEnd() ? nullptr : found.current()), "the tree's own look-up agrees");
  }

  void Clear() {
    if (in_.Between(0, 7) == 0) {
      ours_.clear();
      peer_.clear();
      tree_.Clear();
    }
  }

  FuzzInput& in_;
  Ours ours_;
  std::map<int, int> peer_;
  map_model::Tree tree_;
  int value_ = 0;
};

// Keys of bytes: ordered as C strings, then by their whole length.
void CheckByteKeys(FuzzInput& in) {
  using Key = core::BencArray<char>;
  core::Map<Key, Value> ours;
  std::map<std::pair<std::string, size_t>, std::string> peer;
  for (int step = 0; step < 60 && !in.Empty(); ++step) {
    const std::string bytes = in.Bytes(5);
    const Key key{core::BorrowedBytes<char>{bytes.data(), bytes.size()}};
    const std::pair<std::string, size_t> peer_key(bytes.c_str(), bytes.size());
    if (in.Flip()) {
      Require(ours.erase(key) == peer.erase(peer_key), "as many byte keys are removed");
    } else {
      Key owned;
      owned.Assign(bytes.data(), bytes.size());
      core::Map<Key, Value>::value_type pair(owned, Value(step));
      const bool added = in.Flip() ? ours.insert(owned, pair.second).second : ours.insert(ours.begin(), pair).second;
      pair.second.FreeMembers();
      Require(added == peer.emplace(peer_key, bytes).second, "a byte key is new to both maps or to none");
    }
    ours.head.VerifyDepth();
  }
  auto at = ours.begin();
  for (const auto& entry : peer) {
    Require(std::string(at->first.begin(), at->first.size()) == entry.second, "byte keys stand in the same order");
    at++;
  }
  Require(at.AtEnd() && ours.size() == peer.size(), "both maps have as many byte keys");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const NoLeak no_leak;
  FuzzInput in(data, size);
  if (in.Between(0, 3) == 0) {
    CheckByteKeys(in);
    return 0;
  }
  Maps maps(in);
  const bool step_by_step = in.Flip();
  for (int step = 0; step < 120 && !in.Empty(); ++step) {
    maps.Step();
    maps.Check();
  }
  maps.TearDown(step_by_step);
  return 0;
}
