// Whole files in memory.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace bench {

// The file's bytes. Throws when it cannot be read.
std::string BytesOf(const std::filesystem::path& path);

// Makes the file anew with these bytes. Throws when it cannot be written.
void WriteBytes(const std::filesystem::path& path, std::string_view bytes);

}  // namespace bench
