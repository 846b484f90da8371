// JSON.
#include <string.h>

#include "core/bencode/bencemitter.h"
#include "core/bencode/bencwalk.h"
#include "core/text/DecodeEncodedString.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencoding";

class JsonVisitor {
 public:
  explicit JsonVisitor(BencodedEmitter& out) : out_(out) {}

  void Scalar(const BencEntity& v, const BencPlace& place) {
    Introduce(place);
    switch (v.GetType()) {
      case BENC_NONE:
        break;
      case BENC_NULL:
        out_.Put("null");
        break;
      case BENC_BOOL:
        BencTree::Word(v) != 0 ? out_.Put("true") : out_.Put("false");
        break;
      case BENC_INT:
      case BENC_INT64:
        out_.EmitNumber(v.GetInt64(0));
        break;
      case BENC_STR:
        out_.EmitQuoted(BencTree::Bytes(v)->data, BencTree::Bytes(v)->size());
        break;
      default:
        FatalAssert(kSource, 1046);
    }
  }
  size_t Open(const BencEntity& v, const BencPlace& place) {
    AssertAt(v.GetType() != BENC_VLIST, kSource, 1047);
    Introduce(place);
    v.GetType() == BENC_DICT ? out_.Put("{ ") : out_.Put("[ ");
    return 0;
  }
  void Close(const BencEntity& v, const BencPlace&) { v.GetType() == BENC_DICT ? out_.Put(" }") : out_.Put(" ]"); }

 private:
  void Introduce(const BencPlace& place) {
    if (place.depth != 0 && place.index != 0) {
      out_.Put(", ");
    }
    if (place.key) {
      out_.EmitQuoted(place.key->data, place.key->size());
      out_.Put(": ");
    }
  }

  BencodedEmitter& out_;
};

// What becomes of the ASCII characters in a string: 0 for one that stands for itself, kHex for one that is
// written as its number, else the letter behind a backslash.
constexpr char kHex = 'u';

struct JsonEscapes {
  char of[128];
  consteval JsonEscapes() : of() {
    for (size_t c = 0; c < 32; ++c) {
      of[c] = kHex;
    }
    Set('\b', 'b');
    Set('\t', 't');
    Set('\n', 'n');
    Set('\f', 'f');
    Set('\r', 'r');
    Set('"', '"');
    Set('/', '/');
    Set('\\', '\\');
  }
  consteval void Set(char c, char letter) { of[static_cast<unsigned char>(c)] = letter; }
};
constexpr JsonEscapes kEscapes;

// The longest form of a character.
constexpr size_t kMaxEscape = 6;

// Bytes or characters that are written at once.
constexpr size_t kChunk = 512;

// On purpose: of a number with more than four digits the first four are written.
char* AppendHexEscape(char* dst, uint32_t c) {
  constexpr char kDigits[] = "0123456789abcdef";
  while (c > 0xFFFF) {
    c >>= 4;
  }
  *dst++ = '\\';
  *dst++ = 'u';
  for (int shift = 12; shift >= 0; shift -= 4) {
    *dst++ = kDigits[c >> shift & 15];
  }
  return dst;
}

char* AppendCharacter(char* dst, uint32_t c) {
  const char escape = c < 128 ? kEscapes.of[c] : kHex;
  if (escape == kHex) {
    return AppendHexEscape(dst, c);
  }
  if (escape == 0) {
    *dst++ = static_cast<char>(c);
    return dst;
  }
  *dst++ = '\\';
  *dst++ = escape;
  return dst;
}

// Writes ASCII text. False at the first byte that is none.
bool EmitAscii(BencodedEmitter& out, const unsigned char* text, size_t len) {
  const unsigned char* const end = text + len;
  while (text != end) {
    const unsigned char* const chunk_end = static_cast<size_t>(end - text) < kChunk ? end : text + kChunk;
    char* const begin = out.Room(kMaxEscape * kChunk);
    char* dst = begin;
    for (; text != chunk_end; ++text) {
      if (*text >= 128) {
        return false;
      }
      if (kEscapes.of[*text] == 0) [[likely]] {
        *dst++ = static_cast<char>(*text);
      } else {
        dst = AppendCharacter(dst, *text);
      }
    }
    out.Keep(static_cast<size_t>(dst - begin));
  }
  return true;
}

void EmitCharacters(BencodedEmitter& out, const wchar_t* units, size_t count) {
  const wchar_t* const end = units + count;
  while (units != end) {
    const wchar_t* const chunk_end = static_cast<size_t>(end - units) < kChunk ? end : units + kChunk;
    char* const begin = out.Room(kMaxEscape * kChunk);
    char* dst = begin;
    for (; units != chunk_end; ++units) {
      dst = AppendCharacter(dst, static_cast<uint32_t>(*units));
    }
    out.Keep(static_cast<size_t>(dst - begin));
  }
}

// Decodes the text as a whole: what a bad byte becomes depends on what follows it.
void EmitUtf8(BencodedEmitter& out, const char* text, size_t len) {
  wchar_t few[kChunk];
  LList<wchar_t> many;
  wchar_t* const units = len <= kChunk ? few : many.Expand(static_cast<ptrdiff_t>(len));
  bool invalid = false;
  const int count = DecodeUtf8(text, len, units, len, &invalid, nullptr);
  EmitCharacters(out, units, static_cast<size_t>(count));
  many.Free();
}

}  // namespace

void BencodedEmitter::EmitQuoted(const void* p, size_t len) {
  EmitChar('"');
  const ptrdiff_t start = output_.count;
  if (!EmitAscii(*this, static_cast<const unsigned char*>(p), len)) {
    output_.SetCount(start);
    EmitUtf8(*this, static_cast<const char*>(p), len);
  }
  EmitChar('"');
}

void BencodedEmitter::EmitAsJson(const BencEntity* v, int) {
  JsonVisitor visitor(*this);
  BencWalk(visitor).Visit(*v);
}

}  // namespace core
