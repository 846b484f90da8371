// The plug-in object of the bundle for macOS: factory, interfaces, references and what the file offers.
#include <string.h>

#include "platform/gnustep/instance_count.h"
#include "tests/macho/image_memory.h"
#include "tests/macho/plugin_host.h"
#include "tests/plugin/bundle.h"

namespace {

class MachOPlugin : public BundleTest {
 protected:
  HRESULT Query(CFUUIDRef interface) {
    return (*instance_)->QueryInterface(instance_, CFUUIDGetUUIDBytes(interface), &out_);
  }
  void* Entry() const { return reinterpret_cast<void*>((*instance_)->ImporterImportData); }

  static CFPlugInFactoryFunction Factory() {
    return reinterpret_cast<CFPlugInFactoryFunction>(macho::PlugInImage()->Exported("_MetadataImporterPluginFactory"));
  }

  void* out_ = &out_;
};

TEST_F(MachOPlugin, FactoryIsTheOnlyExport) {
  EXPECT_NE(reinterpret_cast<void*>(Factory()), nullptr);
  EXPECT_EQ(macho::PlugInImage()->ExportCount(), 1u);
}

TEST_F(MachOPlugin, FactoryComparesAllBytesOfTheType) {
  const CFIndex before = SorrelPlugInInstanceCount(factory_);
  for (size_t i = 0; i < sizeof(CFUUIDBytes); i++) {
    CFUUIDBytes bytes = CFUUIDGetUUIDBytes(kMDImporterTypeID);
    reinterpret_cast<unsigned char*>(&bytes)[i] ^= 1;
    CFUUIDRef type = CFUUIDCreateFromUUIDBytes(kCFAllocatorDefault, bytes);
    EXPECT_EQ(Factory()(kCFAllocatorDefault, type), nullptr) << i;
    CFRelease(type);
  }
  for (CFUUIDRef type : {kMDImporterInterfaceID, kMDImporterURLInterfaceID, IUnknownUUID, CFUUIDRef{nullptr}}) {
    EXPECT_EQ(Factory()(kCFAllocatorDefault, type), nullptr);
  }
  EXPECT_EQ(SorrelPlugInInstanceCount(factory_), before);
}

TEST_F(MachOPlugin, FreshInstanceHasNoImportEntry) {
  EXPECT_EQ((*instance_)->_reserved, nullptr);
  EXPECT_EQ(Entry(), nullptr);
  EXPECT_EQ(Query(IUnknownUUID), S_OK);
  EXPECT_EQ(out_, instance_);
  EXPECT_EQ(Entry(), nullptr);
  EXPECT_EQ((*instance_)->Release(instance_), 1u);
}

TEST_F(MachOPlugin, QueriesSwitchTheImportEntry) {
  EXPECT_EQ(Query(kMDImporterURLInterfaceID), S_OK);
  void* by_url = Entry();
  EXPECT_EQ(Query(kMDImporterInterfaceID), S_OK);
  void* by_path = Entry();
  EXPECT_EQ(Query(IUnknownUUID), S_OK);
  EXPECT_EQ(Entry(), by_path);
  EXPECT_EQ(Query(kMDImporterURLInterfaceID), S_OK);
  EXPECT_EQ(Entry(), by_url);
  EXPECT_NE(by_url, by_path);
  EXPECT_TRUE(macho::PlugInImage()->Contains(by_url) && macho::PlugInImage()->Contains(by_path));
  for (ULONG left = 4; left >= 1; left--) {
    EXPECT_EQ((*instance_)->Release(instance_), left);
  }
}

TEST_F(MachOPlugin, UnknownInterfaceGivesNullAndNoReference) {
  for (CFUUIDRef interface : {kMDImporterInterfaceID, kMDImporterURLInterfaceID, IUnknownUUID}) {
    for (size_t i = 0; i < sizeof(CFUUIDBytes); i++) {
      CFUUIDBytes bytes = CFUUIDGetUUIDBytes(interface);
      reinterpret_cast<unsigned char*>(&bytes)[i] ^= 0x80;
      out_ = &out_;
      EXPECT_EQ(static_cast<UInt32>((*instance_)->QueryInterface(instance_, bytes, &out_)), 0x80000004u);
      EXPECT_EQ(out_, nullptr);
    }
  }
  EXPECT_EQ(static_cast<UInt32>((*instance_)->QueryInterface(instance_, CFUUIDGetUUIDBytes(IUnknownUUID), nullptr)),
            0x80000005u);
  EXPECT_EQ((*instance_)->AddRef(instance_), 2u);
  EXPECT_EQ((*instance_)->Release(instance_), 1u);
}

TEST_F(MachOPlugin, InstancesAreRegisteredUntilTheLastRelease) {
  const CFIndex before = SorrelPlugInInstanceCount(factory_);
  const long blocks = macho::LiveBlocks();
  MDImporterInterfaceStruct** other = NewInstance();
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(SorrelPlugInInstanceCount(factory_), before + 1);
  EXPECT_EQ(macho::LiveBlocks(), blocks + 2);
  EXPECT_EQ((*other)->AddRef(other), 2u);
  EXPECT_EQ((*other)->Release(other), 1u);
  EXPECT_EQ(SorrelPlugInInstanceCount(factory_), before + 1);
  EXPECT_EQ((*other)->Release(other), 0u);
  EXPECT_EQ(SorrelPlugInInstanceCount(factory_), before);
  EXPECT_EQ(macho::LiveBlocks(), blocks);
}

TEST_F(MachOPlugin, MemoryThatCannotBeHadGivesNoInstance) {
  for (const long failing : {1, 2}) {
    const CFIndex before = SorrelPlugInInstanceCount(factory_);
    const long blocks = macho::LiveBlocks();
    macho::FailAllocations(failing, 1);
    MDImporterInterfaceStruct** instance = NewInstance();
    macho::FailAllocations(0, 0);
    EXPECT_EQ(instance, nullptr);
    EXPECT_EQ(macho::LiveBlocks(), blocks);
    EXPECT_EQ(SorrelPlugInInstanceCount(factory_), before);
  }
}

}  // namespace
