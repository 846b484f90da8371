// The decoder against a second reading of the rules: every short input, and damaged larger ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "core/bencoding.h"
#include "tests/support/benc_model.h"
#include "tests/support/benc_tree.h"
#include "tests/support/exact_bytes.h"

namespace {

using core::BencEntity;
using core::BencodedDict;
using core::BencodedList;
using core::BencParser;

using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr char kElement[] = "a";

// Whether `got` is the tree that the model made.
bool SameTree(const benc_model::Value& want, BencEntity& got);

bool SameText(const benc_model::Value& want, BencEntity& got) {
  size_t len = 0;
  const char* text = static_cast<core::BencEntityMem&>(got).GetString(&len);
  return got.GetType() == core::BENC_STR && std::string_view(text, len) == want.text && text[len] == '\0';
}

bool SameList(const benc_model::Value& want, BencEntity& got) {
  auto& list = static_cast<BencodedList&>(got);
  if (got.GetType() != core::BENC_LIST || list.GetCount() != want.list.size()) {
    return false;
  }
  for (size_t i = 0; i < want.list.size(); ++i) {
    if (!SameTree(want.list[i], *list.Get(i))) {
      return false;
    }
  }
  return true;
}

// Every key that a terminated name can express is found, and some that are absent are not. A key
// with a zero byte in it must not answer to the name that ends there.
bool SameDict(const benc_model::Value& want, BencEntity& got) {
  if (got.GetType() != core::BENC_DICT) {
    return false;
  }
  auto& dict = static_cast<BencodedDict&>(got);
  for (const auto& [key, value] : want.dict) {
    const bool expressible = key.find('\0') == std::string::npos;
    BencEntity* found = dict.Get(key.c_str());
    if (expressible ? !found || !SameTree(*value, *found) : (found != nullptr) != want.dict.contains(key.c_str())) {
      return false;
    }
  }
  return std::ranges::all_of(std::initializer_list<const char*>{"", "a", "?", "0", "aa", "zz"},
                             [&](const char* key) { return (dict.Get(key) != nullptr) == want.dict.contains(key); });
}

bool SameTree(const benc_model::Value& want, BencEntity& got) {
  switch (want.kind) {
    case benc_model::Kind::kInt:
      return got.GetType() == core::BENC_INT64 && got.GetInt64(~want.number) == want.number;
    case benc_model::Kind::kString:
      return SameText(want, got);
    case benc_model::Kind::kList:
      return SameList(want, got);
    case benc_model::Kind::kDict:
      return SameDict(want, got);
    case benc_model::Kind::kNone:
      break;
  }
  return got.GetType() == core::BENC_NONE;
}

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
      if (failed.empty() && !((this->*agrees)())) {
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
    return same_end && (model_.ok ? SameTree(model_.root, root_) : root_.GetType() == core::BENC_NONE);
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
           regime.keys == model_.keys && regime.strings == model_.strings;
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

class BencodingModel : public BencTest {
 protected:
  // Adds a failure and says so. Only the first few inputs are worth reading.
  bool Check(std::string_view input) {
    const std::string disagreement = Comparison(input).Disagreement();
    if (disagreement.empty()) {
      return true;
    }
    ADD_FAILURE() << disagreement << " disagrees on " << testing::PrintToString(input);
    return ++failures_ < 5;
  }

  // Checks `prefix` followed by every string of up to `len` letters.
  bool CheckAll(const std::string& prefix, size_t len) {
    if (!Check(prefix)) {
      return false;
    }
    const std::string_view letters = len == 0 ? ""sv : "dlei012:-a?"sv;
    return std::all_of(letters.begin(), letters.end(), [&](char c) { return CheckAll(prefix + c, len - 1); });
  }

 private:
  int failures_ = 0;
};

TEST_F(BencodingModel, AgreesOnEveryStringOfUpToFiveLetters) { EXPECT_TRUE(CheckAll("", 5)); }

TEST_F(BencodingModel, AgreesOnEveryContinuationOfAContainer) {
  for (const char* prefix : {"d1:a", "d1:al", "li1e", "ld1:a", "l1:a", "d1:ai1e", "d1:bi1e1:a"}) {
    SCOPED_TRACE(prefix);
    EXPECT_TRUE(CheckAll(prefix, 4));
  }
}

TEST_F(BencodingModel, AgreesOnEveryListAndDictionaryOfSixBytes) {
  EXPECT_TRUE(CheckAll("l", 5));
  EXPECT_TRUE(CheckAll("d", 5));
}

using Random = std::mt19937;

size_t Below(Random& random, size_t limit) { return random() % limit; }

// Text that is likely to look like bencoding itself, or to hold a zero byte.
std::string RandomText(Random& random) {
  std::string text(Below(random, 8) == 0 ? Below(random, 40) : Below(random, 4), '\0');
  for (char& c : text) {
    c = "abdlei:01?\0\xff"[Below(random, 12)];
  }
  return text;
}

benc_model::Value RandomValue(Random& random, int depth) {
  benc_model::Value value;
  const size_t pick = depth == 0 ? 3 + Below(random, 2) : Below(random, depth < 5 ? 5 : 3);
  const size_t count = Below(random, 32) == 0 ? Below(random, 40) : Below(random, 4);
  switch (pick) {
    case 0:
      value.kind = benc_model::Kind::kInt;
      value.number = static_cast<int64_t>(uint64_t{random()} << Below(random, 33)) * (Below(random, 2) ? 1 : -1);
      break;
    case 1:
    case 2:
      value.kind = benc_model::Kind::kString;
      value.text = RandomText(random);
      break;
    case 3:
      value.kind = benc_model::Kind::kList;
      for (size_t i = 0; i < count; ++i) {
        value.list.push_back(RandomValue(random, depth + 1));
      }
      break;
    default:
      value.kind = benc_model::Kind::kDict;
      for (size_t i = 0; i < count; ++i) {
        value.dict.try_emplace(RandomText(random), std::make_unique<benc_model::Value>(RandomValue(random, depth + 1)));
      }
      break;
  }
  return value;
}

void Mutate(std::string& text, Random& random) {
  const size_t at = Below(random, text.size() + 1);
  switch (Below(random, 6)) {
    case 0:
      text.insert(at, 1, "dlei012:-a?\0"[Below(random, 12)]);
      break;
    case 1:
      text.erase(at, 1 + Below(random, 3));
      break;
    case 2:
      text.insert(at, text.substr(Below(random, text.size() + 1), Below(random, 12)));
      break;
    case 3:
      text.resize(at);
      break;
    case 4:
      if (at < text.size()) {
        text[at] = static_cast<char>(random());
      }
      break;
    default:
      if (at < text.size()) {
        text[at] = "dlei019:-"[Below(random, 9)];
      }
      break;
  }
}

TEST_F(BencodingModel, AgreesOnValidAndDamagedTrees) {
  constexpr unsigned kSeed = 20240229;
  SCOPED_TRACE(kSeed);
  Random random(kSeed);
  for (int tree = 0; tree < 10'000; ++tree) {
    const std::string whole = benc_model::Encode(RandomValue(random, 0));
    ASSERT_TRUE(Check(whole));
    for (int damage = 0; damage < 10; ++damage) {
      std::string text = whole;
      for (size_t changes = 1 + Below(random, 3); changes > 0; --changes) {
        Mutate(text, random);
      }
      ASSERT_TRUE(Check(text));
    }
  }
}

TEST_F(BencodingModel, AgreesOnUnsortedKeys) {
  constexpr unsigned kSeed = 7;
  SCOPED_TRACE(kSeed);
  Random random(kSeed);
  for (int round = 0; round < 2'000; ++round) {
    std::string text = "d";
    for (size_t entries = Below(random, 60); entries > 0; --entries) {
      const std::string key = std::to_string(Below(random, Below(random, 4) == 0 ? 100 : 100'000));
      text += std::to_string(key.size()) + ":" + key +
              (Below(random, 3)   ? "i1e"
               : Below(random, 2) ? "le"
                                  : "d1:ai1ee");
    }
    ASSERT_TRUE(Check(text + "e"));
  }
}

}  // namespace
