#include "tools/mdtorrent/output/escape.h"

#include <gtest/gtest.h>

#include <stdio.h>
#include <stdlib.h>

#include <limits>

#include "tests/support/exact_bytes.h"

namespace mdtorrent {
namespace {

using Escape = void (*)(std::string&, std::string_view);

struct Case {
  const char* name;
  Escape escape;
  std::string_view input, expected;
};

const Case kCases[] = {
    {"JSON leaves text alone", AppendJsonEscaped, "a/b <&> \xE4\xB8\xAD \xC2\xA0", "a/b <&> \xE4\xB8\xAD \xC2\xA0"},
    {"JSON quotes", AppendJsonEscaped, "\"\\", "\\\"\\\\"},
    {"JSON short forms", AppendJsonEscaped, "\b\f\n\r\t", "\\b\\f\\n\\r\\t"},
    {"JSON control characters", AppendJsonEscaped, std::string_view("\0\x1b\x1f\x7f", 4),
     "\\u0000\\u001b\\u001f\\u007f"},
    {"JSON second set of control characters", AppendJsonEscaped, "\xC2\x80\xC2\x9F", "\\u0080\\u009f"},
    {"quoted text stays as it is", AppendQuotedEscaped, "caf\xC3\xA9 \xE2\x82\xAC \xC2\xA9",
     "caf\xC3\xA9 \xE2\x82\xAC \xC2\xA9"},
    {"quoted quotes", AppendQuotedEscaped, "say \"\\\"", "say \\\"\\\\\\\""},
    {"quoted terminal escapes", AppendQuotedEscaped,
     "\x1b[2J\xC2\x9B"
     "31m\n",
     "\\U001b[2J\\U009b31m\\n"},
    {"XML markup", AppendXmlEscaped, "<a & b>]]>\"", "&lt;a &amp; b&gt;]]&gt;\""},
    {"XML white space", AppendXmlEscaped, "\t\n\r", "\t\n&#x0d;"},
    {"XML has no place for control characters", AppendXmlEscaped, std::string_view("\0\x1b", 2),
     "\xEF\xBF\xBD\xEF\xBF\xBD"},
    {"XML second set of control characters", AppendXmlEscaped, "\x7f\xC2\x85\xC2\xA0", "&#x7f;&#x85;\xC2\xA0"},
    {"XML non-characters", AppendXmlEscaped, "\xEF\xBF\xBD\xEF\xBF\xBE\xEF\xBF\xBF\xEF\xBC\x81",
     "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBC\x81"},
    {"printable names", AppendPrintable, "a\\b\"c \xE4\xB8\xAD", "a\\b\"c \xE4\xB8\xAD"},
    {"names that drive a terminal", AppendPrintable, "\x1b]0;x\x07\r\xC2\x9B", "\\U001b]0;x\\U0007\\r\\U009b"},
    {"names that are no UTF-8", AppendPrintable, "a\xFF\xE4\xB8", "a\\xff\\xe4\\xb8"},
    {"a name that ends inside a control character", AppendPrintable, "\xC2", "\\xc2"},
};

TEST(Escape, LeavesTextAndDisarmsTheRest) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    const ExactBytes input(c.input);
    std::string out = "=";
    c.escape(out, std::string_view(input.chars(), input.size()));
    EXPECT_EQ("=" + std::string(c.expected), out);
  }
}

TEST(Escape, NoControlCharacterPasses) {
  for (const Escape escape : {AppendJsonEscaped, AppendQuotedEscaped, AppendPrintable}) {
    for (unsigned char byte = 0; byte < 0x20; ++byte) {
      std::string out;
      const char input = static_cast<char>(byte);
      escape(out, std::string_view(&input, 1));
      EXPECT_EQ('\\', out[0]) << int{byte};
      EXPECT_EQ(std::string::npos, out.find(input)) << int{byte};
    }
  }
}

// A character from U+0080 to U+FFFF.
std::string Utf8(unsigned c) {
  const auto tail = [](unsigned bits) { return static_cast<char>(0x80 | (bits & 0x3F)); };
  return c < 0x800 ? std::string{static_cast<char>(0xC0 | (c >> 6)), tail(c)}
                   : std::string{static_cast<char>(0xE0 | (c >> 12)), tail(c >> 6), tail(c)};
}

// Whether Unicode gives the character the property Bidi_Control.
bool ControlsDirection(unsigned c) {
  return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

TEST(Escape, OfAllCharactersThoseThatControlDirectionAreEscaped) {
  const struct {
    Escape escape;
    const char *before, *after;
  } forms[] = {{AppendJsonEscaped, "\\u", ""},
               {AppendQuotedEscaped, "\\U", ""},
               {AppendPrintable, "\\U", ""},
               {AppendXmlEscaped, "&#x", ";"}};
  for (unsigned c = 0xA0; c < 0xFFFE; c = c == 0xD7FF ? 0xE000 : c + 1) {
    char digits[8];
    snprintf(digits, sizeof digits, "%04x", c);
    for (const auto& form : forms) {
      std::string out;
      form.escape(out, Utf8(c) + Utf8(c) + "x");
      const std::string one = ControlsDirection(c) ? std::string(form.before) + digits + form.after : Utf8(c);
      ASSERT_EQ(one + one + "x", out) << digits;
    }
  }
}

TEST(Escape, ACharacterThatIsCutOffIsNoneThatControlsDirection) {
  for (const char* cut : {"\xE2", "\xE2\x80", "\xD8"}) {
    const ExactBytes input(cut);
    std::string out;
    AppendPrintable(out, std::string_view(input.chars(), input.size()));
    EXPECT_EQ("\\x", out.substr(0, 2));
    EXPECT_EQ(4 * input.size(), out.size());
  }
}

struct Stop {
  Escape escape;
  char stop;
  const char* escaped;
};

TEST(Escape, AStopIsFoundAtEveryPlaceOfALongText) {
  const Stop stops[] = {
      {AppendJsonEscaped, '"', "\\\""},
      {AppendJsonEscaped, '\\', "\\\\"},
      {AppendJsonEscaped, '\x01', "\\u0001"},
      {AppendJsonEscaped, '\x1f', "\\u001f"},
      {AppendJsonEscaped, '\x7f', "\\u007f"},
      {AppendXmlEscaped, '<', "&lt;"},
      {AppendXmlEscaped, '>', "&gt;"},
      {AppendXmlEscaped, '&', "&amp;"},
      {AppendXmlEscaped, '\r', "&#x0d;"},
      {AppendXmlEscaped, '\x7f', "&#x7f;"},
      {AppendXmlEscaped, '\x01', "\xEF\xBF\xBD"},
  };
  for (const Stop& stop : stops) {
    for (size_t at = 0; at < 40; ++at) {
      std::string input(40, 'a'), out;
      input[at] = stop.stop;
      stop.escape(out, input);
      EXPECT_EQ(std::string(at, 'a') + stop.escaped + std::string(39 - at, 'a'), out);
    }
  }
}

TEST(Escape, RealsReadBackAsTheSameValue) {
  for (const double value : {0.1, -2.5e-300, 1e22, std::numeric_limits<double>::denorm_min(), 1.0 / 3}) {
    std::string out;
    AppendReal(out, value);
    EXPECT_EQ(value, strtod(out.c_str(), nullptr)) << out;
  }
}

}  // namespace
}  // namespace mdtorrent
