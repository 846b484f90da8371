#include "tests/support/benc_edit.h"

#include <string.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "core/base/mem1.h"
#include "core/containers/templates.h"
#include "tests/support/benc_peek.h"
#include "tests/support/benc_same.h"
#include "tests/support/repeat.h"

using namespace core;
using benc_model::Kind;
using benc_model::Value;

namespace {

constexpr size_t kLargestTree = 400;
constexpr size_t kLeastSlots = 16;

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

Value Int(int64_t number) {
  Value value;
  value.kind = Kind::kInt;
  value.number = number;
  return value;
}

Value String(std::string text) {
  Value value;
  value.kind = Kind::kString;
  value.text = std::move(text);
  return value;
}

Value Empty(Kind kind) {
  Value value;
  value.kind = kind;
  return value;
}

std::wstring Wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

size_t RoomOf(const BencodedList& list) { return BencPeek::List(list).capacity; }

// The room of a list once an element was appended to it.
size_t RoomAfterAppend(const BencodedList& list) {
  const size_t room = RoomOf(list);
  return list.GetCount() < room ? room : std::max(2 * room, kLeastSlots);
}

// The room of a string that has a terminator.
size_t RoomForText(size_t len) { return len == 0 ? 0 : std::max(len + 1, kLeastSlots); }

}  // namespace

EditedTree::EditedTree(std::string_view input, bool in_place, Choose choose)
    : bytes_(input), choose_(std::move(choose)), model_(std::move(benc_model::Decode(input, "").root)) {
  Expect((in_place ? BencEntity::ParseInPlace(bytes_.data(), root, bytes_.end())
                   : BencEntity::Parse(bytes_.begin(), root, bytes_.end())) == bytes_.end());
}

bool EditedTree::Agrees() const { return all_held_ && benc_model::SameTree(model_, root); }

bool EditedTree::CopyAgrees() const {
  BencodedDict copy;
  BencodedList list;
  BencEntity& target = root.GetType() == BENC_LIST ? static_cast<BencEntity&>(list) : copy;
  target.CopyFrom(root);
  const bool same = benc_model::SameTree(model_, target);
  copy.FreeMembers();
  list.FreeMembers();
  return same;
}

std::string EditedTree::Name() {
  const size_t len = Below(3);
  return std::string(len, static_cast<char>('a' + Below(3)));
}

std::string EditedTree::Text() {
  const size_t len = Below(24);
  return std::string(len, static_cast<char>('k' + Below(3)));
}

