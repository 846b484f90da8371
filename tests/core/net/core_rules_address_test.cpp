// Socket addresses, their text forms and the helpers over URLs and paths, rule by rule.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>
#include <sys/socket.h>
#include <wchar.h>

#include <array>
#include <string>

#include "core/base/host.h"
#include "core/base/mem1.h"
#include "core/format/strfmt.h"
#include "core/net/sockaddr.h"
#include "core/net/util_ip.h"
#include "core/util/util_path.h"
#include "core/util/util_url.h"
#include "tests/support/exact_bytes.h"
#include "tests/support/fatal.h"
#include "tests/support/test_host.h"

using core::SockAddr;

namespace {

constexpr char kSockaddr[] = "core/sockaddr";

// The bytes of a string with its terminator, in a block of exactly that size.
struct Text : ExactBytes {
  explicit Text(const std::string& s) : ExactBytes(s.c_str(), s.size() + 1) {}
};
struct WideText : ExactBytes {
  explicit WideText(const std::wstring& s) : ExactBytes(s.c_str(), (s.size() + 1) * sizeof(wchar_t)) {}
  wchar_t* wide() { return reinterpret_cast<wchar_t*>(data()); }
};

std::string Take(char* s) {
  std::string text(s);
  core::MyFree(s);
  return text;
}
std::string Take(wchar_t* s) {
  std::string text(s, s + wcslen(s));
  core::MyFree(s);
  return text;
}

using Bytes16 = std::array<uint8_t, 16>;

Bytes16 BytesOf(const in6_addr& address) {
  Bytes16 bytes;
  memcpy(bytes.data(), &address, bytes.size());
  return bytes;
}

in6_addr Ip6(const char* text) {
  in6_addr address;
  EXPECT_EQ(1, inet_pton(AF_INET6, text, &address)) << text;
  return address;
}

// A value of those fields, whatever a constructor would make of them.
SockAddr Raw(const char* ip6, uint16_t port, int family) {
  SockAddr value;
  value.address = Ip6(ip6);
  value.port = port;
  value.family = static_cast<uint8_t>(family);
  return value;
}

// Every field: "family address port".
std::string Fields(const SockAddr& value) {
  char text[INET6_ADDRSTRLEN];
  const std::string family = value.family == AF_INET    ? "v4 "
                             : value.family == AF_INET6 ? "v6 "
                                                        : std::to_string(value.family) + " ";
  return family + inet_ntop(AF_INET6, &value.address, text, sizeof text) + " " + std::to_string(value.port);
}

constexpr char kNone4[] = "v4 ::ffff:0.0.0.0 0";
constexpr char kNone6[] = "v6 :: 0";

class AddressRules : public testing::Test {
 protected:
  void SetUp() override {
    core::FreeTLS(core::GetTLS());
    blocks_ = test_host::LiveBlocks();
  }
  void TearDown() override {
    SockAddr::_use_ipv6 = false;
    core::FreeTLS(core::GetTLS());
    EXPECT_EQ(blocks_, test_host::LiveBlocks());
  }

