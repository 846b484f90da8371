// The tests of the plug-in object by itself, over an image of its source for macOS. The image asks this
// program for the import function, and gets its memory where the tests count it and can refuse it.
#include "SpotlightImporter/GetMetadataForFile.h"
#include "SpotlightImporter/MetadataImporterPlugin.h"
#include "tests/macho/loaded_image.h"
#include "tests/macho/resolver.h"

namespace {

void* Resolve(const std::string& library, const std::string& symbol) {
  return symbol == "_GetMetadataForURL" ? reinterpret_cast<void*>(GetMetadataForURL)
                                        : macho::ResolveDarwin(library, symbol);
}

const macho::Image& Loaded() {
  static const macho::Image& image = macho::LoadForGood(MACHO_PLUGIN_OBJECT, Resolve);
  return image;
}

template <class Function>
Function* Find(const char* symbol) {
  void* address = Loaded().Local(symbol);
  if (!address) {
    throw macho::Refusal(std::string(MACHO_PLUGIN_OBJECT " lacks ") + symbol);
  }
  return reinterpret_cast<Function*>(address);
}

#define IN_IMAGE(function)                                              \
  auto& function##InImage() {                                           \
    static auto* const found = Find<decltype(function)>("_" #function); \
    return *found;                                                      \
  }
IN_IMAGE(AllocMetadataImporterPluginType)
IN_IMAGE(DeallocMetadataImporterPluginType)
IN_IMAGE(LegacyGetMetadataForFile)
IN_IMAGE(MetadataImporterPluginAddRef)
IN_IMAGE(MetadataImporterPluginFactory)
IN_IMAGE(MetadataImporterPluginRelease)
IN_IMAGE(MetadataImporterQueryInterface)

}  // namespace

#define AllocMetadataImporterPluginType AllocMetadataImporterPluginTypeInImage()
#define DeallocMetadataImporterPluginType DeallocMetadataImporterPluginTypeInImage()
#define LegacyGetMetadataForFile LegacyGetMetadataForFileInImage()
#define MetadataImporterPluginAddRef MetadataImporterPluginAddRefInImage()
#define MetadataImporterPluginFactory MetadataImporterPluginFactoryInImage()
#define MetadataImporterPluginRelease MetadataImporterPluginReleaseInImage()
#define MetadataImporterQueryInterface MetadataImporterQueryInterfaceInImage()

#include "tests/plugin/plugin_object_test.mm"  // NOLINT(bugprone-suspicious-include)
