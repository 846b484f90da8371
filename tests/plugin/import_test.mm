// What the importer makes of torrent files, called through the bundle as the metadata service does.
#include <malloc.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "tests/plugin/bundle.h"
#include "tests/plugin/torrent_bytes.h"
#include "tests/support/temp_folder.h"

// File URLs whose path cannot be asked for without an exception, of either kind, and one without any.
@interface RaisingURL : NSURL
@end

@implementation RaisingURL
- (NSString*)path {
  [NSException raise:@"Refusal" format:@"no path"];
  return nil;
}
@end

@interface ThrowingURL : NSURL
@end

@implementation ThrowingURL
- (NSString*)path {
  throw 1;
}
@end

@interface PathlessURL : NSURL
@end

@implementation PathlessURL
- (NSString*)path {
  return nil;
}
@end

namespace {

// A URL of `kind`, which the class methods of NSURL would not give.
NSURL* URLOfKind(Class kind) { return [[[kind alloc] initFileURLWithPath:@"/a.torrent"] autorelease]; }

constexpr char kFileNames[] = "org_sorrel_torrent_filenames";

using Names = std::multiset<std::string>;

class Import : public BundleTest {
 protected:
  void SetUp() override {
    BundleTest::SetUp();
    ASSERT_FALSE(HasFatalFailure());
    importer_ = Query<MDImporterURLInterfaceStruct>(instance_, kMDImporterURLInterfaceID);
  }
  void TearDown() override {
    if (importer_) {
      EXPECT_EQ((*importer_)->Release(importer_), 1u);
    }
    BundleTest::TearDown();
  }

  bool ImportURL(NSURL* url) const {
    return (*importer_)
        ->ImporterImportURLData(importer_, (CFMutableDictionaryRef)attributes_, CFSTR("org.bittorrent.torrent"),
                                (CFURLRef)url);
  }

  bool ImportFile(const std::string& path) const { return ImportURL([NSURL fileURLWithPath:Text(path)]); }

  bool ImportBytes(const std::string& bytes) const { return ImportFile(temp_.Write("a.torrent", bytes)); }

  std::string Value(const char* key) const { return Utf8([attributes_ objectForKey:Text(key)]); }

  Names FileNames() const {
    Names names;
    NSArray* list = [attributes_ objectForKey:Text(kFileNames)];
    for (NSUInteger i = 0; i < [list count]; i++) {
      names.insert(Utf8([list objectAtIndex:i]));
    }
    return names;
  }

