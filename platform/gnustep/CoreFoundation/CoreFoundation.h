// The CoreFoundation names that a metadata importer and its host use, over GNUstep's Foundation.
//
// Every reference is a Foundation object underneath: CFStringRef is an NSString, CFURLRef an NSURL,
// CFArrayRef an NSArray, CFMutableDictionaryRef an NSMutableDictionary, and CFUUIDRef an NSUUID.
// A function with Create or Find in its name returns a reference that the caller releases. A
// property list that is not as it should be gives null; passing null where a reference is needed
// stops the process in CFRetain, CFRelease and CFEqual, as it does on macOS. Safe from any thread
// that Foundation knows.
#pragma once

#include <Foundation/NSString.h>
#include <stdint.h>

#pragma GCC visibility push(default)
extern "C" {

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
using CFArrayRef = const struct __CFArray*;
using CFMutableDictionaryRef = struct __CFDictionary*;
using CFPlugInRef = struct __CFBundle*;

struct CFUUIDBytes {
  UInt8 byte0, byte1, byte2, byte3, byte4, byte5, byte6, byte7;
  UInt8 byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15;
};

using CFURLPathStyle = CFIndex;
enum : CFURLPathStyle { kCFURLPOSIXPathStyle = 0 };

// A constant string object from a string literal.
#define CFSTR(literal) ((CFStringRef) @"" literal)

// The only allocator there is. Null, as on macOS.
extern const CFAllocatorRef kCFAllocatorDefault;

// Adds a reference and returns `object`. Requires: `object` is not null.
CFTypeRef CFRetain(CFTypeRef object);

// Gives up one reference; the last one frees the object. Requires: `object` is not null.
void CFRelease(CFTypeRef object);

// Tells whether two objects have the same value. Requires: neither is null.
Boolean CFEqual(CFTypeRef left, CFTypeRef right);

// Returns a new UUID from its text form of either case; null when the text is null or not a UUID.
CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef allocator, CFStringRef text);

// Returns a new UUID from its sixteen bytes.
CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef allocator, CFUUIDBytes bytes);

// Returns the one UUID object of these bytes, made at the first call. It is never freed and needs
// no release.
CFUUIDRef CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef allocator, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3,
                                         UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8, UInt8 byte9,
                                         UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13, UInt8 byte14,
                                         UInt8 byte15);

// Returns the sixteen bytes of `uuid`, which is not null.
CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid);

// Returns a new file URL for `path`, taken from the working directory when it is relative.
//
// Null when the path is null or empty, or `style` is not the POSIX one. A directory's URL ends in a
// slash, which NSURL's `path` drops again.
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory);

// What a plug-in exports for each factory that its property list names.
using CFPlugInFactoryFunction = void* (*)(CFAllocatorRef allocator, CFUUIDRef typeUUID);

// Reads the bundle at `url` and registers its factories for the life of the process.
//
// Null when the URL is not a file's or the bundle has no readable Contents/Info.plist with an
// executable name, factories and types; entries of the last two that are malformed are left out.
// A bundle that is already registered gives the same object again. A factory that another
// bundle registered before stays that bundle's. The code is loaded by CFPlugInInstanceCreate.
CFPlugInRef CFPlugInCreate(CFAllocatorRef allocator, CFURLRef url);

// Returns the factories of `plugIn` that make `typeUUID`, as an array of CFUUIDRef; null when there
// is none or an argument is null.
CFArrayRef CFPlugInFindFactoriesForPlugInTypeInPlugIn(CFUUIDRef typeUUID, CFPlugInRef plugIn);

// Asks a registered factory for an instance of `typeUUID` and returns what it gives.
//
// Null when the factory is not registered or does not list the type, when the code cannot be loaded
// or lacks the function, which is then said on standard error, and when the factory declines. The
// first instance loads the bundle's executable, which stays loaded.
void* CFPlugInInstanceCreate(CFAllocatorRef allocator, CFUUIDRef factoryUUID, CFUUIDRef typeUUID);

// Count the live instances of a factory, registered or not. Null is ignored, and so is a removal
// without an addition.
void CFPlugInAddInstanceForFactory(CFUUIDRef factoryUUID);
void CFPlugInRemoveInstanceForFactory(CFUUIDRef factoryUUID);

}  // extern "C"
#pragma GCC visibility pop
