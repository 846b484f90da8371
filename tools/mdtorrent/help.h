// What --help and --help-all print beside the options.
#pragma once

#include <string>
#include <string_view>

namespace mdtorrent {

// The help of each command, with `options` in its place.
std::string ImportHelp(std::string_view options);
std::string DumpHelp(std::string_view options);

}  // namespace mdtorrent
