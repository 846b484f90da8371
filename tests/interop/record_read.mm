// record_read FILE: prints as one JSON object all fields of the record that the torrent reader makes,
// those included that the importer has no attribute for.
#import <Foundation/Foundation.h>

#include <stdio.h>

#include "QuickLookPlugin/TorrentInfo.h"

namespace {

// A JSON null where the record has nothing.
id OrNull(id value) { return value ? value : [NSNull null]; }

// The entries asked for one by one, by the keys in their order.
NSDictionary* SizesByPath(NSDictionary* files) {
  NSMutableDictionary* sizes = [NSMutableDictionary dictionary];
  NSArray* paths = [files allKeys];
  for (NSUInteger i = 0; i < [paths count]; i++) {
    NSString* path = [paths objectAtIndex:i];
    [sizes setObject:[files objectForKey:path] forKey:path];
  }
  return sizes;
}

NSDictionary* Fields(TorrentInfo* info) {
  NSMutableDictionary* fields = [NSMutableDictionary dictionary];
  [fields setObject:[info trackers] forKey:@"trackers"];
  [fields setObject:[info webSeeds] forKey:@"webSeeds"];
  [fields setObject:SizesByPath([info files]) forKey:@"files"];
  const auto created = static_cast<long long>([[info createdOn] timeIntervalSince1970]);
  [fields setObject:[NSNumber numberWithLongLong:created] forKey:@"createdOn"];
  [fields setObject:[info name] forKey:@"name"];
  [fields setObject:OrNull([info creator]) forKey:@"creator"];
  [fields setObject:OrNull([info comment]) forKey:@"comment"];
  [fields setObject:[NSNumber numberWithUnsignedLongLong:[info pieceSize]] forKey:@"pieceSize"];
  [fields setObject:[NSNumber numberWithInt:[info privateTorrent]] forKey:@"private"];
  [fields setObject:[NSNumber numberWithUnsignedInt:[info numPieces]] forKey:@"numPieces"];
  [fields setObject:[NSNumber numberWithUnsignedLongLong:[info totalSize]] forKey:@"totalSize"];
  return fields;
}

int Print(const char* path) {
  TorrentInfo* info = [[[TorrentInfo alloc] initWithFile:[NSString stringWithUTF8String:path]] autorelease];
  if (!info) {
    fprintf(stderr, "record_read: %s is not a usable torrent\n", path);
    return 1;
  }
  NSData* json = [NSJSONSerialization dataWithJSONObject:Fields(info) options:0 error:nullptr];
  return json && fwrite([json bytes], 1, [json length], stdout) == [json length] ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    fputs("Usage: record_read FILE\n", stderr);
    return 2;
  }
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  const int status = Print(argv[1]);
  [pool release];
  return status;
}
