// One process-wide generator of pseudo-random numbers, for jobs where nobody gains by guessing them.
//
// It has the structure and the constants of the Mersenne Twister MT19937 (M. Matsumoto and
// T. Nishimura, 1998): 624 words, seeded, then regenerated all at once and tempered on the way out.
// On purpose: its words are 64 bits wide and are never reduced to 32, so that for the same seed it
// gives another sequence than MT19937. A generator that was never seeded gives nothing but 0.
//
// It is meant for one thread at a time. Any function may be called from any thread without harm to
// the generator, but threads that draw at once may get the same values, and a value drawn while
// another thread seeds may come from either sequence.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace core {

// Starts the sequence that belongs to `seed`.
void seedMT(uint32_t seed);

// Starts the sequence that belongs to the `length` words at `key`.
//
// Requires: `key` holds at least one word.
// On purpose: a `length` of 0, or a negative one, reads key[0] as a length of 1 does.
// Cost: one step per word, and at least 624.
void seedMT(const uint32_t* key, int length);

// Returns the next value. Cost: constant; every 624th call regenerates the words.
uint32_t randomMT();

// Fills the `len` bytes at `buffer` with one value per group of 8 bytes, the last group possibly cut
// short. Within a group, bytes 0 to 3 hold the value, low byte first.
//
// Draws len / 8 values, rounded up: none for an empty buffer, which may be null.
// On purpose: bytes 4 to 7 of every group are zero. Who needs dense bytes draws them otherwise.
void urandom(void* buffer, size_t len);

// Where callers report events that could feed the generator. Does nothing.
void add_entropy();

}  // namespace core
