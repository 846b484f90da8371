// The table of what an image exports: a tree of name parts.
#pragma once

#include <map>
#include <string>

#include "tests/macho/cursor.h"

namespace macho {

// Reads the tree and returns the address of every name. Throws a Refusal when the tree is damaged, when
// it passes on a symbol of another library or computes one, and when an address is not below `size`.
std::map<std::string, uint64_t> ReadExports(Bytes tree, uint64_t size);

}  // namespace macho
