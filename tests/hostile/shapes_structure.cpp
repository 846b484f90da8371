#include "tests/hostile/shapes.h"
#include "tests/reader/encoded.h"
#include "tests/support/repeat.h"

namespace hostile {

std::string TorrentWith(std::string_view root_entries) {
  return std::string("d").append(root_entries) +
         "4:infod6:lengthi1e4:name4:name12:piece lengthi16384e6:pieces20:hhhhhhhhhhhhhhhhhhhhee";
}

namespace {

std::string OpenLists(size_t n) { return Repeat("l", n); }
std::string ClosedLists(size_t n) { return Nest("l", "", "e", n); }
std::string OpenDictionaries(size_t n) { return Repeat("d1:a", n); }
std::string ClosedDictionaries(size_t n) { return Nest("d0:", "de", "e", n); }
std::string OpenMixedNest(size_t n) { return Repeat("ld1:a", n); }
std::string ClosedMixedNest(size_t n) { return Nest("ld1:a", "i1e", "ee", n); }
std::string NestWithNeighbours(size_t n) { return Nest("li1ed1:a1:x1:b", "le", "1:ci1ee1:ye", n); }
std::string ListsInTorrent(size_t n) { return TorrentWith("1:a" + ClosedLists(n)); }
std::string DictionariesInTorrent(size_t n) { return TorrentWith("1:a" + ClosedDictionaries(n)); }

std::string TorrentWithList(std::string_view element, size_t n) {
  return TorrentWith("1:al" + Repeat(element, n) + "e");
}
std::string EmptyLists(size_t n) { return TorrentWithList("le", n); }
std::string EmptyDictionaries(size_t n) { return TorrentWithList("de", n); }
std::string EmptyStrings(size_t n) { return TorrentWithList("0:", n); }
std::string Integers(size_t n) { return TorrentWithList("ie", n); }
std::string ListsOfOne(size_t n) { return TorrentWithList("liee", n); }
std::string ListsOfSeventeen(size_t n) { return TorrentWithList("lieieieieieieieieieieieieieieieieiee", n); }
std::string DictionariesOfOne(size_t n) { return TorrentWithList("d0:iee", n); }
std::string SkippedBadBytes(size_t n) { return TorrentWithList("i1e?", n); }

// Each list asks for the digits again.
std::string RescannedLength(size_t n) { return "d1:a" + Repeat("l", n) + Repeat("1", n); }
std::string RescannedLengthInRoot(size_t n) { return Repeat("l", n) + Repeat("1", n); }
std::string RescannedLengthAfterScalars(size_t n) { return Repeat("li1e", n) + Repeat("1", n) + "x"; }
std::string BadBytesCloseLists(size_t n) { return Repeat("l", n) + Repeat("?", n); }

std::string PaddedLength(size_t n) { return TorrentWith("1:a" + Repeat("0", n) + "3:abc"); }
std::string PaddedInteger(size_t n) { return TorrentWith("1:ai" + Repeat("0", n) + "1e"); }
std::string BlankInteger(size_t n) { return TorrentWith("1:ai" + Repeat(" ", n) + "1e"); }
std::string SaturatedInteger(size_t n) { return TorrentWith("1:ai" + Repeat("9", n) + "e"); }
std::string OverflowingLength(size_t n) { return "d1:a" + Repeat("9", n) + ":ae"; }
std::string UnterminatedInteger(size_t n) { return "d1:ai" + Repeat("1", n); }
std::string UnterminatedLength(size_t n) { return "d1:a" + Repeat("1", n); }

// Keys of 110 characters that differ at their ends alone.
std::string Key(size_t i) {
  const std::string number = std::to_string(1'000'000'000 + i);
  return encoded::Str(std::string(100, 'a') + number) + "ie";
}

std::string AscendingKeys(size_t n) {
  std::string entries;
  for (size_t i = 0; i < n; ++i) {
    entries += Key(i);
  }
  return TorrentWith(entries);
}

std::string DescendingKeys(size_t n) {
  std::string entries;
  for (size_t i = n; i-- > 0;) {
    entries += Key(i);
  }
  return TorrentWith(entries);
}

std::string ScatteredKeys(size_t n) {
  constexpr size_t kPrime = 1'000'003;  // larger than any n in use, so that no key comes twice
  std::string entries;
  for (size_t i = 0; i < n; ++i) {
    entries += Key(i * 7919 % kPrime);
  }
  return TorrentWith(entries);
}

std::string FirstKeyTwice(size_t n) {
  std::string entries;
  for (size_t i = 0; i < n; ++i) {
    entries += Key(i);
  }
  return "d" + entries + Key(0) + "e";
}

constexpr Shape kShapes[] = {
    {"OpenLists", OpenLists, 100'000, Fate::kBroken},
    {"ClosedLists", ClosedLists, 100'000, Fate::kNoTorrent},
    {"OpenDictionaries", OpenDictionaries, 200'000, Fate::kBroken},
    {"ClosedDictionaries", ClosedDictionaries, 200'000, Fate::kNoTorrent},
    {"OpenMixedNest", OpenMixedNest, 100'000, Fate::kBroken},
    {"ClosedMixedNest", ClosedMixedNest, 100'000, Fate::kNoTorrent},
    {"NestWithNeighbours", NestWithNeighbours, 50'000, Fate::kNoTorrent},
    {"ListsInTorrent", ListsInTorrent, 100'000, Fate::kTorrent},
    {"DictionariesInTorrent", DictionariesInTorrent, 200'000, Fate::kTorrent},
    {"EmptyLists", EmptyLists, 300'000, Fate::kTorrent},
    {"EmptyDictionaries", EmptyDictionaries, 500'000, Fate::kTorrent},
    {"EmptyStrings", EmptyStrings, 500'000, Fate::kTorrent},
    {"Integers", Integers, 500'000, Fate::kTorrent},
    {"ListsOfOne", ListsOfOne, 200'000, Fate::kTorrent},
    {"ListsOfSeventeen", ListsOfSeventeen, 50'000, Fate::kTorrent},
    {"DictionariesOfOne", DictionariesOfOne, 200'000, Fate::kTorrent},
    {"SkippedBadBytes", SkippedBadBytes, 500'000, Fate::kTorrent},
    {"RescannedLength", RescannedLength, 100'000, Fate::kBroken},
    {"RescannedLengthInRoot", RescannedLengthInRoot, 100'000, Fate::kNoTorrent},
    {"RescannedLengthAfterScalars", RescannedLengthAfterScalars, 100'000, Fate::kNoTorrent},
    {"BadBytesCloseLists", BadBytesCloseLists, 100'000, Fate::kNoTorrent},
    {"PaddedLength", PaddedLength, 10'000'000, Fate::kTorrent},
    {"PaddedInteger", PaddedInteger, 10'000'000, Fate::kTorrent},
    {"BlankInteger", BlankInteger, 10'000'000, Fate::kTorrent},
    {"SaturatedInteger", SaturatedInteger, 10'000'000, Fate::kTorrent},
    {"OverflowingLength", OverflowingLength, 10'000'000, Fate::kBroken},
    {"UnterminatedInteger", UnterminatedInteger, 10'000'000, Fate::kBroken},
    {"UnterminatedLength", UnterminatedLength, 10'000'000, Fate::kBroken},
    {"AscendingKeys", AscendingKeys, 100'000, Fate::kTorrent},
    {"DescendingKeys", DescendingKeys, 50'000, Fate::kTorrent},
    {"ScatteredKeys", ScatteredKeys, 200'000, Fate::kTorrent},  // n and 2n both larger than a processor's caches
    {"FirstKeyTwice", FirstKeyTwice, 50'000, Fate::kBroken},
};

}  // namespace

std::span<const Shape> StructureShapes() { return kShapes; }

}  // namespace hostile
