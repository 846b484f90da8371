#include "tools/mdtorrent/output/escape.h"

#include <gtest/gtest.h>

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
