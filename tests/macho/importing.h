// One import through the URL interface of the bundle for macOS.
#pragma once

#include "tests/plugin/bundle.h"
#include "tests/plugin/torrent_bytes.h"
#include "tests/support/temp_folder.h"

class ImportingTest : public BundleTest {
 protected:
  void SetUp() override {
    BundleTest::SetUp();
    ASSERT_FALSE(HasFatalFailure());
    importer_ = Query<MDImporterURLInterfaceStruct>(instance_, kMDImporterURLInterfaceID);
    ASSERT_NE(importer_, nullptr);
  }
  void TearDown() override {
    if (importer_) {
      EXPECT_EQ((*importer_)->Release(importer_), 1u);
    }
    BundleTest::TearDown();
  }

  // Imports the file at `path`; the number of attributes, -1 when it is refused.
  int Import(const std::string& path) const {
    NSAutoreleasePool* pool = [NSAutoreleasePool new];
    NSMutableDictionary* attributes = [NSMutableDictionary dictionary];
    const bool imported = (*importer_)
                              ->ImporterImportURLData(importer_, (CFMutableDictionaryRef)attributes, nullptr,
                                                      (CFURLRef)[NSURL fileURLWithPath:Text(path)]);
    const int count = static_cast<int>([attributes count]);
    [pool release];
    return imported ? count : count == 0 ? -1 : -2;
  }

  TempFolder temp_;
  MDImporterURLInterfaceStruct** importer_ = nullptr;
};

// A torrent that uses most of what the importer reads.
inline std::string RichTorrent() {
  TorrentBytes torrent;
  torrent.texts = {{"announce", "http://tracker.example/announce"},
                   {"comment", "A comment with a sign: \xE2\x82\xAC"},
                   {"created by", "A maker 1.0"}};
  torrent.files = {{"one.bin", 100000}, {"two.bin", 7}, {"three \xC3\xA9.bin", 16384}};
  return torrent.Build();
}
