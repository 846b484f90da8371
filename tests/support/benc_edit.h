// Changes made to a tree of the library and to a model of it at the same time.
#pragma once

#include <stddef.h>

#include <functional>
#include <string>
#include <string_view>

#include "core/bencode/bencoding.h"
#include "tests/support/benc_model.h"
#include "tests/support/exact_bytes.h"

class EditedTree {
 public:
  // A number below the limit.
  using Choose = std::function<size_t(size_t limit)>;

  // Decodes `input`, in place or not. What is changed, and how, is what `choose` answers.
  EditedTree(std::string_view input, bool in_place, Choose choose);
  ~EditedTree() { root.FreeMembers(); }
  EditedTree(const EditedTree&) = delete;
  EditedTree& operator=(const EditedTree&) = delete;

  // One change; false, with nothing changed, when its precondition does not hold for the values chosen.
  bool Step();

  // Whether the tree is the model's, and every change so far returned what it should and left the room
  // that it should.
  bool Agrees() const;

  // The same of a deep copy.
  bool CopyAgrees() const;

  core::BencEntity root;

 private:
  // A value and what the model says of it.
  struct Node {
    core::BencEntity* real;
    benc_model::Value* model;

    core::BencEntityMem& mem() const { return static_cast<core::BencEntityMem&>(*real); }
    core::BencodedList& list() const { return static_cast<core::BencodedList&>(*real); }
    core::BencodedDict& dict() const { return static_cast<core::BencodedDict&>(*real); }
  };

  size_t Below(size_t limit) { return choose_(limit); }
  void Expect(bool holds) { all_held_ = all_held_ && holds; }
  std::string Name();
  std::string Text();
  Node Pick();
  Node Child(const Node& node);

  bool ChangeScalar(const Node& node);
  bool ChangeString(const Node& node);
  bool ChangeStringFromItself(const Node& node);
  bool AppendNew(const Node& node);
  bool InsertNew(const Node& node);
  bool DeleteOne(const Node& node);
  bool FillOnList(const Node& node);
  bool FillOnDict(const Node& node);
  bool MoveInside(const Node& node, const Node& source);
  bool Move(const Node& target, const Node& source);
  bool Copy(const Node& target, const Node& source);

  ExactBytes bytes_;
  Choose choose_;
  benc_model::Value model_;
  bool all_held_ = true;
};