 private:
  test_host::Scope host_;
  long blocks_ = 0;
};

// --- construction ---

TEST_F(AddressRules, IPv4ValuesAreMappedWhateverTheSetting) {
  SockAddr::_use_ipv6 = true;
  EXPECT_EQ("v4 ::ffff:1.2.3.4 5", Fields(SockAddr(0x01020304, 5)));
  SockAddr value;
  EXPECT_TRUE(value.from_compact(ExactBytes("\x01\x02\x03\x04").begin(), 4));
  EXPECT_EQ("v4 ::ffff:1.2.3.4 0", Fields(value));
}

sockaddr_storage StorageOf4(const char* ip, uint16_t port) {
  sockaddr_in in = {};
  in.sin_family = AF_INET;
  in.sin_port = htons(port);
  EXPECT_EQ(1, inet_pton(AF_INET, ip, &in.sin_addr));
  sockaddr_storage storage;
  memset(&storage, 0xA5, sizeof storage);
  memcpy(&storage, &in, sizeof in);
  return storage;
}

sockaddr_storage StorageOf6(const char* ip, uint16_t port, int family) {
  sockaddr_in6 in = {};
  in.sin6_family = static_cast<sa_family_t>(family);
  in.sin6_port = htons(port);
  in.sin6_addr = Ip6(ip);
  sockaddr_storage storage;
  memset(&storage, 0xA5, sizeof storage);
  memcpy(&storage, &in, sizeof in);
  return storage;
}

TEST_F(AddressRules, ConstructorFromStorageKeepsTheFamily) {
  for (bool use_ipv6 : {false, true}) {
    SockAddr::_use_ipv6 = use_ipv6;
    EXPECT_EQ("v4 ::ffff:1.2.3.4 258", Fields(SockAddr(StorageOf4("1.2.3.4", 0x0102))));
    EXPECT_EQ("v6 2001:db8::1 65534", Fields(SockAddr(StorageOf6("2001:db8::1", 65534, AF_INET6))));
    EXPECT_EQ("v6 ::ffff:1.2.3.4 3", Fields(SockAddr(StorageOf6("::ffff:1.2.3.4", 3, AF_INET6))));
    EXPECT_EQ("1 ::ffff:1.2.3.4 3", Fields(SockAddr(StorageOf6("::ffff:1.2.3.4", 3, AF_UNIX))));
  }
}

TEST_F(AddressRules, CompactBytesThatFailGiveTheUnspecifiedFamily) {
  SockAddr::_use_ipv6 = true;
  EXPECT_EQ(kNone6, Fields(SockAddr(ExactBytes("12345").begin(), 5)));
}

// --- compact form ---

TEST_F(AddressRules, FromCompactOfNothingMayBeNull) {
  SockAddr value(0x01020304, 5);
  EXPECT_FALSE(value.from_compact(nullptr, 0));
  EXPECT_EQ("v4 :: 0", Fields(value));
}

// --- kinds of IPv4 ---

TEST_F(AddressRules, FamilyOfIPv4IsEnoughWhateverTheBytes) {
  EXPECT_EQ("v4 2001:db8::1 7", Fields(Raw("2001:db8::1", 7, AF_INET).make_v4()));
  EXPECT_EQ("v6 2001:db8::1 7", Fields(Raw("2001:db8::1", 7, AF_INET).make_mapped_v4()));
}

TEST(AddressRulesDeathTest, OtherValuesHaveNoIPv4Kind) {
  for (const SockAddr& value :
       {Raw("::1.2.3.4", 0, AF_INET6), Raw("::fffe:102:304", 0, AF_INET6), Raw("::ffff:1.2.3.4", 0, AF_UNIX)}) {
    EXPECT_FATAL(value.make_v4(), kSockaddr, 57);
    EXPECT_FATAL(value.make_mapped_v4(), kSockaddr, 19);
  }
}

TEST_F(AddressRules, OnlyIPv6ValuesAreMapped) { EXPECT_FALSE(Raw("::ffff:1.2.3.4", 0, AF_UNIX).is_mapped_v4()); }

TEST_F(AddressRules, LoopbackIsOneAddressOfEachKind) {
  const struct {
    const char* ip;
    int family;
    bool loopback;
  } kCases[] = {
      {"::ffff:1.0.0.127", AF_INET, false},
      {"::127.0.0.1", AF_INET6, false},
      {"::", AF_INET6, false},
      {"::1", AF_INET, false},
      {"::1", AF_UNIX, true},
      {"::ffff:127.0.0.1", AF_UNIX, false},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.loopback, Raw(c.ip, 80, c.family).is_loopback()) << c.ip << " " << c.family;
  }
}

// --- order ---

