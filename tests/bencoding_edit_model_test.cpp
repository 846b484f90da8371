// Long random sequences of changes, made to a decoded tree and to a model of it at the same time.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/bencoding.h"
#include "core/mem1.h"
#include "tests/support/benc_model.h"
#include "tests/support/benc_tree.h"

namespace {

using namespace core;
using namespace std::string_view_literals;
using benc_model::Kind;
using benc_model::Value;

constexpr size_t kLargestTree = 400;

Value Clone(const Value& from) {
  Value copy;
  copy.kind = from.kind;
  copy.number = from.number;
  copy.text = from.text;
  for (const Value& element : from.list) {
    copy.list.push_back(Clone(element));
  }
  for (const auto& [key, value] : from.dict) {
    copy.dict.try_emplace(key, std::make_unique<Value>(Clone(*value)));
  }
  return copy;
}

Value Taken(Value& from) { return std::exchange(from, Value()); }

size_t SizeOf(const Value& value) {
  size_t size = 1;
  for (const Value& element : value.list) {
    size += SizeOf(element);
  }
  for (const auto& [key, entry] : value.dict) {
    size += SizeOf(*entry);
  }
  return size;
}

bool Holds(const Value& tree, const Value* value) {
  return &tree == value ||
         std::ranges::any_of(tree.list, [&](const Value& element) { return Holds(element, value); }) ||
         std::ranges::any_of(tree.dict, [&](const auto& entry) { return Holds(*entry.second, value); });
}

bool SameTree(const Value& want, const BencEntity& got);

bool SameList(const Value& want, const BencodedList& got) {
  bool same = got.GetCount() == want.list.size();
  for (size_t i = 0; same && i < want.list.size(); ++i) {
    same = SameTree(want.list[i], *got.Get(i));
  }
  return same;
}

bool SameDict(const Value& want, const BencodedDict& got) {
  if (got.size() != want.dict.size()) {
    return false;
  }
  auto at = got.begin();
  return std::ranges::all_of(want.dict, [&](const auto& entry) {
    const auto& stored = *at++;
    return std::string_view(stored.first.begin(), stored.first.size()) == entry.first &&
           SameTree(*entry.second, stored.second);
  });
}

bool SameTree(const Value& want, const BencEntity& got) {
  size_t len = 0;
  switch (want.kind) {
    case Kind::kNone:
      return got.GetType() == BENC_NONE;
    case Kind::kInt:
      return (got.GetType() == BENC_INT || got.GetType() == BENC_INT64) && got.GetInt64(0) == want.number;
    case Kind::kString: {
      const char* text = static_cast<const BencEntityMem&>(got).GetString(&len);
      return text && std::string_view(text, len) == want.text;
    }
    case Kind::kList:
      return got.GetType() == BENC_LIST && SameList(want, static_cast<const BencodedList&>(got));
    default:
      return got.GetType() == BENC_DICT && SameDict(want, static_cast<const BencodedDict&>(got));
  }
}

// A value and what the model says of it.
struct Node {
  BencEntity* real;
  Value* model;

  BencEntityMem& mem() const { return static_cast<BencEntityMem&>(*real); }
  BencodedList& list() const { return static_cast<BencodedList&>(*real); }
  BencodedDict& dict() const { return static_cast<BencodedDict&>(*real); }
};

class RandomEditing : public BencTest {
 protected:
  // A tree with keys that no terminated name can express.
  void Decode(BencTreeOf::Mode mode) {
    tree_ = std::make_unique<BencTreeOf>(
        "d0:de1:ai1e3:a\0bl1:xe2:b\0d1:al1:xe1:b3:abce1:cl20:01234567890123456789li1ei2eleeee"sv, mode);
    model_ = benc_model::Decode(tree_->bytes.view(), "").root;
    ASSERT_TRUE(SameTree(model_, tree_->root));
    ASSERT_EQ(5u, model_.dict.size());
  }

  // One change; false when its precondition does not hold for the values picked.
  bool Step();

  size_t Below(size_t limit) { return random_() % limit; }

  std::mt19937 random_{20240301};
  std::unique_ptr<BencTreeOf> tree_;
  Value model_;

 private:
  Node Pick();
  Node Child(const Node& node);
  std::string Name() { return std::string(Below(3), static_cast<char>('a' + Below(3))); }
  std::string Text() { return std::string(Below(24), static_cast<char>('k' + Below(3))); }

