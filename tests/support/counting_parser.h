// A tokenizer that counts its tokens.
#pragma once

#include "core/bencode/bencparser.h"

class CountingParser : public core::BencParser {
 public:
  using BencParser::BencParser;

  PARSE_T ParseNext(const unsigned char** text, size_t* len) override {
    ++tokens;
    return BencParser::ParseNext(text, len);
  }

  size_t tokens = 0;
};
