// The import function of the URL interface.
#pragma once

#include <CoreServices/CoreServices.h>

// Reads the torrent at `url` and fills `attributes` with its creator, comment, description and file
// paths. Returns true when it did; false, with `attributes` untouched, when the URL is not a file's or
// the file cannot be read as a torrent. Nothing raised below gets out.
//
// `thisInterface` and `contentTypeUTI` are not looked at: the service may pass anything as the former.
// Any number of threads may import at once.
extern "C" Boolean GetMetadataForURL(void* thisInterface, CFMutableDictionaryRef attributes, CFStringRef contentTypeUTI,
                                     CFURLRef url);
