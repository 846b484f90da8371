// The plug-in object by itself: its record, its table, its counts, and the path form of the import.
#include <malloc.h>
#include <string.h>

#include <atomic>
#include <thread>
#include <vector>

#include "SpotlightImporter/GetMetadataForFile.h"
#include "SpotlightImporter/MetadataImporterPlugin.h"
#include "platform/gnustep/instance_count.h"
#include "tests/plugin/foundation_test.h"

namespace {

// The call of the import function that was seen last.
struct SeenImport {
  int calls;
  void* interface;
  CFMutableDictionaryRef attributes;
  CFStringRef type;
  std::string path;
  NSURL* url;
  Boolean result;
};
SeenImport seen;

std::atomic<int> malloc_calls_until_failure = 0;  // 0: never fail
std::atomic<int> live_blocks = 0;                 // of the files that are linked into this program

// Which identifiers the platform cannot make at the moment.
enum class Refused { kNone, kFromText, kFromBytes, kConstant };
Refused refused_uuids = Refused::kNone;

}  // namespace

Boolean GetMetadataForURL(void* thisInterface, CFMutableDictionaryRef attributes, CFStringRef contentTypeUTI,
                          CFURLRef url) {
  seen.calls++;
  seen.interface = thisInterface;
  seen.attributes = attributes;
  seen.type = contentTypeUTI;
  seen.path = Utf8([(NSURL*)url path]);
  seen.url = [(NSURL*)url retain];
  return seen.result;
}

extern "C" {

void* __real_malloc(size_t size);
void __real_free(void* block);

void* __wrap_malloc(size_t size) {
  if (malloc_calls_until_failure > 0 && --malloc_calls_until_failure == 0) {
    return nullptr;
  }
  live_blocks++;
  return __real_malloc(size);
}

void __wrap_free(void* block) {
  live_blocks -= block != nullptr;
  __real_free(block);
}

CFUUIDRef __real_CFUUIDCreateFromString(CFAllocatorRef allocator, CFStringRef text);
CFUUIDRef __real_CFUUIDCreateFromUUIDBytes(CFAllocatorRef allocator, CFUUIDBytes bytes);
decltype(CFUUIDGetConstantUUIDWithBytes) __real_CFUUIDGetConstantUUIDWithBytes;

CFUUIDRef __wrap_CFUUIDCreateFromString(CFAllocatorRef allocator, CFStringRef text) {
  return refused_uuids == Refused::kFromText ? nullptr : __real_CFUUIDCreateFromString(allocator, text);
}

CFUUIDRef __wrap_CFUUIDCreateFromUUIDBytes(CFAllocatorRef allocator, CFUUIDBytes bytes) {
  return refused_uuids == Refused::kFromBytes ? nullptr : __real_CFUUIDCreateFromUUIDBytes(allocator, bytes);
}

CFUUIDRef __wrap_CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef allocator, UInt8 b0, UInt8 b1, UInt8 b2, UInt8 b3,
                                                UInt8 b4, UInt8 b5, UInt8 b6, UInt8 b7, UInt8 b8, UInt8 b9, UInt8 b10,
                                                UInt8 b11, UInt8 b12, UInt8 b13, UInt8 b14, UInt8 b15) {
  return refused_uuids == Refused::kConstant
             ? nullptr
             : __real_CFUUIDGetConstantUUIDWithBytes(allocator, b0, b1, b2, b3, b4, b5, b6, b7, b8, b9, b10, b11, b12,
                                                     b13, b14, b15);
}

}  // extern "C"

namespace {

CFUUIDBytes BytesOf(CFUUIDRef uuid) { return CFUUIDGetUUIDBytes(uuid); }

CFUUIDRef Factory() { return UUIDOf(SORREL_FACTORY_UUID); }

class PlugInObject : public FoundationTest {
 protected:
  PlugInObject() { seen = {}; }
  ~PlugInObject() override {
    refused_uuids = Refused::kNone;
    [seen.url release];
  }

