#include "tools/mdtorrent/output/escape.h"

#include <stdint.h>
#include <string.h>

#include <array>
#include <charconv>

#include "tools/mdtorrent/output/utf8.h"

namespace mdtorrent {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

constexpr uint64_t EachByte(char byte) { return 0x0101010101010101U * static_cast<unsigned char>(byte); }

// Where a format has to look closer: control characters, the bytes of `Others`, and those that lead other
// characters that are escaped: 0xC2 leads U+0080 to U+00BF, 0xD8 U+0600 to U+063F, 0xE2 U+2000 to U+2FFF.
template <char... Others>
struct Stops {
  static constexpr std::array<bool, 256> MakeTable() {
    std::array<bool, 256> table{};
    for (size_t byte = 0; byte < 0x20; ++byte) {
      table[byte] = true;
    }
    for (const char byte : {'\x7F', '\xC2', '\xD8', '\xE2', Others...}) {
      table[static_cast<unsigned char>(byte)] = true;
    }
    return table;
  }
  static constexpr std::array<bool, 256> kTable = MakeTable();

  // Whether all eight bytes are ASCII without stops. The top bit of some byte is set as soon as one of
  // them is below 0x20, is 0x7F, is one of the others, or has its top bit set itself.
  static bool IsPlainBlock(const char* block) {
    uint64_t bytes;
    memcpy(&bytes, block, sizeof bytes);
    const uint64_t ones = EachByte(1);
    const uint64_t stops = (... | ((bytes ^ EachByte(Others)) - ones)) | (bytes - EachByte(0x20)) | (bytes + ones);
    return ((stops | bytes) & EachByte('\x80')) == 0;
  }

  // How many bytes `text` begins with that can be copied as they are.
  static size_t PlainLen(std::string_view text) {
    size_t len = 0;
    while (text.size() - len >= sizeof(uint64_t) && IsPlainBlock(text.data() + len)) {
      len += sizeof(uint64_t);
    }
    while (len < text.size() && !kTable[static_cast<unsigned char>(text[len])]) {
      ++len;
    }
    return len;
  }
};

// Whether a character does something to the terminal: the two sets of control characters, and those that
// set the direction of text, with which a name can be made to look like another.
constexpr bool Controls(unsigned code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0) ||        //
         code == 0x061C || code == 0x200E || code == 0x200F ||  //
         (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

// How long a character is that controls something and begins with `lead`; 0 when there is none.
constexpr size_t ControlLen(unsigned char lead) {
  if (lead < 0x80) {
    return 1;
  }
  return lead == 0xC2 || lead == 0xD8 ? 2 : lead == 0xE2 ? 3 : 0;
}

// The character at the start of `text` when it is one of those, with its length; else {0, 0}.
struct Control {
  unsigned code;
  size_t len;
};
Control ControlAt(std::string_view text) {
  constexpr unsigned kLeadBits[] = {0, 0x7F, 0x1F, 0x0F};
  const auto lead = static_cast<unsigned char>(text[0]);
  const size_t len = ControlLen(lead);
  if (len == 0 || len > text.size()) {
    return {0, 0};
  }
  unsigned code = lead & kLeadBits[len];
  for (size_t i = 1; i < len; ++i) {
    code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3FU);
  }
  return Controls(code) ? Control{code, len} : Control{0, 0};
}

void AppendHex(std::string& out, unsigned value, int digits) {
  constexpr char kDigits[] = "0123456789abcdef";
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
    out.push_back(kDigits[(value >> shift) & 0xF]);
  }
}

struct ShortForm {
  unsigned code;
  char letter;
};
constexpr ShortForm kShortForms[] = {{'\b', 'b'}, {'\f', 'f'}, {'\n', 'n'}, {'\r', 'r'}, {'\t', 't'}};

// Appends a control character as C programmers write it, or with `prefix` and four digits.
void AppendControl(std::string& out, unsigned code, std::string_view prefix) {
  for (const ShortForm& form : kShortForms) {
    if (form.code == code) {
      out.push_back('\\');
      out.push_back(form.letter);
      return;
    }
  }
  out.append(prefix);
  AppendHex(out, code, 4);
}

// Copies `text`, escaping quotes, backslashes and control characters.
void AppendBackslashed(std::string& out, std::string_view text, std::string_view prefix) {
  while (!text.empty()) {
    const size_t plain = Stops<'"', '\\'>::PlainLen(text);
    out.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) {
      return;
    }
    const Control control = ControlAt(text);
    if (control.len > 0) {
      AppendControl(out, control.code, prefix);
      text.remove_prefix(control.len);
      continue;
    }
    if (text[0] == '"' || text[0] == '\\') {
      out.push_back('\\');
    }
    out.push_back(text[0]);
    text.remove_prefix(1);
  }
}

// Appends what stands in XML for the start of `text` and returns how many bytes that was.
size_t AppendXmlSpecial(std::string& out, std::string_view text) {
  const Control control = ControlAt(text);
  if (control.code == '\t' || control.code == '\n') {
    out.push_back(text[0]);
    return 1;
  }
  if (control.code == '\r' || control.code >= 0x7F) {
    out.append("&#x");
    AppendHex(out, control.code, control.code > 0xFF ? 4 : 2);
    out.push_back(';');
    return control.len;
  }
  if (control.len > 0 || text.starts_with("\xEF\xBF\xBE") || text.starts_with("\xEF\xBF\xBF")) {
    out.append(kReplacement);
    return control.len > 0 ? control.len : 3;
  }
  switch (text[0]) {
    case '&':
      out.append("&amp;");
      return 1;
    case '<':
      out.append("&lt;");
      return 1;
    case '>':
      out.append("&gt;");
      return 1;
    default:
      out.push_back(text[0]);
      return 1;
  }
}

}  // namespace

void AppendJsonEscaped(std::string& out, std::string_view text) { AppendBackslashed(out, text, "\\u"); }

void AppendQuotedEscaped(std::string& out, std::string_view text) { AppendBackslashed(out, text, "\\U"); }

void AppendXmlEscaped(std::string& out, std::string_view text) {
  while (!text.empty()) {
    const size_t plain = Stops<'&', '<', '>', '\xEF'>::PlainLen(text);
    out.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (!text.empty()) {
      text.remove_prefix(AppendXmlSpecial(out, text));
    }
  }
}

void AppendPrintable(std::string& out, std::string_view bytes) {
  while (!bytes.empty()) {
    const Utf8Step step = NextUtf8(bytes);
    const Control control = step.valid ? ControlAt(bytes) : Control{0, 0};
    if (control.len > 0) {
      AppendControl(out, control.code, "\\U");
    } else if (step.valid) {
      out.append(bytes.substr(0, step.len));
    } else {
      for (size_t i = 0; i < step.len; ++i) {
        out.append("\\x");
        AppendHex(out, static_cast<unsigned char>(bytes[i]), 2);
      }
    }
    bytes.remove_prefix(step.len);
  }
}

void AppendReal(std::string& out, double value) {
  char digits[32];
  const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, value);
  out.append(digits, result.ptr);
}

}  // namespace mdtorrent
