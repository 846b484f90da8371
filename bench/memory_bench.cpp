// memory_bench BUNDLE TORRENTS ROWS: what one import of an honest torrent of 1,000 files takes.
//
// Memory is the rise of the process's peak resident size over what was resident just before, in a
// process that has imported one small torrent, so that the platform's own start is not counted. Time
// is the median wall time of the imports that follow.
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <stdexcept>

#include "bench/comparison.h"
#include "bench/generate.h"
#include "bench/importer.h"
#include "bench/usage.h"

namespace {

constexpr size_t kMiB = 1 << 20;

double PeakMiB(const bench::Importer& importer, const bench::Location& file) {
  malloc_trim(0);
  bench::RestartPeak();
  const size_t before = bench::ResidentBytes();
  importer.Import(file);
  return static_cast<double>(bench::PeakResidentBytes() - before) / kMiB;
}

double MedianMilliseconds(const bench::Importer& importer, const bench::Location& file) {
  constexpr size_t kRuns = 101;
  std::vector<double> times;
  for (size_t i = 0; i < kRuns; ++i) {
    const auto begin = std::chrono::steady_clock::now();
    importer.Import(file);
    times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
  }
  std::nth_element(times.begin(), times.begin() + kRuns / 2, times.end());
  return times[kRuns / 2];
}

bench::Row Limited(const std::string& what, double value, double limit, const std::string& unit) {
  const std::string text = bench::Fixed(value, 3) + " " + unit;
  return {what,
          text,
          "-",
          text,
          "<= " + bench::Fixed(limit, 0) + " " + unit,
          value <= limit ? bench::Verdict::kPass : bench::Verdict::kFail};
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 4) {
    std::cerr << "Usage: memory_bench BUNDLE TORRENTS ROWS\n";
    return 2;
  }
  constexpr double kMostMiB = 4;
  constexpr double kMostMilliseconds = 5;
  const bench::Importer importer(argv[1]);
  const bench::Location small(bench::SmallPath(argv[2], 1));
  const bench::Location honest(bench::FilesPath(argv[2], bench::kHonestFiles));
  if (!importer.Import(small)) {
    throw std::runtime_error("the small torrent was refused");
  }
  const double peak = PeakMiB(importer, honest);
  if (importer.Read(honest).value_or(bench::Attributes{}).paths.size() != bench::kHonestFiles) {
    throw std::runtime_error("the honest torrent was not read");
  }
  bench::AppendRow(argv[3], Limited("import, 1000 files: memory", peak, kMostMiB, "MiB"));
  bench::AppendRow(argv[3],
                   Limited("import, 1000 files: time", MedianMilliseconds(importer, honest), kMostMilliseconds, "ms"));
} catch (const std::exception& error) {
  std::cerr << "memory_bench: " << error.what() << '\n';
  return 1;
}
