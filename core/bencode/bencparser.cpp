#include "core/bencode/bencparser.h"

#include <string.h>

#include "core/base/fatal.h"

namespace core {

namespace {

constexpr char kSource[] = "core/bencparser";

// The address `offset` bytes past `base`, or the largest address when there is none such.
const unsigned char* SaturatedAddress(const unsigned char* base, uint64_t offset) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(base);
  const uintptr_t room = UINTPTR_MAX - start;
  return reinterpret_cast<const unsigned char*>(start + (offset < room ? static_cast<uintptr_t>(offset) : room));
}

// One level deeper or shallower. Counted modulo 2^32, as only a caller's own endless input wraps.
int32_t Deeper(int32_t depth) { return static_cast<int32_t>(static_cast<uint32_t>(depth) + 1u); }
int32_t Shallower(int32_t depth) { return static_cast<int32_t>(static_cast<uint32_t>(depth) - 1u); }

}  // namespace

const unsigned char* BencParser::ParseString(size_t* len) {
  AssertAt(position_ <= end_, kSource, 1001);
  uint64_t length = 0;  // counted modulo 2^64
  for (const unsigned char* p = position_; p != end_; ++p) {
    const unsigned digit = static_cast<unsigned>(*p - '0');
    if (digit < 10) {
      length = length * 10 + digit;
      continue;
    }
    if (*p != ':') {
      break;
    }
    const unsigned char* text = p + 1;
    *len = static_cast<size_t>(length);
    if (length > static_cast<uint64_t>(end_ - text)) {
      position_ = SaturatedAddress(text, length);
      return nullptr;
    }
    position_ = text + length;
    return text;
  }
  return nullptr;
}

const unsigned char* BencParser::ParseNum(size_t* len) {
  const unsigned char* text = position_;
  const unsigned char* p = text;
  while (p < end_ && *p != 'e') {
    ++p;
  }
  *len = static_cast<size_t>(p - text);
  position_ = p < end_ ? p + 1 : p;
  return text;
}

void BencParserElement::Note(PARSE_T token, const unsigned char* const* text, const size_t* len) {
  if (element_start_ && element_end_) {
    return;
  }
  switch (token) {
    case PARSE_STRING:
      if (!element_start_ && LastStringMatches()) {
        element_start_ = const_cast<unsigned char*>(*text);
        element_end_ = element_start_ + *len;
      }
      last_string_ = *text;
      break;
    case PARSE_DICT:
      if (!element_start_ && LastStringMatches()) {
        element_start_ = const_cast<unsigned char*>(*text - 1);
        element_depth_ = depth_;
      }
      depth_ = Deeper(depth_);
      break;
    case PARSE_LIST:
      depth_ = Deeper(depth_);
      break;
    case PARSE_END:
      depth_ = Shallower(depth_);
      if (element_depth_ != 0 && element_depth_ == depth_) {
        element_end_ = const_cast<unsigned char*>(*text);
      }
      break;
    default:
      break;
  }
}

// The comparison is bounded by the end of the input: a string too close to it cannot match.
bool BencParserElement::LastStringMatches() const {
  if (!last_string_) {
    return false;
  }
  const size_t name_len = strlen(name_);
  return name_len <= static_cast<size_t>(end_ - last_string_) && memcmp(last_string_, name_, name_len) == 0;
}

void BencParserElement::GetElement(unsigned char** start, unsigned char** end) const {
  *start = element_start_;
  *end = element_end_;
}

int64_t ParseInteger(const unsigned char* begin, const unsigned char* end) {
  const unsigned char* p = begin;
  while (p != end && (*p == ' ' || (*p >= '\t' && *p <= '\r'))) {
    ++p;
  }
  const bool negative = p != end && *p == '-';
  if (p != end && (*p == '-' || *p == '+')) {
    ++p;
  }
  const uint64_t largest = uint64_t{INT64_MAX} + (negative ? 1 : 0);
  uint64_t magnitude = 0;
  for (; p != end; ++p) {
    const unsigned digit = static_cast<unsigned>(*p - '0');
    if (digit >= 10) {
      break;
    }
    if (magnitude > (largest - digit) / 10) {
      magnitude = largest;
      break;
    }
    magnitude = magnitude * 10 + digit;
  }
  return static_cast<int64_t>(negative ? 0 - magnitude : magnitude);
}

}  // namespace core
