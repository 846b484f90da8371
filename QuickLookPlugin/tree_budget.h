// A look at encoded bytes before they are decoded: is the tree going to fit into memory?
//
// A few bytes of a hostile file can ask for hundreds of bytes of tree. One pass over the tokens, with
// one bit for each open container, tells what the decoder would need at its peak.
#pragma once

#include <stddef.h>

namespace reader {

// The memory granted to the tree of a file of `file_bytes` bytes.
size_t TreeBudget(size_t file_bytes);

// False when decoding [begin, end) would take more than `budget` bytes at any moment, and when it is
// sure to fail because the input ends too early or breaks the format. The estimate lies above the
// decoder's need, never below.
// Requires: begin <= end. Cost: linear; stops where the budget is spent.
bool TreeFitsBudget(const unsigned char* begin, const unsigned char* end, size_t budget);

}  // namespace reader
