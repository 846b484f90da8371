#include "tools/mdtorrent/program_name.h"

#include <stdlib.h>

#include "tools/mdtorrent/output/escape.h"

namespace mdtorrent {
namespace {

constexpr std::string_view kOwnName = "mdtorrent";

// Empty without a script.
std::string_view ScriptName() {
  const char* const name = getenv(kCommandVariable);
  return name ? name : std::string_view();
}

}  // namespace

std::string ProgramName() {
  std::string name;
  AppendPrintable(name, RunByScript() ? ScriptName() : kOwnName);
  return name;
}

bool RunByScript() { return !ScriptName().empty(); }

std::string WithProgramName(std::string_view text) {
  const std::string name = ProgramName();
  std::string named;
  for (size_t at; (at = text.find(kOwnName)) != text.npos;) {
    named.append(text.substr(0, at)).append(name);
    text.remove_prefix(at + kOwnName.size());
  }
  return named.append(text);
}

}  // namespace mdtorrent
