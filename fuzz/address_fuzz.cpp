// Property: endpoints, addresses and ranges are read as a model reads them with the platform's conversions; what
// is printed or made compact is read back as the same value; orders and boundaries are arithmetic ones.
//
// Ranges of IPv6 addresses stop the process by design and are left out, and so is the preference for IPv6.
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <optional>
#include <string>

#include "core/format/strfmt.h"
#include "core/net/sockaddr.h"
#include "core/net/util_ip.h"
#include "fuzz/models/address_model.h"
#include "fuzz/support/fuzz_check.h"
#include "fuzz/support/fuzz_input.h"
#include "fuzz/support/no_leak.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/text.h"

namespace {

using address_model::Endpoint;
using address_model::Number;
using core::SockAddr;

Endpoint Seen(const SockAddr& ours) {
  return {address_model::FromBytes(ours.address.s6_addr), ours.port, ours.family == AF_INET};
}

Endpoint Parsed(const std::string& text, bool* ok) { return Seen(SockAddr::parse_addr(Narrow(text).get(), ok)); }

void CheckParse(const std::string& text) {
  bool ok = false;
  const address_model::Reading model = address_model::Parse(text);
  Require(Parsed(text, &ok) == model.endpoint, "the endpoint is the model's");
  Require(ok == model.ok, "the text is an endpoint for both or for none");

  const std::optional<uint32_t> address = address_model::ReadV4(text);
  Require(core::parse_ip(Narrow(text).get(), &ok) == address.value_or(0xFFFFFFFF), "the IPv4 address is the model's");
  Require(ok == address.has_value(), "the text is an IPv4 address for both or for none");
  const address_model::Reading v6 = address_model::ReadV6(text, 0);
  const in6_addr bytes = core::parse_ip_v6(Narrow(text).get(), &ok);
  Require(address_model::FromBytes(bytes.s6_addr) == (v6.ok ? v6.endpoint.address : 0) && ok == v6.ok,
          "the IPv6 address is the platform's");
}

void CheckRange(const std::string& text) {
  const size_t slash = text.find('/');
  const address_model::Reading address =
      slash == std::string::npos ? address_model::Reading() : address_model::Parse(text.substr(0, slash));
  if (address.ok && !address.endpoint.v4) {
    return;
  }
  Narrow range(text);
  SockAddr first(1, 1);
  SockAddr last(2, 2);
  Require(core::ParseCIDR(range.data(), &first, &last) == address.ok, "the text is a range for both or for none");
  std::string left = text;
  if (slash != std::string::npos) {
    left[slash] = '\0';
  }
  Require(range.view() == left, "only the slash changes");
  if (!address.ok) {
    return;
  }
  const long prefix = std::clamp(strtol(text.c_str() + slash + 1, nullptr, 10), 0L, 32L);
  const auto hosts = static_cast<uint32_t>((uint64_t{1} << (32 - prefix)) - 1);
  Require(Seen(first) == address.endpoint, "the first address keeps its host bits and its port");
  Require(Seen(last) == Endpoint{address.endpoint.address | hosts, 0, true}, "the last address is the network's");
  Narrow again(text);
  Require(core::ParseCIDR(again.data(), nullptr, nullptr), "nobody has to take the addresses");
}

std::string Printed(const char* format, const SockAddr& address) { return Take(core::str_fmt(format, &address)); }

void CheckText(const SockAddr& address) {
  const Endpoint seen = Seen(address);
  Require(Printed("%a", address) == address_model::Text(seen, false), "the address prints as the platform has it");
  Require(Printed("%A", address) == address_model::Text(seen, true), "and with its port");
  Require(Take(address.get_arpa()) == address_model::Arpa(seen), "the name for reverse look-ups is the model's");
  bool ok = false;
  const SockAddr normal = address.is_mapped_v4() ? address.make_v4() : address;
  Require(Parsed(Printed("%A", address), &ok) == Seen(normal) && ok, "what was printed is read back");
}

void CheckCompact(const SockAddr& address, bool with_port) {
  const bool v4 = address.family == AF_INET;
  const size_t len = (v4 ? 4 : 16) + (with_port ? 2 : 0);
  ExactBytes out(std::string(len, '\xA5'));
  Require(address.compact(out.data(), with_port) == len, "the compact form is as long as its kind says");
  Require(memcmp(out.begin(), address.address.s6_addr + (v4 ? 12 : 0), v4 ? 4 : 16) == 0, "the address comes first");
  Require(!with_port || out.begin()[len - 2] * 256 + out.begin()[len - 1] == address.port, "the port is last");
  bool ok = false;
  const SockAddr back(out.begin(), len, &ok);
  Require(ok && back.family == address.family, "its family comes back");
  Require(Seen(back) == Endpoint{Seen(address).address, with_port ? address.port : 0U, v4}, "the value comes back");
}

void CheckBytes(const std::string& bytes) {
  const ExactBytes exact(bytes);
  SockAddr address(7, 7);
  const size_t n = bytes.size();
  const bool known = n == 4 || n == 6 || n == 16 || n == 18;
  Require(address.from_compact(exact.begin(), n) == known, "four lengths are known");
  Require(known || Seen(address) == Endpoint{0, 0, true}, "other lengths give nothing");
}

int Sign(int order) { return order < 0 ? -1 : order > 0; }
template <class T>
int Compare(const T& a, const T& b) {
  return a < b ? -1 : b < a;
}

void CheckOrder(const SockAddr& a, const SockAddr& b) {
  const bool a4 = a.family == AF_INET || a.is_mapped_v4();
  const bool b4 = b.family == AF_INET || b.is_mapped_v4();
  const int by_address = a4 != b4 ? (a4 ? 1 : -1) : Compare(Seen(a).address, Seen(b).address);
  Require(Sign(a.ip_compare(b)) == by_address, "addresses order as numbers, IPv6 first");
  Require(Sign(a.compare(b)) == (by_address != 0 ? by_address : Compare(a.port, b.port)),
          "ports decide between equal ones");
  Require((a == b) == (Seen(a) == Seen(b)), "equal values have equal fields");
}

SockAddr WithAddress(Number number, uint16_t port) {
  in6_addr bytes;
  for (int i = 0; i < 16; ++i) {
    bytes.s6_addr[i] = static_cast<uint8_t>(number >> (120 - 8 * i));
  }
  return SockAddr(bytes, port);
}

void CheckRoundUp(const SockAddr& address, int prefix) {
  const int width = address.family == AF_INET ? 32 : 128;
  prefix %= width + 1;
  const Number mask = prefix == 0 ? 0 : ~Number{0} << (width - prefix);
  const SockAddr next = SockAddr::round_up(address, WithAddress(mask, 9));
  const Endpoint seen = Seen(address);
  Require(Seen(next) == Endpoint{address_model::RoundUp(seen.address, prefix, width), seen.port, seen.v4},
          "the next network begins one above the last host");
}

SockAddr AnyAddress(FuzzInput& in) {
  const uint16_t port = in.Number<uint16_t>();
  switch (in.Between(0, 4)) {
    case 0:
      return SockAddr(in.Number<uint32_t>(), port);
    case 1:
      return SockAddr(in.Number<uint32_t>(), port).make_mapped_v4();
    case 2:
      return WithAddress(in.Number<uint32_t>(), port);
    case 3:
      return WithAddress((Number{in.Number<uint64_t>()} << 64) | in.Number<uint64_t>(), port);
    default:
      return in.Flip() ? SockAddr(0x7F000000 + in.Number<uint8_t>(), port) : SockAddr();
  }
}

void CheckValues(FuzzInput& in) {
  const SockAddr a = AnyAddress(in);
  const SockAddr b = AnyAddress(in);
  const Endpoint seen = Seen(a);
  CheckText(a);
  CheckCompact(a, in.Flip());
  CheckOrder(a, b);
  CheckOrder(a, a);
  CheckRoundUp(a, static_cast<int>(in.Number<uint8_t>()));
  Require(a.get_addr4() == static_cast<uint32_t>(seen.address), "the last four bytes are the IPv4 address");
  const bool mapped = seen.address >> 32 == 0xFFFF;
  Require(a.is_mapped_v4() == (mapped && !seen.v4), "a mapped value is an IPv6 one");
  Require(a.is_loopback() == (mapped ? static_cast<uint32_t>(seen.address) == 0x7F000001 : seen.address == 1),
          "one address of each kind is the loopback");
  CheckBytes(in.Bytes(20));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const NoLeak no_leak;
  FuzzInput in(data, size);
  if (in.Between(0, 2) == 0) {
    CheckValues(in);
    return 0;
  }
  const std::string text(in.Rest().substr(0, 300));
  const std::string shown = text.c_str();
  CheckParse(shown);
  CheckRange(shown);
  return 0;
}
