// The two engines and the directives that they share.
#include "core/format/strfmt.h"

#include <limits.h>

#include "core/base/fatal.h"
#include "core/text/nustr.h"

namespace core {

namespace {

constexpr char kSource[] = "core/strfmt";
constexpr int kPortAddressLine = 536;
constexpr int kAddressLine = 543;
constexpr int kNarrowLimitLine = 653;
constexpr int kWideLimitLine = 713;

// Values below this are numbers passed where a string was meant.
constexpr uintptr_t kLowestPointer = 65536;

template <class C>
constexpr C kNullText[] = {'<', 'N', 'U', 'L', 'L', '>', 0};
template <class C>
constexpr C kErrorText[] = {'<', 'E', 'R', 'R', 'O', 'R', '>', 0};

// What stands between "%" and the conversion letter.
struct Directive {
  int width = -1;
  int precision = -1;
  char modifier = 0;
  unsigned flags = 0;
};

template <class C>
unsigned FlagOf(C c) {
  switch (c) {
    case '-':
      return kFormatLeft;
    case '+':
      return kFormatPlus;
    case ' ':
      return kFormatSpace;
    case '#':
      return kFormatAlt;
    case '0':
      return kFormatZero;
    case ':':
      return kFormatFixed;
    default:
      return 0;
  }
}

template <class C>
bool IsDigit(C c) {
  return c >= '0' && c <= '9';
}

// Reads the digits at `*p`, if any, and moves `*p` past them. A number that does not fit is INT_MAX.
template <class C>
int ParseDigits(const C** p, int absent) {
  if (!IsDigit(**p)) {
    return absent;
  }
  int64_t n = 0;
  for (; IsDigit(**p); ++*p) {
    n = n * 10 + (**p - '0');
    n = n < INT_MAX ? n : INT_MAX;
  }
  return static_cast<int>(n);
}

// Takes a "*" width: a negative one means left and its magnitude, which for INT_MIN is cut to INT_MAX.
void TakeWidth(Directive& d, FormatArgs& args) {
  d.width = va_arg(args.list, int);
  if (d.width < 0) {
    d.flags |= kFormatLeft;
    d.width = d.width == INT_MIN ? INT_MAX : -d.width;
  }
}

void TakePrecision(Directive& d, FormatArgs& args) {
  const int precision = va_arg(args.list, int);
  d.precision = precision < 0 ? 0 : precision;
}

// Reads a directive from behind its "%" and returns the address of its conversion letter.
template <class C>
const C* ParseDirective(const C* p, Directive& d, FormatArgs& args) {
  for (unsigned flag = FlagOf(*p); flag != 0; flag = FlagOf(*p)) {
    d.flags |= flag;
    ++p;
  }
  if (*p == '*') {
    ++p;
    TakeWidth(d, args);
  } else {
    d.width = ParseDigits(&p, -1);
  }
  if (*p == '.') {
    ++p;
    if (*p == '*') {
      ++p;
      TakePrecision(d, args);
    } else {
      // On purpose: a "." alone is no precision, not precision 0.
      d.precision = ParseDigits(&p, -1);
    }
  }
  // On purpose: one letter only, so that the second "l" of "%lld" is an unknown conversion.
  if (*p == 'l' || *p == 'L') {
    d.modifier = static_cast<char>(*p);
    ++p;
  }
  return p;
}

size_t BoundedLength(const char* text, size_t max) { return static_cast<size_t>(nustrnlen(text, max)); }
size_t BoundedLength(const wchar_t* text, size_t max) { return static_cast<size_t>(nuwstrnlen(text, max)); }

// The length of a terminated text as far as it can show: nothing is read behind the precision's
// characters, nor behind those that fit.
template <class C>
size_t VisibleLength(const FormatterOutputCallbackData& data, const C* text, int precision) {
  const size_t max = static_cast<size_t>(precision < 0 ? INT_MAX : precision);
  const uint64_t room = data.room();
  return BoundedLength(text, room < max ? static_cast<size_t>(room) : max);
}

template <class C>
void FormatString(FormatterOutputCallbackData& data, const C* text, const Directive& d) {
  if (text == nullptr) {
    text = kNullText<C>;
  } else if (reinterpret_cast<uintptr_t>(text) < kLowestPointer) {
    text = kErrorText<C>;
  }
  fmt_string(data, text, VisibleLength(data, text, d.precision), d.width, d.flags);
}

// Memory is taken as it comes, zero bytes included, unless no precision says how much there is.
void FormatMemory(FormatterOutputCallbackData& data, const char* bytes, int width, int precision, unsigned flags) {
  const size_t len = precision < 0 ? VisibleLength(data, bytes, precision) : static_cast<size_t>(precision);
  fmt_string(data, bytes, len, width, flags);
}

void FormatUrlEncoded(FormatterOutputCallbackData& data, const char* text, int precision) {
  if (text == nullptr) {
    text = kNullText<char>;
    fmt_urlencoded(data, text, VisibleLength(data, text, precision));
    return;
  }
  const size_t len = precision < 0 ? VisibleLength(data, text, precision) : static_cast<size_t>(precision);
  fmt_urlencoded(data, text, len);
}

void FormatHash(FormatterOutputCallbackData& data, const unsigned char* hash, unsigned flags) {
  for (int word = 0; word < 5; ++word) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
      value = value << 8 | hash[word * 4 + i];
    }
    fmt_number(data, value, 16, -1, 8, flags);
  }
}

