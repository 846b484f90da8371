// The formatter: one directive grammar, two character widths, four output sinks.
//
// A directive is "%", flags out of " #+-0:", a width, "." and a precision, "l" or "L", and a letter;
// "*" takes the width or the precision from the arguments. "l", like no modifier, means a 32-bit
// argument and "L" a 64-bit one. Beside d i u o x X p f s S c % the formatter knows %b (base 2), %I
// (IPv4), %V (IPv6), %a and %A (a SockAddr by address, without and with its port), %h and %H (20-byte
// hash), %U (URL-encoding), %Z and %z (byte counts with units), %m (memory) and the ":" flag (fixed
// point). %s is a string of the format's own width, %S one of the other. An unknown letter vanishes
// with its directive and takes no argument. Nothing here reports an error; output that does not fit is
// cut. No shared state: any number of threads may format at once.
#pragma once

#include <netinet/in.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

namespace core {

struct SockAddr;

// The longest text that an allocating front-end produces, in characters; more is cut.
constexpr uint64_t kAllocFormatLimit = 1048576;

// One exbibyte.
constexpr uint64_t _EB = uint64_t{1} << 60;

enum FormatFlags : unsigned {
  kFormatLeft = 1,    // pad on the right
  kFormatPlus = 2,    // "+" before signed numbers that are not negative
  kFormatSpace = 4,   // On purpose: "0", not a blank, before signed numbers that are not negative
  kFormatAlt = 8,     // "0x" before the digits in every base; sizes: adaptive decimals
  kFormatZero = 16,   // pad numbers with "0" after sign and prefix; wins over left
  kFormatUpper = 32,  // digits from the upper-case alphabet
  kFormatSigned = 64,
  kFormatFixed = 128,      // the precision counts digits after a decimal point
  kFormatPort = 256,       // socket addresses: brackets around IPv6, and the port
  kFormatForceUnit = 512,  // a size is never shown in bytes
};

// One formatting run: where its text goes and how much of it may go there. A front-end derives its
// sink's own state from this record. The order of the fields is part of the interface.
struct FormatterOutputCallbackData {
  using Out = void (*)(FormatterOutputCallbackData& data, const char* text, size_t n);
  using OutW = void (*)(FormatterOutputCallbackData& data, const wchar_t* text, size_t n);

  Out out;           // appends exactly `n` narrow characters
  OutW outw;         // appends exactly `n` wide characters
  uint64_t written;  // characters emitted so far, in the output's own width
  uint64_t limit;    // `written` never goes beyond it

  // The characters that still fit.
  uint64_t room() const { return written < limit ? limit - written : 0; }

  // Lowers `n` to the room that is left. A negative `n` stays as it is.
  void checklimit(int& n) const;

  // Emits as much of the text as fits, in one call of the sink of its width.
  void emit(const char* text, size_t n);
  void emit(const wchar_t* text, size_t n);

  // Emits as many of the `count` copies of `ch` as fit, in runs of at most 256.
  void repeat(char ch, uint64_t count);

  // Emits as many of the `count` copies of `ch` as fit, in runs of at most 256, and returns how many those
  // were.
  // Requires: what is left of `count` after that is not negative and smaller than half of
  // GetMaxStackSize().
  int do_pad(char ch, int count);

