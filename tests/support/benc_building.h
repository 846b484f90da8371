// What a tree is built from step by step: token sources and ways of storing of the tests' own.
#pragma once

#include <ctype.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/bencode/bencoding.h"
#include "tests/support/benc_tree.h"
#include "tests/support/exact_bytes.h"

// A token source that hands out a list of its own, then PARSE_EOF.
class ScriptedParser : public core::IBencParser {
 public:
  ScriptedParser& Add(PARSE_T kind, std::string_view text = {}) {
    steps_.push_back({kind, std::make_unique<ExactBytes>(text), text.size()});
    return *this;
  }
  // A text token that claims another length than it has.
  ScriptedParser& AddLength(PARSE_T kind, size_t len) {
    steps_.push_back({kind, std::make_unique<ExactBytes>("x"), len});
    return *this;
  }

  PARSE_T ParseNext(const unsigned char** text, size_t* len) override {
    *len = 0;
    if (next == steps_.size()) {
      return PARSE_EOF;
    }
    const Step& step = steps_[next++];
    *text = step.text->begin();
    *len = step.len;
    return step.kind;
  }

  size_t next = 0;

 private:
  struct Step {
    PARSE_T kind;
    std::unique_ptr<ExactBytes> text;
    size_t len;
  };
  std::vector<Step> steps_;
};

// A way of storing that writes down what it is asked for and can keep integers as text.
class RecordingRegime : public core::BencEntity::AllocRegime {
 public:
  core::BencArray<char>* NewKey(char* text, int len) override {
    log.push_back("key " + Text(text, len));
    auto* array = new core::BencArray<char>;
    const std::string stored = fold_case ? Lower(Text(text, len)) : Text(text, len);
    array->Assign(stored.data(), stored.size());
    return array;
  }
  core::BencArray<unsigned char>* NewMem(unsigned char* text, int len) override {
    lengths.push_back(len);
    auto* array = new core::BencArray<unsigned char>;
    if (ignore_text) {
      return array;
    }
    log.push_back("mem " + Text(reinterpret_cast<char*>(text), len));
    if (borrow) {
      array->Borrow(text, static_cast<size_t>(len));
    } else {
      array->Assign(text, static_cast<size_t>(len));
    }
    return array;
  }
  bool LazyInt() override { return lazy; }

  bool lazy = false;
  bool borrow = false;
  bool fold_case = false;
  bool ignore_text = false;
  std::vector<std::string> log;
  std::vector<int> lengths;

 private:
  static std::string Text(const char* text, int len) { return std::string(text, static_cast<size_t>(len)); }
  static std::string Lower(std::string text) {
    for (char& c : text) {
      c = static_cast<char>(tolower(c));
    }
    return text;
  }
};

// A value, built by way of `regime`.
class BuildingTest : public BencTest {
 protected:
  ~BuildingTest() override { root.FreeMembers(); }
  void TearDown() override {
    root.FreeMembers();
    BencTest::TearDown();
  }
  core::BencodedDict& dict() { return static_cast<core::BencodedDict&>(root); }
  core::BencodedList& list() { return static_cast<core::BencodedList&>(root); }

  bool Decode(std::string_view input) {
    bytes = std::make_unique<ExactBytes>(input);
    core::BencParser parser(bytes->begin(), bytes->end());
    return core::BencEntity::DoParse(root, &parser, &regime);
  }

  std::unique_ptr<ExactBytes> bytes;
  core::BencEntity root;
  ScriptedParser script;
  RecordingRegime regime;
};
