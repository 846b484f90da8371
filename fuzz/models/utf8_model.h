// The rules for text bytes and wide units, read anew: tables, and one character at a time. What belongs to
// the process's locale is asked of the platform, character by character.
#pragma once

#include <stddef.h>

#include <optional>
#include <string>
#include <string_view>

namespace utf8_model {

struct Decoded {
  std::wstring units;
  bool invalid = false;
  bool fits = true;
  size_t consumed = 0;
};

// UTF-8 into at most `most` units.
Decoded Decode(std::string_view bytes, size_t most);

// Text by code page.
std::wstring DecodeByPage(int page, std::string_view bytes);

// The units up to the first zero one, each by itself.
std::string Encode(std::wstring_view units);

// Bytes up to the first zero one in the locale's encoding, unless some are invalid.
std::optional<std::wstring> FromLocale(std::string_view bytes);

// Units up to the first zero one in the locale's encoding, with "?" for those that it lacks.
std::optional<std::string> ToLocale(std::wstring_view units);

// A unit as one narrow character.
char NarrowUnit(wchar_t unit);

}  // namespace utf8_model
