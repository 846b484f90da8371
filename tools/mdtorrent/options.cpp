#include "tools/mdtorrent/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>

#include "tools/mdtorrent/escape.h"

namespace mdtorrent {
namespace {

constexpr size_t kMostJobs = 256;

constexpr char kDescription[] =
    "Prints what Spotlight learns about torrent files: it loads the importer bundle as the\n"
    "metadata service does, imports each PATH and prints the attributes.\n";

constexpr char kUsage[] = "Usage: mdtorrent [OPTIONS] PATH...\n";

constexpr char kFooter[] = R"(Paths:
  PATH is a torrent file; with -r also a folder, in which all *.torrent files (in any case) are
  imported. Links to folders are not followed below PATH. The path - stands for a list of paths
  on standard input, one a line. Use ./- for a file of that name, and -- before names that begin
  with -.

Formats:
  mdls     keys in a column, arrays in parentheses, for people. Control characters are escaped.
           Failures go to standard error, as "mdtorrent: PATH: reason".
  json     one array of objects {"path", "imported", "attributes", "error"}.
  ndjson   the same objects, one a line, written as soon as each file is done.
  plist    the same as an XML property list.
  "error" is there only when "imported" is false; "attributes" is then empty.
  Bytes of a file name that are no UTF-8 are printed as U+FFFD.

Exit codes:
  0    all files were imported
  1    some file is not a usable torrent
  2    the command line is wrong
  3    some file could not be read (missing, no permission, a folder, a pipe, over 256 MiB), even if
       others are no usable torrents; or the output could not be written
  4    the importer bundle could not be loaded
  130  interrupted; what was finished until then is printed

Text in a torrent that is no UTF-8 is read by the locale's encoding; see --locale.

Examples:
  mdtorrent ubuntu.torrent
  mdtorrent -r -j 4 --format ndjson ~/Downloads
  find . -name '*.torrent' -print0 | mdtorrent -0 --format json - > torrents.json
  mdtorrent --format json x.torrent || test $? -eq 1 && echo "readable, but no torrent"
)";

// Describes the options to the parser. Paths are not among them: the parser gives a meaning to
// brackets and braces in values, which are common in the names of torrents.
class Parser {
 public:
  explicit Parser(Options& options) : app_(kDescription, "mdtorrent"), jobs_(options.jobs) {
    app_.set_help_flag();
    app_.add_flag("-h,--help", help, "Print this help and exit");
    app_.add_flag("--version", version, "Print the version and exit");
    AddChoice(
        "--format", options.format,
        {{"mdls", Format::kMdls}, {"json", Format::kJson}, {"ndjson", Format::kNdjson}, {"plist", Format::kPlist}},
        "mdls (default), json, ndjson or plist");
    app_.add_flag("-r,--recursive", options.recursive, "Search folders for *.torrent files");
    app_.add_flag("-0,--null", options.zero_separated, "Paths on standard input end in a zero byte");
    app_.add_option("-j,--jobs", jobs_, "Import with N threads (1 to 256); the order of the output stays")
        ->type_name("N");
    AddChoice("--progress", options.progress,
              {{"auto", ProgressMode::kAuto}, {"always", ProgressMode::kAlways}, {"never", ProgressMode::kNever}},
              "auto (default: on a terminal, after half a second), always or never");
    app_.add_option("--bundle", options.bundle, "Use this SorrelTorrent.mdimporter")->type_name("PATH");
    AddChoice("--interface", options.interface, {{"url", Interface::kUrl}, {"legacy", Interface::kLegacy}},
              "Importer interface: url (default) or legacy, which takes a path");
    app_.add_option("--locale", options.locale, "Use this locale instead of the environment's")->type_name("NAME");
    app_.allow_extras();
  }

  // Reads the arguments; returns those that are no options.
  std::vector<std::string> Parse(std::vector<std::string> arguments) {
    std::reverse(arguments.begin(), arguments.end());
    app_.parse(arguments);
    return app_.remaining();
  }

  std::string Help() const {
    CLI::Formatter formatter;
    formatter.column_width(22);
    return kDescription + std::string("\n") + kUsage + formatter.make_groups(&app_, CLI::AppFormatMode::Normal) + "\n" +
           kFooter;
  }

  bool help = false, version = false;

 private:
  template <class T>
  void AddChoice(const char* name, T& target, const std::map<std::string, T>& choices, const char* description) {
    const auto choose = [&target, choices, name](const CLI::results_t& values) {
      const auto choice = choices.find(values.back());
      if (choice == choices.end()) {
        throw CLI::ValidationError(std::string(name) + " has no choice " + values.back());
      }
      target = choice->second;
      return true;
    };
    app_.add_option(name, CLI::callback_t(choose), description)->type_name("NAME");
  }

  CLI::App app_;
  size_t& jobs_;
};

// Splits the arguments at "--": what follows are paths whatever they look like.
void Split(int argc, const char* const* argv, std::vector<std::string>& arguments, std::vector<std::string>& paths) {
  const char* const* const end = argv + argc;
  const char* const* const begin = argc > 0 ? argv + 1 : end;
  const char* const* const dashes = std::find(begin, end, std::string_view("--"));
  arguments.assign(begin, dashes);
  if (dashes != end) {
    paths.assign(dashes + 1, end);
  }
}

Answer Version() { return {ExitCode::kSuccess, "mdtorrent " MDTORRENT_VERSION "\n"}; }

// Checks what no single option can tell, and finds the paths among the arguments left over.
std::variant<Options, Answer> Complete(Options options, std::vector<std::string> rest) {
  for (const std::string& argument : rest) {
    if (argument.size() > 1 && argument[0] == '-') {
      return UsageError("unknown option " + argument);
    }
  }
  options.paths.insert(options.paths.begin(), rest.begin(), rest.end());
  if (options.paths.empty() && options.zero_separated) {
    options.paths.emplace_back("-");
  }
  if (options.paths.empty()) {
    return UsageError("no PATH given");
  }
  if (options.jobs < 1 || options.jobs > kMostJobs) {
    return UsageError("--jobs must be 1 to " + std::to_string(kMostJobs));
  }
  if (options.zero_separated && std::find(options.paths.begin(), options.paths.end(), "-") == options.paths.end()) {
    return UsageError("-0 is for paths on standard input: add the path -");
  }
  return options;
}

}  // namespace

Answer UsageError(std::string_view message) {
  std::string line = "mdtorrent: ";
  AppendPrintable(line, message);
  return {ExitCode::kUsage, line + " (see mdtorrent --help)\n"};
}

std::variant<Options, Answer> ParseOptions(int argc, const char* const* argv) {
  Options options;
  std::vector<std::string> arguments;
  Split(argc, argv, arguments, options.paths);
  Parser parser(options);
  try {
    std::vector<std::string> rest = parser.Parse(std::move(arguments));
    if (parser.help) {
      return Answer{ExitCode::kSuccess, parser.Help()};
    }
    return parser.version ? Version() : Complete(std::move(options), std::move(rest));
  } catch (const CLI::Error& error) {
    return UsageError(error.what());
  }
}

}  // namespace mdtorrent
