#include "tools/mdtorrent/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <optional>

#include "tools/mdtorrent/output/escape.h"

namespace mdtorrent {
namespace {

constexpr size_t kMostJobs = 256;

constexpr char kImportCommand[] = "mdtorrent";
constexpr char kDumpCommand[] = "mdtorrent dump";

constexpr char kDescription[] =
    "Prints what Spotlight learns about torrent files: it loads the importer bundle as the\n"
    "metadata service does, imports each PATH and prints the attributes.\n";

constexpr char kUsage[] =
    "Usage: mdtorrent [OPTIONS] PATH...\n"
    "       mdtorrent dump [--format NAME] FILE\n";

constexpr char kFooter[] = R"(Paths:
  PATH is a torrent file; with -r also a folder, in which all *.torrent files (in any case) are
  imported. Links to folders are not followed below PATH. The path - stands for a list of paths
  on standard input, one a line. Use ./- for a file of that name, and -- before names that begin
  with -.

  A first argument "dump" asks for everything that is in one file; see mdtorrent dump --help. Use
  ./dump for a file of that name.

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
  mdtorrent dump --format json x.torrent
  mdtorrent --format json x.torrent; test $? -eq 1 && echo "readable, but no torrent"
)";

constexpr char kDumpDescription[] =
    "Prints everything that is in a bencoded FILE, a torrent or another, as it is decoded for import.\n";

constexpr char kDumpUsage[] = "Usage: mdtorrent dump [OPTIONS] FILE\n";

constexpr char kDumpFooter[] = R"(Formats:
  json     one line. Bytes that are no UTF-8 come out as \uffff, and characters above U+FFFF lose digits.
  ascii    a line "path=value" for each number and string, such as info.files.0.length=5. A backslash
           stands before line ends and backslashes in a value, other bytes are written as they are:
           at a terminal, pipe them to cat -v. Paths are cut to 63 bytes.
  bencode  bencoding, with sorted keys. Of a file that is encoded strictly it is a copy.
  xml      names and strings are URL-encoded; strings that take more than about a sixth of the stack
           limit are refused.
  Lines of ascii and xml end in CR LF.

Exit codes:
  0    the file was printed
  1    the file is not bencoded, or has no text in this format
  2    the command line is wrong
  3    the file could not be read, or the output could not be written
)";

// Adds an option whose value is one of a few names.
template <class T>
void AddChoice(CLI::App& app, const char* name, T& target, const std::map<std::string, T>& choices,
               const char* description) {
  const auto choose = [&target, choices, name](const CLI::results_t& values) {
    const auto choice = choices.find(values.back());
    if (choice == choices.end()) {
      throw CLI::ValidationError(std::string(name) + " has no choice " + values.back());
    }
    target = choice->second;
    return true;
  };
  app.add_option(name, CLI::callback_t(choose), description)->type_name("NAME");
}

std::string OptionsHelp(const CLI::App& app) {
  CLI::Formatter formatter;
  formatter.column_width(22);
  return formatter.make_groups(&app, CLI::AppFormatMode::Normal) + "\n";
}

std::vector<std::string> ParseArguments(CLI::App& app, std::vector<std::string> arguments) {
  std::reverse(arguments.begin(), arguments.end());
  app.parse(arguments);
  return app.remaining();
}

// Describes the options to the parser. Paths are not among them: the parser gives a meaning to
// brackets and braces in values, which are common in the names of torrents.
class Parser {
 public:
  explicit Parser(Options& options) : app_(kDescription, kImportCommand), jobs_(options.jobs) {
    app_.set_help_flag();
    app_.add_flag("-h,--help", help, "Print this help and exit");
    app_.add_flag("--version", version, "Print the version and exit");
    AddChoice(
        app_, "--format", options.format,
        {{"mdls", Format::kMdls}, {"json", Format::kJson}, {"ndjson", Format::kNdjson}, {"plist", Format::kPlist}},
        "mdls (default), json, ndjson or plist");
    app_.add_flag("-r,--recursive", options.recursive, "Search folders for *.torrent files");
    app_.add_flag("-0,--null", options.zero_separated, "Paths on standard input end in a zero byte");
    app_.add_option("-j,--jobs", jobs_, "Import with N threads (1 to 256); the order of the output stays")
        ->type_name("N");
    AddChoice(app_, "--progress", options.progress,
              {{"auto", ProgressMode::kAuto}, {"always", ProgressMode::kAlways}, {"never", ProgressMode::kNever}},
              "auto (default: on a terminal, after half a second), always or never");
    app_.add_option("--bundle", options.bundle, "Use this SorrelTorrent.mdimporter")->type_name("PATH");
    AddChoice(app_, "--interface", options.interface, {{"url", Interface::kUrl}, {"legacy", Interface::kLegacy}},
              "Importer interface: url (default) or legacy, which takes a path");
    app_.add_option("--locale", options.locale, "Use this locale instead of the environment's")->type_name("NAME");
    app_.allow_extras();
  }

