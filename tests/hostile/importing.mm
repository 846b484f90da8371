#include "tests/hostile/importing.h"

#include <gtest/gtest.h>
#include <objc/runtime.h>

#include <algorithm>
#include <atomic>
#include <memory>

#import "QuickLookPlugin/TorrentInfo.h"
#include "SpotlightImporter/GetMetadataForFile.h"
#include "tests/support/small_stack.h"

namespace hostile {

namespace {

NSString* PlatformString(const std::string& text) { return [NSString stringWithUTF8String:text.c_str()]; }

std::optional<std::string> OptionalText(NSString* string) {
  return string ? std::optional<std::string>([string UTF8String]) : std::nullopt;
}

bool ImportInto(NSMutableDictionary* attributes, const std::string& path) {
  NSURL* url = [NSURL fileURLWithPath:PlatformString(path)];
  const bool imported = GetMetadataForURL(nullptr, (CFMutableDictionaryRef)attributes, nullptr, (CFURLRef)url);
  EXPECT_EQ([attributes count] != 0, imported);
  return imported;
}

std::vector<std::string> Texts(NSArray* strings) {
  std::vector<std::string> texts;
  texts.reserve([strings count]);
  for (NSUInteger i = 0; i < [strings count]; ++i) {
    texts.push_back([[strings objectAtIndex:i] UTF8String]);
  }
  return texts;
}

Attributes Copied(NSDictionary* attributes) {
  return {OptionalText([attributes objectForKey:(NSString*)kMDItemCreator]),
          OptionalText([attributes objectForKey:(NSString*)kMDItemComment]),
          [[attributes objectForKey:(NSString*)kMDItemDescription] UTF8String],
          Texts([attributes objectForKey:@"org_sorrel_torrent_filenames"])};
}

}  // namespace

void OnFoundationThread(size_t stack, const std::function<void()>& work) {
  OnStack(stack, [&work] {
    GSRegisterCurrentThread();
    NSAutoreleasePool* pool = [NSAutoreleasePool new];
    work();
    [pool release];
    GSUnregisterCurrentThread();
  });
}

bool Import(const std::string& path) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  const bool imported = ImportInto([NSMutableDictionary dictionary], path);
  [pool release];
  return imported;
}

std::optional<Attributes> Read(const std::string& path) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  NSMutableDictionary* attributes = [NSMutableDictionary dictionary];
  std::optional<Attributes> copy;
  if (ImportInto(attributes, path)) {
    copy = Copied(attributes);
  }
  [pool release];
  return copy;
}

std::optional<Record> ReadRecord(const std::string& path) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  TorrentInfo* info = [[TorrentInfo alloc] initWithFile:PlatformString(path)];
  std::optional<Record> record;
  if (info) {
    record = Record{Texts(info.trackers), Texts(info.webSeeds), {}, info.totalSize, info.numPieces};
    NSArray* names = [info.files allKeys];
    for (NSUInteger i = 0; i < [names count]; ++i) {
      record->sizes.push_back([[info.files objectForKey:[names objectAtIndex:i]] longLongValue]);
    }
  }
  [info release];
  [pool release];
  return record;
}

namespace {

std::atomic<size_t> hashes = 0;
std::atomic<size_t> comparisons = 0;

NSUInteger HashOfUnits(NSString* string, NSRange range, NSUInteger hash) {
  unichar units[96];
  [string getCharacters:units range:range];
  for (NSUInteger i = 0; i < range.length; ++i) {
    hash = hash * 257 + units[i];
  }
  return hash;
}

// All of a string of up to 96 units; the first, the middle and the last 32 of a longer one.
NSUInteger SampledHash(id self, SEL) {
  ++hashes;
  NSString* string = self;
  const NSUInteger length = [string length];
  if (length <= 96) {
    return HashOfUnits(string, NSMakeRange(0, length), length);
  }
  NSUInteger hash = HashOfUnits(string, NSMakeRange(0, 32), length);
  hash = HashOfUnits(string, NSMakeRange(length / 2 - 16, 32), hash);
  return HashOfUnits(string, NSMakeRange(length - 32, 32), hash);
}

using Compare = NSComparisonResult (*)(id, SEL, NSString*, NSStringCompareOptions);
Compare plain_compare = nullptr;

NSComparisonResult CountedCompare(id self, SEL selector, NSString* other, NSStringCompareOptions options) {
  ++comparisons;
  return plain_compare(self, selector, other, options);
}

struct Replaced {
  Method method;
  IMP plain;
};
std::vector<Replaced> replaced;

bool IsString(Class kind) {
  while (kind && kind != [NSString class]) {
    kind = class_getSuperclass(kind);
  }
  return kind != nullptr;
}

// The method that `kind` itself has, not one of a class above it.
Method OwnMethod(Class kind, SEL selector) {
  Method method = class_getInstanceMethod(kind, selector);
  Class above = class_getSuperclass(kind);
  return above && class_getInstanceMethod(above, selector) == method ? nullptr : method;
}

void Replace(Method method, void* function) {
  replaced.push_back({method, method_setImplementation(method, reinterpret_cast<IMP>(function))});
}

}  // namespace

WatchedStrings::WatchedStrings() {
  hashes = 0;
  comparisons = 0;
  const int room = objc_getClassList(nullptr, 0);
  const auto classes = std::make_unique<Class[]>(static_cast<size_t>(room));
  const int count = std::min(room, objc_getClassList(classes.get(), room));
  for (int i = 0; i < count; ++i) {
    Method method = IsString(classes[i]) ? OwnMethod(classes[i], @selector(hash)) : nullptr;
    if (method) {
      Replace(method, reinterpret_cast<void*>(SampledHash));
    }
  }
  Method compare = class_getInstanceMethod([NSString class], @selector(compare:options:));
  plain_compare = reinterpret_cast<Compare>(reinterpret_cast<void*>(method_getImplementation(compare)));
  Replace(compare, reinterpret_cast<void*>(CountedCompare));
}

WatchedStrings::~WatchedStrings() {
  for (const Replaced& method : replaced) {
    method_setImplementation(method.method, method.plain);
  }
  replaced.clear();
}

size_t WatchedStrings::Hashes() { return hashes; }
size_t WatchedStrings::Comparisons() { return comparisons; }

}  // namespace hostile
