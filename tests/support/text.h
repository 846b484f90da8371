// Zero-terminated test text on the heap, in a block of exactly its own size, and strings that the
// library hands out as new.
#pragma once

#include <stddef.h>
#include <string.h>

#include <memory>
#include <string>
#include <string_view>

#include "core/base/mem1.h"

template <class C>
class ExactText {
 public:
  explicit ExactText(std::basic_string_view<C> text) : text_(new C[text.size() + 1]), len_(text.size()) {
    text.copy(text_.get(), len_);
    text_[len_] = 0;
  }

  const C* get() const { return text_.get(); }
  C* data() { return text_.get(); }
  size_t len() const { return len_; }

  // The whole block without its last terminator, zero units included.
  std::basic_string_view<C> view() const { return {text_.get(), len_}; }

 private:
  std::unique_ptr<C[]> text_;
  size_t len_;
};
using Narrow = ExactText<char>;
using Wide = ExactText<wchar_t>;

// A new string of the library's, freed at the end of the scope.
template <class C>
struct FreedByLibrary {
  void operator()(C* s) const { core::MyFree(s); }
};
template <class C>
using Owned = std::unique_ptr<C[], FreedByLibrary<C>>;

// Frees a new string of the library's and returns what it held up to its terminator.
inline std::string Take(char* s) { return Owned<char>(s).get(); }
inline std::wstring Take(wchar_t* s) { return Owned<wchar_t>(s).get(); }

// A wide string of units given as numbers, those that are no characters included.
inline std::wstring Units(std::initializer_list<unsigned> units) {
  std::wstring text;
  for (unsigned unit : units) {
    text.push_back(static_cast<wchar_t>(unit));
  }
  return text;
}
