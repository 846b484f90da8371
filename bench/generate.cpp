#include "bench/generate.h"

#include <stdint.h>

#include <algorithm>
#include <array>
#include <random>
#include <string_view>

#include "bench/bytes.h"

namespace bench {
namespace {

constexpr std::array<std::string_view, 24> kWords = {"archive",   "north",   "river",  "Garden", "letters", "summer",
                                                     "Recording", "station", "field",  "notes",  "harbour", "evening",
                                                     "clouds",    "paper",   "winter", "Museum", "atlas",   "violin",
                                                     "journey",   "market",  "stone",  "études", "Straße",  "目录"};
constexpr std::array<std::string_view, 8> kExtensions = {".jpg", ".mp3", ".flac", ".pdf",
                                                         ".txt", ".mkv", ".nfo",  ".tar.gz"};
constexpr std::array<std::string_view, 3> kTrackers = {"https://tracker.example.org/announce",
                                                       "udp://tracker.example.net:6969/announce",
                                                       "http://backup.example.com:8080/announce"};
// Files of one folder stand together, as a writer that walks a tree lists them.
constexpr int kFilesAtTop = 3;
constexpr int kFilesPerFolder = 40;
constexpr int kFilesPerVolume = 5'000;
constexpr int64_t kPieceLength = 1 << 18;
constexpr int64_t kCreated = 1'700'000'000;
constexpr size_t kHashBytes = 20;

// Only the generator's own bits are used: the standard's distributions differ between libraries.
using Random = std::mt19937_64;

template <size_t n>
std::string_view Pick(Random& random, const std::array<std::string_view, n>& words) {
  return words[random() % n];
}

std::string Padded(int number, size_t digits) {
  std::string text = std::to_string(number);
  return std::string(digits - std::min(digits, text.size()), '0') + text;
}

void AddString(std::string& out, std::string_view text) {
  out += std::to_string(text.size());
  out += ':';
  out += text;
}

void AddInt(std::string& out, int64_t number) {
  out += 'i';
  out += std::to_string(number);
  out += 'e';
}

void AddEntry(std::string& out, std::string_view key, std::string_view text) {
  AddString(out, key);
  AddString(out, text);
}

void AddHashes(std::string& out, Random& random, int64_t total_size, int64_t piece_length) {
  const auto count = static_cast<size_t>((total_size + piece_length - 1) / piece_length) * kHashBytes;
  AddString(out, "pieces");
  out += std::to_string(count);
  out += ':';
  for (size_t i = 0; i < count; ++i) {
    out += static_cast<char>(random() >> 56);
  }
}

// Adds the entry of file `index` and returns its size.
int64_t AddFile(std::string& out, Random& random, int index) {
  const auto size = static_cast<int64_t>(random() % (5 * kPieceLength)) + 1;
  AddString(out, "length");
  AddInt(out, size);
  AddString(out, "path");
  out += 'l';
  if (index >= kFilesAtTop) {
    const auto folder = static_cast<size_t>(index / kFilesPerFolder);
    AddString(out, "Volume " + Padded(index / kFilesPerVolume + 1, 2) + " of the collection");
    AddString(out, Padded(static_cast<int>(folder) + 1, 4) + " " + std::string(kWords[folder % kWords.size()]));
  }
  const auto word = [&random] { return std::string(Pick(random, kWords)); };
  AddString(out, Padded(index + 1, 6) + " - " + word() + " " + word() + " " + word() +
                     std::string(Pick(random, kExtensions)));
  out += 'e';
  return size;
}

// Adds everything that stands before the info dictionary.
void AddHead(std::string& out, std::string_view comment) {
  AddEntry(out, "announce", kTrackers[0]);
  AddString(out, "announce-list");
  out += 'l';
  for (std::string_view url : kTrackers) {
    out += 'l';
    AddString(out, url);
    out += 'e';
  }
  out += 'e';
  AddEntry(out, "comment", comment);
  AddEntry(out, "created by", "Torrent Maker 2.1");
  AddString(out, "creation date");
  AddInt(out, kCreated);
  AddString(out, "info");
}

void AddNameAndPieceLength(std::string& out, std::string_view name, int64_t piece_length) {
  AddEntry(out, "name", name);
  AddString(out, "piece length");
  AddInt(out, piece_length);
}

std::string MultiFile(Random& random, int count, std::string_view name) {
  std::string out = "d";
  AddHead(out, "A collection of " + std::to_string(count) + " files, gathered over the years");
  out += 'd';
  AddString(out, "files");
  out += 'l';
  int64_t total = 0;
  for (int i = 0; i < count; ++i) {
    out += 'd';
    total += AddFile(out, random, i);
    out += 'e';
  }
  out += 'e';
  AddNameAndPieceLength(out, name, kPieceLength);
  AddHashes(out, random, total, kPieceLength);
  return out += "ee";
}

std::string SingleFile(Random& random, int64_t size, int64_t piece_length, std::string_view name) {
  std::string out = "d";
  AddHead(out, "One large file");
  out += 'd';
  AddString(out, "length");
  AddInt(out, size);
  AddNameAndPieceLength(out, name, piece_length);
  AddHashes(out, random, size, piece_length);
  return out += "ee";
}

}  // namespace

std::string TorrentOfFiles(int count) {
  Random random(static_cast<uint64_t>(count));
  return MultiFile(random, count, "Collection " + std::to_string(count));
}

std::string TorrentOfPieces(int count) {
  Random random(static_cast<uint64_t>(count));
  constexpr int64_t kLargePiece = 1 << 20;
  return SingleFile(random, count * kLargePiece - 12'345, kLargePiece, "disk image.iso");
}

bool IsSingleFile(int index) { return index % 3 == 0; }

std::string SmallTorrent(int index) {
  Random random(static_cast<uint64_t>(index) + 1);
  const std::string name = "Small " + Padded(index, 4);
  if (IsSingleFile(index)) {
    return SingleFile(random, static_cast<int64_t>(random() % (400 * kPieceLength)) + 1, kPieceLength, name + ".iso");
  }
  constexpr int kMost = 80;
  return MultiFile(random, static_cast<int>(random() % kMost) + 1, name);
}

std::filesystem::path FilesPath(const std::filesystem::path& dir, int count) {
  return dir / ("files-" + std::to_string(count) + ".torrent");
}

std::filesystem::path PiecesPath(const std::filesystem::path& dir, int count) {
  return dir / ("pieces-" + std::to_string(count) + ".torrent");
}

std::filesystem::path SmallFolder(const std::filesystem::path& dir) { return dir / "small"; }

std::filesystem::path SmallPath(const std::filesystem::path& dir, int index) {
  return SmallFolder(dir) / (Padded(index, 4) + ".torrent");
}

void WriteTorrents(const std::filesystem::path& dir) {
  std::filesystem::create_directories(SmallFolder(dir));
  for (int count : {kHonestFiles, kManyFiles, kMostFiles}) {
    WriteBytes(FilesPath(dir, count), TorrentOfFiles(count));
  }
  WriteBytes(PiecesPath(dir, kManyPieces), TorrentOfPieces(kManyPieces));
  for (int i = 0; i < kSmallTorrents; ++i) {
    WriteBytes(SmallPath(dir, i), SmallTorrent(i));
  }
}

}  // namespace bench
