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

TEST(Options, DumpRefusesWhatItDoesNotKnow) {
  const std::vector<const char*> wrong[] = {
      {"dump"}, {"dump", "x", "y"}, {"dump", "-r", "x"}, {"dump", "--format", "plist", "x"}, {"dump", "x", "--", "y"}};
  for (const std::vector<const char*>& arguments : wrong) {
    const auto parsed = Parse(arguments);
    const Answer* answer = std::get_if<Answer>(&parsed);
    ASSERT_NE(nullptr, answer);
    EXPECT_EQ(ExitCode::kUsage, answer->exit_code);
    EXPECT_EQ(0u, answer->text.find("mdtorrent: ")) << answer->text;
    EXPECT_TRUE(answer->text.ends_with(" (see mdtorrent dump --help)\n")) << answer->text;
  }
}

TEST(Options, DumpHasAHelpOfItsOwn) {
  const auto parsed = Parse({"dump", "--help"});
  const Answer& answer = std::get<Answer>(parsed);
  EXPECT_EQ(ExitCode::kSuccess, answer.exit_code);
  EXPECT_NE(std::string::npos, answer.text.find("Usage: mdtorrent dump [OPTIONS] FILE"));
}

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

struct Case {
  const char* name;
  std::vector<const char*> arguments;
  const char* said;
};

TEST(Options, MistakesAreToldInOneLine) {
  const Case cases[] = {
      {"nothing", {}, "no PATH given"},
      {"unknown long option", {"--bogus", "x"}, "unknown option --bogus"},
      {"unknown short option", {"-x", "x"}, "unknown option -x"},
      {"unknown letter in a group", {"-rx", "x"}, "unknown option -x"},
      {"hostile option", {"--\x1b[2J", "x"}, "unknown option --\\U001b[2J"},
      {"unknown format", {"--format", "xml", "x"}, "--format has no choice xml"},
      {"unknown interface", {"--interface", "com", "x"}, "--interface has no choice com"},
      {"unknown progress", {"--progress", "no", "x"}, "--progress has no choice no"},
      {"missing value", {"x", "--format"}, "--format"},
      {"no jobs", {"-j", "0", "x"}, "--jobs must be 1 to 256"},
      {"too many jobs", {"-j", "257", "x"}, "--jobs must be 1 to 256"},
      {"jobs that are no number", {"-j", "many", "x"}, "many"},
      {"zero bytes without input", {"-0", "x"}, "-0 is for paths on standard input"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto parsed = Parse(c.arguments);
    const Answer* answer = std::get_if<Answer>(&parsed);
    ASSERT_TRUE(answer);
    EXPECT_EQ(ExitCode::kUsage, answer->exit_code);
    EXPECT_EQ(0u, answer->text.find("mdtorrent: "));
    EXPECT_NE(std::string::npos, answer->text.find(c.said)) << answer->text;
    EXPECT_EQ(answer->text.size() - 1, answer->text.find('\n'));
  }
}

TEST(Options, TheLargestNumberOfJobsIsTaken) { EXPECT_EQ(256u, Parsed({"-j", "256", "x"}).jobs); }

}  // namespace
}  // namespace mdtorrent