TEST_F(AddressRules, EqualityComparesEveryByte) {
  const SockAddr value(0x01020304, 80);
  for (size_t i = 0; i < 16; ++i) {
    SockAddr other = value;
    other.address.s6_addr[i] ^= 1;
    EXPECT_FALSE(value == other) << i;
  }
}

TEST_F(AddressRules, AnotherFamilyWithTheMappedPrefixIsNotIPv4) {
  const SockAddr odd = Raw("::ffff:1.2.3.4", 1, AF_UNIX);
  const SockAddr v4(1, 1);
  EXPECT_EQ(-1, odd.ip_compare(v4));
  EXPECT_EQ(1, v4.ip_compare(odd));
  EXPECT_EQ(0, odd.compare(odd));
}

// --- parse_addr ---

TEST_F(AddressRules, ParseAddr) {
  const struct {
    const char* text;
    const char* fields;  // null: a failure
  } kCases[] = {
      // bracketed
      {"[::1]x:80", "v6 ::1 0"},
      {"[::1]::80", "v6 ::1 0"},
      {"[::1]:80:90", "v6 ::1 80"},
      {"[::1]: +80x", "v6 ::1 80"},
      {"[::1]:0x10", "v6 ::1 0"},
      {"[::1]:010", "v6 ::1 10"},
      {"[::ffff:1.2.3.4]", "v4 ::ffff:1.2.3.4 0"},
      {"[::1.2.3.4]:5", "v6 ::1.2.3.4 5"},
      {"[::]:1", "v6 :: 1"},
      {"[FFFF:ffff:FFFF:ffff:FFFF:ffff:FFFF:ffff]:65535", "v6 ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff 65535"},
      {"[]:80", nullptr},
      {"[::1:80", nullptr},
      {"[::1]]", nullptr},
      {"[::1]]:80", nullptr},
      {"[1.2.3.4", nullptr},
      {"[::1%lo]:80", nullptr},
      {" [::1]:80", nullptr},
      {"]", nullptr},
      // two colons or more
      {"::1", "v6 ::1 0"},
      {"::ffff:1.2.3.4", "v4 ::ffff:1.2.3.4 0"},
      {"::ffff:1.2.3.4:80", nullptr},
      {":::", nullptr},
      {"::1 ", nullptr},
      {"::1%1", nullptr},
      // one colon
      {"1.2.3.4:6881", "v4 ::ffff:1.2.3.4 6881"},
      {"1.2.3.4:65535", "v4 ::ffff:1.2.3.4 65535"},
      {"1.2.3.4:\t 7.9", "v4 ::ffff:1.2.3.4 7"},
      {"1.2.3.4:80[", "v4 ::ffff:1.2.3.4 80"},
      {" 1.2.3.4:80", "v4 ::ffff:1.2.3.4 80"},
      {"1.2.3.4.5:80", nullptr},
      // none
      {"1.2.3.4", "v4 ::ffff:1.2.3.4 0"},
      {"1.2.3.4]", nullptr},
      {nullptr, nullptr},
  };
  for (bool use_ipv6 : {false, true}) {
    SockAddr::_use_ipv6 = use_ipv6;
    for (const auto& c : kCases) {
      SCOPED_TRACE(c.text != nullptr ? c.text : "null");
      Text text(c.text != nullptr ? c.text : "");
      const std::string before(text.view());
      const char* argument = c.text != nullptr ? text.chars() : nullptr;
      const std::string expected = c.fields != nullptr ? c.fields : use_ipv6 ? kNone6 : kNone4;
      bool ok = c.fields == nullptr;
      EXPECT_EQ(expected, Fields(SockAddr::parse_addr(argument, &ok)));
      EXPECT_EQ(c.fields != nullptr, ok);
      EXPECT_EQ(expected, Fields(SockAddr::parse_addr(argument)));
      EXPECT_EQ(before, text.view());
    }
  }
}