  // Pads with spaces so that what was emitted since `written` was `start` spans `width`.
  void pad_since(uint64_t start, int width);
};
static_assert(offsetof(FormatterOutputCallbackData, out) == 0);
static_assert(offsetof(FormatterOutputCallbackData, outw) == sizeof(void*));
static_assert(offsetof(FormatterOutputCallbackData, written) == 2 * sizeof(void*));
static_assert(offsetof(FormatterOutputCallbackData, limit) == 2 * sizeof(void*) + sizeof(uint64_t));
static_assert(sizeof(FormatterOutputCallbackData) == 2 * sizeof(void*) + 2 * sizeof(uint64_t));

// A variadic argument list that is handed on by reference: each directive takes what it needs. A va_list
// passed by value would do where it is an array, as on x86-64; where it is a pointer or a structure, as on
// arm64, the caller's would stay at the same argument.
struct FormatArgs {
  va_list list;
};

// Runs a whole format; the result is what the sinks received and `data.written`. The caller's `args`
// stay at their first argument.
// Requires: `data.written` <= `data.limit`, before and after every directive.
void fd_formatter(FormatterOutputCallbackData& data, const char* format, va_list args);
void fd_formatter_wchar(FormatterOutputCallbackData& data, const wchar_t* format, va_list args);

// Writes one directive whose letter means the same in both widths, taking its argument from `args`.
// Returns false, with nothing taken or written, when the letter is another. A `width` or `precision`
// of -1 is an absent one; `modifier` is 'l', 'L' or 0.
bool fd_format_switch(FormatterOutputCallbackData& data, char conversion, int width, int precision, char modifier,
                      unsigned flags, FormatArgs& args);

// The writers behind the directives. Each clips what it emits to the room left in `data`; narrow text
// goes through `out` and wide text through `outw`, whatever the output's width. `flags` is a union of
// FormatFlags; a `width` or `precision` of -1 is an absent one.

// Writes `text` padded with spaces to `width`.
// On purpose: a text that is empty, or for which no room is left, is not padded either.
void fmt_string(FormatterOutputCallbackData& data, const char* text, size_t len, int width, unsigned flags);
void fmt_string(FormatterOutputCallbackData& data, const wchar_t* text, size_t units, int width, unsigned flags);

// Writes `len` bytes with every byte but letters, digits and "-_.~" as "%" and two lower-case hex digits, in
// pieces of at most 256 characters.
// Requires: three times the smaller of `len` and the room is below half of GetMaxStackSize().
void fmt_urlencoded(FormatterOutputCallbackData& data, const char* text, size_t len);

// Writes `value` in `base`; nothing when the base is not in 2..36. Without the fixed flag the
// precision is the least number of digits.
void fmt_number(FormatterOutputCallbackData& data, uint64_t value, int base, int width, int precision, unsigned flags);

// Writes `value` with `precision` decimals, 6 when absent, padded on the right to `width`.
// On purpose: values between -1 and 0 lose their minus sign; a carry out of the decimals is not moved into
// the integer part but adds a digit ("%.2f" of 0.999 is "0.100"); a fraction that begins with as many
// zeros as there are decimals, without being zero, is written with one decimal more ("%.2f" of 0.001 is
// "0.001", "%.0f" of 2.25 is "2.3"), which a carry makes two ("%.2f" of 0.0099 is "0.0010"); and precision 0
// writes the point ("%.0f" of 2.0 is "2.").
void fmt_double(FormatterOutputCallbackData& data, double value, int width, int precision, unsigned flags);

// Writes an IPv4 address, most significant byte first, padded on the right to `width`. With the zero flag
// each octet is padded with zeros to `width` instead; with the left flag as well, and a width other than 0,
// each octet to 3 digits and the whole on the right to `width`. The precision and the other flags apply to
// each octet.
void fmt_ip(FormatterOutputCallbackData& data, uint32_t value, int width, int precision, unsigned flags);

// Writes an IPv6 address as the platform does, cut to `precision` characters.
void fmt_ip_v6(FormatterOutputCallbackData& data, const in6_addr& address, int width, int precision, unsigned flags);

// Writes a socket address, padded on the right to `width`: with the port flag as "1.2.3.4:80" or
// "[::1]:80", else without brackets and port. A mapped IPv4 value shows as IPv4. The precision goes to
// fmt_ip or fmt_ip_v6 and to the port, the other flags to the former alone.
// Requires: `addr` is not null.
void fmt_addr(FormatterOutputCallbackData& data, const SockAddr* addr, int width, int precision, unsigned flags);

// Writes a byte count with its unit ("512 B", "1.5 kB"), truncated to one decimal, padded on the right
// to `width`. The alt flag gives about three digits instead ("1.23 MB", "12.3 MB", "123 MB").
// On purpose: exabytes begin at 2^62 hundredths of a byte, near 41 PB, and show as "0.0 EB" and "0.1 EB";
// beyond 2^64 hundredths, near 164 PB, the count wraps and may show as bytes below zero.
void fmt_size(FormatterOutputCallbackData& data, uint64_t count, int width, unsigned flags);

// Formats into `buf`, which is always terminated; output that does not fit is cut.
//
// Returns the characters stored, never the number that would have been needed: `size` - 1 is the only
// sign of a cut. `size` counts characters; 0 writes nothing and returns 0.
int nuvsnprintf(char* buf, size_t size, const char* format, va_list args);
int nusnprintf(char* buf, size_t size, const char* format, ...);

// The same in wide characters. A narrow text widens byte by byte, zero-extended.
int nuwvsnprintf(wchar_t* buf, size_t size, const wchar_t* format, va_list args);
int nuwsnprintf(wchar_t* buf, size_t size, const wchar_t* format, ...);

// Formats into a new string, freed with MyFree and never null. Text beyond kAllocFormatLimit is cut.
// `*length`, unless null, receives the characters produced. Wide text keeps the low 8 bits of each
// character.
char* str_fmt(const char* format, ...);
char* vsprintf_alloc(const char* format, va_list args);
char* vsprintf_alloc_size(const char* format, size_t* length, va_list args);

// The same in wide characters.
// On purpose: a narrow text widens byte by byte, here sign-extended.
wchar_t* wstr_fmt(const wchar_t* format, ...);
wchar_t* vsprintf_alloc_wchar(const wchar_t* format, va_list args);
wchar_t* vsprintf_alloc_size_wchar(const wchar_t* format, size_t* length, va_list args);

// On purpose: accept a format and its arguments, print nothing and return 0.
int nuprintf(const char* format, ...);
int nuwprintf(const wchar_t* format, ...);

// Temporary strings: each call stores its result in a slot of the calling thread and frees what the
// slot held. Valid until the next call of the same name on this thread, or until the thread ends.
wchar_t* to_unicode(const char* s);
wchar_t* to_unicode(const wchar_t* s);
char* to_ansi(const wchar_t* s);

// Hands `s` (from the library's allocator, or null) to the thread's temporary slot and returns it.
// Passing the slot's own current string changes nothing.
wchar_t* str_temp(wchar_t* s);
char* str_temp_ansi(char* s);

}  // namespace core
