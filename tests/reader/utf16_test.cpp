#include "QuickLookPlugin/utf16.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// Converts from and into blocks of exactly the sizes that are promised.
std::string Utf8(const std::vector<uint16_t>& units) {
  const auto in = std::make_unique<uint16_t[]>(units.size());
  std::copy(units.begin(), units.end(), in.get());
  const auto out = std::make_unique<char[]>(units.size() * reader::kMaxBytesPerUnit);
  const size_t len = reader::Utf16ToUtf8(in.get(), units.size(), out.get());
  return {out.get(), len};
}

TEST(Utf16ToUtf8, WritesTheShortestForm) {
  struct Case {
    const char* name;
    std::vector<uint16_t> units;
    std::string bytes;
  };
  const Case kCases[] = {
      {"nothing", {}, ""},
      {"zero", {0}, std::string(1, '\0')},
      {"last of one byte", {0x7F}, "\x7F"},
      {"first of two bytes", {0x80}, "\xC2\x80"},
      {"last of two bytes", {0x7FF}, "\xDF\xBF"},
      {"first of three bytes", {0x800}, "\xE0\xA0\x80"},
      {"below the surrogates", {0xD7FF}, "\xED\x9F\xBF"},
      {"above the surrogates", {0xE000}, "\xEE\x80\x80"},
      {"last of three bytes", {0xFFFF}, "\xEF\xBF\xBF"},
      {"first pair", {0xD800, 0xDC00}, "\xF0\x90\x80\x80"},
      {"last pair", {0xDBFF, 0xDFFF}, "\xF4\x8F\xBF\xBF"},
      {"pair between letters",
       {'a', 0xD83D, 0xDE00, 'b'},
       "a\xF0\x9F\x98\x80"
       "b"},
      {"high half at the end", {'a', 0xD800}, "a\xED\xA0\x80"},
      {"high half before a letter",
       {0xDBFF, 'a'},
       "\xED\xAF\xBF"
       "a"},
      {"low half alone", {0xDC00}, "\xED\xB0\x80"},
      {"halves the wrong way round", {0xDC00, 0xD800}, "\xED\xB0\x80\xED\xA0\x80"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(c.bytes, Utf8(c.units));
  }
}

}  // namespace