TEST_F(AddressRules, PortsBeyondThirtyTwoBitsAreCut) {
  EXPECT_EQ(1, SockAddr::parse_addr("1.2.3.4:4294967297").port);
  EXPECT_EQ(0xFFFF, SockAddr::parse_addr("1.2.3.4:999999999999999999999999999999").port);
  EXPECT_EQ(0, SockAddr::parse_addr("[::1]:-999999999999999999999999999999").port);
}

// --- round_up ---

std::string RoundedUp(const SockAddr& address, const SockAddr& mask) {
  return Fields(SockAddr::round_up(address, mask));
}

TEST_F(AddressRules, RoundUp) {
  const struct {
    const char* address;
    const char* mask;
    const char* result;
  } kCases[] = {
      {"10.1.2.5", "0.0.0.255", "10.1.2.6"},
      {"10.1.255.5", "255.0.255.0", "11.0.0.0"},
  };
  for (const auto& c : kCases) {
    SockAddr address = SockAddr::parse_addr(c.address);
    address.port = 6881;
    const SockAddr mask = SockAddr::parse_addr(c.mask);
    const std::string tail = std::string("::ffff:") + c.result + " 6881";
    EXPECT_EQ("v4 " + tail, RoundedUp(address, mask)) << c.address << "/" << c.mask;
    // The family of the address alone decides.
    EXPECT_EQ("v4 " + tail, RoundedUp(address, mask.make_mapped_v4())) << c.address << "/" << c.mask;
  }
}

TEST_F(AddressRules, RoundUpOfIPv6GoesOnToTheFirstByte) {
  EXPECT_EQ("v6 2001:db8:0:1:: 9",
            RoundedUp(Raw("2001:db8::5", 9, AF_INET6), Raw("ffff:ffff:ffff:ffff::", 1, AF_INET6)));
  EXPECT_EQ("v6 :: 9", RoundedUp(Raw("ffff::5", 9, AF_INET6), Raw("ffff::", 1, AF_INET6)));
  EXPECT_EQ("v6 ::1:0:0:0 9", RoundedUp(Raw("::ffff:255.255.255.255", 9, AF_INET6),
                                        Raw("ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", 1, AF_INET)));
  EXPECT_EQ("v6 :: 9", RoundedUp(Raw("::ffff:255.0.0.1", 9, AF_INET6), Raw("::ffff:255.0.0.0", 1, AF_INET)));
}

// --- ParseCIDR ---

TEST_F(AddressRules, ParseCidr) {
  const struct {
    const char* text;
    const char* first;
    const char* last;
  } kCases[] = {
      {"10.0.0.0/010", "v4 ::ffff:10.0.0.0 0", "v4 ::ffff:10.63.255.255 0"},
      {"10.0.0.0/0x18", "v4 ::ffff:10.0.0.0 0", "v4 ::ffff:255.255.255.255 0"},
      {"::ffff:10.0.0.0/24", "v4 ::ffff:10.0.0.0 0", "v4 ::ffff:10.0.0.255 0"},
      {"[::ffff:10.0.0.1]:7/24", "v4 ::ffff:10.0.0.1 7", "v4 ::ffff:10.0.0.255 0"},
      {"/", nullptr, nullptr},
      {"10.0.0.0 /8", nullptr, nullptr},
      {"[::1/64", nullptr, nullptr},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.text);
    const bool good = c.first != nullptr;
    std::string after(c.text, strlen(c.text) + 1);
    const size_t slash = after.find('/');
    if (slash != std::string::npos) {
      after[slash] = '\0';
    }
    SockAddr first = Raw("2001:db8::1", 11, AF_INET6);
    SockAddr last = Raw("2001:db8::2", 12, AF_INET6);
    Text text(c.text);
    EXPECT_EQ(good, core::ParseCIDR(text.chars(), &first, &last));
    EXPECT_EQ(after, text.view());
    EXPECT_EQ(good ? c.first : "v6 2001:db8::1 11", Fields(first));
    EXPECT_EQ(good ? c.last : "v6 2001:db8::2 12", Fields(last));
    Text again(c.text);
    EXPECT_EQ(good, core::ParseCIDR(again.chars(), nullptr, nullptr));
  }
}

