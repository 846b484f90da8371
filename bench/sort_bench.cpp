// sort_bench ROWS [OPTION...]: random numbers, and sorting them, against the language's own library.
#include <benchmark/benchmark.h>
#include <stdint.h>
#include <stdlib.h>

#include <algorithm>
#include <iostream>
#include <random>
#include <stdexcept>
#include <vector>

#include "bench/comparison.h"
#include "core/util/util_random.h"
#include "core/util/util_sort.h"

namespace {

using Records = std::vector<uint64_t>;

constexpr size_t kRecords = 1'000'000;
constexpr double kDrawLimit = 1.0;
constexpr double kSortLimit = 1.5;

int Compare(const void* a, const void* b) {
  const uint64_t x = *static_cast<const uint64_t*>(a);
  const uint64_t y = *static_cast<const uint64_t*>(b);
  return (x > y) - (x < y);
}

Records RandomRecords() {
  std::mt19937_64 random(1);
  Records records(kRecords);
  std::generate(records.begin(), records.end(), random);
  return records;
}

void OurSort(Records& records) { core::QuickSort(records.data(), kRecords, sizeof records[0], Compare); }
void QsortSort(Records& records) { qsort(records.data(), kRecords, sizeof records[0], Compare); }
void StdSort(Records& records) { std::sort(records.begin(), records.end()); }

// Each turn sorts the same records again; putting them back takes one part in a hundred.
void Sort(benchmark::State& state, const Records& records, void (*sort)(Records&)) {
  Records sorted;
  for (auto _ : state) {
    sorted = records;
    sort(sorted);
    benchmark::DoNotOptimize(sorted.data());
  }
}

void DrawOurs(benchmark::State& state) {
  core::seedMT(1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(core::randomMT());
  }
}

void DrawPeer(benchmark::State& state) {
  std::mt19937_64 random(1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(random());
  }
}

void Verify(const Records& records) {
  Records ours = records;
  Records peer = records;
  OurSort(ours);
  StdSort(peer);
  if (ours != peer) {
    throw std::runtime_error("the sorted records differ from std::sort's");
  }
  core::seedMT(1);
  if (core::randomMT() == core::randomMT()) {
    throw std::runtime_error("the generator stands still");
  }
}

void RegisterSort(const char* name, const Records& records, void (*sort)(Records&)) {
  benchmark::RegisterBenchmark(name, [&records, sort](benchmark::State& state) {
    Sort(state, records, sort);
  })->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 2) {
    std::cerr << "Usage: sort_bench ROWS [--benchmark_...]\n";
    return 2;
  }
  const Records records = RandomRecords();
  Verify(records);
  benchmark::RegisterBenchmark("randomMT", DrawOurs);
  benchmark::RegisterBenchmark("std::mt19937_64", DrawPeer);
  RegisterSort("QuickSort", records, OurSort);
  RegisterSort("qsort", records, QsortSort);
  RegisterSort("std::sort", records, StdSort);
  return bench::RunAndCompare({{"randomMT / std::mt19937_64", "randomMT", "std::mt19937_64", kDrawLimit},
                               {"QuickSort / qsort, 10^6 records", "QuickSort", "qsort", kSortLimit},
                               {"QuickSort / std::sort, 10^6 records", "QuickSort", "std::sort", bench::kNoLimit}},
                              argv[1], {argv + 2, argv + argc});
} catch (const std::exception& error) {
  std::cerr << "sort_bench: " << error.what() << '\n';
  return 1;
}
