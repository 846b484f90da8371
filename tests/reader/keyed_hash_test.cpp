#include "QuickLookPlugin/keyed_hash.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

#include "tests/support/exact_bytes.h"

namespace {

using reader::HashKey;
using reader::KeyedHash;

// The bytes 0, 1, 2, ... as many as `len`.
std::string Counting(size_t len) {
  std::string bytes;
  for (size_t i = 0; i < len; ++i) {
    bytes += static_cast<char>(i);
  }
  return bytes;
}

// The values come from another implementation of the same function.
TEST(KeyedHash, AgreesWithKnownValues) {
  struct Case {
    size_t len;
    uint64_t zero_key;
    uint64_t other_key;
  };
  const Case kCases[] = {
      {1, 0x68a914128e01e473, 0xce880c366bcf3489},  {7, 0x2f098ab0c751325a, 0xce280fabc397fbda},
      {8, 0xead411e67ebe2eea, 0x60866c3c108c6afb},  {9, 0x75927f9d95124362, 0x68814005f7469e03},
      {15, 0xf30eb725bb91c9ea, 0x94ace24d68c18cf8}, {16, 0x8972188433a5c5b7, 0x339176f3ac59ce05},
      {17, 0x4883c49a2c009c1d, 0xed2706b414c296f1}, {31, 0x169739443111d49b, 0x06f3af51bda71c61},
      {63, 0x385d3e39e5f37359, 0x6e24d6f0d014c37},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.len);
    const ExactBytes bytes(Counting(c.len));
    EXPECT_EQ(c.zero_key, KeyedHash({0, 0}, bytes.begin(), bytes.size()));
    EXPECT_EQ(c.other_key, KeyedHash({0xdc504fd368cd90af, 0xb920bb9ffe99e9c1}, bytes.begin(), bytes.size()));
  }
}

TEST(KeyedHash, HashesNoBytes) {
  EXPECT_EQ(KeyedHash({1, 2}, nullptr, 0), KeyedHash({1, 2}, "x", 0));
  EXPECT_NE(KeyedHash({1, 2}, nullptr, 0), KeyedHash({1, 3}, nullptr, 0));
}

TEST(NewHashKey, DiffersFromCallToCall) {
  std::set<std::pair<uint64_t, uint64_t>> keys;
  for (int i = 0; i < 100; ++i) {
    const HashKey key = reader::NewHashKey();
    keys.insert({key.k0, key.k1});
  }
  EXPECT_EQ(100u, keys.size());
}

}  // namespace
