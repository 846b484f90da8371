// A small image, loaded and called: both ways to say what must be patched give the same image.
#include <gtest/gtest.h>
#include <setjmp.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>

#include "tests/macho/image_memory.h"
#include "tests/macho/resolver.h"
#include "tests/macho/sample_files.h"
#include "tests/macho/unwind.h"

namespace macho {
namespace {

// Images stay loaded, as their frames are known to the unwinder from then on.
Image& Loaded(const std::string& kind) {
  static auto* images = new std::map<std::string, std::unique_ptr<Image>>;
  std::unique_ptr<Image>& image = (*images)[kind];
  if (!image) {
    image = std::make_unique<Image>(Sample(kind), ResolveDarwinLibraries);
    image->Protect();
    RegisterUnwinding(*image);
    image->Initialise();
  }
  return *image;
}

class MachOImage : public ::testing::TestWithParam<const char*> {
 protected:
  template <class Function>
  Function* Get(const char* name) const {
    void* address = image_.Exported(name);
    EXPECT_NE(address, nullptr) << name;
    return reinterpret_cast<Function*>(address);
  }

  Image& image_ = Loaded(GetParam());
};

INSTANTIATE_TEST_SUITE_P(Kinds, MachOImage, ::testing::Values("small.classic", "small.chained", "small.universal"),
                         [](const auto& kind) { return std::string(strchr(kind.param, '.') + 1); });

TEST_P(MachOImage, InitialisersHaveRunOnce) { EXPECT_EQ(Get<int()>("_Initialised")(), 7); }

TEST_P(MachOImage, PointersIntoTheImageAreRebased) {
  EXPECT_STREQ(Get<const char*(int)>("_Word")(0), "zero");
  EXPECT_STREQ(Get<const char*(int)>("_Word")(2), "two");
  EXPECT_STREQ(Get<const char*()>("_SecondWord")(), "one");
  EXPECT_EQ(Get<long()>("_FarDistance")(), 1);
}

TEST_P(MachOImage, VirtualFunctionsAreCalled) { EXPECT_EQ(Get<int()>("_SidesOfASquare")(), 4); }

TEST_P(MachOImage, ImportsAndCallbacksAreCalled) {
  auto* length = Get<size_t(size_t(*)(const char*), const char*)>("_LengthBy");
  EXPECT_EQ(length(nullptr, "four"), 4u);
  EXPECT_EQ(length([](const char*) -> size_t { return 9; }, "four"), 9u);
}

TEST_P(MachOImage, ExceptionsAreCaughtInTheImage) {
  auto* catches = Get<int(void (*)())>("_Catch");
  EXPECT_EQ(catches([] { throw std::runtime_error("thrown"); }), 1);
  EXPECT_EQ(catches([] { throw 1; }), 1);
  EXPECT_EQ(catches([] {}), 0);
}

TEST_P(MachOImage, ExceptionsPassThroughAndCleanUp) {
  auto* pass_on = Get<void(void (*)(), int*)>("_PassOn");
  int cleaned_up = 0;
  EXPECT_THROW(pass_on([] { throw std::runtime_error("thrown"); }, &cleaned_up), std::runtime_error);
  EXPECT_EQ(cleaned_up, 1);
}

TEST_P(MachOImage, BlocksAreCounted) {
  auto* allocate = Get<void*(size_t)>("_Block");
  const long before = LiveBlocks();
  void* block = allocate(10);
  EXPECT_EQ(LiveBlocks(), before + 1);
  Get<void(void*)>("_FreeBlock")(block);
  EXPECT_EQ(LiveBlocks(), before);
}

TEST_P(MachOImage, AllocationsFailOnDemand) {
  auto* allocate = Get<void*(size_t)>("_Block");
  FailAllocations(2, 1);
  void* blocks[] = {allocate(1), allocate(1), allocate(1)};
  FailAllocations(0, 0);
  EXPECT_NE(blocks[0], nullptr);
  EXPECT_EQ(blocks[1], nullptr);
  EXPECT_NE(blocks[2], nullptr);
  for (void* block : blocks) {
    Get<void(void*)>("_FreeBlock")(block);
  }
}

TEST_P(MachOImage, OneTimeCallsHappenOnce) { EXPECT_EQ(Get<int()>("_CallsOnce")(), 1); }

TEST_P(MachOImage, ErrorNumbersAreThoseOfMacOS) {
  EXPECT_EQ(Get<int(wchar_t)>("_NarrowingError")(0x20AC), 92);
  EXPECT_EQ(Get<int(wchar_t)>("_NarrowingError")('x'), -1);
}

TEST_P(MachOImage, SymbolsAreFoundByAddress) {
  const auto* code = static_cast<const char*>(image_.Exported("_SidesOfASquare"));
  EXPECT_EQ(image_.Local("_SidesOfASquare"), code);
  EXPECT_EQ(image_.NameOf(code), "_SidesOfASquare");
  EXPECT_EQ(image_.NameOf(code + 1), "_SidesOfASquare");
  EXPECT_EQ(image_.NameOf(&code), "?");
  EXPECT_EQ(image_.Exported("_Missing"), nullptr);
  EXPECT_EQ(image_.Local("_Missing"), nullptr);
}

TEST_P(MachOImage, ImportsNameTheirLibraries) {
  bool found = false;
  for (const Import& import : image_.imports()) {
    found |= import.symbol == "_strlen" && import.library == "/usr/lib/libSystem.B.dylib";
  }
  EXPECT_TRUE(found);
}

TEST_P(MachOImage, ContainsExactlyItself) {
  EXPECT_TRUE(image_.Contains(image_.base()));
  EXPECT_FALSE(image_.Contains(image_.base() - 1));
  EXPECT_FALSE(image_.Contains(image_.base(), UINT64_MAX));
  EXPECT_FALSE(image_.Contains(nullptr));
}

// What the kernel says of the page at `address`: "r-xp" and the like.
std::string AccessAt(const void* address) {
  std::ifstream maps("/proc/self/maps");
  uintptr_t begin, end;
  char dash;
  std::string access, rest;
  while (maps >> std::hex >> begin >> dash >> end >> access && std::getline(maps, rest)) {
    if (reinterpret_cast<uintptr_t>(address) >= begin && reinterpret_cast<uintptr_t>(address) < end) {
      return access;
    }
  }
  return "";
}

TEST_P(MachOImage, CodeIsNotWritableAndDataNotExecutable) {
  EXPECT_EQ(AccessAt(image_.Exported("_Initialised")), "r-xp");
  EXPECT_EQ(AccessAt(image_.SectionNamed("__data").data()), "rw-p");
}

TEST(MachOImageLoading, UnresolvedImportIsNamed) {
  const auto without_strlen = [](const std::string& library, const std::string& symbol) {
    return symbol == "_strlen" ? nullptr : ResolveDarwinLibraries(library, symbol);
  };
  for (const char* kind : {"small.classic", "small.chained"}) {
    EXPECT_EQ(RefusalOf([&] { Image(Sample(kind), without_strlen); }),
              "import _strlen is not in /usr/lib/libSystem.B.dylib");
  }
}

TEST(MachOImageLoading, AddressesAreKnownBeforeImportsAreBound) {
  for (const char* kind : {"small.classic", "small.chained"}) {
    const std::vector<uint8_t> bytes = Sample(kind);
    Image image(bytes);
    void* length_by = image.Exported("_LengthBy");
    ASSERT_NE(length_by, nullptr);
    EXPECT_EQ(image.Local("_LengthBy"), length_by);
    EXPECT_TRUE(image.imports().empty());
    image.Bind(bytes, [](const std::string& library, const std::string& symbol) {
      return symbol == "_strlen" ? reinterpret_cast<void*>(+[](const char*) -> size_t { return 42; })
                                 : ResolveDarwinLibraries(library, symbol);
    });
    EXPECT_FALSE(image.imports().empty());
    image.Protect();
    EXPECT_EQ(reinterpret_cast<size_t (*)(size_t(*)(const char*), const char*)>(length_by)(nullptr, "four"), 42u);
  }
}

TEST(MachOImageLoading, LibrariesOfferOnlyTheirOwnSymbols) {
  EXPECT_NE(ResolveDarwinLibraries("/usr/lib/libSystem.B.dylib", "_malloc"), nullptr);
  EXPECT_EQ(ResolveDarwinLibraries("/usr/lib/libc++.1.dylib", "_malloc"), nullptr);
  EXPECT_EQ(ResolveDarwinLibraries("/usr/lib/libSystem.B.dylib", "_system"), nullptr);
  EXPECT_NE(ResolveDarwinLibraries("", "__Znwm"), nullptr);
}

TEST(MachOImageLoading, MissingFileIsNamed) {
  EXPECT_EQ(RefusalOf([] { ReadFile("/missing/file"); }), "/missing/file cannot be read");
}

}  // namespace
}  // namespace macho
