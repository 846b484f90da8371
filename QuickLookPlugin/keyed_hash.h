// A hash of bytes that nobody can predict without its key.
//
// Whoever writes a torrent chooses the paths in it. With a known hash he could choose thousands that
// fall into the same place of a table; with a secret key he cannot.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace reader {

struct HashKey {
  uint64_t k0;
  uint64_t k1;
};

// A key that differs from process to process and from call to call.
HashKey NewHashKey();

// SipHash-1-3 of the `len` bytes: J.-P. Aumasson and D. J. Bernstein, "SipHash: a fast short-input
// PRF", with one round per word and three at the end.
uint64_t KeyedHash(const HashKey& key, const void* bytes, size_t len);

}  // namespace reader
