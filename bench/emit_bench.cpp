// emit_bench ROWS [OPTION...]: a torrent's tree as bencoding against libtorrent-rasterbar's encoder, and
// as JSON against nlohmann-json, each writing its own equal tree into memory of its own.
#include <benchmark/benchmark.h>

#include <iostream>
#include <iterator>
#include <libtorrent/bencode.hpp>
#include <libtorrent/entry.hpp>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/comparison.h"
#include "bench/generate.h"
#include "bench/peer.h"
#include "core/base/mem1.h"
#include "core/bencode/bencoding.h"

namespace {

// A decoded torrent.
class Tree {
 public:
  explicit Tree(const std::string& bytes) {
    const auto* begin = reinterpret_cast<const unsigned char*>(bytes.data());
    if (core::BencEntity::Parse(begin, root_, begin + bytes.size()) != begin + bytes.size()) {
      throw std::runtime_error("the decoder does not take the whole torrent");
    }
  }
  ~Tree() { root_.FreeMembers(); }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  const core::BencEntity& root() const { return root_; }

 private:
  core::BencEntity root_;
};

std::vector<char> PeerBencoding(const lt::entry& entry) {
  std::vector<char> out;
  lt::bencode(std::back_inserter(out), entry);
  return out;
}

// The torrent with its hashes as hexadecimal digits: JSON holds text only.
std::string WithTextHashes(const std::string& bytes) {
  lt::entry entry(bench::PeerDecode(bytes));
  std::string& pieces = entry["info"]["pieces"].string();
  std::string digits;
  for (char c : pieces) {
    const auto byte = static_cast<unsigned char>(c);
    digits += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
  }
  pieces = std::move(digits);
  const std::vector<char> out = PeerBencoding(entry);
  return std::string(out.begin(), out.end());
}

nlohmann::json JsonOf(const lt::entry& entry) {
  nlohmann::json json;
  switch (entry.type()) {
    case lt::entry::int_t:
      return entry.integer();
    case lt::entry::string_t:
      return entry.string();
    case lt::entry::list_t:
      json = nlohmann::json::array();
      for (const lt::entry& element : entry.list()) {
        json.push_back(JsonOf(element));
      }
      return json;
    default:
      json = nlohmann::json::object();
      for (const auto& [key, value] : entry.dict()) {
        json[std::string(key)] = JsonOf(value);
      }
      return json;
  }
}

template <class Block>
std::string Taken(Block* block, size_t len) {
  std::string text(reinterpret_cast<const char*>(block), len);
  core::MyFree(block);
  return text;
}

void Verify(const std::string& bytes, const Tree& tree, const lt::entry& entry) {
  size_t len = 0;
  unsigned char* block = tree.root().Serialize(&len);
  const std::vector<char> peer = PeerBencoding(entry);
  if (Taken(block, len) != bytes || std::string(peer.begin(), peer.end()) != bytes) {
    throw std::runtime_error("the two encoders disagree");
  }
}

void Verify(const Tree& tree, const nlohmann::json& json) {
  size_t len = 0;
  char* block = tree.root().SerializeAsJson(&len);
  if (nlohmann::json::parse(Taken(block, len - 1)) != json) {
    throw std::runtime_error("the two documents differ");
  }
}

void Serialize(benchmark::State& state, const Tree& tree) {
  for (auto _ : state) {
    unsigned char* block = tree.root().Serialize(nullptr);
    benchmark::DoNotOptimize(block);
    core::MyFree(block);
  }
}

void PeerBencode(benchmark::State& state, const lt::entry& entry) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(PeerBencoding(entry).data());
  }
}

void SerializeAsJson(benchmark::State& state, const Tree& tree) {
  for (auto _ : state) {
    char* block = tree.root().SerializeAsJson(nullptr);
    benchmark::DoNotOptimize(block);
    core::MyFree(block);
  }
}

void PeerDump(benchmark::State& state, const nlohmann::json& json, bool ascii) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(json.dump(-1, ' ', ascii).data());
  }
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 2) {
    std::cerr << "Usage: emit_bench ROWS [--benchmark_...]\n";
    return 2;
  }
  const std::string bytes = bench::TorrentOfFiles(bench::kMostFiles);
  const Tree tree(bytes);
  const lt::entry entry(bench::PeerDecode(bytes));
  Verify(bytes, tree, entry);
  const std::string text_bytes = WithTextHashes(bytes);
  const Tree text_tree(text_bytes);
  const nlohmann::json json = JsonOf(lt::entry(bench::PeerDecode(text_bytes)));
  Verify(text_tree, json);

  const std::string files = ", " + std::to_string(bench::kMostFiles) + " files";
  const std::string bencoding = "Serialize" + files;
  const std::string peer_bencoding = "lt::bencode" + files;
  const std::string as_json = "SerializeAsJson" + files;
  const std::string dump = "nlohmann dump" + files;
  const std::string ascii_dump = "nlohmann dump in ASCII" + files;
  benchmark::RegisterBenchmark(bencoding.c_str(), [&](benchmark::State& state) { Serialize(state, tree); });
  benchmark::RegisterBenchmark(peer_bencoding.c_str(), [&](benchmark::State& state) { PeerBencode(state, entry); });
  benchmark::RegisterBenchmark(as_json.c_str(), [&](benchmark::State& state) { SerializeAsJson(state, text_tree); });
  benchmark::RegisterBenchmark(dump.c_str(), [&](benchmark::State& state) { PeerDump(state, json, false); });
  benchmark::RegisterBenchmark(ascii_dump.c_str(), [&](benchmark::State& state) { PeerDump(state, json, true); });
  constexpr double kAsFast = 1.0;
  const std::vector<bench::Claim> claims = {{bencoding + " / lt::bencode", bencoding, peer_bencoding, kAsFast},
                                            {as_json + " / nlohmann dump", as_json, dump, kAsFast},
                                            {as_json + " / nlohmann dump in ASCII", as_json, ascii_dump, kAsFast}};
  return bench::RunAndCompare(claims, argv[1], {argv + 2, argv + argc});
} catch (const std::exception& error) {
  std::cerr << "emit_bench: " << error.what() << '\n';
  return 1;
}
