// Models of the helpers over URLs and paths, on standard strings.
#pragma once

#include <stddef.h>

#include <algorithm>
#include <optional>
#include <string>

#include "fuzz/models/text_model.h"

namespace url_model {

using text_model::Begins;
using text_model::Folded;

inline bool IsOkUrl(const std::string& url) {
  const std::string folded = Folded(url);
  return Begins<std::string>(folded, "http://") || Begins<std::string>(folded, "https://") ||
         Begins<std::string>(folded, "magnet:?");
}

// What a character of an escape is worth, whether or not it is a digit.
inline int DigitValue(char c) {
  const int value = static_cast<signed char>(c);
  return value <= '9' ? value - '0' : (value & ~0x20) - 55;
}

inline std::string UrlDecode(const std::string& text) {
  std::string decoded;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && text.size() - i > 2) {
      decoded.push_back(static_cast<char>(16 * DigitValue(text[i + 1]) + DigitValue(text[i + 2])));
      i += 2;
    } else {
      decoded.push_back(text[i] == '+' ? ' ' : text[i]);
    }
  }
  return decoded;
}

inline std::string EncodeSpaces(const std::string& text) {
  std::string encoded;
  for (const char c : text) {
    encoded += c == ' ' ? std::string("%20") : std::string(1, c);
  }
  return encoded;
}

// Where the text behind the last "/" begins.
template <class String>
size_t FileName(const String& path) {
  const size_t slash = path.rfind('/');
  return slash == String::npos ? 0 : slash + 1;
}

inline std::optional<size_t> FileExtension(const std::wstring& path) {
  const size_t dot = path.rfind(L'.');
  if (dot == std::wstring::npos || dot < FileName(path)) {
    return {};
  }
  return dot + 1;
}

inline std::wstring StripLastSeparators(std::wstring path) {
  while (path.size() > 3 && path.back() == L'/') {
    path.pop_back();
  }
  return path;
}

inline std::wstring StripFileName(const std::wstring& path) {
  const size_t slash = path.rfind(L'/');
  return slash == std::wstring::npos ? path : path.substr(0, slash < 3 ? slash + 1 : slash);
}

// Where `path` goes on behind the folder `prefix`.
inline std::optional<size_t> BehindFolder(const std::wstring& path, const std::wstring& prefix) {
  if (prefix.empty() || path.size() < prefix.size() || !Begins(Folded(path), Folded(prefix))) {
    return {};
  }
  if (prefix.back() != L'/' && path.size() > prefix.size() && path[prefix.size()] != L'/') {
    return {};
  }
  return std::min(path.find_first_not_of(L'/', prefix.size()), path.size());
}

}  // namespace url_model