// On purpose: only "L" means 64 bits; "l" is as narrow as no modifier.
uint64_t TakeSigned(FormatArgs& args, char modifier) {
  if (modifier == 'L') {
    return va_arg(args.list, uint64_t);
  }
  return static_cast<uint64_t>(int64_t{va_arg(args.list, int)});
}

uint64_t TakeUnsigned(FormatArgs& args, char modifier) {
  return modifier == 'L' ? va_arg(args.list, uint64_t) : va_arg(args.list, unsigned);
}

const SockAddr* TakeAddress(FormatArgs& args, int line) {
  const SockAddr* addr = va_arg(args.list, const SockAddr*);
  AssertAt(addr != nullptr, kSource, line);
  return addr;
}

// The directives whose argument is of the format's own width, or of the other one for "S".
template <class Other, class C>
void FormatOwnWidth(FormatterOutputCallbackData& data, C letter, const Directive& d, FormatArgs& args) {
  switch (letter) {
    case 's':
      FormatString<C>(data, va_arg(args.list, const C*), d);
      break;
    case 'S':
      FormatString<Other>(data, va_arg(args.list, const Other*), d);
      break;
    case 'c': {
      const C c = static_cast<C>(va_arg(args.list, int));
      fmt_string(data, &c, 1, d.width, d.flags);
      break;
    }
    default:
      break;
  }
}

template <class Other, class C>
void RunFormat(FormatterOutputCallbackData& data, const C* p, FormatArgs& args, int limit_line) {
  for (;;) {
    AssertAt(data.written <= data.limit, kSource, limit_line);
    const C* const run = p;
    while (*p != 0 && *p != '%') {
      ++p;
    }
    data.emit(run, static_cast<size_t>(p - run));
    if (*p == 0) {
      return;
    }
    Directive d;
    p = ParseDirective(p + 1, d, args);
    if (*p == 0) {
      return;
    }
    const C letter = *p++;
    const bool ascii = static_cast<uint32_t>(letter) < 128;
    if (!ascii || !fd_format_switch(data, static_cast<char>(letter), d.width, d.precision, d.modifier, d.flags, args)) {
      FormatOwnWidth<Other>(data, letter, d, args);
    }
  }
}

}  // namespace

void fd_formatter(FormatterOutputCallbackData& data, const char* format, va_list args) {
  FormatArgs own;
  va_copy(own.list, args);
  RunFormat<wchar_t>(data, format, own, kNarrowLimitLine);
  va_end(own.list);
}

void fd_formatter_wchar(FormatterOutputCallbackData& data, const wchar_t* format, va_list args) {
  FormatArgs own;
  va_copy(own.list, args);
  RunFormat<char>(data, format, own, kWideLimitLine);
  va_end(own.list);
}

bool fd_format_switch(FormatterOutputCallbackData& data, char conversion, int width, int precision, char modifier,
                      unsigned flags, FormatArgs& args) {
  switch (conversion) {
    case '%':
      data.emit("%", 1);
      return true;
    case 'd':
    case 'i':
      fmt_number(data, TakeSigned(args, modifier), 10, width, precision, flags | kFormatSigned);
      return true;
    case 'u':
      fmt_number(data, TakeUnsigned(args, modifier), 10, width, precision, flags);
      return true;
    case 'o':
      fmt_number(data, TakeUnsigned(args, modifier), 8, width, precision, flags);
      return true;
    case 'x':
      fmt_number(data, TakeUnsigned(args, modifier), 16, width, precision, flags);
      return true;
    case 'X':
      fmt_number(data, TakeUnsigned(args, modifier), 16, width, precision, flags | kFormatUpper);
      return true;
    case 'b':
      fmt_number(data, TakeUnsigned(args, modifier), 2, width, precision, flags);
      return true;
    case 'p':
      fmt_number(data, reinterpret_cast<uintptr_t>(va_arg(args.list, const void*)), 16, width,
                 precision < 0 ? 16 : precision, flags | kFormatAlt);
      return true;
    case 'f':
      fmt_double(data, va_arg(args.list, double), width, precision, flags);
      return true;
    case 'm':
      FormatMemory(data, va_arg(args.list, const char*), width, precision, flags);
      return true;
    case 'U':
      FormatUrlEncoded(data, va_arg(args.list, const char*), precision);
      return true;
    case 'I':
      fmt_ip(data, va_arg(args.list, uint32_t), width, precision, flags);
      return true;
    case 'V':
      fmt_ip_v6(data, va_arg(args.list, in6_addr), width, precision, flags);
      return true;
    case 'a':
      fmt_addr(data, TakeAddress(args, kAddressLine), width, precision, flags);
      return true;
    case 'A':
      fmt_addr(data, TakeAddress(args, kPortAddressLine), width, precision, flags | kFormatPort);
      return true;
    case 'h':
      FormatHash(data, va_arg(args.list, const unsigned char*), flags);
      return true;
    case 'H':
      FormatHash(data, va_arg(args.list, const unsigned char*), flags | kFormatUpper);
      return true;
    case 'Z':
      fmt_size(data, va_arg(args.list, uint64_t), width, flags);
      return true;
    case 'z':
      fmt_size(data, va_arg(args.list, uint64_t), width, flags | kFormatForceUnit);
      return true;
    default:
      return false;
  }
}

}  // namespace core
