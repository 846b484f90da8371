// Escaping for each output format. Control characters, and those that set the direction of text, never
// pass as they are: names in a torrent are not trusted with the reader's terminal.
#pragma once

#include <string>
#include <string_view>

namespace mdtorrent {

// Appends the inside of a JSON string. Requires: `text` is valid UTF-8.
void AppendJsonEscaped(std::string& out, std::string_view text);

// Appends XML character data. Characters that XML cannot hold become U+FFFD.
// Requires: `text` is valid UTF-8.
void AppendXmlEscaped(std::string& out, std::string_view text);

// Appends the inside of a quoted string for people to read: quotes, backslashes and the characters
// named above are escaped, all else stays. Requires: `text` is valid UTF-8.
void AppendQuotedEscaped(std::string& out, std::string_view text);

// Appends a file name for people to read, whatever bytes it has: the characters named above and bytes
// that are no UTF-8 are escaped, all else stays.
void AppendPrintable(std::string& out, std::string_view bytes);

// Appends a number in decimal form that does not depend on the locale; reads back as the same value.
void AppendReal(std::string& out, double value);

}  // namespace mdtorrent
