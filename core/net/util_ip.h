// IP addresses as text. Plain functions without state, safe to call from any thread.
#pragma once

#include <netinet/in.h>
#include <stdint.h>

namespace core {

// Reads the dotted IPv4 address that makes up the whole text and returns it in host order: 0x7F000001
// for 127.0.0.1.
//
// Each field is read as strtoul reads a decimal number: blanks and a sign may come first, an empty
// field is 0, and a "-" wraps around. A value above 255 or other text is a failure: 0xFFFFFFFF, with
// `*ok` false. The address 255.255.255.255 gives the same value with `*ok` true. `ok` may be null.
// Requires: `text` is not null.
uint32_t parse_ip(const char* text, bool* ok = nullptr);

// The same for wide text, which goes through to_ansi (see core/format/strfmt.h) and replaces this thread's
// last result of it.
// Requires: `text` is not null and can be converted to the locale's encoding.
uint32_t parse_ip(const wchar_t* text);

// Reads a dotted IPv4 address by the rules of parse_ip from the start of `text`. Returns where its last
// field ends and stores the address; null, with `*address` untouched, on failure. What follows the
// address is the caller's to judge.
const char* read_ip(const char* text, uint32_t* address);

// Reads an IPv6 address as inet_pton does, in network order. On failure, also for null, the address is
// all zero and `*ok` is false. `ok` may be null.
in6_addr parse_ip_v6(const char* text, bool* ok = nullptr);

}  // namespace core
