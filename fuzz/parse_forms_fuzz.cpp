// Property: every form of decoding accepts the same inputs, stops at the same offset and makes the same tree;
// the range of the named element is the model's and lies in the input; only reading a tree that was decoded
// in place changes the input, and only the bytes right behind its strings, which become zero.
#include <stddef.h>
#include <stdint.h>

#include <string>

#include "core/bencode/bencoding.h"
#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "tests/support/benc_model.h"
#include "tests/support/benc_same.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/test_host.h"

namespace {

using core::BencEntity;

class Forms {
 public:
  Forms(const std::string& name, std::string_view text)
      : name_(name), text_(text), in_(text), model_(benc_model::Decode(in_.view(), name)) {}

  void Check() {
    CheckResult(BencEntity::Parse(in_.begin(), root_, in_.end()));
    CheckElementForm();
    CheckIsValid();
    Require(in_.view() == text_, "the input of a copying form stays as it is");
    CheckInPlace();
  }

 private:
  void CheckResult(const unsigned char* end) {
    Require((end != nullptr) == model_.ok, "all forms accept the same inputs");
    Require(!model_.ok || Offset(end) == model_.end, "all forms stop at the same offset");
    CheckTree();
  }

  void CheckTree() {
    Require(model_.ok ? benc_model::SameDecodedTree(model_.root, root_) : root_.GetType() == core::BENC_NONE,
            "all forms make the same tree");
    root_.FreeMembers();
  }

  void CheckElementForm() {
    unsigned char mark = 0;
    core::ReturnElementRgn range = {&mark, &mark};
    CheckResult(BencEntity::Parse(in_.begin(), root_, in_.end(), name_.c_str(), &range));
    if (!model_.ok) {
      Require(range.start == &mark && range.end == &mark, "a failure leaves the range untouched");
      return;
    }
    Require(range.start == AddressOf(model_.element.start) && range.end == AddressOf(model_.element.end),
            "the range is the model's");
    Require(range.start == nullptr || (range.start >= in_.begin() && range.start <= in_.end()),
            "the range begins in the input");
    Require(range.end == nullptr || (range.end >= range.start && range.end <= in_.end()),
            "the range ends in the input");
  }

  void CheckIsValid() {
    const bool valid = core::BencEntityIsValid(in_.data(), in_.size(), &root_);
    Require(valid == (model_.ok && model_.end == in_.size()), "an input is valid that is one value and nothing else");
    CheckTree();
  }

  void CheckInPlace() {
    const unsigned char* end = BencEntity::ParseInPlace(in_.data(), root_, in_.end());
    Require(in_.view() == text_, "decoding in place writes nothing before a string is read");
    std::string want(text_);
    if (model_.ok) {
      for (std::string_view text : model_.strings) {
        if (!text.empty()) {
          want.at(static_cast<size_t>(text.data() - in_.chars()) + text.size()) = '\0';
        }
      }
    }
    CheckResult(end);
    Require(in_.view() == want, "reading in place writes zero bytes behind strings and nothing else");
  }

  size_t Offset(const unsigned char* p) const {
    return reinterpret_cast<uintptr_t>(p) - reinterpret_cast<uintptr_t>(in_.begin());
  }
  const unsigned char* AddressOf(size_t offset) const {
    return offset == benc_model::kNowhere ? nullptr : in_.begin() + offset;
  }

  const std::string& name_;
  std::string_view text_;
  ExactBytes in_;
  benc_model::Result model_;
  BencEntity root_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const long blocks = test_host::LiveBlocks();
  FuzzInput input(data, size);
  const std::string name = input.Bytes(8).c_str();
  Forms(name, input.Rest()).Check();
  Require(test_host::LiveBlocks() == blocks, "nothing stays allocated");
  return 0;
}