TEST_F(AddressRules, CidrWithIPv6ValuesStillFailsOnBadText) {
  SockAddr::_use_ipv6 = true;
  Text none("10.0.0.0");
  EXPECT_FALSE(core::ParseCIDR(none.chars(), nullptr, nullptr));
  Text bad("x/8");
  EXPECT_FALSE(core::ParseCIDR(bad.chars(), nullptr, nullptr));
}

TEST(AddressRulesDeathTest, CidrIsForIPv4Only) {
  SockAddr first;
  SockAddr last;
  for (const char* range : {"::1.2.3.4/8", "::/"}) {
    Text text(range);
    EXPECT_FATAL(core::ParseCIDR(text.chars(), &first, &last), kSockaddr, 334);
  }
  Text v6("::1/64");
  EXPECT_FATAL((SockAddr::_use_ipv6 = true, core::ParseCIDR(v6.chars(), &first, &last)), kSockaddr, 334);
}

// --- get_arpa ---

std::string NibbleName(const in6_addr& address) {
  std::string name;
  for (int i = 15; i >= 0; --i) {
    for (int shift : {0, 4}) {
      name += "0123456789ABCDEF"[(address.s6_addr[i] >> shift) & 15];
      name += '.';
    }
  }
  return name + "ip6.arpa";
}

TEST_F(AddressRules, ArpaNames) {
  const struct {
    const char* ip;
    int family;
  } kCases[] = {
      {"123:4567:89ab:cdef:fedc:ba98:7654:3210", AF_INET6},
      {"::ffff:192.0.2.1", AF_UNIX},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(NibbleName(Ip6(c.ip)), Take(Raw(c.ip, 6881, c.family).get_arpa()));
  }
}

// --- %a and %A ---

TEST_F(AddressRules, FormatsAddresses) {
  const SockAddr v4(0x01020304, 80);
  const SockAddr v6 = Raw("2001:db8::1", 80, AF_INET6);
  const SockAddr any = Raw("::", 0, AF_INET6);
  const SockAddr longest = Raw("abcd:abcd:abcd:abcd:abcd:abcd:abcd:abcd", 65535, AF_INET6);
  const struct {
    const char* format;
    const SockAddr* value;
    const char* text;
  } kCases[] = {
      {"%a|", &any, "::|"},
      {"%A|", &any, "[::]:0|"},
      {"%A|", &longest, "[abcd:abcd:abcd:abcd:abcd:abcd:abcd:abcd]:65535|"},
      {"%la|", &v4, "1.2.3.4|"},
      {"%LA|", &v4, "1.2.3.4:80|"},
      // Width pads the whole on the right, with or without flags.
      {"%-18A|", &v6, "[2001:db8::1]:80  |"},
      {"%018A|", &v6, "[2001:db8::1]:80  |"},
      {"%3A|", &v6, "[2001:db8::1]:80|"},
      // The precision goes to every octet, to the text of an IPv6 address and to the port.
      {"%18.3a|", &v4, "001.002.003.004   |"},
      {"%018.2a|", &v4, "01.02.03.04       |"},
      {"%.0A|", &v4, "1.2.3.4:80|"},
      {"%.A|", &v4, "1.2.3.4:80|"},
      {"%.0a|", &v6, "|"},
      {"%3.0a|", &v6, "   |"},
      {"%.0A|", &v6, "[]:80|"},
      {"%.11a|", &v6, "2001:db8::1|"},
      {"%.10a|", &v6, "2001:db8::|"},
      // Other flags reach the octets, not the port.
      {"%+ A|", &v4, "1.2.3.4:80|"},
      {"%#+ 0-A|", &v6, "[2001:db8::1]:80|"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.format);
    const Bytes16 before = BytesOf(c.value->address);
    EXPECT_EQ(c.text, Take(core::str_fmt(c.format, c.value)));
    const std::wstring wide(c.format, c.format + strlen(c.format));
    EXPECT_EQ(c.text, Take(core::wstr_fmt(wide.c_str(), c.value)));
    EXPECT_EQ(before, BytesOf(c.value->address));
  }
}

