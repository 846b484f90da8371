// Long texts made of short ones.
#pragma once

#include <string>
#include <string_view>

inline std::string Repeat(std::string_view text, size_t times) {
  std::string out;
  out.reserve(text.size() * times);
  while (times-- > 0) {
    out += text;
  }
  return out;
}

// `depth` times `open`, then `core`, then as many times `close`.
inline std::string Nest(std::string_view open, std::string_view core, std::string_view close, size_t depth) {
  return Repeat(open, depth).append(core).append(Repeat(close, depth));
}
