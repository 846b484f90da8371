// Hostile and merely huge files, made to measure: each shape grows with one number.
#pragma once

#include <stddef.h>

#include <ostream>
#include <span>
#include <string>
#include <string_view>

namespace hostile {

// What becomes of a file, at every size that the tests use.
enum class Fate {
  kBroken,     // does not decode
  kNoTorrent,  // decodes, but is no usable torrent
  kTorrent,    // is imported
};

// A way to make a file. The number stands for its lists, digits, files...: whatever the shape repeats.
struct Shape {
  const char* name;
  std::string (*make)(size_t n);
  size_t n;  // enough to keep an optimised build busy for some milliseconds
  Fate fate;
};

// How a failing test calls it.
inline std::ostream& operator<<(std::ostream& out, const Shape& shape) { return out << shape.name; }

// The shapes that nest or repeat containers, digits and keys.
std::span<const Shape> StructureShapes();
// The shapes of long texts and of many trackers and web seeds.
std::span<const Shape> TextShapes();
// The shapes of many files and of long paths.
std::span<const Shape> FileShapes();

// A usable torrent of one file of one byte with more entries, encoded, in its root.
std::string TorrentWith(std::string_view root_entries);

// A torrent whose list of files has these elements, encoded. It has one piece, of the largest size.
std::string TorrentOfFiles(std::string_view files, std::string_view root_entries = {});

// An element for such a list; `path` is the encoded components.
std::string File(std::string_view path, long long length = 0);

// Paths of 130 characters, told apart by five of them that a hash of samples passes over.
std::string CollidingName(size_t i);

// The path of file `i` of HonestFiles.
std::string HonestName(size_t i);

// `n` files of 0 to 31 bytes in folders of a thousand.
std::string HonestFiles(size_t n);
std::string CollidingNames(size_t n);
// One file named "same" over and over; the last one is of one byte.
std::string SameFiles(size_t n);
// One file whose path is `n` times "a".
std::string PathOfComponents(size_t n);
// `n` trackers, in tiers of two, and every other one is not UTF-8.
std::string TrackersHalfInvalid(size_t n);
std::string WebSeedsHalfInvalid(size_t n);

}  // namespace hostile
