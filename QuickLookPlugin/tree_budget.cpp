#include "QuickLookPlugin/tree_budget.h"

#include "QuickLookPlugin/limits.h"
#include "core/base/mem1.h"
#include "core/bencode/bencparser.h"

namespace reader {

namespace {

// At least what the tree spends on each of its parts, with the allocator's share.
constexpr size_t kBlockOverhead = 16;
constexpr size_t kListRecord = 48;
constexpr size_t kDictRecord = 64;
constexpr size_t kDictNode = 112;
constexpr size_t kStringRecord = 48;
constexpr size_t kElement = 16;        // one value in a list
constexpr size_t kFirstElements = 16;  // slots that a list begins with
constexpr size_t kFirstSlots = kFirstElements * kElement + kBlockOverhead;
constexpr size_t kGrowingElement = 3 * kElement;  // a doubled block beside the full one
constexpr size_t kOpenContainer = 24;             // its place in the decoder's own stack

// A block for `len` bytes and their terminator.
size_t BytesBlock(size_t len) { return (len + 1 + 15) / 16 * 16 + kBlockOverhead; }

// One bit per open container: is it a list?
class BitStack {
 public:
  BitStack() = default;
  BitStack(const BitStack&) = delete;
  BitStack& operator=(const BitStack&) = delete;
  ~BitStack() { core::MyFree(bytes_); }

  size_t depth() const { return depth_; }
  bool top() const { return (bytes_[(depth_ - 1) / 8] >> ((depth_ - 1) % 8) & 1) != 0; }
  void pop() { --depth_; }

  void push(bool bit) {
    if (depth_ / 8 == capacity_) {
      capacity_ = capacity_ == 0 ? 16 : capacity_ * 2;
      bytes_ = static_cast<unsigned char*>(core::MyRealloc(bytes_, capacity_));
    }
    const unsigned mask = 1u << (depth_ % 8);
    unsigned char& byte = bytes_[depth_ / 8];
    byte = static_cast<unsigned char>(bit ? byte | mask : byte & ~mask);
    ++depth_;
  }

 private:
  unsigned char* bytes_ = nullptr;
  size_t capacity_ = 0;
  size_t depth_ = 0;
};

// Walks the tokens as the decoder does and keeps the account.
class TreeAccount {
 public:
  TreeAccount(const unsigned char* begin, const unsigned char* end) : parser_(begin, end) {}

  bool Fits(size_t budget) {
    Token token = Next();
    if (!IsContainer(token)) {
      return false;
    }
    Open(token);
    while (spent_ <= budget) {
      if (open_.depth() == 0) {
        return true;
      }
      if (!(open_.top() ? StepInList() : StepInDict())) {
        return false;
      }
    }
    return false;
  }

 private:
  using Token = core::IBencParser::PARSE_T;

  static bool IsContainer(Token token) {
    return token == core::IBencParser::PARSE_LIST || token == core::IBencParser::PARSE_DICT;
  }

  Token Next() {
    const unsigned char* text = nullptr;
    return parser_.Next(&text, &len_);
  }

  // The decoder's leniency: a bad token is skipped after a scalar and closes the list otherwise.
  bool StepInList() {
    const Token token = Next();
    switch (token) {
      case core::IBencParser::PARSE_EOF:
        return false;
      case core::IBencParser::PARSE_ERROR:
        if (after_scalar_) {
          after_scalar_ = false;
        } else {
          Close();
        }
        return true;
      case core::IBencParser::PARSE_END:
        GiveBackSlots();
        Close();
        return true;
      default:
        spent_ += kGrowingElement;
        ++scalars_;
        AddValue(token);
        return true;
    }
  }

  bool StepInDict() {
    Token token = Next();
    if (token == core::IBencParser::PARSE_END) {
      Close();
      return true;
    }
    if (token != core::IBencParser::PARSE_STRING) {
      return false;
    }
    spent_ += kDictNode + BytesBlock(len_);
    token = Next();
    if (token == core::IBencParser::PARSE_ERROR || token == core::IBencParser::PARSE_END ||
        token == core::IBencParser::PARSE_EOF) {
      return false;
    }
    AddValue(token);
    return true;
  }

  void AddValue(Token token) {
    if (IsContainer(token)) {
      Open(token);
      return;
    }
    after_scalar_ = true;
    if (token == core::IBencParser::PARSE_STRING) {
      spent_ += kStringRecord + BytesBlock(len_);
    }
  }

  void Open(Token token) {
    const bool list = token == core::IBencParser::PARSE_LIST;
    spent_ += list ? kListRecord + kFirstSlots : kDictRecord;
    open_.push(list);
    if (open_.depth() > deepest_) {
      deepest_ = open_.depth();
      spent_ += kOpenContainer;
    }
    only_scalars_ = true;
    scalars_ = 0;
    after_scalar_ = false;
  }

  void Close() {
    open_.pop();
    only_scalars_ = false;  // of the container that is open now
    after_scalar_ = false;
  }

  // A list that ends properly keeps a slot for each element; one that has outgrown its first slots
  // keeps those as well. How many elements it has is known when no container has been opened in it.
  void GiveBackSlots() {
    if (!only_scalars_) {
      return;
    }
    spent_ -= scalars_ * kGrowingElement + (scalars_ > kFirstElements ? 0 : kFirstSlots);
    spent_ += scalars_ == 0 ? 0 : scalars_ * kElement + kBlockOverhead;
  }

  core::FixedInput<core::BencParser> parser_;
  size_t len_ = 0;  // of the last token
  BitStack open_;
  size_t deepest_ = 0;
  size_t spent_ = 0;
  size_t scalars_ = 0;         // elements of the innermost container while only_scalars_
  bool only_scalars_ = false;  // nothing but scalars so far in the innermost container
  bool after_scalar_ = false;  // the last token was a scalar in the innermost container
};

}  // namespace

size_t TreeBudget(size_t file_bytes) {
  constexpr size_t kUncappedBytes = (kTreeBudgetMax - kTreeBudgetBase) / kTreeBudgetPerByte;
  return file_bytes < kUncappedBytes ? kTreeBudgetBase + kTreeBudgetPerByte * file_bytes : kTreeBudgetMax;
}

bool TreeFitsBudget(const unsigned char* begin, const unsigned char* end, size_t budget) {
  return TreeAccount(begin, end).Fits(budget);
}

}  // namespace reader
