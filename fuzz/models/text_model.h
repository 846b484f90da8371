// What the models of text helpers have in common, on standard strings.
#pragma once

#include <string>

namespace text_model {

// With ASCII capital letters as small ones.
template <class String>
String Folded(String text) {
  for (auto& unit : text) {
    unit = unit >= 'A' && unit <= 'Z' ? static_cast<typename String::value_type>(unit - 'A' + 'a') : unit;
  }
  return text;
}

template <class String>
bool Begins(const String& text, const String& prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

}  // namespace text_model
