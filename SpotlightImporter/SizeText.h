// The size text that the description of a torrent begins with.
#pragma once

#include <Foundation/Foundation.h>

#include "QuickLookPlugin/TorrentInfo.h"

@interface TorrentInfo (SizeText)

// Returns the byte count `size`, taken as a signed 64-bit value, in its largest fitting unit: "700 B",
// "1.5 kB", "4.3 GB". Autoreleased.
+ (NSString*)formatSize:(NSNumber*)size;

@end
