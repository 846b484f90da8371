#import "QuickLookPlugin/TorrentInfo.h"

#include <algorithm>
#include <string>
#include <vector>

#include "core/base/host.h"
#include "tests/reader/encoded.h"
#import "tests/reader/pool.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/temp_folder.h"

namespace {

using encoded::Bytes;
using encoded::Dict;
using encoded::Fields;
using encoded::Int;
using encoded::List;
using encoded::Str;

constexpr long long kMinPiece = 16384;

// One entry of a list of files.
std::string File(long long length, const std::vector<std::string>& path) {
  std::vector<std::string> components;
  for (const std::string& component : path) {
    components.push_back(Str(component));
  }
  return Dict({{"length", Int(length)}, {"path", List(components)}});
}

// The fields of a torrent, at first of one byte in one file, for the tests to change.
struct Torrent {
  Fields root;
  Fields info = {{"length", Int(1)}, {"name", Str("name")}, {"piece length", Int(kMinPiece)}, {"pieces", Hashes(1)}};

  static std::string Hashes(size_t count) { return Str(std::string(count * 20, 'h')); }

  Torrent& Info(const std::string& key, const std::string& value) {
    Drop(key);
    info.emplace_back(key, value);
    return *this;
  }
  Torrent& Root(const std::string& key, const std::string& value) {
    root.emplace_back(key, value);
    return *this;
  }
  Torrent& Drop(const std::string& key) {
    info.erase(std::remove_if(info.begin(), info.end(), [&key](const auto& field) { return field.first == key; }),
               info.end());
    return *this;
  }
  // `files` in place of the single one, with hashes for `pieces` pieces.
  Torrent& Files(const std::vector<std::string>& files, size_t pieces = 1) {
    Drop("length");
    return Info("files", List(files)).Info("pieces", Hashes(pieces));
  }

  std::string text() const {
    Fields all = root;
    all.emplace_back("info", Dict(info));
    return Dict(all);
  }
};

class TorrentInfoTest : public PoolTest {
 protected:
  // The record of a file with this content; nil when it is refused.
  TorrentInfo* Read(const std::string& content) { return ReadFile(folder_.Write("test.torrent", content)); }
  TorrentInfo* Read(const Torrent& torrent) { return Read(torrent.text()); }
  TorrentInfo* ReadFile(const std::string& path) {
    return [[[TorrentInfo alloc] initWithFile:[NSString stringWithUTF8String:path.c_str()]] autorelease];
  }

