// Torrents to measure with, made from fixed seeds: every call gives the same bytes everywhere.
#pragma once

#include <filesystem>
#include <string>

namespace bench {

inline constexpr int kManyFiles = 10'000;
inline constexpr int kMostFiles = 166'067;  // the largest number reported from the wild
inline constexpr int kHonestFiles = 1'000;
inline constexpr int kManyPieces = 500'000;
inline constexpr int kSmallTorrents = 1'000;

// A torrent of `count` files in nested folders, with some 50 bytes of piece hashes per file.
std::string TorrentOfFiles(int count);

// A torrent of one file in `count` pieces.
std::string TorrentOfPieces(int count);

// One of the folder's small torrents: every third of a single file, the others of at most 80.
// Requires: index >= 0.
std::string SmallTorrent(int index);

// Tells whether SmallTorrent(index) is of a single file.
bool IsSingleFile(int index);

// Where WriteTorrents puts what it makes.
std::filesystem::path FilesPath(const std::filesystem::path& dir, int count);
std::filesystem::path PiecesPath(const std::filesystem::path& dir, int count);
std::filesystem::path SmallFolder(const std::filesystem::path& dir);
std::filesystem::path SmallPath(const std::filesystem::path& dir, int index);

// Writes all torrents below `dir`, which is created. Throws what the file system throws.
void WriteTorrents(const std::filesystem::path& dir);

}  // namespace bench
