// Torrent files for the tests of the import: valid ones, changed in one respect by each test.
#pragma once

#include <stdint.h>

#include <string>
#include <utility>
#include <vector>

inline std::string Bencoded(const std::string& text) { return std::to_string(text.size()) + ":" + text; }

struct TorrentBytes {
  using File = std::pair<std::string, uint64_t>;  // one path component, bytes

  static constexpr uint64_t kPieceBytes = 16384;

  std::vector<std::pair<std::string, std::string>> texts;  // entries of the root, in key order
  std::string name = "name.bin";
  uint64_t length = 1536;   // of the single file, when `files` is empty
  std::vector<File> files;  // a torrent of several files, unless empty

  uint64_t Total() const {
    if (files.empty()) {
      return length;
    }
    uint64_t sum = 0;
    for (const File& file : files) {
      sum += file.second;
    }
    return sum;
  }

  std::string FileList() const {
    std::string list;
    for (const auto& [path, bytes] : files) {
      list += "d6:lengthi" + std::to_string(bytes) + "e4:pathl" + Bencoded(path) + "ee";
    }
    return "5:filesl" + list + "e";
  }

  std::string Build() const {
    const uint64_t pieces = (Total() + kPieceBytes - 1) / kPieceBytes;
    std::string bytes = "d";
    for (const auto& [key, text] : texts) {
      bytes += Bencoded(key) + Bencoded(text);
    }
    bytes += "4:infod";
    bytes += files.empty() ? "6:lengthi" + std::to_string(length) + "e" : FileList();
    bytes += "4:name" + Bencoded(name) + "12:piece lengthi" + std::to_string(kPieceBytes) + "e6:pieces" +
             Bencoded(std::string(pieces * 20, 'h'));
    return bytes + "ee";
  }
};
