// unload BUNDLE: threads import by the bundle's code, which is then closed; only after that do they end
// and give up what the code keeps for them.
#include <CoreFoundation/CFPlugInCOM.h>
#include <dlfcn.h>
#include <stdio.h>

#include <atomic>
#include <barrier>

#include "tests/faults/imports.h"
#include "tests/support/temp_folder.h"

namespace {

using Factory = void* (*)(CFAllocatorRef, CFUUIDRef);

// What a host does that loads the code by itself.
int ImportAndClose(void* code, NSURL* url) {
  constexpr int kThreads = 4;
  const auto factory = reinterpret_cast<Factory>(dlsym(code, "MetadataImporterPluginFactory"));
  auto** object = static_cast<MDImporterInterfaceStruct**>(factory(kCFAllocatorDefault, kMDImporterTypeID));
  void* interface = nullptr;
  (*object)->QueryInterface(object, CFUUIDGetUUIDBytes(kMDImporterURLInterfaceID), &interface);
  auto** importer = static_cast<MDImporterURLInterfaceStruct**>(interface);
  std::atomic<int> imported = 0;
  std::barrier step(kThreads + 1);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; t++) {
    threads.push_back(faults::PlatformThread([&] {
      const faults::Outcome outcome = faults::ImportOnce(
          [importer](CFMutableDictionaryRef attributes, CFURLRef file) {
            return (*importer)->ImporterImportURLData(importer, attributes, nullptr, file);
          },
          url);
      imported += !outcome.empty();
      step.arrive_and_wait();  // all have imported
      step.arrive_and_wait();  // the code was closed
    }));
  }
  step.arrive_and_wait();
  (*object)->Release(object);
  (*object)->Release(object);
  const int closed = dlclose(code);
  step.arrive_and_wait();
  faults::JoinAll(threads);
  return closed == 0 && imported == kThreads ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "Usage: unload BUNDLE\n");
    return 2;
  }
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  void* code = dlopen((std::string(argv[1]) + "/Contents/Linux/SorrelTorrent").c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!code) {
    fprintf(stderr, "%s\n", dlerror());
    return 2;
  }
  const TempFolder folder;
  const std::string path = folder.Write("a.torrent", faults::MixedFiles()[2]);
  const int result = ImportAndClose(code, [NSURL fileURLWithPath:[NSString stringWithUTF8String:path.c_str()]]);
  [pool release];
  return result;
}
