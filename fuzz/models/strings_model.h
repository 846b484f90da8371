// Models of the string helpers, on standard strings. Case is folded as the library's ASCII helpers do.
#pragma once

#include <stddef.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/models/text_model.h"

namespace strings_model {

using Place = std::optional<size_t>;

using text_model::Begins;
using text_model::Folded;

template <class String>
bool Ends(const String& text, const String& suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

inline Place Found(size_t at) { return at == std::string::npos ? Place() : Place(at); }
// In an empty text nothing is found, not even the empty text.
template <class String>
Place FindFolded(const String& text, const String& sub) {
  return text.empty() ? Place() : Found(Folded(text).find(Folded(sub)));
}

// The first differing units, signed: -1, or how much larger the first is.
inline int Compare(std::wstring a, std::wstring b) {
  const size_t size = std::max(a.size(), b.size());
  a = Folded(a);
  b = Folded(b);
  a.resize(size, L'\0');
  b.resize(size, L'\0');
  for (size_t i = 0; i < size; ++i) {
    if (a[i] != b[i]) {
      const long long more = static_cast<long long>(a[i]) - b[i];
      return more < 0 ? -1 : static_cast<int>(std::min<long long>(more, std::numeric_limits<int>::max()));
    }
  }
  return 0;
}

// The pieces between separators; `keep_last` says whether an empty one behind the last counts.
template <class String>
std::vector<String> Split(const String& text, const String& separators, bool keep_last) {
  std::vector<String> pieces(1);
  for (const auto unit : text) {
    if (separators.find(unit) != String::npos) {
      pieces.emplace_back();
    } else {
      pieces.back().push_back(unit);
    }
  }
  if (!keep_last && pieces.back().empty()) {
    pieces.pop_back();
  }
  return pieces;
}

// Blanks and line ends go from the end, blanks from the start.
template <class String>
String Trimmed(String text) {
  while (!text.empty() && (text.back() == '\t' || text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) {
    text.pop_back();
  }
  while (!text.empty() && (text.front() == '\t' || text.front() == ' ')) {
    text.erase(0, 1);
  }
  return text;
}

// The lines of a text, each without its line end.
template <class String>
std::vector<String> Lines(const String& text) {
  std::vector<String> lines = Split(text, String(1, '\n'), true);
  for (size_t i = 0; i + 1 < lines.size(); ++i) {
    if (!lines[i].empty() && lines[i].back() == '\r') {
      lines[i].pop_back();
    }
  }
  return lines;
}

inline std::string Hex(const std::string& bytes) {
  std::string digits;
  for (const char c : bytes) {
    digits += "0123456789abcdef"[static_cast<unsigned char>(c) / 16];
    digits += "0123456789abcdef"[static_cast<unsigned char>(c) % 16];
  }
  return digits;
}

}  // namespace strings_model
