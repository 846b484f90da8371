// What the importer uses of the metadata service: its type and interfaces, the table that it fills,
// and the attribute keys.
#pragma once

#include <CoreFoundation/CFPlugInCOM.h>
#include <CoreFoundation/CoreFoundation.h>

#define kMDImporterTypeID                                                                                         \
  CFUUIDGetConstantUUIDWithBytes(kCFAllocatorDefault, 0x8B, 0x08, 0xC4, 0xBF, 0x41, 0x5B, 0x11, 0xD8, 0xB3, 0xF9, \
                                 0x00, 0x03, 0x93, 0x67, 0x26, 0xFC)

#define kMDImporterInterfaceID                                                                                    \
  CFUUIDGetConstantUUIDWithBytes(kCFAllocatorDefault, 0x6E, 0xBC, 0x27, 0xC4, 0x89, 0x9C, 0x11, 0xD8, 0x84, 0xAE, \
                                 0x00, 0x03, 0x93, 0x67, 0x26, 0xFC)

#define kMDImporterURLInterfaceID                                                                                 \
  CFUUIDGetConstantUUIDWithBytes(kCFAllocatorDefault, 0x13, 0xF6, 0x0F, 0x02, 0x36, 0x22, 0x4F, 0x35, 0x98, 0x91, \
                                 0xEC, 0x10, 0xE6, 0xCD, 0x08, 0xF8)

struct MDImporterInterfaceStruct {
  IUNKNOWN_C_GUTS;
  Boolean (*ImporterImportData)(void* thisInterface, CFMutableDictionaryRef attributes, CFStringRef contentTypeUTI,
                                CFStringRef pathToFile);
};

extern "C" {

extern const CFStringRef kMDItemCreator;
extern const CFStringRef kMDItemComment;
extern const CFStringRef kMDItemDescription;

}  // extern "C"
