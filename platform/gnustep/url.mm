#include <CoreFoundation/CoreFoundation.h>

#include <Foundation/Foundation.h>

#include "platform/gnustep/guarded.h"

namespace {

// NSURL would take a relative path that begins with "~" for something else.
NSString* AbsolutePath(NSString* path) {
  if ([path hasPrefix:@"/"]) {
    return path;
  }
  return [[[NSFileManager defaultManager] currentDirectoryPath] stringByAppendingFormat:@"/%@", path];
}

}  // namespace

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef path, CFURLPathStyle style, Boolean isDirectory) {
  NSString* text = (NSString*)path;
  if (style != kCFURLPOSIXPathStyle || [text length] == 0) {
    return nullptr;
  }
  return Guarded([=] {
    return (CFURLRef)[[NSURL alloc] initFileURLWithPath:AbsolutePath(text) isDirectory:isDirectory ? YES : NO];
  });
}
