// The writers of integers, fixed decimals and byte counts.
#include <math.h>
#include <string.h>

#include "core/format/decimal.h"
#include "core/format/strfmt.h"

namespace core {

namespace {

constexpr char kLowerDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
constexpr char kUpperDigits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr size_t kNumberArea = 100;

// Text that is written from its end.
struct BackwardText {
  char area[kNumberArea];
  char* at = area + kNumberArea;

  size_t len() const { return static_cast<size_t>(area + kNumberArea - at); }
  void Prepend(char c) { *--at = c; }
  void Prepend(const char* text, size_t n) {
    at -= n;
    memcpy(at, text, n);
  }
  void PrependZeros(size_t n) {
    at -= n;
    memset(at, '0', n);
  }
  // Puts a point before the last `n` characters.
  void InsertPoint(size_t n) {
    memmove(at - 1, at, len() - n);
    --at;
    area[kNumberArea - n - 1] = '.';
  }
};

// The zeros that always fit the area beside 64 digits, a sign, "0x" and "0.".
constexpr size_t kMaxFillInArea = kNumberArea - 64 - 5;

// The parts of a number, without its padding: sign, "0x", "0.", fill, text.
struct Number {
  BackwardText text;
  char sign = 0;
  bool prefix = false;
  bool point_before_fill = false;
  size_t fill = 0;  // zeros that did not fit the area

