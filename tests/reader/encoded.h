// Bencoded values for the tests, put together by hand.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace encoded {

inline std::string Str(std::string_view bytes) { return std::to_string(bytes.size()) + ":" + std::string(bytes); }

inline std::string Int(long long number) { return "i" + std::to_string(number) + "e"; }

inline std::string List(const std::vector<std::string>& values) {
  std::string text = "l";
  for (const std::string& value : values) {
    text += value;
  }
  return text + "e";
}

using Fields = std::vector<std::pair<std::string, std::string>>;

inline std::string Dict(const Fields& fields) {
  std::string text = "d";
  for (const auto& [key, value] : fields) {
    text += Str(key) + value;
  }
  return text + "e";
}

// `text` as it is between string quotes, zero bytes included.
template <size_t size>
std::string Bytes(const char (&text)[size]) {
  return std::string(text, size - 1);
}

}  // namespace encoded
