#include "fuzz/models/reader_model_text.h"

#include <stdlib.h>
#include <wchar.h>

namespace reader_model {
namespace {

constexpr size_t kMostTextBytes = size_t{16} << 20;

std::string LowerAscii(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  }
  return lower;
}

int32_t NumberOf(const std::string& digits) {
  return static_cast<int32_t>(static_cast<uint32_t>(strtol(digits.c_str(), nullptr, 10)));
}

int32_t Signed8(char c) { return static_cast<signed char>(c); }

// How many bytes follow a lead byte; 0 for one that leads nothing.
size_t Followers(unsigned char lead) {
  return lead >= 0xF8 || lead < 0xC0 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
}

bool HasContinuations(std::string_view bytes, size_t count) {
  for (size_t i = 1; i <= count; ++i) {
    if (i >= bytes.size() || (static_cast<unsigned char>(bytes[i]) & 0xC0) != 0x80) {
      return false;
    }
  }
  return true;
}

// On purpose: the sum of four bytes leaves out the second and takes the last one twice.
uint32_t FourByteValue(std::string_view b) {
  const auto shifted = [&](size_t i, int bits) { return static_cast<uint32_t>(Signed8(b[i])) << bits; };
  return shifted(0, 18) ^ shifted(3, 12) ^ shifted(2, 6) ^ shifted(3, 0) ^ 0x3C82080U;
}

// Decodes leniently, and tells whether anything was wrong.
std::u32string DecodeUtf8(std::string_view bytes, bool& invalid) {
  std::u32string units;
  while (!bytes.empty()) {
    const auto lead = static_cast<unsigned char>(bytes[0]);
    const size_t followers = Followers(lead);
    if (lead < 0x80) {
      units += lead;
    } else if (followers == 0 || !HasContinuations(bytes, followers)) {
      invalid = true;
      units += static_cast<char32_t>(Signed8(bytes[0]));
      bytes.remove_prefix(1);
      continue;
    } else if (followers == 3) {
      const uint32_t value = FourByteValue(bytes);
      if (value > 0xFFFF) {
        units += (static_cast<char32_t>(value - 0x10000) >> 10) | 0xD800;
        units += (value & 0x3FF) | 0xDC00;
      } else {
        invalid = true;
        units += value;
      }
    } else {
      char32_t value = lead & (followers == 1 ? 0x1F : 0x0F);
      for (size_t i = 1; i <= followers; ++i) {
        value = value * 64 + (static_cast<unsigned char>(bytes[i]) & 0x3F);
      }
      invalid |= value < (followers == 1 ? 0x80 : 0x800);
      units += value;
    }
    bytes.remove_prefix(followers + 1);
  }
  return units;
}

// Up to the first zero byte, and without a character that is cut off at the end; nothing when a byte is wrong.
std::u32string DecodeByLocale(std::string_view bytes) {
  std::u32string units;
  mbstate_t state = {};
  while (!bytes.empty()) {
    wchar_t unit;
    const size_t used = mbrtowc(&unit, bytes.data(), bytes.size(), &state);
    if (used == static_cast<size_t>(-1)) {
      return {};
    }
    if (used == 0 || used == static_cast<size_t>(-2)) {
      break;
    }
    units += static_cast<char32_t>(unit);
    bytes.remove_prefix(used);
  }
  return units;
}

}  // namespace

int32_t CodePageOf(std::string_view name) {
  struct Row {
    const char* name;
    int32_t page;
  };
  static constexpr Row kRows[] = {{"utf-8", 1},    {"utf8", 1},       {"ansi", 0},       {"big5", 950},
                                  {"korean", 949}, {"uhc", 949},      {"chinese", 936},  {"gb2312", 936},
                                  {"gbk", 936},    {"japanese", 932}, {"shift-jis", 932}};
  const std::string lower = LowerAscii(name.substr(0, name.find('\0')));
  for (const std::string prefix : {"windows-", "cp"}) {
    if (lower.starts_with(prefix)) {
      return NumberOf(lower.substr(prefix.size()));
    }
  }
  for (const Row& row : kRows) {
    if (lower == row.name) {
      return row.page;
    }
  }
  return 0;
}

std::u32string Decode(std::string_view bytes, int32_t code_page) {
  if (bytes.size() > kMostTextBytes) {
    return {};
  }
  bool invalid = false;
  const std::u32string units = DecodeUtf8(bytes, invalid);
  const bool by_locale = (code_page != 0 && code_page != 1) || (code_page == 0 && invalid);
  return by_locale ? DecodeByLocale(bytes) : units;
}

namespace {

// Whether these are characters in UTF-8, each in its shortest form and none of them a surrogate.
bool IsUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto lead = static_cast<unsigned char>(bytes[0]);
    const size_t followers = Followers(lead);
    if ((lead >= 0x80 && followers == 0) || !HasContinuations(bytes, followers)) {
      return false;
    }
    char32_t value = followers == 0 ? lead : lead & (0x3FU >> followers);
    for (size_t i = 1; i <= followers; ++i) {
      value = value * 64 + (static_cast<unsigned char>(bytes[i]) & 0x3F);
    }
    static constexpr char32_t kLowest[] = {0, 0x80, 0x800, 0x10000};
    if (value < kLowest[followers] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
      return false;
    }
    bytes.remove_prefix(followers + 1);
  }
  return true;
}

}  // namespace

// The platform takes a character U+FEFF at the start for a mark of byte order.
std::optional<std::string> PlatformText(std::string_view bytes) {
  const std::string_view text = bytes.substr(0, bytes.find('\0'));
  if (!IsUtf8(text)) {
    return std::nullopt;
  }
  return std::string(text.substr(text.starts_with("\xEF\xBB\xBF") ? 3 : 0));
}

// On purpose: units above 0xFFFF get a lead byte that is cut to eight bits, which mostly makes no character.
std::string PlatformText(const std::u32string& units) {
  std::string bytes;
  for (const char32_t unit : units) {
    if (unit == 0) {
      break;
    }
    if (unit < 0x80) {
      bytes += static_cast<char>(unit);
      continue;
    }
    if (unit < 0x800) {
      bytes += static_cast<char>(0xC0 | (unit >> 6));
    } else {
      bytes += static_cast<char>(0xE0 | (unit >> 12));
      bytes += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
    }
    bytes += static_cast<char>(0x80 | (unit & 0x3F));
  }
  return PlatformText(std::string_view(bytes)).value_or("");
}

}  // namespace reader_model
