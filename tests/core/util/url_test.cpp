// URL text helpers.
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <string_view>

#include "core/util/util.h"
#include "tests/support/platform_memory.h"
#include "tests/support/text.h"

using namespace core;

namespace {

TEST(IsOkUrl, AcceptsThreeSchemesInAnyCase) {
  for (const char* url : {"HTTP://x", "http://", "https://x", "hTTpS://", "magnet:?xt=", "MAGNET:?"}) {
    const Narrow exact{std::string_view(url)};
    EXPECT_EQ(exact.get(), IsOkUrl(exact.get())) << url;
  }
}

TEST(IsOkUrl, RefusesOthersAndNull) {
  for (const char* url : {"ftp://x", "", "h", "http:/", "http:/x", "https:/", "httpx://", "magnet:", "magnet:xt",
                          " http://x", "udp://x"}) {
    EXPECT_EQ(nullptr, IsOkUrl(Narrow(url).get())) << url;
  }
  EXPECT_EQ(nullptr, IsOkUrl(nullptr));
}

TEST(IsUdpUrl, LooksForItsScheme) {
  EXPECT_TRUE(IsUdpUrl(L"udp://tracker"));
  EXPECT_TRUE(IsUdpUrl(L"UDP://"));
  for (const wchar_t* url : {L"udp:/", L"udp:/x", L"", L"http://x", L" udp://x"}) {
    EXPECT_FALSE(IsUdpUrl(Wide(url).get()));
  }
  EXPECT_FALSE(IsUdpUrl(nullptr));
}

std::string Decoded(std::string_view text) {
  Narrow exact(text);
  const size_t len = urldecode(exact.data());
  EXPECT_EQ('\0', exact.get()[len]);
  return std::string(exact.get(), len);
}

TEST(UrlDecode, TurnsPlusAndEscapesIntoCharacters) {
  EXPECT_EQ("a bA%4", Decoded("a+b%41%4"));
  EXPECT_EQ("a b", Decoded("a+b"));
  EXPECT_EQ("A b", Decoded("%41+b"));
  EXPECT_EQ("JjOo/", Decoded("%4A%6A%4f%6f%2F"));
  EXPECT_EQ("a+b%", Decoded("a%2Bb%25"));
  EXPECT_EQ("", Decoded(""));
  EXPECT_EQ("plain", Decoded("plain"));
}

TEST(UrlDecode, EscapeCutShortByTheEndStays) {
  EXPECT_EQ("%", Decoded("%"));
  EXPECT_EQ("%4", Decoded("%4"));
  EXPECT_EQ("a%", Decoded("a%"));
  EXPECT_EQ("%%", Decoded("%%"));
  EXPECT_EQ("A%", Decoded("%41%"));
  EXPECT_EQ("A%4", Decoded("%41%4"));
}

TEST(UrlDecode, ZeroByteFromAnEscapeCountsInTheLength) { EXPECT_EQ(std::string("a\0b", 3), Decoded("a%00b")); }

// Every pair of characters: the value of 16 * first + second by arithmetic alone.
TEST(UrlDecode, EveryPairOfCharactersGivesTheByteOfTheRule) {
  const auto digit = [](int byte) {
    const int c = byte < 128 ? byte : byte - 256;
    return c <= 57 ? c - 48 : (c % 64 < 32 ? c : c - 32) - 55;
  };
  for (int first = 1; first < 256; ++first) {
    for (int second = 1; second < 256; ++second) {
      const std::string text = {'%', static_cast<char>(first), static_cast<char>(second), '!'};
      const int value = 16 * digit(first) + digit(second);
      const std::string expected = {static_cast<char>(((value % 256) + 256) % 256), '!'};
      ASSERT_EQ(expected, Decoded(text)) << first << " " << second;
    }
  }
  EXPECT_EQ("S", Decoded("%zz"));
}

TEST(UrlEncodeSpaces, EncodesNothingElse) {
  size_t len = 0;
  EXPECT_EQ("a%20b%20c", Take(urlencode_spaces("a b c", &len)));
  EXPECT_EQ(9u, len);
  EXPECT_EQ("a+%/\xE9\t", Take(urlencode_spaces("a+%/\xE9\t", &len)));
  EXPECT_EQ(6u, len);
  EXPECT_EQ("%20%20", Take(urlencode_spaces("  ")));
  EXPECT_EQ("", Take(urlencode_spaces("", &len)));
  EXPECT_EQ(0u, len);
}

TEST(UrlEncodeSpaces, FillsItsBlockExactly) {
  const long before = test_host::LiveBlocks();
  for (size_t n = 0; n < 50; ++n) {
    const std::string text = Take(urlencode_spaces(Narrow(std::string(n, ' ')).get()));
    EXPECT_EQ(3 * n, text.size());
  }
  EXPECT_EQ(before, test_host::LiveBlocks());
}

TEST(UrlSplit, ReturnsTheFirstPartAndSkipsTheSlashes) {
  const Narrow text(std::string_view("host//path/x"));
  const char* at = text.get();
  EXPECT_STREQ("host", url_split(&at));
  EXPECT_STREQ("path/x", at);
  EXPECT_STREQ("path", url_split(&at));
  EXPECT_STREQ("x", at);
  EXPECT_STREQ("x", url_split(&at));
  EXPECT_EQ(nullptr, at);
  EXPECT_EQ(nullptr, url_split(&at));
  EXPECT_EQ("host//path/x", text.view());
}

TEST(UrlSplit, EmptyTextAndNullGiveNull) {
  EXPECT_EQ(nullptr, url_split(nullptr));
  const char* at = nullptr;
  EXPECT_EQ(nullptr, url_split(&at));
  const Narrow empty(std::string_view(""));
  at = empty.get();
  EXPECT_EQ(nullptr, url_split(&at));
  EXPECT_EQ(empty.get(), at);
}

TEST(UrlSplit, SlashesAtTheEdges) {
  const char* at = "///a//";
  EXPECT_STREQ("", url_split(&at));
  EXPECT_STREQ("a//", at);
  EXPECT_STREQ("a", url_split(&at));
  EXPECT_STREQ("", at);
}

TEST(UrlSplit, ResultIsTheThreadsTemporaryString) {
  const char* at = "a/b/c";
  url_split(&at);
  const long before = test_host::LiveBlocks();
  EXPECT_STREQ("b", url_split(&at));
  EXPECT_EQ(before, test_host::LiveBlocks());
}

}  // namespace
