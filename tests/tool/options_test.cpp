#include "tools/mdtorrent/options.h"

#include <gtest/gtest.h>

namespace mdtorrent {
namespace {

using Strings = std::vector<std::string>;

CommandLine Parse(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "mdtorrent");
  return ParseOptions(static_cast<int>(arguments.size()), arguments.data());
}

Options Parsed(std::vector<const char*> arguments) {
  const auto parsed = Parse(std::move(arguments));
  if (const Answer* answer = std::get_if<Answer>(&parsed)) {
    ADD_FAILURE() << answer->text;
    return {};
  }
  return std::get<Options>(parsed);
}

DumpOptions ParsedDump(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "dump");
  const auto parsed = Parse(std::move(arguments));
  if (const Answer* answer = std::get_if<Answer>(&parsed)) {
    ADD_FAILURE() << answer->text;
    return {};
  }
  return std::get<DumpOptions>(parsed);
}

TEST(Options, DumpTakesAFileAndAFormat) {
  EXPECT_EQ(TreeFormat::kJson, ParsedDump({"x"}).format);
  EXPECT_EQ("x", ParsedDump({"x"}).path);
  EXPECT_EQ(TreeFormat::kAscii, ParsedDump({"x", "--format", "ascii"}).format);
  EXPECT_EQ(TreeFormat::kBencode, ParsedDump({"--format=bencode", "x"}).format);
  EXPECT_EQ(TreeFormat::kXml, ParsedDump({"--format", "xml", "x"}).format);
  EXPECT_EQ(TreeFormat::kJson, ParsedDump({"--format", "json", "x"}).format);
  EXPECT_EQ("--format", ParsedDump({"--", "--format"}).path);
}

TEST(Options, DumpIsACommandOnlyAsTheFirstArgument) {
  EXPECT_EQ((Strings{"x", "dump"}), Parsed({"x", "dump"}).paths);
  EXPECT_EQ((Strings{"./dump"}), Parsed({"./dump"}).paths);
  EXPECT_EQ((Strings{"dump"}), Parsed({"--", "dump"}).paths);
}

std::string Told(std::vector<const char*> arguments) {
  const auto parsed = Parse(std::move(arguments));
  const Answer& answer = std::get<Answer>(parsed);
  EXPECT_EQ(ExitCode::kSuccess, answer.exit_code);
  return answer.text;
}

TEST(Options, DumpHasAHelpOfItsOwn) {
  const std::string help = Told({"dump", "--help"});
  EXPECT_EQ(help, Told({"dump", "-h"}));
  EXPECT_NE(std::string::npos, help.find("Usage: mdtorrent dump [OPTIONS] FILE"));
  EXPECT_EQ(std::string::npos, help.find("--recursive"));
}

TEST(Options, HelpIsGivenWhateverElseIsAskedFor) {
  EXPECT_EQ(Told({"--help"}), Told({"--bogus", "--version", "-h", "x"}));
  EXPECT_EQ(Told({"dump", "--help"}), Told({"dump", "--bogus", "-h", "x", "y"}));
}

TEST(Options, AllHelpIsTheHelpOfEachCommand) {
  const std::string all = Told({"--help"}) + "\n\n" + Told({"dump", "--help"});
  EXPECT_EQ(all, Told({"--help-all"}));
  EXPECT_EQ(all, Told({"dump", "--help-all"}));
  EXPECT_EQ(all, Told({"x", "--help", "--help-all"}));
}

TEST(Options, HelpListsChoicesAndDefaults) {
  const std::string import = Told({"--help"}), dump = Told({"dump", "--help"});
  for (const char* line :
       {"--format NAME       mdls (default), json, ndjson or plist\n", "(1 to 256, default 1)",
        "auto (default: on a terminal, after half a second), always or never\n", "url (default) or legacy",
        "(default: the one of this program)", "(default: the environment's)", "--help-all "}) {
    EXPECT_NE(std::string::npos, import.find(line)) << line << import;
  }
  EXPECT_NE(std::string::npos, dump.find("json (default), ascii, bencode or xml\n"));
}

TEST(Options, TheVersionIsThatOfBothCommands) { EXPECT_EQ(Told({"--version"}), Told({"dump", "--version"})); }

TEST(Options, DefaultsAreForOneFileAtATerminal) {
  const Options options = Parsed({"x"});
  EXPECT_EQ(Format::kMdls, options.format);
  EXPECT_EQ(Interface::kUrl, options.interface);
  EXPECT_EQ(ProgressMode::kAuto, options.progress);
  EXPECT_EQ("", options.bundle);
  EXPECT_EQ("", options.locale);
  EXPECT_FALSE(options.recursive);
  EXPECT_FALSE(options.zero_separated);
  EXPECT_EQ(1u, options.jobs);
  EXPECT_EQ((Strings{"x"}), options.paths);
}

