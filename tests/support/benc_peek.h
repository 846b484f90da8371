// Sets up bencode values that no decode makes, and looks at what no reader shows.
#pragma once

#include "core/bencode/bencoding.h"

struct BencPeek : core::BencEntity {
  static void SetKind(core::BencEntity& value, int kind) {
    value.*(&BencPeek::kind_) = static_cast<core::BencType>(kind);
  }
  // Gives `value`, which owns nothing, a kind and a plain value word.
  static void SetPlain(core::BencEntity& value, int kind, int64_t word = 0) {
    (value.*(&BencPeek::value_)).integer = word;
    SetKind(value, kind);
  }
  // Makes `value`, which owns nothing, a string or a lazy integer.
  static void SetBytes(core::BencEntity& value, int kind, core::BencArray<unsigned char>* bytes) {
    (value.*(&BencPeek::value_)).bytes = bytes;
    SetKind(value, kind);
  }

  static int64_t Word(const core::BencEntity& value) { return (value.*(&BencPeek::value_)).integer; }
  static const core::BencArray<unsigned char>& Bytes(const core::BencEntity& value) {
    return *(value.*(&BencPeek::value_)).bytes;
  }
  static const core::LList<core::BencEntity>& List(const core::BencEntity& value) {
    return *(value.*(&BencPeek::value_)).list;
  }
};