  int64_t len() const {
    return (sign != 0 ? 1 : 0) + (prefix ? 2 : 0) + (point_before_fill ? 2 : 0) +
           static_cast<int64_t>(fill + text.len());
  }
};

void PrependDigits(BackwardText& text, uint64_t value, unsigned base, unsigned flags) {
  if (base == 10) {
    text.at = PrependDecimal(text.at, value);
    return;
  }
  const char* alphabet = (flags & kFormatUpper) != 0 ? kUpperDigits : kLowerDigits;
  do {
    text.Prepend(alphabet[value % base]);
    value /= base;
  } while (value != 0);
}

// Fills with zeros up to the precision and, in fixed point, sets the point.
void ApplyPrecision(Number& number, int precision, unsigned flags) {
  if (precision < 0) {
    return;
  }
  BackwardText& text = number.text;
  const size_t digits = text.len();
  const size_t wanted = static_cast<size_t>(precision);
  const bool fixed = (flags & kFormatFixed) != 0;
  if (digits > wanted) {
    if (fixed) {
      text.InsertPoint(wanted);
    }
    return;
  }
  number.fill = wanted - digits;
  number.point_before_fill = fixed;
  if (number.fill <= kMaxFillInArea) {
    text.PrependZeros(number.fill);
    if (fixed) {
      text.Prepend("0.", 2);
    }
    number.fill = 0;
    number.point_before_fill = false;
  }
}

void PadBy(FormatterOutputCallbackData& data, char ch, int64_t pad) {
  if (pad > 0) {
    data.do_pad(ch, static_cast<int>(pad));
  }
}

void EmitNumber(FormatterOutputCallbackData& data, Number& number, int64_t zero_pad) {
  BackwardText& text = number.text;
  BackwardText head;
  const bool one_run = number.fill == 0 && zero_pad <= 0;
  BackwardText& front = one_run ? text : head;
  if (number.prefix) {
    front.Prepend("0x", 2);
  }
  if (number.sign != 0) {
    front.Prepend(number.sign);
  }
  data.emit(head.at, head.len());
  PadBy(data, '0', zero_pad);
  if (number.point_before_fill) {
    data.emit("0.", 2);
  }
  data.repeat('0', number.fill);
  data.emit(text.at, text.len());
}

// The sign character, or 0 for none. A negative `value` becomes its magnitude.
char TakeSign(uint64_t& value, unsigned flags) {
  if ((flags & kFormatSigned) == 0) {
    return 0;
  }
  if (static_cast<int64_t>(value) < 0) {
    value = 0 - value;
    return '-';
  }
  if ((flags & kFormatPlus) != 0) {
    return '+';
  }
  // On purpose: a "0", not a blank.
  return (flags & kFormatSpace) != 0 ? '0' : '\0';
}

// Conversions from double that are defined for every value: what is out of range, or no number,
// gives what the conversion instruction of x86-64 gives.
uint64_t TruncateSigned(double v) {
  return v >= -0x1p63 && v < 0x1p63 ? static_cast<uint64_t>(static_cast<int64_t>(v)) : uint64_t{1} << 63;
}
uint64_t TruncateUnsigned(double v) { return v >= 0 && v < 0x1p64 ? static_cast<uint64_t>(v) : uint64_t{1} << 63; }

// Scales `v` by ten until it is 1 or more and returns the number of steps, at most `max`.
int CountLeadingZeros(double& v, int max) {
  if (v == 0) {
    return max;
  }
  int zeros = 0;
  while (v < 1 && zeros < max) {
    v *= 10;
    ++zeros;
  }
  return zeros;
}

struct SizeUnit {
  uint64_t below;  // the first count, in hundredths of a byte, that needs a larger unit
  int shift;
  const wchar_t* name;
};
constexpr size_t kUnitNameLength = 2;
constexpr uint64_t kFirstScaled = 102400;
constexpr SizeUnit kSizeUnits[] = {
    {uint64_t{100} << 20, 10, L"kB"},
    {uint64_t{100} << 30, 20, L"MB"},
    {uint64_t{100} << 40, 30, L"GB"},
    {uint64_t{100} << 50, 40, L"TB"},
    // On purpose: the product wraps to 2^62, so that exabytes begin there.
    {100 * _EB, 50, L"PB"},
    {UINT64_MAX, 60, L"EB"},
};
static_assert(100 * _EB == uint64_t{1} << 62);

const SizeUnit& UnitFor(uint64_t hundredths) {
  const SizeUnit* unit = kSizeUnits;
  while (unit->shift != 60 && hundredths >= unit->below) {
    ++unit;
  }
  return *unit;
}

// Writes `number` with `decimals` of its digits behind the point; -1 writes it without a point.
void FormatSizeNumber(FormatterOutputCallbackData& data, int32_t number, int decimals, unsigned flags) {
  fmt_number(data, static_cast<uint64_t>(int64_t{number}), 10, -1, decimals,
             (flags & ~kFormatAlt) | kFormatFixed | kFormatSigned);
}

// Writes hundredths of a unit with one decimal, or with as many as leave three digits.
void FormatScaledSize(FormatterOutputCallbackData& data, int32_t hundredths, unsigned flags) {
  const bool adaptive = (flags & kFormatAlt) != 0 && hundredths != 0;
  if (adaptive && hundredths >= 10000) {
    FormatSizeNumber(data, hundredths / 100, -1, flags);
  } else if (adaptive && hundredths < 1000) {
    FormatSizeNumber(data, hundredths, 2, flags);
  } else {
    FormatSizeNumber(data, hundredths / 10, 1, flags);
  }
}

}  // namespace

void fmt_number(FormatterOutputCallbackData& data, uint64_t value, int base, int width, int precision, unsigned flags) {
  if (base < 2 || base > 36) {
    return;
  }
  Number number;
  number.sign = TakeSign(value, flags);
  number.prefix = (flags & kFormatAlt) != 0;
  PrependDigits(number.text, value, static_cast<unsigned>(base), flags);
  ApplyPrecision(number, precision, flags);
  const int64_t pad = width - number.len();
  const bool zero = (flags & kFormatZero) != 0;
  const bool left = (flags & kFormatLeft) != 0;
  if (!left && !zero) {
    PadBy(data, ' ', pad);
  }
  EmitNumber(data, number, zero ? pad : 0);
  if (left && !zero) {
    PadBy(data, ' ', pad);
  }
}

void fmt_double(FormatterOutputCallbackData& data, double value, int width, int precision, unsigned flags) {
  const uint64_t start = data.written;
  const uint64_t whole = TruncateSigned(value);
  fmt_number(data, whole, 10, -1, -1, flags | kFormatSigned);
  data.emit(".", 1);
  double v = fabs(value - static_cast<double>(static_cast<int64_t>(whole))) * 10;
  int digits = precision < 0 ? 6 : precision;
  const int zeros = CountLeadingZeros(v, digits);
  data.repeat('0', static_cast<uint64_t>(zeros));
  digits -= zeros;
  for (int i = 1; i < digits && isfinite(v); ++i) {
    v *= 10;
  }
  if (v != 0) {
    fmt_number(data, TruncateUnsigned(v + 0.5), 10, precision < 0 ? -1 : digits, -1, flags);
  }
  data.pad_since(start, width);
}

void fmt_size(FormatterOutputCallbackData& data, uint64_t count, int width, unsigned flags) {
  const uint64_t start = data.written;
  const uint64_t hundredths = count * 100;  // wraps for counts that no storage has
  if (hundredths < kFirstScaled && (flags & kFormatForceUnit) == 0) {
    // On purpose: a count whose hundredths wrapped to a small number shows its low 32 bits.
    FormatSizeNumber(data, static_cast<int32_t>(count), -1, flags);
    data.emit(" ", 1);
    data.emit(L"B", 1);
  } else {
    const SizeUnit& unit = UnitFor(hundredths);
    FormatScaledSize(data, static_cast<int32_t>(hundredths >> unit.shift), flags);
    data.emit(" ", 1);
    data.emit(unit.name, kUnitNameLength);
  }
  data.pad_since(start, width);
}

}  // namespace core