TEST_F(AddressRules, FormattedAddressIsCutAnywhere) {
  for (const SockAddr& value : {SockAddr(0x01020304, 80), Raw("2001:db8::1", 80, AF_INET6)}) {
    const std::string whole = Take(core::str_fmt("%20A|", &value));
    ASSERT_EQ(21u, whole.size());
    for (size_t size = 1; size <= whole.size() + 2; ++size) {
      ExactBytes out(std::string(size, '?'));
      const std::string expected = whole.substr(0, size - 1);
      EXPECT_EQ(static_cast<int>(expected.size()), core::nusnprintf(out.chars(), size, "%20A|", &value));
      EXPECT_EQ(expected, out.chars());
      WideText wide(std::wstring(size - 1, L'?'));
      EXPECT_EQ(static_cast<int>(expected.size()), core::nuwsnprintf(wide.wide(), size, L"%20A|", &value));
      EXPECT_EQ(std::wstring(expected.begin(), expected.end()), wide.wide());
    }
  }
}

TEST(AddressRulesDeathTest, FormattedAddressIsNotNullEvenWithoutRoom) {
  const SockAddr* none = nullptr;
  char full[1];
  EXPECT_FATAL(core::nusnprintf(full, sizeof full, "%a", none), "core/strfmt", 543);
}

// --- parse_ip, parse_ip_v6 ---

TEST_F(AddressRules, ParseIp) {
  const struct {
    const char* text;
    bool ok;
    uint32_t ip;
  } kCases[] = {
      {" 1.\t2.\n\v3.\f\r4", true, 0x01020304},
      {"-18446744073709551361.2.3.4", true, 0xFF020304},
      {"-18446744073709551360.2.3.4", false, 0},
      {"18446744073709551617.2.3.4", false, 0},
      {"4294967297.2.3.4", false, 0},
      {"....", false, 0},
      {"1.2.3.0x4", false, 0},
      {"- 1.2.3.4", false, 0},
      {"\xA0"
       "1.2.3.4",
       false, 0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.text));
    const Text text(c.text);
    const uint32_t expected = c.ok ? c.ip : 0xFFFFFFFFu;
    bool ok = !c.ok;
    EXPECT_EQ(expected, core::parse_ip(text.chars(), &ok));
    EXPECT_EQ(c.ok, ok);
    EXPECT_EQ(expected, core::parse_ip(text.chars()));
    if (static_cast<signed char>(c.text[0]) >= 0) {
      WideText wide(std::wstring(c.text, c.text + strlen(c.text)));
      EXPECT_EQ(expected, core::parse_ip(wide.wide()));
    }
  }
}

// --- URL text ---

TEST_F(AddressRules, UrlsOnlyLookAlikeInOtherUnits) {
  for (const char* bad : {"http\x1A//", "\xC8TTP://", "https//:", "magnet:\x1F"}) {
    EXPECT_EQ(nullptr, core::IsOkUrl(Text(bad).chars())) << bad;
  }
  for (const wchar_t* bad : {L"\x175"
                             L"dp://",
                             L"\x10075"
                             L"dp://",
                             L"udp\x1A//"}) {
    EXPECT_FALSE(core::IsUdpUrl(WideText(bad).wide()));
  }
}

