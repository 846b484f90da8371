// process_bench MDTORRENT TORRENTS ROWS [ROUNDS]: whole mdtorrent processes against the processes of other
// readers, from start to exit, with their output thrown away.
//
// The programs take turns; times are medians of wall time over the rounds, peaks the highest.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/bytes.h"
#include "bench/comparison.h"
#include "bench/generate.h"
#include "bench/process.h"

namespace {

namespace fs = std::filesystem;

// One program's way of doing a job.
struct Contender {
  std::string name;
  std::function<bench::Usage()> run;
  std::vector<double> times = {};
  long peak_bytes = 0;
};

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
  return values[values.size() / 2];
}

void TakeTurns(std::vector<Contender>& contenders, int rounds) {
  for (int round = 0; round < rounds; ++round) {
    for (Contender& contender : contenders) {
      const bench::Usage usage = contender.run();
      if (usage.status != 0) {
        throw std::runtime_error(contender.name + " failed with " + std::to_string(usage.status));
      }
      contender.times.push_back(usage.milliseconds);
      contender.peak_bytes = std::max(contender.peak_bytes, usage.peak_bytes);
    }
  }
}

bench::Row Limited(const std::string& what, double ours, double peer, double limit, const std::string& unit) {
  const double ratio = ours / peer;
  return {what,
          bench::Fixed(ours, 1) + unit,
          bench::Fixed(peer, 1) + unit,
          bench::Fixed(ratio, 3),
          "<= " + bench::Fixed(limit, 2),
          ratio <= limit ? bench::Verdict::kPass : bench::Verdict::kFail};
}

bench::Row TimesFaster(const std::string& what, double ours, double peer, double least) {
  const double times = peer / ours;
  return {what,
          bench::Fixed(ours, 1) + " ms",
          bench::Fixed(peer, 1) + " ms",
          bench::Fixed(times, 1) + " x",
          ">= " + bench::Fixed(least, 0) + " x",
          times >= least ? bench::Verdict::kPass : bench::Verdict::kFail};
}

std::string OutputOf(const std::vector<std::string>& arguments, const fs::path& scratch) {
  const bench::Usage usage = bench::Run(arguments, scratch);
  if (usage.status != 0) {
    throw std::runtime_error(arguments[0] + " failed with " + std::to_string(usage.status));
  }
  return bench::BytesOf(scratch);
}

void RequireText(const std::string& output, const std::string& text, const std::string& program) {
  if (output.find(text) == std::string::npos) {
    throw std::runtime_error("the output of " + program + " lacks '" + text + "'");
  }
}

// Every hundredth file's number, as the generator writes it into the file's name.
std::vector<std::string> SampleOfFileNames(int count) {
  std::vector<std::string> names;
  for (int i = 1; i <= count; i += 100) {
    std::string digits = std::to_string(i);
    names.push_back(std::string(6 - digits.size(), '0') + digits + " - ");
  }
  return names;
}

// Runs `check` in a child, so that this process stays small. Throws when it failed there.
void InChild(const std::function<void()>& check) {
  const pid_t child = fork();
  if (child == 0) {
    try {
      check();
      _exit(0);
    } catch (const std::exception& error) {
      std::cerr << "process_bench: " << error.what() << std::endl;
      _exit(1);
    }
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || status != 0) {
    throw std::runtime_error("the programs were not timed");
  }
}

struct Places {
  std::string mdtorrent;
  std::string largest;
  std::string folder;
  std::vector<std::string> small;
  std::string scratch;
  std::string rows;
};

Places Find(const std::string& mdtorrent, const fs::path& torrents, const std::string& rows) {
  Places places = {mdtorrent,
                   bench::FilesPath(torrents, bench::kMostFiles),
                   bench::SmallFolder(torrents),
                   {},
                   torrents / "output.txt",
                   rows};
  for (int i = 0; i < bench::kSmallTorrents; ++i) {
    places.small.push_back(bench::SmallPath(torrents, i));
  }
  return places;
}

void VerifyOutputs(const Places& places) {
  const std::string ours = OutputOf({places.mdtorrent, places.largest}, places.scratch);
  const std::string peer = OutputOf({"transmission-show", places.largest}, places.scratch);
  for (const std::string& name : SampleOfFileNames(bench::kMostFiles)) {
    RequireText(ours, name, places.mdtorrent);
    RequireText(peer, name, "transmission-show");
  }
  const std::string all = OutputOf({places.mdtorrent, "-r", places.folder}, places.scratch);
  const std::string exif = OutputOf({"exiftool", "-r", places.folder}, places.scratch);
  for (int i = 0; i < bench::kSmallTorrents; ++i) {
    const std::string name = fs::path(places.small[static_cast<size_t>(i)]).filename().string();
    RequireText(all, name, places.mdtorrent);
    RequireText(exif, name, "exiftool");
  }
}

void CompareLargest(const Places& places, int rounds) {
  constexpr double kTimeLimit = 0.6;
  constexpr double kPeakLimit = 1.0;
  constexpr double kMiB = 1 << 20;
  std::vector<Contender> contenders = {{"mdtorrent",
                                        [&] {
                                          return bench::Run({places.mdtorrent, places.largest});
                                        }},
                                       {"transmission-show", [&] {
                                          return bench::Run({"transmission-show", places.largest});
                                        }}};
  TakeTurns(contenders, rounds);
  const std::string what = "mdtorrent, " + std::to_string(bench::kMostFiles) + " files / transmission-show: ";
  bench::AppendRow(places.rows,
                   Limited(what + "time", Median(contenders[0].times), Median(contenders[1].times), kTimeLimit, " ms"));
  bench::AppendRow(places.rows, Limited(what + "peak", static_cast<double>(contenders[0].peak_bytes) / kMiB,
                                        static_cast<double>(contenders[1].peak_bytes) / kMiB, kPeakLimit, " MiB"));
}

void CompareFolder(const Places& places, int rounds) {
  constexpr double kOverTransmission = 60;
  constexpr double kOverExiftool = 20;
  std::vector<Contender> contenders = {{"mdtorrent",
                                        [&] {
                                          return bench::Run({places.mdtorrent, "-r", places.folder});
                                        }},
                                       {"transmission-show",
                                        [&] {
                                          bench::Usage all;
                                          for (const std::string& path : places.small) {
                                            all += bench::Run({"transmission-show", path});
                                          }
                                          return all;
                                        }},
                                       {"exiftool", [&] {
                                          return bench::Run({"exiftool", "-r", places.folder});
                                        }}};
  TakeTurns(contenders, rounds);
  const std::string what = "mdtorrent -r, " + std::to_string(bench::kSmallTorrents) + " small / ";
  const double ours = Median(contenders[0].times);
  bench::AppendRow(places.rows,
                   TimesFaster(what + "transmission-show each", ours, Median(contenders[1].times), kOverTransmission));
  bench::AppendRow(places.rows, TimesFaster(what + "exiftool -r", ours, Median(contenders[2].times), kOverExiftool));
}

}  // namespace

int main(int argc, char** argv) try {
  const int rounds = argc == 5 ? std::atoi(argv[4]) : 5;
  if (argc < 4 || argc > 5 || rounds < 1) {
    std::cerr << "Usage: process_bench MDTORRENT TORRENTS ROWS [ROUNDS]\n";
    return 2;
  }
  const Places places = Find(argv[1], argv[2], argv[3]);
  InChild([&] { VerifyOutputs(places); });
  CompareLargest(places, rounds);
  CompareFolder(places, rounds);
} catch (const std::exception& error) {
  std::cerr << "process_bench: " << error.what() << '\n';
  return 1;
}
