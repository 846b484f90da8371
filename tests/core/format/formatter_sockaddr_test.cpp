// The directives for socket addresses.
#include <arpa/inet.h>

#include <random>
#include <string>
#include <string_view>

#include "core/format/strfmt.h"
#include "core/net/sockaddr.h"
#include "tests/support/fatal.h"
#include "tests/support/formatted.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/platform_memory.h"

namespace {

using core::SockAddr;

SockAddr V6(const char* text, uint16_t port) {
  in6_addr address;
  EXPECT_EQ(1, inet_pton(AF_INET6, text, &address)) << text;
  return SockAddr(address, port);
}

const SockAddr kV4(0xC0A80001u, 6881);

TEST(FormatterSockAddr, IPv4IsTheDottedQuad) {
  EXPECT_EQ("192.168.0.1|", Both("%a|", &kV4));
  EXPECT_EQ("192.168.0.1:6881|", Both("%A|", &kV4));
}

TEST(FormatterSockAddr, IPv6StandsInBracketsBeforeAPortOnly) {
  const SockAddr addr = V6("2001:db8::1", 80);
  EXPECT_EQ("2001:db8::1|", Both("%a|", &addr));
  EXPECT_EQ("[2001:db8::1]:80|", Both("%A|", &addr));
}

TEST(FormatterSockAddr, MappedAddressShowsAsIPv4AndStaysAsItIs) {
  const SockAddr mapped = kV4.make_mapped_v4();
  EXPECT_EQ("192.168.0.1|", Both("%a|", &mapped));
  EXPECT_EQ("192.168.0.1:6881|", Both("%A|", &mapped));
  EXPECT_TRUE(mapped.is_mapped_v4());
}

TEST(FormatterSockAddr, PortOfZeroIsShown) {
  const SockAddr addr;
  EXPECT_EQ("0.0.0.0:0", Both("%A", &addr));
}

TEST(FormatterSockAddr, IsPaddedOnTheRightWhateverTheFlags) {
  const SockAddr v6 = V6("::1", 80);
  EXPECT_EQ("192.168.0.1    |", Both("%15a|", &kV4));
  EXPECT_EQ("192.168.0.1    |", Both("%-15a|", &kV4));
  EXPECT_EQ("192.168.0.1    |", Both("%015a|", &kV4));
  EXPECT_EQ("192.168.0.1    |", Both("%-015a|", &kV4));
  EXPECT_EQ("192.168.0.1:6881  |", Both("%18A|", &kV4));
  EXPECT_EQ("192.168.0.1:6881|", Both("%16A|", &kV4));
  EXPECT_EQ("192.168.0.1:6881|", Both("%15A|", &kV4));
  EXPECT_EQ("::1  |", Both("%5a|", &v6));
  EXPECT_EQ("[::1]:80  |", Both("%*A|", 10, &v6));
}

TEST(FormatterSockAddr, PrecisionReachesOctetsTextAndPort) {
  const SockAddr v6 = V6("2001:db8::1", 80);
  EXPECT_EQ("192.168.000.001|", Both("%.3a|", &kV4));
  EXPECT_EQ("00192.00168.00000.00001:06881|", Both("%.5A|", &kV4));
  EXPECT_EQ("2001|", Both("%.4a|", &v6));
  EXPECT_EQ("[2001]:0080|", Both("%.4A|", &v6));
}

TEST(FormatterSockAddr, OtherFlagsReachTheOctetsButNotThePort) {
  EXPECT_EQ("0xc0", Both("%#x", 192));
  EXPECT_EQ("0x192.0x168.0x0.0x1:6881", Both("%#A", &kV4));
  EXPECT_EQ("1.92.1.68.0.00.0.01:6881", Both("%:.2A", &kV4));
}

TEST(FormatterSockAddr, WriterShowsThePortByItsFlag) {
  Recorder plain(kTestLimit);
  core::fmt_addr(plain, &kV4, -1, -1, 0);
  EXPECT_EQ("192.168.0.1", plain.Bytes());
  Recorder with_port(kTestLimit);
  core::fmt_addr(with_port, &kV4, 20, -1, core::kFormatPort | core::kFormatLeft);
  EXPECT_EQ("192.168.0.1:6881    ", with_port.Bytes());
}

TEST(FormatterSockAddr, IsCutAtTheLimitAndTakesItsArgument) {
  const SockAddr v6 = V6("2001:db8::1", 80);
  const std::string whole = "[2001:db8::1]:80 192.168.0.1 7";
  for (size_t room = 1; room <= whole.size() + 2; ++room) {
    GuardedBuffer<char> out(room);
    core::nusnprintf(out.buf(), room, "%A %a %d", &v6, &kV4, 7);
    EXPECT_EQ(whole.substr(0, room - 1), out.buf());
    EXPECT_TRUE(out.GuardsHold());
  }
}

TEST(FormatterSockAddr, AgreesWithThePlatform) {
  std::mt19937 random(20240806);
  for (int i = 0; i < 50000; ++i) {
    in6_addr address = {};
    for (unsigned char& byte : address.s6_addr) {
      byte = random() % 2 == 0 ? 0 : static_cast<unsigned char>(random());
    }
    const SockAddr v6(address, static_cast<uint16_t>(random()));
    const SockAddr v4(static_cast<uint32_t>(random()), static_cast<uint16_t>(random()));
    char text6[INET6_ADDRSTRLEN];
    char text4[INET_ADDRSTRLEN];
    ASSERT_NE(nullptr, inet_ntop(AF_INET6, &address, text6, sizeof text6));
    ASSERT_NE(nullptr, inet_ntop(AF_INET, v4.address.s6_addr + 12, text4, sizeof text4));
    char ours[256];
    core::nusnprintf(ours, sizeof ours, "%a %A %a %A", &v6, &v6, &v4, &v4);
    const std::string expected = std::string(text6) + " [" + text6 + "]:" + std::to_string(v6.port) + " " + text4 +
                                 " " + text4 + ":" + std::to_string(v4.port);
    ASSERT_EQ(expected, ours);
  }
}

TEST(FormatterSockAddr, AllocatesNothing) {
  const long before = test_host::AllocationAttempts();
  const SockAddr v6 = V6("2001:db8::1", 80);
  char narrow[64];
  wchar_t wide[64];
  EXPECT_EQ(16, core::nusnprintf(narrow, 64, "%A", &v6));
  EXPECT_EQ(16, core::nuwsnprintf(wide, 64, L"%A", &kV4));
  EXPECT_EQ(before, test_host::AllocationAttempts());
}

TEST(FormatterSockAddrDeathTest, NullStopsTheProcess) {
  char narrow[8];
  wchar_t wide[8];
  const SockAddr* none = nullptr;
  EXPECT_FATAL(core::nusnprintf(narrow, 8, "%A", none), "core/strfmt", 536);
  EXPECT_FATAL(core::nusnprintf(narrow, 8, "%a", none), "core/strfmt", 543);
  EXPECT_FATAL(core::nuwsnprintf(wide, 8, L"%A", none), "core/strfmt", 536);
  EXPECT_FATAL(core::nuwsnprintf(wide, 8, L"%a", none), "core/strfmt", 543);
}

}  // namespace
