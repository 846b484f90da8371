#include "tests/support/benc_model.h"

#include <stdlib.h>

namespace benc_model {
namespace {

enum class TokenKind { kError, kInt, kString, kList, kDict, kEnd, kEof };

struct Token {
  TokenKind kind = TokenKind::kError;
  size_t at = 0;  // offset of the text, or just past the letter
  std::string_view text;
};

// Follows the tokens in search of the named element.
class ElementFinder {
 public:
  ElementFinder(std::string_view input, std::string_view name) : input_(input), name_(name) {}

  void See(const Token& token) {
    if (range.start != kNowhere && range.end != kNowhere) {
      return;
    }
    const bool wanted =
        last_string_ != kNowhere && range.start == kNowhere && input_.substr(last_string_).starts_with(name_);
    switch (token.kind) {
      case TokenKind::kString:
        if (wanted) {
          range = {token.at, token.at + token.text.size()};
        }
        last_string_ = token.at;
        break;
      case TokenKind::kDict:
        if (wanted) {
          range.start = token.at - 1;
          element_depth_ = depth_;
        }
        ++depth_;
        break;
      case TokenKind::kList:
        ++depth_;
        break;
      case TokenKind::kEnd:
        --depth_;
        if (element_depth_ != 0 && range.start != kNowhere && element_depth_ == depth_ && range.end == kNowhere) {
          range.end = token.at;
        }
        break;
      default:
        break;
    }
  }

  Range range;

 private:
  std::string_view input_;
  std::string_view name_;
  size_t last_string_ = kNowhere;
  int depth_ = 0;
  int element_depth_ = 0;
};

class Decoder {
 public:
  Decoder(std::string_view input, std::string_view element_name) : input_(input), finder_(input, element_name) {}

  Result Run() {
    const Token first = Next();
    const bool container = first.kind == TokenKind::kList || first.kind == TokenKind::kDict;
    result_.ok = container && Store(first, result_.root);
    result_.end = position_;
    result_.element = finder_.range;
    return std::move(result_);
  }

 private:
  Token Next() {
    const Token token = Read();
    finder_.See(token);
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
        const size_t e = input_.find('e', at);
        position_ = e == std::string_view::npos ? input_.size() : e + 1;
        return {TokenKind::kInt, at, input_.substr(at, e == std::string_view::npos ? e : e - at)};
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
    if (position_ > input_.size()) {
      return {};
    }
    return {TokenKind::kString, at, input_.substr(at, len)};
  }

  bool Store(const Token& token, Value& out) {
    switch (token.kind) {
      case TokenKind::kInt:
        out.kind = Kind::kInt;
        out.number = Number(token.text);
        return true;
      case TokenKind::kString:
        out.kind = Kind::kString;
        out.text = token.text;
        result_.strings.push_back(out.text);
        return true;
      case TokenKind::kList:
        out.kind = Kind::kList;
        return FillList(out.list);
      default:
        out.kind = Kind::kDict;
        return FillDict(out.dict);
    }
  }

  bool FillList(List& list) {
    bool after_scalar = false;
    for (;;) {
      const Token token = Next();
      if (token.kind == TokenKind::kEof) {
        return false;
      }
      if (token.kind == TokenKind::kEnd || (token.kind == TokenKind::kError && !after_scalar)) {
        return true;
      }
      after_scalar = token.kind == TokenKind::kInt || token.kind == TokenKind::kString;
      if (token.kind != TokenKind::kError && !Store(token, list.emplace_back())) {
        return false;
      }
    }
  }

  bool FillDict(Dict& dict) {
    for (;;) {
      const Token key = Next();
      if (key.kind != TokenKind::kString) {
        return key.kind == TokenKind::kEnd;
      }
      const Token value = Next();
      if (value.kind == TokenKind::kError || value.kind == TokenKind::kEnd || value.kind == TokenKind::kEof) {
        return false;
      }
      result_.keys.emplace_back(key.text);
      const auto [entry, is_new] = dict.try_emplace(std::string(key.text), std::make_unique<Value>());
      if (!is_new || !Store(value, *entry->second)) {
        return false;
      }
    }
  }

  std::string_view input_;
  size_t position_ = 0;
  ElementFinder finder_;
  Result result_;
};

std::string EncodeText(std::string_view text) { return std::to_string(text.size()).append(":").append(text); }

}  // namespace

bool KeyLess::operator()(const std::string& a, const std::string& b) const {
  const int order = std::string(a.c_str()).compare(b.c_str());
  return order != 0 ? order < 0 : a.size() < b.size();
}

Result Decode(std::string_view input, std::string_view element_name) { return Decoder(input, element_name).Run(); }

int64_t Number(std::string_view text) { return strtoll(std::string(text).c_str(), nullptr, 10); }

std::string Encode(const Value& value) {
  std::string out;
  switch (value.kind) {
    case Kind::kInt:
      return "i" + std::to_string(value.number) + "e";
    case Kind::kString:
      return EncodeText(value.text);
    case Kind::kList:
      for (const Value& element : value.list) {
        out += Encode(element);
      }
      return "l" + out + "e";
    case Kind::kDict:
      for (const auto& [key, element] : value.dict) {
        out += EncodeText(key) + Encode(*element);
      }
      return "d" + out + "e";
    case Kind::kNone:
      break;
  }
  return out;
}

}  // namespace benc_model
