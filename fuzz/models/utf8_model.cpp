#include "fuzz/models/utf8_model.h"

#include <limits.h>
#include <stdint.h>
#include <wchar.h>

namespace utf8_model {

namespace {

// The forms of more than one byte.
struct Form {
  uint8_t first, last;  // lead bytes
  size_t length;
  uint32_t least;  // of the values that are not overlong
};
constexpr Form kForms[] = {{0xC0, 0xDF, 2, 0x80}, {0xE0, 0xEF, 3, 0x800}, {0xF0, 0xF7, 4, 0}};

uint8_t At(std::string_view bytes, size_t at) { return static_cast<uint8_t>(bytes[at]); }

const Form* FormAt(std::string_view bytes) {
  for (const Form& form : kForms) {
    bool matches = At(bytes, 0) >= form.first && At(bytes, 0) <= form.last && bytes.size() >= form.length;
    for (size_t i = 1; matches && i < form.length; ++i) {
      matches = At(bytes, i) >= 0x80 && At(bytes, i) <= 0xBF;
    }
    if (matches) {
      return &form;
    }
  }
  return nullptr;
}

// On purpose: this is how a value of four bytes comes about; the second does not count.
uint32_t FourByteValue(std::string_view bytes) {
  const auto widened = [&](size_t at) { return static_cast<int64_t>(static_cast<int8_t>(bytes[at])); };
  const int64_t value = (widened(0) * 262144) ^ (widened(3) * 4096) ^ (widened(2) * 64) ^ widened(3) ^ 0x3C82080;
  return static_cast<uint32_t>(static_cast<uint64_t>(value));
}

// The units of one form, and whether they are invalid.
std::wstring UnitsOf(std::string_view bytes, const Form& form, bool* invalid) {
  if (form.length == 4) {
    const uint32_t value = FourByteValue(bytes);
    if (value <= 0xFFFF) {
      *invalid = true;
      return {static_cast<wchar_t>(value)};
    }
    return {static_cast<wchar_t>((value - 0x10000) >> 10 | 0xD800), static_cast<wchar_t>((value & 0x3FF) | 0xDC00)};
  }
  uint32_t value = At(bytes, 0) - form.first;
  for (size_t i = 1; i < form.length; ++i) {
    value = value * 64 + At(bytes, i) - 0x80;
  }
  *invalid |= value < form.least;
  return {static_cast<wchar_t>(value)};
}

}  // namespace

Decoded Decode(std::string_view bytes, size_t most) {
  Decoded result;
  while (result.consumed < bytes.size()) {
    const std::string_view rest = bytes.substr(result.consumed);
    const Form* form = FormAt(rest);
    std::wstring units;
    if (form) {
      units = UnitsOf(rest, *form, &result.invalid);
    } else {
      units = static_cast<wchar_t>(static_cast<int8_t>(rest[0]));
      result.invalid |= At(rest, 0) >= 0x80;
    }
    result.consumed += form ? form->length : 1;
    if (units.size() > most - result.units.size()) {
      result.fits = false;
      result.consumed -= 1;
      return result;
    }
    result.units += units;
  }
  return result;
}

// A character that the end cuts off counts as not there.
std::optional<std::wstring> FromLocale(std::string_view bytes) {
  std::wstring units;
  mbstate_t state = {};
  while (!bytes.empty()) {
    wchar_t unit = 0;
    const size_t length = mbrtowc(&unit, bytes.data(), bytes.size(), &state);
    if (length == static_cast<size_t>(-1)) {
      return std::nullopt;
    }
    if (length == static_cast<size_t>(-2) || unit == 0) {
      break;
    }
    units += unit;
    bytes.remove_prefix(length);
  }
  return units;
}

std::wstring DecodeByPage(int page, std::string_view bytes) {
  if (page == 0 || page == 1) {
    const Decoded decoded = Decode(bytes, bytes.size());
    if (page == 1 || !decoded.invalid) {
      return decoded.units;
    }
  }
  return FromLocale(bytes).value_or(std::wstring());
}

std::string Encode(std::wstring_view units) {
  std::string bytes;
  for (wchar_t unit : units.substr(0, units.find(L'\0'))) {
    const uint32_t u = static_cast<uint32_t>(unit);
    if (u < 0x80) {
      bytes += static_cast<char>(u);
      continue;
    }
    if (u < 0x800) {
      bytes += static_cast<char>(0xC0 + u / 64);
    } else {
      bytes += static_cast<char>((0xE0 | u / 4096) % 256);
      bytes += static_cast<char>(0x80 + u / 64 % 64);
    }
    bytes += static_cast<char>(0x80 + u % 64);
  }
  return bytes;
}

namespace {

std::optional<std::string> Convert(std::wstring_view units) {
  std::string bytes;
  mbstate_t state = {};
  for (wchar_t unit : units.substr(0, units.find(L'\0'))) {
    char one[MB_LEN_MAX];
    const size_t length = wcrtomb(one, unit, &state);
    if (length == static_cast<size_t>(-1)) {
      return std::nullopt;
    }
    bytes.append(one, length);
  }
  return bytes;
}

}  // namespace

std::optional<std::string> ToLocale(std::wstring_view units) {
  if (std::optional<std::string> bytes = Convert(units)) {
    return bytes;
  }
  std::wstring replaced;
  for (wchar_t unit : units.substr(0, units.find(L'\0'))) {
    replaced += static_cast<wchar_t>(NarrowUnit(unit));
  }
  return Convert(replaced);
}

char NarrowUnit(wchar_t unit) {
  const int32_t value = static_cast<int32_t>(unit);
  return value == 181 ? 'u' : value >= 127 ? '?' : static_cast<char>(static_cast<uint8_t>(value));
}

}  // namespace utf8_model
