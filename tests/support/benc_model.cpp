#include "tests/support/benc_model.h"

#include <stdlib.h>

#include <algorithm>

namespace benc_model {
namespace {

enum class TokenKind { kError, kInt, kString, kList, kDict, kEnd, kEof };

struct Token {
  TokenKind kind = TokenKind::kError;
  size_t at = 0;  // offset of the text, or just past the letter
  std::string_view text;
};

class Decoder {
 public:
  Decoder(std::string_view input, std::string_view name) : input_(input), name_(name) {}

  Result Run() {
    const Token first = Next();
    result_.ok = first.kind == TokenKind::kList || first.kind == TokenKind::kDict;
    if (result_.ok) {
      Store(first, result_.root);
    }
    while (result_.ok && !open_.empty()) {
      result_.ok = open_.back()->kind == Kind::kList ? ListStep(open_.back()->list) : DictStep(open_.back()->dict);
    }
    result_.end = position_;
    return std::move(result_);
  }

 private:
  Token Next() {
    const Token token = Read();
    if (result_.element.start == kNowhere || result_.element.end == kNowhere) {
      LookForElement(token, result_.element);
    }
    return token;
  }

  Token Read() {
    if (position_ >= input_.size()) {
      return {position_ == input_.size() ? TokenKind::kEof : TokenKind::kError, 0, {}};
    }
    if (input_[position_] >= '0' && input_[position_] <= '9') {
      return ReadString();
    }
    const size_t at = position_ + 1;
    switch (input_[position_++]) {
      case 'd':
        return {TokenKind::kDict, at, {}};
      case 'l':
        return {TokenKind::kList, at, {}};
      case 'e':
        return {TokenKind::kEnd, at, {}};
      case 'i': {
        const std::string_view text = input_.substr(at, input_.substr(at).find('e'));
        position_ = std::min(at + text.size() + 1, input_.size());
        return {TokenKind::kInt, at, text};
      }
      default:
        return {};
    }
  }

  Token ReadString() {
    const size_t colon = input_.find_first_not_of("0123456789", position_);
    if (colon == std::string_view::npos || input_[colon] != ':') {
      return {};
    }
    uint64_t len = 0;  // modulo 2^64
    for (char digit : input_.substr(position_, colon - position_)) {
      len = len * 10 + static_cast<uint64_t>(digit - '0');
    }
    const size_t at = colon + 1;
    const size_t top = UINTPTR_MAX - reinterpret_cast<uintptr_t>(input_.data());
    position_ = len > top - at ? top : at + len;
    return position_ > input_.size() ? Token() : Token{TokenKind::kString, at, input_.substr(at, len)};
  }

  void LookForElement(const Token& token, Range& range) {
    const bool wanted =
        last_string_ != kNowhere && range.start == kNowhere && input_.substr(last_string_).starts_with(name_);
    if (token.kind == TokenKind::kString) {
      if (wanted) {
        range = {token.at, token.at + token.text.size()};
      }
      last_string_ = token.at;
    } else if (token.kind == TokenKind::kDict || token.kind == TokenKind::kList) {
      if (wanted && token.kind == TokenKind::kDict) {
        range.start = token.at - 1;
        element_depth_ = depth_;
      }
      ++depth_;
    } else if (token.kind == TokenKind::kEnd) {
      --depth_;
      if (element_depth_ != 0 && range.start != kNowhere && element_depth_ == depth_) {
        range.end = token.at;
      }
    }
  }

  void Store(const Token& token, Value& out) {
    after_scalar_ = token.kind == TokenKind::kInt || token.kind == TokenKind::kString;
    if (token.kind == TokenKind::kInt) {
      out.kind = Kind::kInt;
      out.number = strtoll(std::string(token.text).c_str(), nullptr, 10);
    } else if (token.kind == TokenKind::kString) {
      out.kind = Kind::kString;
      out.text = token.text;
      result_.strings.push_back(token.text);
    } else {
      out.kind = token.kind == TokenKind::kList ? Kind::kList : Kind::kDict;
      open_.push_back(&out);
    }
  }

  void Close() {
    open_.pop_back();
    after_scalar_ = false;
  }

  // A bad byte is skipped after a scalar and closes the list otherwise.
  bool ListStep(List& list) {
    const Token token = Next();
    if (token.kind == TokenKind::kEnd || (token.kind == TokenKind::kError && !after_scalar_)) {
      Close();
    } else if (token.kind == TokenKind::kError) {
      after_scalar_ = false;
    } else if (token.kind != TokenKind::kEof) {
      Store(token, list.emplace_back());
    }
    return token.kind != TokenKind::kEof;
  }

  bool DictStep(Dict& dict) {
    const Token key = Next();
    if (key.kind == TokenKind::kEnd) {
      Close();
    }
    if (key.kind != TokenKind::kString) {
      return key.kind == TokenKind::kEnd;
    }
    const Token value = Next();
    if (value.kind == TokenKind::kError || value.kind == TokenKind::kEnd || value.kind == TokenKind::kEof) {
      return false;
    }
    result_.keys.push_back(key.text);
    const auto [entry, is_new] = dict.try_emplace(std::string(key.text), std::make_unique<Value>());
    if (is_new) {
      Store(value, *entry->second);
    }
    return is_new;
  }

  const std::string_view input_;
  const std::string_view name_;
  size_t position_ = 0;
  std::vector<Value*> open_;
  bool after_scalar_ = false;
  size_t last_string_ = kNowhere;
  int depth_ = 0;
  int element_depth_ = 0;
  Result result_;
};

// Moves what `value` holds to the end of `list`.
void TakeOut(Value& value, List& list) {
  for (Value& element : value.list) {
    list.push_back(std::move(element));
  }
  for (auto& [key, element] : value.dict) {
    list.push_back(std::move(*element));
  }
}

}  // namespace

bool KeyLess::operator()(const std::string& a, const std::string& b) const {
  const int order = std::string(a.c_str()).compare(b.c_str());
  return order != 0 ? order < 0 : a.size() < b.size();
}

Value::~Value() {
  List held;
  for (TakeOut(*this, held); !held.empty();) {
    Value last = std::move(held.back());
    held.pop_back();
    TakeOut(last, held);
    last.list.clear();
    last.dict.clear();
  }
}

Result Decode(std::string_view input, std::string_view element_name) { return Decoder(input, element_name).Run(); }

}  // namespace benc_model