  static MetadataImporterPluginType* New() {
    return static_cast<MetadataImporterPluginType*>(
        MetadataImporterPluginFactory(kCFAllocatorDefault, kMDImporterTypeID));
  }
};

// An instance with one reference, which the test's end gives up.
class PlugInInstance : public PlugInObject {
 protected:
  ~PlugInInstance() override {
    while (instance_->table->Release(instance_) > 0) {
    }
  }

  HRESULT Query(CFUUIDRef interface) { return instance_->table->QueryInterface(instance_, BytesOf(interface), &out_); }

  bool EntryIs(decltype(GetMetadataForURL)* function) const {
    return reinterpret_cast<void*>(instance_->table->ImporterImportData) == reinterpret_cast<void*>(function);
  }

  MetadataImporterPluginType* const instance_ = New();
  void* out_ = &out_;
};

TEST_F(PlugInObject, FactoryRefusesEveryOtherType) {
  for (CFUUIDRef type : {kMDImporterInterfaceID, kMDImporterURLInterfaceID, IUnknownUUID, CFUUIDRef{nullptr}}) {
    EXPECT_EQ(MetadataImporterPluginFactory(kCFAllocatorDefault, type), nullptr);
  }
  EXPECT_EQ(SorrelPlugInInstanceCount(Factory()), 0);
}

TEST_F(PlugInObject, FactoryComparesAllBytesOfTheType) {
  for (size_t i = 0; i < sizeof(CFUUIDBytes); i++) {
    SCOPED_TRACE(i);
    CFUUIDBytes bytes = BytesOf(kMDImporterTypeID);
    reinterpret_cast<unsigned char*>(&bytes)[i] ^= 1;
    CFUUIDRef type = CFUUIDCreateFromUUIDBytes(kCFAllocatorDefault, bytes);
    EXPECT_EQ(MetadataImporterPluginFactory(kCFAllocatorDefault, type), nullptr);
    CFRelease(type);
  }
}

TEST_F(PlugInObject, FactoryAcceptsAnEqualTypeFromAnotherObject) {
  void* instance = MetadataImporterPluginFactory(kCFAllocatorDefault, UUIDOf("8B08C4BF-415B-11D8-B3F9-0003936726FC"));
  ASSERT_NE(instance, nullptr);
  EXPECT_EQ(MetadataImporterPluginRelease(instance), 0u);
}

TEST_F(PlugInObject, NewInstanceHoldsTheFactoryAndOneReference) {
  MetadataImporterPluginType* instance = New();
  ASSERT_NE(instance, nullptr);
  EXPECT_EQ(instance->reference_count, 1u);
  EXPECT_EQ(CFEqual(instance->factory_uuid, Factory()), true);
  EXPECT_EQ([(NSUUID*)instance->factory_uuid retainCount], 2u);  // the instance's and the registry's
  EXPECT_EQ(MetadataImporterPluginRelease(instance), 0u);
}

TEST_F(PlugInObject, NewTableHasFiveEntriesInOrder) {
  MetadataImporterPluginType* instance = New();
  void* entries[5];
  memcpy(entries, instance->table, sizeof entries);
  EXPECT_EQ(entries[0], nullptr);
  EXPECT_EQ(entries[1], reinterpret_cast<void*>(MetadataImporterQueryInterface));
  EXPECT_EQ(entries[2], reinterpret_cast<void*>(MetadataImporterPluginAddRef));
  EXPECT_EQ(entries[3], reinterpret_cast<void*>(MetadataImporterPluginRelease));
  EXPECT_EQ(entries[4], nullptr);
  EXPECT_EQ(MetadataImporterPluginRelease(instance), 0u);
}

TEST_F(PlugInObject, EveryInstanceHasATableOfItsOwn) {
  MetadataImporterPluginType* one = New();
  MetadataImporterPluginType* other = New();
  void* out = nullptr;
  EXPECT_EQ(MetadataImporterQueryInterface(one, BytesOf(kMDImporterURLInterfaceID), &out), S_OK);
  EXPECT_NE(one->table, other->table);
  EXPECT_EQ(other->table->ImporterImportData, nullptr);
  EXPECT_EQ(MetadataImporterPluginRelease(one), 1u);
  EXPECT_EQ(MetadataImporterPluginRelease(one), 0u);
  EXPECT_EQ(MetadataImporterPluginRelease(other), 0u);
}

TEST_F(PlugInObject, InstancesAreRegisteredUntilTheLastRelease) {
  MetadataImporterPluginType* one = New();
  MetadataImporterPluginType* other = New();
  EXPECT_EQ(SorrelPlugInInstanceCount(Factory()), 2);
  EXPECT_EQ(MetadataImporterPluginRelease(one), 0u);
  EXPECT_EQ(SorrelPlugInInstanceCount(Factory()), 1);
  MetadataImporterPluginAddRef(other);
  EXPECT_EQ(MetadataImporterPluginRelease(other), 1u);
  EXPECT_EQ(SorrelPlugInInstanceCount(Factory()), 1);
  EXPECT_EQ(MetadataImporterPluginRelease(other), 0u);
  EXPECT_EQ(SorrelPlugInInstanceCount(Factory()), 0);
}

TEST_F(PlugInObject, LastReleaseFreesRecordAndTable) {
  const int before = live_blocks;
  MetadataImporterPluginType* instance = New();
  EXPECT_EQ(live_blocks, before + 2);
  EXPECT_EQ(MetadataImporterPluginRelease(instance), 0u);
  EXPECT_EQ(live_blocks, before);
}

TEST_F(PlugInObject, InstanceKeepsItsFactoryAliveAndLetsGoOfIt) {
  NSUUID* factory = [NSUUID new];
  MetadataImporterPluginType* instance = AllocMetadataImporterPluginType((CFUUIDRef)factory);
  EXPECT_EQ(instance->factory_uuid, (CFUUIDRef)factory);
  EXPECT_EQ([factory retainCount], 3u);  // the test's, the instance's, the registry's
  DeallocMetadataImporterPluginType(instance);
  EXPECT_EQ([factory retainCount], 1u);
  [factory release];
}

TEST_F(PlugInObject, InstanceWithoutAFactoryIsNotCounted) {
  MetadataImporterPluginType* instance = AllocMetadataImporterPluginType(nullptr);
  ASSERT_NE(instance, nullptr);
  EXPECT_EQ(instance->factory_uuid, nullptr);
  EXPECT_EQ(SorrelPlugInInstanceCount(Factory()), 0);
  EXPECT_EQ(MetadataImporterPluginRelease(instance), 0u);
}

TEST_F(PlugInObject, MemoryThatCannotBeHadGivesNoInstance) {
  for (const int failing : {1, 2}) {
    SCOPED_TRACE(failing);
    const int before = live_blocks;
    malloc_calls_until_failure = failing;
    MetadataImporterPluginType* instance = New();
    malloc_calls_until_failure = 0;
    EXPECT_EQ(instance, nullptr);
    EXPECT_EQ(live_blocks, before);
    EXPECT_EQ(SorrelPlugInInstanceCount(Factory()), 0);
  }
}

TEST_F(PlugInObject, FactoryWorksWithoutItsOwnIdentifier) {
  refused_uuids = Refused::kFromText;
  MetadataImporterPluginType* instance = New();
  refused_uuids = Refused::kNone;
  ASSERT_NE(instance, nullptr);
  EXPECT_EQ(instance->factory_uuid, nullptr);
  EXPECT_EQ(SorrelPlugInInstanceCount(Factory()), 0);
  EXPECT_EQ(MetadataImporterPluginRelease(instance), 0u);
}

TEST_F(PlugInObject, TypeThatCannotBeComparedIsRefused) {
  CFUUIDRef type = kMDImporterTypeID;
  refused_uuids = Refused::kConstant;
  EXPECT_EQ(MetadataImporterPluginFactory(kCFAllocatorDefault, type), nullptr);
}

TEST_F(PlugInInstance, InterfaceThatCannotBeComparedIsUnknown) {
  const CFUUIDBytes interface = BytesOf(kMDImporterURLInterfaceID);
  for (const Refused refused : {Refused::kFromBytes, Refused::kConstant}) {
    refused_uuids = refused;
    EXPECT_EQ(MetadataImporterQueryInterface(instance_, interface, &out_), E_NOINTERFACE);
    EXPECT_EQ(out_, nullptr);
    EXPECT_EQ(instance_->reference_count, 1u);
    out_ = &out_;
  }
}

TEST_F(PlugInInstance, BaseInterfaceLeavesAFreshImportEntryEmpty) {
  EXPECT_EQ(Query(IUnknownUUID), S_OK);
  EXPECT_EQ(out_, instance_);
  EXPECT_EQ(instance_->reference_count, 2u);
  EXPECT_EQ(instance_->table->ImporterImportData, nullptr);
}

TEST_F(PlugInInstance, URLInterfaceSelectsTheURLImport) {
  EXPECT_EQ(Query(kMDImporterURLInterfaceID), S_OK);
  EXPECT_EQ(out_, instance_);
  EXPECT_EQ(instance_->reference_count, 2u);
  EXPECT_TRUE(EntryIs(GetMetadataForURL));
}

TEST_F(PlugInInstance, PathInterfaceSelectsThePathImport) {
  EXPECT_EQ(Query(kMDImporterInterfaceID), S_OK);
  EXPECT_EQ(out_, instance_);
  EXPECT_EQ(instance_->reference_count, 2u);
  EXPECT_EQ(instance_->table->ImporterImportData, LegacyGetMetadataForFile);
}

TEST_F(PlugInInstance, LaterQuerySwitchesTheImportForEveryHolder) {
  EXPECT_EQ(Query(kMDImporterURLInterfaceID), S_OK);
  EXPECT_EQ(Query(kMDImporterInterfaceID), S_OK);
  EXPECT_EQ(instance_->table->ImporterImportData, LegacyGetMetadataForFile);
  EXPECT_EQ(Query(kMDImporterURLInterfaceID), S_OK);
  EXPECT_TRUE(EntryIs(GetMetadataForURL));
  EXPECT_EQ(instance_->reference_count, 4u);
}

TEST_F(PlugInInstance, BaseInterfaceKeepsTheSelectedImport) {
  EXPECT_EQ(Query(kMDImporterInterfaceID), S_OK);
  EXPECT_EQ(Query(IUnknownUUID), S_OK);
  EXPECT_EQ(instance_->table->ImporterImportData, LegacyGetMetadataForFile);
}

TEST_F(PlugInInstance, UnknownInterfaceGivesNullAndChangesNothing) {
  EXPECT_EQ(Query(kMDImporterURLInterfaceID), S_OK);
  EXPECT_EQ(static_cast<UInt32>(Query(kMDImporterTypeID)), 0x80000004u);
  EXPECT_EQ(out_, nullptr);
  EXPECT_EQ(instance_->reference_count, 2u);
  EXPECT_TRUE(EntryIs(GetMetadataForURL));
}

TEST_F(PlugInInstance, EveryByteOfAnInterfaceCounts) {
  for (CFUUIDRef interface : {kMDImporterInterfaceID, kMDImporterURLInterfaceID, IUnknownUUID}) {
    for (size_t i = 0; i < sizeof(CFUUIDBytes); i++) {
      SCOPED_TRACE(i);
      CFUUIDBytes bytes = BytesOf(interface);
      reinterpret_cast<unsigned char*>(&bytes)[i] ^= 0x80;
      EXPECT_EQ(MetadataImporterQueryInterface(instance_, bytes, &out_), E_NOINTERFACE);
    }
  }
  EXPECT_EQ(instance_->reference_count, 1u);
}

TEST_F(PlugInInstance, NowhereToStoreIsAnError) {
  EXPECT_EQ(MetadataImporterQueryInterface(instance_, BytesOf(IUnknownUUID), nullptr), E_POINTER);
  EXPECT_EQ(instance_->reference_count, 1u);
}

TEST_F(PlugInInstance, QueryAddsItsReferenceThroughTheTable) {
  static int counted;
  counted = 0;
  instance_->table->AddRef = [](void*) -> ULONG { return static_cast<ULONG>(++counted); };
  EXPECT_EQ(Query(IUnknownUUID), S_OK);
  EXPECT_EQ(counted, 1);
  EXPECT_EQ(instance_->reference_count, 1u);
}

TEST_F(PlugInInstance, AddRefAndReleaseReturnTheNewCount) {
  EXPECT_EQ(instance_->table->AddRef(instance_), 2u);
  EXPECT_EQ(instance_->table->AddRef(instance_), 3u);
  EXPECT_EQ(instance_->table->Release(instance_), 2u);
  EXPECT_EQ(instance_->table->Release(instance_), 1u);
}

TEST_F(PlugInInstance, ReferencesFromSeveralThreadsAddUp) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 1000000;
  std::atomic<int> waiting = kThreads;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; t++) {
    threads.emplace_back([&] {
      waiting--;
      while (waiting > 0) {
        std::this_thread::yield();
      }
      for (int i = 0; i < 2 * kRounds; i++) {
        MetadataImporterPluginAddRef(instance_);
      }
      for (int i = 0; i < kRounds; i++) {
        MetadataImporterPluginRelease(instance_);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(instance_->reference_count, kThreads * kRounds + 1u);
}

TEST_F(PlugInInstance, QueriesDoNotGrow) {
  const auto query_all = [this](int times) {
    for (int i = 0; i < times; i++) {
      Query(kMDImporterURLInterfaceID);
      Query(kMDImporterTypeID);
    }
  };
  query_all(10);
  // In a build with the leak checker the counts are zero, and the checker looks for itself.
  const size_t before = mallinfo2().uordblks;
  query_all(1000);
  EXPECT_LT(mallinfo2().uordblks, before + 4000);
}

TEST_F(PlugInObject, PathImportHandsEverythingOn) {
  NSMutableDictionary* attributes = [NSMutableDictionary dictionary];
  int marker = 0;
  for (const Boolean result : {true, false}) {
    seen.result = result;
    EXPECT_EQ(LegacyGetMetadataForFile(&marker, (CFMutableDictionaryRef)attributes, CFSTR("a.type"),
                                       CFSTR("/folder/a b.torrent")),
              result);
    EXPECT_EQ(seen.interface, &marker);
    EXPECT_EQ(seen.attributes, (CFMutableDictionaryRef)attributes);
    EXPECT_EQ(Utf8((id)seen.type), "a.type");
    EXPECT_EQ(seen.path, "/folder/a b.torrent");
    EXPECT_EQ([seen.url retainCount], 1u);  // the recorder's own
    [seen.url release];
    seen.url = nil;
  }
  EXPECT_EQ(seen.calls, 2);
}

TEST_F(PlugInObject, PathImportCallsTheFileADirectory) {
  LegacyGetMetadataForFile(nullptr, nullptr, nullptr, CFSTR("/folder/a.torrent"));
  EXPECT_EQ(Utf8([seen.url absoluteString]), "file:///folder/a.torrent/");
}

TEST_F(PlugInObject, PathThatGivesNoURLIsNotImported) {
  seen.result = true;
  EXPECT_EQ(LegacyGetMetadataForFile(nullptr, nullptr, nullptr, nullptr), false);
  EXPECT_EQ(LegacyGetMetadataForFile(nullptr, nullptr, nullptr, CFSTR("")), false);
  EXPECT_EQ(seen.calls, 0);
}

}  // namespace
