#include "tools/mdtorrent/import/run.h"

#include <stdio.h>
#include <unistd.h>

#include "tools/mdtorrent/failure.h"
#include "tools/mdtorrent/import/thread_count.h"
#include "tools/mdtorrent/import/worker.h"
#include "tools/mdtorrent/interrupt.h"
#include "tools/mdtorrent/output/escape.h"
#include "tools/mdtorrent/program_name.h"

namespace mdtorrent {
namespace {

PathList MakePathList(const Options& options) {
  PathList::Source source;
  source.paths = options.paths;
  source.recursive = options.recursive;
  source.separator = options.zero_separated ? '\0' : '\n';
  source.input = STDIN_FILENO;
  source.stop = InterruptDescriptor();
  return PathList(std::move(source));
}

// Whether the user cannot tell from the command line alone which file a record belongs to.
bool SeveralFiles(const Options& options) {
  return options.paths.size() > 1 || options.recursive || options.paths[0] == "-";
}

std::vector<std::unique_ptr<Importer>> MakeImporters(const Options& options, const ImporterBundle& bundle,
                                                     std::string& error) {
  std::vector<std::unique_ptr<Importer>> importers;
  const size_t count = BearableThreads(options.jobs);
  for (size_t i = 0; i < count; ++i) {
    importers.push_back(bundle.NewImporter(options.interface, error));
    if (!importers.back()) {
      return {};
    }
  }
  return importers;
}

OrderedOutput::Streams StandardStreams(const Options& options) {
  const bool on_terminal = isatty(STDOUT_FILENO) != 0;
  return {stdout, stderr, options.format == Format::kNdjson || on_terminal, on_terminal && isatty(STDERR_FILENO) != 0};
}

ExitCode ExitCodeOf(const OrderedOutput& output) {
  if (const int signal = InterruptSignal()) {
    return static_cast<ExitCode>(128 + signal);
  }
  const Counts& counts = output.counts();
  if (output.error() != 0 || counts.unreadable > 0) {
    return ExitCode::kUnreadable;
  }
  return counts.unusable > 0 ? ExitCode::kUnusable : ExitCode::kSuccess;
}

}  // namespace

ExitCode RefuseBundle(const std::string& path, const std::string& reason) {
  std::string line = ProgramName() + ": cannot load ";
  AppendPrintable(line, path);
  line += ": ";
  AppendPrintable(line, reason);
  fprintf(stderr, "%s\n", line.c_str());
  return ExitCode::kBundle;
}

ExitCode Run(const Options& options, const ImporterBundle& bundle, const std::string& bundle_path) {
  std::string error;
  const std::vector<std::unique_ptr<Importer>> importers = MakeImporters(options, bundle, error);
  if (importers.empty()) {
    return RefuseBundle(bundle_path, error);
  }
  Progress progress(options.progress, stderr);
  PathList paths = MakePathList(options);
  if (progress.may_show()) {
    paths.CollectIfFinite();
    progress.set_total(paths.total());
  }
  OrderedOutput output(StandardStreams(options), FramingOf(options.format), progress);
  Job job(options.format, SeveralFiles(options), paths, output);
  output.Begin();
  ImportAll(job, importers);
  output.End();
  progress.Finish(output.counts());
  if (output.error() != 0) {
    TellOutputError(stderr, output.error());
  }
  if (paths.searched_folder()) {
    fprintf(stderr, "%s: %s%s\n", ProgramName().c_str(), Interrupted() ? "interrupted, " : "",
            SummaryLine(output.counts(), progress.Elapsed()).c_str());
  }
  return ExitCodeOf(output);
}

}  // namespace mdtorrent
