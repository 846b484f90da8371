#include <iterator>

#include "tests/hostile/shapes.h"
#include "tests/reader/encoded.h"
#include "tests/support/repeat.h"

namespace hostile {

using encoded::Bytes;
using encoded::Str;

namespace {

std::string Numbered(std::string_view text, size_t number) { return std::string(text).append(std::to_string(number)); }

}  // namespace

std::string File(std::string_view path, long long length) {
  return std::string("d6:lengthi").append(std::to_string(length)).append("e4:pathl").append(path).append("ee");
}

std::string TorrentOfFiles(std::string_view files, std::string_view root_entries) {
  return std::string("d").append(root_entries).append("4:infod5:filesl").append(files) +
         "e4:name1:n12:piece lengthi33554432e6:pieces20:hhhhhhhhhhhhhhhhhhhhee";
}

std::string CollidingName(size_t i) {
  constexpr size_t kLen = 130;
  constexpr size_t kPlace = 36;
  std::string name(kLen, 'c');
  return name.replace(kPlace, 5, std::to_string(10'000 + i % 90'000))
      .replace(kPlace - 2, 1, std::to_string(i / 90'000));
}

std::string HonestName(size_t i) { return Numbered("folder", i / 1000) + Numbered("/file", i); }

std::string HonestFiles(size_t n) {
  std::string files;
  for (size_t i = 0; i < n; ++i) {
    files += File(Str(Numbered("folder", i / 1000)) + Str(Numbered("file", i)), i % 32);
  }
  return TorrentOfFiles(files);
}

std::string CollidingNames(size_t n) {
  std::string files;
  for (size_t i = 0; i < n; ++i) {
    files += File(Str(CollidingName(i)), 1);
  }
  return TorrentOfFiles(files);
}

std::string SameFiles(size_t n) { return TorrentOfFiles(Repeat(File("4:same", 2), n - 1) + File("4:same", 1)); }

std::string PathOfComponents(size_t n) { return TorrentOfFiles(File(Repeat("1:a", n), 1)); }

namespace {

std::string FilesWithTwoNames(size_t n) {
  std::string files;
  for (size_t i = 0; i < n; ++i) {
    const std::string path = Str(Numbered("folder", i / 1000)) + Str(Numbered("file", i));
    files += Numbered("d6:lengthi", i % 32).append("e4:pathl" + path + "e10:path.utf-8l" + path + "ee");
  }
  return TorrentOfFiles(files);
}

std::string BadNames(size_t n) {
  static const std::string kNames[] = {Bytes("\0"),
                                       Bytes(".\0"),
                                       "\xC0\xAE\xC0\xAE",
                                       "\xC0\xAF",
                                       "\xED\xA0\x80",
                                       "\xED\xB0\x80",
                                       "\xF0\x9F\x98\x80",
                                       "\x80",
                                       "..",
                                       "a/../b",
                                       "",
                                       "\xFF\xFE",
                                       "\xEF\xBB\xBF"
                                       "a",
                                       "\xE2\x80\xAE"
                                       "b"};
  std::string files;
  for (size_t i = 0; i < n; ++i) {
    const std::string& name = kNames[i % std::size(kNames)];
    files += File(Str(name) + Str(name + std::to_string(i)), i == 0 ? 1 : 0);
  }
  return TorrentOfFiles(files);
}

std::string NamesInCodePage(size_t n) {
  std::string files;
  for (size_t i = 0; i < n; ++i) {
    files += File(Str(Numbered("\xE9", i)), i == 0 ? 1 : 0);
  }
  return TorrentOfFiles(files, "8:encoding5:cp932");
}

std::string NegativeLengths(size_t n) {
  return TorrentOfFiles(Repeat(File("1:a", -1) + File("1:b", 1), n) + File("1:c", 1));
}

// Each pair adds up to -1.
std::string SaturatedLengths(size_t n) {
  const std::string pair = "d6:lengthi9999999999999999999e4:pathl1:aeed6:lengthi-9999999999999999999e4:pathl1:bee";
  return TorrentOfFiles(Repeat(pair, n) + File("1:c", static_cast<long long>(n) + 1));
}

// Each four add up to 2^64.
std::string WrappingLengths(size_t n) { return TorrentOfFiles(Repeat(File("1:a", 1LL << 62), n * 4) + File("1:c", 1)); }

std::string PathOfDots(size_t n) { return TorrentOfFiles(File(Repeat("1:.2:..0:", n), 1)); }
std::string PathOfBlanks(size_t n) { return TorrentOfFiles(File(Str(std::string(n, ' ')), 1)); }
std::string PathOfSlashes(size_t n) { return TorrentOfFiles(File(Str(std::string(n, '/')), 1)); }
std::string PathOfZeros(size_t n) { return TorrentOfFiles(File(Str(std::string(n, '\0')), 1)); }
std::string PathOfInvalidComponents(size_t n) { return TorrentOfFiles(File(Repeat("1:\x80", n), 1)); }
std::string HugePath(size_t n) { return TorrentOfFiles(File(Str(std::string(n, 'x')), 1)); }

std::string NestInFile(size_t n) { return TorrentOfFiles("d6:lengthi1e1:n" + Nest("l", "", "e", n) + "4:pathl1:aee"); }

std::string LastFileIsNone(size_t n) { return TorrentOfFiles(Repeat(File("1:a", 1), n) + "i1e"); }
std::string LastFileHasNoPath(size_t n) { return TorrentOfFiles(Repeat(File("1:a", 1), n) + File("", 1)); }

constexpr Shape kShapes[] = {
    {"HonestFiles", HonestFiles, 200'000, Fate::kTorrent},
    {"FilesWithTwoNames", FilesWithTwoNames, 100'000, Fate::kTorrent},
    {"CollidingNames", CollidingNames, 100'000, Fate::kTorrent},
    {"SameFiles", SameFiles, 100'000, Fate::kTorrent},
    {"BadNames", BadNames, 100'000, Fate::kTorrent},
    {"NamesInCodePage", NamesInCodePage, 100'000, Fate::kTorrent},
    {"NegativeLengths", NegativeLengths, 50'000, Fate::kTorrent},
    {"SaturatedLengths", SaturatedLengths, 50'000, Fate::kTorrent},
    {"WrappingLengths", WrappingLengths, 25'000, Fate::kTorrent},
    {"PathOfComponents", PathOfComponents, 1'000'000, Fate::kTorrent},
    {"PathOfDots", PathOfDots, 300'000, Fate::kTorrent},
    {"PathOfBlanks", PathOfBlanks, 4'000'000, Fate::kTorrent},
    {"PathOfSlashes", PathOfSlashes, 4'000'000, Fate::kTorrent},
    {"PathOfZeros", PathOfZeros, 4'000'000, Fate::kTorrent},
    {"PathOfInvalidComponents", PathOfInvalidComponents, 300'000, Fate::kTorrent},
    {"HugePath", HugePath, 100'000'000, Fate::kTorrent},
    {"NestInFile", NestInFile, 100'000, Fate::kTorrent},
    {"LastFileIsNone", LastFileIsNone, 100'000, Fate::kNoTorrent},
    {"LastFileHasNoPath", LastFileHasNoPath, 100'000, Fate::kNoTorrent},
};

}  // namespace

std::span<const Shape> FileShapes() { return kShapes; }

}  // namespace hostile
