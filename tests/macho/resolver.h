// Where the imports of an image for macOS are found in this process.
#pragma once

#include <string>

namespace macho {

// The address of `symbol` in the library with that install name, "" for any of them. Null when the
// library is unknown or does not offer the symbol: what macOS would refuse is refused here too.
void* ResolveDarwin(const std::string& library, const std::string& symbol);

// The same for the C and C++ libraries alone, which need no Foundation.
void* ResolveDarwinLibraries(const std::string& library, const std::string& symbol);

}  // namespace macho
