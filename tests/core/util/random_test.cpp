#include "core/util/util_random.h"

#include <gtest/gtest.h>
#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <random>
#include <vector>

#include "tests/support/exact_bytes.h"
#include "tests/support/random_model.h"

namespace core {
namespace {

using random_model::Draw;
using random_model::Model;
using random_model::Values;

// Seeds from a heap block of exactly the key's size.
void SeedWithKey(const Values& key, int length) {
  const ExactBytes block(key.data(), key.size() * sizeof key[0]);
  seedMT(reinterpret_cast<const uint32_t*>(block.begin()), length);
}
void SeedWithKey(const Values& key) { SeedWithKey(key, static_cast<int>(key.size())); }

Values Key(size_t count) {
  std::mt19937 random(static_cast<unsigned>(count));
  Values key(count);
  std::generate(key.begin(), key.end(), random);
  return key;
}

// --- before any seed ---

// Drawn before any test can seed: nothing takes a seed back.
const Values unseeded_values = Draw(2000);
const std::array<unsigned char, 20> unseeded_bytes = [] {
  std::array<unsigned char, 20> bytes;
  bytes.fill(0xAA);
  urandom(bytes.data(), bytes.size());
  return bytes;
}();

TEST(RandomMT, GivesZeroesUntilItIsSeeded) { EXPECT_EQ(Values(2000, 0), unseeded_values); }

TEST(Urandom, GivesZeroesUntilTheGeneratorIsSeeded) { EXPECT_EQ((std::array<unsigned char, 20>{}), unseeded_bytes); }

// --- one seed ---

constexpr size_t kKnownPositions[] = {0, 1, 226, 227, 623, 624, 1999};

// The values at those positions, computed apart from this program with integers of any size, cut to
// 64 bits.
using Known = std::array<uint32_t, std::size(kKnownPositions)>;

void ExpectKnown(const Known& known) {
  const Values values = Draw(2000);
  for (size_t i = 0; i < known.size(); ++i) {
    EXPECT_EQ(known[i], values[kKnownPositions[i]]) << "value " << kKnownPositions[i];
  }
}

TEST(SeedMT, GivesTheKnownValues) {
  struct Case {
    uint32_t seed;
    Known known;
  };
  const Case kCases[] = {
      {0, {4160115015u, 1986387182u, 4092189090u, 3320485836u, 3089328469u, 3814280182u, 2196557536u}},
      {7, {4106647838u, 1832236309u, 2595046354u, 1546248201u, 145841872u, 3831110812u, 1750549852u}},
      {5489, {76319645u, 167049559u, 4232002683u, 862783248u, 1953784574u, 931302355u, 3148523798u}},
      {0xFFFFFFFF, {258250441u, 3378433425u, 579467359u, 1776244019u, 3181100474u, 4025469851u, 3400696612u}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.seed);
    seedMT(c.seed);
    ExpectKnown(c.known);
  }
}

TEST(SeedMT, MakesWordsThatAreNotCutTo32Bits) {
  Model model(7);
  ASSERT_EQ(12687032772u, model.word(1));
  ASSERT_EQ(980334652247855068u, model.word(623));
  seedMT(7);
  EXPECT_EQ(model.Draw(624), Draw(624));
}

TEST(SeedMT, HundredSeedsGiveTheModelsValues) {
  std::mt19937 random(1);
  for (int i = 0; i < 100; ++i) {
    const uint32_t seed = i < 10 ? static_cast<uint32_t>(i) : static_cast<uint32_t>(random());
    SCOPED_TRACE(seed);
    seedMT(seed);
    ASSERT_EQ(Model(seed).Draw(10'000), Draw(10'000));
  }
}

TEST(SeedMT, AMillionValuesAreTheModels) {
  for (const uint32_t seed : {uint32_t{1}, uint32_t{0x80000000}, UINT32_MAX}) {
    SCOPED_TRACE(seed);
    seedMT(seed);
    EXPECT_TRUE(Model(seed).Draw(1'000'000) == Draw(1'000'000));
  }
}

TEST(SeedMT, RestartsFromAnyPositionInTheSequence) {
  for (const unsigned drawn : {0u, 1u, 100u, 623u, 624u, 625u}) {
    SCOPED_TRACE(drawn);
    seedMT(99);
    Draw(drawn);
    seedMT(3);
    EXPECT_EQ(Model(3).Draw(1300), Draw(1300));
  }
}

TEST(SeedMT, DoesNotGiveThePublishedSequence) {
  for (uint32_t seed = 0; seed < 100; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 published(seed);
    Values values(1000);
    std::generate(values.begin(), values.end(), published);
    seedMT(seed);
    const Values ours = Draw(1000);
    EXPECT_NE(values, ours);
    EXPECT_NE(values[0], ours[0]);
  }
}

// --- a key ---

TEST(SeedMTWithKey, GivesTheKnownValues) {
  SeedWithKey({0x123, 0x234, 0x345, 0x456});
  ExpectKnown({4050212479u, 2922034954u, 645203764u, 3681767463u, 2318408252u, 2524569666u, 1312825176u});
  Values key(1000);
  std::generate(key.begin(), key.end(), [i = 0u]() mutable { return i++; });
  SeedWithKey(key);
  ExpectKnown({4009385457u, 1350307567u, 2296416656u, 586441601u, 3270859278u, 1060314606u, 439383452u});
}

TEST(SeedMTWithKey, KeysOfEveryLengthGiveTheModelsValues) {
  for (const unsigned length : {1u, 2u, 3u, 10u, 622u, 623u, 624u, 625u, 1247u, 2000u}) {
    SCOPED_TRACE(length);
    const Values key = Key(length);
    SeedWithKey(key);
    EXPECT_TRUE(Model(key).Draw(20'000) == Draw(20'000));
  }
}

TEST(SeedMTWithKey, NoWordsUseTheFirstWord) {
  for (const uint32_t word : {uint32_t{0}, uint32_t{1}, UINT32_MAX}) {
    SCOPED_TRACE(word);
    SeedWithKey({word}, 0);
    EXPECT_EQ(Model(Values{word}).Draw(2000), Draw(2000));
  }
  SeedWithKey({0}, 0);
  ExpectKnown({353058404u, 942114139u, 1751380325u, 2898976241u, 2785994845u, 1073238376u, 1816467642u});
}

TEST(SeedMTWithKey, ANegativeLengthUsesTheFirstWord) {
  for (const int length : {-1, INT32_MIN}) {
    SCOPED_TRACE(length);
    SeedWithKey({0xFFFFFFFF}, length);
    ExpectKnown({1406126583u, 1386807840u, 632408376u, 2613903459u, 3426572828u, 1588519628u, 3815064959u});
  }
}

TEST(SeedMTWithKey, UsesNoMoreWordsThanItsLength) {
  const Values key = Key(10);
  SeedWithKey(key, 5);
  EXPECT_EQ(Model(Values(key.begin(), key.begin() + 5)).Draw(1000), Draw(1000));
}

TEST(SeedMTWithKey, RestartsFromAnyPositionInTheSequence) {
  seedMT(1);
  Draw(100);
  SeedWithKey(Key(4));
  EXPECT_EQ(Model(Key(4)).Draw(1000), Draw(1000));
}

TEST(SeedMTWithKey, DoesNotGiveThePublishedSequence) {
  SeedWithKey({0x123, 0x234, 0x345, 0x456});
  const Values ours = Draw(3);
  EXPECT_NE(1067595299u, ours[0]);
  EXPECT_NE(955945823u, ours[1]);
  EXPECT_NE(477289528u, ours[2]);
}

}  // namespace
}  // namespace core
