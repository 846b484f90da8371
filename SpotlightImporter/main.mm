#include <stdlib.h>

#include "SpotlightImporter/GetMetadataForFile.h"
#include "SpotlightImporter/MetadataImporterPlugin.h"

namespace {

using ImportEntry = decltype(MDImporterInterfaceStruct::ImporterImportData);

constexpr MDImporterInterfaceStruct testInterfaceFtbl = {
    nullptr, MetadataImporterQueryInterface, MetadataImporterPluginAddRef, MetadataImporterPluginRelease, nullptr};

// A null reference equals nothing; comparing one would stop the process.
bool SameUUID(CFUUIDRef left, CFUUIDRef right) { return left && right && CFEqual(left, right); }

// One store, because another thread may be calling the entry at this moment.
void SetImportEntry(MetadataImporterPluginType* instance, ImportEntry entry) {
  __atomic_store_n(&instance->table->ImporterImportData, entry, __ATOMIC_RELEASE);
}

// Prepares the table for the interface `requested`. Returns false when there is no such interface.
bool SelectInterface(MetadataImporterPluginType* instance, CFUUIDRef requested) {
  if (SameUUID(requested, kMDImporterInterfaceID)) {
    SetImportEntry(instance, LegacyGetMetadataForFile);
    return true;
  }
  if (SameUUID(requested, kMDImporterURLInterfaceID)) {
    // The two importer tables differ only in the type of the last argument, a reference in both.
    SetImportEntry(instance, reinterpret_cast<ImportEntry>(GetMetadataForURL));
    return true;
  }
  return SameUUID(requested, IUnknownUUID);
}

}  // namespace

void* MetadataImporterPluginFactory(CFAllocatorRef, CFUUIDRef typeID) {
  if (!SameUUID(typeID, kMDImporterTypeID)) {
    return nullptr;
  }
  CFUUIDRef factoryID = CFUUIDCreateFromString(kCFAllocatorDefault, CFSTR(SORREL_FACTORY_UUID));
  MetadataImporterPluginType* instance = AllocMetadataImporterPluginType(factoryID);
  if (factoryID) {
    CFRelease(factoryID);
  }
  return instance;
}

MetadataImporterPluginType* AllocMetadataImporterPluginType(CFUUIDRef factoryID) {
  auto* instance = static_cast<MetadataImporterPluginType*>(malloc(sizeof(MetadataImporterPluginType)));
  auto* table = static_cast<MDImporterInterfaceStruct*>(malloc(sizeof(MDImporterInterfaceStruct)));
  if (!instance || !table) {
    free(instance);
    free(table);
    return nullptr;
  }
  *table = testInterfaceFtbl;
  *instance = {table, factoryID, 1};
  if (factoryID) {
    CFRetain(factoryID);
    CFPlugInAddInstanceForFactory(factoryID);
  }
  return instance;
}

void DeallocMetadataImporterPluginType(MetadataImporterPluginType* instance) {
  CFUUIDRef factoryID = instance->factory_uuid;
  free(instance->table);
  free(instance);
  if (factoryID) {
    CFPlugInRemoveInstanceForFactory(factoryID);
    CFRelease(factoryID);
  }
}

HRESULT MetadataImporterQueryInterface(void* instance, REFIID iid, LPVOID* ppv) {
  if (!ppv) {
    return E_POINTER;
  }
  auto* plugin = static_cast<MetadataImporterPluginType*>(instance);
  CFUUIDRef requested = CFUUIDCreateFromUUIDBytes(kCFAllocatorDefault, iid);
  const bool selected = SelectInterface(plugin, requested);
  if (requested) {
    CFRelease(requested);
  }
  if (!selected) {
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  plugin->table->AddRef(instance);
  *ppv = instance;
  return S_OK;
}

ULONG MetadataImporterPluginAddRef(void* instance) {
  auto* plugin = static_cast<MetadataImporterPluginType*>(instance);
  return __atomic_add_fetch(&plugin->reference_count, 1, __ATOMIC_RELAXED);
}

ULONG MetadataImporterPluginRelease(void* instance) {
  auto* plugin = static_cast<MetadataImporterPluginType*>(instance);
  const UInt32 left = __atomic_sub_fetch(&plugin->reference_count, 1, __ATOMIC_ACQ_REL);
  if (left == 0) {
    DeallocMetadataImporterPluginType(plugin);
  }
  return left;
}

Boolean LegacyGetMetadataForFile(void* thisInterface, CFMutableDictionaryRef attributes, CFStringRef contentTypeUTI,
                                 CFStringRef pathToFile) {
  // On purpose: the file is called a directory. Its URL then ends in a slash, which its path drops again.
  CFURLRef url =
      pathToFile ? CFURLCreateWithFileSystemPath(kCFAllocatorDefault, pathToFile, kCFURLPOSIXPathStyle, true) : nullptr;
  if (!url) {
    return false;
  }
  const Boolean imported = GetMetadataForURL(thisInterface, attributes, contentTypeUTI, url);
  CFRelease(url);
  return imported;
}
