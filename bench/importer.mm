#include "bench/importer.h"

#include <CoreFoundation/CFPlugInCOM.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace bench {
namespace {

class Pool {
 public:
  Pool() : pool_([NSAutoreleasePool new]) {}
  ~Pool() { [pool_ release]; }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

 private:
  NSAutoreleasePool* pool_;
};

NSString* PlatformString(const std::string& text) { return [NSString stringWithUTF8String:text.c_str()]; }

std::string Text(NSString* string) { return [string UTF8String]; }

std::optional<std::string> OptionalText(NSString* string) {
  return string ? std::optional(Text(string)) : std::nullopt;
}

void* NewInstance(const std::string& bundle_path) {
  NSURL* url = [NSURL fileURLWithPath:PlatformString(std::filesystem::absolute(bundle_path))];
  CFPlugInRef bundle = CFPlugInCreate(kCFAllocatorDefault, (CFURLRef)url);
  CFArrayRef factories = bundle ? CFPlugInFindFactoriesForPlugInTypeInPlugIn(kMDImporterTypeID, bundle) : nullptr;
  if (!factories) {
    return nullptr;
  }
  auto factory = (CFUUIDRef)[(NSArray*)factories objectAtIndex:0];
  void* instance = CFPlugInInstanceCreate(kCFAllocatorDefault, factory, kMDImporterTypeID);
  CFRelease(factories);
  CFRelease(bundle);
  return instance;
}

bool ImportInto(MDImporterURLInterfaceStruct** instance, NSMutableDictionary* attributes, const Location& file) {
  return (*instance)->ImporterImportURLData(instance, (CFMutableDictionaryRef)attributes,
                                            (CFStringRef) @"org.bittorrent.torrent", (CFURLRef)file.url());
}

Attributes Copied(NSDictionary* attributes) {
  Attributes copy = {OptionalText([attributes objectForKey:(NSString*)kMDItemCreator]),
                     OptionalText([attributes objectForKey:(NSString*)kMDItemComment]),
                     Text([attributes objectForKey:(NSString*)kMDItemDescription]),
                     {}};
  NSArray* paths = [attributes objectForKey:@"org_sorrel_torrent_filenames"];
  for (NSUInteger i = 0; i < [paths count]; i++) {
    copy.paths.push_back(Text([paths objectAtIndex:i]));
  }
  std::sort(copy.paths.begin(), copy.paths.end());
  return copy;
}

}  // namespace

Location::Location(const std::string& path) {
  const Pool pool;
  url_ = [[NSURL fileURLWithPath:PlatformString(std::filesystem::absolute(path))] retain];
}

Location::Location(const Location& other) : url_([static_cast<NSURL*>(other.url_) retain]) {}

Location::~Location() { [static_cast<NSURL*>(url_) release]; }

Importer::Importer(const std::string& bundle_path) : instance_(nullptr) {
  const Pool pool;
  auto** object = static_cast<MDImporterURLInterfaceStruct**>(NewInstance(bundle_path));
  if (!object) {
    throw std::runtime_error(bundle_path + " gives no importer");
  }
  void* interface = nullptr;
  (*object)->QueryInterface(object, CFUUIDGetUUIDBytes(kMDImporterURLInterfaceID), &interface);
  (*object)->Release(object);
  if (!interface) {
    throw std::runtime_error(bundle_path + " has no URL interface");
  }
  instance_ = static_cast<MDImporterURLInterfaceStruct**>(interface);
}

Importer::~Importer() { (*instance_)->Release(instance_); }

bool Importer::Import(const Location& file) const {
  const Pool pool;
  NSMutableDictionary* attributes = [[NSMutableDictionary new] autorelease];
  return ImportInto(instance_, attributes, file);
}

std::optional<Attributes> Importer::Read(const Location& file) const {
  const Pool pool;
  NSMutableDictionary* attributes = [[NSMutableDictionary new] autorelease];
  return ImportInto(instance_, attributes, file) ? std::optional(Copied(attributes)) : std::nullopt;
}

}  // namespace bench
