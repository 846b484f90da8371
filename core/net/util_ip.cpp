#include "core/net/util_ip.h"

#include <arpa/inet.h>
#include <stdlib.h>
#include <string.h>

#include "core/base/fatal.h"
#include "core/format/strfmt.h"

namespace core {
namespace {

constexpr uint32_t kNoAddress = 0xFFFFFFFF;
constexpr unsigned long kLargestField = 255;

// The value of a decimal digit; 10 or more for any other character.
unsigned DigitOf(char c) { return static_cast<unsigned>(static_cast<unsigned char>(c)) - '0'; }

// Reads what only strtoul knows how to read. It stops at the end of the text at the latest.
const char* ReadUncommonField(const char* p, uint32_t* field) {
  char* end = nullptr;
  const unsigned long value = strtoul(p, &end, 10);
  *field = value > kLargestField ? kNoAddress : static_cast<uint32_t>(value);
  return end;
}

// Reads one field and returns its end; a value above 255 is stored as some value above 255. One to
// three digits, which is what addresses have, need no call.
inline const char* ReadField(const char* p, uint32_t* field) {
  const unsigned first = DigitOf(p[0]);
  if (first > 9) {
    return ReadUncommonField(p, field);
  }
  const unsigned second = DigitOf(p[1]);
  if (second > 9) {
    *field = first;
    return p + 1;
  }
  const unsigned third = DigitOf(p[2]);
  if (third > 9) {
    *field = first * 10 + second;
    return p + 2;
  }
  if (DigitOf(p[3]) <= 9) {
    return ReadUncommonField(p, field);
  }
  *field = first * 100 + second * 10 + third;
  return p + 3;
}

}  // namespace

const char* read_ip(const char* text, uint32_t* address) {
  uint32_t value = 0;
  for (int i = 0;; ++i) {
    uint32_t field;
    text = ReadField(text, &field);
    if (field > kLargestField) {
      return nullptr;
    }
    value = value << 8 | field;
    if (i == 3) {
      *address = value;
      return text;
    }
    if (*text++ != '.') {
      return nullptr;
    }
  }
}

uint32_t parse_ip(const char* text, bool* ok) {
  AssertAt(text != nullptr, "core/util", 634);
  uint32_t address = kNoAddress;
  const char* end = read_ip(text, &address);
  const bool whole = end != nullptr && *end == 0;
  if (ok != nullptr) {
    *ok = whole;
  }
  return whole ? address : kNoAddress;
}

uint32_t parse_ip(const wchar_t* text) { return parse_ip(to_ansi(text), nullptr); }

in6_addr parse_ip_v6(const char* text, bool* ok) {
  in6_addr address;
  const bool parsed = text != nullptr && inet_pton(AF_INET6, text, &address) == 1;
  if (!parsed) {
    memset(&address, 0, sizeof address);
  }
  if (ok != nullptr) {
    *ok = parsed;
  }
  return address;
}

}  // namespace core
