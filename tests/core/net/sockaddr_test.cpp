// Socket addresses as values: construction, compact form, order, rounding, reverse names.
#include "core/net/sockaddr.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "core/base/mem1.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/platform_memory.h"
#include "tests/support/use_ipv6.h"

using namespace core;

namespace {

constexpr char kSockaddr[] = "core/sockaddr";

in6_addr In6(const char* text) {
  in6_addr address;
  EXPECT_EQ(1, inet_pton(AF_INET6, text, &address)) << text;
  return address;
}
SockAddr V4(const char* text, uint16_t port = 0) {
  in_addr address;
  EXPECT_EQ(1, inet_pton(AF_INET, text, &address)) << text;
  return SockAddr(ntohl(address.s_addr), port);
}
SockAddr V6(const char* text, uint16_t port = 0) { return SockAddr(In6(text), port); }
SockAddr Mapped(const char* text, uint16_t port = 0) { return V4(text, port).make_mapped_v4(); }
SockAddr OfFamily(uint8_t family) {
  SockAddr addr = V6("2001:db8::1");
  addr.family = family;
  return addr;
}

std::string Hex(const void* bytes, size_t len) {
  std::string text;
  for (size_t i = 0; i < len; ++i) {
    char two[3];
    snprintf(two, sizeof two, "%02X", static_cast<const unsigned char*>(bytes)[i]);
    text += two;
  }
  return text;
}
std::string Show(const SockAddr& addr) {
  return std::to_string(addr.family) + " " + Hex(&addr.address, 16) + " " + std::to_string(addr.port);
}
const std::string kV4 = std::to_string(AF_INET) + " 00000000000000000000FFFF";
const std::string kV6 = std::to_string(AF_INET6) + " ";
const std::string kZero16(32, '0');

int Sign(int n) { return (n > 0) - (n < 0); }

TEST(SockAddrValue, UnspecifiedValueFollowsTheSetting) {
  EXPECT_FALSE(SockAddr::_use_ipv6);
  EXPECT_EQ(kV4 + "00000000 0", Show(SockAddr()));
  UseIPv6 ipv6(true);
  EXPECT_EQ(kV6 + kZero16 + " 0", Show(SockAddr()));
}

TEST(SockAddrValue, SettingCanBeReachedThroughAPointer) {
  UseIPv6 restore(false);
  bool* const setting = &SockAddr::_use_ipv6;
  *setting = true;
  EXPECT_EQ(kV6 + kZero16 + " 0", Show(SockAddr()));
}

TEST(SockAddrValue, SettingCopiedWithAutoStaysAsItWas) {
  UseIPv6 restore(true);
  const auto before = SockAddr::_use_ipv6;
  SockAddr::_use_ipv6 = false;
  EXPECT_TRUE(before);
}

TEST(SockAddrValue, SettingPrintsAsANumber) {
  UseIPv6 ipv6(true);
  char text[4];
  snprintf(text, sizeof text, "%d", SockAddr::_use_ipv6);
  EXPECT_STREQ("1", text);
}

TEST(SockAddrValue, SettingTakesCompoundAssignment) {
  UseIPv6 restore(false);
  SockAddr::_use_ipv6 |= true;
  EXPECT_EQ(kV6 + kZero16 + " 0", Show(SockAddr()));
}

TEST(SockAddrValue, SettingMayChangeWhileAnotherThreadReadsIt) {
  UseIPv6 restore(false);
  std::thread writer([] {
    for (int i = 0; i < 10000; ++i) {
      UseIPv6::Set(i % 2 == 0);
    }
  });
  for (int i = 0; i < 10000; ++i) {
    const SockAddr addr;
    ASSERT_EQ(addr.family == AF_INET, addr.address.s6_addr[10] == 0xFF);
  }
  writer.join();
}

TEST(SockAddrValue, ConstantsAreAnyAndLoopback) {
  EXPECT_EQ(kZero16, Hex(&SockAddr::_in6addr_any, 16));
  EXPECT_EQ("00000000000000000000000000000001", Hex(&SockAddr::_in6addr_loopback, 16));
}

template <class Address>
constexpr bool kTakesPlainZero = requires {
  Address(0, 80);
};

TEST(SockAddrValue, PlainZeroIsNoAddress) {
  EXPECT_FALSE(kTakesPlainZero<SockAddr>);
  EXPECT_EQ(kV4 + "00000000 80", Show(SockAddr(0u, 80)));
}

TEST(SockAddrValue, IPv4IsStoredMappedInNetworkOrder) {
  EXPECT_EQ(kV4 + "7F000001 6881", Show(SockAddr(0x7F000001u, 6881)));
  EXPECT_EQ(kV4 + "FFFFFFFF 65535", Show(SockAddr(UINT32_MAX, 65535)));
}

TEST(SockAddrValue, IPv6WithTheMappedPrefixBecomesIPv4) {
  EXPECT_EQ(kV6 + "20010DB8000000000000000000000001 80", Show(V6("2001:db8::1", 80)));
  EXPECT_EQ(kV4 + "01020304 5", Show(V6("::ffff:1.2.3.4", 5)));
}

TEST(SockAddrValue, AnyOtherPrefixStaysIPv6) {
  for (int byte = 0; byte < 12; ++byte) {
    in6_addr address = In6("::ffff:1.2.3.4");
    address.s6_addr[byte] ^= 1;
    EXPECT_EQ(AF_INET6, SockAddr(address, 0).family) << byte;
    SockAddr addr = Mapped("1.2.3.4");
    EXPECT_TRUE(addr.is_mapped_v4());
    addr.address = address;
    EXPECT_FALSE(addr.is_mapped_v4()) << byte;
  }
}

TEST(SockAddrValue, TakesIPv4FromThePlatformsStructure) {
  sockaddr_storage storage;
  memset(&storage, 0xEE, sizeof storage);
  auto* v4 = reinterpret_cast<sockaddr_in*>(&storage);
  v4->sin_family = AF_INET;
  v4->sin_port = htons(6881);
  v4->sin_addr.s_addr = htonl(0x01020304);
  EXPECT_EQ(kV4 + "01020304 6881", Show(SockAddr(storage)));
}

TEST(SockAddrValue, TakesIPv6FromThePlatformsStructureWithoutLookingForThePrefix) {
  sockaddr_storage storage;
  memset(&storage, 0xEE, sizeof storage);
  auto* v6 = reinterpret_cast<sockaddr_in6*>(&storage);
  v6->sin6_family = AF_INET6;
  v6->sin6_port = htons(80);
  v6->sin6_addr = In6("::ffff:1.2.3.4");
  EXPECT_EQ(kV6 + "00000000000000000000FFFF01020304 80", Show(SockAddr(storage)));
  v6->sin6_family = AF_UNIX;
  EXPECT_EQ(std::to_string(AF_UNIX) + " 00000000000000000000FFFF01020304 80", Show(SockAddr(storage)));
}

TEST(SockAddrCompact, WritesAddressAndPortInNetworkOrder) {
  const struct {
    SockAddr addr;
    bool with_port;
    const char* bytes;
  } kCases[] = {
      {V4("1.2.3.4", 6881), true, "010203041AE1"},
      {V4("1.2.3.4", 6881), false, "01020304"},
      {Mapped("1.2.3.4", 6881), true, "00000000000000000000FFFF010203041AE1"},
      {V6("2001:db8::1", 80), true, "20010DB80000000000000000000000010050"},
      {V6("2001:db8::1", 80), false, "20010DB8000000000000000000000001"},
      {OfFamily(AF_UNIX), false, "20010DB8000000000000000000000001"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.bytes);
    GuardedBuffer<unsigned char> out(strlen(c.bytes) / 2);
    EXPECT_EQ(out.size(), c.addr.compact(out.buf(), c.with_port));
    EXPECT_EQ(c.bytes, Hex(out.buf(), out.size()));
    EXPECT_TRUE(out.GuardsHold());
  }
}

TEST(SockAddrCompact, ReadsEachLength) {
  const unsigned char bytes[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 1, 2, 3, 4, 0x1A, 0xE1};
  for (size_t lead = 0; lead < 4; ++lead) {  // at every alignment
    const auto read = [&](const unsigned char* from, size_t len) {
      std::string shifted(lead, 'x');
      shifted.append(reinterpret_cast<const char*>(from), len);
      const ExactBytes exact(shifted);
      SockAddr addr = V6("::5", 99);
      EXPECT_TRUE(addr.from_compact(exact.begin() + lead, len));
      return Show(addr);
    };
    EXPECT_EQ(kV4 + "01020304 6881", read(bytes + 12, 6));
    EXPECT_EQ(kV4 + "01020304 0", read(bytes + 12, 4));
    EXPECT_EQ(kV6 + "00000000000000000000FFFF01020304 6881", read(bytes, 18));
    EXPECT_EQ(kV6 + "00000000000000000000FFFF01020304 0", read(bytes, 16));
  }
}

TEST(SockAddrCompact, AnyOtherLengthZeroesAddressAndPortButKeepsTheFamily) {
  for (size_t len : {0u, 1u, 3u, 5u, 7u, 12u, 15u, 17u, 19u, 100u}) {
    SCOPED_TRACE(len);
    const ExactBytes bytes(std::string(len, '\x7F'));
    SockAddr v6 = V6("2001:db8::1", 80);
    EXPECT_FALSE(v6.from_compact(bytes.begin(), len));
    EXPECT_EQ(kV6 + kZero16 + " 0", Show(v6));
    SockAddr v4 = V4("1.2.3.4", 80);
    EXPECT_FALSE(v4.from_compact(bytes.begin(), len));
    EXPECT_EQ(std::to_string(AF_INET) + " " + kZero16 + " 0", Show(v4));
  }
}

TEST(SockAddrCompact, ConstructorTellsWhetherTheBytesWereTaken) {
  const ExactBytes bytes(std::string_view("\1\2\3\4\x1A\xE1", 6));
  bool ok = false;
  EXPECT_EQ(V4("1.2.3.4", 6881), SockAddr(bytes.begin(), 6, &ok));
  EXPECT_TRUE(ok);
  EXPECT_EQ(std::to_string(AF_INET) + " " + kZero16 + " 0", Show(SockAddr(bytes.begin(), 5, &ok)));
  EXPECT_FALSE(ok);
  EXPECT_EQ(V4("1.2.3.4", 0), SockAddr(bytes.begin(), 4));
}

TEST(SockAddrKinds, ConvertBetweenNormalAndMapped) {
  const SockAddr normal = V4("1.2.3.4", 80);
  const SockAddr mapped = normal.make_mapped_v4();
  EXPECT_EQ(kV6 + "00000000000000000000FFFF01020304 80", Show(mapped));
  EXPECT_TRUE(mapped.is_mapped_v4());
  EXPECT_FALSE(normal.is_mapped_v4());
  EXPECT_EQ(normal, mapped.make_v4());
  EXPECT_EQ(normal, normal.make_v4());
  EXPECT_EQ(mapped, mapped.make_mapped_v4());
}

TEST(SockAddrKindsDeathTest, ConversionRefusesWhatIsNoIPv4) {
  for (const SockAddr& addr : {V6("::1"), OfFamily(AF_UNIX), OfFamily(0)}) {
    EXPECT_FATAL(addr.make_v4(), kSockaddr, 57);
    EXPECT_FATAL(addr.make_mapped_v4(), kSockaddr, 19);
  }
}

TEST(SockAddrKinds, AddressOfFourBytesIsTheLastFour) {
  EXPECT_EQ(0x01020304u, V4("1.2.3.4").get_addr4());
  EXPECT_EQ(0xFFFEFDFCu, Mapped("255.254.253.252").get_addr4());
  EXPECT_EQ(0xABCDEF01u, V6("2001:db8::abcd:ef01").get_addr4());
}

TEST(SockAddrKinds, LoopbackIsOneAddressOfEachFamily) {
  EXPECT_TRUE(V4("127.0.0.1", 5).is_loopback());
  EXPECT_TRUE(Mapped("127.0.0.1").is_loopback());
  EXPECT_TRUE(V6("::1").is_loopback());
  EXPECT_FALSE(V4("127.0.0.2").is_loopback());
  EXPECT_FALSE(V4("127.1.0.1").is_loopback());
  EXPECT_FALSE(Mapped("127.0.0.0").is_loopback());
  EXPECT_FALSE(V6("::2").is_loopback());
  EXPECT_FALSE(V6("1::1").is_loopback());
}

TEST(SockAddrOrder, EqualityTakesEveryField) {
  const SockAddr addr = V4("1.2.3.4", 80);
  EXPECT_EQ(addr, addr);
  EXPECT_EQ(V4("1.2.3.4", 80), addr);
  EXPECT_FALSE(V4("1.2.3.4", 81) == addr);
  EXPECT_FALSE(V4("1.2.3.5", 80) == addr);
  EXPECT_FALSE(Mapped("1.2.3.4", 80) == addr);
  EXPECT_FALSE(V6("2001:db8::1") == V6("2001:db9::1"));
}

TEST(SockAddrOrder, IPv6PrecedesIPv4) {
  EXPECT_EQ(-1, V6("::1").ip_compare(V4("1.2.3.4")));
  EXPECT_EQ(1, V4("1.2.3.4").ip_compare(V6("::1")));
  EXPECT_EQ(-1, V6("ffff::").ip_compare(Mapped("0.0.0.0")));
  EXPECT_EQ(1, Mapped("0.0.0.0").ip_compare(V6("ffff::")));
}

TEST(SockAddrOrder, IPv4OfBothKindsIsNumeric) {
  for (const SockAddr& low : {V4("1.2.3.4"), Mapped("1.2.3.4")}) {
    for (const SockAddr& high : {V4("200.0.0.1"), Mapped("200.0.0.1")}) {
      EXPECT_EQ(-1, low.ip_compare(high));
      EXPECT_EQ(1, high.ip_compare(low));
    }
    EXPECT_EQ(0, low.ip_compare(V4("1.2.3.4", 99)));
    EXPECT_EQ(0, low.ip_compare(Mapped("1.2.3.4")));
  }
}

TEST(SockAddrOrder, IPv6IsByteWise) {
  std::mt19937 random(7);
  for (int i = 0; i < 1000; ++i) {
    SockAddr a = V6("2001:db8::1");
    SockAddr b = a;
    b.address.s6_addr[random() % 16] = static_cast<unsigned char>(random());
    const std::string a_bytes = Hex(&a.address, 16);
    ASSERT_EQ(Sign(a_bytes.compare(Hex(&b.address, 16))), Sign(a.ip_compare(b)));
  }
}

TEST(SockAddrOrderDeathTest, RefusesOtherFamilies) {
  EXPECT_FATAL(OfFamily(AF_UNIX).ip_compare(V6("::1")), kSockaddr, 105);
  EXPECT_FATAL(V6("::1").ip_compare(OfFamily(AF_UNIX)), kSockaddr, 106);
  EXPECT_FATAL(OfFamily(0).compare(OfFamily(0)), kSockaddr, 105);
}

TEST(SockAddrOrder, OtherFamiliesPrecedeIPv4AndEqualThemselves) {
  const SockAddr other = OfFamily(AF_UNIX);
  EXPECT_EQ(-1, other.ip_compare(V4("1.2.3.4")));
  EXPECT_EQ(1, V4("1.2.3.4").ip_compare(other));
  EXPECT_EQ(0, other.compare(other));
}

TEST(SockAddrOrder, PortDecidesBetweenEqualAddresses) {
  EXPECT_EQ(-1, V4("1.2.3.4", 80).compare(V4("1.2.3.4", 60000)));
  EXPECT_EQ(1, V4("1.2.3.4", 60000).compare(Mapped("1.2.3.4", 80)));
  EXPECT_EQ(0, V6("::1", 80).compare(V6("::1", 80)));
  EXPECT_EQ(-1, V4("1.2.3.4", 9).compare(V4("1.2.3.5", 1)));
  EXPECT_EQ(-1, V6("::1", 9).compare(V4("1.2.3.4", 1)));
}

// A 128-bit number.
struct Wide {
  uint64_t high;
  uint64_t low;

