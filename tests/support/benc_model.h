// A second reading of the bencoding rules, on standard containers, for comparing the decoder with.
// Plain and slow; it recurses, so keep the nesting of its inputs shallow.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace benc_model {

// Ascending bytes up to a zero byte, the shorter key first when those are the same.
struct KeyLess {
  bool operator()(const std::string& a, const std::string& b) const;
};

struct Value;
using List = std::vector<Value>;
using Dict = std::map<std::string, std::unique_ptr<Value>, KeyLess>;

enum class Kind { kNone, kInt, kString, kList, kDict };

struct Value {
  Kind kind = Kind::kNone;
  int64_t number = 0;
  std::string text;
  List list;
  Dict dict;
};

// The range of the named element, as offsets from the start of the input.
constexpr size_t kNowhere = SIZE_MAX;
struct Range {
  size_t start = kNowhere;
  size_t end = kNowhere;
};

struct Result {
  bool ok = false;
  size_t end = 0;  // offset where the tokenizer stopped; beyond the input after an overrunning string
  Value root;
  std::vector<std::string> keys;     // in the order in which they were stored, the duplicate included
  std::vector<std::string> strings;  // string values, in the same order
  Range element;                     // meaningful when `ok`
};

Result Decode(std::string_view input, std::string_view element_name);

// What an integer's text stands for.
int64_t Number(std::string_view text);

// Writes `value` with its keys in ascending order.
std::string Encode(const Value& value);

}  // namespace benc_model
