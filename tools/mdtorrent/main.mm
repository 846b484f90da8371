#include <Foundation/Foundation.h>
#include <errno.h>
#include <fcntl.h>
#include <locale.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include "platform/program.h"
#include "tools/mdtorrent/dump/dump.h"
#include "tools/mdtorrent/failure.h"
#include "tools/mdtorrent/import/bundle_path.h"
#include "tools/mdtorrent/import/plugin.h"
#include "tools/mdtorrent/import/run.h"
#include "tools/mdtorrent/interrupt.h"
#include "tools/mdtorrent/options.h"
#include "tools/mdtorrent/output/escape.h"
#include "tools/mdtorrent/program_name.h"

namespace mdtorrent {
namespace {

constexpr size_t kOutputBuffer = size_t{256} << 10;

// Takes the places of standard streams that were closed, so that no file opened later lands there.
// They are opened the wrong way round: using them stays an error.
void OccupyStandardStreams() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(fd, F_GETFD) < 0) {
      open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
  }
}

ExitCode Give(const Answer& answer) {
  FILE* const stream = answer.exit_code == ExitCode::kSuccess ? stdout : stderr;
  if ((fputs(answer.text.c_str(), stream) >= 0 && fflush(stream) == 0) || stream == stderr) {
    return answer.exit_code;
  }
  TellOutputError(stderr, errno);
  return ExitCode::kUnreadable;
}

ExitCode RunWithBundle(const Options& options) {
  std::string path = options.bundle;
  if (path.empty()) {
    const std::vector<std::string> candidates = BundleCandidates(platform::ExecutablePath());
    path = FindBundle(candidates);
    if (path.empty()) {
      return RefuseBundle(kBundleName, "not beside the program, where it is installed or where it is built");
    }
  }
  std::string error;
  const std::optional<ImporterBundle> bundle = ImporterBundle::Open(path, error);
  return bundle ? Run(options, *bundle, path) : RefuseBundle(path, error);
}

// The locale in the environment that decides on encodings.
std::string EnvironmentLocale() {
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* const name = getenv(variable);
    if (name && *name != '\0') {
      return name;
    }
  }
  return {};
}

// An unknown locale in the environment is no reason to refuse to work. One that counts only for other
// things than encodings is none to speak of either.
void UseEnvironmentLocale() {
  if (setlocale(LC_ALL, "") || setlocale(LC_CTYPE, "")) {
    return;
  }
  std::string line = ProgramName() + ": warning: the locale \"";
  AppendPrintable(line, EnvironmentLocale());
  fprintf(stderr, "%s\" is not installed: text that is no UTF-8 is read as in the locale C\n", line.c_str());
}

// Through the environment, as Foundation may set the locale from there again. False when it is unknown.
bool UseLocale(const std::string& name) {
  setenv("LC_ALL", name.c_str(), 1);
  return setlocale(LC_ALL, "");
}

ExitCode Main(int argc, char** argv) {
  const CommandLine parsed = ParseOptions(argc, argv);
  if (const Answer* answer = std::get_if<Answer>(&parsed)) {
    return Give(*answer);
  }
  if (const DumpOptions* dump = std::get_if<DumpOptions>(&parsed)) {
    signal(SIGPIPE, SIG_IGN);
    return Dump(*dump, stdout, stderr);
  }
  const Options& options = std::get<Options>(parsed);
  if (options.locale.empty()) {
    UseEnvironmentLocale();
  } else if (!UseLocale(options.locale)) {
    return Give(UsageError("the locale \"" + options.locale + "\" is not installed: locale -a lists what is, and " +
                           "on Debian dpkg-reconfigure locales installs more"));
  }
  setvbuf(stdout, nullptr, _IOFBF, kOutputBuffer);
  signal(SIGPIPE, SIG_IGN);
  CatchInterrupt();
  return RunWithBundle(options);
}

}  // namespace
}  // namespace mdtorrent

int main(int argc, char** argv) {
  platform::RestoreArguments();
  mdtorrent::OccupyStandardStreams();
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  const mdtorrent::ExitCode exit_code = mdtorrent::Main(argc, argv);
  [pool release];
  return static_cast<int>(exit_code);
}
