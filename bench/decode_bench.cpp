// decode_bench ROWS [OPTION...]: BencEntity::Parse with FreeMembers against libtorrent-rasterbar's flat
// token array and its tree, on the same bytes.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <iostream>
#include <libtorrent/entry.hpp>
#include <stdexcept>

#include "bench/comparison.h"
#include "bench/generate.h"
#include "bench/peer.h"
#include "core/bencode/bencoding.h"

namespace {

const unsigned char* Begin(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

// A decoded torrent.
class Tree {
 public:
  explicit Tree(const std::string& bytes) {
    root_.ZeroOut();
    if (core::BencEntity::Parse(Begin(bytes), root_, Begin(bytes) + bytes.size()) != Begin(bytes) + bytes.size()) {
      throw std::runtime_error("the decoder does not take the whole torrent");
    }
  }
  ~Tree() { root_.FreeMembers(); }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  const core::BencodedDict& root() const { return static_cast<const core::BencodedDict&>(root_); }

 private:
  core::BencEntity root_;
};

std::string JoinedPath(const core::BencodedList& components) {
  std::string path;
  for (size_t i = 0; i < components.GetCount(); ++i) {
    size_t len = 0;
    const char* component = components.GetString(i, &len);
    path += i == 0 ? "" : "/";
    path.append(component, len);
  }
  return path;
}

bench::Facts OurFacts(const std::string& bytes) {
  const Tree tree(bytes);
  const core::BencodedDict* info = tree.root().GetDict("info");
  size_t len = 0;
  const char* name = info->GetString("name", &len);
  bench::Facts facts = {std::string(name, len), info->GetInt64("length", 0), {}};
  if (const core::BencodedList* files = info->GetList("files")) {
    for (size_t i = 0; i < files->GetCount(); ++i) {
      facts.total_size += files->GetDict(i)->GetInt64("length", 0);
      facts.paths.push_back(JoinedPath(*files->GetDict(i)->GetList("path")));
    }
  } else {
    facts.paths.push_back(facts.name);
  }
  std::sort(facts.paths.begin(), facts.paths.end());
  return facts;
}

using Torrents = std::vector<std::string>;

void ParseAndFree(benchmark::State& state, const Torrents& torrents) {
  for (auto _ : state) {
    for (const std::string& bytes : torrents) {
      core::BencEntity root;
      root.ZeroOut();
      benchmark::DoNotOptimize(core::BencEntity::Parse(Begin(bytes), root, Begin(bytes) + bytes.size()));
      root.FreeMembers();
    }
  }
}

void PeerTokens(benchmark::State& state, const Torrents& torrents) {
  for (auto _ : state) {
    for (const std::string& bytes : torrents) {
      benchmark::DoNotOptimize(bench::PeerDecode(bytes));
    }
  }
}

void PeerTree(benchmark::State& state, const Torrents& torrents) {
  for (auto _ : state) {
    for (const std::string& bytes : torrents) {
      const lt::entry tree(bench::PeerDecode(bytes));
      benchmark::DoNotOptimize(&tree);
    }
  }
}

struct Case {
  std::string name;
  Torrents torrents;
  bool few_values = false;  // nearly all bytes are one string: copying it is all there is to do
};

std::vector<Case> Cases() {
  std::vector<Case> cases;
  for (int count : {bench::kHonestFiles, bench::kManyFiles, bench::kMostFiles}) {
    cases.push_back({std::to_string(count) + " files", {bench::TorrentOfFiles(count)}});
  }
  cases.push_back({std::to_string(bench::kManyPieces) + " pieces", {bench::TorrentOfPieces(bench::kManyPieces)}, true});
  Case small = {std::to_string(bench::kSmallTorrents) + " small", {}};
  for (int i = 0; i < bench::kSmallTorrents; ++i) {
    small.torrents.push_back(bench::SmallTorrent(i));
  }
  cases.push_back(std::move(small));
  return cases;
}

void Verify(const Case& item) {
  for (const std::string& bytes : item.torrents) {
    if (OurFacts(bytes) != bench::PeerFacts(bytes)) {
      throw std::runtime_error(item.name + ": the two readers disagree");
    }
  }
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 2) {
    std::cerr << "Usage: decode_bench ROWS [--benchmark_...]\n";
    return 2;
  }
  constexpr double kOverTokens = 3.0;
  constexpr double kOverTree = 0.5;
  const std::vector<Case> cases = Cases();
  std::vector<bench::Claim> claims;
  for (const Case& item : cases) {
    Verify(item);
    const std::string ours = "parse+free, " + item.name;
    const std::string tokens = "lt::bdecode, " + item.name;
    const std::string tree = "lt::entry, " + item.name;
    const Torrents& torrents = item.torrents;
    benchmark::RegisterBenchmark(ours.c_str(), [&torrents](benchmark::State& state) { ParseAndFree(state, torrents); });
    benchmark::RegisterBenchmark(tokens.c_str(), [&torrents](benchmark::State& state) { PeerTokens(state, torrents); });
    benchmark::RegisterBenchmark(tree.c_str(), [&torrents](benchmark::State& state) { PeerTree(state, torrents); });
    claims.push_back({ours + " / lt::bdecode", ours, tokens, item.few_values ? bench::kNoLimit : kOverTokens});
    claims.push_back({ours + " / lt::entry", ours, tree, item.few_values ? bench::kNoLimit : kOverTree});
  }
  return bench::RunAndCompare(claims, argv[1], {argv + 2, argv + argc});
} catch (const std::exception& error) {
  std::cerr << "decode_bench: " << error.what() << '\n';
  return 1;
}
