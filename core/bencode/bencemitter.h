// Writing bencode trees as text: bencoding, an ASCII listing, XML and JSON.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "core/bencode/bencoding.h"

namespace core {

// Collects output in one growing array. Every operation appends; none recurses, whatever the depth of
// the tree. An emitter belongs to one thread at a time, and different emitters are independent.
// What is given to an operation must not lie in the output, except for the raw bytes of Emit.
// Emitting a value of a kind that the form has no text for is fatal.
class BencodedEmitter {
 public:
  // Starts with room for 4096 bytes.
  BencodedEmitter();
  BencodedEmitter(const BencodedEmitter&) = delete;
  BencodedEmitter& operator=(const BencodedEmitter&) = delete;
  ~BencodedEmitter() { output_.Free(); }

  // Bencoding. Dictionaries are written in ascending key order. Takes the kinds BENC_INT to BENC_VLIST;
  // a virtual list makes its elements one by one.
  // A value decoded from strictly encoded bytes gives the same bytes, unless a key holds a zero byte or
  // an integer needs more than 64 bits.
  // On purpose: a key is written up to its first zero byte.
  void Emit(const BencEntity* v);

  // Raw bytes. Requires: `p` is not null unless `len` is 0.
  void Emit(const void* p, size_t len);

  // One line "path=value" for each scalar inside `v`, ended by "\r\n", the path of keys and indices
  // joined by dots behind `prefix`; a scalar `v` is written alone. Takes the kinds BENC_INT to BENC_DICT.
  // On purpose: paths are cut to 63 bytes.
  void EmitAsAscii(const BencEntity* v, const char* prefix);

  // A string of the listing: a backslash before each line feed, carriage return and backslash.
  // Nothing for a `len` that is not positive.
  void EmitQuotedAscii(const void* p, int len);

  // An element called `tag`; lists hold "item" elements, dictionaries elements called like their keys.
  // Tags and strings are URL-encoded. `indent` is the level of the outer element. Takes the kinds BENC_INT
  // to BENC_DICT.
  // On purpose: a tag with its brackets is cut to 127 bytes.
  // Requires: strings whose URL-encoding may stand on the stack (see fmt_urlencoded).
  void EmitAsXML(const char* tag, const BencEntity* v, int indent);

  // JSON on one line; nothing for BENC_NONE. `indent` is not used. Takes no virtual list, lazy integer
  // or BENC_VOID.
  void EmitAsJson(const BencEntity* v, int indent);

  // The `len` bytes at `p`, UTF-8, as a JSON string.
  // On purpose: a character above U+FFFF becomes two escapes, for the two units that DecodeUtf8 makes
  // of it: one from U+F800 to U+FFFF and a low surrogate without its partner. A unit of more than four
  // hexadecimal digits, which a byte that is no UTF-8 gives, is cut to the first four.
  void EmitQuoted(const void* p, size_t len);

  // Two tabs for each level, six at the most.
  void EmitIndent(int level);

  // What was emitted so far. Valid until the next operation.
  const unsigned char* data() const { return output_.begin(); }
  size_t size() const { return output_.size(); }

  // Hands over the output in a block of exactly its size, freed with MyFree, and its length unless `len`
  // is null. Null when nothing was emitted. The emitter is empty then.
  unsigned char* Take(size_t* len);

  // Text made in place: room for `n` bytes behind the output, of which Keep makes `used` part of it.
  char* Room(size_t n) {
    if (output_.capacity - output_.size() < n) [[unlikely]] {
      Grow(n);
    }
    return reinterpret_cast<char*>(output_.end());
  }
  void Keep(size_t used) { output_.count += static_cast<ptrdiff_t>(used); }

  void EmitChar(char c) {
    *Room(1) = c;
    Keep(1);
  }
  // A literal.
  template <size_t N>
  void Put(const char (&text)[N]) {
    memcpy(Room(N - 1), text, N - 1);
    Keep(N - 1);
  }
  // The digits of `v`.
  void EmitNumber(int64_t v);

 private:
  void Grow(size_t n);

  LList<unsigned char> output_;
};

}  // namespace core
