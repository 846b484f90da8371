// IP addresses from text.
#include "core/util/util.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/fatal.h"
#include "tests/support/text.h"

using namespace core;

namespace {

constexpr uint32_t kFails = 0xFFFFFFFF;

// The same text by the rule in its plain form: four calls of strtoul.
bool ModelParse(const char* text, uint32_t* address) {
  *address = 0;
  for (int i = 0; i < 4; ++i) {
    char* end = nullptr;
    const unsigned long value = strtoul(text, &end, 10);
    if (value > 255 || *end != (i < 3 ? '.' : 0)) {
      *address = kFails;
      return false;
    }
    *address = *address << 8 | static_cast<uint32_t>(value);
    text = end + 1;
  }
  return true;
}

void ExpectLikeModel(const std::string& text) {
  const Narrow exact(text);
  uint32_t address = 0;
  const bool valid = ModelParse(exact.get(), &address);
  bool ok = !valid;
  ASSERT_EQ(address, parse_ip(exact.get(), &ok)) << text;
  ASSERT_EQ(valid, ok) << text;
}

TEST(ParseIp, GivesTheAddressInHostOrder) {
  bool ok = false;
  EXPECT_EQ(0x7F000001u, parse_ip("127.0.0.1", &ok));
  EXPECT_TRUE(ok);
  EXPECT_EQ(0x01000203u, parse_ip("1..2.3", &ok));
  EXPECT_TRUE(ok);
  EXPECT_EQ(0x01020304u, parse_ip("1.2.3.4"));
}

TEST(ParseIp, OnlyTheFlagTellsTheLastAddressFromFailure) {
  bool ok = false;
  EXPECT_EQ(kFails, parse_ip("255.255.255.255", &ok));
  EXPECT_TRUE(ok);
  EXPECT_EQ(kFails, parse_ip("255.255.255.256", &ok));
  EXPECT_FALSE(ok);
}

TEST(ParseIp, RefusesOtherTexts) {
  for (const char* text : {"", "1.2.3", "1.2.3.256", "256.2.3.4", "1.2.3.4x", "1.2.3.4.", "1.2.3.4.5", "1.2.3.4 ",
                           "-1.2.3.4", "x", "1.2.3.x", "1,2.3.4", "1. .2.3", "1.+.2.3", "1.2.3.1000", "0x1.2.3.4",
                           "18446744073709551616.2.3.4", "-18446744073709551616.2.3.4", "1.2.3.4:80"}) {
    bool ok = true;
    EXPECT_EQ(kFails, parse_ip(Narrow(text).get(), &ok)) << text;
    EXPECT_FALSE(ok) << text;
  }
}

TEST(ParseIp, FieldsAreReadAsStrtoulDoes) {
  for (const char* text : {" 1.\t2.\n3.\v4", "+1.+2.+3.+4", "-0.0.0.0", "000000001.0002.03.4", "...", "1.2.3.",
                           "-18446744073709551615.-18446744073709551361.3.4", " +1.2.3.4"}) {
    bool ok = false;
    uint32_t expected = 0;
    EXPECT_TRUE(ModelParse(text, &expected)) << text;
    EXPECT_EQ(expected, parse_ip(Narrow(text).get(), &ok)) << text;
    EXPECT_TRUE(ok) << text;
  }
}

TEST(ParseIp, AgreesWithStrtoulOnEveryField) {
  for (int value = 0; value < 1100; ++value) {
    for (const char* form :
         {"%d.2.3.4", "1.%d.3.4", "1.2.3.%d", "1.2.3.%03d", "-%d.2.3.4", "1.2.3. +%d", "1.2.%04d.4"}) {
      char text[64];
      snprintf(text, sizeof text, form, value);
      ExpectLikeModel(text);
    }
  }
}

TEST(ParseIp, AgreesWithStrtoulOnRandomTexts) {
  std::mt19937 random(20240805);
  constexpr std::string_view kUnits = "....0125599+- x\t";
  for (int i = 0; i < 300000; ++i) {
    std::string text;
    for (int field = 0; field < 4; ++field) {
      for (unsigned n = random() % 4; n != 0; --n) {
        text += kUnits[random() % kUnits.size()];
      }
      text += field < 3 || random() % 16 == 0 ? "." : "";
    }
    ExpectLikeModel(text);
  }
}

TEST(ParseIp, ReadsTheLongestNumbersInOnePass) {
  const std::string zeros(1000000, '0');
  bool ok = false;
  EXPECT_EQ(0x01020304u, parse_ip((zeros + "1." + zeros + "2.3." + zeros + "4").c_str(), &ok));
  EXPECT_TRUE(ok);
  parse_ip(std::string(1000000, '9').c_str(), &ok);
  EXPECT_FALSE(ok);
}

TEST(ParseIp, WideTextIsConvertedFirst) {
  EXPECT_EQ(0x01020304u, parse_ip(L"1.2.3.4"));
  EXPECT_EQ(kFails, parse_ip(L"1.2.3.4\u00E9"));
}

TEST(ParseIpDeathTest, NullStopsTheProcess) {
  EXPECT_FATAL(parse_ip(static_cast<const char*>(nullptr)), "core/util", 634);
  EXPECT_FATAL(parse_ip(static_cast<const wchar_t*>(nullptr)), "core/util", 634);
}

TEST(ReadIp, StopsBehindTheLastField) {
  for (const auto& [text, rest] : {std::pair{"1.2.3.4:80", ":80"}, {"1.2.3.4", ""}, {"1.2.3.:9", ":9"}}) {
    uint32_t address = 0;
    EXPECT_STREQ(rest, read_ip(text, &address));
    EXPECT_EQ(0x010203u, address >> 8);
  }
  uint32_t address = 5;
  EXPECT_EQ(nullptr, read_ip("1.2.3:4", &address));
  EXPECT_EQ(5u, address);
}

TEST(ParseIpV6, GivesThePlatformsBytes) {
  bool ok = false;
  in6_addr expected;
  ASSERT_EQ(1, inet_pton(AF_INET6, "2001:db8::1", &expected));
  const in6_addr address = parse_ip_v6("2001:db8::1", &ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(0, memcmp(&expected, &address, 16));
}

TEST(ParseIpV6, CallersMayTakeTheAddressAlone) {
  in6_addr expected;
  ASSERT_EQ(1, inet_pton(AF_INET6, "::1", &expected));
  const in6_addr parsed = parse_ip_v6("::1", nullptr);
  EXPECT_EQ(0, memcmp(&expected, &parsed, 16));
  const in6_addr failed = parse_ip_v6("::g", nullptr);
  expected = {};
  EXPECT_EQ(0, memcmp(&expected, &failed, 16));
}

TEST(ParseIpV6, FailureIsAllZero) {
  const in6_addr zero = {};
  for (const char* text :
       {"", "1.2.3.4", "::g", "2001:db8::1%lo", "2001:db8:1", " ::1", "[::1]", static_cast<const char*>(nullptr)}) {
    bool ok = true;
    const in6_addr address = parse_ip_v6(text, &ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(0, memcmp(&zero, &address, 16));
  }
}

}  // namespace
