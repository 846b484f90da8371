#include "QuickLookPlugin/keyed_hash.h"

#include <stdlib.h>
#include <string.h>
#include <time.h>

namespace reader {

namespace {

uint64_t RotateLeft(uint64_t word, unsigned bits) { return word << bits | word >> (64 - bits); }

// Reads `len` <= 8 bytes, the first as the lowest, on any machine.
uint64_t LoadWord(const unsigned char* bytes, size_t len) {
  uint64_t word = 0;
  if (len == sizeof(word)) {
    memcpy(&word, bytes, sizeof(word));
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    word = __builtin_bswap64(word);
#endif
    return word;
  }
  for (size_t i = 0; i < len; ++i) {
    word |= static_cast<uint64_t>(bytes[i]) << (8 * i);
  }
  return word;
}

struct SipState {
  uint64_t v0;
  uint64_t v1;
  uint64_t v2;
  uint64_t v3;

  void Round() {
    v0 += v1;
    v1 = RotateLeft(v1, 13) ^ v0;
    v0 = RotateLeft(v0, 32);
    v2 += v3;
    v3 = RotateLeft(v3, 16) ^ v2;
    v0 += v3;
    v3 = RotateLeft(v3, 21) ^ v0;
    v2 += v1;
    v1 = RotateLeft(v1, 17) ^ v2;
    v2 = RotateLeft(v2, 32);
  }

  void Absorb(uint64_t word) {
    v3 ^= word;
    Round();
    v0 ^= word;
  }
};

}  // namespace

// The clock and the places at which the system put code, stack and heap: none of them is known to
// someone who prepared a file beforehand, and no result of the hash ever leaves the process.
HashKey NewHashKey() {
  struct timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  void* block = malloc(1);
  const uint64_t heap = reinterpret_cast<uintptr_t>(block);
  free(block);
  const HashKey clock = {static_cast<uint64_t>(now.tv_nsec), static_cast<uint64_t>(now.tv_sec)};
  const uint64_t places[] = {reinterpret_cast<uintptr_t>(&now), heap, reinterpret_cast<uintptr_t>(&NewHashKey)};
  const uint64_t k0 = KeyedHash(clock, places, sizeof(places));
  return {k0, KeyedHash({k0, clock.k0}, places, sizeof(places))};
}

uint64_t KeyedHash(const HashKey& key, const void* bytes, size_t len) {
  SipState state = {key.k0 ^ 0x736f6d6570736575, key.k1 ^ 0x646f72616e646f6d, key.k0 ^ 0x6c7967656e657261,
                    key.k1 ^ 0x7465646279746573};
  const unsigned char* p = static_cast<const unsigned char*>(bytes);
  const unsigned char* words_end = p + len / 8 * 8;
  for (; p != words_end; p += 8) {
    state.Absorb(LoadWord(p, 8));
  }
  state.Absorb(LoadWord(p, len % 8) | static_cast<uint64_t>(len) << 56);
  state.v2 ^= 0xFF;
  state.Round();
  state.Round();
  state.Round();
  return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

}  // namespace reader
