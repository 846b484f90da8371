// Owned strings, lists of them, and the conversions and formatting shortcuts that make them.
//
// A string is one pointer to a zero-terminated text from the library's allocator, or null, and every
// change makes a new text: good for passing texts around, not for building them (see StringBuffer).
// Null reads as the empty text. Users include core/text/string.h. An object belongs to one thread at a time.
#pragma once

#include <stddef.h>

#include <utility>

#include "core/containers/templates.h"

namespace core {

template <class T>
class Vector;

// C is char or wchar_t. Arguments may point into the string's own text.
template <class C>
class basic_string {
 public:
  basic_string() = default;

  // Copies the text of `other`.
  // On purpose: a copy owns a text even if `other` is null; it is then the empty one.
  basic_string(const basic_string& other);
  // Takes the text of `other`, which is left null.
  basic_string(basic_string&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}

  // Copies `text`; null gives null.
  basic_string(const C* text);
  // Copies the `len` characters from text + start on. A null `text` and a `len` of 0 give null.
  // Requires: `text` holds at least start + len characters, unless it is null or `len` is 0.
  basic_string(const C* text, size_t start, size_t len);

  ~basic_string();

  // Returns a string that owns `text`, which is null or from the library's allocator.
  static basic_string Adopt(C* text);

  // Replaces the text by a copy of `text`, and by null for null. The pointer that the string holds
  // changes nothing.
  basic_string& operator=(const C* text);
  // The same with the text of `other`; unlike a new copy, null stays null.
  basic_string& operator=(const basic_string& other) {
    if (this != &other) {
      *this = other.text_;
    }
    return *this;
  }

  // Replaces the text by a copy of the first `len` characters of `text`, and by null for null.
  // On purpose: the pointer that the string holds changes nothing, however small `len` is.
  // Requires: `text` holds at least `len` characters, unless it is null.
  basic_string& assign(const C* text, size_t len);

  // Compares whole texts; null on either side reads as the empty text.
  bool operator==(const C* text) const;

  // Appends a copy of `text`; null appends nothing.
  // On purpose: the characters of the result are counted with the terminator in 31 bits. What is longer
  // counts as a block that cannot be had: the string is left unchanged.
  // Cost: copies both texts.
  basic_string& operator+=(const C* text);

  // The length in characters, 0 for null. Cost: linear.
  size_t size() const;

  // The text, "" for null. Valid until the string changes.
  const C* c_str() const { return text_ != nullptr ? text_ : &kEmpty; }

  // Returns the pieces of the text between characters of the set `delimiters`, a null or empty set
  // giving the whole text. A piece may be empty, except one behind the last delimiter, which is left
  // out: ",a,,b," has the pieces "", "a", "" and "b", and an empty text has none.
  // Cost: the length of the text times that of the set at worst, one allocation for each piece; no
  // recursion.
  Vector<basic_string> tokenize(basic_string delimiters) const;

 private:
  static constexpr C kEmpty = 0;

  void Replace(C* text);

  C* text_ = nullptr;
};
extern template class basic_string<char>;
extern template class basic_string<wchar_t>;
static_assert(sizeof(basic_string<char>) == sizeof(char*));
static_assert(sizeof(basic_string<wchar_t>) == sizeof(wchar_t*));

// An owned block of any kind, or null.
class basic_string_raw {
 public:
  basic_string_raw() = default;
  basic_string_raw(const basic_string_raw&) = delete;
  basic_string_raw& operator=(const basic_string_raw&) = delete;
  ~basic_string_raw();

  // Frees the held block and takes ownership of `block`, which is null or from the library's allocator.
  // The held block itself changes nothing.
  void adopt(void* block);

  // Frees the held block and becomes null. The held block itself changes nothing.
  // On purpose: `block` is not taken and stays the caller's; only adopt transfers ownership.
  void assign(const void* block);

  // Frees the held block and becomes null.
  void clear();

  // Exchanges the blocks.
  void swap(basic_string_raw& other) { std::swap(block_, other.block_); }

  // The held block, or null. It stays this object's.
  void* get() const { return block_; }

 private:
  void* block_ = nullptr;
};
static_assert(sizeof(basic_string_raw) == sizeof(void*));

// A list of strings, which it owns; T is one of the basic_strings. What adds a string invalidates
// pointers to the others, but not their texts.
template <class T>
class Vector {
 public:
  Vector() = default;
  // Takes the strings of `other`, which is left empty.
  Vector(Vector&& other) noexcept { strings_.Swap(other.strings_); }
  Vector(const Vector&) = delete;
  Vector& operator=(const Vector&) = delete;
  ~Vector();

  // Appends a copy of `string`, which may be one of this list's. A stored copy is never null.
  // Cost: amortised one allocation.
  void push_back(const T& string);

  // Appends copies of the strings of `other`, in order. `other` may be this list.
  void append(const Vector& other);

  // Frees the strings.
  // On purpose: the block that they lay in is kept for the next ones.
  void clear();

  T* begin() { return strings_.begin(); }
  T* end() { return strings_.end(); }
  const T* begin() const { return strings_.begin(); }
  const T* end() const { return strings_.end(); }
  // Requires: 0 <= i < size().
  T& operator[](size_t i) { return begin()[i]; }
  const T& operator[](size_t i) const { return begin()[i]; }
  size_t size() const { return strings_.size(); }
  // The strings that the block has room for.
  size_t capacity() const { return strings_.capacity; }

 private:
  friend T;  // stores its pieces without copying them once more

  void Take(T&& string);

  LList<T> strings_;
};
extern template class Vector<basic_string<char>>;
extern template class Vector<basic_string<wchar_t>>;

// Returns two lower-case hexadecimal digits for each of the `len` bytes, the high one first. Never null.
// Requires: len >= 0.
basic_string<char> to_hex(const void* bytes, ptrdiff_t len);

// Returns formatted text (see core/format/strfmt.h), cut at 1048576 characters. Never null.
basic_string<char> string_fmt(const char* format, ...);
basic_string<wchar_t> tstring_fmt(const wchar_t* format, ...);

// Returns the text of `s` converted from the locale's encoding, empty when that cannot be done. Never
// null.
basic_string<wchar_t> to_tstring(const basic_string<char>& s);

// Returns the text converted to the locale's encoding as to_ansi_alloc does; null when that cannot be
// done.
// Requires: as to_ansi_alloc.
basic_string<char> to_string(const basic_string<wchar_t>& s);
// The same for a bare text; null gives null.
basic_string<char> tstr_to_string(const wchar_t* s);

}  // namespace core
