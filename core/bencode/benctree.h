// Access to the inside of values, for the code that frees, builds and changes whole trees.
#pragma once

#include "core/bencode/bencoding.h"

namespace core {

struct BencTree {
  static BencArray<unsigned char>*& Bytes(BencEntity& v) { return v.value_.bytes; }
  static BencListRecord*& List(BencEntity& v) { return v.value_.list; }
  static BencDictMap*& Dict(BencEntity& v) { return v.value_.dict; }
  static BencVList*& VList(BencEntity& v) { return v.value_.vlist; }
  static int64_t Word(const BencEntity& v) { return v.value_.integer; }
  static const BencArray<unsigned char>* Bytes(const BencEntity& v) { return v.value_.bytes; }
  static const BencListRecord* List(const BencEntity& v) { return v.value_.list; }
  static const BencDictMap* Dict(const BencEntity& v) { return v.value_.dict; }

  // Copies the words of `from`, a scalar, to `v`, which owns nothing.
  static void SetScalar(BencEntity& v, const BencEntity& from) {
    v.value_ = from.value_;
    v.kind_ = from.kind_;
  }

  static void SetInteger(BencEntity& v, int64_t number) {
    v.value_.integer = number;
    v.kind_ = BENC_INT64;
  }
  static void SetBytes(BencEntity& v, BencType kind, BencArray<unsigned char>* bytes) {
    v.value_.bytes = bytes;
    v.kind_ = kind;
  }
  static void SetList(BencEntity& v, BencListRecord* list) {
    v.value_.list = list;
    v.kind_ = BENC_LIST;
  }
  static void SetDict(BencEntity& v, BencDictMap* dict) {
    v.value_.dict = dict;
    v.kind_ = BENC_DICT;
  }
  static void SetNone(BencEntity& v) { v.kind_ = BENC_NONE; }
};

}  // namespace core
