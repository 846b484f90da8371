#include "core/net/sockaddr.h"

#include <string.h>

#include "core/base/fatal.h"
#include "core/format/strfmt.h"
#include "core/text/nustr.h"

namespace core {
namespace {

constexpr char kSource[] = "core/sockaddr";

constexpr unsigned char kMappedPrefix[12] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
constexpr uint32_t kLoopback4 = 0x7F000001;

bool HasMappedPrefix(const in6_addr& address) {
  return memcmp(address.s6_addr, kMappedPrefix, sizeof kMappedPrefix) == 0;
}

uint32_t LoadBigEndian(const unsigned char* bytes) {
  uint32_t value;
  memcpy(&value, bytes, sizeof value);
  return ntohl(value);
}

// Stores four bytes in network order as a mapped address.
void StoreMapped(in6_addr* address, const void* ip) {
  memcpy(address->s6_addr, kMappedPrefix, sizeof kMappedPrefix);
  memcpy(address->s6_addr + sizeof kMappedPrefix, ip, 4);
}

bool IsIPv4(const SockAddr& value) { return value.family == AF_INET || value.is_mapped_v4(); }

int Order(uint32_t a, uint32_t b) { return a < b ? -1 : a > b ? 1 : 0; }

}  // namespace

const in6_addr SockAddr::_in6addr_any = {};
const in6_addr SockAddr::_in6addr_loopback = IN6ADDR_LOOPBACK_INIT;
constinit bool SockAddr::_use_ipv6 = false;

SockAddr::SockAddr() : address(_in6addr_any), port(0), family(AF_INET6) {
  if (!__atomic_load_n(&_use_ipv6, __ATOMIC_RELAXED)) {
    family = AF_INET;
    address.s6_addr[10] = 0xFF;
    address.s6_addr[11] = 0xFF;
  }
}

SockAddr::SockAddr(uint32_t ip, uint16_t host_port) : port(host_port), family(AF_INET) {
  const uint32_t in_network_order = htonl(ip);
  StoreMapped(&address, &in_network_order);
}

SockAddr::SockAddr(const in6_addr& ip, uint16_t host_port)
    : address(ip), port(host_port), family(HasMappedPrefix(ip) ? AF_INET : AF_INET6) {}

// The structure is read through copies, so that it need not have been written as either of the two.
SockAddr::SockAddr(const sockaddr_storage& storage) : family(static_cast<uint8_t>(storage.ss_family)) {
  if (family == AF_INET) {
    sockaddr_in v4;
    memcpy(&v4, &storage, sizeof v4);
    port = ntohs(v4.sin_port);
    StoreMapped(&address, &v4.sin_addr);
  } else {
    sockaddr_in6 v6;
    memcpy(&v6, &storage, sizeof v6);
    port = ntohs(v6.sin6_port);
    address = v6.sin6_addr;
  }
}

SockAddr::SockAddr(const unsigned char* bytes, size_t len, bool* ok) : SockAddr() {
  const bool taken = from_compact(bytes, len);
  if (ok != nullptr) {
    *ok = taken;
  }
}

size_t SockAddr::compact(unsigned char* out, bool with_port) const {
  const bool v4 = family == AF_INET;
  const size_t len = v4 ? 4 : 16;
  memcpy(out, address.s6_addr + 16 - len, len);
  if (!with_port) {
    return len;
  }
  out[len] = static_cast<unsigned char>(port >> 8);
  out[len + 1] = static_cast<unsigned char>(port);
  return len + 2;
}

bool SockAddr::from_compact(const unsigned char* bytes, size_t len) {
  port = 0;
  if (len == 4 || len == 6) {
    family = AF_INET;
    StoreMapped(&address, bytes);
  } else if (len == 16 || len == 18) {
    family = AF_INET6;
    memcpy(address.s6_addr, bytes, 16);
  } else {
    address = _in6addr_any;
    return false;
  }
  if (len == 6 || len == 18) {
    port = static_cast<uint16_t>(bytes[len - 2] << 8 | bytes[len - 1]);
  }
  return true;
}

uint32_t SockAddr::get_addr4() const { return LoadBigEndian(address.s6_addr + sizeof kMappedPrefix); }

SockAddr SockAddr::make_v4() const {
  AssertAt(IsIPv4(*this), kSource, 57);
  SockAddr v4 = *this;
  v4.family = AF_INET;
  return v4;
}

SockAddr SockAddr::make_mapped_v4() const {
  AssertAt(IsIPv4(*this), kSource, 19);
  SockAddr mapped = *this;
  mapped.family = AF_INET6;
  return mapped;
}

bool SockAddr::is_mapped_v4() const { return family == AF_INET6 && HasMappedPrefix(address); }

bool SockAddr::is_loopback() const {
  if (IsIPv4(*this)) {
    return get_addr4() == kLoopback4;
  }
  return memcmp(&address, &_in6addr_loopback, sizeof address) == 0;
}

bool SockAddr::operator==(const SockAddr& other) const {
  return port == other.port && family == other.family && memcmp(&address, &other.address, sizeof address) == 0;
}

int SockAddr::ip_compare(const SockAddr& other) const {
  const bool v4 = IsIPv4(*this);
  if (v4 != IsIPv4(other)) {
    return v4 ? 1 : -1;
  }
  if (v4) {
    return Order(get_addr4(), other.get_addr4());
  }
  AssertAt(family == AF_INET6, kSource, 105);
  AssertAt(other.family == AF_INET6, kSource, 106);
  return memcmp(&address, &other.address, sizeof address);
}

int SockAddr::compare(const SockAddr& other) const {
  if (this == &other) {
    return 0;
  }
  const int order = ip_compare(other);
  return order != 0 ? order : Order(port, other.port);
}

SockAddr SockAddr::round_up(const SockAddr& addr, const SockAddr& mask) {
  SockAddr next = addr;
  const int top = addr.family == AF_INET ? 12 : 0;
  for (int i = 15; i >= top; --i) {
    const unsigned host_bits = ~mask.address.s6_addr[i] & 0xFFu;
    const unsigned sum = (host_bits | addr.address.s6_addr[i]) + 1;
    next.address.s6_addr[i] = static_cast<unsigned char>(sum);
    if (sum < 256) {
      break;
    }
  }
  return next;
}

char* SockAddr::get_arpa() const {
  if (family == AF_INET) {
    const unsigned char* ip = address.s6_addr + sizeof kMappedPrefix;
    const unsigned char reversed[] = {ip[3], ip[2], ip[1], ip[0]};
    return str_fmt("%I.in-addr.arpa", LoadBigEndian(reversed));
  }
  constexpr size_t kDigits = 32;
  constexpr char kZone[] = "ip6.arpa";
  unsigned char block[20] = {};
  memcpy(block, &address, sizeof address);
  char hex[2 * sizeof block + 1];
  nusnprintf(hex, sizeof hex, "%H", static_cast<const unsigned char*>(block));
  char* name = AllocString<char>(2 * kDigits + sizeof kZone - 1);
  for (size_t i = 0; i < kDigits; ++i) {
    name[2 * i] = hex[kDigits - 1 - i];
    name[2 * i + 1] = '.';
  }
  memcpy(name + 2 * kDigits, kZone, sizeof kZone);
  return name;
}

}  // namespace core