TEST(Options, EveryOptionIsTaken) {
  const Options options = Parsed({"--format", "ndjson", "--interface=legacy", "a", "--progress", "never", "--bundle",
                                  "B", "--locale", "C", "-r", "-0", "-j4", "-"});
  EXPECT_EQ(Format::kNdjson, options.format);
  EXPECT_EQ(Interface::kLegacy, options.interface);
  EXPECT_EQ(ProgressMode::kNever, options.progress);
  EXPECT_EQ("B", options.bundle);
  EXPECT_EQ("C", options.locale);
  EXPECT_TRUE(options.recursive);
  EXPECT_TRUE(options.zero_separated);
  EXPECT_EQ(4u, options.jobs);
  EXPECT_EQ((Strings{"a", "-"}), options.paths);
}

TEST(Options, PathsAreTakenLetterForLetter) {
  EXPECT_EQ((Strings{"[a,b]", "{}", "%%", "++", "", "x=y", "/format:json"}),
            Parsed({"[a,b]", "{}", "%%", "++", "", "x=y", "/format:json"}).paths);
}

TEST(Options, AfterTwoDashesAllArePaths) {
  EXPECT_EQ((Strings{"a", "-r", "--", "--help"}), Parsed({"a", "--", "-r", "--", "--help"}).paths);
}

TEST(Options, ZeroSeparatedPathsNeedNoDash) { EXPECT_EQ((Strings{"-"}), Parsed({"-0"}).paths); }

TEST(Options, OfARepeatedOptionTheLastCounts) {
  EXPECT_EQ(Format::kNdjson, Parsed({"--format", "json", "x", "--format", "ndjson"}).format);
  EXPECT_EQ(4u, Parsed({"-j", "1", "--jobs=4", "x"}).jobs);
  EXPECT_TRUE(Parsed({"-r", "-r", "x"}).recursive);
  EXPECT_TRUE(Parsed({"-00", "-"}).zero_separated);
  EXPECT_EQ("B", Parsed({"--locale", "A", "--locale", "B", "x"}).locale);
  EXPECT_EQ("B", Parsed({"--bundle", "A", "--bundle", "B", "x"}).bundle);
  EXPECT_EQ(ProgressMode::kAuto, Parsed({"--progress", "never", "--progress", "auto", "x"}).progress);
  EXPECT_EQ(Interface::kUrl, Parsed({"--interface", "legacy", "--interface", "url", "x"}).interface);
  EXPECT_EQ(TreeFormat::kXml, ParsedDump({"--format", "json", "x", "--format", "xml"}).format);
}

TEST(Options, ShortOptionsMayShareADash) {
  const Options options = Parsed({"-r0j12", "-"});
  EXPECT_TRUE(options.recursive);
  EXPECT_TRUE(options.zero_separated);
  EXPECT_EQ(12u, options.jobs);
}

TEST(Options, ValuesAreTakenLetterForLetter) {
  EXPECT_EQ("[a,b]", Parsed({"--bundle", "[a,b]", "x"}).bundle);
  EXPECT_EQ("-r", Parsed({"--bundle", "-r", "x"}).bundle);
  EXPECT_EQ("a=b", Parsed({"--bundle=a=b", "x"}).bundle);
  EXPECT_EQ("--recursive=x", Parsed({"--bundle=--recursive=x", "x"}).bundle);
}

TEST(Options, NothingBehindAnEqualsSignIsAnEmptyValue) {
  const Options options = Parsed({"--locale=", "x", "--bundle="});
  EXPECT_EQ("", options.locale);
  EXPECT_EQ("", options.bundle);
  EXPECT_EQ((Strings{"x"}), options.paths);
}

struct Case {
  const char* name;
  std::vector<const char*> arguments;
  const char* said;
};

void ExpectMistakes(const std::vector<Case>& cases, const std::string& hint) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto parsed = Parse(c.arguments);
    const Answer* answer = std::get_if<Answer>(&parsed);
    ASSERT_TRUE(answer);
    EXPECT_EQ(ExitCode::kUsage, answer->exit_code);
    EXPECT_EQ("mdtorrent: " + std::string(c.said) + " (see " + hint + ")\n", answer->text);
  }
}