EditedTree::Node EditedTree::Child(const Node& node) {
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

EditedTree::Node EditedTree::Pick() {
  Node node = {&root, &model_};
  for (size_t levels = Below(6); levels > 0; --levels) {
    node = Child(node);
  }
  return node;
}

bool EditedTree::ChangeScalar(const Node& node) {
  if (node.model == &model_ || SizeOf(*node.model) > 3) {
    return false;
  }
  const auto number = static_cast<int64_t>(Below(size_t{1} << 32));
  if (Below(2) == 0) {
    Expect(node.real->SetInt(static_cast<int>(number)) == static_cast<int>(number));
    Expect(node.real->GetType() == BENC_INT);
    *node.model = Int(static_cast<int>(number));
  } else {
    node.real->SetInt64(number << 20);
    Expect(node.real->GetType() == BENC_INT64);
    *node.model = Int(number << 20);
  }
  return true;
}

bool EditedTree::ChangeString(const Node& node) {
  if (node.model->kind != Kind::kString) {
    return false;
  }
  const std::string text = Text();
  size_t room = text.size();
  switch (Below(4)) {
    case 0:
      node.mem().SetStr(text.c_str(), -1);
      room = RoomForText(text.size());
      break;
    case 1:
      node.mem().SetStrT(Wide(text).c_str());
      room = text.size() + 1;
      break;
    case 2:
      node.mem().SetMem(text.data(), text.size());
      break;
    default:
      node.mem().SetMemOwn(memcpy(MyMalloc(text.size() + 1), text.data(), text.size() + 1), text.size());
      break;
  }
  Expect(BencPeek::Bytes(*node.real).capacity == room);
  node.model->text = text;
  return true;
}

bool EditedTree::ChangeStringFromItself(const Node& node) {
  if (node.model->kind != Kind::kString || node.model->text.empty()) {
    return false;
  }
  const size_t from = Below(node.model->text.size());
  const size_t len = 1 + Below(node.model->text.size() - from);
  const char* text = node.mem().GetString(nullptr) + from;
  if (Below(2) == 0) {
    node.mem().SetStr(text, static_cast<int>(len));
    Expect(BencPeek::Bytes(*node.real).capacity == RoomForText(len));
  } else {
    node.mem().SetMem(text, len);
    Expect(BencPeek::Bytes(*node.real).capacity == len);
  }
  node.model->text = node.model->text.substr(from, len);
  return true;
}

bool EditedTree::AppendNew(const Node& node) {
  if (node.model->kind != Kind::kList) {
    return false;
  }
  const std::string text = Text();
  const size_t room = RoomAfterAppend(node.list());
  Value added;
  BencEntity* stored = nullptr;
  switch (Below(5)) {
    case 0:
      stored = node.list().AppendInt(5);
      added = Int(5);
      break;
    case 1:
      stored = node.list().AppendString(text.c_str(), text.size());
      added = String(text);
      break;
    case 2:
      stored = node.list().AppendDict();
      added = Empty(Kind::kDict);
      break;
    case 3:
      stored = node.list().AppendInt64(INT64_MIN);
      added = Int(INT64_MIN);
      break;
    default:
      stored = node.list().AppendList();
      added = Empty(Kind::kList);
      break;
  }
  node.model->list.push_back(std::move(added));
  Expect(stored == node.list().Get(node.list().GetCount() - 1) && RoomOf(node.list()) == room);
  return true;
}

bool EditedTree::InsertNew(const Node& node) {
  if (node.model->kind != Kind::kDict) {
    return false;
  }
  const std::string key = Name();
  const std::string text = Text();
  Value added;
  BencEntity* stored = nullptr;
  const BencEntity* before = node.dict().Get(key.c_str());
  switch (Below(6)) {
    case 0:
      stored = node.dict().InsertInt64(key.c_str(), -5);
      added = Int(-5);
      break;
    case 1:
      stored = node.dict().InsertString(key.c_str(), text.c_str(), static_cast<int>(text.size()));
      added = String(text);
      break;
    case 2:
      stored = node.dict().InsertDict(key.c_str());
      added = Empty(Kind::kDict);
      break;
    case 3:
      stored = node.dict().InsertInt(key.c_str(), 5);
      added = Int(5);
      break;
    case 4:
      stored = node.dict().InsertStringT(key.c_str(), Wide(text).c_str());
      added = String(text);
      break;
    default:
      stored = node.dict().InsertList(key.c_str());
      added = Empty(Kind::kList);
      break;
  }
  node.model->dict.try_emplace(key, std::make_unique<Value>(std::move(added)));
  Expect(stored == node.dict().Get(key.c_str()) && (before == nullptr || before == stored));
  return true;
}

bool EditedTree::DeleteOne(const Node& node) {
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
  const size_t room = RoomOf(node.list());
  node.list().Delete(i);
  node.model->list.erase(node.model->list.begin() + static_cast<ptrdiff_t>(i));
  Expect(RoomOf(node.list()) == room);
  return true;
}

// A decode that goes on in a list of the tree and ends with it, or in a list that begins in it.
bool EditedTree::FillOnList(const Node& node) {
  const size_t more = Below(20);
  if (node.model->kind != Kind::kList || SizeOf(model_) + more >= kLargestTree) {
    return false;
  }
  const bool ends = Below(2) == 0;
  const ExactBytes text(Repeat("i7e", more) + (ends ? "e" : "l"));
  BencParser parser(text.begin(), text.end());
  AllocateMemRegime regime;
  BencEntity* child = nullptr;
  Expect(node.list().ResumeList(&parser, &child, &regime) && parser.position() == text.end());
  for (size_t i = 0; i < more; ++i) {
    node.model->list.push_back(Int(7));
  }
  if (!ends) {
    node.model->list.push_back(Empty(Kind::kList));
    Expect(child == node.list().Get(node.list().GetCount() - 1) && RoomOf(node.list()) >= kLeastSlots);
    return true;
  }
  const size_t count = node.model->list.size();
  Expect(child == nullptr && (count == 0 || RoomOf(node.list()) == count));
  return true;
}

// The same with one pair of a dictionary. A key that is there already stops it.
bool EditedTree::FillOnDict(const Node& node) {
  if (node.model->kind != Kind::kDict) {
    return false;
  }
  const std::string key = Name();
  const ExactBytes text(std::to_string(key.size()).append(":").append(key).append("i7ee"));
  BencParser parser(text.begin(), text.end());
  AllocateMemRegime regime;
  BencEntity* child = nullptr;
  const bool fresh = node.model->dict.try_emplace(key, std::make_unique<Value>(Int(7))).second;
  Expect(node.dict().ResumeDict(&parser, &child, &regime) == fresh && child == nullptr);
  return true;
}

// Append or Insert of a value that is somewhere in the tree already.
bool EditedTree::MoveInside(const Node& node, const Node& source) {
  if (Holds(*source.model, node.model)) {
    return false;
  }
  if (node.model->kind == Kind::kList) {
    const size_t room = RoomAfterAppend(node.list());
    Value taken = Taken(*source.model);
    node.list().Append(*source.real);
    node.model->list.push_back(std::move(taken));
    Expect(RoomOf(node.list()) == room);
    return true;
  }
  if (node.model->kind != Kind::kDict) {
    return false;
  }
  const std::string key = Name();
  Value taken = Taken(*source.model);
  BencEntity* stored = node.dict().Insert(key.c_str(), *source.real);
  Expect(stored == node.dict().Get(key.c_str()));
  node.model->dict.try_emplace(key, std::make_unique<Value>(std::move(taken)));
  return true;
}

bool EditedTree::Move(const Node& target, const Node& source) {
  const bool fits = target.real->GetType() == source.real->GetType() || target.model->kind == Kind::kNone;
  if (!fits || Holds(*source.model, target.model)) {
    return false;
  }
  Value taken = Taken(*source.model);
  target.real->MoveFrom(*source.real);
  *target.model = std::move(taken);
  return true;
}

bool EditedTree::Copy(const Node& target, const Node& source) {
  const Kind from = source.model->kind;
  const Kind to = target.model->kind;
  const bool fits = from == to || from == Kind::kNone || from == Kind::kInt || from == Kind::kDict ||
                    (from == Kind::kString && to == Kind::kNone);
  if (!fits || (target.model == &model_ && from != to) || SizeOf(model_) + SizeOf(*source.model) > kLargestTree) {
    return false;
  }
  Value copy = Clone(*source.model);
  target.real->CopyFrom(*source.real);
  if (from != Kind::kNone) {
    *target.model = std::move(copy);
    Expect(from != Kind::kList || RoomOf(target.list()) == target.model->list.size());
  }
  return true;
}

bool EditedTree::Step() {
  const Node node = Pick();
  switch (Below(11)) {
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
    case 9:
      return FillOnList(node) || FillOnDict(node);
    default:
      return Copy(node, Pick());
  }
}
