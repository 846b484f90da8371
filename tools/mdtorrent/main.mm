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

// Through the environment, as Foundation may set the locale from there again. False when `name` is
// unknown; an unknown locale in the environment itself is no reason to refuse to work.
bool ChooseLocale(const std::string& name) {
  if (!name.empty()) {
    setenv("LC_ALL", name.c_str(), 1);
  }
  return setlocale(LC_ALL, "") || name.empty();
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
  if (!ChooseLocale(options.locale)) {
    return Give(UsageError("unknown locale " + options.locale));
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
