// What the importer uses of CoreFoundation.
#pragma once

#include <sys/types.h>

using Boolean = unsigned char;
using UInt8 = uint8_t;
using SInt32 = int32_t;
using UInt32 = uint32_t;
using CFIndex = long;

using CFTypeRef = const void*;
using CFAllocatorRef = const struct __CFAllocator*;
using CFStringRef = const struct __CFString*;
using CFURLRef = const struct __CFURL*;
using CFUUIDRef = const struct __CFUUID*;
using CFMutableDictionaryRef = struct __CFDictionary*;

struct CFUUIDBytes {
  UInt8 byte0, byte1, byte2, byte3, byte4, byte5, byte6, byte7;
  UInt8 byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15;
};

enum CFURLPathStyle : CFIndex { kCFURLPOSIXPathStyle = 0 };

#define CFSTR(literal) ((CFStringRef)__builtin___CFStringMakeConstantString("" literal))

extern "C" {

extern const CFAllocatorRef kCFAllocatorDefault;

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
Boolean CFEqual(CFTypeRef left, CFTypeRef right);

CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef allocator, CFStringRef text);
CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef allocator, CFUUIDBytes bytes);
// Bytes, not integers: arm64 packs arguments on the stack by their size.
CFUUIDRef CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef allocator, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3,
                                         UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8, UInt8 byte9,
                                         UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13, UInt8 byte14,
                                         UInt8 byte15);

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory);

void CFPlugInAddInstanceForFactory(CFUUIDRef factoryUUID);
void CFPlugInRemoveInstanceForFactory(CFUUIDRef factoryUUID);

}  // extern "C"
