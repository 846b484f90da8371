#include "fuzz/support/format_input.h"

#include <limits.h>

#include <algorithm>
#include <limits>
#include <string_view>

#include "core/net/sockaddr.h"

namespace {

constexpr int64_t kLarge = 1000;  // widths and precisions above this are not tame
constexpr int kMostDirectives = 16;
constexpr int64_t kMostText = 40;

// Letters that take an argument, then some that are none: an "l" or "L" only behind a modifier.
constexpr char32_t kLetters[] = U"dddiuoxXbpffsSScmUIVaAhHZZz%egEGnqjtwkyDFT$!?~\"\\\x7F";
constexpr char32_t kByteLetters[] = {0x80, 0xC8, 0xE4, 0xFF};
constexpr char32_t kUnitLetters[] = {0x80, 0x149, 0x164, 0x10064, 0xFFFFFF73, 0x80000073, 0xFFFFFFFF};

bool Among(std::u32string_view letters, char32_t c) { return letters.find(c) != std::u32string_view::npos; }

}  // namespace

FormatInput::FormatInput(FuzzInput& in, bool wide) : in_(in), wide_(wide) {
  for (int i = 0; i < kMostDirectives && !in_.Empty(); ++i) {
    AddText();
    AddDirective();
  }
}

void FormatInput::AddText() {
  for (int64_t left = in_.Between(0, 7) - 3; left > 0; --left) {
    const uint32_t c = wide_ && in_.Flip() ? in_.Number<uint32_t>() : in_.Number<uint8_t>();
    format_ += c == 0 || c == '%' ? U'd' : static_cast<char32_t>(c);
  }
}

void FormatInput::AddDirective() {
  const uint8_t parts = in_.Number<uint8_t>();
  const bool modified = (parts & 3) == 3;
  const char32_t letter = PickLetter(modified);
  format_ += U'%';
  fixed_ = false;
  if ((parts & 4) != 0) {
    AddFlags(!Among(U"fZz", letter));
  }
  if ((parts & 8) != 0) {
    AddWidth();
  }
  int64_t precision = -1;
  if ((parts & 16) != 0 || fixed_) {
    precision = AddPrecision(Among(U"mU", letter) ? kLarge : INT_MAX, fixed_);
  }
  if (modified) {
    format_ += (parts & 32) != 0 ? U'l' : U'L';
  }
  format_ += letter;
  AddArgument(letter, precision);
}

// A fixed point has a meaning for whole numbers of a known precision.
void FormatInput::AddFlags(bool fixed_allowed) {
  for (int64_t left = in_.Between(1, 4); left > 0; --left) {
    const char32_t flag = U" #+-00-:"[in_.Between(0, 7)];
    if (flag != U':' || fixed_allowed) {
      format_ += flag;
      fixed_ |= flag == U':';
    }
  }
}

int64_t FormatInput::PickOption(int64_t most) {
  const uint8_t kind = in_.Number<uint8_t>();
  int64_t value = kind % 32;
  if (kind >= 224) {
    value = in_.Between(0, kLarge);
  } else if (kind >= 208) {
    constexpr int64_t kHuge[] = {4095, 4096, 250000, INT_MAX - 1, INT_MAX};
    value = in_.Pick(kHuge);
  } else if (kind >= 192) {
    value = 88 + kind % 16;  // about the room that a number's digits have
  }
  value = std::min(value, most);
  tame_ = tame_ && value <= kLarge;
  return value;
}

void FormatInput::AddDigits(int64_t value) {
  for (char digit : std::to_string(value)) {
    format_ += static_cast<char32_t>(digit);
  }
  if (value == INT_MAX) {  // and any number beyond
    format_ += std::u32string(static_cast<size_t>(in_.Between(0, 20)), U'9');
  }
}

void FormatInput::AddStar(int64_t value) {
  format_ += U'*';
  const uint64_t unread = uint64_t{in_.Number<uint8_t>()} << 32;
  arguments_.push_back(unread | static_cast<uint32_t>(value));
}

void FormatInput::AddWidth() {
  const uint8_t kind = in_.Number<uint8_t>();
  const int64_t value = PickOption(INT_MAX);
  if (kind < 128) {
    if (value != 0) {  // a flag otherwise
      AddDigits(value);
    }
  } else {
    AddStar(kind < 192 ? value : value == INT_MAX ? INT_MIN : -value);
  }
}

int64_t FormatInput::AddPrecision(int64_t most, bool needed) {
  const uint8_t kind = in_.Number<uint8_t>();
  format_ += U'.';
  if (kind < 16 && !needed) {
    return -1;
  }
  const int64_t value = PickOption(most);
  if (kind < 160) {
    AddDigits(value);
    return value;
  }
  if (kind < 240) {
    AddStar(value);
    return value;
  }
  AddStar(value == INT_MAX ? INT_MIN : -value);
  return 0;
}

char32_t FormatInput::PickLetter(bool modified) {
  const uint8_t pick = in_.Number<uint8_t>();
  if (pick >= 248) {
    return wide_ ? in_.Pick(kUnitLetters) : in_.Pick(kByteLetters);
  }
  if (pick >= 244 && modified) {
    return pick % 2 != 0 ? U'l' : U'L';
  }
  return kLetters[pick % (std::size(kLetters) - 1)];
}

