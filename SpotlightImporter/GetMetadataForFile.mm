#include "SpotlightImporter/GetMetadataForFile.h"

#include <Foundation/Foundation.h>
#include <stdint.h>

#include "QuickLookPlugin/TorrentInfo.h"
#include "SpotlightImporter/SizeText.h"
#include "core/mem1.h"
#include "core/strfmt.h"

@implementation TorrentInfo (SizeText)

+ (NSString*)formatSize:(NSNumber*)size {
  char* text = core::str_fmt("%Z", static_cast<int64_t>([size longLongValue]));
  NSString* result = [NSString stringWithUTF8String:text];
  core::MyFree(text);
  return result;
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

// Reads everything before the first write, so that a failure leaves `attributes` as it was.
bool ImportFile(NSString* path, NSMutableDictionary* attributes) {
  TorrentInfo* info = [[[TorrentInfo alloc] initWithFile:path] autorelease];
  if (!info) {
    return false;
  }
  NSString* creator = [info creator];
  NSString* comment = [info comment];
  NSString* description = Description(info);
  NSArray* names = [[info files] allKeys];

  if (creator) {
    [attributes setObject:creator forKey:(NSString*)kMDItemCreator];
  }
  if ([comment length] > 0) {
    [attributes setObject:comment forKey:(NSString*)kMDItemComment];
  }
  [attributes setObject:description forKey:(NSString*)kMDItemDescription];
  if ([names count] > 0) {
    [attributes setObject:names forKey:kFileNamesKey];
  }
  return true;
}

bool ImportURL(NSURL* url, NSMutableDictionary* attributes) {
  NSString* path = [url isFileURL] ? [url path] : nil;
  return path && attributes && ImportFile(path, attributes);
}

}  // namespace

Boolean GetMetadataForURL(void*, CFMutableDictionaryRef attributes, CFStringRef, CFURLRef url) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  bool imported = false;
  try {
    imported = ImportURL((NSURL*)url, (NSMutableDictionary*)attributes);
  } catch (...) {
    // Foundation's exceptions arrive here too. One that reached the service would end its process.
    imported = false;
  }
  [pool release];
  return imported;
}
