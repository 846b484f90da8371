// String helpers: comparison, searching, copying, tokenising, trimming, wildcards, owned slots, buffers,
// and the owned strings of core/text/basic_string.h.
//
// Unless said otherwise a case-insensitive function folds the ASCII letters A to Z onto a to z on
// both sides and compares everything else as it is, no argument may be null, and a new string is
// freed with MyFree. Nothing here keeps state; functions that follow the locale say so.
#pragma once

#include <stddef.h>

#include "core/containers/templates.h"
#include "core/text/basic_string.h"

namespace core {

// Folds an ASCII capital letter onto its small one.
template <class C>
constexpr C FoldAscii(C c) {
  return c >= C{'A'} && c <= C{'Z'} ? static_cast<C>(c + ('a' - 'A')) : c;
}

// True when `s` begins with `prefix`, which may be empty.
bool strbegins(const char* s, const char* prefix);
bool tstrbegins(const wchar_t* s, const wchar_t* prefix);
// Case-insensitive.
bool tstribegins(const wchar_t* s, const wchar_t* prefix);
// Case-insensitive as the locale's tolower has it.
// Requires: neither argument is null.
bool stribegins(const char* s, const char* prefix);

// True when `s` ends with `suffix`, which may be empty.
bool strends(const char* s, const char* suffix);
// Case-insensitive.
bool striends(const char* s, const char* suffix);
bool tstriends(const wchar_t* s, const wchar_t* suffix);

// strncmp; where that gives 0, returns 1 when `a` goes on after `n` characters and 0 otherwise.
int strncmp_exact(const char* a, const char* b, size_t n);

// Returns the end, in `s`, of the longest prefix common to both, compared as the locale's towlower
// has it. Null when the first units already differ; a terminator is such a unit, so two empty
// strings give `s`.
const wchar_t* striprefix_match(const wchar_t* s, const wchar_t* prefix);

// Case-insensitive order: 0 when equal, -1 when `a` sorts first, otherwise the difference of the two
// folded units, which is positive and at most INT_MAX. Units are signed, as wchar_t is.
int wcscasecmp(const wchar_t* a, const wchar_t* b);
// The same over at most `n` units; 0 for n = 0.
int wcsncasecmp(const wchar_t* a, const wchar_t* b, size_t n);
// On purpose: exactly wcscasecmp; digits are not compared as numbers.
int tstrcmplogical(const wchar_t* a, const wchar_t* b);

// The searches return a pointer into `s`, or null. Cost: the product of the lengths at worst.

// The first occurrence of `sub`, case-insensitive; stristr folds as strncasecmp does.
// On purpose: an empty `s` gives null, even for an empty `sub`.
const char* stristr(const char* s, const char* sub);
const wchar_t* tstristr(const wchar_t* s, const wchar_t* sub);
const wchar_t* tstritstr(const wchar_t* s, const wchar_t* sub);

// The first occurrence of `sub` that lies within the first `n` bytes of `s`; an empty `sub` gives
// `s`. Nothing beyond those bytes or the terminator is read.
const char* strnstr(const char* s, const char* sub, size_t n);

// The last occurrence of `sub`; an empty one is found at the terminator.
const char* strrstr(const char* s, const char* sub);
const wchar_t* tstrrstr(const wchar_t* s, const wchar_t* sub);

// True when the whole text matches one of the pattern's alternatives, which '|' separates. In an
// alternative '*' stands for any run of units, '?' for exactly one, anything else for itself,
// case-insensitive. An empty alternative matches the empty text.
// Cost: the product of the lengths at worst; no recursion, no allocation.
bool IsWildcardMatch(const wchar_t* pattern, const wchar_t* text);

// Copies `src` with its terminator and returns the address of the terminator in `dst`.
char* strcpy_e(char* dst, const char* src);
wchar_t* tstrcpy_e(wchar_t* dst, const wchar_t* src);
// The same into a destination of `size` characters.
// Requires: `src` fits with its terminator.
char* strncpy_e(char* dst, const char* src, size_t size);
wchar_t* tstrncpy_e(wchar_t* dst, const wchar_t* src, size_t size);
// Stores a terminator at dst[n], then copies `n` bytes; returns `dst`. The ranges may overlap.
char* strcpy_m(char* dst, const char* src, size_t n);

// Replaces every `from` by `to`, in place.
void str_replace(char* s, char from, char to);
void wstr_replace(wchar_t* s, wchar_t from, wchar_t to);

// Overwrites the first `ch` with a terminator and returns the position after it; null when `s` is
// null or has no `ch`. The terminator itself is never found.
char* my_strtok(char* s, char ch);
wchar_t* my_wstrtok(wchar_t* s, wchar_t ch);
// Returns the address of the first `ch`, or of the terminator. Changes nothing.
wchar_t* my_strtok2(wchar_t* s, wchar_t ch);

// Returns the token that starts at `*p` and moves `*p` past the separator, which becomes a
// terminator. Without a separator `*p` becomes null; a null `*p` gives null.
char* strsep(char** p, char sep);
wchar_t* strsep(wchar_t** p, wchar_t sep);

// Cuts off the first line: its line feed, and a carriage return just before that, become
// terminators. Returns the start of the next line; null when there is no line feed.
char* iter_lines(char* s);
wchar_t* iter_lines(wchar_t* s);

// True for tab and space only.
bool is_ws(char c);
// Advances `*p` past tabs and spaces and returns it.
const char* skip_ws_left(const char** p);

// Removes, in place, tabs, line feeds, carriage returns and spaces from the end, then tabs and spaces
// from the start. Returns `s`; null for null.
// On purpose: line feeds and carriage returns at the start stay.
char* trim(char* s);
wchar_t* trim(wchar_t* s);

// Returns a new string in which every '&' is doubled, so that it shows where '&' marks an
// accelerator; null for null.
wchar_t* stripaccelerators(const wchar_t* s);

// An owned slot is a pointer variable that owns its string, or null. The functions below free the
// slot's old string and store a new one; except where said, `s` may point into the old string.
// Requires: `s` is not the slot's own current string.

// Stores a copy of `s`; a copy of the empty string for null.
void str_set(wchar_t** p, const wchar_t* s);
// Stores a copy of `s`.
// Requires: `s` is not null.
void str_set_ansi(char** p, const char* s);
// Takes ownership of `s`; null stores a new empty string. `s` must not point into the old string.
void str_setx(wchar_t** p, wchar_t* s);
// Takes ownership of `s`, which may be null. `s` must not point into the old string.
void str_setx_ansi(char** p, char* s);
// Takes ownership of a non-empty `s`, which must not point into the old string. Null and the empty
// string store null; an empty `s` stays the caller's.
void str_setxy(wchar_t** p, wchar_t* s);
// Stores a copy of a non-empty `s`; null otherwise.
void str_sety(wchar_t** p, const wchar_t* s);
// Stores and returns `s` decoded as UTF-8, or in the locale's encoding when it is not valid UTF-8;
// null for null.
// Requires: `p` is not null.
wchar_t* utf8_to_tstr(wchar_t** p, const char* s);
// Frees the slot's string and stores null.
void str_free(wchar_t** p);
void str_free_ansi(char** p);

// Returns a new wide copy of `s`, converted from the locale's encoding; the empty string when that
// cannot be done, null for null.
wchar_t* to_unicode_alloc(const char* s);
// Returns a new copy of `s`; null for null.
wchar_t* to_unicode_alloc(const wchar_t* s);
char* to_ansi_alloc(const char* s);
// Returns a new copy of `s`, converted to the locale's encoding. Text that the encoding lacks is
// converted once more with every unit from 127 upward replaced as in to_ansi_char; null when that
// fails too, and for null. The text is measured and then converted; when another thread changed the locale
// in between, both are done again.
// Requires: that happens at most twice.
char* to_ansi_alloc(const wchar_t* s);
// Returns `s` itself.
const char* to_ansi(const char* s);
// One narrow character for `c`: the low 8 bits below 127, 'u' for the micro sign, '?' for the rest.
// On purpose: units are signed here, so 0xFFFFFFE9 counts as below 127.
char to_ansi_char(wchar_t c);

// Text that grows at its end. The terminator is stored only by AsString and StealString. What is
// appended must not lie in the buffer itself.
class StringBuffer : public LList<char> {
 public:
  ~StringBuffer() { Free(); }

