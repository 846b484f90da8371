// Endpoints and ranges from text.
#include <stdlib.h>
#include <string.h>

#include "core/base/fatal.h"
#include "core/containers/templates.h"
#include "core/net/sockaddr.h"
#include "core/net/util_ip.h"

namespace core {
namespace {

constexpr char kSource[] = "core/sockaddr";
constexpr int kBracketedLine = 199;
constexpr int kOneColonLine = 228;

// More than the longest IPv6 text, which has 45 characters, and a terminator.
constexpr size_t kIPv6Room = 64;

// Half of GetMaxStackSize(), which does not change; 0 until it was needed. Asking each time would take
// a fifth of the time that an endpoint takes.
constinit size_t copy_limit = 0;

bool FitsStack(size_t len) {
  size_t limit = __atomic_load_n(&copy_limit, __ATOMIC_RELAXED);
  if (limit == 0) [[unlikely]] {
    limit = GetMaxStackSize() / 2;
    __atomic_store_n(&copy_limit, limit, __ATOMIC_RELAXED);
  }
  return len + 1 < limit;
}

// A number beyond long gives the nearest limit, which is then cut like any other.
uint16_t PortOf(const char* text) { return static_cast<uint16_t>(strtol(text, nullptr, 10)); }

bool ParseIPv6(const char* text, uint16_t port, SockAddr* result) {
  bool ok;
  const in6_addr address = parse_ip_v6(text, &ok);
  if (ok) {
    *result = SockAddr(address, port);
  }
  return ok;
}

// The text from "[" to the last "]" is an IPv6 address; what is too long for one is not looked at.
bool ParseBracketed(const char* text, SockAddr* result) {
  AssertAt(FitsStack(strlen(text)), kSource, kBracketedLine);
  const char* const first = text + 1;
  const char* const close = strrchr(text, ']');
  if (close == nullptr || static_cast<size_t>(close - first) >= kIPv6Room) {
    return false;
  }
  char inside[kIPv6Room];
  memcpy(inside, first, static_cast<size_t>(close - first));
  inside[close - first] = 0;
  return ParseIPv6(inside, close[1] == ':' ? PortOf(close + 2) : uint16_t{0}, result);
}

// The text up to `colon`, its only one, is an IPv4 address. It is read where it stands: no number goes
// on across a colon.
bool ParseWithPort(const char* text, const char* colon, SockAddr* result) {
  AssertAt(FitsStack(static_cast<size_t>(colon - text) + strlen(colon)), kSource, kOneColonLine);
  uint32_t ip;
  if (read_ip(text, &ip) != colon) {
    return false;
  }
  *result = SockAddr(ip, PortOf(colon + 1));
  return true;
}

// Reads what nearly every text is: plain IPv4, alone or with a port of at most five digits. False, with
// nothing decided, for any other text.
bool ReadCommon(const char* text, uint32_t* ip, uint16_t* port) {
  const char* end = read_ip(text, ip);
  if (end == nullptr) {
    return false;
  }
  if (*end == 0) {
    *port = 0;
    return true;
  }
  if (*end != ':') {
    return false;
  }
  const char* const first = ++end;
  unsigned value = 0;
  for (; *end >= '0' && *end <= '9' && end - first < 5; ++end) {
    value = value * 10 + static_cast<unsigned>(*end - '0');
  }
  *port = static_cast<uint16_t>(value);
  return *end == 0 && FitsStack(static_cast<size_t>(end - text));
}

// Any text but one without a colon, which ReadCommon decides.
bool ParseUncommon(const char* text, SockAddr* result) {
  if (*text == '[') {
    return ParseBracketed(text, result);
  }
  const char* const colon = strchr(text, ':');
  if (colon == nullptr) {
    return false;
  }
  if (strchr(colon + 1, ':') != nullptr) {
    return ParseIPv6(text, 0, result);
  }
  return ParseWithPort(text, colon, result);
}

// The bits that a prefix length leaves to the hosts.
uint32_t HostBits(const char* prefix_length) {
  const long length = strtol(prefix_length, nullptr, 10);
  const uint32_t all = UINT32_MAX;
  return length <= 0 ? all : length >= 32 ? 0 : all >> length;
}

}  // namespace

SockAddr SockAddr::parse_addr(const char* text, bool* ok) {
  uint32_t ip;
  uint16_t host_port;
  if (text != nullptr && ReadCommon(text, &ip, &host_port)) {
    if (ok != nullptr) {
      *ok = true;
    }
    return SockAddr(ip, host_port);
  }
  SockAddr result;
  const bool parsed = text != nullptr && ParseUncommon(text, &result);
  if (ok != nullptr) {
    *ok = parsed;
  }
  return result;
}

bool ParseCIDR(char* text, SockAddr* first, SockAddr* last) {
  char* slash = strchr(text, '/');
  if (slash == nullptr) {
    return false;
  }
  *slash = 0;
  bool ok;
  const SockAddr parsed = SockAddr::parse_addr(text, &ok);
  if (!ok) {
    return false;
  }
  AssertAt(parsed.family == AF_INET, kSource, 334);
  // make_v4 refuses the unspecified value when IPv6 is in use.
  SockAddr end = SockAddr().make_v4();
  end = SockAddr(parsed.get_addr4() | HostBits(slash + 1), end.port);
  if (first != nullptr) {
    *first = parsed;
  }
  if (last != nullptr) {
    *last = end;
  }
  return true;
}

}  // namespace core
