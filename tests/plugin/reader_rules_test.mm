// The rules by which a torrent is read or refused: structure, limits and where it may lie.
#include "tests/plugin/reader_rules.h"

#include <sys/stat.h>

namespace {

// The same through the interface that is given a path.
class ReaderRulesByPath : public ReaderRules {
 protected:
  bool Call(const std::string& path, NSMutableDictionary* attributes) const override {
    auto** importer = Query<MDImporterInterfaceStruct>(instance_, kMDImporterInterfaceID);
    const bool imported =
        (*importer)->ImporterImportData(importer, (CFMutableDictionaryRef)attributes, nullptr, (CFStringRef)Text(path));
    (*importer)->Release(importer);
    return imported;
  }
};

TEST_F(ReaderRules, PlainTorrentIsRead) { EXPECT_EQ(Import(Torrent()), kRead); }

TEST_F(ReaderRules, AttributesOfEarlierImportsStayWhereTheTorrentHasNone) {
  NSMutableDictionary* attributes = [NSMutableDictionary dictionaryWithObject:@"old" forKey:@"kMDItemComment"];
  [attributes setObject:@"old" forKey:@"kMDItemCreator"];
  ASSERT_TRUE(Call(temp_.Write("a.torrent", Torrent({}, {{"comment", Str("")}})), attributes));
  EXPECT_EQ([attributes count], 4u);
  EXPECT_EQ(Utf8([attributes objectForKey:@"kMDItemComment"]), "old");
  EXPECT_EQ(Utf8([attributes objectForKey:@"kMDItemCreator"]), "old");
}

TEST_F(ReaderRules, PieceLengthIsThirtyTwoBitsWithinItsLimits) {
  const auto with = [](const std::string& number) { return Torrent({{"piece length", number}}); };
  ExpectEach({{"one below the least", with(Int(16383)), kRefused},
              {"least", with(Int(16384)), kRead},
              {"one above the least", with(Int(16385)), kRead},
              {"one below the largest", with(Int(33554431)), kRead},
              {"largest", with(Int(33554432)), kRead},
              {"one above the largest", with(Int(33554433)), kRefused},
              {"zero", with(Int(0)), kRefused},
              {"least, negative", with(Int(-16384)), kRefused},
              {"least, wrapped", with(Int(4294983680)), kRead},
              {"least, wrapped from below", with(Int(-4294950912)), kRead},
              {"one below the least, wrapped", with(Int(4294983679)), kRefused},
              {"one above the largest, wrapped", with(Int(4328521729)), kRefused},
              {"saturated, so -1", with("i99999999999999999999e"), kRefused},
              {"text", with(Str("16384")), kRefused},
              {"list", with(List({Int(16384)})), kRefused},
              {"missing", with(""), kRefused}});
}

TEST_F(ReaderRules, WrappedPieceLengthIsTheOneThatDividesTheFile) {
  ExpectEach(
      {{"one piece", Torrent({{"piece length", Int(4294983680)}, {"length", Int(16384)}}), "16.0 kB in 1 file [n]"},
       {"two pieces", Torrent({{"piece length", Int(4294983680)}, {"length", Int(16385)}, {"pieces", Hashes(2)}}),
        "16.0 kB in 1 file [n]"},
       {"two pieces, one hash", Torrent({{"piece length", Int(4294983680)}, {"length", Int(16385)}}), kRefused}});
}

TEST_F(ReaderRules, IntegersAreReadLeniently) {
  const auto with = [](const std::string& text) { return Torrent({{"piece length", "i" + text + "e"}}); };
  ExpectEach({{"leading zeros", with("0016384"), kRead},
              {"plus sign", with("+16384"), kRead},
              {"leading spaces", with("  16384"), kRead},
              {"space and sign", with(" +16384"), kRead},
              {"text behind", with("16384x"), kRead},
              {"fraction", with("16384.9"), kRead},
              {"two signs", with("+-16384"), kRefused},
              {"space behind the sign", with("- 16384"), kRefused},
              {"hexadecimal", with("0x4000"), kRefused},
              {"nothing", with(""), kRefused},
              {"sign alone", with("-"), kRefused},
              {"negative zero", with("-0"), kRefused}});
}

TEST_F(ReaderRules, PieceCountIsTheLengthRoundedUp) {
  const auto with = [](long long length, size_t hashes) {
    return Torrent({{"length", Int(length)}, {"pieces", Hashes(hashes)}});
  };
  ExpectEach({{"0", with(0, 0), kRefused},
              {"0, with a hash", with(0, 1), kRefused},
              {"1", with(1, 1), "1 B in 1 file [n]"},
              {"one below a piece", with(16383, 1), "15.9 kB in 1 file [n]"},
              {"a piece", with(16384, 1), "16.0 kB in 1 file [n]"},
              {"a piece, two hashes", with(16384, 2), kRefused},
              {"one above a piece", with(16385, 2), "16.0 kB in 1 file [n]"},
              {"one above a piece, one hash", with(16385, 1), kRefused},
              {"two pieces", with(32768, 2), "32.0 kB in 1 file [n]"}});
}

TEST_F(ReaderRules, PieceCountHasALimit) {
  const auto with = [](long long piece_length, long long length, size_t hashes) {
    return Torrent({{"piece length", Int(piece_length)}, {"length", Int(length)}, {"pieces", Hashes(hashes)}});
  };
  ExpectEach({{"on it", with(16384, 17179852800, 1048575), "15.9 GB in 1 file [n]"},
              {"one byte above", with(16384, 17179852801, 1048576), kRefused},
              {"on it, with the largest pieces", with(33554432, 35184338534400, 1048575), "31.9 TB in 1 file [n]"}});
}

TEST_F(ReaderRules, PieceCountKeepsItsLowThirtyTwoBits) {
  const auto with = [](long long length, size_t hashes) {
    return Torrent({{"length", Int(length)}, {"pieces", Hashes(hashes)}});
  };
  ExpectEach({{"2^32 pieces are none", with(70368744177664, 0), kRefused},
              {"2^32 pieces are none, not one", with(70368744177664, 1), kRefused},
              {"2^32 + 1 pieces are one", with(70368744194048, 1), "64.0 TB in 1 file [n]"},
              {"2^32 + 1 pieces are not two", with(70368744194048, 2), kRefused},
              {"2^32 + 2 pieces are two", with(70368744194049, 2), "64.0 TB in 1 file [n]"},
              {"the largest length: 2^49 pieces", with(INT64_MAX, 0), kRefused},
              {"a saturated length: 2^49 pieces", Torrent({{"length", "i9223372036854775808e"}}), kRefused},
              {"2^50 - 1 pieces", with(-16384, 1), kRefused},
              {"rounding up wraps to 0", with(-1, 0), kRefused},
              {"rounding up wraps to 0, with a hash", with(-16383, 1), kRefused},
              {"the smallest length: 2^49 pieces", with(INT64_MIN, 1), kRefused}});
}

TEST_F(ReaderRules, NegativeLengthWhosePieceCountWrapsToOneIsRead) {
  const std::string outcome = Import(Torrent({{"length", Int(-70368744161280)}}));  // 2^50 - 2^32 + 1 pieces
  const std::string end = " in 1 file [n]";
  ASSERT_GT(outcome.size(), end.size());
  EXPECT_EQ(outcome.substr(outcome.size() - end.size()), end);
}

TEST_F(ReaderRules, LengthsAddUpModulo64Bits) {
  ExpectEach(
      {{"negative and positive", Files({File(Path({"a"}), -1000), File(Path({"b"}), 2536)}), "1.5 kB in 2 files [a|b]"},
       {"beyond 64 bits", Files({File(Path({"a"}), INT64_MAX), File(Path({"b"}), INT64_MAX), File(Path({"c"}), 1538)}),
        "1.5 kB in 3 files [a|b|c]"},
       {"sum of 0", Files({File(Path({"a"}), -5), File(Path({"b"}), 5)}), kRefused},
       {"smallest twice is nothing",
        Files({File(Path({"a"}), INT64_MIN), File(Path({"b"}), INT64_MIN), File(Path({"c"}), 7)}),
        "7 B in 3 files [a|b|c]"}});
}

TEST_F(ReaderRules, LengthThatIsNoIntegerIsZero) {
  const std::string without = Dict({{"path", Path({"a"})}});
  const std::string text = Dict({{"length", Str("5")}, {"path", Path({"b"})}});
  ExpectEach({{"missing", Files({without, File(Path({"c"}), 3)}), "3 B in 2 files [a|c]"},
              {"text", Files({text, File(Path({"c"}), 3)}), "3 B in 2 files [b|c]"},
              {"none at all", Files({without, text}), kRefused},
              {"single file, missing", Torrent({{"length", ""}}), kRefused},
              {"single file, text", Torrent({{"length", Str("1536")}}), kRefused}});
}

TEST_F(ReaderRules, PiecesAreExactlyTwentyBytesEach) {
  const auto with = [](const std::string& pieces) { return Torrent({{"pieces", pieces}}); };
  ExpectEach({{"one byte less", with(Str(std::string(19, 'h'))), kRefused},
              {"as many", with(Str(std::string(20, '\0'))), kRead},
              {"one byte more", with(Str(std::string(21, 'h'))), kRefused},
              {"none", with(Str("")), kRefused},
              {"hash of another piece", with(Hashes(2)), kRefused},
              {"list", with(List({Str(std::string(20, 'h'))})), kRefused},
              {"integer", with(Int(20)), kRefused},
              {"missing", with(""), kRefused}});
}

TEST_F(ReaderRules, InfoIsADictionary) {
  ExpectEach({{"missing", Torrent({}, {{"info", ""}}), kRefused},
              {"list", Torrent({}, {{"info", List({Info()})}}), kRefused},
              {"text", Torrent({}, {{"info", Str(Info())}}), kRefused},
              {"empty", Torrent({}, {{"info", "de"}}), kRefused},
              {"other case", Torrent({}, {{"info", ""}, {"Info", Info()}}), kRefused},
              {"zero byte behind", Torrent({}, {{"info", ""}, {Bytes("info\0"), Info()}}), kRefused},
              {"entries at the root", "d" + Info().substr(1), kRefused}});
}

TEST_F(ReaderRules, FilesIsAListOfDictionaries) {
  const std::string file = File(Path({"a"}));
  const auto with = [](const std::string& files) { return Torrent({{"files", files}}); };
  ExpectEach({{"list wins over length", Torrent({{"length", Int(5)}, {"files", List({file})}}), "1.5 kB in 1 file [a]"},
              {"empty list", with("le"), kRefused},
              {"empty list without hashes", Torrent({{"files", "le"}, {"pieces", Str("")}}), kRefused},
              {"dictionary is no list", with(file), kRead},
              {"integer is no list", with(Int(1)), kRead},
              {"text is no list", with(Str("le")), kRead},
              {"no list and no length", Torrent({{"length", ""}, {"files", Int(1)}}), kRefused},
              {"integer in the list", with(List({file, Int(1)})), kRefused},
              {"text in the list", with(List({Str("x"), file})), kRefused},
              {"list in the list", with(List({List({file})})), kRefused},
              {"empty dictionary in the list", with(List({file, "de"})), kRefused},
              {"name is needed", Torrent({{"name", ""}, {"files", List({file})}}), kRefused}});
}

TEST_F(ReaderRules, WhatIsNotShownCannotFail) {
  std::string long_seeds = "l";
  for (const size_t len : {500, 515, 514, 1, 1015, 1016, 1017, 1018, 1019, 1023, 1024, 1025, 3000}) {
    long_seeds += Str(std::string(len, 's'));
  }
  const auto with = [](const std::string& key, const std::string& value) { return Torrent({}, {{key, value}}); };
  const std::string trackers = List({Str("t"), List({Str("u"), Int(1), Str("\xFF"), Str(kFace), Str("")}), "de", "le"});
  ExpectEach({{"tiers of all kinds", with("announce-list", trackers), kRead},
              {"no tiers", with("announce-list", "le"), kRead},
              {"tiers as text", with("announce-list", Str("t")), kRead},
              {"tracker as an integer", with("announce", Int(1)), kRead},
              {"tracker that does not decode", with("announce", Str("\xFF")), kRead},
              {"seed as text", with("url-list", Str("s")), kRead},
              {"seed that is not UTF-8", with("url-list", Str("\xFF")), kRead},
              {"seeds of all kinds", with("url-list", List({Int(1), Str("\xFF"), List({Str("s")}), Str(""), Str("s")})),
               kRead},
              {"seeds above U+FFFF", with("url-list", List({Str(kFace), Str(Bytes("s\0t"))})), kRead},
              {"long seeds", with("url-list", long_seeds + "e"), kRead},
              {"seed of all that fits, first", with("url-list", List({Str(std::string(1015, 's')), Str("t")})), kRead},
              {"many seeds", with("url-list", List(std::vector<std::string>(2000, Str("s")))), kRead},
              {"seeds as a dictionary", with("url-list", "de"), kRead},
              {"date far away", with("creation date", "i99999999999999999999e"), kRead},
              {"date before the epoch", with("creation date", Int(-1)), kRead},
              {"date as text", with("creation date", Str("1")), kRead},
              {"private", Torrent({{"private", Int(1)}}), kRead},
              {"private as text", Torrent({{"private", Str("1")}}), kRead},
              {"deep nesting", with("x", std::string(100000, 'l') + std::string(100000, 'e')), kRead}});
}

TEST_F(ReaderRules, KeysMayComeInAnyOrderButOnce) {
  const std::string info = Str("info") + Info();
  const std::string comment = Str("comment") + Str("c");
  const std::string says = std::string(kRead) + " says <c>";
  const std::string hashes = Str("pieces") + Hashes(1);
  const auto in_file = [](const std::string& entries) { return Files({"d" + entries + "e"}); };
  const std::string length = Str("length") + Int(1536);
  ExpectEach(
      {{"info first", "d" + info + comment + "e", says},
       {"info last", "d" + comment + info + "e", says},
       {"root key twice", "d" + comment + info + comment + "e", kRefused},
       {"info twice", "d" + info + info + "e", kRefused},
       {"unused key twice", "d" + info + "1:x1:a1:x1:be", kRefused},
       {"key in the info dictionary twice", "d4:infod" + hashes + Info().substr(1) + "e", kRefused},
       {"key of a file twice", in_file(length + length + "4:path" + Path({"a"})), kRefused},
       {"key in something unused twice", Torrent({}, {{"x", "ld1:ai1e1:ai1eee"}}), kRefused},
       {"zero byte makes another key", Torrent({}, {{Bytes("info\0"), "de"}, {"infos", "de"}}), kRead},
       {"the same up to a zero byte, as long", Torrent({}, {{Bytes("a\0b"), Int(1)}, {Bytes("a\0c"), Int(1)}}),
        kRefused},
       {"the same up to a zero byte, longer", Torrent({}, {{Bytes("a\0b"), Int(1)}, {Bytes("a\0bc"), Int(1)}}), kRead},
       {"empty key", Torrent({}, {{"", Str("x")}}), kRead},
       {"empty key twice", "d0:1:x" + info + "00:1:xe", kRefused},
       {"leading zeros in a length", "d04:info" + Info() + "e", kRead},
       {"the same key with leading zeros", "d04:info" + Info() + info + "e", kRefused},
       {"length modulo 2^64", "d18446744073709551620:info" + Info() + "e", kRead},
       {"length modulo 2^32 is too long", "d4294967300:info" + Info() + "e", kRefused},
       {"integer as a key", "d" + info + "i1e1:xe", kRefused},
       {"list as a key", "d" + info + "le1:xe", kRefused},
       {"key without a value", "d" + info + "1:xe", kRefused},
       {"bad byte for a value", "d" + info + "1:x?e", kRefused},
       {"bad byte for a key", "d" + info + "?e", kRefused}});
}

TEST_F(ReaderRules, RootIsOneDictionaryAndTheRestIsLeft) {
  const std::string torrent = Torrent();
  const auto cut = [&](size_t bytes) { return torrent.substr(0, torrent.size() - bytes); };
  ExpectEach({{"text behind", torrent + "junk", kRead},
              {"line end behind", torrent + "\n", kRead},
              {"torrent behind", torrent + torrent, kRead},
              {"zero byte behind", torrent + Bytes("\0"), kRead},
              {"space before", " " + torrent, kRefused},
              {"byte order mark before", "\xEF\xBB\xBF" + torrent, kRefused},
              {"in a list", "l" + torrent + "e", kRefused},
              {"as a text", Str(torrent), kRefused},
              {"last end missing", cut(1), kRefused},
              {"both ends missing", cut(2), kRefused},
              {"last hash byte missing", cut(3), kRefused},
              {"unfinished integer behind the last key", cut(1) + "1:xi12", kRefused},
              {"string beyond the end", cut(1) + "1:x9:ae", kRefused},
              {"string far beyond the end", cut(1) + "1:x18446744073709551615:e", kRefused},
              {"nothing", "", kRefused}});
}

TEST_F(ReaderRules, EveryCutIsRefused) {
  const std::string torrent = Files({File(Path({"a", "b"})), File(Path({"c"}), 5)});
  ASSERT_EQ(Import(torrent), "1.5 kB in 2 files [a/b|c]");
  for (size_t len = 0; len < torrent.size(); len++) {
    SCOPED_TRACE(len);
    EXPECT_EQ(Import(torrent.substr(0, len)), kRefused);
  }
}

TEST_F(ReaderRules, BadBytesInListsAreSkippedAfterAScalarAndEndTheListElsewhere) {
  const auto path = [](const std::string& list) { return Files({File(list)}); };
  const auto files = [](const std::string& list) { return Torrent({{"files", list}}); };
  const auto seeds = [](const std::string& list) { return Torrent({}, {{"url-list", list}}); };
  const std::string file = File(Path({"a"}));
  ExpectEach({{"between components", path("l1:a?1:be"), "1.5 kB in 1 file [a/b]"},
              {"after each component", path("l1:a?1:b?e"), "1.5 kB in 1 file [a/b]"},
              {"twice ends the list", path("l1:a??"), "1.5 kB in 1 file [a]"},
              {"twice, and more behind", path("l1:a??1:be"), kRefused},
              {"first in the list", path("l?"), kRefused},
              {"in place of the end of the files", files("l" + file + "?"), "1.5 kB in 1 file [a]"},
              {"between the files", files("l" + file + "?" + file + "e"), kRefused},
              {"after an integer among the files", files("l" + file + "i1e?e"), kRefused},
              {"ends an empty list", seeds("l?"), kRead},
              {"ends a list in a list", seeds("l1:al?e"), kRead},
              {"ends two lists", seeds("ll??"), kRead},
              {"ends a list after a dictionary", seeds("ld1:ai1ee?"), kRead},
              {"in a dictionary in a list", seeds("ld?ee"), kRefused},
              {"string beyond the end", seeds("l99999:abce"), kRefused},
              {"string beyond the end after a scalar", seeds("l1:a99999:abce"), kRefused}});
}

TEST_F(ReaderRules, RootListEndedByABadByteIsNoDictionary) {
  ExpectEach({{"empty", "l?" + Torrent(), kRefused}, {"broken string", "l5:abce", kRefused}});
}

// What stands at paths that hold no torrent, and at some that do.
void ExpectOnlyRegularFilesAreRead(const TempFolder& folder, auto import) {
  const std::string torrent = folder.Write("real/a.torrent", Torrent());
  const auto path = [&](const char* name) { return (folder.path() / name).string(); };
  std::filesystem::create_directory(path("folder.torrent"));
  std::filesystem::create_symlink(torrent, path("link.torrent"));
  std::filesystem::create_symlink(path("nothing"), path("dangling.torrent"));
  std::filesystem::create_symlink(path("loop.torrent"), path("loop.torrent"));
  std::filesystem::create_directory_symlink(path("real"), path("linked"));
  ASSERT_EQ(mkfifo(path("pipe.torrent").c_str(), 0600), 0);
  folder.Write("empty.torrent", "");
  for (const char* name : {"real/a.torrent", "link.torrent", "linked/a.torrent", "real/../real/./a.torrent"}) {
    EXPECT_EQ(import(path(name)), kRead) << name;
  }
  for (const char* name : {"folder.torrent", "dangling.torrent", "loop.torrent", "pipe.torrent", "empty.torrent",
                           "missing.torrent", "nowhere/a.torrent", "real/a.torrent/a.torrent"}) {
    EXPECT_EQ(import(path(name)), kRefused) << name;
  }
  EXPECT_EQ(import("/dev/null"), kRefused);
  EXPECT_EQ(import("/dev/zero"), kRefused);
}

TEST_F(ReaderRules, OnlyRegularFilesAreRead) {
  ExpectOnlyRegularFilesAreRead(temp_, [this](const std::string& path) { return ImportFile(path); });
}

TEST_F(ReaderRulesByPath, OnlyRegularFilesAreRead) {
  ExpectOnlyRegularFilesAreRead(temp_, [this](const std::string& path) { return ImportFile(path); });
}

TEST_F(ReaderRulesByPath, AttributesAreTheSame) {
  ExpectEach({{"single file", Torrent({}, {{"created by", Str("c")}}), std::string(kRead) + " by <c>"},
              {"several files", Files({File(Path({"a", "b "})), File(Path({"c"}))}), "3.0 kB in 2 files [a/b_|c]"},
              {"no torrent", "de", kRefused}});
}

}  // namespace
