#include "SpotlightImporter/GetMetadataForFile.h"

#include <Foundation/Foundation.h>
#include <stdint.h>

#include "QuickLookPlugin/TorrentInfo.h"
#include "QuickLookPlugin/owned.h"
#include "SpotlightImporter/SizeText.h"
#include "core/format/strfmt.h"

@implementation TorrentInfo (SizeText)

+ (NSString*)formatSize:(NSNumber*)size {
  const reader::Block<char> text(core::str_fmt("%Z", static_cast<int64_t>([size longLongValue])));
  return [NSString stringWithUTF8String:text.p];
}

@end

namespace {

// Begins with the bundle's own prefix, as the schema declares it.
NSString* const kFileNamesKey = @"org_sorrel_torrent_filenames";

NSString* Description(TorrentInfo* info) {
  NSString* size = [TorrentInfo formatSize:[NSNumber numberWithUnsignedLongLong:[info totalSize]]];
  const int count = static_cast<int>([[info files] count]);
  return count == 1 ? [NSString stringWithFormat:@"%@ in 1 file", size]
                    : [NSString stringWithFormat:@"%@ in %d files", size, count];
}

struct Attribute {
  NSString* key;
  id value;   // nil when the torrent has none
  id before;  // what the service's dictionary held
};

template <size_t count>
void RememberWhatWas(NSDictionary* attributes, Attribute (&list)[count]) {
  for (Attribute& attribute : list) {
    attribute.before = [[[attributes objectForKey:attribute.key] retain] autorelease];
  }
}

// Stores a value, or takes the key's entry away.
void Store(NSMutableDictionary* attributes, NSString* key, id value) {
  if (value) {
    [attributes setObject:value forKey:key];
  } else {
    [attributes removeObjectForKey:key];
  }
}

// Stores all values or, when the dictionary refuses one of them, puts back what it held. Returns
// whether they were stored.
template <size_t count>
bool StoreAll(NSMutableDictionary* attributes, Attribute (&list)[count]) {
  RememberWhatWas(attributes, list);
  size_t next = 0;
  try {
    for (; next < count; ++next) {
      if (list[next].value) {
        Store(attributes, list[next].key, list[next].value);
      }
    }
    return true;
  } catch (...) {
    while (next > 0) {
      --next;
      Store(attributes, list[next].key, list[next].before);
    }
    return false;
  }
}

// Reads everything before the first write, so that a failure leaves `attributes` as it was.
bool ImportFile(NSString* path, NSMutableDictionary* attributes) {
  TorrentInfo* info = [[[TorrentInfo alloc] initWithFile:path] autorelease];
  if (!info) {
    return false;
  }
  NSString* comment = [info comment];
  NSArray* names = [[info files] allKeys];
  Attribute list[] = {{(NSString*)kMDItemCreator, [info creator], nil},
                      {(NSString*)kMDItemComment, [comment length] > 0 ? comment : nil, nil},
                      {(NSString*)kMDItemDescription, Description(info), nil},
                      {kFileNamesKey, [names count] > 0 ? names : nil, nil}};
  return StoreAll(attributes, list);
}

bool ImportURL(NSURL* url, NSMutableDictionary* attributes) {
  NSString* path = [url isFileURL] ? [url path] : nil;
  return path && attributes && ImportFile(path, attributes);
}

}  // namespace

Boolean GetMetadataForURL(void*, CFMutableDictionaryRef attributes, CFStringRef, CFURLRef url) {
  NSAutoreleasePool* pool = nil;
  bool imported = false;
  try {
    pool = [NSAutoreleasePool new];
    imported = ImportURL((NSURL*)url, (NSMutableDictionary*)attributes);
  } catch (...) {
    // Foundation's exceptions arrive here too. One that reached the service would end its process.
    imported = false;
  }
  [pool release];
  return imported;
}
