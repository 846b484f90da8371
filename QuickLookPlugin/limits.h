// The bounds that the torrent reader sets for what it accepts and for what it spends.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace reader {

// What a usable torrent keeps to.
constexpr int kMinPieceLength = 16384;
constexpr int kMaxPieceLength = 0x2000000;
constexpr uint32_t kMaxPieces = 0xFFFFF;
constexpr uint32_t kPieceHashBytes = 20;  // SHA-1

// A larger file is treated like one that cannot be read.
constexpr size_t kMaxFileBytes = size_t{256} << 20;

// Text of more bytes than this counts as text that does not decode.
constexpr size_t kMaxTextBytes = size_t{16} << 20;

// The decoded tree may take this much memory: a base and so much per byte of the file, in all no
// more than the last. A million files, each with a name in a folder, are weighed at 0.66 GB.
constexpr size_t kTreeBudgetBase = size_t{64} << 20;
constexpr size_t kTreeBudgetPerByte = 64;
constexpr size_t kTreeBudgetMax = size_t{1} << 30;

}  // namespace reader