  // Reads the arguments; returns those that are no options.
  std::vector<std::string> Parse(std::vector<std::string> arguments) {
    return ParseArguments(app_, std::move(arguments));
  }

  std::string Help() const { return kDescription + std::string("\n") + kUsage + OptionsHelp(app_) + kFooter; }

  bool help = false, version = false;

 private:
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

CommandLine Version() { return Answer{ExitCode::kSuccess, "mdtorrent " MDTORRENT_VERSION "\n"}; }

// Complains about an argument that looks like an option, if there is one.
std::optional<Answer> UnknownOption(const std::vector<std::string>& rest, std::string_view command) {
  for (const std::string& argument : rest) {
    if (argument.size() > 1 && argument[0] == '-') {
      return UsageError("unknown option " + argument, command);
    }
  }
  return std::nullopt;
}

// Checks what no single option can tell, and finds the paths among the arguments left over.
CommandLine Complete(Options options, std::vector<std::string> rest) {
  if (std::optional<Answer> answer = UnknownOption(rest, kImportCommand)) {
    return *answer;
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

CommandLine ParseDump(std::vector<std::string> arguments, std::vector<std::string> paths) {
  DumpOptions options;
  bool help = false;
  CLI::App app(kDumpDescription, kDumpCommand);
  app.set_help_flag();
  app.add_flag("-h,--help", help, "Print this help and exit");
  AddChoice(app, "--format", options.format,
            {{"ascii", TreeFormat::kAscii},
             {"bencode", TreeFormat::kBencode},
             {"json", TreeFormat::kJson},
             {"xml", TreeFormat::kXml}},
            "json (default), ascii, bencode or xml");
  app.allow_extras();
  const std::vector<std::string> rest = ParseArguments(app, std::move(arguments));
  if (help) {
    return Answer{ExitCode::kSuccess,
                  kDumpDescription + std::string("\n") + kDumpUsage + OptionsHelp(app) + kDumpFooter};
  }
  if (std::optional<Answer> answer = UnknownOption(rest, kDumpCommand)) {
    return *answer;
  }
  paths.insert(paths.begin(), rest.begin(), rest.end());
  if (paths.size() != 1) {
    return UsageError(paths.empty() ? "dump: no FILE given" : "dump: more than one FILE given", kDumpCommand);
  }
  options.path = paths[0];
  return options;
}

CommandLine ParseImport(std::vector<std::string> arguments, std::vector<std::string> paths) {
  Options options;
  options.paths = std::move(paths);
  Parser parser(options);
  std::vector<std::string> rest = parser.Parse(std::move(arguments));
  if (parser.help) {
    return Answer{ExitCode::kSuccess, parser.Help()};
  }
  return parser.version ? Version() : Complete(std::move(options), std::move(rest));
}

}  // namespace

Answer UsageError(std::string_view message, std::string_view command) {
  std::string line = "mdtorrent: ";
  AppendPrintable(line, message);
  return {ExitCode::kUsage, line + " (see " + std::string(command) + " --help)\n"};
}

CommandLine ParseOptions(int argc, const char* const* argv) {
  std::vector<std::string> arguments;
  std::vector<std::string> paths;
  Split(argc, argv, arguments, paths);
  const bool dump = !arguments.empty() && arguments[0] == "dump";
  try {
    if (dump) {
      return ParseDump({arguments.begin() + 1, arguments.end()}, std::move(paths));
    }
    return ParseImport(std::move(arguments), std::move(paths));
  } catch (const CLI::Error& error) {
    return UsageError(error.what(), dump ? kDumpCommand : kImportCommand);
  }
}

}  // namespace mdtorrent
