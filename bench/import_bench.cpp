// import_bench BUNDLE TORRENTS ROWS [OPTION...]: whole imports through the loaded plug-in, from the file's
// URL to the freed attributes, against libtorrent-rasterbar reading the same torrents.
#include <benchmark/benchmark.h>

#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/bytes.h"
#include "bench/comparison.h"
#include "bench/generate.h"
#include "bench/importer.h"
#include "bench/peer.h"

namespace {

namespace fs = std::filesystem;

// The size in the largest unit that it fills, with one decimal that is cut, not rounded.
std::string SizeText(int64_t size) {
  static constexpr const char* kUnits[] = {"B", "kB", "MB", "GB", "TB"};
  int64_t unit = 1;
  size_t index = 0;
  while (index + 1 < std::size(kUnits) && size / unit >= 1024) {
    unit *= 1024;
    ++index;
  }
  std::string text = std::to_string(size / unit);
  if (index != 0) {
    text += '.';
    text += static_cast<char>('0' + size % unit * 10 / unit);
  }
  return text.append(" ").append(kUnits[index]);
}

std::string Description(const bench::Facts& facts) {
  const size_t count = facts.paths.size();
  return SizeText(facts.total_size) + " in " + (count == 1 ? "1 file" : std::to_string(count) + " files");
}

void Verify(const bench::Importer& importer, const fs::path& path) {
  const bench::Facts expected = bench::PeerFacts(bench::BytesOf(path));
  const std::optional<bench::Attributes> read = importer.Read(bench::Location(path));
  if (!read || read->paths != expected.paths || read->description != Description(expected)) {
    throw std::runtime_error(path.string() + ": the two readers disagree" + (read ? ": " + read->description : ""));
  }
}

struct Case {
  std::string name;
  std::vector<std::string> paths;
  bool from_buffer;  // the peer gets the bytes in memory, which is to its advantage
  double limit;
};

void Import(benchmark::State& state, const bench::Importer& importer, const Case& item) {
  const std::vector<bench::Location> files(item.paths.begin(), item.paths.end());
  for (auto _ : state) {
    for (const bench::Location& file : files) {
      benchmark::DoNotOptimize(importer.Import(file));
    }
  }
}

void PeerLoad(benchmark::State& state, const Case& item) {
  const lt::load_torrent_limits limits = bench::PeerLimits();
  std::vector<std::string> buffers;
  for (const std::string& path : item.paths) {
    buffers.push_back(item.from_buffer ? bench::BytesOf(path) : std::string());
  }
  for (auto _ : state) {
    for (size_t i = 0; i < item.paths.size(); ++i) {
      const std::string& bytes = buffers[i];
      const lt::add_torrent_params torrent =
          item.from_buffer ? lt::load_torrent_buffer({bytes.data(), static_cast<std::ptrdiff_t>(bytes.size())}, limits)
                           : lt::load_torrent_file(item.paths[i], limits);
      benchmark::DoNotOptimize(torrent.ti.get());
    }
  }
}

std::vector<Case> Cases(const fs::path& torrents) {
  constexpr double kOverPeer = 0.7;
  std::vector<Case> cases;
  for (int count : {bench::kManyFiles, bench::kMostFiles}) {
    cases.push_back({std::to_string(count) + " files", {bench::FilesPath(torrents, count)}, true, kOverPeer});
  }
  cases.push_back({std::to_string(bench::kManyPieces) + " pieces",
                   {bench::PiecesPath(torrents, bench::kManyPieces)},
                   true,
                   bench::kNoLimit});
  Case small = {std::to_string(bench::kSmallTorrents) + " small", {}, false, kOverPeer};
  Case single = {"single-file ones of them", {}, false, bench::kNoLimit};
  for (int i = 0; i < bench::kSmallTorrents; ++i) {
    small.paths.push_back(bench::SmallPath(torrents, i));
    if (bench::IsSingleFile(i)) {
      single.paths.push_back(small.paths.back());
    }
  }
  cases.push_back(std::move(small));
  cases.push_back(std::move(single));
  return cases;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 4) {
    std::cerr << "Usage: import_bench BUNDLE TORRENTS ROWS [--benchmark_...]\n";
    return 2;
  }
  const bench::Importer importer(argv[1]);
  const std::vector<Case> cases = Cases(argv[2]);
  std::vector<bench::Claim> claims;
  for (const Case& item : cases) {
    for (const std::string& path : item.paths) {
      Verify(importer, path);
    }
    const std::string ours = "import, " + item.name;
    const std::string peer =
        std::string(item.from_buffer ? "lt::load_torrent_buffer, " : "lt::load_torrent_file, ") + item.name;
    benchmark::RegisterBenchmark(ours.c_str(), [&](benchmark::State& state) { Import(state, importer, item); });
    benchmark::RegisterBenchmark(peer.c_str(), [&](benchmark::State& state) { PeerLoad(state, item); });
    claims.push_back({ours + " / " + (item.from_buffer ? "lt::load_torrent_buffer" : "lt::load_torrent_file"), ours,
                      peer, item.limit});
  }
  return bench::RunAndCompare(claims, argv[3], {argv + 4, argv + argc});
} catch (const std::exception& error) {
  std::cerr << "import_bench: " << error.what() << '\n';
  return 1;
}
