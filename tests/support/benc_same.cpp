#include "tests/support/benc_same.h"

#include <string.h>

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/benc_peek.h"

namespace benc_model {
namespace {

using core::BencEntity;

class Comparison {
 public:
  explicit Comparison(bool decoded) : decoded_(decoded) {}

  bool Same(const Value& want, const BencEntity& got) {
    left_ = {{&want, &got}};
    while (!left_.empty()) {
      const auto [model, real] = left_.back();
      left_.pop_back();
      if (!SameValue(*model, *real)) {
        return false;
      }
    }
    return true;
  }

 private:
  // Elements are left for later.
  bool SameValue(const Value& want, const BencEntity& got) {
    switch (want.kind) {
      case Kind::kInt:
        return SameInt(want, got);
      case Kind::kString:
        return SameText(want.text, static_cast<const core::BencEntityMem&>(got));
      case Kind::kList:
        return SameList(want.list, static_cast<const core::BencodedList&>(got));
      case Kind::kDict:
        return SameDict(want.dict, static_cast<const core::BencodedDict&>(got));
      case Kind::kNone:
        break;
    }
    return got.GetType() == core::BENC_NONE;
  }

  bool SameInt(const Value& want, const BencEntity& got) const {
    return (got.GetType() == core::BENC_INT64 || (got.GetType() == core::BENC_INT && !decoded_)) &&
           got.GetInt64(~want.number) == want.number &&
           got.GetInt(static_cast<int>(~want.number)) == static_cast<int>(want.number);
  }

  bool SameText(std::string_view want, const core::BencEntityMem& got) const {
    size_t len = 0;
    const char* text = got.GetString(&len);
    return got.GetType() == core::BENC_STR && text != nullptr && std::string_view(text, len) == want &&
           (!decoded_ || text[len] == '\0');
  }

  bool SameList(const List& want, const core::BencodedList& got) {
    if (got.GetType() != core::BENC_LIST || got.GetCount() != want.size()) {
      return false;
    }
    for (size_t i = 0; i < want.size(); ++i) {
      left_.emplace_back(&want[i], got.Get(i));
    }
    return !decoded_ || BencPeek::List(got).capacity == want.size();
  }

  bool SameDict(const Dict& want, const core::BencodedDict& got) {
    if (got.GetType() != core::BENC_DICT || got.size() != want.size()) {
      return false;
    }
    auto at = got.begin();
    const bool same_keys = std::ranges::all_of(want, [&](const auto& entry) {
      const auto& stored = *at++;
      left_.emplace_back(entry.second.get(), &stored.second);
      return std::string_view(stored.first.begin(), stored.first.size()) == entry.first &&
             Finds(got, entry.first, &stored.second);
    });
    return same_keys && at == got.end() &&
           std::ranges::all_of(std::initializer_list<const char*>{"", "a", "?", "0", "aa", "zz"},
                               [&](const char* key) { return (got.Get(key) != nullptr) == want.contains(key); });
  }

  // A key with a zero byte in it must not answer to the name that ends there.
  static bool Finds(const core::BencodedDict& got, const std::string& key, const BencEntity* value) {
    const bool expressible = strlen(key.c_str()) == key.size();
    return expressible == (got.Get(key.c_str()) == value);
  }

  bool decoded_;
  std::vector<std::pair<const Value*, const BencEntity*>> left_;
};

}  // namespace

bool SameTree(const Value& want, const BencEntity& got) { return Comparison(false).Same(want, got); }

bool SameDecodedTree(const Value& want, const BencEntity& got) { return Comparison(true).Same(want, got); }

}  // namespace benc_model
