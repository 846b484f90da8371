// One import by the plug-in's own function, linked into the test, and what must not change when it fails.
#pragma once

#include <unistd.h>

#include <map>
#include <optional>

#include "SpotlightImporter/GetMetadataForFile.h"
#include "core/base/host.h"
#include "tests/faults/system_calls.h"
#include "tests/plugin/foundation_test.h"
#include "tests/plugin/torrent_bytes.h"
#include "tests/support/platform_memory.h"
#include "tests/support/temp_folder.h"

namespace faults {

using test_host::LiveBlocks;

// Every key with the description of its value.
using Attributes = std::map<std::string, std::string>;

inline Attributes Copied(NSDictionary* dictionary) {
  Attributes copy;
  NSArray* keys = [dictionary allKeys];
  for (NSUInteger i = 0; i < [keys count]; i++) {
    copy[Utf8([keys objectAtIndex:i])] = Utf8([dictionary objectForKey:[keys objectAtIndex:i]]);
  }
  return copy;
}

// The lowest free descriptor: higher than before when one was left open.
inline int NextDescriptor() {
  const int fd = dup(STDIN_FILENO);
  close(fd);
  return fd;
}

inline NSURL* FileURL(const std::string& path) { return [NSURL fileURLWithPath:Text(path)]; }

inline bool ImportURL(NSURL* url, NSMutableDictionary* attributes) {
  return GetMetadataForURL(nullptr, (CFMutableDictionaryRef)attributes, nullptr, (CFURLRef)url);
}

class FaultyImport : public FoundationTest {
 protected:
  FaultyImport() { core::GetTLS(); }  // the thread's own block stays

  // What an import of the file writes; nothing when it is refused. A refusal must leave what was there.
  std::optional<Attributes> Import(const std::string& path) const { return Import(FileURL(path)); }

  std::optional<Attributes> Import(NSURL* url) const {
    NSAutoreleasePool* pool = [NSAutoreleasePool new];
    NSMutableDictionary* attributes =
        [NSMutableDictionary dictionaryWithObjectsAndKeys:@"old", @"kMDItemComment", @"other", @"kMDItemTitle", nil];
    const Attributes before = Copied(attributes);
    const bool imported = ImportURL(url, attributes);
    Attributes after = Copied(attributes);
    [pool release];
    EXPECT_EQ(after == before, !imported);
    return imported ? std::optional(after) : std::nullopt;
  }

  const CallsScope calls_;
  TempFolder temp_;
};

// Torrents that use most of what the importer reads.
inline TorrentBytes SingleFile() {
  TorrentBytes torrent;
  torrent.texts = {{"announce", "http://tracker.example/announce"},
                   {"comment", "A comment with a sign: \xE2\x82\xAC"},
                   {"created by", "A maker 1.0"},
                   {"url-list", "http://seed.example/"}};
  return torrent;
}

inline TorrentBytes SeveralFiles() {
  TorrentBytes torrent;
  torrent.texts = {{"comment", "A comment"}, {"created by", "A maker 1.0"}, {"encoding", "Windows-1252"}};
  torrent.files = {{"one.bin", 100000}, {"two.bin", 7}, {"three \xE9.bin", 16384}, {"three \xC3\xA9.bin", 1}};
  for (int i = 0; i < 20; i++) {
    torrent.files.emplace_back("file " + std::to_string(i), i);
  }
  return torrent;
}

// SeveralFiles with lists of trackers and web seeds.
inline std::string ListsOfEverything() {
  return "d13:announce-listll8:http://1e8:http://2l8:http://38:http://4ee8:url-listl8:http://58:http://6" +
         std::string("e") + SeveralFiles().Build().substr(1);
}

}  // namespace faults
