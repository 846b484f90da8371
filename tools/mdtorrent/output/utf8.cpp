#include "tools/mdtorrent/output/utf8.h"

namespace mdtorrent {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The lead bytes of each row start a sequence of `len` bytes whose second byte lies in low..high.
struct LeadRow {
  unsigned char first, last;
  unsigned char len;
  unsigned char low, high;
};
constexpr LeadRow kLeads[] = {
    {0x00, 0x7F, 1, 0, 0},       {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

const LeadRow* FindLead(unsigned char byte) {
  for (const LeadRow& row : kLeads) {
    if (byte >= row.first && byte <= row.last) {
      return &row;
    }
  }
  return nullptr;
}

bool InRange(char byte, unsigned char low, unsigned char high) {
  const auto value = static_cast<unsigned char>(byte);
  return value >= low && value <= high;
}

constexpr bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

char* PutByte(char* dst, char32_t value) {
  *dst = static_cast<char>(static_cast<unsigned char>(value));
  return dst + 1;
}

// Writes a character above U+007F.
char* PutCodePoint(char* dst, char32_t c) {
  if (c < 0x800) {
    dst = PutByte(dst, 0xC0 | (c >> 6));
  } else {
    if (c < 0x10000) {
      dst = PutByte(dst, 0xE0 | (c >> 12));
    } else {
      dst = PutByte(dst, 0xF0 | (c >> 18));
      dst = PutByte(dst, 0x80 | ((c >> 12) & 0x3F));
    }
    dst = PutByte(dst, 0x80 | ((c >> 6) & 0x3F));
  }
  return PutByte(dst, 0x80 | (c & 0x3F));
}

// Narrows a block of units if all of them are ASCII. Written so that compilers use wide registers.
constexpr size_t kBlock = 16;
bool PutAsciiBlock(char* dst, const char16_t* units) {
  char16_t all = 0;
  for (size_t i = 0; i < kBlock; ++i) {
    all = static_cast<char16_t>(all | units[i]);
  }
  if (all >= 0x80) {
    return false;
  }
  for (size_t i = 0; i < kBlock; ++i) {
    dst[i] = static_cast<char>(units[i]);
  }
  return true;
}

// Narrows the ASCII characters that `text` begins with; returns how many there are.
size_t PutAsciiRun(char* dst, std::u16string_view text) {
  size_t count = 0;
  while (text.size() - count >= kBlock && PutAsciiBlock(dst + count, text.data() + count)) {
    count += kBlock;
  }
  while (count < text.size() && text[count] < 0x80) {
    dst[count] = static_cast<char>(text[count]);
    ++count;
  }
  return count;
}

}  // namespace

Utf8Step NextUtf8(std::string_view bytes) {
  const LeadRow* lead = FindLead(static_cast<unsigned char>(bytes[0]));
  if (!lead) {
    return {1, false};
  }
  for (size_t i = 1; i < lead->len; ++i) {
    const bool belongs = i < bytes.size() && (i == 1 ? InRange(bytes[i], lead->low, lead->high)  //
                                                     : InRange(bytes[i], 0x80, 0xBF));
    if (!belongs) {
      return {i, false};
    }
  }
  return {lead->len, true};
}

bool IsValidUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const Utf8Step step = NextUtf8(bytes);
    if (!step.valid) {
      return false;
    }
    bytes.remove_prefix(step.len);
  }
  return true;
}

void AppendValidUtf8(std::string& out, std::string_view bytes) {
  while (!bytes.empty()) {
    const Utf8Step step = NextUtf8(bytes);
    out.append(step.valid ? bytes.substr(0, step.len) : kReplacement);
    bytes.remove_prefix(step.len);
  }
}

char* PutUtf8(char* dst, std::u16string_view text) {
  while (!text.empty()) {
    const size_t ascii = PutAsciiRun(dst, text);
    dst += ascii;
    text.remove_prefix(ascii);
    if (text.empty()) {
      break;
    }
    const char16_t unit = text[0];
    text.remove_prefix(1);
    if (IsHighSurrogate(unit) && !text.empty() && IsLowSurrogate(text[0])) {
      dst = PutCodePoint(dst, 0x10000 + ((unit - 0xD800U) << 10) + (text[0] - 0xDC00U));
      text.remove_prefix(1);
    } else {
      dst = PutCodePoint(dst, IsHighSurrogate(unit) || IsLowSurrogate(unit) ? 0xFFFD : unit);
    }
  }
  return dst;
}

}  // namespace mdtorrent
