// IP endpoints: an IPv4 or IPv6 address and a port in one plain value.
//
// The formatter prints them with %a and %A (see core/format/strfmt.h). Values may be copied as bytes and used
// by any thread; a single value belongs to one thread at a time.
#pragma once

#include <netinet/in.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/socket.h>

namespace core {

// An IPv4 value comes in two kinds. The normal one has family AF_INET; every constructor but that from
// a sockaddr_storage and that from compact bytes makes it from a mapped address. The other, a mapped
// IPv4 value, has family AF_INET6 and an address with the mapped prefix. The two are never equal, but
// ip_compare takes them for the same address.
struct SockAddr {
  in6_addr address;  // network order; an IPv4 address as ::ffff:a.b.c.d
  uint16_t port;     // host order
  uint8_t family;    // AF_INET or AF_INET6

  static const in6_addr _in6addr_any;       // ::
  static const in6_addr _in6addr_loopback;  // ::1

  // Whether the unspecified value is an IPv6 one; false until the host sets it, which it does before
  // it uses this type. It is read with one atomic load, so that a host may also change it later, with an
  // atomic store, while other threads use this type.
  static bool _use_ipv6;

  // The unspecified value: port 0 and, by _use_ipv6, the address :: or the IPv4 address 0.0.0.0.
  SockAddr();

  // An IPv4 endpoint; `ip` is in host order, 0x7F000001 for 127.0.0.1. A literal zero is written 0u: a plain
  // 0 is a null pointer as well, and SockAddr(0, 80) does not compile.
  SockAddr(uint32_t ip, uint16_t port);

  // An IPv6 endpoint, or a normal IPv4 one when the address has the mapped prefix.
  SockAddr(const in6_addr& ip, uint16_t port);

  // The endpoint of a platform structure.
  // On purpose: an IPv6 address with the mapped prefix stays a mapped IPv4 value here.
  explicit SockAddr(const sockaddr_storage& storage);

  // See from_compact, whose result goes to `*ok`, unless `ok` is null. On failure the family is that of
  // the unspecified value.
  SockAddr(const unsigned char* bytes, size_t len, bool* ok = nullptr);

  // Reads "1.2.3.4", "1.2.3.4:80", "::1" or "[::1]:80". Any other text, and null, gives the unspecified
  // value and `*ok` false. `ok` may be null. An address with the mapped prefix gives a normal IPv4
  // value. IPv4 text is read by parse_ip of core/net/util_ip.h.
  //
  // On purpose: a text of two or more colons outside brackets carries no port, and a port is what atoi
  // makes of the text, cut to 16 bits; a bad one is no failure.
  // Requires: a text that begins with "[", or has exactly one colon, takes less than half of
  // GetMaxStackSize() with its terminator.
  // Cost: nothing is allocated.
  static SockAddr parse_addr(const char* text, bool* ok = nullptr);

  // Writes the compact form to `out` and returns its length: 4 bytes for a normal IPv4 value, 16 for any
  // other, and 2 more for the port, all in network order.
  size_t compact(unsigned char* out, bool with_port) const;

  // Takes the value from its compact form of 4, 6, 16 or 18 bytes; without a port it becomes 0. False
  // for any other length: then the address is zeroed as well and the family stays.
  // On purpose: 16 bytes with the mapped prefix give a mapped IPv4 value.
  bool from_compact(const unsigned char* bytes, size_t len);

  // The last four bytes of the address, in host order: the address of an IPv4 value of either kind.
  uint32_t get_addr4() const;

  // The same IPv4 endpoint as the one kind or the other.
  // Requires: this is an IPv4 value of either kind.
  SockAddr make_v4() const;
  SockAddr make_mapped_v4() const;

  // True for a mapped IPv4 value only, not for a normal one.
  bool is_mapped_v4() const;

  // True for ::1 and for 127.0.0.1 of either kind.
  // On purpose: the rest of 127.0.0.0/8 is not taken for the loopback.
  bool is_loopback() const;

  // Equal port, family and address; a mapped IPv4 value is not equal to the normal one.
  bool operator==(const SockAddr& other) const;

  // Orders by address alone: IPv6 first, then IPv4, each in numeric order. The result is negative, 0 or
  // positive; between two IPv6 addresses it is memcmp's.
  // Requires: two values that are not IPv4 both have family AF_INET6.
  int ip_compare(const SockAddr& other) const;

  // The same, with the port deciding between equal addresses.
  int compare(const SockAddr& other) const;

  // The next network boundary above `addr` under `mask`, of which only the address counts: 10.0.0.5
  // under 255.255.255.0 gives 10.0.1.0. Family and port are those of `addr`. Past the top it goes on at
  // 0. A byte that does not carry ends it: the bytes before it stay as in `addr` whatever the mask.
  static SockAddr round_up(const SockAddr& addr, const SockAddr& mask);

  // Returns the name for reverse look-ups as a new string, freed with MyFree: "1.2.0.192.in-addr.arpa",
  // or 32 digits and "ip6.arpa" for any value but a normal IPv4 one.
  // On purpose: the hexadecimal digits are capital letters.
  char* get_arpa() const;
};
static_assert(offsetof(SockAddr, address) == 0);
static_assert(offsetof(SockAddr, port) == 16);
static_assert(offsetof(SockAddr, family) == 18);
static_assert(sizeof(in6_addr) == 16);

// Reads an IPv4 range such as "10.0.0.0/8". Returns false when there is no "/" or no address before it.
//
// `*first` is the address as it stands, its port too; `*last` the last address of its network, with
// port 0. Either may be null. The number is what strtol makes of the text behind the "/"; below 0 it
// counts as 0 and above 32 as 32.
// On purpose: the "/" in `text` becomes a terminator, and `*first` keeps its host bits.
// Requires: the address is IPv4, and SockAddr::_use_ipv6 is false.
bool ParseCIDR(char* text, SockAddr* first, SockAddr* last);

}  // namespace core
