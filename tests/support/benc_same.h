// Whether a tree of the library is the one that the bencoding model has, by every reader there is.
#pragma once

#include "core/bencode/bencoding.h"
#include "tests/support/benc_model.h"

namespace benc_model {

// Kinds, integers, strings with their lengths, elements in order, keys in order.
bool SameTree(const Value& want, const core::BencEntity& got);

// The same for a tree as the decoder leaves it: integers are BENC_INT64, a list has room for exactly
// its elements, strings end with a zero byte when they are read, and each dictionary finds every key
// that a zero-terminated name can express, and no other.
// In a tree that was decoded in place this writes those zero bytes.
bool SameDecodedTree(const Value& want, const core::BencEntity& got);

}  // namespace benc_model
