// The plug-in object that the metadata service holds, and the factory that makes it.
//
// An instance is a record whose first word points to its interface table. The service asks for an
// interface with QueryInterface, which puts the matching import function into the table, and frees
// the instance by giving up its references. References may be counted from any thread; the last
// one must not be given up while another thread still uses the instance.
#pragma once

#include <CoreFoundation/CFPlugInCOM.h>
#include <CoreServices/CoreServices.h>
#include <stddef.h>

struct MetadataImporterPluginType {
  MDImporterInterfaceStruct* table;  // the instance's own copy
  CFUUIDRef factory_uuid;            // retained; the factory this instance is counted against
  UInt32 reference_count;
};
static_assert(offsetof(MetadataImporterPluginType, table) == 0);
static_assert(offsetof(MetadataImporterPluginType, factory_uuid) == sizeof(void*));
static_assert(offsetof(MetadataImporterPluginType, reference_count) == 2 * sizeof(void*));
static_assert(sizeof(MDImporterInterfaceStruct) == 5 * sizeof(void*));

extern "C" {

// Makes an importer. Returns a new instance with one reference, given up through its table's
// Release; null when `typeID` is not the importer's type or memory is short. The bundle's only
// exported function, named in its property list.
__attribute__((visibility("default"))) void* MetadataImporterPluginFactory(CFAllocatorRef allocator, CFUUIDRef typeID);

// Returns a new instance with one reference and an empty import entry, counted against `factoryID`;
// null when memory is short. A null `factoryID` gives an instance that is not counted anywhere.
MetadataImporterPluginType* AllocMetadataImporterPluginType(CFUUIDRef factoryID);

// Frees `instance` with its table and takes it off its factory's count.
void DeallocMetadataImporterPluginType(MetadataImporterPluginType* instance);

// Stores the instance in `*ppv` with one more reference, when it has the interface `iid`.
//
// Returns S_OK; E_NOINTERFACE with a null `*ppv` for an unknown interface; E_POINTER when `ppv` is
// null. An importer interface also puts its import function into the table; the base interface
// leaves that entry as it is.
// On purpose: there is one table, so asking for the other importer interface switches the import
// function for every holder of the instance.
HRESULT MetadataImporterQueryInterface(void* instance, REFIID iid, LPVOID* ppv);

// Adds a reference and returns the new count.
ULONG MetadataImporterPluginAddRef(void* instance);

// Gives up a reference and returns the new count; at 0 the instance is freed.
ULONG MetadataImporterPluginRelease(void* instance);

// The import function of the path interface: makes a file URL of `pathToFile` and imports that. False
// when the path gives no URL. `thisInterface` and `contentTypeUTI` are only handed on.
Boolean LegacyGetMetadataForFile(void* thisInterface, CFMutableDictionaryRef attributes, CFStringRef contentTypeUTI,
                                 CFStringRef pathToFile);

}  // extern "C"