  TempFolder temp_;
  NSMutableDictionary* const attributes_ = [NSMutableDictionary dictionary];
  MDImporterURLInterfaceStruct** importer_ = nullptr;
};

TEST_F(Import, SingleFileTorrentGivesItsAttributes) {
  TorrentBytes torrent;
  torrent.texts = {{"comment", "A comment"}, {"created by", "A maker 1.0"}};
  EXPECT_TRUE(ImportBytes(torrent.Build()));
  EXPECT_EQ([attributes_ count], 4u);
  EXPECT_EQ(Value("kMDItemComment"), "A comment");
  EXPECT_EQ(Value("kMDItemCreator"), "A maker 1.0");
  EXPECT_EQ(Value("kMDItemDescription"), "1.5 kB in 1 file");
  EXPECT_EQ(FileNames(), Names{"name.bin"});
}

TEST_F(Import, DescriptionBeginsWithTheSizeInItsLargestUnit) {
  struct Case {
    uint64_t bytes;
    const char* description;
  };
  const Case cases[] = {{1, "1 B in 1 file"},
                        {700, "700 B in 1 file"},
                        {1023, "1023 B in 1 file"},
                        {1024, "1.0 kB in 1 file"},
                        {1048575, "1023.9 kB in 1 file"},
                        {1048576, "1.0 MB in 1 file"},
                        {4617089843, "4.2 GB in 1 file"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.description);
    TorrentBytes torrent;
    torrent.length = c.bytes;
    EXPECT_TRUE(ImportBytes(torrent.Build()));
    EXPECT_EQ(Value("kMDItemDescription"), c.description);
  }
}

TEST_F(Import, SeveralFilesAreCountedAndListed) {
  TorrentBytes torrent;
  torrent.files = {{"b.txt", 1000}, {"a.txt", 24}, {"c.txt", 512}};
  EXPECT_TRUE(ImportBytes(torrent.Build()));
  EXPECT_EQ(Value("kMDItemDescription"), "1.5 kB in 3 files");
  EXPECT_EQ(FileNames(), (Names{"a.txt", "b.txt", "c.txt"}));
}

TEST_F(Import, FilesOfOnePathCountOnce) {
  TorrentBytes torrent;
  torrent.files = {{"same", 1024}, {"same", 512}};
  EXPECT_TRUE(ImportBytes(torrent.Build()));
  EXPECT_EQ(Value("kMDItemDescription"), "1.5 kB in 1 file");
  EXPECT_EQ(FileNames(), Names{"same"});
}

TEST_F(Import, ListOfOneFileIsOneFile) {
  TorrentBytes torrent;
  torrent.files = {{"only", 5}};
  EXPECT_TRUE(ImportBytes(torrent.Build()));
  EXPECT_EQ(Value("kMDItemDescription"), "5 B in 1 file");
  EXPECT_EQ(FileNames(), Names{"only"});
}

TEST_F(Import, MissingTextsHaveNoKeys) {
  EXPECT_TRUE(ImportBytes(TorrentBytes().Build()));
  EXPECT_EQ([attributes_ objectForKey:@"kMDItemCreator"], nil);
  EXPECT_EQ([attributes_ objectForKey:@"kMDItemComment"], nil);
  EXPECT_EQ([attributes_ count], 2u);
}

TEST_F(Import, EmptyCreatorIsWrittenAndEmptyCommentIsNot) {
  TorrentBytes torrent;
  torrent.texts = {{"comment", ""}, {"created by", ""}};
  EXPECT_TRUE(ImportBytes(torrent.Build()));
  EXPECT_NE([attributes_ objectForKey:@"kMDItemCreator"], nil);
  EXPECT_EQ(Value("kMDItemCreator"), "");
  EXPECT_EQ([attributes_ objectForKey:@"kMDItemComment"], nil);
}

TEST_F(Import, CommentOfOneCharacterIsWritten) {
  TorrentBytes torrent;
  torrent.texts = {{"comment", "x"}};
  EXPECT_TRUE(ImportBytes(torrent.Build()));
  EXPECT_EQ(Value("kMDItemComment"), "x");
}

TEST_F(Import, TextsKeepTheirCharacters) {
  TorrentBytes torrent;
  torrent.texts = {{"comment", "100 % %@ \xE2\x82\xAC\n2"}};
  torrent.name = "\xE4\xB8\xAD %d.bin";
  EXPECT_TRUE(ImportBytes(torrent.Build()));
  EXPECT_EQ(Value("kMDItemComment"), torrent.texts[0].second);
  EXPECT_EQ(FileNames(), Names{torrent.name});
}

TEST_F(Import, FileNamesAreAnArrayOfStrings) {
  EXPECT_TRUE(ImportBytes(TorrentBytes().Build()));
  NSArray* names = [attributes_ objectForKey:Text(kFileNames)];
  ASSERT_TRUE([names isKindOfClass:[NSArray class]]);
  EXPECT_TRUE([[names objectAtIndex:0] isKindOfClass:[NSString class]]);
}

TEST_F(Import, OwnKeysAreReplacedAndOthersKept) {
  [attributes_ setObject:@"old" forKey:@"kMDItemDescription"];
  [attributes_ setObject:@"old" forKey:@"kMDItemTitle"];
  EXPECT_TRUE(ImportBytes(TorrentBytes().Build()));
  EXPECT_EQ(Value("kMDItemDescription"), "1.5 kB in 1 file");
  EXPECT_EQ(Value("kMDItemTitle"), "old");
}

TEST_F(Import, FileThatIsNoTorrentLeavesTheAttributesUntouched) {
  const std::string valid = TorrentBytes().Build();
  const std::string cases[] = {"", "x", "de", "le", "i1e", valid.substr(0, valid.size() / 2), "d4:info" + valid + "e"};
  [attributes_ setObject:@"old" forKey:@"kMDItemDescription"];
  for (const std::string& bytes : cases) {
    SCOPED_TRACE(bytes);
    EXPECT_FALSE(ImportBytes(bytes));
  }
  EXPECT_EQ([attributes_ count], 1u);
  EXPECT_EQ(Value("kMDItemDescription"), "old");
}

TEST_F(Import, WhatIsNoReadableFileIsRefused) {
  EXPECT_FALSE(ImportFile((temp_.path() / "missing.torrent").string()));
  EXPECT_FALSE(ImportFile(temp_.path().string()));
  EXPECT_EQ([attributes_ count], 0u);
}

TEST_F(Import, OnlyFileURLsAreImported) {
  const std::string path = temp_.Write("a.torrent", TorrentBytes().Build());
  EXPECT_TRUE(ImportURL([NSURL URLWithString:Text("file://" + path)]));
  [attributes_ removeAllObjects];
  for (const char* scheme : {"http://localhost", "ftp://localhost", "data:"}) {
    SCOPED_TRACE(scheme);
    EXPECT_FALSE(ImportURL([NSURL URLWithString:Text(scheme + path)]));
  }
  EXPECT_FALSE(ImportURL(nil));
  EXPECT_EQ([attributes_ count], 0u);
}

TEST_F(Import, URLWithoutAPathIsRefused) {
  EXPECT_FALSE(ImportURL(URLOfKind([PathlessURL class])));
  EXPECT_FALSE(ImportURL([NSURL URLWithString:@"file:"]));
}

TEST_F(Import, NowhereToPutAttributesIsRefused) {
  NSURL* url = [NSURL fileURLWithPath:Text(temp_.Write("a.torrent", TorrentBytes().Build()))];
  EXPECT_FALSE((*importer_)->ImporterImportURLData(importer_, nullptr, nullptr, (CFURLRef)url));
}

TEST_F(Import, InstanceAndTypeAreNotLookedAt) {
  NSURL* url = [NSURL fileURLWithPath:Text(temp_.Write("a.torrent", TorrentBytes().Build()))];
  const auto function = (*importer_)->ImporterImportURLData;
  for (void* interface : {static_cast<void*>(nullptr), reinterpret_cast<void*>(1)}) {
    EXPECT_TRUE(function(interface, (CFMutableDictionaryRef)attributes_, (CFStringRef)interface, (CFURLRef)url));
  }
}

TEST_F(Import, NothingRaisedBelowGetsOut) {
  EXPECT_FALSE(ImportURL(URLOfKind([RaisingURL class])));
  EXPECT_FALSE(ImportURL(URLOfKind([ThrowingURL class])));
}

TEST_F(Import, DictionaryThatRefusesIsAFailure) {
  NSURL* url = [NSURL fileURLWithPath:Text(temp_.Write("a.torrent", TorrentBytes().Build()))];
  NSDictionary* fixed = [NSDictionary dictionaryWithObject:@"b" forKey:@"a"];
  EXPECT_FALSE((*importer_)->ImporterImportURLData(importer_, (CFMutableDictionaryRef)fixed, nullptr, (CFURLRef)url));
}

TEST_F(Import, AttributesBelongToTheDictionaryAlone) {
  TorrentBytes torrent;
  torrent.texts = {{"comment", "A comment long enough to be an object of its own"},
                   {"created by", "A maker with a name long enough for the same"}};
  EXPECT_TRUE(ImportBytes(torrent.Build()));
  NSArray* keys = [attributes_ allKeys];
  for (NSUInteger i = 0; i < [keys count]; i++) {
    EXPECT_EQ([[attributes_ objectForKey:[keys objectAtIndex:i]] retainCount], 1u) << Utf8([keys objectAtIndex:i]);
  }
}

TEST_F(Import, PathInterfaceImportsTheSame) {
  auto** by_path = Query<MDImporterInterfaceStruct>(instance_, kMDImporterInterfaceID);
  for (const char* name : {"plain.torrent", "a b%20c.torrent", "\xE4\xB8\xAD.torrent", "q?u#e;r.torrent"}) {
    SCOPED_TRACE(name);
    [attributes_ removeAllObjects];
    const std::string path = temp_.Write(name, TorrentBytes().Build());
    EXPECT_TRUE(
        (*by_path)->ImporterImportData(by_path, (CFMutableDictionaryRef)attributes_, nullptr, (CFStringRef)Text(path)));
    EXPECT_EQ(Value("kMDItemDescription"), "1.5 kB in 1 file");
  }
  EXPECT_EQ((*by_path)->Release(by_path), 2u);
}

TEST_F(Import, PathInterfaceRefusesWhatIsNoFile) {
  auto** by_path = Query<MDImporterInterfaceStruct>(instance_, kMDImporterInterfaceID);
  for (CFStringRef path : {CFStringRef{nullptr}, CFSTR(""), CFSTR("/missing/a.torrent")}) {
    EXPECT_FALSE((*by_path)->ImporterImportData(by_path, (CFMutableDictionaryRef)attributes_, nullptr, path));
  }
  EXPECT_EQ([attributes_ count], 0u);
  EXPECT_EQ((*by_path)->Release(by_path), 2u);
}

TEST_F(Import, RepeatedImportsDoNotGrow) {
  TorrentBytes torrent;
  torrent.texts = {{"comment", "A comment"}};
  torrent.files = {{"a", 1}, {"b", 2}, {"c", 3}};
  NSURL* good = [NSURL fileURLWithPath:Text(temp_.Write("good.torrent", torrent.Build()))];
  NSURL* bad = [NSURL fileURLWithPath:Text(temp_.Write("bad.torrent", torrent.Build().substr(0, 40)))];
  NSURL* raising = URLOfKind([RaisingURL class]);
  const auto import_all = [&](int times) {
    for (int i = 0; i < times; i++) {
      EXPECT_TRUE(ImportURL(good));
      EXPECT_FALSE(ImportURL(bad));
      EXPECT_FALSE(ImportURL(raising));
      [attributes_ removeAllObjects];
    }
  };
  import_all(50);
  // In a build with the leak checker the counts are zero, and the checker looks for itself.
  const size_t before = mallinfo2().uordblks;
  import_all(500);
  EXPECT_LT(mallinfo2().uordblks, before + 4000);  // one lost object per import would be 500 blocks or more
}

// Imports `url` on a thread of its own, again and again, and counts what comes out wrong.
void ImportAgainAndAgain(MDImporterURLInterfaceStruct** importer, NSURL* url, std::atomic<int>* wrong) {
  GSRegisterCurrentThread();
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  for (int i = 0; i < 50; i++) {
    NSMutableDictionary* attributes = [NSMutableDictionary dictionary];
    const bool imported =
        (*importer)->ImporterImportURLData(importer, (CFMutableDictionaryRef)attributes, nullptr, (CFURLRef)url);
    *wrong += !imported || ![[attributes objectForKey:(NSString*)kMDItemDescription] isEqual:@"1.5 kB in 2 files"];
  }
  [pool release];
  GSUnregisterCurrentThread();
}

TEST_F(Import, ThreadsImportAtOnce) {
  TorrentBytes torrent;
  torrent.files = {{"a", 1024}, {"b", 512}};
  NSURL* url = [NSURL fileURLWithPath:Text(temp_.Write("a.torrent", torrent.Build()))];
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; t++) {
    threads.emplace_back(ImportAgainAndAgain, importer_, url, &wrong);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
