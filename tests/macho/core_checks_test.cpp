// The core library, compiled for macOS, under checks that run inside the image.
#include <gtest/gtest.h>

#include "tests/macho/image_memory.h"
#include "tests/macho/resolver.h"
#include "tests/macho/sample_files.h"

namespace macho {
namespace {

TEST(MachOCore, EveryCheckHoldsAndLeavesNoBlock) {
  Image image(Sample("core_checks.image"), ResolveDarwinLibraries);
  image.Protect();
  image.Initialise();
  auto* run = reinterpret_cast<int (*)(void (*)(const char*))>(image.Exported("_run_unit_tests"));
  ASSERT_NE(run, nullptr);
  const long before = LiveBlocks();
  EXPECT_EQ(run([](const char* name) { ADD_FAILURE() << name; }), 12);
  EXPECT_EQ(LiveBlocks(), before);
}

}  // namespace
}  // namespace macho