TEST(Options, MistakesAreToldInASentence) {
  ExpectMistakes(
      {
          {"nothing", {}, "no PATH given"},
          {"zero bytes without input", {"-0", "x"}, "-0 is for paths on standard input: add the path -"},

          {"unknown long option", {"--bogus", "x"}, "unknown option --bogus"},
          {"unknown long option with a value", {"--bogus=1", "x"}, "unknown option --bogus=1"},
          {"part of a long option", {"--form", "json", "x"}, "unknown option --form"},
          {"a long option behind one dash", {"-format", "json", "x"}, "unknown option -format"},
          {"unknown short option", {"-x", "x"}, "unknown option -x"},
          {"unknown letter in a group", {"-rx", "x"}, "unknown option -x"},
          {"hostile option", {"--\x1b[2J", "x"}, "unknown option --\\U001b[2J"},
          {"option that is no UTF-8", {"-\xFF", "x"}, "unknown option -\\xff"},

          {"no value for --format", {"x", "--format"}, "--format needs one of mdls, json, ndjson, plist"},
          {"no value before two dashes", {"--format", "--", "x"}, "--format needs one of mdls, json, ndjson, plist"},
          {"no value for --interface", {"x", "--interface"}, "--interface needs one of url, legacy"},
          {"no value for --progress", {"x", "--progress"}, "--progress needs one of auto, always, never"},
          {"no value for --jobs", {"x", "--jobs"}, "--jobs needs a number from 1 to 256"},
          {"no value for -j", {"x", "-j"}, "--jobs needs a number from 1 to 256"},
          {"no value for -j in a group", {"x", "-rj"}, "--jobs needs a number from 1 to 256"},
          {"no value for --bundle", {"x", "--bundle"}, "--bundle needs a path"},
          {"no value for --locale", {"x", "--locale"}, "--locale needs the name of a locale"},

          {"unknown format", {"--format=xml", "x"}, "--format needs one of mdls, json, ndjson, plist, not \"xml\""},
          {"empty format", {"--format=", "x"}, "--format needs one of mdls, json, ndjson, plist, not \"\""},
          {"an option for a format", {"--format", "-r"}, "--format needs one of mdls, json, ndjson, plist, not \"-r\""},
          {"unknown interface", {"--interface", "com", "x"}, "--interface needs one of url, legacy, not \"com\""},
          {"unknown progress", {"--progress", "no", "x"}, "--progress needs one of auto, always, never, not \"no\""},
          {"hostile value",
           {"--format", "\x1b", "x"},
           "--format needs one of mdls, json, ndjson, plist, not \"\\U001b\""},

          {"a value for --recursive", {"--recursive=x", "x"}, "--recursive takes no value"},
          {"true for --recursive", {"--recursive=true", "x"}, "--recursive takes no value"},
          {"nothing for --recursive", {"--recursive=", "x"}, "--recursive takes no value"},
          {"a value for -r", {"-r=false", "x"}, "-r takes no value"},
          {"a value for --null", {"--null=1", "-"}, "--null takes no value"},
          {"a value for --help", {"--help=no", "x"}, "--help takes no value"},
          {"a value for --help-all", {"--help-all=no", "x"}, "--help-all takes no value"},
          {"a value for --version", {"--version=2", "x"}, "--version takes no value"},
      },
      "mdtorrent --help");
}

TEST(Options, AMistakeInAnyNumberOfJobsIsTold) {
  for (const char* number : {"0", "257", "-1", "99999999999999999999999", "many", "", "=4", "r", " 4", "4 ", "+4",
                             "4.0", "0x4", "1e2", "4,5", "[4]"}) {
    const std::string said = "--jobs needs a number from 1 to 256, not \"" + std::string(number) + "\"";
    ExpectMistakes({{number, {"-j", number, "x"}, said.c_str()}}, "mdtorrent --help");
    const std::string long_form = "--jobs=" + std::string(number), glued = "-j" + std::string(number);
    ExpectMistakes({{number, {long_form.c_str(), "x"}, said.c_str()}}, "mdtorrent --help");
    if (*number != '\0') {
      ExpectMistakes({{number, {glued.c_str(), "x"}, said.c_str()}}, "mdtorrent --help");
    }
  }
}

TEST(Options, MistakesOfDumpPointToItsOwnHelp) {
  ExpectMistakes(
      {
          {"no file", {"dump"}, "dump: no FILE given"},
          {"two files", {"dump", "x", "y"}, "dump: more than one FILE given"},
          {"two files around two dashes", {"dump", "x", "--", "y"}, "dump: more than one FILE given"},
          {"an option of the import", {"dump", "-r", "x"}, "unknown option -r"},
          {"no value for --format", {"dump", "x", "--format"}, "--format needs one of json, ascii, bencode, xml"},
          {"a format of the import",
           {"dump", "--format", "plist", "x"},
           "--format needs one of json, ascii, bencode, xml, not \"plist\""},
          {"a value for --help", {"dump", "--help=x", "x"}, "--help takes no value"},
      },
      "mdtorrent dump --help");
}

TEST(Options, TheLargestNumberOfJobsIsTaken) { EXPECT_EQ(256u, Parsed({"-j", "256", "x"}).jobs); }

}  // namespace
}  // namespace mdtorrent
