// What the program is called in what it says.
#pragma once

#include <string>
#include <string_view>

namespace mdtorrent {

// A script that runs the program for its user puts its own name into this variable of the environment,
// so that messages name what was typed. Such a script answers --help itself.
constexpr char kCommandVariable[] = "MDTORRENT_COMMAND";

// The name in that variable, as it may be printed, else "mdtorrent".
std::string ProgramName();

// Whether a script runs the program.
bool RunByScript();

// `text` with the program's name in place of each "mdtorrent".
std::string WithProgramName(std::string_view text);

}  // namespace mdtorrent
