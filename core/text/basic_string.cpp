#include "core/text/basic_string.h"

#include <stdint.h>
#include <string.h>
#include <wchar.h>

#include <new>

#include "core/base/mem1.h"
#include "core/text/nustr.h"

namespace core {
namespace {

// The services of either character type under one name.
char* Duplicate(const char* s) { return nustrdup(s); }
wchar_t* Duplicate(const wchar_t* s) { return wstrdup(s); }

char* Duplicate(const char* s, size_t len) { return strduplen(s, len); }
wchar_t* Duplicate(const wchar_t* s, size_t len) { return wstrduplen(s, len); }

bool Equal(const char* a, const char* b) { return strcmp(a, b) == 0; }
bool Equal(const wchar_t* a, const wchar_t* b) { return ::wcscmp(a, b) == 0; }

// The length of the part of `s` before its first character out of `set`.
size_t LengthBefore(const char* s, const char* set) { return strcspn(s, set); }
size_t LengthBefore(const wchar_t* s, const wchar_t* set) { return ::wcscspn(s, set); }

// Returns a new block for `units` characters and a terminator; null when they cannot be counted in 31
// bits.
template <class C>
C* AllocCounted(size_t units) {
  return units < INT32_MAX ? AllocString<C>(units) : nullptr;
}

}  // namespace

template <class C>
basic_string<C>::basic_string(const basic_string& other) : text_(Duplicate(other.c_str())) {}

template <class C>
basic_string<C>::basic_string(const C* text) : text_(Duplicate(text)) {}

template <class C>
basic_string<C>::basic_string(const C* text, size_t start, size_t len)
    : text_(text == nullptr || len == 0 ? nullptr : Duplicate(text + start, len)) {}

template <class C>
basic_string<C>::~basic_string() {
  MyFree(text_);
}

template <class C>
basic_string<C> basic_string<C>::Adopt(C* text) {
  basic_string adopted;
  adopted.text_ = text;
  return adopted;
}

// Takes ownership of `text`, which was made before the old text goes: its source may lie in there.
template <class C>
void basic_string<C>::Replace(C* text) {
  MyFree(text_);
  text_ = text;
}

template <class C>
basic_string<C>& basic_string<C>::operator=(const C* text) {
  if (text != text_) {
    Replace(Duplicate(text));
  }
  return *this;
}

template <class C>
basic_string<C>& basic_string<C>::assign(const C* text, size_t len) {
  if (text != text_) {
    Replace(text == nullptr ? nullptr : Duplicate(text, len));
  }
  return *this;
}

template <class C>
bool basic_string<C>::operator==(const C* text) const {
  return Equal(c_str(), text == nullptr ? &kEmpty : text);
}

template <class C>
basic_string<C>& basic_string<C>::operator+=(const C* text) {
  if (text == nullptr) {
    return *this;
  }
  const size_t old_len = size();
  const size_t added = len_of_str(text);
  C* joined = AllocCounted<C>(old_len + added);
  if (joined == nullptr) {
    return *this;
  }
  memcpy(joined, c_str(), old_len * sizeof(C));
  memcpy(joined + old_len, text, added * sizeof(C));
  joined[old_len + added] = 0;
  Replace(joined);
  return *this;
}

template <class C>
size_t basic_string<C>::size() const {
  return len_of_str(c_str());
}

template <class C>
Vector<basic_string<C>> basic_string<C>::tokenize(basic_string delimiters) const {
  Vector<basic_string> pieces;
  const C* rest = c_str();
  while (*rest != 0) {
    const size_t len = LengthBefore(rest, delimiters.c_str());
    pieces.Take(Adopt(Duplicate(rest, len)));
    rest += len;
    if (*rest != 0) {
      rest++;
    }
  }
  return pieces;
}

basic_string_raw::~basic_string_raw() { clear(); }

void basic_string_raw::adopt(void* block) {
  if (block != block_) {
    clear();
    block_ = block;
  }
}

void basic_string_raw::assign(const void* block) {
  if (block != block_) {
    clear();
  }
}

void basic_string_raw::clear() {
  MyFree(block_);
  block_ = nullptr;
}

template <class T>
Vector<T>::~Vector() {
  clear();
  strings_.Free();
}

// Moves the string into a new slot. The slot comes last: nothing can fail while it holds no string.
template <class T>
void Vector<T>::Take(T&& string) {
  new (strings_.Append()) T(std::move(string));
}

template <class T>
void Vector<T>::push_back(const T& string) {
  Take(T(string));  // copied first: `string` may lie in the block that a new slot moves
}

template <class T>
void Vector<T>::append(const Vector& other) {
  const size_t n = other.size();  // fixed before this list grows: it may be the same
  for (size_t i = 0; i < n; i++) {
    push_back(other[i]);
  }
}

template <class T>
void Vector<T>::clear() {
  for (T& string : strings_) {
    string.~T();
  }
  strings_.SetCount(0);
}

template class basic_string<char>;
template class basic_string<wchar_t>;
template class Vector<basic_string<char>>;
template class Vector<basic_string<wchar_t>>;

}  // namespace core
