// Opens the importer bundle as the metadata service does: property list, factory, interface.
#pragma once

#include <CoreServices/CoreServices.h>

#include "tests/plugin/foundation_test.h"

// An importer instance from the bundle, used through its interface table alone.
class BundleTest : public FoundationTest {
 protected:
  void SetUp() override {
    CFURLRef url = CFURLCreateWithFileSystemPath(kCFAllocatorDefault, CFSTR(SORREL_BUNDLE), kCFURLPOSIXPathStyle, true);
    plugin_ = CFPlugInCreate(kCFAllocatorDefault, url);
    CFRelease(url);
    ASSERT_NE(plugin_, nullptr);
    CFArrayRef factories = CFPlugInFindFactoriesForPlugInTypeInPlugIn(kMDImporterTypeID, plugin_);
    ASSERT_EQ([(NSArray*)factories count], 1u);
    factory_ = (CFUUIDRef)[[(NSArray*)factories objectAtIndex:0] retain];
    CFRelease(factories);
    instance_ = NewInstance();
    ASSERT_NE(instance_, nullptr);
  }
  void TearDown() override {
    if (instance_) {
      EXPECT_EQ((*instance_)->Release(instance_), 0u);
    }
  }
  ~BundleTest() override {
    [(NSUUID*)factory_ release];
    [(id)plugin_ release];
  }

  // A new instance seen as IUnknown, with one reference.
  MDImporterInterfaceStruct** NewInstance() const {
    return static_cast<MDImporterInterfaceStruct**>(
        CFPlugInInstanceCreate(kCFAllocatorDefault, factory_, kMDImporterTypeID));
  }

  // Asks `instance` for an interface and returns it with a reference more; null when it has none.
  template <typename Table>
  static Table** Query(MDImporterInterfaceStruct** instance, CFUUIDRef interface) {
    void* out = nullptr;
    (*instance)->QueryInterface(instance, CFUUIDGetUUIDBytes(interface), &out);
    return static_cast<Table**>(out);
  }

  CFPlugInRef plugin_ = nullptr;
  CFUUIDRef factory_ = nullptr;
  MDImporterInterfaceStruct** instance_ = nullptr;  // made before the test, with one reference that its end gives up
};
