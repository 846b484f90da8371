// What reaches the sinks: clipping, padding, texts and addresses.
#include <arpa/inet.h>
#include <string.h>

#include "core/base/fatal.h"
#include "core/containers/templates.h"
#include "core/format/strfmt.h"

namespace core {

namespace {

constexpr char kSource[] = "core/strfmt";
constexpr int kPadLine = 133;
constexpr int kUrlEncodedLine = 431;

// The longest IPv6 text without an embedded IPv4 address, with its terminator.
constexpr size_t kIPv6TextSize = 40;

size_t Smaller(uint64_t a, size_t b) { return a < b ? static_cast<size_t>(a) : b; }

template <class C>
void FormatText(FormatterOutputCallbackData& data, const C* text, size_t n, int width, unsigned flags) {
  const size_t shown = Smaller(data.room(), n);
  if (shown == 0) {
    return;
  }
  const bool padded = width > 0 && static_cast<size_t>(width) > shown;
  const int pad = padded ? static_cast<int>(static_cast<size_t>(width) - shown) : 0;
  if ((flags & kFormatLeft) == 0) {
    data.do_pad(' ', pad);
  }
  data.emit(text, shown);
  if ((flags & kFormatLeft) != 0) {
    data.do_pad(' ', pad);
  }
}

bool IsUrlPlain(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
         c == '.' || c == '~';
}

char* UrlEncodeByte(char* dst, unsigned char c) {
  constexpr char kHex[] = "0123456789abcdef";
  if (IsUrlPlain(c)) {
    *dst++ = static_cast<char>(c);
    return dst;
  }
  *dst++ = '%';
  *dst++ = kHex[c >> 4];
  *dst++ = kHex[c & 15];
  return dst;
}

}  // namespace

void FormatterOutputCallbackData::checklimit(int& n) const {
  const uint64_t left = room();
  if (n > 0 && static_cast<uint64_t>(n) > left) {
    n = static_cast<int>(left);
  }
}

void FormatterOutputCallbackData::emit(const char* text, size_t n) {
  const size_t shown = Smaller(room(), n);
  if (shown != 0) {
    out(*this, text, shown);
    written += shown;
  }
}

void FormatterOutputCallbackData::emit(const wchar_t* text, size_t n) {
  const size_t shown = Smaller(room(), n);
  if (shown != 0) {
    outw(*this, text, shown);
    written += shown;
  }
}

void FormatterOutputCallbackData::repeat(char ch, uint64_t count) {
  char run[256];
  uint64_t left = count < room() ? count : room();
  memset(run, ch, Smaller(left, sizeof run));
  while (left != 0) {
    const size_t n = Smaller(left, sizeof run);
    emit(run, n);
    left -= n;
  }
}

int FormatterOutputCallbackData::do_pad(char ch, int count) {
  checklimit(count);
  if (count == 0) {
    return 0;
  }
  AssertAt(count > 0 && static_cast<size_t>(count) < GetMaxStackSize() / 2, kSource, kPadLine);
  repeat(ch, static_cast<uint64_t>(count));
  return count;
}

void FormatterOutputCallbackData::pad_since(uint64_t start, int width) {
  const uint64_t done = written - start;
  if (width > 0 && static_cast<uint64_t>(width) > done) {
    do_pad(' ', width - static_cast<int>(done));
  }
}

void fmt_string(FormatterOutputCallbackData& data, const char* text, size_t len, int width, unsigned flags) {
  FormatText(data, text, len, width, flags);
}

void fmt_string(FormatterOutputCallbackData& data, const wchar_t* text, size_t units, int width, unsigned flags) {
  FormatText(data, text, units, width, flags);
}

void fmt_urlencoded(FormatterOutputCallbackData& data, const char* text, size_t len) {
  const size_t read = Smaller(data.room(), len);
  AssertAt(read < GetMaxStackSize() && 3 * read < GetMaxStackSize() / 2, kSource, kUrlEncodedLine);
  char chunk[256];
  char* end = chunk;
  for (size_t i = 0; i < read; ++i) {
    if (chunk + sizeof chunk - end < 3) {
      data.emit(chunk, static_cast<size_t>(end - chunk));
      end = chunk;
    }
    end = UrlEncodeByte(end, static_cast<unsigned char>(text[i]));
  }
  data.emit(chunk, static_cast<size_t>(end - chunk));
}

void fmt_ip(FormatterOutputCallbackData& data, uint32_t value, int width, int precision, unsigned flags) {
  const bool zero = (flags & kFormatZero) != 0;
  const bool left = (flags & kFormatLeft) != 0 && width != 0;
  const int octet_width = !zero ? 0 : left ? 3 : width;
  const uint64_t start = data.written;
  for (int shift = 24; shift >= 0; shift -= 8) {
    fmt_number(data, value >> shift & 255, 10, octet_width, precision, flags);
    if (shift != 0) {
      data.emit(".", 1);
    }
  }
  if (!zero || left) {
    data.pad_since(start, width);
  }
}

void fmt_ip_v6(FormatterOutputCallbackData& data, const in6_addr& address, int width, int precision, unsigned flags) {
  char buf[kIPv6TextSize];
  const char* text = inet_ntop(AF_INET6, &address, buf, sizeof buf);
  if (text == nullptr) {
    text = "<ERROR>";
  }
  const size_t len = strlen(text);
  fmt_string(data, text, precision < 0 ? len : Smaller(len, static_cast<size_t>(precision)), width, flags);
}

}  // namespace core
