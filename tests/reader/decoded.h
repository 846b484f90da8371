// A decoded value that frees itself.
#pragma once

#include <string_view>

#include "core/bencode/bencoding.h"
#include "tests/support/exact_bytes.h"

struct Decoded {
  core::BencodedList root;

  explicit Decoded(std::string_view text) {
    const ExactBytes in(text);
    core::BencEntity::Parse(in.begin(), root, in.end());
  }
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;
  ~Decoded() { root.FreeMembers(); }

  core::BencodedList* list() { return &root; }
  // The dictionary that is the only element of the list.
  core::BencodedDict* dict() { return root.GetDict(size_t{0}); }
};
