// The built bundle as a plug-in: what its property list declares is what its code does.
#include "tests/plugin/bundle.h"

#include <dlfcn.h>

#include "platform/gnustep/instance_count.h"

namespace {

class Bundle : public BundleTest {};
class BundleCode : public FoundationTest {};

NSDictionary* PropertyList() {
  return [NSDictionary dictionaryWithContentsOfFile:Text(SORREL_BUNDLE "/Contents/Info.plist")];
}

std::string Executable() {
  return SORREL_BUNDLE "/Contents/Linux/" + Utf8([PropertyList() objectForKey:@"CFBundleExecutable"]);
}

TEST_F(Bundle, InstanceIsCountedAgainstTheFactoryOfThePropertyList) {
  NSArray* declared = [[PropertyList() objectForKey:@"CFPlugInFactories"] allKeys];
  ASSERT_EQ([declared count], 1u);
  CFUUIDRef factory = UUIDOf(Utf8([declared objectAtIndex:0]));
  EXPECT_EQ(SorrelPlugInInstanceCount(factory), 1);
  MDImporterInterfaceStruct** another = NewInstance();
  ASSERT_NE(another, nullptr);
  EXPECT_EQ(SorrelPlugInInstanceCount(factory), 2);
  EXPECT_EQ((*another)->Release(another), 0u);
  EXPECT_EQ(SorrelPlugInInstanceCount(factory), 1);
}

TEST_F(Bundle, OtherTypesAreDeclined) {
  EXPECT_EQ(CFPlugInInstanceCreate(kCFAllocatorDefault, factory_, IUnknownUUID), nullptr);
}

TEST_F(Bundle, InterfacesShareOneTable) {
  auto** by_url = Query<MDImporterURLInterfaceStruct>(instance_, kMDImporterURLInterfaceID);
  const auto url_import = reinterpret_cast<void*>((*by_url)->ImporterImportURLData);
  auto** by_path = Query<MDImporterInterfaceStruct>(instance_, kMDImporterInterfaceID);
  EXPECT_NE(url_import, nullptr);
  EXPECT_EQ(static_cast<void*>(by_url), by_path);
  EXPECT_NE(reinterpret_cast<void*>((*by_url)->ImporterImportURLData), url_import);
  EXPECT_EQ((*by_url)->Release(by_url), 2u);
  EXPECT_EQ((*by_path)->Release(by_path), 1u);
}

TEST_F(Bundle, FactoryIsTheOnlySymbolFound) {
  void* code = dlopen(Executable().c_str(), RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(code, nullptr);
  EXPECT_NE(dlsym(code, "MetadataImporterPluginFactory"), nullptr);
  for (const char* hidden : {"GetMetadataForURL", "LegacyGetMetadataForFile", "MetadataImporterQueryInterface",
                             "AllocMetadataImporterPluginType"}) {
    EXPECT_EQ(dlsym(code, hidden), nullptr) << hidden;
  }
  dlclose(code);
}

TEST_F(BundleCode, StaysLoadedWhenItIsClosed) {
  void* code = dlopen(Executable().c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(code, nullptr) << dlerror();
  EXPECT_EQ(dlclose(code), 0);
  void* again = dlopen(Executable().c_str(), RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(again, nullptr);
  dlclose(again);
}

}  // namespace