TEST_F(AddressRules, Urldecode) {
  const struct {
    std::string in, out;
  } kCases[] = {
      {"+++", "   "}, {"+%", " %"}, {"a+b%41+c", "a bA c"}, {"%2541", "%41"}, {"%41%%", "A%%"}, {"%4%41", "541"},
  };
  for (const auto& c : kCases) {
    Text text(c.in);
    ASSERT_EQ(c.out.size(), core::urldecode(text.chars())) << c.in;
    EXPECT_EQ(c.out + '\0', text.view().substr(0, c.out.size() + 1)) << c.in;
  }
}

TEST_F(AddressRules, UrlSplitLeavesItsPieceInTheThreadsSlot) {
  const char* s = "a\\b/c";
  const char* piece = core::url_split(&s);
  EXPECT_STREQ("a\\b", piece);
  EXPECT_EQ(piece, core::GetTLS()->temp_narrow);
}

// --- paths ---

TEST_F(AddressRules, NameAndExtension) {
  const struct {
    const wchar_t* path;
    int name;       // offset
    int extension;  // offset; -1 for null
  } kCases[] = {
      {L".", 0, 1}, {L"..", 0, 2}, {L"/a.b/.", 5, 6}, {L"//x.y", 2, 4}, {L"a\\b.c", 0, 4},
  };
  for (const auto& c : kCases) {
    const std::wstring path(c.path);
    SCOPED_TRACE(std::string(path.begin(), path.end()));
    WideText wide(path);
    EXPECT_EQ(wide.wide() + c.name, core::getfilename(static_cast<const wchar_t*>(wide.wide())));
    EXPECT_EQ(c.extension < 0 ? nullptr : wide.wide() + c.extension, core::getfileext(wide.wide()));
    const Text narrow(std::string(path.begin(), path.end()));
    EXPECT_EQ(narrow.chars() + c.name, core::getfilename(narrow.chars()));
  }
}

TEST_F(AddressRules, StripsInPlace) {
  const struct {
    const wchar_t* path;
    const wchar_t* without_separator;
    const wchar_t* without_name;
  } kCases[] = {
      {L"/////", L"///", L"////"}, {L"a///", L"a//", L"a//"},    {L"abcd///", L"abcd", L"abcd//"},
      {L"a//b", L"a//b", L"a//"},  {L"ab//c", L"ab//c", L"ab/"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(c.path)));
    WideText separator(c.path);
    EXPECT_EQ(separator.wide(), core::striplastsep(separator.wide()));
    EXPECT_STREQ(c.without_separator, separator.wide());
    WideText name(c.path);
    EXPECT_EQ(name.wide(), core::stripfilename(name.wide()));
    EXPECT_STREQ(c.without_name, name.wide());
  }
}

TEST_F(AddressRules, DirHasPrefix) {
  const struct {
    const wchar_t* path;
    const wchar_t* prefix;
    int rest;  // offset into the path; -1 for null
  } kCases[] = {
      {L"/ab", L"/a/", -1}, {L"/a.b", L"/a", -1},  {L"b/a", L"a", -1},
      {L"//x", L"/", 2},    {L"/a//", L"/a//", 4}, {L"/a/b", L"/a//", -1},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(c.path)) + testing::PrintToString(std::wstring(c.prefix)));
    WideText path(c.path);
    WideText prefix(c.prefix);
    EXPECT_EQ(c.rest < 0 ? nullptr : path.wide() + c.rest, core::DirHasPrefix(path.wide(), prefix.wide()));
  }
}

TEST_F(AddressRules, PathsAreMadeCanonicalOnce) {
  test_host::RegisterCanonicalPath(L"link", L"/a/b");
  test_host::RegisterCanonicalPath(L"/a/b", L"/elsewhere");
  EXPECT_FALSE(core::PathContains(L"link", L"/a/b"));
  EXPECT_FALSE(core::IsSamePath(L"link", L"/a/b"));
  EXPECT_TRUE(core::IsSamePath(L"/elsewhere", L"/a/b"));
  EXPECT_TRUE(core::PathContains(L"", L"link"));
}

}  // namespace
