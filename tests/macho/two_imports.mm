// One import of a good torrent and one of a bad one by the bundle for macOS, for a memory checker.
//
// Usage: macho_two_imports GOOD-TORRENT. The same file cut in the middle is the bad one.
#include <CoreServices/CoreServices.h>
#include <Foundation/Foundation.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "platform/gnustep/instance_count.h"
#include "tests/macho/image_memory.h"

namespace {

bool Check(bool holds, const char* what) {
  if (!holds) {
    fprintf(stderr, "%s\n", what);
  }
  return holds;
}

MDImporterURLInterfaceStruct** NewImporter(CFUUIDRef factory) {
  auto** unknown = static_cast<MDImporterURLInterfaceStruct**>(
      CFPlugInInstanceCreate(kCFAllocatorDefault, factory, kMDImporterTypeID));
  void* importer = nullptr;
  (*unknown)->QueryInterface(unknown, CFUUIDGetUUIDBytes(kMDImporterURLInterfaceID), &importer);
  (*unknown)->Release(unknown);
  return static_cast<MDImporterURLInterfaceStruct**>(importer);
}

bool Import(MDImporterURLInterfaceStruct** importer, NSString* path) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  NSMutableDictionary* attributes = [NSMutableDictionary dictionary];
  const bool imported = (*importer)->ImporterImportURLData(importer, (CFMutableDictionaryRef)attributes, nullptr,
                                                           (CFURLRef)[NSURL fileURLWithPath:path]);
  const bool agrees = imported == ([attributes count] > 0);
  [pool release];
  return agrees && imported;
}

bool ImportBoth(MDImporterURLInterfaceStruct** importer, NSString* good, NSString* bad) {
  bool right = Check(Import(importer, good), "the good torrent is refused");
  const long before = macho::LiveBlocks();
  right &= Check(Import(importer, good), "the good torrent is refused");
  right &= Check(!Import(importer, bad), "the bad torrent is imported");
  return right & Check(macho::LiveBlocks() == before, "blocks are left over");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  NSString* good = [NSString stringWithUTF8String:argv[1]];
  NSString* bad = [NSTemporaryDirectory() stringByAppendingPathComponent:[[NSUUID UUID] UUIDString]];
  NSData* bytes = [NSData dataWithContentsOfFile:good];
  [[bytes subdataWithRange:NSMakeRange(0, [bytes length] / 2)] writeToFile:bad atomically:NO];

  CFURLRef url = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, CFSTR(SORREL_BUNDLE), kCFURLPOSIXPathStyle, true);
  CFPlugInRef plug_in = CFPlugInCreate(kCFAllocatorDefault, url);
  CFRelease(url);
  NSArray* factories = (NSArray*)CFPlugInFindFactoriesForPlugInTypeInPlugIn(kMDImporterTypeID, plug_in);
  CFUUIDRef factory = (CFUUIDRef)[factories objectAtIndex:0];
  MDImporterURLInterfaceStruct** importer = NewImporter(factory);
  bool right = ImportBoth(importer, good, bad);
  right &= Check((*importer)->Release(importer) == 0, "references are left over");
  right &= Check(SorrelPlugInInstanceCount(factory) == 0, "an instance is left over");
  CFRelease(factories);
  CFRelease(plug_in);
  unlink([bad fileSystemRepresentation]);
  [pool release];
  return right ? EXIT_SUCCESS : EXIT_FAILURE;
}
