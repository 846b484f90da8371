#include "fuzz/models/format_model_parts.h"

#include <arpa/inet.h>
#include <string.h>

#include <algorithm>
#include <cmath>

#include "core/net/sockaddr.h"

namespace format_model {

namespace {

constexpr uint64_t kOutOfRange = uint64_t{1} << 63;

std::string DigitsOf(uint64_t value, unsigned base, bool upper) {
  std::string digits;
  do {
    const char c = "0123456789abcdef"[value % base];
    digits.insert(digits.begin(), upper && c >= 'a' ? static_cast<char>(c - 32) : c);
    value /= base;
  } while (value != 0);
  return digits;
}

// The digits by the precision, as far as `room` can show them; `length` is that of the whole.
std::string WithPrecision(const std::string& digits, const Directive& d, uint64_t room, int64_t* length) {
  const int64_t n = static_cast<int64_t>(digits.size());
  const int64_t missing = std::max<int64_t>(d.precision - n, 0);
  *length = n + missing;
  std::string filled(static_cast<size_t>(std::min<uint64_t>(static_cast<uint64_t>(missing), room)), '0');
  filled += digits;
  if (!d.fixed || d.precision < 0) {
    return filled;
  }
  if (n > d.precision) {
    *length += 1;
    return filled.insert(static_cast<size_t>(n - d.precision), ".");
  }
  *length += 2;
  return "0." + filled;
}

uint64_t Unsigned64(double v) { return v > -1 && v < 18446744073709551616.0 ? static_cast<uint64_t>(v) : kOutOfRange; }

int64_t Signed64(double v) {
  return v >= -9223372036854775808.0 && v < 9223372036854775808.0 ? static_cast<int64_t>(v) : INT64_MIN;
}

// The decimals of a fraction: how many zeros lead, and what is left of it then, times ten.
int64_t LeadingZeros(double& v, int64_t decimals) {
  if (v == 0) {
    return decimals;
  }
  int64_t zeros = 0;
  for (; v < 1 && zeros < decimals; ++zeros) {
    v *= 10;
  }
  return zeros;
}

}  // namespace

void Number(Output& out, uint64_t value, unsigned base, const Directive& d) {
  int64_t width = d.width;
  std::string front;
  if (d.is_signed && value >= kOutOfRange) {
    value = 0 - value;
    front = "-";
  } else if (d.is_signed && (d.plus || d.space)) {
    front = d.plus ? "+" : "0";
  }
  if (d.alt) {
    front += "0x";
  }
  width -= static_cast<int64_t>(front.size());
  int64_t length = 0;
  const std::string digits = WithPrecision(DigitsOf(value, base, d.upper), d, out.Room(), &length);
  const int64_t pad = width - length;
  out.Repeat(' ', d.left || d.zero ? 0 : pad);
  out.Put(front);
  out.Repeat('0', d.zero ? pad : 0);
  out.Put(digits);
  out.Repeat(' ', d.left && !d.zero ? pad : 0);
}

void Double(Output& out, uint64_t bits, const Directive& d) {
  double value;
  memcpy(&value, &bits, sizeof value);
  const size_t start = out.cells().size();
  const int64_t whole = Signed64(value);
  Directive part = d;
  part.width = part.precision = -1;
  part.is_signed = true;
  Number(out, static_cast<uint64_t>(whole), 10, part);
  out.Put(".");
  int64_t decimals = d.precision >= 0 ? d.precision : 6;
  double v = std::fabs(value - static_cast<double>(whole)) * 10;
  const int64_t zeros = LeadingZeros(v, decimals);
  out.Repeat('0', zeros);
  decimals -= zeros;
  for (int64_t i = 1; i < decimals && v != 0 && std::isfinite(v); ++i) {
    v *= 10;
  }
  if (v != 0) {
    part.is_signed = false;
    part.width = d.precision >= 0 ? decimals : -1;
    Number(out, Unsigned64(v + 0.5), 10, part);
  }
  out.PadSince(start, d.width);
}

void Text(Output& out, std::vector<Cell> text, const Directive& d) {
  text.resize(static_cast<size_t>(std::min<uint64_t>(text.size(), out.Room())));
  if (text.empty()) {
    return;
  }
  const int64_t pad = d.width - static_cast<int64_t>(text.size());
  out.Repeat(' ', d.left ? 0 : pad);
  for (const Cell& cell : text) {
    out.Put(cell);
  }
  out.Repeat(' ', d.left ? pad : 0);
}

void UrlEncoded(Output& out, const std::vector<Cell>& bytes) {
  for (const Cell& cell : bytes) {
    const uint32_t c = cell.code;
    const bool copied = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
                        c == '_' || c == '.' || c == '~';
    if (copied) {
      out.Put(cell);
    } else {
      out.Put({'%', "0123456789abcdef"[c / 16], "0123456789abcdef"[c % 16]});
    }
  }
}

void Ip4(Output& out, uint32_t address, const Directive& d) {
  const size_t start = out.cells().size();
  const bool three_digits = d.zero && d.left && d.width != 0;
  Directive octet = d;
  octet.width = three_digits ? 3 : d.zero ? d.width : 0;
  for (unsigned shift : {24U, 16U, 8U, 0U}) {
    Number(out, address >> shift & 255, 10, octet);
    out.Put(shift != 0 ? "." : "");
  }
  if (three_digits || !d.zero) {
    out.PadSince(start, d.width);
  }
}

void Ip6(Output& out, const uint64_t (&halves)[2], const Directive& d) {
  char text[64] = "<ERROR>";
  inet_ntop(AF_INET6, halves, text, sizeof text);
  std::vector<Cell> cells;
  for (int64_t i = 0; text[i] != 0 && i != d.precision; ++i) {
    cells.push_back({false, static_cast<unsigned char>(text[i])});
  }
  Text(out, cells, d);
}

void Address(Output& out, uint64_t pointer, bool with_port, const Directive& d) {
  const core::SockAddr& address = *reinterpret_cast<const core::SockAddr*>(pointer);
  const unsigned char* bytes = address.address.s6_addr;
  const unsigned char mapped[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 255};
  const size_t start = out.cells().size();
  Directive inner = d;
  inner.width = 0;
  if (address.family == AF_INET || memcmp(bytes, mapped, sizeof mapped) == 0) {
    uint32_t ip = 0;
    for (int i = 12; i < 16; ++i) {
      ip = ip << 8 | bytes[i];
    }
    Ip4(out, ip, inner);
  } else {
    uint64_t halves[2];
    memcpy(halves, bytes, sizeof halves);
    out.Put(with_port ? "[" : "");
    Ip6(out, halves, inner);
    out.Put(with_port ? "]" : "");
  }
  if (with_port) {
    Directive port;
    port.width = 0;
    port.precision = d.precision;
    out.Put(":");
    Number(out, address.port, 10, port);
  }
  out.PadSince(start, d.width);
}

void Hash(Output& out, uint64_t pointer, const Directive& d) {
  const unsigned char* bytes = reinterpret_cast<const unsigned char*>(pointer);
  Directive word = d;
  word.width = 0;
  word.precision = 8;
  for (int i = 0; i < 5; ++i, bytes += 4) {
    const uint32_t value = uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
    Number(out, value, 16, word);
  }
}

void Size(Output& out, uint64_t count, bool never_bytes, const Directive& d) {
  const size_t start = out.cells().size();
  const uint64_t hundredths = count * 100;
  // The largest count of hundredths that each unit shows.
  const struct {
    uint64_t most;
    unsigned shift;
    const char* unit;
  } kUnits[] = {{104857599, 10, "kB"},
                {107374182399, 20, "MB"},
                {109951162777599, 30, "GB"},
                {112589990684262399, 40, "TB"},
                {(uint64_t{1} << 62) - 1, 50, "PB"},
                {UINT64_MAX, 60, "EB"}};
  Directive number = d;
  number.is_signed = true;
  number.alt = false;
  number.width = number.precision = -1;
  uint64_t shown = count;
  std::string unit = "B";
  if (never_bytes || hundredths >= 102400) {
    size_t row = 0;
    while (hundredths > kUnits[row].most) {
      ++row;
    }
    unit = kUnits[row].unit;
    shown = hundredths >> kUnits[row].shift;
    const bool adaptive = d.alt && shown != 0;
    number.precision = !adaptive ? 1 : shown >= 10000 ? 0 : shown >= 1000 ? 1 : 2;
    number.fixed = number.precision != 0;
    shown /= number.precision == 0 ? 100 : number.precision == 1 ? 10 : 1;
  }
  Number(out, static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(static_cast<uint32_t>(shown)))), 10,
         number);
  out.Put(" ");
  for (char c : unit) {
    out.Put(Cell{true, static_cast<unsigned char>(c)});
  }
  out.PadSince(start, d.width);
}

}  // namespace format_model
