// The decoder against a second reading of the rules: every short input, and damaged larger ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/benc_decoders.h"
#include "tests/support/benc_model_text.h"
#include "tests/support/benc_tree.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

class BencodingModel : public BencTest {
 protected:
  // Adds a failure and says so. Only the first few inputs are worth reading.
  bool Check(std::string_view input) {
    const std::string disagreement = DecodersDisagreement(input);
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
