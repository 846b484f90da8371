// map_bench ROWS [OPTION...]: the dictionary's map against std::map and absl::btree_map with the same
// keys and the same order, and a deep copy of a decoded tree against libtorrent-rasterbar's.
#include <absl/container/btree_map.h>
#include <benchmark/benchmark.h>
#include <stdio.h>

#include <algorithm>
#include <iostream>
#include <libtorrent/entry.hpp>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/comparison.h"
#include "bench/generate.h"
#include "bench/peer.h"
#include "core/bencode/bencarray.h"
#include "core/bencode/bencoding.h"

namespace {

using Key = core::BencArray<char>;
using Keys = std::vector<Key>;
using Ours = core::BencDictMap;
using StdMap = std::map<Key, core::BencEntity>;
using BtreeMap = absl::btree_map<Key, core::BencEntity>;

constexpr double kHintedLimit = 2.5;
constexpr double kLookupLimit = 1.3;
constexpr size_t kHintedSize = 100'000;  // where hinted insertion has a limit

core::BencEntity Value(int64_t number) {
  core::BencEntity value;
  value.ParseNum(reinterpret_cast<const unsigned char*>(std::to_string(number).c_str()));
  return value;
}

// --- the keys ---

Key KeyOf(const std::string& text) {
  Key key;
  key.Assign(text.data(), text.size());
  return key;
}

// The names of a folder's files, ascending.
Keys FileNames(size_t count) {
  Keys keys;
  keys.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    char name[32];
    const int len = snprintf(name, sizeof name, "file%07zu.txt", i);
    keys.push_back(KeyOf({name, static_cast<size_t>(len)}));
  }
  return keys;
}

// Hashes in no order. No byte is zero, so that all of them count.
Keys Hashes(size_t count) {
  std::mt19937 random(1);
  Keys keys;
  keys.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    std::string hash(20, '\0');
    std::generate(hash.begin(), hash.end(), [&] { return static_cast<char>(1 + random() % 255); });
    keys.push_back(KeyOf(hash));
  }
  return keys;
}

Keys Shuffled(const Keys& keys) {
  std::vector<size_t> order(keys.size());
  for (size_t i = 0; i < order.size(); ++i) {
    order[i] = i;
  }
  std::shuffle(order.begin(), order.end(), std::mt19937(2));
  Keys shuffled;
  shuffled.reserve(keys.size());
  for (size_t i : order) {
    shuffled.push_back(keys[i]);
  }
  return shuffled;
}

// --- one way of filling each map; every entry's key and value are made from a key and a number ---

void FillAscending(Ours& map, const Keys& keys) {
  core::MapPrivate::ConstIterator hint = map.end();
  for (const Key& key : keys) {
    hint = map.insert(hint, Ours::value_type(key, Value(1))).first;
  }
}

template <class Peer>
void FillAscending(Peer& map, const Keys& keys) {
  for (const Key& key : keys) {
    map.insert(map.end(), typename Peer::value_type(key, Value(1)));
  }
}

void Fill(Ours& map, const Keys& keys) {
  for (const Key& key : keys) {
    map.insert(Ours::value_type(key, Value(1)));
  }
}

template <class Peer>
void Fill(Peer& map, const Keys& keys) {
  for (const Key& key : keys) {
    map.insert(typename Peer::value_type(key, Value(1)));
  }
}

template <class AnyMap>
void BenchAscending(benchmark::State& state, const Keys& keys) {
  for (auto _ : state) {
    AnyMap map;
    FillAscending(map, keys);
    benchmark::DoNotOptimize(map.size());
  }
}

template <class AnyMap>
void BenchRandom(benchmark::State& state, const Keys& keys) {
  for (auto _ : state) {
    AnyMap map;
    Fill(map, keys);
    benchmark::DoNotOptimize(map.size());
  }
}

template <class AnyMap>
void BenchLookup(benchmark::State& state, const AnyMap& map, const Keys& keys) {
  for (auto _ : state) {
    for (const Key& key : keys) {
      benchmark::DoNotOptimize(map.find(key));
    }
  }
}

// --- checks before the timing ---

void Require(bool holds, const char* what) {
  if (!holds) {
    throw std::runtime_error(what);
  }
}

void VerifySame(const Ours& ours, const StdMap& standard, const BtreeMap& btree) {
  Require(ours.size() == standard.size() && ours.size() == btree.size(), "the maps differ in size");
  auto a = ours.begin();
  auto c = btree.begin();
  for (const auto& [key, value] : standard) {
    Require(key.Compare((a++)->first) == 0 && key.Compare((c++)->first) == 0, "the maps differ in order");
  }
}

// --- the rows ---

class Suite {
 public:
  explicit Suite(size_t count) : names_(FileNames(count)), hashes_(Hashes(count)), wanted_(Shuffled(hashes_)) {
    FillAscending(ours_, names_);
    FillAscending(standard_, names_);
    FillAscending(btree_, names_);
    VerifySame(ours_, standard_, btree_);
    Clear();
    Fill(ours_, hashes_);
    Fill(standard_, hashes_);
    Fill(btree_, hashes_);
    VerifySame(ours_, standard_, btree_);
  }
  Suite(const Suite&) = delete;
  Suite& operator=(const Suite&) = delete;

