// queries N: threads ask one instance for its interfaces, N times each, and count references, while
// others call the import function that is set. Fails when a reference is lost or the function is none.
#include <stdio.h>
#include <stdlib.h>

#include <atomic>
#include <barrier>

#include "SpotlightImporter/GetMetadataForFile.h"
#include "SpotlightImporter/MetadataImporterPlugin.h"
#include "tests/faults/imports.h"

namespace {

void AskForInterfaces(MetadataImporterPluginType* instance, CFUUIDBytes interface, long count) {
  for (long i = 0; i < count; i++) {
    void* out = nullptr;
    MetadataImporterQueryInterface(instance, interface, &out);
    MetadataImporterPluginRelease(out);
  }
}

// Both functions refuse to import nothing.
void CallTheImport(MetadataImporterPluginType* instance, long count, std::atomic<long>* wrong) {
  for (long i = 0; i < count; i++) {
    const auto import = __atomic_load_n(&instance->table->ImporterImportData, __ATOMIC_ACQUIRE);
    *wrong += !import || import(nullptr, nullptr, nullptr, nullptr);
  }
}

long Run(MetadataImporterPluginType* instance, long count) {
  const CFUUIDBytes by_url = CFUUIDGetUUIDBytes(kMDImporterURLInterfaceID);
  const CFUUIDBytes by_path = CFUUIDGetUUIDBytes(kMDImporterInterfaceID);
  std::atomic<long> wrong = 0;
  AskForInterfaces(instance, by_url, 1);
  std::vector<std::thread> threads;
  std::barrier together(6);
  const auto start = [&](auto body) {
    threads.push_back(faults::PlatformThread([&together, body] {
      together.arrive_and_wait();
      body();
    }));
  };
  for (int i = 0; i < 2; i++) {
    start([=] { AskForInterfaces(instance, by_url, count); });
    start([=] { AskForInterfaces(instance, by_path, count); });
    start([=, &wrong] { CallTheImport(instance, count, &wrong); });
  }
  faults::JoinAll(threads);
  return wrong;
}

}  // namespace

int main(int argc, char** argv) {
  const long count = argc == 2 ? atol(argv[1]) : 0;
  if (count < 1) {
    fprintf(stderr, "Usage: queries COUNT\n");
    return 2;
  }
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  auto* instance =
      static_cast<MetadataImporterPluginType*>(MetadataImporterPluginFactory(kCFAllocatorDefault, kMDImporterTypeID));
  const long wrong = Run(instance, count);
  const ULONG left = MetadataImporterPluginRelease(instance);
  [pool release];
  if (wrong > 0 || left > 0) {
    fprintf(stderr, "%ld wrong calls, %lu references left\n", wrong, static_cast<unsigned long>(left));
    return 1;
  }
  return 0;
}
