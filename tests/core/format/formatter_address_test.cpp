// The directives for IP addresses.
#include <arpa/inet.h>

#include <random>
#include <string>

#include "tests/support/formatted.h"

namespace {

constexpr uint32_t kAddress = 0xC0A80001;

in6_addr AddressOf(const char* text) {
  in6_addr address;
  EXPECT_EQ(1, inet_pton(AF_INET6, text, &address)) << text;
  return address;
}

TEST(FormatterIp, MostSignificantByteComesFirst) {
  EXPECT_EQ("192.168.0.1", Both("%I", kAddress));
  EXPECT_EQ("0.0.0.0", Both("%I", 0U));
  EXPECT_EQ("255.255.255.255", Both("%I", UINT32_MAX));
  EXPECT_EQ("1.2.3.4", Both("%LI", 0x01020304U));
}

TEST(FormatterIp, WithoutZeroFlagTheWholeIsPaddedOnTheRight) {
  EXPECT_EQ("192.168.0.1    |", Both("%15I|", kAddress));
  EXPECT_EQ("192.168.0.1    |", Both("%-15I|", kAddress));
  EXPECT_EQ("192.168.0.1|", Both("%11I|", kAddress));
  EXPECT_EQ("192.168.0.1|", Both("%3I|", kAddress));
}

TEST(FormatterIp, ZeroFlagPadsEachOctetToTheWidth) {
  EXPECT_EQ("192.168.001.001|", Both("%03I|", 0xC0A80101U));
  EXPECT_EQ("192.168.00.01|", Both("%02I|", kAddress));
  EXPECT_EQ("192.168.0.1|", Both("%0I|", kAddress));
  EXPECT_EQ("00192.00168.00000.00001|", Both("%05I|", kAddress));
}

TEST(FormatterIp, ZeroAndLeftPadOctetsToThreeDigitsAndTheWholeToTheWidth) {
  EXPECT_EQ("192.168.000.001     |", Both("%-020I|", kAddress));
  EXPECT_EQ("192.168.000.001|", Both("%-01I|", kAddress));
  EXPECT_EQ("192.168.000.001|", Both("%-0I|", kAddress));
  EXPECT_EQ("192.168.000.001 |", Both("%0*I|", -16, kAddress));
}

TEST(FormatterIp, ZeroAndLeftWithWidthZeroPadNothing) { EXPECT_EQ("192.168.0.1|", Both("%-0*I|", 0, kAddress)); }

TEST(FormatterIp, PrecisionAndFlagsReachEveryOctet) {
  EXPECT_EQ("192.168.000.001", Both("%.3I", kAddress));
  EXPECT_EQ("1.92.1.68.0.00.0.01", Both("%:.2I", kAddress));
  EXPECT_EQ("0x192.0x168.0x0.0x1", Both("%#I", kAddress));
  EXPECT_EQ("192.168.0.1", Both("%+ I", kAddress));
  const std::string zeros(197, '0');
  EXPECT_EQ(zeros + "192." + zeros + "168." + zeros + "000." + zeros + "001", Both("%.200I", kAddress));
}

TEST(FormatterIp, IPv6TextIsThePlatforms) {
  std::mt19937 random(20240607);
  for (int i = 0; i < 500; ++i) {
    in6_addr address;
    const unsigned sparse = random() % 4;
    for (unsigned char& byte : address.s6_addr) {
      byte = random() % 4 < sparse ? 0 : static_cast<unsigned char>(random());
    }
    char expected[INET6_ADDRSTRLEN];
    ASSERT_NE(nullptr, inet_ntop(AF_INET6, &address, expected, sizeof expected));
    ASSERT_EQ(expected, Both("%V", address));
  }
}

TEST(FormatterIp, IPv6FormsWithZerosAndEmbeddedIPv4) {
  for (const char* text : {"::", "::1", "::ffff:255.255.255.255", "::1.2.3.4", "64:ff9b::102:304", "fe80::1",
                           "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "1:0:0:2::3"}) {
    EXPECT_EQ(text, Both("%V", AddressOf(text)));
  }
}

TEST(FormatterIp, IPv6IsPaddedAndCutLikeAString) {
  const in6_addr address = AddressOf("fe80::1");
  EXPECT_EQ("   fe80::1|", Both("%10V|", address));
  EXPECT_EQ("fe80::1   |", Both("%-10V|", address));
  EXPECT_EQ("fe80|", Both("%.4V|", address));
  EXPECT_EQ("  fe80|", Both("%6.4V|", address));
  EXPECT_EQ("fe80::1|", Both("%.100V|", address));
  EXPECT_EQ("|", Both("%6.0V|", address));
}

}  // namespace