  bool operator==(const Wide&) const = default;
};

Wide Number(const SockAddr& addr) {
  Wide n = {0, 0};
  for (unsigned char byte : addr.address.s6_addr) {
    n = {n.high << 8 | n.low >> 56, n.low << 8 | byte};
  }
  return n;
}
SockAddr V6Of(Wide n) {
  SockAddr addr = V6("2001:db8::1", 77);
  for (int i = 0; i < 8; ++i) {
    addr.address.s6_addr[7 - i] = static_cast<unsigned char>(n.high >> 8 * i);
    addr.address.s6_addr[15 - i] = static_cast<unsigned char>(n.low >> 8 * i);
  }
  return addr;
}

// The low `bits` bits, at most 64.
uint64_t Ones(int bits) { return bits <= 0 ? 0 : UINT64_MAX >> (64 - std::min(bits, 64)); }

TEST(SockAddrRounding, IPv4GoesToTheNextNetworkForEveryPrefixLength) {
  std::mt19937 random(11);
  for (int prefix = 0; prefix <= 32; ++prefix) {
    const uint64_t hosts = (uint64_t{1} << (32 - prefix)) - 1;
    for (int i = 0; i < 500; ++i) {
      const uint32_t ip = i == 0 ? 0 : i == 1 ? UINT32_MAX : static_cast<uint32_t>(random());
      const SockAddr mask(static_cast<uint32_t>(~hosts), 1);
      const SockAddr expected(static_cast<uint32_t>((ip | hosts) + 1), 6881);
      ASSERT_EQ(Show(expected), Show(SockAddr::round_up(SockAddr(ip, 6881), mask))) << ip << "/" << prefix;
    }
  }
}

TEST(SockAddrRounding, IPv6GoesToTheNextNetworkForEveryPrefixLength) {
  std::mt19937_64 random(13);
  for (int prefix = 0; prefix <= 128; ++prefix) {
    const Wide hosts = {Ones(64 - prefix), Ones(128 - prefix)};
    for (uint64_t i = 0; i < 200; ++i) {
      const Wide ip = i < 2 ? Wide{-i, -i} : Wide{random(), random()};
      const SockAddr next = SockAddr::round_up(V6Of(ip), V6Of({~hosts.high, ~hosts.low}));
      const Wide last = {ip.high | hosts.high, ip.low | hosts.low};
      const Wide expected = {last.high + (last.low == UINT64_MAX), last.low + 1};
      ASSERT_TRUE(expected == Number(next)) << prefix;
      ASSERT_EQ(77, next.port);
      ASSERT_EQ(AF_INET6, next.family);
    }
  }
}

TEST(SockAddrRounding, AddressDecidesHowManyBytesCount) {
  EXPECT_EQ(V4("10.0.1.0"), SockAddr::round_up(V4("10.0.0.5"), V4("255.255.255.0")));
  EXPECT_EQ(V4("10.0.16.0"), SockAddr::round_up(V4("10.0.0.5"), V4("255.255.240.0")));
  EXPECT_EQ(V4("0.0.0.0", 3), SockAddr::round_up(V4("255.255.255.255", 3), V4("255.255.255.255")));
  const SockAddr past = SockAddr::round_up(Mapped("255.255.255.255"), V6("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"));
  EXPECT_EQ("00000000000000000001000000000000", Hex(&past.address, 16));
  EXPECT_EQ(AF_INET6, past.family);
}

TEST(SockAddrRounding, BytesAboveTheLastOneTouchedStay) {
  EXPECT_EQ(V4("10.0.0.6"), SockAddr::round_up(V4("10.0.0.5"), V4("0.255.255.255")));
  EXPECT_EQ(V4("10.0.1.0"), SockAddr::round_up(V4("10.0.0.5"), V4("0.0.255.0")));
}

std::string Arpa(const SockAddr& addr) {
  char* name = addr.get_arpa();
  std::string text = name;
  MyFree(name);
  return text;
}

TEST(SockAddrReverseName, IPv4HasItsBytesReversed) {
  EXPECT_EQ("1.2.0.192.in-addr.arpa", Arpa(V4("192.0.2.1", 80)));
  EXPECT_EQ("255.0.0.0.in-addr.arpa", Arpa(V4("0.0.0.255")));
}

TEST(SockAddrReverseName, OtherFamiliesHaveTheirCapitalDigitsReversed) {
  EXPECT_EQ("1.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.8.B.D.0.1.0.0.2.ip6.arpa", Arpa(V6("2001:db8::1")));
  EXPECT_EQ("4.0.3.0.2.0.1.0.F.F.F.F.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.ip6.arpa", Arpa(Mapped("1.2.3.4")));
}

TEST(SockAddrReverseName, LeavesNoBlockBehind) {
  const long before = test_host::LiveBlocks();
  Arpa(V6("2001:db8::1"));
  Arpa(V4("1.2.3.4"));
  EXPECT_EQ(before, test_host::LiveBlocks());
}

TEST(SockAddrMemory, ReadingComparingAndPackingAllocateNothing) {
  const long before = test_host::AllocationAttempts();
  const SockAddr a = SockAddr::parse_addr("1.2.3.4:6881");
  const SockAddr b = SockAddr::parse_addr("[2001:db8::1]:80");
  unsigned char bytes[18];
  SockAddr c;
  EXPECT_TRUE(c.from_compact(bytes, b.compact(bytes, true)));
  EXPECT_EQ(0, b.compare(c));
  EXPECT_EQ(-1, b.compare(a));
  EXPECT_EQ(before, test_host::AllocationAttempts());
}

}  // namespace