void FormatInput::AddArgument(char32_t letter, int64_t precision) {
  if (Among(U"diuoxXbpcIZz", letter)) {
    arguments_.push_back(PickInteger());
  } else if (letter == U'f') {
    arguments_.push_back(PickDouble());
  } else if (letter == U's' || letter == U'S') {
    constexpr uint64_t kNoText[] = {0, 0, 1, 65535};
    const bool none = in_.Number<uint8_t>() >= 240;
    arguments_.push_back(none ? in_.Pick(kNoText) : PickText(wide_ == (letter == U's'), precision));
  } else if (letter == U'U' && in_.Number<uint8_t>() >= 240) {
    arguments_.push_back(0);
  } else if (letter == U'm' || letter == U'U') {
    arguments_.push_back(PickBytes(precision));
  } else if (letter == U'h' || letter == U'H') {
    arguments_.push_back(PickBytes(20));
  } else if (letter == U'a' || letter == U'A') {
    arguments_.push_back(PickAddress());
  } else if (letter == U'V') {
    arguments_.push_back(PickInteger());
    arguments_.push_back(PickInteger());
  }
}

// Any number; those near a power of two or of ten are of more interest than others.
uint64_t FormatInput::PickInteger() {
  constexpr uint64_t kBounds[] = {0,
                                  1,
                                  uint64_t{1} << 31,
                                  uint64_t{1} << 32,
                                  1024,
                                  1048576,
                                  uint64_t{1} << 63,
                                  uint64_t{1} << 62,
                                  104857600,
                                  107374183,
                                  112589990684263,
                                  109951162778,
                                  100000000,
                                  46116860184273880,
                                  115292150460684698,
                                  10000000000000000000U};
  const uint8_t kind = in_.Number<uint8_t>();
  if (kind < 128) {
    return in_.Number<uint64_t>() >> kind % 64;
  }
  return in_.Pick(kBounds) + static_cast<uint64_t>(in_.Between(-2, 2));
}

uint64_t FormatInput::PickDouble() {
  using Limits = std::numeric_limits<double>;
  constexpr double kBounds[] = {0.0,
                                1.0,
                                0.5,
                                2.05,
                                0.9999996,
                                0.09999999,
                                1e300,
                                1e18,
                                1e-7,
                                1e-300,
                                -0.5,
                                9223372036854775807.0,
                                4e18,
                                2147483648.0,
                                1.0000005,
                                Limits::max(),
                                Limits::denorm_min()};
  const uint8_t kind = in_.Number<uint8_t>();
  double value;
  if (kind < 64) {
    return in_.Number<uint64_t>();  // NaNs and infinities too
  }
  if (kind < 160) {
    value = static_cast<double>(in_.Number<int32_t>()) / static_cast<double>(1 + in_.Number<uint16_t>());
  } else if (kind < 224) {
    value = in_.Pick(kBounds);
  } else {
    value = kind % 2 != 0 ? Limits::infinity() : Limits::quiet_NaN();
  }
  value = kind % 4 < 3 ? value : -value;
  uint64_t bits;
  memcpy(&bits, &value, sizeof bits);
  return bits;
}

// Without a terminator if the precision ends it.
uint64_t FormatInput::PickText(bool wide, int64_t precision) {
  const uint8_t kind = in_.Number<uint8_t>();
  std::vector<wchar_t> units;
  const size_t len = static_cast<size_t>(kind < 240 ? kind % kMostText : in_.Between(0, 2 * kLarge));
  while (units.size() < len && units.size() != static_cast<size_t>(precision)) {
    const uint8_t byte = in_.Number<uint8_t>();
    const uint32_t unit = wide && byte >= 224 ? in_.Number<uint32_t>() : byte;
    units.push_back(static_cast<wchar_t>(unit == 0 ? 'z' : unit));
  }
  if (units.size() != static_cast<size_t>(precision)) {
    units.push_back(0);
  }
  return wide ? Keep(units.data(), units.size()) : Keep(std::string(units.begin(), units.end()).data(), units.size());
}

// So many bytes, or a terminated text for a precision of -1.
uint64_t FormatInput::PickBytes(int64_t precision) {
  if (precision < 0) {
    return PickText(false, -1);
  }
  std::string bytes;
  while (bytes.size() < static_cast<size_t>(precision)) {
    bytes += static_cast<char>(in_.Number<uint8_t>());
  }
  return Keep(bytes.data(), bytes.size());
}

uint64_t FormatInput::PickAddress() {
  const uint8_t kind = in_.Number<uint8_t>();
  core::SockAddr address(in_.Number<uint32_t>(), in_.Number<uint16_t>());
  if (kind % 3 == 1) {
    address = address.make_mapped_v4();
  } else if (kind % 3 == 2) {
    in6_addr ip;
    for (uint8_t& byte : ip.s6_addr) {
      byte = in_.Number<uint8_t>();
    }
    address = core::SockAddr(ip, address.port);
  }
  return Keep(&address, 1);
}

template <class C>
uint64_t FormatInput::Keep(const C* units, size_t count) {
  // Exactly as many: a sanitizer sees what reads more.
  void* block = ::operator new(count * sizeof(C));
  memory_.emplace_back(block, [](void* p) { ::operator delete(p); });
  if (count != 0) {
    memcpy(block, units, count * sizeof(C));
  }
  return reinterpret_cast<uintptr_t>(block);
}
