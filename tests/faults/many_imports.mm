// many_imports mixed N: sixteen threads make N imports each of good and bad files.
// many_imports short_lived N: N threads, one after the other in pairs, make one import each.
// Both fail when an import gives anything else than on a single thread, or when anything is left behind.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <fstream>

#include "SpotlightImporter/GetMetadataForFile.h"
#include "core/base/host.h"
#include "tests/faults/imports.h"
#include "tests/support/platform_memory.h"
#include "tests/support/temp_folder.h"

namespace {

using faults::ImportOnce;
using faults::Outcome;

bool Import(CFMutableDictionaryRef attributes, CFURLRef url) {
  return GetMetadataForURL(nullptr, attributes, nullptr, url);
}

struct Input {
  NSURL* url;
  Outcome expected;
};

std::vector<Input> MakeInputs(const TempFolder& folder) {
  std::vector<Input> inputs;
  for (const std::string& bytes : faults::MixedFiles()) {
    const std::string path = folder.Write(std::to_string(inputs.size()) + ".torrent", bytes);
    NSURL* url = [[NSURL alloc] initFileURLWithPath:[NSString stringWithUTF8String:path.c_str()]];
    inputs.push_back({url, ImportOnce(Import, url)});
  }
  return inputs;
}

long Mixed(const std::vector<Input>& inputs, long imports) {
  constexpr size_t kThreads = 16;
  std::atomic<long> wrong = 0;
  std::vector<std::thread> threads;
  for (size_t t = 0; t < kThreads; t++) {
    threads.push_back(faults::PlatformThread([&, t] {
      for (size_t i = t; i < t + static_cast<size_t>(imports); i++) {
        const Input& input = inputs[i % inputs.size()];
        wrong += ImportOnce(Import, input.url) != input.expected;
      }
    }));
  }
  faults::JoinAll(threads);
  return wrong;
}

long ShortLived(const std::vector<Input>& inputs, long count) {
  std::atomic<long> wrong = 0;
  for (long done = 0; done < count; done += 2) {
    std::vector<std::thread> threads;
    for (long i = done; i < done + 2; i++) {
      threads.push_back(faults::PlatformThread([&, i] {
        const Input& input = inputs[static_cast<size_t>(i) % inputs.size()];
        wrong += ImportOnce(Import, input.url) != input.expected;
      }));
    }
    faults::JoinAll(threads);
  }
  return wrong;
}

long ResidentPages() {
  long size = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident;
}

int NextDescriptor() {
  const int fd = dup(STDIN_FILENO);
  close(fd);
  return fd;
}

// Complains about what there is more of than there was.
int Complain(const char* what, long before, long after, long slack) {
  if (after <= before + slack) {
    return 0;
  }
  fprintf(stderr, "%s: %ld became %ld\n", what, before, after);
  return 1;
}

// A sanitizer keeps what was freed, and its own notes.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long kSlackPages = 1L << 20;
#else
constexpr long kSlackPages = 256;  // 1 MiB
#endif

int Run(long (*imports)(const std::vector<Input>&, long), long count) {
  const TempFolder folder;
  const std::vector<Input> inputs = MakeInputs(folder);
  long wrong = imports(inputs, count / 4);  // stacks, pools and caches are there after this
  const long blocks = test_host::LiveBlocks();
  const int descriptor = NextDescriptor();
  const long pages = ResidentPages();
  wrong += imports(inputs, count);
  int faults = Complain("wrong imports", 0, wrong, 0);
  faults += Complain("blocks", blocks, test_host::LiveBlocks(), 0);
  faults += Complain("descriptors", descriptor, NextDescriptor(), 0);
  faults += Complain("resident pages", pages, ResidentPages(), kSlackPages);
  for (const Input& input : inputs) {
    [input.url release];
  }
  return faults > 0 ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  const long count = argc == 3 ? atol(argv[2]) : 0;
  const bool mixed = argc == 3 && strcmp(argv[1], "mixed") == 0;
  if (count < 4 || (!mixed && strcmp(argv[1], "short_lived") != 0)) {
    fprintf(stderr, "Usage: many_imports mixed|short_lived COUNT, at least 4\n");
    return 2;
  }
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  const int result = Run(mixed ? Mixed : ShortLived, count);
  [pool release];
  return result;
}
