#include <CoreFoundation/CoreFoundation.h>

#include <Foundation/Foundation.h>
#include <stdlib.h>

const CFAllocatorRef kCFAllocatorDefault = nullptr;

namespace {

// macOS stops at a null reference; a plug-in that passes one must not get away with it here.
id Object(CFTypeRef reference) {
  if (!reference) {
    abort();
  }
  return (id)reference;
}

}  // namespace

CFTypeRef CFRetain(CFTypeRef object) { return [Object(object) retain]; }

void CFRelease(CFTypeRef object) { [Object(object) release]; }

Boolean CFEqual(CFTypeRef left, CFTypeRef right) { return [Object(left) isEqual:Object(right)] ? true : false; }
