// A model of the random generator, and helpers around both.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <vector>

#include "core/util/util_random.h"

namespace random_model {

using Values = std::vector<uint32_t>;

// The generator seen as one endless sequence of words, each made from earlier ones: nothing is
// regenerated in place and no index goes round.
class Model {
 public:
  explicit Model(uint32_t seed) : words_(Seeded(seed)) {}
  explicit Model(const Values& key) : words_(Seeded(19650218)) {
    const size_t steps = std::max<size_t>(624, key.size());
    for (size_t t = 0; t < steps; ++t) {
      const size_t j = t % key.size();
      words_[At(t)] = (words_[At(t)] ^ (Spread(Before(t)) * 1664525)) + key[j] + j;
    }
    for (size_t t = steps; t < steps + 623; ++t) {
      words_[At(t)] = (words_[At(t)] ^ (Spread(Before(t)) * 1566083941)) - At(t);
    }
    words_[0] = 0x80000000;
  }

  uint64_t word(size_t n) const { return words_[n]; }

  uint32_t Draw() {
    const size_t n = words_.size() - 624;
    const uint64_t joined = (words_[n] & 0x80000000) + (words_[n + 1] & 0x7FFFFFFF);
    words_.push_back(words_[n + 397] ^ (joined / 2) ^ (words_[n + 1] % 2 != 0 ? 0x9908B0DF : 0));
    return Tempered(words_.back());
  }

  Values Draw(size_t count) {
    Values values(count);
    std::generate(values.begin(), values.end(), [this] { return Draw(); });
    return values;
  }

 private:
  static uint64_t Spread(uint64_t word) { return word ^ (word >> 30); }

  static std::vector<uint64_t> Seeded(uint32_t seed) {
    std::vector<uint64_t> words = {seed};
    while (words.size() < 624) {
      words.push_back(Spread(words.back()) * 1812433253 + words.size());
    }
    return words;
  }

  // The word that step `t` of seeding changes, and the one that counts as its predecessor.
  static size_t At(size_t t) { return 1 + t % 623; }
  uint64_t Before(size_t t) const { return t != 0 && At(t) == 1 ? words_[623] : words_[At(t) - 1]; }

  static uint32_t Tempered(uint64_t y) {
    const uint64_t a = y ^ (y >> 11);
    const uint64_t b = a ^ ((a << 7) & 0x9D2C5680);
    const uint64_t c = b ^ ((b << 15) & 0xEFC60000);
    return static_cast<uint32_t>((c ^ (c >> 18)) % 0x100000000);
  }

  std::vector<uint64_t> words_;
};

// The library's own next values.
inline Values Draw(size_t count) {
  Values values(count);
  std::generate(values.begin(), values.end(), core::randomMT);
  return values;
}

}  // namespace random_model
