// A second reading of the bencoding rules, on standard containers, for comparing the decoder with.
// Plain and slow, but at home in any nesting.
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
  Value() = default;
  Value(Value&&) = default;
  Value& operator=(Value&&) = default;
  ~Value();  // not by recursion

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
  std::vector<std::string_view> keys;     // in the order in which they were stored, the duplicate included
  std::vector<std::string_view> strings;  // string values, in the same order; both lie in the input
  Range element;                          // meaningful when `ok`
};

Result Decode(std::string_view input, std::string_view element_name);

}  // namespace benc_model
