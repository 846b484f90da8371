// Runs registered Google Benchmarks with all cases interleaved and compares their medians.
//
// Times are the processor time of the measuring thread: other programs of the machine disturb them
// least.
#pragma once

#include <string>
#include <vector>

namespace bench {

// For claims that only inform.
inline constexpr double kNoLimit = 0;

// A claim about two registered benchmarks: the median of `ours` is at most `limit` times the median
// of `peer`.
struct Claim {
  std::string what;
  std::string ours;
  std::string peer;
  double limit;
};

enum class Verdict { kPass, kFail, kInfo };

// One line of the final table: what was measured, the figures of both sides, the value that counts,
// its limit, and whether it holds.
struct Row {
  std::string what;
  std::string ours;
  std::string peer;
  std::string result;
  std::string limit;
  Verdict verdict;
};

// Appends `row` to the file at `path`, its fields separated by tabs and the last one "pass",
// "FAIL" or "-".
void AppendRow(const std::string& path, const Row& row);

// `value` with `digits` decimals.
std::string Fixed(double value, int digits);

// Runs the benchmarks registered so far and appends one row per claim to the file at `rows_path`.
// `options` are Google Benchmark's own, over the defaults of several interleaved repetitions.
// Returns the program's exit status: 0 unless something did not run.
int RunAndCompare(const std::vector<Claim>& claims, const std::string& rows_path, std::vector<std::string> options);

}  // namespace bench
