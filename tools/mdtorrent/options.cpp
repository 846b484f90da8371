#include "tools/mdtorrent/options.h"

#include <algorithm>

#include "tools/mdtorrent/arguments.h"
#include "tools/mdtorrent/help.h"
#include "tools/mdtorrent/output/escape.h"
#include "tools/mdtorrent/program_name.h"

namespace mdtorrent {
namespace {

constexpr size_t kMostJobs = 256;

using Strings = std::vector<std::string>;

// What each command can be asked for instead of its work.
struct Questions {
  bool help = false;
  bool all_help = false;
  bool version = false;

  void AddTo(Arguments& arguments) {
    arguments.AddFlag("-h,--help", help, "Print this help and exit");
    arguments.AddFlag("--help-all", all_help, "Print the help of all commands and exit");
    arguments.AddFlag("--version", version, "Print the version and exit");
  }
};

// Paths are not among the options: the parser gives a meaning to brackets and braces in values, which
// are common in the names of torrents.
void DescribeImport(Arguments& arguments, Options& options) {
  arguments.AddChoice<Format>(
      "--format",
      {{"mdls", Format::kMdls}, {"json", Format::kJson}, {"ndjson", Format::kNdjson}, {"plist", Format::kPlist}},
      options.format, "mdls (default), json, ndjson or plist");
  arguments.AddFlag("-r,--recursive", options.recursive, "Search folders for *.torrent files");
  arguments.AddFlag("-0,--null", options.zero_separated, "Paths on standard input end in a zero byte");
  arguments.AddNumber("-j,--jobs", kMostJobs, options.jobs,
                      "Import with N threads (1 to 256, default 1); the order of the output stays");
  arguments.AddChoice<ProgressMode>(
      "--progress", {{"auto", ProgressMode::kAuto}, {"always", ProgressMode::kAlways}, {"never", ProgressMode::kNever}},
      options.progress, "auto (default: on a terminal, after half a second), always or never");
  arguments.AddText("--bundle", "PATH", "a path", options.bundle,
                    "Use this SorrelTorrent.mdimporter (default: the one of this program)");
  arguments.AddChoice<Interface>("--interface", {{"url", Interface::kUrl}, {"legacy", Interface::kLegacy}},
                                 options.interface, "Importer interface: url (default) or legacy, which takes a path");
  arguments.AddText("--locale", "NAME", "the name of a locale", options.locale,
                    "Use this locale (default: the environment's)");
}

void DescribeDump(Arguments& arguments, DumpOptions& options) {
  arguments.AddChoice<TreeFormat>("--format",
                                  {{"json", TreeFormat::kJson},
                                   {"ascii", TreeFormat::kAscii},
                                   {"bencode", TreeFormat::kBencode},
                                   {"xml", TreeFormat::kXml}},
                                  options.format, "json (default), ascii, bencode or xml");
}

// Splits the arguments at "--": what follows are paths whatever they look like.
void Split(int argc, const char* const* argv, Strings& arguments, Strings& paths) {
  const char* const* const end = argv + argc;
  const char* const* const begin = argc > 0 ? argv + 1 : end;
  const char* const* const dashes = std::find(begin, end, std::string_view("--"));
  arguments.assign(begin, dashes);
  if (dashes != end) {
    paths.assign(dashes + 1, end);
  }
}

// Puts the paths that stand among the options before those that follow "--".
Strings AllPaths(Strings rest, const Strings& paths) {
  for (const std::string& argument : rest) {
    if (argument.size() > 1 && argument[0] == '-') {
      throw Mistake{"unknown option " + argument};
    }
  }
  rest.insert(rest.end(), paths.begin(), paths.end());
  return rest;
}

// Checks what no single option can tell.
CommandLine CheckedImport(Options options, Strings paths) {
  options.paths = std::move(paths);
  if (options.paths.empty() && options.zero_separated) {
    options.paths.emplace_back("-");
  }
  if (options.paths.empty()) {
    throw Mistake{"no PATH given"};
  }
  if (options.zero_separated && std::find(options.paths.begin(), options.paths.end(), "-") == options.paths.end()) {
    throw Mistake{"-0 is for paths on standard input: add the path -"};
  }
  return options;
}

CommandLine CheckedDump(DumpOptions options, const Strings& paths) {
  if (paths.size() != 1) {
    throw Mistake{paths.empty() ? "dump: no FILE given" : "dump: more than one FILE given"};
  }
  options.path = paths[0];
  return options;
}

CommandLine Parse(bool is_dump, const Strings& arguments, const Strings& paths) {
  Questions questions;
  Options options;
  Arguments import;
  questions.AddTo(import);
  DescribeImport(import, options);
  DumpOptions dump_options;
  Arguments dump;
  questions.AddTo(dump);
  DescribeDump(dump, dump_options);

  Strings rest = (is_dump ? dump : import).Read(arguments);
  if (questions.all_help) {
    return Answer{ExitCode::kSuccess, ImportHelp(import.Help()) + "\n\n" + DumpHelp(dump.Help())};
  }
  if (questions.help) {
    return Answer{ExitCode::kSuccess, is_dump ? DumpHelp(dump.Help()) : ImportHelp(import.Help())};
  }
  if (questions.version) {
    return Answer{ExitCode::kSuccess, "mdtorrent " MDTORRENT_VERSION "\n"};
  }
  Strings all_paths = AllPaths(std::move(rest), paths);
  return is_dump ? CheckedDump(std::move(dump_options), all_paths)
                 : CheckedImport(std::move(options), std::move(all_paths));
}

}  // namespace

Answer UsageError(std::string_view message, Command command) {
  const std::string name = ProgramName();
  std::string line = name + ": ";
  AppendPrintable(line, message);
  const char* const help = command == Command::kDump ? " dump --help" : RunByScript() ? " --help-all" : " --help";
  return {ExitCode::kUsage, line + " (see " + name + help + ")\n"};
}

CommandLine ParseOptions(int argc, const char* const* argv) {
  Strings arguments;
  Strings paths;
  Split(argc, argv, arguments, paths);
  const bool is_dump = !arguments.empty() && arguments[0] == "dump";
  if (is_dump) {
    arguments.erase(arguments.begin());
  }
  try {
    return Parse(is_dump, arguments, paths);
  } catch (const Mistake& mistake) {
    return UsageError(mistake.text, is_dump ? Command::kDump : Command::kImport);
  }
}

}  // namespace mdtorrent