  // Frees the text before its time; the buffer is empty then.
  void Free() { Resize(0); }

  // Appends one character, `n` characters, or a zero-terminated string.
  void Add(char ch);
  void Add(const char* s, size_t n);
  void Add(const char* s);

  // Appends formatted text (see core/format/strfmt.h), cut at 8191 characters.
  void AddFmt(const char* format, ...);

  // Returns the terminated text, never null and freed with MyFree, and leaves the buffer empty.
  char* StealString();

  // Returns the terminated text, never null. It stays the buffer's and is valid until the buffer changes.
  char* AsString();
};

class StringBufferT : public LList<wchar_t> {
 public:
  ~StringBufferT() { Free(); }

  // Frees the text before its time; the buffer is empty then.
  void Free() { Resize(0); }

  // Appends one unit, `n` units, or a zero-terminated string.
  void Add(wchar_t ch);
  void Add(const wchar_t* s, size_t n);
  void Add(const wchar_t* s);

  // Appends formatted text (see core/format/strfmt.h), cut at 1048576 units.
  void AddFmt(const wchar_t* format, ...);

  // Returns the terminated text, never null and freed with MyFree, and leaves the buffer empty.
  wchar_t* StealString();

  // Returns the terminated text, never null. It stays the buffer's and is valid until the buffer changes.
  wchar_t* AsString();
};

}  // namespace core
