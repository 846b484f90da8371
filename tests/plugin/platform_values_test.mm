// The CoreFoundation values over Foundation: references, UUIDs, file URLs, constants.
#include <CoreServices/CoreServices.h>
#include <string.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <thread>
#include <vector>

#include "tests/plugin/foundation_test.h"

namespace {

constexpr char kUUIDText[] = "C0FFEE00-1234-5678-9ABC-DEF012345678";
constexpr CFUUIDBytes kUUIDBytes = {0xC0, 0xFF, 0xEE, 0x00, 0x12, 0x34, 0x56, 0x78,
                                    0x9A, 0xBC, 0xDE, 0xF0, 0x12, 0x34, 0x56, 0x78};

class PlatformReference : public FoundationTest {};
class PlatformUUID : public FoundationTest {};
class PlatformURL : public FoundationTest {};
class PlatformConstants : public FoundationTest {};

TEST_F(PlatformReference, RetainAndReleaseCountReferences) {
  NSObject* object = [NSObject new];
  EXPECT_EQ(CFRetain((CFTypeRef)object), (CFTypeRef)object);
  EXPECT_EQ([object retainCount], 2u);
  CFRelease((CFTypeRef)object);
  EXPECT_EQ([object retainCount], 1u);
  [object release];
}

TEST_F(PlatformReference, EqualComparesValuesNotAddresses) {
  NSString* copy = [NSMutableString stringWithString:@"text"];
  EXPECT_EQ(CFEqual(CFSTR("text"), (CFTypeRef)copy), true);
  EXPECT_EQ(CFEqual(CFSTR("text"), CFSTR("other")), false);
  EXPECT_EQ(CFEqual(CFSTR("text"), (CFTypeRef)[NSNumber numberWithInt:1]), false);
}

TEST_F(PlatformReference, NullStopsTheProcess) {
  EXPECT_EXIT(CFRetain(nullptr), ::testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(CFRelease(nullptr), ::testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(CFEqual(nullptr, CFSTR("a")), ::testing::KilledBySignal(SIGABRT), "");
  EXPECT_EXIT(CFEqual(CFSTR("a"), nullptr), ::testing::KilledBySignal(SIGABRT), "");
}

TEST_F(PlatformUUID, TextOfEitherCaseGivesTheBytes) {
  for (const char* text : {kUUIDText, "c0ffee00-1234-5678-9abc-def012345678"}) {
    SCOPED_TRACE(text);
    CFUUIDRef uuid = CFUUIDCreateFromString(kCFAllocatorDefault, (CFStringRef)Text(text));
    ASSERT_NE(uuid, nullptr);
    const CFUUIDBytes bytes = CFUUIDGetUUIDBytes(uuid);
    EXPECT_EQ(memcmp(&bytes, &kUUIDBytes, sizeof bytes), 0);
    CFRelease(uuid);
  }
}

TEST_F(PlatformUUID, OtherTextGivesNull) {
  for (const char* text : {"", "x", "C0FFEE00-1234-5678-9ABC-DEF01234567", "C0FFEE00-1234-5678-9ABC-DEF0123456789",
                           "C0FFEE00+1234-5678-9ABC-DEF012345678", "C0FFEE00-1234-5678-9ABC-DEF01234567G"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(CFUUIDCreateFromString(kCFAllocatorDefault, (CFStringRef)Text(text)), nullptr);
  }
  EXPECT_EQ(CFUUIDCreateFromString(kCFAllocatorDefault, nullptr), nullptr);
}

TEST_F(PlatformUUID, BytesGiveAnEqualUUID) {
  CFUUIDRef uuid = CFUUIDCreateFromUUIDBytes(kCFAllocatorDefault, kUUIDBytes);
  EXPECT_EQ(CFEqual(uuid, UUIDOf(kUUIDText)), true);
  EXPECT_EQ([(NSUUID*)uuid retainCount], 1u);
  CFRelease(uuid);
}

TEST_F(PlatformUUID, ConstantsAreMadeOnce) {
  EXPECT_EQ(kMDImporterTypeID, kMDImporterTypeID);
  EXPECT_NE(kMDImporterTypeID, kMDImporterInterfaceID);
}

TEST_F(PlatformUUID, ThreadsGetTheSameConstant) {
  std::array<CFUUIDRef, 4> seen = {};
  std::vector<std::thread> threads;
  for (CFUUIDRef& slot : seen) {
    threads.emplace_back([&slot] {
      GSRegisterCurrentThread();
      slot = CFUUIDGetConstantUUIDWithBytes(kCFAllocatorDefault, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 1, 2, 3, 4, 5, 6);
      GSUnregisterCurrentThread();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (CFUUIDRef uuid : seen) {
    EXPECT_EQ(uuid, seen[0]);
  }
  EXPECT_EQ(CFEqual(seen[0], UUIDOf("09080706-0504-0302-0100-010203040506")), true);
}

TEST_F(PlatformConstants, InterfacesHaveTheirPublishedValues) {
  EXPECT_EQ(CFEqual(kMDImporterTypeID, UUIDOf("8B08C4BF-415B-11D8-B3F9-0003936726FC")), true);
  EXPECT_EQ(CFEqual(kMDImporterInterfaceID, UUIDOf("6EBC27C4-899C-11D8-84AE-0003936726FC")), true);
  EXPECT_EQ(CFEqual(kMDImporterURLInterfaceID, UUIDOf("13F60F02-3622-4F35-9891-EC10E6CD08F8")), true);
  EXPECT_EQ(CFEqual(IUnknownUUID, UUIDOf("00000000-0000-0000-C000-000000000046")), true);
}

TEST_F(PlatformConstants, AttributeKeysReadAsTheirNames) {
  EXPECT_EQ(Utf8((id)kMDItemCreator), "kMDItemCreator");
  EXPECT_EQ(Utf8((id)kMDItemComment), "kMDItemComment");
  EXPECT_EQ(Utf8((id)kMDItemDescription), "kMDItemDescription");
}

// Makes a URL of `path` and returns what its `path` says; "(nil)" when there is none.
std::string PathOfURL(const std::string& path, Boolean isDirectory) {
  CFURLRef url =
      CFURLCreateWithFileSystemPath(kCFAllocatorDefault, (CFStringRef)Text(path), kCFURLPOSIXPathStyle, isDirectory);
  if (!url) {
    return "(nil)";
  }
  EXPECT_TRUE([(NSURL*)url isFileURL]);
  const std::string result = Utf8([(NSURL*)url path]);
  CFRelease(url);
  return result;
}

TEST_F(PlatformURL, PathComesBackUnchanged) {
  for (const char* path : {"/a/b.torrent", "/a b.torrent", "/a%20b", "/a?b#c;d", "/\xC3\xA9\xE2\x82\xAC", "/a:b",
                           "/a[b]{c}|^`\"<>", "/x\\y", "/~user/a"}) {
    SCOPED_TRACE(path);
    EXPECT_EQ(PathOfURL(path, false), path);
    EXPECT_EQ(PathOfURL(path, true), path);
  }
}

TEST_F(PlatformURL, DirectoryAddsASlashToTheURLOnly) {
  CFURLRef url = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, CFSTR("/a/b"), kCFURLPOSIXPathStyle, true);
  ASSERT_NE(url, nullptr);
  EXPECT_EQ(Utf8([(NSURL*)url absoluteString]), "file:///a/b/");
  EXPECT_EQ(Utf8([(NSURL*)url path]), "/a/b");
  CFRelease(url);
}

TEST_F(PlatformURL, RelativePathIsTakenFromTheWorkingDirectory) {
  const std::string folder = std::filesystem::current_path().string();
  EXPECT_EQ(PathOfURL("a.torrent", false), folder + "/a.torrent");
  EXPECT_EQ(PathOfURL("~/a.torrent", true), folder + "/~/a.torrent");
}

TEST_F(PlatformURL, NothingToConvertGivesNull) {
  EXPECT_EQ(PathOfURL("", true), "(nil)");
  EXPECT_EQ(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, nullptr, kCFURLPOSIXPathStyle, true), nullptr);
}

TEST_F(PlatformURL, OtherPathStylesGiveNull) {
  EXPECT_EQ(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, CFSTR("/a"), kCFURLPOSIXPathStyle + 1, false), nullptr);
}

}  // namespace
