#include "tools/mdtorrent/program_name.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include "tools/mdtorrent/failure.h"
#include "tools/mdtorrent/options.h"

namespace mdtorrent {
namespace {

// Each test begins and ends without the variable.
class ProgramNameTest : public testing::Test {
 protected:
  ProgramNameTest() { unsetenv(kCommandVariable); }
  ~ProgramNameTest() override { unsetenv(kCommandVariable); }

  static std::string Told(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "mdtorrent");
    const auto parsed = ParseOptions(static_cast<int>(arguments.size()), arguments.data());
    return std::get<Answer>(parsed).text;
  }
};

TEST_F(ProgramNameTest, IsItsOwnWithoutAScript) {
  EXPECT_EQ("mdtorrent", ProgramName());
  EXPECT_FALSE(RunByScript());
  setenv(kCommandVariable, "", 1);
  EXPECT_EQ("mdtorrent", ProgramName());
  EXPECT_FALSE(RunByScript());
}

TEST_F(ProgramNameTest, IsThatOfTheScriptThatRunsTheProgram) {
  setenv(kCommandVariable, "bin/x", 1);
  EXPECT_EQ("bin/x", ProgramName());
  EXPECT_TRUE(RunByScript());
}

TEST_F(ProgramNameTest, CannotDriveATerminal) {
  setenv(kCommandVariable, "\x1b[2J\xFF", 1);
  EXPECT_EQ("\\U001b[2J\\xff", ProgramName());
}

TEST_F(ProgramNameTest, StandsForEachMention) {
  EXPECT_EQ("a mdtorrent b mdtorrent", WithProgramName("a mdtorrent b mdtorrent"));
  setenv(kCommandVariable, "my mdtorrent", 1);
  EXPECT_EQ("my mdtorrent, my mdtorrent.", WithProgramName("mdtorrent, mdtorrent."));
}

TEST_F(ProgramNameTest, BeginsEachComplaint) {
  setenv(kCommandVariable, "bin/x", 1);
  EXPECT_EQ("bin/x: path: why\n", ComplaintLine("path", "why"));
  EXPECT_EQ("bin/x: no PATH given (see bin/x --help-all)\n", Told({}));
  EXPECT_EQ("bin/x: dump: no FILE given (see bin/x dump --help)\n", Told({"dump"}));
}

TEST_F(ProgramNameTest, IsTheOnlyOneInTheHelp) {
  setenv(kCommandVariable, "bin/x", 1);
  for (const char* option : {"--help", "--help-all"}) {
    const std::string help = Told({option});
    EXPECT_EQ(std::string::npos, help.find("mdtorrent")) << help;
    EXPECT_NE(std::string::npos, help.find("Usage: bin/x [OPTIONS] PATH...\n")) << help;
  }
  EXPECT_NE(std::string::npos, Told({"dump", "--help"}).find("Usage: bin/x dump [OPTIONS] FILE\n"));
}

}  // namespace
}  // namespace mdtorrent
