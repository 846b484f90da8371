#include "core/util/util_random.h"

#include <pthread.h>

namespace core {
namespace {

constexpr int kWords = 624;
constexpr int kOffset = 397;

constexpr uint32_t kArraySeed = 19650218;
constexpr uint64_t kSeedFactor = 1812433253;
constexpr uint64_t kKeyFactor = 1664525;
constexpr uint64_t kMixFactor = 1566083941;
constexpr uint64_t kFirstWordOfArraySeed = 0x80000000;

constexpr uint64_t kUpperBit = 0x80000000;
constexpr uint64_t kLowerBits = 0x7FFFFFFE;
constexpr uint64_t kTwist = 0x9908B0DF;
constexpr uint64_t kTemperB = 0x9D2C5680;
constexpr uint64_t kTemperC = 0xEFC60000;

// The words change only under the mutex. Draws read them without it, for a lock would cost several
// times what a draw does: therefore every access is atomic, and the index, which they store, is
// always one of 0 to kWords, whatever other threads do meanwhile.
class Generator {
 public:
  // Makes the words of a new sequence; `seed` gets the generator and stores them.
  template <class Seed>
  void Restart(Seed seed) {
    pthread_mutex_lock(&mutex_);
    seed(*this);
    StoreIndex(kWords);
    pthread_mutex_unlock(&mutex_);
  }

  // The next word of the sequence, not yet tempered.
  uint64_t Next() {
    int32_t index = LoadIndex();
    if (index >= kWords) [[unlikely]] {
      index = Refill();
    }
    const uint64_t word = Word(index);
    StoreIndex(index + 1);
    return word;
  }

  uint64_t Word(int i) const { return __atomic_load_n(&words_[i], __ATOMIC_RELAXED); }
  void SetWord(int i, uint64_t word) { __atomic_store_n(&words_[i], word, __ATOMIC_RELAXED); }

 private:
  int32_t LoadIndex() const { return __atomic_load_n(&index_, __ATOMIC_ACQUIRE); }
  void StoreIndex(int32_t index) { __atomic_store_n(&index_, index, __ATOMIC_RELEASE); }

  int32_t Refill();
  void Regenerate();
  // Replaces word `k`, which was `old`, and returns the word at `next`: the `old` of the next step.
  uint64_t Twist(int k, uint64_t old, int next, int far);

  uint64_t words_[kWords] = {};
  int32_t index_ = kWords;  // of the next word to give out; kWords: regenerate them first
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

// Returns the index to go on with. Another thread may have come first.
int32_t Generator::Refill() {
  pthread_mutex_lock(&mutex_);
  int32_t index = LoadIndex();
  if (index >= kWords) {
    Regenerate();
    index = 0;
    StoreIndex(index);
  }
  pthread_mutex_unlock(&mutex_);
  return index;
}

uint64_t Generator::Twist(int k, uint64_t old, int next, int far) {
  const uint64_t following = Word(next);
  const uint64_t y = (old & kUpperBit) | (following & kLowerBits);
  const uint64_t odd = ~((following & 1) - 1);  // all ones or none: no branch on random bits
  SetWord(k, Word(far) ^ (y >> 1) ^ (odd & kTwist));
  return following;
}

void Generator::Regenerate() {
  uint64_t old = Word(0);
  int k = 0;
  for (; k < kWords - kOffset; ++k) {
    old = Twist(k, old, k + 1, k + kOffset);
  }
  for (; k < kWords - 1; ++k) {
    old = Twist(k, old, k + 1, k + kOffset - kWords);
  }
  Twist(k, old, 0, kOffset - 1);
}

constinit Generator generator;

uint64_t Spread(uint64_t word) { return word ^ (word >> 30); }

void StoreSeed(Generator& to, uint32_t seed) {
  uint64_t word = seed;
  to.SetWord(0, word);
  for (int i = 1; i < kWords; ++i) {
    word = Spread(word) * kSeedFactor + static_cast<uint64_t>(i);
    to.SetWord(i, word);
  }
}

// Walks the words from 1 on, round and round, and hands each step its word, already mixed with its
// predecessor.
class Mixer {
 public:
  explicit Mixer(Generator& to) : to_(to) {}

  uint64_t Mixed(uint64_t factor) const { return to_.Word(i_) ^ (Spread(to_.Word(i_ - 1)) * factor); }
  int index() const { return i_; }

  // Stores the current word and steps on; word 0 follows the last one.
  void Store(uint64_t word) {
    to_.SetWord(i_, word);
    if (++i_ == kWords) {
      to_.SetWord(0, word);
      i_ = 1;
    }
  }

 private:
  Generator& to_;
  int i_ = 1;
};

void StoreArraySeed(Generator& to, const uint32_t* key, int length) {
  StoreSeed(to, kArraySeed);
  Mixer mixer(to);
  const int steps = length > kWords ? length : kWords;
  int j = 0;
  for (int step = 0; step < steps; ++step) {
    mixer.Store(mixer.Mixed(kKeyFactor) + key[j] + static_cast<uint64_t>(j));
    j = j + 1 < length ? j + 1 : 0;
  }
  for (int step = 1; step < kWords; ++step) {
    mixer.Store(mixer.Mixed(kMixFactor) - static_cast<uint64_t>(mixer.index()));
  }
  to.SetWord(0, kFirstWordOfArraySeed);
}

void StoreBytes(unsigned char* to, uint64_t value, size_t count) {
  for (size_t k = 0; k < count; ++k) {
    to[k] = static_cast<unsigned char>(value >> (8 * k));
  }
}

}  // namespace

void seedMT(uint32_t seed) {
  generator.Restart([seed](Generator& to) { StoreSeed(to, seed); });
}

void seedMT(const uint32_t* key, int length) {
  generator.Restart([key, length](Generator& to) { StoreArraySeed(to, key, length); });
}

uint32_t randomMT() {
  uint64_t y = generator.Next();
  y ^= y >> 11;
  y ^= (y << 7) & kTemperB;
  y ^= (y << 15) & kTemperC;
  return static_cast<uint32_t>(y ^ (y >> 18));
}

void urandom(void* buffer, size_t len) {
  auto* to = static_cast<unsigned char*>(buffer);
  for (; len >= 8; len -= 8, to += 8) {
    StoreBytes(to, randomMT(), 8);
  }
  if (len != 0) {
    StoreBytes(to, randomMT(), len);
  }
}

void add_entropy() {}

}  // namespace core
