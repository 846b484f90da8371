// lt_read FILE: prints as one JSON object what libtorrent-rasterbar reads from a torrent.
#include <cstdint>
#include <cstdio>
#include <exception>
#include <iostream>
#include <libtorrent/torrent_info.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace {

// The text in quotes. Its bytes are UTF-8 already: only what JSON forbids is escaped.
std::string Quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || c == '"' || c == '\\') {
      char escape[7];
      snprintf(escape, sizeof escape, "\\u%04x", byte);
      out += escape;
    } else {
      out += c;
    }
  }
  return out += '"';
}

class JsonObject {
 public:
  void Add(const std::string& key, const std::string& json) {
    text_ += text_.empty() ? "" : ", ";
    text_ += Quoted(key) + ": " + json;
  }
  void AddText(const std::string& key, std::string_view value) { Add(key, Quoted(value)); }
  void AddInt(const std::string& key, int64_t value) { Add(key, std::to_string(value)); }

  std::string text() const { return "{" + text_ + "}"; }

 private:
  std::string text_;
};

std::string Array(const std::vector<std::string>& values) {
  std::string text;
  for (const std::string& value : values) {
    text += text.empty() ? "" : ", ";
    text += Quoted(value);
  }
  return "[" + text + "]";
}

std::string Files(const lt::file_storage& files) {
  JsonObject object;
  for (const lt::file_index_t i : files.file_range()) {
    object.AddInt(files.file_path(i), files.file_size(i));
  }
  return object.text();
}

std::string Read(const std::string& path) {
  const lt::torrent_info info(path);
  JsonObject object;
  object.AddText("name", info.name());
  object.AddInt("totalSize", info.total_size());
  object.Add("files", Files(info.files()));
  object.AddText("creator", info.creator());
  object.AddText("comment", info.comment());
  object.AddInt("createdOn", info.creation_date());
  object.AddInt("pieceSize", info.piece_length());
  object.AddInt("numPieces", info.num_pieces());
  object.AddInt("private", info.priv());
  std::vector<std::string> trackers;
  for (const lt::announce_entry& tracker : info.trackers()) {
    trackers.push_back(tracker.url);
  }
  object.Add("trackers", Array(trackers));
  std::vector<std::string> seeds;
  for (const lt::web_seed_entry& seed : info.web_seeds()) {
    seeds.push_back(seed.url);
  }
  object.Add("webSeeds", Array(seeds));
  return object.text();
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::cerr << "Usage: lt_read FILE\n";
    return 2;
  }
  std::cout << Read(argv[1]) << '\n';
} catch (const std::exception& error) {
  std::cerr << "lt_read: " << error.what() << '\n';
  return 1;
}
