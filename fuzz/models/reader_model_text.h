// Text for the model of the reader: from the bytes of a file to what a string of the platform holds.
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>

namespace reader_model {

// The code page that the text of "encoding" names; 0 for other names.
int32_t CodePageOf(std::string_view name);

// The wide text that `bytes` stand for by `code_page`, in the locale of the process.
std::u32string Decode(std::string_view bytes, int32_t code_page);

// What a string of the platform holds that is made from UTF-8 up to the first zero byte; nothing when that is
// none, or holds a surrogate.
std::optional<std::string> PlatformText(std::string_view bytes);

// The same for wide text up to its first zero unit: "" when a unit is none of a character of the first plane.
std::string PlatformText(const std::u32string& units);

}  // namespace reader_model
