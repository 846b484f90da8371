// A model of IP endpoints: addresses as one number of 128 bits, masks as arithmetic, texts through the
// platform's own conversions.
#pragma once

#include <arpa/inet.h>
#include <errno.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <optional>
#include <string>

namespace address_model {

__extension__ typedef unsigned __int128 Number;

constexpr Number kMapped = Number{0xFFFF} << 32;

struct Endpoint {
  Number address = kMapped;
  unsigned port = 0;
  bool v4 = true;

  bool operator==(const Endpoint&) const = default;
};

inline Number FromBytes(const unsigned char* bytes) {
  Number number = 0;
  for (int i = 0; i < 16; ++i) {
    number = number << 8 | bytes[i];
  }
  return number;
}

// What a text gives: an endpoint, or the unspecified one.
struct Reading {
  bool ok = false;
  Endpoint endpoint;
};

// Four fields as strtoul reads them, each up to 255, with "." between them.
inline std::optional<uint32_t> ReadV4(const std::string& text) {
  uint32_t address = 0;
  const char* at = text.c_str();
  for (int field = 0; field < 4; ++field) {
    char* end = nullptr;
    const unsigned long value = strtoul(at, &end, 10);
    if (value > 255 || *end != (field < 3 ? '.' : '\0')) {
      return {};
    }
    address = address << 8 | static_cast<uint32_t>(value);
    at = end + 1;
  }
  return address;
}

inline Reading ReadV6(const std::string& text, unsigned port) {
  unsigned char bytes[16];
  if (inet_pton(AF_INET6, text.c_str(), bytes) != 1) {
    return {};
  }
  const Number address = FromBytes(bytes);
  return {true, {address, port, address >> 32 == 0xFFFF}};
}

inline unsigned ReadPort(const std::string& text) {
  return static_cast<unsigned>(strtol(text.c_str(), nullptr, 10)) & 0xFFFF;
}

// `text` is no longer than its first zero byte.
inline Reading Parse(const std::string& text) {
  const auto colons = std::count(text.begin(), text.end(), ':');
  if (!text.empty() && text[0] == '[') {
    const size_t close = text.rfind(']');
    if (close == std::string::npos) {
      return {};
    }
    const bool has_port = close + 1 < text.size() && text[close + 1] == ':';
    return ReadV6(text.substr(1, close - 1), has_port ? ReadPort(text.substr(close + 2)) : 0);
  }
  if (colons >= 2) {
    return ReadV6(text, 0);
  }
  const size_t colon = text.find(':');
  const std::optional<uint32_t> address = ReadV4(text.substr(0, colon));
  if (!address) {
    return {};
  }
  return {true, {kMapped | *address, colon == std::string::npos ? 0 : ReadPort(text.substr(colon + 1)), true}};
}

inline std::string Dotted(uint32_t address) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    text += std::to_string(address >> shift & 0xFF) + (shift != 0 ? "." : "");
  }
  return text;
}

// As the formatter prints it, with or without its port; a mapped IPv4 address is shown as an IPv4 one.
inline std::string Text(const Endpoint& endpoint, bool with_port) {
  const std::string port = with_port ? ":" + std::to_string(endpoint.port) : "";
  if (endpoint.v4 || endpoint.address >> 32 == 0xFFFF) {
    return Dotted(static_cast<uint32_t>(endpoint.address)) + port;
  }
  unsigned char bytes[16];
  for (int i = 0; i < 16; ++i) {
    bytes[i] = static_cast<unsigned char>(endpoint.address >> (120 - 8 * i));
  }
  char text[INET6_ADDRSTRLEN];
  inet_ntop(AF_INET6, bytes, text, sizeof text);
  return with_port ? "[" + std::string(text) + "]" + port : text;
}

inline std::string Arpa(const Endpoint& endpoint) {
  if (endpoint.v4) {
    const auto address = static_cast<uint32_t>(endpoint.address);
    return Dotted(__builtin_bswap32(address)) + ".in-addr.arpa";
  }
  std::string text;
  for (int shift = 0; shift < 128; shift += 4) {
    text += "0123456789ABCDEF"[static_cast<unsigned>(endpoint.address >> shift) & 0xF];
    text += '.';
  }
  return text + "ip6.arpa";
}

// Bits that are set in the address and clear in the mask make no difference: the host part is filled, and one
// more is the next network. Only for masks of ones followed by zeros.
inline Number RoundUp(Number address, int prefix, int width) {
  const int host_bits = width - prefix;
  const Number host = host_bits == 128 ? ~Number{0} : (Number{1} << host_bits) - 1;
  const Number all = width == 128 ? ~Number{0} : (Number{1} << width) - 1;
  return (address & ~all) | (((address | host) + 1) & all);
}

}  // namespace address_model
