// Torrents changed in one respect, and what comes of importing them: whole files go in, attributes come out.
#pragma once

#include <algorithm>
#include <map>
#include <vector>

#include "tests/plugin/bundle.h"
#include "tests/reader/encoded.h"
#include "tests/support/scoped_locale.h"
#include "tests/support/temp_folder.h"

using encoded::Bytes;
using encoded::Dict;
using encoded::Fields;
using encoded::Int;
using encoded::List;
using encoded::Str;

inline constexpr char kRefused[] = "refused";
inline constexpr char kRead[] = "1.5 kB in 1 file [n]";  // what the torrent that the tests change is by itself

inline constexpr char kAcuteE[] = "\xC3\xA9";
inline constexpr char kAcuteEAsLatin1[] = "\xC3\x83\xC2\xA9";  // the two bytes of kAcuteE, each taken for a character
inline constexpr char kFace[] = "\xF0\x9F\x98\x80";            // a character above U+FFFF

inline std::string Hashes(size_t count) { return Str(std::string(count * 20, 'h')); }

// Sets each of `changes` in `entries`; an empty value removes the key.
inline void Change(std::map<std::string, std::string>& entries, const Fields& changes) {
  for (const auto& [key, value] : changes) {
    entries[key] = value;
    if (value.empty()) {
      entries.erase(key);
    }
  }
}

inline std::string Info(const Fields& changes = {}) {
  std::map<std::string, std::string> entries = {
      {"length", Int(1536)}, {"name", Str("n")}, {"piece length", Int(16384)}, {"pieces", Hashes(1)}};
  Change(entries, changes);
  return Dict(Fields(entries.begin(), entries.end()));
}

// A torrent of one file of 1536 bytes named "n", with changes to its info dictionary and its root.
inline std::string Torrent(const Fields& info = {}, const Fields& root = {}) {
  std::map<std::string, std::string> entries = {{"info", Info(info)}};
  Change(entries, root);
  return Dict(Fields(entries.begin(), entries.end()));
}

inline std::string File(const std::string& path, long long length = 1536) {
  return Dict({{"length", Int(length)}, {"path", path}});
}

inline std::string Path(const std::vector<std::string>& components) {
  std::vector<std::string> texts;
  std::transform(components.begin(), components.end(), std::back_inserter(texts), Str);
  return List(texts);
}

inline std::string Files(const std::vector<std::string>& files) {
  return Torrent({{"length", ""}, {"files", List(files)}});
}

struct Case {
  const char* name;
  std::string bytes;
  std::string outcome;
};

class ReaderRules : public BundleTest {
 protected:
  void SetUp() override {
    BundleTest::SetUp();
    ASSERT_FALSE(HasFatalFailure());
    ASSERT_TRUE(locale_.ok());
  }

  // What comes of importing a file: its description, its paths in byte order, its creator and comment.
  // A refusal must leave a dictionary that holds all four as it was, a success must write nothing else.
  std::string ImportFile(const std::string& path) const {
    NSMutableDictionary* fresh = [NSMutableDictionary dictionary];
    NSMutableDictionary* used = [NSMutableDictionary dictionaryWithObjects:Old() forKeys:Keys()];
    NSDictionary* before = [NSDictionary dictionaryWithDictionary:used];
    const bool imported = Call(path, fresh);
    EXPECT_EQ(Call(path, used), imported);
    if (!imported) {
      EXPECT_EQ([fresh count], 0u);
      EXPECT_TRUE([used isEqual:before]);
      return kRefused;
    }
    return Describe(fresh);
  }

  std::string Import(const std::string& bytes) const { return ImportFile(temp_.Write("a.torrent", bytes)); }

  void ExpectEach(const std::vector<Case>& cases) const {
    for (const Case& c : cases) {
      SCOPED_TRACE(c.name);
      EXPECT_EQ(Import(c.bytes), c.outcome);
    }
  }

  virtual bool Call(const std::string& path, NSMutableDictionary* attributes) const {
    auto** importer = Query<MDImporterURLInterfaceStruct>(instance_, kMDImporterURLInterfaceID);
    NSURL* url = [NSURL fileURLWithPath:Text(path)];
    const bool imported =
        (*importer)->ImporterImportURLData(importer, (CFMutableDictionaryRef)attributes, nullptr, (CFURLRef)url);
    (*importer)->Release(importer);
    return imported;
  }

  TempFolder temp_;

 private:
  static NSArray* Keys() {
    return [NSArray arrayWithObjects:@"kMDItemCreator", @"kMDItemComment", @"kMDItemDescription",
                                     @"org_sorrel_torrent_filenames", nil];
  }
  static NSArray* Old() { return [NSArray arrayWithObjects:@"old 1", @"old 2", @"old 3", @"old 4", nil]; }

  static std::string Describe(NSDictionary* attributes) {
    NSArray* list = [attributes objectForKey:@"org_sorrel_torrent_filenames"];
    std::vector<std::string> paths;
    for (NSUInteger i = 0; i < [list count]; i++) {
      paths.push_back(Utf8([list objectAtIndex:i]));
    }
    std::sort(paths.begin(), paths.end());
    std::string text = Utf8([attributes objectForKey:@"kMDItemDescription"]) + " [";
    for (size_t i = 0; i < paths.size(); i++) {
      text += (i == 0 ? "" : "|") + paths[i];
    }
    text += "]";
    NSUInteger written = 2;
    for (NSString* key : {@"kMDItemCreator", @"kMDItemComment"}) {
      if (id value = [attributes objectForKey:key]) {
        written++;
        text += ([key isEqual:@"kMDItemCreator"] ? " by <" : " says <") + Utf8(value) + ">";
      }
    }
    EXPECT_EQ([attributes count], written);
    return text;
  }

  ScopedLocale locale_{"C.UTF-8"};
};
