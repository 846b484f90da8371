// A tokenizer that counts its tokens.
#pragma once

#include "core/bencode/bencparser.h"

class CountingParser : public core::FixedInput<core::BencParser> {
 public:
  using FixedInput::FixedInput;

  PARSE_T ParseNext(const unsigned char** text, size_t* len) override {
    ++tokens;
    return FixedInput::ParseNext(text, len);
  }

  size_t tokens = 0;
};
