#include "bench/comparison.h"

#include <benchmark/benchmark.h>
#include <stdio.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>

namespace bench {

std::string Fixed(double value, int digits) {
  char text[64];
  snprintf(text, sizeof text, "%.*f", digits, value);
  return text;
}

namespace {

std::string TimeText(double milliseconds) {
  return milliseconds < 0.01 ? Fixed(1e6 * milliseconds, 1) + " ns" : Fixed(milliseconds, 3) + " ms";
}

// Keeps every repetition's time, in milliseconds and ascending.
class Times : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
        std::vector<double>& times = times_[run.run_name.function_name];
        const double time = 1e3 * run.cpu_accumulated_time / static_cast<double>(run.iterations);
        times.insert(std::upper_bound(times.begin(), times.end(), time), time);
      }
    }
  }

  void Print() const {
    printf("%-56s %12s %12s %12s\n", "processor time", "median", "least", "most");
    for (const auto& [name, times] : times_) {
      printf("%-56s %12s %12s %12s\n", name.c_str(), TimeText(Median(name)).c_str(), TimeText(times.front()).c_str(),
             TimeText(times.back()).c_str());
    }
    fflush(stdout);
  }

  // 0 when nothing of that name ran.
  double Median(const std::string& name) const {
    const auto found = times_.find(name);
    if (found == times_.end()) {
      return 0;
    }
    const std::vector<double>& times = found->second;
    const size_t middle = times.size() / 2;
    return times.size() % 2 != 0 ? times[middle] : (times[middle - 1] + times[middle]) / 2;
  }

 private:
  std::map<std::string, std::vector<double>> times_;
};

void Initialize(std::vector<std::string> options) {
  std::vector<std::string> all = {"bench", "--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=9",
                                  "--benchmark_min_time=0.2"};
  all.insert(all.end(), options.begin(), options.end());
  std::vector<char*> argv;
  for (std::string& option : all) {
    argv.push_back(option.data());
  }
  argv.push_back(nullptr);
  int argc = static_cast<int>(all.size());
  benchmark::Initialize(&argc, argv.data());
}

const char* Name(Verdict verdict) {
  switch (verdict) {
    case Verdict::kPass:
      return "pass";
    case Verdict::kFail:
      return "FAIL";
    case Verdict::kInfo:
      break;
  }
  return "-";
}

Row Judge(const Claim& claim, double ours, double peer) {
  Row row = {claim.what, TimeText(ours), TimeText(peer), Fixed(ours / peer, 3), "-", Verdict::kInfo};
  if (claim.limit != kNoLimit) {
    row.limit = "<= " + Fixed(claim.limit, 2);
    row.verdict = ours <= claim.limit * peer ? Verdict::kPass : Verdict::kFail;
  }
  return row;
}

}  // namespace

void AppendRow(const std::string& path, const Row& row) {
  std::ofstream out;
  out.exceptions(std::ios::failbit | std::ios::badbit);
  out.open(path, std::ios::app);
  out << row.what << '\t' << row.ours << '\t' << row.peer << '\t' << row.result << '\t' << row.limit << '\t'
      << Name(row.verdict) << '\n';
}

int RunAndCompare(const std::vector<Claim>& claims, const std::string& rows_path, std::vector<std::string> options) {
  Initialize(std::move(options));
  Times times;
  benchmark::RunSpecifiedBenchmarks(&times);
  times.Print();
  int status = 0;
  for (const Claim& claim : claims) {
    const double ours = times.Median(claim.ours);
    const double peer = times.Median(claim.peer);
    if (ours <= 0 || peer <= 0) {
      std::cerr << "not measured: " << claim.what << '\n';
      status = 1;
      continue;
    }
    AppendRow(rows_path, Judge(claim, ours, peer));
  }
  return status;
}

}  // namespace bench
