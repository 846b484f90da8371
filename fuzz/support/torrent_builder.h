// Torrents made from a fuzzer's bytes: readable ones, and ways to spoil them.
#pragma once

#include <string>
#include <vector>

#include "fuzz/support/fuzz_input.h"

namespace torrent_builder {

// A value of bencoding that may also be written wrongly: a dictionary's keys stand before their values among the
// items, in any order and more than once, and a text's length may be a lie.
struct Node {
  enum Kind { kInt, kText, kList, kDict };
  Kind kind = kInt;
  std::string text;         // of a text; the digits of an integer
  std::vector<Node> items;  // of a list or a dictionary
  std::string length = {};  // written for a text instead of its own, unless empty
};

// A torrent that the reader takes.
Node Build(FuzzInput& in);

// Changes one place of the tree: a value becomes another's copy or of another kind, a key comes twice or under
// another name, a length lies, items come twice, go, or swap their places.
void SpoilTree(FuzzInput& in, Node& root);

std::string Encode(const Node& node);

// Changes, removes, inserts or doubles bytes at one place.
void SpoilBytes(FuzzInput& in, std::string& bytes);

}  // namespace torrent_builder
