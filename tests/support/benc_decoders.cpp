#include "tests/support/benc_decoders.h"

#include <algorithm>
#include <vector>

#include "core/bencode/bencoding.h"
#include "tests/support/benc_model.h"
#include "tests/support/benc_same.h"
#include "tests/support/exact_bytes.h"

namespace {

using core::BencEntity;
using core::BencParser;

constexpr char kElement[] = "a";

// Copies as the library does, and writes down the keys and strings.
class RecordingRegime : public BencEntity::AllocRegime {
 public:
  core::BencArray<char>* NewKey(char* text, int len) override {
    keys.emplace_back(text, static_cast<size_t>(len));
    return copying_.NewKey(text, len);
  }
  core::BencArray<unsigned char>* NewMem(unsigned char* text, int len) override {
    strings.emplace_back(reinterpret_cast<char*>(text), static_cast<size_t>(len));
    return copying_.NewMem(text, len);
  }

  std::vector<std::string> keys;
  std::vector<std::string> strings;

 private:
  core::AllocateMemRegime copying_;
};

// One input, one model result, every way of decoding.
class Comparison {
 public:
  explicit Comparison(std::string_view input)
      : input_(input), in_(input), model_(benc_model::Decode(in_.view(), kElement)) {}

  // What the first disagreeing way of decoding is called; empty when all agree.
  std::string Disagreement() {
    std::string failed;
    const auto check = [&](const char* name, bool (Comparison::*agrees)()) {
      if (failed.empty() && !(this->*agrees)()) {
        failed = name;
      }
      root_.FreeMembers();
    };
    check("Parse", &Comparison::ParseAgrees);
    check("Parse with an element name", &Comparison::ElementParseAgrees);
    check("BencEntityIsValid", &Comparison::IsValidAgrees);
    check("DoParse", &Comparison::DoParseAgrees);
    check("ParseInPlace", &Comparison::ParseInPlaceAgrees);
    return failed;
  }

 private:
  bool Agrees(const unsigned char* end) {
    const bool same_end = model_.ok ? Offset(end) == model_.end && end != nullptr : end == nullptr;
    return same_end &&
           (model_.ok ? benc_model::SameDecodedTree(model_.root, root_) : root_.GetType() == core::BENC_NONE);
  }
  size_t Offset(const unsigned char* p) const {
    return reinterpret_cast<uintptr_t>(p) - reinterpret_cast<uintptr_t>(in_.begin());
  }

  bool ParseAgrees() { return Agrees(BencEntity::Parse(in_.begin(), root_, in_.end())); }

  bool ElementParseAgrees() {
    unsigned char mark = 0;
    core::ReturnElementRgn range = {&mark, &mark};
    if (!Agrees(BencEntity::Parse(in_.begin(), root_, in_.end(), kElement, &range))) {
      return false;
    }
    if (!model_.ok) {
      return range.start == &mark && range.end == &mark;
    }
    const auto same = [&](const unsigned char* got, size_t want) {
      return want == benc_model::kNowhere ? got == nullptr : got != nullptr && Offset(got) == want;
    };
    return same(range.start, model_.element.start) && same(range.end, model_.element.end);
  }

  bool IsValidAgrees() {
    const bool valid = core::BencEntityIsValid(in_.data(), in_.size(), &root_);
    return valid == (model_.ok && model_.end == in_.size()) && Untouched();
  }

  bool DoParseAgrees() {
    RecordingRegime regime;
    BencParser parser(in_.begin(), in_.end());
    const bool ok = BencEntity::DoParse(root_, &parser, &regime);
    return ok == model_.ok && Offset(parser.position()) == model_.end && Agrees(ok ? parser.position() : nullptr) &&
           std::ranges::equal(regime.keys, model_.keys) && std::ranges::equal(regime.strings, model_.strings);
  }

  // Last, because reading the tree writes terminators into the input.
  bool ParseInPlaceAgrees() {
    const unsigned char* end = BencEntity::ParseInPlace(in_.data(), root_, in_.end());
    return Untouched() && Agrees(end);
  }

  bool Untouched() const { return in_.view() == input_; }

  std::string_view input_;
  ExactBytes in_;
  benc_model::Result model_;
  BencEntity root_;
};

}  // namespace

std::string DecodersDisagreement(std::string_view input) { return Comparison(input).Disagreement(); }