  bool ChangeScalar(const Node& node);
  bool ChangeString(const Node& node);
  bool ChangeStringFromItself(const Node& node);
  bool AppendNew(const Node& node);
  bool InsertNew(const Node& node);
  bool DeleteOne(const Node& node);
  bool MoveInside(const Node& node, const Node& source);
  bool Move(const Node& target, const Node& source);
  bool Copy(const Node& target, const Node& source);
};

Node RandomEditing::Child(const Node& node) {
  if (node.model->kind == Kind::kList && !node.model->list.empty()) {
    const size_t i = Below(node.model->list.size());
    return {node.list().Get(i), &node.model->list[i]};
  }
  if (node.model->kind == Kind::kDict && !node.model->dict.empty()) {
    auto real = node.dict().begin();
    auto model = node.model->dict.begin();
    for (size_t steps = Below(node.model->dict.size()); steps > 0; --steps) {
      ++real;
      ++model;
    }
    return {&real->second, model->second.get()};
  }
  return node;
}

Node RandomEditing::Pick() {
  Node node = {&tree_->root, &model_};
  for (size_t levels = Below(6); levels > 0; --levels) {
    node = Child(node);
  }
  return node;
}

void MakeInt(Value& value, int64_t number) {
  value = Value();
  value.kind = Kind::kInt;
  value.number = number;
}

void MakeText(Value& value, std::string text) {
  value = Value();
  value.kind = Kind::kString;
  value.text = std::move(text);
}

bool RandomEditing::ChangeScalar(const Node& node) {
  if (node.model == &model_ || SizeOf(*node.model) > 3) {
    return false;
  }
  const auto number = static_cast<int64_t>(random_());
  if (Below(2) == 0) {
    EXPECT_EQ(static_cast<int>(number), node.real->SetInt(static_cast<int>(number)));
    MakeInt(*node.model, static_cast<int>(number));
  } else {
    node.real->SetInt64(number << 20);
    MakeInt(*node.model, number << 20);
  }
  return true;
}

bool RandomEditing::ChangeString(const Node& node) {
  if (node.model->kind != Kind::kString) {
    return false;
  }
  const std::string text = Text();
  switch (Below(4)) {
    case 0:
      node.mem().SetStr(text.c_str(), -1);
      break;
    case 1:
      node.mem().SetStrT(std::wstring(text.begin(), text.end()).c_str());
      break;
    case 2:
      node.mem().SetMem(text.data(), text.size());
      break;
    default:
      node.mem().SetMemOwn(memcpy(MyMalloc(text.size() + 1), text.data(), text.size() + 1), text.size());
      break;
  }
  node.model->text = text;
  return true;
}

bool RandomEditing::ChangeStringFromItself(const Node& node) {
  if (node.model->kind != Kind::kString || node.model->text.empty()) {
    return false;
  }
  const size_t from = Below(node.model->text.size());
  const size_t len = 1 + Below(node.model->text.size() - from);
  const char* text = node.mem().GetString(nullptr) + from;
  if (Below(2) == 0) {
    node.mem().SetStr(text, static_cast<int>(len));
  } else {
    node.mem().SetMem(text, len);
  }
  node.model->text = node.model->text.substr(from, len);
  return true;
}

bool RandomEditing::AppendNew(const Node& node) {
  if (node.model->kind != Kind::kList) {
    return false;
  }
  Value& added = node.model->list.emplace_back();
  const std::string text = Text();
  BencEntity* stored = nullptr;
  switch (Below(4)) {
    case 0:
      stored = node.list().AppendInt(5);
      MakeInt(added, 5);
      break;
    case 1:
      stored = node.list().AppendString(text.c_str(), text.size());
      MakeText(added, text);
      break;
    case 2:
      stored = node.list().AppendDict();
      added.kind = Kind::kDict;
      break;
    default:
      stored = node.list().AppendList();
      added.kind = Kind::kList;
      break;
  }
  return stored == node.list().Get(node.list().GetCount() - 1);
}

bool RandomEditing::InsertNew(const Node& node) {
  if (node.model->kind != Kind::kDict) {
    return false;
  }
  const std::string key = Name();
  const std::string text = Text();
  Value added;
  BencEntity* stored = nullptr;
  switch (Below(4)) {
    case 0:
      stored = node.dict().InsertInt64(key.c_str(), -5);
      MakeInt(added, -5);
      break;
    case 1:
      stored = node.dict().InsertString(key.c_str(), text.c_str(), static_cast<int>(text.size()));
      MakeText(added, text);
      break;
    case 2:
      stored = node.dict().InsertDict(key.c_str());
      added.kind = Kind::kDict;
      break;
    default:
      stored = node.dict().InsertList(key.c_str());
      added.kind = Kind::kList;
      break;
  }
  node.model->dict.try_emplace(key, std::make_unique<Value>(std::move(added)));
  return stored == node.dict().Get(key.c_str());
}

bool RandomEditing::DeleteOne(const Node& node) {
  if (node.model->kind == Kind::kDict) {
    const std::string key = Name();
    node.dict().Delete(key.c_str());
    node.model->dict.erase(key);
    return true;
  }
  if (node.model->kind != Kind::kList || node.model->list.empty()) {
    return false;
  }
  const size_t i = Below(node.model->list.size());
  node.list().Delete(i);
  node.model->list.erase(node.model->list.begin() + static_cast<ptrdiff_t>(i));
  return true;
}

// Append or Insert of a value that is somewhere in the tree already.
bool RandomEditing::MoveInside(const Node& node, const Node& source) {
  if (Holds(*source.model, node.model)) {
    return false;
  }
  if (node.model->kind == Kind::kList) {
    Value taken = Taken(*source.model);
    node.list().Append(*source.real);
    node.model->list.push_back(std::move(taken));
    return true;
  }
  if (node.model->kind != Kind::kDict) {
    return false;
  }
  const std::string key = Name();
  Value taken = Taken(*source.model);
  node.dict().Insert(key.c_str(), *source.real);
  node.model->dict.try_emplace(key, std::make_unique<Value>(std::move(taken)));
  return true;
}

bool RandomEditing::Move(const Node& target, const Node& source) {
  const bool fits = target.real->GetType() == source.real->GetType() || target.model->kind == Kind::kNone;
  if (!fits || Holds(*source.model, target.model)) {
    return false;
  }
  Value taken = Taken(*source.model);
  target.real->MoveFrom(*source.real);
  *target.model = std::move(taken);
  return true;
}

bool RandomEditing::Copy(const Node& target, const Node& source) {
  const Kind from = source.model->kind;
  const Kind to = target.model->kind;
  const bool fits = from == to || from == Kind::kNone || from == Kind::kInt || from == Kind::kDict ||
                    (from == Kind::kString && to == Kind::kNone);
  if (!fits || (target.model == &model_ && from != Kind::kDict) ||
      SizeOf(model_) + SizeOf(*source.model) > kLargestTree) {
    return false;
  }
  Value copy = Clone(*source.model);
  target.real->CopyFrom(*source.real);
  if (from != Kind::kNone) {
    *target.model = std::move(copy);
  }
  return true;
}

bool RandomEditing::Step() {
  const Node node = Pick();
  switch (Below(10)) {
    case 0:
      return ChangeScalar(node);
    case 1:
      return ChangeString(node);
    case 2:
      return ChangeStringFromItself(node);
    case 3:
    case 4:
      return AppendNew(node);
    case 5:
    case 6:
      return InsertNew(node);
    case 7:
      return DeleteOne(node);
    case 8:
      return Below(2) == 0 ? MoveInside(node, Pick()) : Move(node, Pick());
    default:
      return Copy(node, Pick());
  }
}

TEST_F(RandomEditing, LeavesTheTreeThatTheModelPredicts) {
  constexpr int kSteps = 100'000;
  int done = 0;
  for (int round = 0; done < kSteps; ++round) {
    SCOPED_TRACE(round);
    Decode(round % 2 == 0 ? BencTreeOf::kCopied : BencTreeOf::kInPlace);
    for (int step = 0; step < 1000; ++step) {
      done += Step();
      if (step % 50 == 49) {
        ASSERT_TRUE(SameTree(model_, tree_->root)) << "by step " << step;
      }
    }
    BencodedDict copy;
    copy.CopyFrom(tree_->root);
    const bool same = SameTree(model_, copy);
    copy.FreeMembers();
    ASSERT_TRUE(same);
    tree_.reset();
  }
}

}  // namespace
