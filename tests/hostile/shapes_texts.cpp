#include "tests/hostile/shapes.h"
#include "tests/reader/encoded.h"
#include "tests/support/repeat.h"

namespace hostile {

using encoded::Str;

namespace {

constexpr std::string_view kInvalid = "\x80";
constexpr std::string_view kTwoBytes = "\xC3\xA9";
constexpr std::string_view kThreeBytes = "\xE4\xB8\xAD";
constexpr std::string_view kFourBytes = "\xF0\x9F\x98\x80";
constexpr std::string_view kSurrogate = "\xED\xA0\x80";
constexpr std::string_view kOverlong = "\xC0\xAF";
constexpr std::string_view kZero("\0", 1);

std::string Comment(std::string_view character, size_t n) {
  return TorrentWith("7:comment" + Str(Repeat(character, n)));
}
std::string AsciiComment(size_t n) { return Comment("x", n); }
std::string TwoByteComment(size_t n) { return Comment(kTwoBytes, n); }
std::string ThreeByteComment(size_t n) { return Comment(kThreeBytes, n); }
std::string FourByteComment(size_t n) { return Comment(kFourBytes, n); }
std::string SurrogateComment(size_t n) { return Comment(kSurrogate, n); }
std::string OverlongComment(size_t n) { return Comment(kOverlong, n); }
std::string ZeroComment(size_t n) { return Comment(kZero, n); }
std::string InvalidComment(size_t n) { return Comment(kInvalid, n); }
std::string InvalidAtTheEnd(size_t n) { return TorrentWith("7:comment" + Str(Repeat("x", n).append(kInvalid))); }
std::string InvalidCommentInCodePage(size_t n) {
  return TorrentWith("8:encoding12:Windows-12517:comment" + Str(Repeat(kInvalid, n)));
}

std::string InvalidTexts(size_t n) {
  const std::string text = Str(Repeat(kInvalid, n));
  return TorrentWith("8:announce" + text + "7:comment" + text + "10:created by" + text + "8:url-list" + text);
}

std::string PiecesOf(size_t n) {
  return "d4:infod6:lengthi" + std::to_string(n * 16384) + "e4:name1:n12:piece lengthi16384e6:pieces" +
         Str(std::string(n * 20, 'h')) + "ee";
}

std::string EncodingName(size_t n) { return TorrentWith("8:encoding" + Str(Repeat("x", n))); }
std::string EncodingNumber(size_t n) { return TorrentWith("8:encoding" + Str("CP" + Repeat("9", n))); }

std::string TiersOfNone(size_t n) { return TorrentWith("13:announce-listl" + Repeat("le", n) + "e"); }
std::string WebSeeds(size_t n) { return TorrentWith("8:url-listl" + Repeat("8:http://x", n) + "e"); }

constexpr Shape kShapes[] = {
    {"AsciiComment", AsciiComment, 4 << 20, Fate::kTorrent},
    {"TwoByteComment", TwoByteComment, 2 << 20, Fate::kTorrent},
    {"ThreeByteComment", ThreeByteComment, 2 << 20, Fate::kTorrent},
    {"FourByteComment", FourByteComment, 2 << 20, Fate::kTorrent},
    {"SurrogateComment", SurrogateComment, 2 << 20, Fate::kTorrent},
    {"OverlongComment", OverlongComment, 2 << 20, Fate::kTorrent},
    {"ZeroComment", ZeroComment, 4 << 20, Fate::kTorrent},
    {"InvalidComment", InvalidComment, 8 << 20, Fate::kTorrent},
    {"InvalidAtTheEnd", InvalidAtTheEnd, 4'000'000, Fate::kTorrent},
    {"InvalidCommentInCodePage", InvalidCommentInCodePage, 8 << 20, Fate::kTorrent},
    {"InvalidTexts", InvalidTexts, 4 << 20, Fate::kTorrent},
    {"HugeInvalidComment", InvalidComment, 100'000'000, Fate::kTorrent},
    {"HugeInvalidTexts", InvalidTexts, 30'000'000, Fate::kTorrent},
    {"Pieces", PiecesOf, 500'000, Fate::kTorrent},
    {"EncodingName", EncodingName, 10'000'000, Fate::kTorrent},
    {"EncodingNumber", EncodingNumber, 10'000'000, Fate::kTorrent},
    {"TrackersHalfInvalid", TrackersHalfInvalid, 100'000, Fate::kTorrent},
    {"TiersOfNone", TiersOfNone, 300'000, Fate::kTorrent},
    {"WebSeedsHalfInvalid", WebSeedsHalfInvalid, 100'000, Fate::kTorrent},
    {"WebSeeds", WebSeeds, 100'000, Fate::kTorrent},
};

}  // namespace

std::string TrackersHalfInvalid(size_t n) {
  return TorrentWith("13:announce-listl" +
                     Repeat("l8:http://x8:http://\x80"
                            "e",
                            n / 2) +
                     "e");
}

std::string WebSeedsHalfInvalid(size_t n) {
  return TorrentWith("8:url-listl" + Repeat("8:http://x8:http://\x80", n / 2) + "e");
}

std::span<const Shape> TextShapes() { return kShapes; }

}  // namespace hostile
