// The command line.
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tools/mdtorrent/output/progress.h"

namespace mdtorrent {

// What the process ends with. Of several that apply the one that stands first here is taken.
enum class ExitCode {
  kHungUp = 129,  // this and the next two: ended early by a signal
  kInterrupted = 130,
  kTerminated = 143,
  kUsage = 2,
  kBundle = 4,
  kUnreadable = 3,  // also when the output cannot be written
  kUnusable = 1,
  kSuccess = 0,
};

enum class Format { kMdls, kJson, kNdjson, kPlist };
enum class Interface { kUrl, kLegacy };

struct Options {
  Format format = Format::kMdls;
  Interface interface = Interface::kUrl;
  ProgressMode progress = ProgressMode::kAuto;
  std::string bundle;  // empty: look for it
  std::string locale;  // empty: the one of the environment
  bool recursive = false;
  bool zero_separated = false;
  size_t jobs = 1;
  std::vector<std::string> paths;
};

// The forms in which a tree is written.
enum class TreeFormat { kBencode, kAscii, kXml, kJson };

// What "mdtorrent dump" is to do.
struct DumpOptions {
  TreeFormat format = TreeFormat::kJson;
  std::string path;
};

// What the command line asks for when it asks for no run.
struct Answer {
  ExitCode exit_code;
  std::string text;  // for standard output on success, otherwise a line for standard error
};

// What the arguments ask for.
using CommandLine = std::variant<Options, DumpOptions, Answer>;

CommandLine ParseOptions(int argc, const char* const* argv);

enum class Command { kImport, kDump };

// The line for a mistake in the use of the program. The help of `command` says more.
Answer UsageError(std::string_view message, Command command = Command::kImport);

}  // namespace mdtorrent
