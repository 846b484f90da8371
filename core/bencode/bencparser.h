// The bencoding tokenizer: walks encoded bytes and reports one token at a time.
//
// It never reads outside [position, end), never allocates, and keeps no lock: one thread at a time.
// Format: bencoding, from BEP 3 of the BitTorrent protocol, read leniently.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace core {

class IBencParser {
 public:
  enum PARSE_T {
    PARSE_ERROR = 0,   // malformed input
    PARSE_INT = 1,     // i...e; the text is what stands between
    PARSE_STRING = 2,  // <length>:<bytes>; the text is the bytes
    PARSE_LIST = 3,    // l
    PARSE_DICT = 4,    // d
    PARSE_END = 5,     // e
    PARSE_EOF = 6,     // the end of the input
  };

  virtual ~IBencParser() = default;

  // Reads the next token, stores the start of its text and its length in bytes (0 for all but
  // integers and strings) and moves past it. `*text` is left as it is for PARSE_EOF and is null for
  // a bad string or an unknown byte.
  virtual PARSE_T ParseNext(const unsigned char** text, size_t* len) = 0;
};

class BencParser : public IBencParser {
 public:
  // Reads [begin, end), which must outlive the parser.
  BencParser(const unsigned char* begin, const unsigned char* end) : position_(begin), end_(end) {}

  PARSE_T ParseNext(const unsigned char** text, size_t* len) override { return Next(text, len); }

  // ParseNext without the virtual call.
  // A byte that starts no token is stepped over. An integer without its `e` runs to the end of the
  // input and is reported as one; the call after it answers PARSE_EOF.
  PARSE_T Next(const unsigned char** text, size_t* len) {
    *len = 0;
    if (position_ >= end_) [[unlikely]] {
      return position_ == end_ ? PARSE_EOF : PARSE_ERROR;
    }
    const unsigned char byte = *position_;
    if (static_cast<unsigned>(byte - '0') < 10u) {
      *text = ParseString(len);
      if (*text) {
        return PARSE_STRING;
      }
      *len = 0;
      return PARSE_ERROR;
    }
    ++position_;
    switch (byte) {
      case 'd':
        *text = position_;
        return PARSE_DICT;
      case 'e':
        *text = position_;
        return PARSE_END;
      case 'l':
        *text = position_;
        return PARSE_LIST;
      case 'i':
        *text = ParseNum(len);
        return PARSE_INT;
      default:
        *text = nullptr;
        return PARSE_ERROR;
    }
  }

  // Reads "<length>:<bytes>" and returns the first of the bytes with their number in `*len`.
  //
  // Null when the digits are not followed by ':' (the position stays at the first digit) or when the
  // bytes run past the end; the position then lies beyond the end, at the address where they would
  // have stopped or at the largest address if there is none such. The length is counted modulo 2^64.
  // Requires: the position is not beyond the end.
  // Cost: proportional to the digits, each time that it is asked (see FixedInput).
  const unsigned char* ParseString(size_t* len);

  // Reads up to the first `e` or the end, returns where it began and the bytes before the `e` in
  // `*len`, and moves past the `e` if there is one.
  const unsigned char* ParseNum(size_t* len);

  // Where the next token starts; beyond the end of the input after a string that overran it.
  const unsigned char* position() const { return position_; }

 protected:
  // A derived class may move both between two tokens, as when more input has come.
  const unsigned char* position_;
  const unsigned char* end_;
};
static_assert(sizeof(BencParser) == 24);

// Also notes the byte range of the first dictionary or string that follows a string token beginning
// with the given name.
//
// On purpose: the match is a prefix test against the previous string token, key or not, and a list
// is never captured: the remembered string stays, so that the first string or dictionary inside the
// list can match instead.
class BencParserElement : public BencParser {
 public:
  // `name` must outlive the parser.
  BencParserElement(const unsigned char* begin, const unsigned char* end, const char* name)
      : BencParser(begin, end), name_(name) {}

  PARSE_T ParseNext(const unsigned char** text, size_t* len) override { return Next(text, len); }

  // ParseNext without the virtual call.
  PARSE_T Next(const unsigned char** text, size_t* len) {
    const PARSE_T token = BencParser::Next(text, len);
    Note(token, text, len);
    return token;
  }

  // The element's first byte and one past its last, from `d` to `e` for a dictionary and the content
  // alone for a string; null where not found.
  void GetElement(unsigned char** start, unsigned char** end) const;

 private:
  void Note(PARSE_T token, const unsigned char* const* text, const size_t* len);
  bool LastStringMatches() const;

  int32_t depth_ = 0;
  int32_t element_depth_ = 0;
  unsigned char* element_start_ = nullptr;
  unsigned char* element_end_ = nullptr;
  const unsigned char* last_string_ = nullptr;
  const char* name_;
};
static_assert(sizeof(BencParserElement) == 64);

// A tokenizer, BencParser or BencParserElement, whose input neither changes nor grows.
//
// A malformed length leaves the position where it is, and each list that it closes has the list around
// it ask again: N digits in N lists would be read N times. This tokenizer gives the same tokens, but
// reads them once: it forgets what stands behind the first digit, which ParseNum then ends at.
template <class Tokenizer>
class FixedInput : public Tokenizer {
 public:
  using PARSE_T = IBencParser::PARSE_T;
  using Tokenizer::Tokenizer;

  PARSE_T ParseNext(const unsigned char** text, size_t* len) override { return Next(text, len); }

  // ParseNext without the virtual call.
  PARSE_T Next(const unsigned char** text, size_t* len) {
    const unsigned char* const before = this->position_;
    const PARSE_T token = Tokenizer::Next(text, len);
    if (token == IBencParser::PARSE_ERROR && this->position_ == before && before < this->end_) [[unlikely]] {
      this->end_ = before + 1;  // a length that is cut there is as malformed, and shorter
    }
    return token;
  }
};
static_assert(sizeof(FixedInput<BencParser>) == sizeof(BencParser));

// Reads the number that [begin, end) starts with by strtoll's rules for base 10 in the C locale:
// blanks, one sign, digits; what follows is ignored, no digits give 0, and a number out of range
// gives the nearest 64-bit value.
int64_t ParseInteger(const unsigned char* begin, const unsigned char* end);

}  // namespace core
