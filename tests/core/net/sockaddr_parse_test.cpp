// Socket addresses and address ranges from text.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <string.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "core/net/sockaddr.h"
#include "tests/support/fatal.h"
#include "tests/support/stack_limit.h"
#include "tests/support/text.h"
#include "tests/support/use_ipv6.h"

using namespace core;

namespace {

constexpr char kSockaddr[] = "core/sockaddr";

// What a text gives: "fails", or the platform's text of the address with its family and port.
std::string Parsed(std::string_view text) {
  const Narrow exact(text);
  bool ok = false;
  const SockAddr addr = SockAddr::parse_addr(exact.get(), &ok);
  if (!ok) {
    EXPECT_EQ(SockAddr(), addr) << text;
    return "fails";
  }
  char shown[INET6_ADDRSTRLEN];
  inet_ntop(AF_INET6, &addr.address, shown, sizeof shown);
  return std::string(addr.family == AF_INET ? "v4 " : "v6 ") + shown + " " + std::to_string(addr.port);
}

struct Case {
  const char* text;
  const char* result;
};

TEST(SockAddrParse, ReadsIPv4WithAndWithoutPort) {
  const Case kCases[] = {
      {"1.2.3.4:6881", "v4 ::ffff:1.2.3.4 6881"},
      {"1.2.3.4", "v4 ::ffff:1.2.3.4 0"},
      {"255.255.255.255:65535", "v4 ::ffff:255.255.255.255 65535"},
      {"255.255.255.255", "v4 ::ffff:255.255.255.255 0"},
      {"1..2.3:7", "v4 ::ffff:1.0.2.3 7"},
      {"...:7", "v4 ::ffff:0.0.0.0 7"},
      {" 1.+2.\t3.0004:7", "v4 ::ffff:1.2.3.4 7"},
      {"1.2.3.:7", "v4 ::ffff:1.2.3.0 7"},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(c.result, Parsed(c.text)) << c.text;
  }
}

TEST(SockAddrParse, PortIsWhatAtoiMakesOfItCutTo16Bits) {
  const Case kCases[] = {
      {"1.2.3.4:", "0"},
      {"1.2.3.4:x", "0"},
      {"1.2.3.4:80x", "80"},
      {"1.2.3.4: 80", "80"},
      {"1.2.3.4:+80", "80"},
      {"1.2.3.4:-1", "65535"},
      {"1.2.3.4:00080", "80"},
      {"1.2.3.4:000080", "80"},
      {"1.2.3.4:65536", "0"},
      {"1.2.3.4:99999", "34463"},
      {"1.2.3.4:100000", "34464"},
      {"1.2.3.4:2147483647", "65535"},
      {"[::1]:80", "80"},
      {"[::1]:", "0"},
      {"[::1]:99999", "34463"},
      {"[::1]:-2", "65534"},
      {"[::1]80", "0"},
      {"[::1] :80", "0"},
  };
  for (const Case& c : kCases) {
    const std::string result = Parsed(c.text);
    EXPECT_EQ(c.result, result.substr(result.rfind(' ') + 1)) << c.text;
  }
}

TEST(SockAddrParse, PortTooLongForAnyNumberIsNoFailure) {
  for (const char* start : {"1.2.3.4:", "1.2.3.4:-", "[::1]:", "[::1]:-"}) {
    EXPECT_NE("fails", Parsed(start + std::string(30, '9')));
  }
}

TEST(SockAddrParse, ReadsIPv6InBracketsAndBare) {
  const Case kCases[] = {
      {"[::1]:80", "v6 ::1 80"},
      {"[2001:db8::1]", "v6 2001:db8::1 0"},
      {"::1", "v6 ::1 0"},
      {"::", "v6 :: 0"},
      {"2001:db8::1:80", "v6 2001:db8::1:80 0"},
      {"[::ffff:102:304]:5", "v4 ::ffff:1.2.3.4 5"},
      {"::ffff:1.2.3.4", "v4 ::ffff:1.2.3.4 0"},
      {"[ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255]:1", "v6 ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff 1"},
  };
  for (const Case& c : kCases) {
    EXPECT_EQ(c.result, Parsed(c.text)) << c.text;
  }
}

TEST(SockAddrParse, AnythingElseIsTheUnspecifiedValue) {
  for (const bool use_ipv6 : {false, true}) {
    UseIPv6 setting(use_ipv6);
    for (const char* text : {"",
                             ":",
                             "x",
                             "1.2.3",
                             "1.2.3.4.5",
                             "1.2.3.256",
                             "1.2.3.4x",
                             "1.2.3.4 ",
                             "-1.2.3.4",
                             "[",
                             "[]",
                             "[::1",
                             "[1.2.3.4]",
                             "[1.2.3.4]:80",
                             "[::1]:80]",
                             "::1]",
                             ":80",
                             "1.2.3:80",
                             "1.2.3.4x:80",
                             "1.2.3.4:5:6",
                             "::g",
                             "1.2.3.256:6881",
                             "a[::1]",
                             "1.2.3.4 :80",
                             "[ ::1]",
                             "[::1 ]",
                             "[[::1]]"}) {
      EXPECT_EQ("fails", Parsed(text)) << text;
    }
    bool ok = true;
    EXPECT_EQ(SockAddr(), SockAddr::parse_addr(nullptr, &ok));
    EXPECT_FALSE(ok);
  }
}

TEST(SockAddrParse, FlagIsOptional) {
  EXPECT_EQ(SockAddr(0x01020304u, 80), SockAddr::parse_addr("1.2.3.4:80"));
  EXPECT_EQ(SockAddr(), SockAddr::parse_addr("nothing"));
  EXPECT_EQ(SockAddr(), SockAddr::parse_addr(nullptr));
}

TEST(SockAddrParse, BracketsAroundAnythingLongFail) {
  for (size_t len : {45u, 46u, 62u, 63u, 64u, 65u, 66u, 100000u}) {
    EXPECT_EQ("fails", Parsed("[" + std::string(len, '1') + "]:80")) << len;
    EXPECT_EQ("fails", Parsed("[" + std::string(len, ':') + "]:80")) << len;
  }
}

// A terminator counts: the longest text that is taken has two bytes less than half the limit.
TEST(SockAddrParseDeathTest, TextOfHalfTheStackLimitStopsTheProcess) {
  const auto parse = [](const std::string& start, size_t len) {
    LimitStack(600000);
    bool ok = false;
    const std::string text = start + std::string(len - start.size(), '1');
    SockAddr::parse_addr(text.c_str(), &ok);
    exit(ok ? 1 : 0);
  };
  EXPECT_FATAL(parse("[::1]:", 299999), kSockaddr, 199);
  EXPECT_FATAL(parse("[", 400000), kSockaddr, 199);
  EXPECT_FATAL(parse("1.2.3.4:", 299999), kSockaddr, 228);
  EXPECT_FATAL(parse("x:", 300000), kSockaddr, 228);
  EXPECT_EXIT(parse("[::1]:", 299998), testing::ExitedWithCode(1), "^$");
  EXPECT_EXIT(parse("[", 299998), testing::ExitedWithCode(0), "^$");
  EXPECT_EXIT(parse("1.2.3.4:", 299998), testing::ExitedWithCode(1), "^$");
  EXPECT_EXIT(parse("x:", 299998), testing::ExitedWithCode(0), "^$");
}

TEST(SockAddrParseDeathTest, ShortTextIsMeasuredToo) {
  const auto parse = [](const char* text) {
    LimitStack(26);
    SockAddr::parse_addr(text);
    exit(0);
  };
  EXPECT_FATAL(parse("1.2.3.4:6881"), kSockaddr, 228);
  EXPECT_FATAL(parse("[2001:db8::]"), kSockaddr, 199);
  EXPECT_EXIT(parse("1.2.3.4:688"), testing::ExitedWithCode(0), "^$");
}

TEST(SockAddrParse, OtherFormsMayHaveAnyLength) {
  const size_t len = 20000000;
  EXPECT_EQ("fails", Parsed(std::string(len, '1')));
  EXPECT_EQ("fails", Parsed("1:" + std::string(len, '1') + ":"));
}

TEST(SockAddrParse, AgreesWithThePlatformOnRandomIPv4) {
  std::mt19937 random(20240801);
  for (int i = 0; i < 200000; ++i) {
    const uint32_t ip = static_cast<uint32_t>(random());
    const uint16_t port = static_cast<uint16_t>(random());
    in_addr address = {htonl(ip)};
    char text[64];
    ASSERT_NE(nullptr, inet_ntop(AF_INET, &address, text, sizeof text));
    ASSERT_EQ(SockAddr(ip, 0), SockAddr::parse_addr(text));
    snprintf(text + strlen(text), 16, ":%u", unsigned{port});
    bool ok = false;
    ASSERT_EQ(SockAddr(ip, port), SockAddr::parse_addr(text, &ok)) << text;
    ASSERT_TRUE(ok);
  }
}

TEST(SockAddrParse, AgreesWithThePlatformOnRandomIPv6) {
  std::mt19937 random(20240802);
  for (int i = 0; i < 100000; ++i) {
    in6_addr address;
    const unsigned dense = random() % 4;
    for (unsigned char& byte : address.s6_addr) {
      byte = random() % 3 < dense ? static_cast<unsigned char>(random()) : 0;
    }
    const uint16_t port = static_cast<uint16_t>(random());
    char text[INET6_ADDRSTRLEN];
    ASSERT_NE(nullptr, inet_ntop(AF_INET6, &address, text, sizeof text));
    ASSERT_EQ(SockAddr(address, 0), SockAddr::parse_addr(text)) << text;
    const std::string endpoint = "[" + std::string(text) + "]:" + std::to_string(port);
    bool ok = false;
    ASSERT_EQ(SockAddr(address, port), SockAddr::parse_addr(endpoint.c_str(), &ok)) << endpoint;
    ASSERT_TRUE(ok);
  }
}

// Texts of two or more colons outside brackets, and what stands in brackets, are the platform's to judge.
TEST(SockAddrParse, AgreesWithThePlatformOnRandomTexts) {
  std::mt19937 random(20240803);
  constexpr std::string_view kUnits = "::::0123f.g";
  int accepted = 0;
  for (int i = 0; i < 300000; ++i) {
    std::string text = random() % 2 == 0 ? "::" : "1::";
    for (unsigned n = random() % 8; n != 0; --n) {
      text += kUnits[random() % kUnits.size()];
    }
    in6_addr address;
    const bool expected = inet_pton(AF_INET6, text.c_str(), &address) == 1;
    bool bare = !expected;
    bool bracketed = !expected;
    const SockAddr of_bare = SockAddr::parse_addr(text.c_str(), &bare);
    const SockAddr of_bracketed = SockAddr::parse_addr(("[" + text + "]:5").c_str(), &bracketed);
    ASSERT_EQ(expected, bare) << text;
    ASSERT_EQ(expected, bracketed) << text;
    ASSERT_EQ(expected ? SockAddr(address, 0) : SockAddr(), of_bare) << text;
    ASSERT_EQ(expected ? SockAddr(address, 5) : SockAddr(), of_bracketed) << text;
    accepted += expected;
  }
  EXPECT_LT(1000, accepted);
  EXPECT_GT(290000, accepted);
}

struct Range {
  bool ok;
  SockAddr first;
  SockAddr last;
  std::string text;  // what is left of the caller's
};

Range Cidr(std::string_view text) {
  Narrow exact(text);
  Range range;
  range.first = range.last = SockAddr(0xDEADBEEFu, 1);
  range.ok = ParseCIDR(exact.data(), &range.first, &range.last);
  range.text = exact.get();
  return range;
}

TEST(SockAddrRange, EveryPrefixLengthSetsTheHostBits) {
  std::mt19937 random(17);
  for (int prefix = -3; prefix <= 40; ++prefix) {
    const uint64_t hosts = prefix <= 0 ? UINT32_MAX : prefix >= 32 ? 0 : (uint64_t{1} << (32 - prefix)) - 1;
    for (int i = 0; i < 100; ++i) {
      const uint32_t ip = static_cast<uint32_t>(random());
      const in_addr address = {htonl(ip)};
      char dotted[INET_ADDRSTRLEN];
      inet_ntop(AF_INET, &address, dotted, sizeof dotted);
      const Range range = Cidr(std::string(dotted) + "/" + std::to_string(prefix));
      ASSERT_TRUE(range.ok);
      ASSERT_EQ(SockAddr(ip, 0), range.first);
      ASSERT_EQ(SockAddr(static_cast<uint32_t>(ip | hosts), 0), range.last) << dotted << "/" << prefix;
    }
  }
}

TEST(SockAddrRange, HostBitsOfTheFirstAddressStay) {
  const Range range = Cidr("10.0.0.5/24");
  EXPECT_TRUE(range.ok);
  EXPECT_EQ(SockAddr(0x0A000005u, 0), range.first);
  EXPECT_EQ(SockAddr(0x0A0000FFu, 0), range.last);
}

TEST(SockAddrRange, PortStaysWithTheFirstAddress) {
  const Range range = Cidr("10.0.0.0:80/8");
  EXPECT_TRUE(range.ok);
  EXPECT_EQ(SockAddr(0x0A000000u, 80), range.first);
  EXPECT_EQ(SockAddr(0x0AFFFFFFu, 0), range.last);
}

TEST(SockAddrRange, PrefixLengthIsReadAsStrtolDoes) {
  const struct {
    const char* text;
    uint32_t last;
  } kCases[] = {
      {"10.0.0.0/", UINT32_MAX},
      {"10.0.0.0/x", UINT32_MAX},
      {"10.0.0.0/ +8x", 0x0AFFFFFF},
      {"10.0.0.0/-2147483648", UINT32_MAX},
      {"10.0.0.0/2147483647", 0x0A000000},
      {"10.0.0.0/4294967304", 0x0A000000},
      {"10.0.0.0/99999999999999999999", 0x0A000000},
      {"10.0.0.0/-99999999999999999999", UINT32_MAX},
      {"10.0.0.0/8/24", 0x0AFFFFFF},
  };
  for (const auto& c : kCases) {
    const Range range = Cidr(c.text);
    EXPECT_TRUE(range.ok) << c.text;
    EXPECT_EQ(SockAddr(c.last, 0), range.last) << c.text;
    EXPECT_EQ("10.0.0.0", range.text);
  }
}

TEST(SockAddrRange, WithoutSlashOrAddressFailsAndStoresNothing) {
  for (const char* text : {"10.0.0.0", "", "/8", "10.0.0/8", "x/8"}) {
    const Range range = Cidr(text);
    EXPECT_FALSE(range.ok) << text;
    EXPECT_EQ(SockAddr(0xDEADBEEFu, 1), range.first) << text;
    EXPECT_EQ(SockAddr(0xDEADBEEFu, 1), range.last) << text;
  }
  EXPECT_EQ("x", Cidr("x/8").text);
}

TEST(SockAddrRange, ResultsAreOptional) {
  char text[] = "10.0.0.0/8";
  EXPECT_TRUE(ParseCIDR(text, nullptr, nullptr));
}

TEST(SockAddrRange, MappedAddressIsIPv4) {
  const Range range = Cidr("[::ffff:10.0.0.5]/8");
  EXPECT_TRUE(range.ok);
  EXPECT_EQ(SockAddr(0x0A000005u, 0), range.first);
  EXPECT_EQ(SockAddr(0x0AFFFFFFu, 0), range.last);
}

TEST(SockAddrRangeDeathTest, IPv6StopsTheProcess) {
  EXPECT_FATAL(Cidr("::1/8"), kSockaddr, 334);
  EXPECT_FATAL(Cidr("[2001:db8::1]:80/8"), kSockaddr, 334);
}

TEST(SockAddrRangeDeathTest, UnspecifiedValueMustBeIPv4) {
  UseIPv6 ipv6(true);
  EXPECT_FATAL(Cidr("10.0.0.0/8"), kSockaddr, 57);
}

}  // namespace