  void Register(std::vector<bench::Claim>& claims) const {
    const std::string size = ", " + std::to_string(names_.size()) + " keys";
    const bool limited = names_.size() == kHintedSize;
    Add(claims, "hinted insertion" + size, limited ? kHintedLimit : bench::kNoLimit,
        [this](auto* tag, benchmark::State& state) {
          BenchAscending<std::remove_pointer_t<decltype(tag)>>(state, names_);
        });
    Add(claims, "random insertion" + size, bench::kNoLimit, [this](auto* tag, benchmark::State& state) {
      BenchRandom<std::remove_pointer_t<decltype(tag)>>(state, hashes_);
    });
    Add(claims, "look-up" + size, kLookupLimit,
        [this](auto* tag, benchmark::State& state) { BenchLookup(state, Filled(tag), wanted_); });
  }

 private:
  template <class Bench>
  static void Add(std::vector<bench::Claim>& claims, const std::string& what, double limit, Bench run) {
    const std::string standard = "std::map, " + what;
    const std::string btree = "absl::btree_map, " + what;
    benchmark::RegisterBenchmark(what.c_str(),
                                 [run](benchmark::State& state) { run(static_cast<Ours*>(nullptr), state); });
    benchmark::RegisterBenchmark(standard.c_str(),
                                 [run](benchmark::State& state) { run(static_cast<StdMap*>(nullptr), state); });
    benchmark::RegisterBenchmark(btree.c_str(),
                                 [run](benchmark::State& state) { run(static_cast<BtreeMap*>(nullptr), state); });
    claims.push_back({what + " / std::map", what, standard, limit});
    claims.push_back({what + " / absl::btree_map", what, btree, bench::kNoLimit});
  }

  const Ours& Filled(const Ours*) const { return ours_; }
  const StdMap& Filled(const StdMap*) const { return standard_; }
  const BtreeMap& Filled(const BtreeMap*) const { return btree_; }

  void Clear() {
    ours_.clear();
    standard_.clear();
    btree_.clear();
  }

  Keys names_;
  Keys hashes_;
  Keys wanted_;  // the hashes in another order
  Ours ours_;
  StdMap standard_;
  BtreeMap btree_;
};

// --- a deep copy ---

void BenchCopy(benchmark::State& state, const core::BencEntity& tree) {
  for (auto _ : state) {
    core::BencEntity copy;
    copy.CopyFrom(tree);
    benchmark::DoNotOptimize(&copy);
    copy.FreeMembers();
  }
}

void BenchPeerCopy(benchmark::State& state, const lt::entry& tree) {
  for (auto _ : state) {
    const lt::entry copy(tree);
    benchmark::DoNotOptimize(&copy);
  }
}

// The same torrent on both sides.
class CopySuite {
 public:
  explicit CopySuite(const std::string& bytes) : peer_(bench::PeerDecode(bytes)) {
    const auto* begin = reinterpret_cast<const unsigned char*>(bytes.data());
    Require(core::BencEntity::Parse(begin, tree_, begin + bytes.size()) == begin + bytes.size(), "no whole torrent");
    core::BencEntity copy;
    copy.CopyFrom(tree_);
    const bool same = CountFiles(copy) == peer_["info"]["files"].list().size();
    copy.FreeMembers();
    Require(same, "the copy is not whole");
  }
  ~CopySuite() { tree_.FreeMembers(); }
  CopySuite(const CopySuite&) = delete;
  CopySuite& operator=(const CopySuite&) = delete;

  void Register(std::vector<bench::Claim>& claims) const {
    const std::string ours = "copy+free, " + std::to_string(bench::kMostFiles) + " files";
    const std::string peer = "lt::entry, " + ours;
    benchmark::RegisterBenchmark(ours.c_str(), [this](benchmark::State& state) { BenchCopy(state, tree_); });
    benchmark::RegisterBenchmark(peer.c_str(), [this](benchmark::State& state) { BenchPeerCopy(state, peer_); });
    claims.push_back({ours + " / lt::entry", ours, peer, bench::kNoLimit});
  }

 private:
  static size_t CountFiles(const core::BencEntity& tree) {
    return static_cast<const core::BencodedDict&>(tree).GetDict("info")->GetList("files")->GetCount();
  }

  core::BencEntity tree_;
  lt::entry peer_;
};

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 2) {
    std::cerr << "Usage: map_bench ROWS [--benchmark_...]\n";
    return 2;
  }
  std::vector<bench::Claim> claims;
  std::vector<std::unique_ptr<const Suite>> suites;
  for (size_t count : {100u, 1'000u, 10'000u, 100'000u, 1'000'000u}) {
    suites.push_back(std::make_unique<const Suite>(count));
    suites.back()->Register(claims);
  }
  const CopySuite copies(bench::TorrentOfFiles(bench::kMostFiles));
  copies.Register(claims);
  return bench::RunAndCompare(claims, argv[1], {argv + 2, argv + argc});
} catch (const std::exception& error) {
  std::cerr << "map_bench: " << error.what() << '\n';
  return 1;
}