  TempFolder folder_;
};

std::vector<std::string> Texts(NSArray* strings) {
  std::vector<std::string> texts;
  for (NSUInteger i = 0; i < [strings count]; ++i) {
    texts.push_back(Text([strings objectAtIndex:i]));
  }
  return texts;
}

std::vector<std::string> Paths(TorrentInfo* info) { return Texts([info.files allKeys]); }

long long SizeOf(TorrentInfo* info, const char* path) {
  NSNumber* size = [info.files objectForKey:[NSString stringWithUTF8String:path]];
  return size ? [size longLongValue] : -12345;
}

using Strings = std::vector<std::string>;

TEST_F(TorrentInfoTest, ReadsEveryField) {
  Torrent torrent;
  torrent.Root("announce", Str("http://tracker/"))
      .Root("comment", Str("a comment"))
      .Root("created by", Str("a creator"))
      .Root("creation date", Int(1700000000))
      .Root("url-list", List({Str("http://seed/")}))
      .Info("length", Int(40000))
      .Info("pieces", Torrent::Hashes(3))
      .Info("private", Int(1));
  TorrentInfo* info = Read(torrent);
  ASSERT_NE(nil, info);
  EXPECT_EQ(Strings{"http://tracker/"}, Texts(info.trackers));
  EXPECT_EQ(Strings{"http://seed/"}, Texts(info.webSeeds));
  EXPECT_EQ(Strings{"name"}, Paths(info));
  EXPECT_EQ(40000, SizeOf(info, "name"));
  EXPECT_EQ(1700000000.0, [info.createdOn timeIntervalSince1970]);
  EXPECT_EQ("name", Text(info.name));
  EXPECT_EQ("a creator", Text(info.creator));
  EXPECT_EQ("a comment", Text(info.comment));
  EXPECT_EQ(16384u, info.pieceSize);
  EXPECT_EQ(YES, info.privateTorrent);
  EXPECT_EQ(3u, info.numPieces);
  EXPECT_EQ(40000u, info.totalSize);
}

TEST_F(TorrentInfoTest, NeedsNoneOfTheOptionalFields) {
  TorrentInfo* info = Read(Torrent());
  ASSERT_NE(nil, info);
  EXPECT_EQ(0u, [info.trackers count]);
  EXPECT_EQ(0u, [info.webSeeds count]);
  EXPECT_EQ(0.0, [info.createdOn timeIntervalSince1970]);
  EXPECT_EQ(nil, info.creator);
  EXPECT_EQ(nil, info.comment);
  EXPECT_EQ(NO, info.privateTorrent);
}

// Loading and decoding.

TEST_F(TorrentInfoTest, RefusesWhatIsNoTorrent) {
  const struct {
    const char* name;
    std::string content;
  } kCases[] = {
      {"empty file", ""},
      {"empty dictionary", "de"},
      {"a list", List({Torrent().text()})},
      {"a string", "3:abc"},
      {"an integer", "i1e"},
      {"plain text", "hello"},
      {"cut at the end", Torrent().text().substr(0, Torrent().text().size() - 1)},
      {"no info", Dict({{"announce", Str("x")}})},
      {"info is a list", Dict({{"info", List({Str("a")})}})},
      {"info is a string", Dict({{"info", Str("a")}})},
      {"a key twice", "d1:ai1e1:ai1e4:info" + Dict(Torrent().info) + "e"},
      {"a list closed by a bad byte", "l?"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(nil, Read(c.content));
  }
}

TEST_F(TorrentInfoTest, IgnoresBytesBehindTheTorrent) { EXPECT_NE(nil, Read(Torrent().text() + "trailing")); }

TEST_F(TorrentInfoTest, RefusesWhatCannotBeRead) {
  EXPECT_EQ(nil, ReadFile((folder_.path() / "missing").string()));
  EXPECT_EQ(nil, ReadFile(folder_.path().string()));
  EXPECT_EQ(nil, ReadFile("/dev/null"));
}

TEST_F(TorrentInfoTest, RefusesPathsThatAreNone) {
  EXPECT_EQ(nil, [[[TorrentInfo alloc] initWithFile:nil] autorelease]);
  EXPECT_EQ(nil, [[[TorrentInfo alloc] initWithFile:@""] autorelease]);
}

TEST_F(TorrentInfoTest, DoesNotCutAPathAtAZeroCharacter) {
  const std::string path = folder_.Write("a", Torrent().text());
  NSString* longer = [NSString stringWithFormat:@"%s%Cx", path.c_str(), (unichar)0];
  EXPECT_NE(nil, ReadFile(path));
  EXPECT_EQ(nil, [[[TorrentInfo alloc] initWithFile:longer] autorelease]);
}

TEST_F(TorrentInfoTest, ReadsFilesWithNamesInAnyScript) {
  EXPECT_NE(nil, ReadFile(folder_.Write("\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80.torrent", Torrent().text())));
}

TEST_F(TorrentInfoTest, RefusesATreeThatWouldSwell) {
  EXPECT_EQ(nil, Read("d1:a" + std::string(1000000, 'l') + std::string(1000000, 'e') + Torrent().text().substr(1)));
}

TEST_F(TorrentInfoTest, ReadsPastDeepNesting) {
  EXPECT_NE(nil, Read("d1:a" + std::string(100000, 'l') + std::string(100000, 'e') + Torrent().text().substr(1)));
}

// Trackers.

TEST_F(TorrentInfoTest, FlattensTheTiersAndKeepsDuplicates) {
  TorrentInfo* info =
      Read(Torrent().Root("announce-list", List({List({Str("a"), Str("b")}), List({}), List({Str("c"), Str("a")})})));
  EXPECT_EQ((Strings{"a", "b", "c", "a"}), Texts(info.trackers));
}

TEST_F(TorrentInfoTest, PassesOverTiersAndTrackersOfOtherKinds) {
  TorrentInfo* info = Read(Torrent().Root(
      "announce-list", List({Str("a"), List({Int(1), Str("b"), List({Str("c")}), "de"}), Int(2), "de"})));
  EXPECT_EQ(Strings{"b"}, Texts(info.trackers));
}

TEST_F(TorrentInfoTest, PrefersTheListOfTrackers) {
  TorrentInfo* info = Read(Torrent().Root("announce", Str("single")).Root("announce-list", List({List({Str("a")})})));
  EXPECT_EQ(Strings{"a"}, Texts(info.trackers));
}

TEST_F(TorrentInfoTest, PrefersEvenAnEmptyListOfTrackers) {
  TorrentInfo* info = Read(Torrent().Root("announce", Str("single")).Root("announce-list", "le"));
  EXPECT_EQ(0u, [info.trackers count]);
}

TEST_F(TorrentInfoTest, TakesTheSingleTrackerWhenTheListIsNone) {
  TorrentInfo* info = Read(Torrent().Root("announce", Str("single")).Root("announce-list", Str("a")));
  EXPECT_EQ(Strings{"single"}, Texts(info.trackers));
}

TEST_F(TorrentInfoTest, HasNoTrackerOfAnotherKind) {
  EXPECT_EQ(0u, [Read(Torrent().Root("announce", Int(1))).trackers count]);
}

// With the torrent's own code page, the locale's, this text would be empty.
TEST_F(TorrentInfoTest, DecodesTrackersByTheDefaultCodePage) {
  TorrentInfo* info = Read(Torrent().Root("announce", Str("\xC3\xA9")).Root("encoding", Int(932)));
  EXPECT_EQ(Strings{"\xC3\xA9"}, Texts(info.trackers));
}

// By the torrent's own code page, which is UTF-8 alone, these texts would be empty.
TEST_F(TorrentInfoTest, DecodesTrackersThatAreNoUtf8ByTheLocale) {
  const ShiftJisLocale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no Shift-JIS locale here";
  }
  const std::string encoded = Str("\x83\x65");
  const Strings text = {"\xE3\x83\x86"};
  const std::string utf8 = Str("utf-8");
  EXPECT_EQ(text, Texts(Read(Torrent().Root("announce", encoded).Root("encoding", utf8)).trackers));
  EXPECT_EQ(text,
            Texts(Read(Torrent().Root("announce-list", List({List({encoded})})).Root("encoding", utf8)).trackers));
}

TEST_F(TorrentInfoTest, KeepsTrackersThatDoNotDecodeAsEmpty) {
  TorrentInfo* info = Read(Torrent().Root("announce-list", List({List({Str("\xFF"), Str("a")})})));
  EXPECT_EQ((Strings{"", "a"}), Texts(info.trackers));
}

// Web seeds.

TEST_F(TorrentInfoTest, ReadsAListOfWebSeeds) {
  TorrentInfo* info = Read(Torrent().Root("url-list", List({Str("a"), Int(1), Str("b"), List({Str("c")}), Str("")})));
  EXPECT_EQ((Strings{"a", "b", ""}), Texts(info.webSeeds));
}

TEST_F(TorrentInfoTest, ReadsASingleWebSeed) {
  EXPECT_EQ(Strings{"http://seed/"}, Texts(Read(Torrent().Root("url-list", Str("http://seed/"))).webSeeds));
}

TEST_F(TorrentInfoTest, HasNoWebSeedOfAnotherKind) {
  EXPECT_EQ(0u, [Read(Torrent().Root("url-list", Int(1))).webSeeds count]);
}

TEST_F(TorrentInfoTest, PassesOverWebSeedsThatAreNoUtf8) {
  EXPECT_EQ(Strings{"b"}, Texts(Read(Torrent().Root("url-list", List({Str("\xFF"), Str("b")}))).webSeeds));
  TorrentInfo* info = Read(Torrent().Root("url-list", Str("\xC3")));
  ASSERT_NE(nil, info);
  EXPECT_EQ(0u, [info.webSeeds count]);
}

TEST_F(TorrentInfoTest, PassesOverWebSeedsBeyondTheLimitOfText) {
  constexpr size_t kLimit = size_t{16} << 20;
  for (const size_t size : {kLimit - 1, kLimit, kLimit + 1}) {
    const std::string seed = Str(std::string(size, 's'));
    const NSUInteger expected = size > kLimit ? 0 : 1;
    EXPECT_EQ(expected, [Read(Torrent().Root("url-list", seed)).webSeeds count]);
    EXPECT_EQ(expected, [Read(Torrent().Root("url-list", List({seed}))).webSeeds count]);
    DrainPool();
  }
}

// Unlike other text, web seeds come to the platform as they are.
TEST_F(TorrentInfoTest, KeepsAllOfUtf8InWebSeeds) {
  EXPECT_EQ(Strings{"\xF0\x9F\x98\x80"}, Texts(Read(Torrent().Root("url-list", Str("\xF0\x9F\x98\x80"))).webSeeds));
}

// Text.

TEST_F(TorrentInfoTest, ReadsTextByTheDeclaredCodePage) {
  const ScopedLocale c("C");
  const std::string latin = "caf\xE9";
  TorrentInfo* utf8_only = Read(Torrent().Root("encoding", Str("UTF-8")).Root("comment", Str(latin)));
  EXPECT_EQ("", Text(utf8_only.comment));
  TorrentInfo* valid = Read(Torrent().Root("encoding", Str("UTF-8")).Root("comment", Str("caf\xC3\xA9")));
  EXPECT_EQ("caf\xC3\xA9", Text(valid.comment));
  TorrentInfo* locale = Read(Torrent().Root("encoding", Int(932)).Root("comment", Str("caf\xC3\xA9")));
  EXPECT_EQ("", Text(locale.comment));  // the C locale knows ASCII alone
  TorrentInfo* ascii = Read(Torrent().Root("encoding", Str("cp936")).Root("comment", Str("cafe")));
  EXPECT_EQ("cafe", Text(ascii.comment));
}

TEST_F(TorrentInfoTest, ReadsTextOfTheLocalesEncoding) {
  const ShiftJisLocale locale;
  if (!locale.ok()) {
    GTEST_SKIP() << "no Shift-JIS locale here";
  }
  const std::string encoded = "\x83\x65\x83\x58\x83\x67";
  const std::string text = "\xE3\x83\x86\xE3\x82\xB9\xE3\x83\x88";
  for (const std::string& encoding : {Str("shift-jis"), Int(932), Str("ansi")}) {
    SCOPED_TRACE(encoding);
    TorrentInfo* info =
        Read(Torrent().Root("encoding", encoding).Root("comment", Str(encoded)).Files({File(1, {encoded})}));
    EXPECT_EQ(text, Text(info.comment));
    EXPECT_EQ(Strings{text}, Paths(info));
  }
}

TEST_F(TorrentInfoTest, HasNoTextOfAnotherKind) {
  TorrentInfo* info = Read(Torrent().Root("comment", Int(1)).Root("created by", List({Str("a")})));
  ASSERT_NE(nil, info);
  EXPECT_EQ(nil, info.comment);
  EXPECT_EQ(nil, info.creator);
}

TEST_F(TorrentInfoTest, KeepsEmptyText) {
  TorrentInfo* info = Read(Torrent().Root("comment", Str("")).Root("created by", Str("")));
  EXPECT_EQ("", Text(info.comment));
  EXPECT_EQ("", Text(info.creator));
}

TEST_F(TorrentInfoTest, EndsTextAtAZeroByte) {
  EXPECT_EQ("ab", Text(Read(Torrent().Root("comment", Str(Bytes("ab\0cd")))).comment));
}

// The two halves of a pair come to the platform as separate characters, which it refuses.
TEST_F(TorrentInfoTest, LosesTextWithCharactersBeyondTheFirstPlane) {
  EXPECT_EQ("", Text(Read(Torrent().Root("comment", Str("a\xF0\x9F\x98\x80"))).comment));
}

TEST_F(TorrentInfoTest, TreatsTextBeyondTheLimitAsUndecodable) {
  constexpr size_t kLimit = size_t{16} << 20;
  for (const size_t size : {kLimit - 1, kLimit}) {
    EXPECT_EQ(size, [Read(Torrent().Root("comment", Str(std::string(size, 'c')))).comment length]);
    DrainPool();
  }
  TorrentInfo* info = Read(Torrent().Root("comment", Str(std::string(kLimit + 1, 'c'))));
  ASSERT_NE(nil, info);
  EXPECT_EQ("", Text(info.comment));
}

TEST_F(TorrentInfoTest, ReadsDatesOf32Bits) {
  const auto date = [this](long long seconds) {
    return [Read(Torrent().Root("creation date", Int(seconds))).createdOn timeIntervalSince1970];
  };
  EXPECT_EQ(1.0, date(1));
  EXPECT_EQ(-1.0, date(-1));
  EXPECT_EQ(2147483647.0, date(2147483647));
  EXPECT_EQ(-2147483648.0, date(2147483648));
  EXPECT_EQ(0.0, date(4294967296));
  EXPECT_EQ(0.0, [Read(Torrent().Root("creation date", Str("1"))).createdOn timeIntervalSince1970]);
}

// The info dictionary.

TEST_F(TorrentInfoTest, HoldsTheLimitsOfThePieceLength) {
  const auto usable = [this](long long length) { return Read(Torrent().Info("piece length", Int(length))) != nil; };
  EXPECT_FALSE(usable(16383));
  EXPECT_TRUE(usable(16384));
  EXPECT_TRUE(usable(16385));
  EXPECT_TRUE(usable(33554431));
  EXPECT_TRUE(usable(33554432));
  EXPECT_FALSE(usable(33554433));
  EXPECT_FALSE(usable(0));
  EXPECT_FALSE(usable(-16384));
  EXPECT_TRUE(usable(4294967296 + 16384));  // the low 32 bits count
  EXPECT_EQ(nil, Read(Torrent().Drop("piece length")));
  EXPECT_EQ(nil, Read(Torrent().Info("piece length", Str("16384"))));
}

TEST_F(TorrentInfoTest, ReportsThePieceLength) {
  EXPECT_EQ(33554432u, Read(Torrent().Info("piece length", Int(33554432))).pieceSize);
}

TEST_F(TorrentInfoTest, IsPrivateForAnyIntegerButZero) {
  EXPECT_EQ(NO, Read(Torrent().Info("private", Int(0))).privateTorrent);
  EXPECT_EQ(YES, Read(Torrent().Info("private", Int(256))).privateTorrent);
  EXPECT_EQ(YES, Read(Torrent().Info("private", Int(-1))).privateTorrent);
  EXPECT_EQ(NO, Read(Torrent().Info("private", Int(4294967296))).privateTorrent);
  EXPECT_EQ(NO, Read(Torrent().Info("private", Str("1"))).privateTorrent);
}

TEST_F(TorrentInfoTest, PrefersTheUtf8Name) {
  TorrentInfo* info =
      Read(Torrent().Root("encoding", Int(932)).Info("name", Str("\x83\x65")).Info("name.utf-8", Str("\xE3\x83\x86")));
  EXPECT_EQ("\xE3\x83\x86", Text(info.name));
  EXPECT_EQ(Strings{"\xE3\x83\x86"}, Paths(info));
}

TEST_F(TorrentInfoTest, TakesTheNameWhenTheUtf8NameIsNone) {
  EXPECT_EQ("name", Text(Read(Torrent().Info("name.utf-8", Int(1))).name));
}

TEST_F(TorrentInfoTest, NeedsAName) {
  EXPECT_EQ(nil, Read(Torrent().Drop("name")));
  EXPECT_EQ(nil, Read(Torrent().Info("name", Int(1))));
  EXPECT_NE(nil, Read(Torrent().Drop("name").Info("name.utf-8", Str("a"))));
}

TEST_F(TorrentInfoTest, TakesANameThatDoesNotDecodeAsEmpty) {
  TorrentInfo* info = Read(Torrent().Info("name", Str("\xFF")));
  ASSERT_NE(nil, info);
  EXPECT_EQ("", Text(info.name));
  EXPECT_EQ(1, SizeOf(info, ""));
}

TEST_F(TorrentInfoTest, DoesNotCleanTheNameOfASingleFile) {
  EXPECT_EQ(Strings{"../a/b "}, Paths(Read(Torrent().Info("name", Str("../a/b ")))));
}

// Files.

TEST_F(TorrentInfoTest, ReadsAListOfFiles) {
  TorrentInfo* info = Read(Torrent().Files({File(1, {"b"}), File(2, {"a", "c.txt"}), File(0, {"d"})}));
  ASSERT_NE(nil, info);
  EXPECT_EQ((Strings{"b", "a/c.txt", "d"}), Paths(info));
  EXPECT_EQ(1, SizeOf(info, "b"));
  EXPECT_EQ(2, SizeOf(info, "a/c.txt"));
  EXPECT_EQ(0, SizeOf(info, "d"));
  EXPECT_EQ(3u, info.totalSize);
  EXPECT_EQ("name", Text(info.name));
}

TEST_F(TorrentInfoTest, ReadsLengthsOf64BitsFromAListOfFiles) {
  const long long large = 5LL << 30;
  TorrentInfo* info = Read(Torrent().Info("piece length", Int(33554432)).Files({File(large, {"a"})}, 160));
  ASSERT_NE(nil, info);
  EXPECT_EQ(large, SizeOf(info, "a"));
  EXPECT_EQ(static_cast<unsigned long long>(large), info.totalSize);
}

TEST_F(TorrentInfoTest, CleansPaths) {
  EXPECT_EQ(Strings{"a/b_c_"}, Paths(Read(Torrent().Files({File(1, {"a", ".", "..", "", "b/c "})}))));
}

TEST_F(TorrentInfoTest, KeepsAPathOfWhichNothingIsLeft) {
  EXPECT_EQ(Strings{""}, Paths(Read(Torrent().Files({File(1, {"..", "."})}))));
}

TEST_F(TorrentInfoTest, ReplacesAFileOfTheSamePathButCountsBoth) {
  TorrentInfo* info = Read(Torrent().Files({File(5, {"a"}), File(1, {"b"}), File(7, {"a"})}));
  EXPECT_EQ((Strings{"a", "b"}), Paths(info));
  EXPECT_EQ(7, SizeOf(info, "a"));
  EXPECT_EQ(13u, info.totalSize);
}

TEST_F(TorrentInfoTest, TakesAllUndecodablePathsAsOne) {
  TorrentInfo* info = Read(Torrent().Root("encoding", Str("utf8")).Files({File(1, {"\xFF"}), File(2, {"\xFE"})}));
  EXPECT_EQ(Strings{""}, Paths(info));
  EXPECT_EQ(2, SizeOf(info, ""));
}

TEST_F(TorrentInfoTest, PrefersTheUtf8Path) {
  const std::string file =
      Dict({{"length", Int(1)}, {"path", List({Str("x")})}, {"path.utf-8", List({Str("\xC3\xA9")})}});
  EXPECT_EQ(Strings{"\xC3\xA9"}, Paths(Read(Torrent().Root("encoding", Int(932)).Files({file}))));
}

TEST_F(TorrentInfoTest, TakesThePathWhenTheUtf8PathIsNone) {
  const std::string file = Dict({{"length", Int(1)}, {"path", List({Str("x")})}, {"path.utf-8", Str("y")}});
  EXPECT_EQ(Strings{"x"}, Paths(Read(Torrent().Files({file}))));
}

TEST_F(TorrentInfoTest, RefusesFilesWithoutAUsablePath) {
  const struct {
    const char* name;
    std::string file;
  } kCases[] = {
      {"no dictionary", Str("a")},
      {"a list", List({Str("a")})},
      {"no path", Dict({{"length", Int(1)}})},
      {"a path that is a string", Dict({{"length", Int(1)}, {"path", Str("a")}})},
      {"an empty path", Dict({{"length", Int(1)}, {"path", "le"}})},
      {"an integer in the path", Dict({{"length", Int(1)}, {"path", List({Str("a"), Int(1)})}})},
      {"an empty UTF-8 path", Dict({{"length", Int(1)}, {"path", List({Str("a")})}, {"path.utf-8", "le"}})},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(nil, Read(Torrent().Files({c.file})));
    EXPECT_EQ(nil, Read(Torrent().Files({File(1, {"good"}), c.file})));
  }
}

TEST_F(TorrentInfoTest, CountsAFileWithoutALengthAsEmpty) {
  TorrentInfo* info = Read(Torrent().Files({File(1, {"a"}), Dict({{"path", List({Str("b")})}})}));
  ASSERT_NE(nil, info);
  EXPECT_EQ(0, SizeOf(info, "b"));
  EXPECT_EQ(1u, info.totalSize);
}

TEST_F(TorrentInfoTest, PrefersTheListOfFilesToALength) {
  TorrentInfo* info = Read(Torrent().Files({File(3, {"a"})}).Info("length", Int(16385)));
  EXPECT_EQ(3u, info.totalSize);
  EXPECT_EQ(Strings{"a"}, Paths(info));
}

TEST_F(TorrentInfoTest, TakesTheLengthWhenTheFilesAreNoList) {
  EXPECT_EQ(Strings{"name"}, Paths(Read(Torrent().Info("files", Str("a")))));
}

TEST_F(TorrentInfoTest, RefusesAnEmptyListOfFiles) { EXPECT_EQ(nil, Read(Torrent().Files({}, 0))); }

// Pieces.

TEST_F(TorrentInfoTest, CountsPiecesUpwards) {
  const auto pieces = [this](long long length, size_t count) {
    return Read(Torrent().Info("length", Int(length)).Info("pieces", Torrent::Hashes(count))).numPieces;
  };
  EXPECT_EQ(1u, pieces(1, 1));
  EXPECT_EQ(1u, pieces(kMinPiece - 1, 1));
  EXPECT_EQ(1u, pieces(kMinPiece, 1));
  EXPECT_EQ(2u, pieces(kMinPiece + 1, 2));
}

TEST_F(TorrentInfoTest, NeedsExactlyTheHashesOfAllPieces) {
  const auto usable = [this](size_t hash_bytes) {
    return Read(Torrent().Info("length", Int(2 * kMinPiece)).Info("pieces", Str(std::string(hash_bytes, 'h')))) != nil;
  };
  EXPECT_FALSE(usable(0));
  EXPECT_FALSE(usable(20));
  EXPECT_FALSE(usable(39));
  EXPECT_TRUE(usable(40));
  EXPECT_FALSE(usable(41));
  EXPECT_FALSE(usable(60));
  EXPECT_EQ(nil, Read(Torrent().Drop("pieces")));
  EXPECT_EQ(nil, Read(Torrent().Info("pieces", Int(20))));
  EXPECT_EQ(nil, Read(Torrent().Info("pieces", List({Str(std::string(20, 'h'))}))));
}

TEST_F(TorrentInfoTest, HoldsTheLimitsOfThePieceCount) {
  const auto usable = [this](long long pieces) {
    const auto hashes = static_cast<size_t>(pieces);
    return Read(Torrent().Info("length", Int(pieces * kMinPiece)).Info("pieces", Torrent::Hashes(hashes))) != nil;
  };
  EXPECT_FALSE(usable(0));
  EXPECT_TRUE(usable(1));
  EXPECT_TRUE(usable(1048574));
  EXPECT_TRUE(usable(1048575));
  EXPECT_FALSE(usable(1048576));
}

TEST_F(TorrentInfoTest, RefusesANegativeLength) {
  EXPECT_EQ(nil, Read(Torrent().Info("length", Int(-1)).Info("pieces", "0:")));
}

// Sums are counted modulo 2^64, sizes keep their sign.
TEST_F(TorrentInfoTest, AddsLengthsWithoutTheirSigns) {
  TorrentInfo* info = Read(Torrent().Files({File(-5, {"a"}), File(7, {"b"})}));
  ASSERT_NE(nil, info);
  EXPECT_EQ(2u, info.totalSize);
  EXPECT_EQ(-5, SizeOf(info, "a"));
  constexpr long long kMax = 0x7FFFFFFFFFFFFFFF;
  TorrentInfo* wrapped = Read(Torrent().Files({File(kMax, {"a"}), File(kMax, {"b"}), File(3, {"c"})}));
  ASSERT_NE(nil, wrapped);
  EXPECT_EQ(1u, wrapped.totalSize);
}

// The sum of the total size and the piece size less one wraps; so does the count beyond 32 bits.
TEST_F(TorrentInfoTest, CountsPiecesIn32Bits) {
  EXPECT_EQ(nil, Read(Torrent().Info("length", Int(-16383)).Info("pieces", "0:")));  // sum 0: no piece
  TorrentInfo* info =
      Read(Torrent().Info("length", Int((4294967296 + 2) * kMinPiece)).Info("pieces", Torrent::Hashes(2)));
  ASSERT_NE(nil, info);
  EXPECT_EQ(2u, info.numPieces);
}

// The record.

TEST_F(TorrentInfoTest, OutlivesThePoolItWasMadeIn) {
  const std::string path = folder_.Write("a", Torrent()
                                                  .Root("announce", Str("t"))
                                                  .Root("url-list", Str("s"))
                                                  .Root("comment", Str("c"))
                                                  .Root("created by", Str("b"))
                                                  .text());
  TorrentInfo* info = [[TorrentInfo alloc] initWithFile:[NSString stringWithUTF8String:path.c_str()]];
  DrainPool();
  EXPECT_EQ(Strings{"t"}, Texts(info.trackers));
  EXPECT_EQ(Strings{"s"}, Texts(info.webSeeds));
  EXPECT_EQ(Strings{"name"}, Paths(info));
  EXPECT_EQ("c", Text(info.comment));
  EXPECT_EQ("b", Text(info.creator));
  EXPECT_EQ("name", Text(info.name));
  EXPECT_EQ(0.0, [info.createdOn timeIntervalSince1970]);
  [info release];
}

TEST_F(TorrentInfoTest, GivesItsObjectsUncopied) {
  TorrentInfo* info = Read(Torrent());
  const NSUInteger count = [info.files retainCount];
  EXPECT_EQ(info.files, info.files);
  EXPECT_EQ(count, [info.files retainCount]);
  EXPECT_EQ(info.trackers, info.trackers);
}

TEST_F(TorrentInfoTest, CanBeReadAnew) {
  TorrentInfo* info = Read(Torrent().Root("comment", Str("first")).Info("private", Int(1)));
  const std::string path = folder_.Write("b", Torrent().Files({File(2, {"x"})}).text());
  EXPECT_EQ(YES, [info parseTorrentFile:[NSString stringWithUTF8String:path.c_str()]]);
  EXPECT_EQ(nil, info.comment);
  EXPECT_EQ(NO, info.privateTorrent);
  EXPECT_EQ(2u, info.totalSize);
  EXPECT_EQ(Strings{"x"}, Paths(info));
}

TEST_F(TorrentInfoTest, FillsFieldsUpToTheFailure) {
  const std::string path = folder_.Write("b", Torrent().Root("comment", Str("c")).Drop("pieces").text());
  TorrentInfo* info = [[[TorrentInfo alloc] init] autorelease];
  EXPECT_EQ(NO, [info parseTorrentFile:[NSString stringWithUTF8String:path.c_str()]]);
  EXPECT_EQ("c", Text(info.comment));
  EXPECT_EQ("name", Text(info.name));
  EXPECT_EQ(1u, info.numPieces);
}

TEST_F(TorrentInfoTest, LeavesNoTextWithTheThread) {
  ASSERT_NE(nil, Read(Torrent().Root("comment", Str(std::string(1000, 'c')))));
  EXPECT_EQ(nullptr, core::GetTLS()->temp_wide);
  ASSERT_EQ(nil, Read(Torrent().Root("comment", Str("c")).Drop("pieces")));
  EXPECT_EQ(nullptr, core::GetTLS()->temp_wide);
}

class StringWithTStrTest : public PoolTest {};

TEST_F(StringWithTStrTest, MakesAString) {
  EXPECT_EQ("", Text([NSString stringWithTStr:L""]));
  EXPECT_EQ("abc", Text([NSString stringWithTStr:L"abc"]));
  EXPECT_EQ("\xC3\xA9\xE4\xB8\xAD", Text([NSString stringWithTStr:L"\x00E9\x4E2D"]));
}

TEST_F(StringWithTStrTest, MakesNoneOfNull) { EXPECT_EQ(nil, [NSString stringWithTStr:nullptr]); }

TEST_F(StringWithTStrTest, IsEmptyWhenThePlatformRefusesTheText) {
  EXPECT_EQ("", Text([NSString stringWithTStr:L"a\xD83D\xDE00"]));
  EXPECT_EQ("", Text([NSString stringWithTStr:L"a\x1F600"]));
  const wchar_t negative[] = {'a', static_cast<wchar_t>(0xFFFFFFE9), 0};
  EXPECT_EQ("", Text([NSString stringWithTStr:negative]));
}

}  // namespace
