#include "core/bencode/bencemitter.h"

#include <string.h>

#include "core/bencode/bencwalk.h"
#include "core/format/decimal.h"
#include "core/text/nustr.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencoding";
constexpr size_t kFirstCapacity = 4096;

// Bencoding.
struct BencodingVisitor {
  BencodedEmitter& out;

  void Scalar(const BencEntity& v, const BencPlace& place) {
    EmitKey(place);
    switch (v.GetType()) {
      case BENC_INT:
      case BENC_INT64:
        out.EmitChar('i');
        out.EmitNumber(v.GetInt64(0));
        out.EmitChar('e');
        break;
      case BENC_STR:
        EmitString(BencTree::Bytes(v)->begin(), BencTree::Bytes(v)->size());
        break;
      default:
        FatalAssert(kSource, 1044);
    }
  }
  size_t Open(const BencEntity& v, const BencPlace& place) {
    EmitKey(place);
    out.EmitChar(v.GetType() == BENC_DICT ? 'd' : 'l');
    return 0;
  }
  void Close(const BencEntity&, const BencPlace&) { out.EmitChar('e'); }

  // A key may have more bytes than an int counts.
  void EmitKey(const BencPlace& place) {
    if (place.key) {
      EmitString(place.key->begin(), static_cast<uint32_t>(nustrnlen(place.key->begin(), place.key->size())));
    }
  }
  void EmitString(const void* text, size_t len) {
    out.EmitNumber(static_cast<int64_t>(len));
    out.EmitChar(':');
    out.Emit(text, len);
  }
};

}  // namespace

BencodedEmitter::BencodedEmitter() { output_.Resize(kFirstCapacity); }

// Makes room for `n` more bytes, at least as much again as there was.
void BencodedEmitter::Grow(size_t n) {
  const size_t needed = output_.size() + n;
  const size_t doubled = 2 * output_.capacity;
  output_.Resize(needed > doubled ? needed : doubled);
}

unsigned char* BencodedEmitter::Take(size_t* len) {
  const size_t bytes = output_.size();
  void* block = output_.StealArray(len);
  if (bytes == 0) {
    MyFree(block);
    return nullptr;
  }
  return static_cast<unsigned char*>(MyRealloc(block, bytes));
}

void BencodedEmitter::Emit(const void* p, size_t len) {
  if (len != 0) {
    AssertAt(p != nullptr, kSource, 1045);
    output_.Append(static_cast<const unsigned char*>(p), static_cast<ptrdiff_t>(len));
  }
}

void BencodedEmitter::EmitNumber(int64_t v) {
  char digits[kMaxDecimal];
  char* end = digits + sizeof digits;
  const uint64_t magnitude = v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
  char* begin = PrependDecimal(end, magnitude);
  if (v < 0) {
    *--begin = '-';
  }
  const size_t len = static_cast<size_t>(end - begin);
  memcpy(Room(len), begin, len);
  Keep(len);
}

void BencodedEmitter::Emit(const BencEntity* v) {
  BencodingVisitor visitor = {*this};
  BencWalk(visitor).Visit(*v);
}

}  // namespace core
