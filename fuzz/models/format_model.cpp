#include "fuzz/models/format_model.h"

#include <limits.h>

#include <algorithm>

#include "fuzz/models/format_model_parts.h"

namespace format_model {

void Output::Put(Cell cell) {
  if (Room() > 0) {
    cells_.push_back(cell);
  }
}

void Output::Put(const std::string& text) {
  for (char c : text) {
    Put(Cell{false, static_cast<unsigned char>(c)});
  }
}

void Output::Repeat(char c, int64_t count) {
  for (int64_t i = 0; i < count && Room() > 0; ++i) {
    Put(std::string(1, c));
  }
}

void Output::PadSince(size_t start, int64_t width) { Repeat(' ', width - static_cast<int64_t>(cells_.size() - start)); }

namespace {

using Units = std::vector<Cell>;

struct Reader {
  const std::u32string& format;
  const std::vector<uint64_t>& arguments;
  size_t at = 0;
  size_t next_argument = 0;

  char32_t Peek() const { return at < format.size() ? format[at] : 0; }
  uint64_t Argument() { return arguments.at(next_argument++); }
  int IntArgument() { return static_cast<int>(static_cast<uint32_t>(Argument())); }

  int64_t Digits() {
    int64_t value = 0;
    for (; Peek() >= '0' && Peek() <= '9'; ++at) {
      value = std::min<int64_t>(value * 10 + (Peek() - '0'), INT_MAX);
    }
    return value;
  }
};

bool IsDigit(char32_t c) { return c >= '0' && c <= '9'; }

void ReadFlags(Reader& in, Directive& d) {
  for (;; ++in.at) {
    switch (in.Peek()) {
      case ' ':
        d.space = true;
        break;
      case '#':
        d.alt = true;
        break;
      case '+':
        d.plus = true;
        break;
      case '-':
        d.left = true;
        break;
      case '0':
        d.zero = true;
        break;
      case ':':
        d.fixed = true;
        break;
      default:
        return;
    }
  }
}

void ReadWidth(Reader& in, Directive& d) {
  if (in.Peek() == '*') {
    ++in.at;
    const int64_t width = in.IntArgument();
    d.left |= width < 0;
    d.width = std::min<int64_t>(width < 0 ? -width : width, INT_MAX);
  } else if (IsDigit(in.Peek())) {
    d.width = in.Digits();
  }
}

void ReadPrecision(Reader& in, Directive& d) {
  if (in.Peek() != '.') {
    return;
  }
  ++in.at;
  if (in.Peek() == '*') {
    ++in.at;
    d.precision = std::max(in.IntArgument(), 0);
  } else if (IsDigit(in.Peek())) {
    d.precision = in.Digits();
  }
}

template <class C>
Units TextOf(const C* text, int64_t most) {
  Units units;
  for (int64_t i = 0; i != most && text[i] != 0; ++i) {
    const uint32_t code = sizeof(C) == 1 ? static_cast<unsigned char>(text[i]) : static_cast<uint32_t>(text[i]);
    units.push_back({sizeof(C) != 1, code});
  }
  return units;
}

Units StringAt(uint64_t pointer, bool wide, int64_t most) {
  if (pointer < 65536) {
    return wide ? TextOf(pointer == 0 ? L"<NULL>" : L"<ERROR>", most)
                : TextOf(pointer == 0 ? "<NULL>" : "<ERROR>", most);
  }
  return wide ? TextOf(reinterpret_cast<const wchar_t*>(pointer), most)
              : TextOf(reinterpret_cast<const char*>(pointer), most);
}

Units BytesAt(uint64_t pointer, int64_t precision) {
  const char* bytes = reinterpret_cast<const char*>(pointer);
  if (precision < 0) {
    return TextOf(bytes, -1);
  }
  Units units;
  for (int64_t i = 0; i < precision; ++i) {
    units.push_back({false, static_cast<unsigned char>(bytes[i])});
  }
  return units;
}

uint64_t Integer(Reader& in, char32_t modifier, bool is_signed) {
  const uint64_t slot = in.Argument();
  if (modifier == 'L') {
    return slot;
  }
  const uint32_t low = static_cast<uint32_t>(slot);
  return is_signed ? static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(low))) : low;
}

void Convert(Output& out, Reader& in, bool wide, char32_t modifier, char32_t letter, Directive d) {
  switch (letter) {
    case '%':
      out.Put("%");
      break;
    case 'd':
    case 'i':
      d.is_signed = true;
      Number(out, Integer(in, modifier, true), 10, d);
      break;
    case 'u':
      Number(out, Integer(in, modifier, false), 10, d);
      break;
    case 'o':
      Number(out, Integer(in, modifier, false), 8, d);
      break;
    case 'b':
      Number(out, Integer(in, modifier, false), 2, d);
      break;
    case 'X':
      d.upper = true;
      [[fallthrough]];
    case 'x':
      Number(out, Integer(in, modifier, false), 16, d);
      break;
    case 'p':
      d.alt = true;
      d.precision = d.precision < 0 ? 16 : d.precision;
      Number(out, in.Argument(), 16, d);
      break;
    case 'f':
      Double(out, in.Argument(), d);
      break;
    case 's':
      Text(out, StringAt(in.Argument(), wide, d.precision), d);
      break;
    case 'S':
      Text(out, StringAt(in.Argument(), !wide, d.precision), d);
      break;
    case 'c': {
      const uint32_t code = static_cast<uint32_t>(in.Argument());
      Text(out, {{wide, wide ? code : code % 256}}, d);
      break;
    }
    case 'm':
      Text(out, BytesAt(in.Argument(), d.precision), d);
      break;
    case 'U': {
      const uint64_t pointer = in.Argument();
      UrlEncoded(out, pointer == 0 ? TextOf("<NULL>", d.precision) : BytesAt(pointer, d.precision));
      break;
    }
    case 'I':
      Ip4(out, static_cast<uint32_t>(in.Argument()), d);
      break;
    case 'V': {
      const uint64_t halves[2] = {in.Argument(), in.Argument()};
      Ip6(out, halves, d);
      break;
    }
    case 'a':
      Address(out, in.Argument(), false, d);
      break;
    case 'A':
      Address(out, in.Argument(), true, d);
      break;
    case 'H':
      d.upper = true;
      [[fallthrough]];
    case 'h':
      Hash(out, in.Argument(), d);
      break;
    case 'Z':
      Size(out, in.Argument(), false, d);
      break;
    case 'z':
      Size(out, in.Argument(), true, d);
      break;
    default:
      break;
  }
}

void RunDirective(Output& out, Reader& in, bool wide) {
  Directive d;
  ReadFlags(in, d);
  ReadWidth(in, d);
  ReadPrecision(in, d);
  char32_t modifier = 0;
  if (in.Peek() == 'l' || in.Peek() == 'L') {
    modifier = in.format[in.at++];
  }
  const char32_t letter = in.format.at(in.at++);
  Convert(out, in, wide, modifier, letter, d);
}

}  // namespace

Output Run(const std::u32string& format, bool wide, const std::vector<uint64_t>& arguments, uint64_t limit) {
  Output out(limit);
  Reader in{format, arguments};
  while (in.at < format.size()) {
    const char32_t c = format[in.at++];
    if (c == '%') {
      RunDirective(out, in, wide);
    } else {
      out.Put(Cell{wide, static_cast<uint32_t>(c)});
    }
  }
  return out;
}

}  // namespace format_model
