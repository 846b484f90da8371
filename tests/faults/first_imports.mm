// first_imports BUNDLE: sixteen threads make the first imports of this process at once. Fails when one
// of them gives anything else than a later import on a single thread.
#include <stdio.h>

#include <atomic>
#include <barrier>

#include "tests/faults/imports.h"
#include "tests/support/temp_folder.h"

namespace {

using faults::Outcome;

MDImporterURLInterfaceStruct** NewImporter(const char* bundle) {
  NSURL* url = [NSURL fileURLWithPath:[NSString stringWithUTF8String:bundle]];
  CFPlugInRef plugin = CFPlugInCreate(kCFAllocatorDefault, (CFURLRef)url);
  NSArray* factories = (NSArray*)CFPlugInFindFactoriesForPlugInTypeInPlugIn(kMDImporterTypeID, plugin);
  auto** object = static_cast<MDImporterInterfaceStruct**>(
      CFPlugInInstanceCreate(kCFAllocatorDefault, (CFUUIDRef)[factories objectAtIndex:0], kMDImporterTypeID));
  void* interface = nullptr;
  (*object)->QueryInterface(object, CFUUIDGetUUIDBytes(kMDImporterURLInterfaceID), &interface);
  (*object)->Release(object);
  [factories release];
  [(id)plugin release];
  return static_cast<MDImporterURLInterfaceStruct**>(interface);
}

// Returns how many of the first imports were not like the later ones.
int CompareFirstImports(const faults::ImportFunction& import, const std::vector<NSURL*>& urls) {
  constexpr size_t kThreads = 16;
  std::vector<Outcome> first(kThreads);
  std::barrier together(kThreads);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; i++) {
    threads.push_back(faults::PlatformThread([&, i] {
      NSURL* url = urls[i % urls.size()];
      together.arrive_and_wait();
      first[i] = faults::ImportOnce(import, url);
    }));
  }
  faults::JoinAll(threads);
  int wrong = 0;
  for (size_t i = 0; i < kThreads; i++) {
    wrong += first[i] != faults::ImportOnce(import, urls[i % urls.size()]);
  }
  return wrong;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "Usage: first_imports BUNDLE\n");
    return 2;
  }
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  MDImporterURLInterfaceStruct** importer = NewImporter(argv[1]);
  const TempFolder folder;
  std::vector<NSURL*> urls;
  for (const std::string& bytes : faults::MixedFiles()) {
    const std::string path = folder.Write(std::to_string(urls.size()) + ".torrent", bytes);
    urls.push_back([NSURL fileURLWithPath:[NSString stringWithUTF8String:path.c_str()]]);
  }
  const int wrong = CompareFirstImports(
      [importer](CFMutableDictionaryRef attributes, CFURLRef url) {
        return (*importer)->ImporterImportURLData(importer, attributes, nullptr, url);
      },
      urls);
  (*importer)->Release(importer);
  [pool release];
  if (wrong > 0) {
    fprintf(stderr, "%d imports differ\n", wrong);
  }
  return wrong > 0 ? 1 : 0;
}
