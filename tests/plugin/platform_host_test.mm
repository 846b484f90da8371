// The CFPlugIn host: reading a bundle, finding its factories, making and counting instances.
#include <CoreServices/CoreServices.h>
#include <dlfcn.h>
#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <thread>
#include <vector>

#include "platform/gnustep/instance_count.h"
#include "tests/plugin/foundation_test.h"
#include "tests/plugin/sample_plugin.h"
#include "tests/support/temp_folder.h"

// The leak checker's switches, in builds that have it.
extern "C" __attribute__((weak, visibility("default"))) void __lsan_disable();
extern "C" __attribute__((weak, visibility("default"))) void __lsan_enable();

namespace {

constexpr char kType[] = "11111111-2222-3333-4444-555555555555";
constexpr char kExecutable[] = "<key>CFBundleExecutable</key><string>Sample</string>";

std::string PropertyList(const std::string& entries) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\"><plist version=\"1.0\"><dict>" +
         entries + "</dict></plist>";
}

std::string Factories(const std::string& uuid, const std::string& function) {
  return "<key>CFPlugInFactories</key><dict><key>" + uuid + "</key><string>" + function + "</string></dict>";
}

std::string Types(const std::string& type, const std::string& factory) {
  return "<key>CFPlugInTypes</key><dict><key>" + type + "</key><array><string>" + factory + "</string></array></dict>";
}

CFPlugInRef OpenBundle(const std::filesystem::path& path) {
  NSURL* url = [NSURL fileURLWithPath:Text(path.string()) isDirectory:YES];
  return CFPlugInCreate(kCFAllocatorDefault, (CFURLRef)url);
}

// While one of these exists the leak checker, if there is one, does not count new blocks.
class LeaksOfFoundation {
 public:
  LeaksOfFoundation() {
    if (__lsan_disable) {
      __lsan_disable();
    }
  }
  ~LeaksOfFoundation() {
    if (__lsan_enable) {
      __lsan_enable();
    }
  }
  LeaksOfFoundation(const LeaksOfFoundation&) = delete;
  LeaksOfFoundation& operator=(const LeaksOfFoundation&) = delete;
};

// A bundle around a copy of the sample plug-in, so that each test loads a file of its own.
class PlugInHost : public FoundationTest {
 protected:
  ~PlugInHost() override {
    if (plugin_) {
      CFRelease(plugin_);
    }
  }

  void WriteBundle(const std::string& entries) const {
    temp_.Write("Sample.bundle/Contents/Info.plist", PropertyList(entries));
    std::filesystem::create_directories(Module().parent_path());
    std::filesystem::copy_file(SAMPLE_PLUGIN, Module());
  }

  // Opens the bundle written before; closed at the end of the test.
  CFPlugInRef Open() { return plugin_ = OpenBundle(temp_.path() / "Sample.bundle"); }

  void OpenSample(const std::string& function) {
    WriteBundle(kExecutable + Factories(factory_, function) + Types(kType, factory_));
    ASSERT_NE(Open(), nullptr);
  }

  void* Instance() const { return CFPlugInInstanceCreate(kCFAllocatorDefault, UUIDOf(factory_), UUIDOf(kType)); }

  std::filesystem::path Module() const { return temp_.path() / "Sample.bundle/Contents/Linux/Sample"; }

  bool IsLoaded() const {
    void* code = dlopen(Module().c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (code) {
      dlclose(code);
    }
    return code != nullptr;
  }

  TempFolder temp_;
  const std::string factory_ = FreshUUIDText();
  CFPlugInRef plugin_ = nullptr;
};

TEST_F(PlugInHost, FindsTheFactoryOfAType) {
  OpenSample("SampleFactory");
  CFArrayRef found = CFPlugInFindFactoriesForPlugInTypeInPlugIn(UUIDOf(kType), plugin_);
  ASSERT_NE(found, nullptr);
  ASSERT_EQ([(NSArray*)found count], 1u);
  EXPECT_EQ(CFEqual([(NSArray*)found objectAtIndex:0], UUIDOf(factory_)), true);
  CFRelease(found);
}

TEST_F(PlugInHost, FindsNothingForAnotherTypeOrNull) {
  OpenSample("SampleFactory");
  EXPECT_EQ(CFPlugInFindFactoriesForPlugInTypeInPlugIn(kMDImporterTypeID, plugin_), nullptr);
  EXPECT_EQ(CFPlugInFindFactoriesForPlugInTypeInPlugIn(nullptr, plugin_), nullptr);
  EXPECT_EQ(CFPlugInFindFactoriesForPlugInTypeInPlugIn(UUIDOf(kType), nullptr), nullptr);
}

TEST_F(PlugInHost, CodeIsLoadedByTheFirstInstance) {
  OpenSample("SampleFactory");
  EXPECT_FALSE(IsLoaded());
  EXPECT_NE(Instance(), nullptr);
  EXPECT_TRUE(IsLoaded());
}

TEST_F(PlugInHost, FactoryGetsTheAllocatorAndTheType) {
  OpenSample("SampleFactory");
  CFUUIDRef type = UUIDOf(kType);
  const auto allocator = reinterpret_cast<CFAllocatorRef>(&type);
  const auto* made = static_cast<SampleInstance*>(CFPlugInInstanceCreate(allocator, UUIDOf(factory_), type));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->allocator, allocator);
  EXPECT_EQ(made->type, type);
}

TEST_F(PlugInHost, EveryInstanceAsksTheFactoryAgain) {
  OpenSample("SampleFactory");
  Instance();
  const auto* made = static_cast<SampleInstance*>(Instance());
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->made, 2);
}

TEST_F(PlugInHost, DecliningFactoryGivesNull) {
  OpenSample("DecliningFactory");
  EXPECT_EQ(Instance(), nullptr);
  EXPECT_TRUE(IsLoaded());
}

TEST_F(PlugInHost, UnlistedTypeIsRefusedWithoutLoading) {
  OpenSample("SampleFactory");
  EXPECT_EQ(CFPlugInInstanceCreate(kCFAllocatorDefault, UUIDOf(factory_), kMDImporterTypeID), nullptr);
  EXPECT_FALSE(IsLoaded());
}

TEST_F(PlugInHost, UnknownFactoryOrNullIsRefused) {
  OpenSample("SampleFactory");
  EXPECT_EQ(CFPlugInInstanceCreate(kCFAllocatorDefault, UUIDOf(FreshUUIDText()), UUIDOf(kType)), nullptr);
  EXPECT_EQ(CFPlugInInstanceCreate(kCFAllocatorDefault, nullptr, UUIDOf(kType)), nullptr);
  EXPECT_EQ(CFPlugInInstanceCreate(kCFAllocatorDefault, UUIDOf(factory_), nullptr), nullptr);
}

TEST_F(PlugInHost, MissingFunctionIsNamedOnStandardError) {
  OpenSample("NoSuchFunction");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Instance(), nullptr);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Cannot find function NoSuchFunction for factory " + factory_ + " in " + Module().string() + "\n");
}

TEST_F(PlugInHost, MissingCodeIsNamedOnStandardError) {
  OpenSample("SampleFactory");
  std::filesystem::remove(Module());
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Instance(), nullptr);
  const std::string said = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(said.rfind("Cannot load plug-in code: " + Module().string(), 0), 0u) << said;
}

TEST_F(PlugInHost, WhatItSaysControlsNoTerminal) {
  OpenSample("NoSuch\u202EFunction");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Instance(), nullptr);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Cannot find function NoSuch???Function for factory " + factory_ + " in " + Module().string() + "\n");
}

TEST_F(PlugInHost, CodeThatIsNoModuleIsRefused) {
  OpenSample("SampleFactory");
  temp_.Write("Sample.bundle/Contents/Linux/Sample", "not a module");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Instance(), nullptr);
  EXPECT_NE(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(PlugInHost, SamePathGivesTheSamePlugIn) {
  OpenSample("SampleFactory");
  CFPlugInRef again = OpenBundle(temp_.path() / "Sample.bundle/../Sample.bundle");
  EXPECT_EQ(again, plugin_);
  CFRelease(again);
}

TEST_F(PlugInHost, StaysUsableAfterItsReferenceIsReleased) {
  OpenSample("SampleFactory");
  CFRelease(plugin_);
  plugin_ = nullptr;
  EXPECT_NE(Instance(), nullptr);
}

TEST_F(PlugInHost, FirstBundleKeepsAFactory) {
  OpenSample("SampleFactory");
  const std::string entries = kExecutable + Factories(factory_, "DecliningFactory") + Types(kType, factory_);
  temp_.Write("Second.bundle/Contents/Info.plist", PropertyList(entries));
  CFPlugInRef second = OpenBundle(temp_.path() / "Second.bundle");
  ASSERT_NE(second, nullptr);
  EXPECT_NE(Instance(), nullptr);
  CFRelease(second);
}

TEST_F(PlugInHost, LowerCaseUUIDsInThePropertyListAreTheSameUUIDs) {
  std::string lower = factory_;
  for (char& c : lower) {
    c = static_cast<char>(tolower(c));
  }
  WriteBundle(kExecutable + Factories(lower, "SampleFactory") + Types(kType, factory_));
  ASSERT_NE(Open(), nullptr);
  EXPECT_NE(Instance(), nullptr);
}

TEST_F(PlugInHost, MalformedRowsAreLeftOut) {
  WriteBundle(kExecutable +
              ("<key>CFPlugInFactories</key><dict><key>not-a-uuid</key><string>SampleFactory</string><key>" +
               FreshUUIDText() + "</key><array/><key>" + FreshUUIDText() + "</key><string></string><key>" + factory_ +
               "</key><string>SampleFactory</string></dict>") +
              "<key>CFPlugInTypes</key><dict><key>nor-this</key><array><string>" + factory_ + "</string></array><key>" +
              FreshUUIDText() + "</key><string>" + factory_ + "</string><key>" + kType +
              "</key><array><integer>7</integer><string>x</string><string>" + FreshUUIDText() + "</string><string>" +
              factory_ + "</string></array></dict>");
  ASSERT_NE(Open(), nullptr);
  CFArrayRef found = CFPlugInFindFactoriesForPlugInTypeInPlugIn(UUIDOf(kType), plugin_);
  ASSERT_EQ([(NSArray*)found count], 1u);
  EXPECT_EQ(CFEqual([(NSArray*)found objectAtIndex:0], UUIDOf(factory_)), true);
  CFRelease(found);
}

// One property list that the host must refuse; nothing is written when it has no text.
struct BadList {
  const char* name;
  std::optional<std::string> text;
};

std::vector<BadList> BadLists() {
  const std::string factory = FreshUUIDText();
  const std::string factories = Factories(factory, "SampleFactory");
  const std::string types = Types(kType, factory);
  const std::string executable = kExecutable;
  const auto named = [&](const std::string& name) {
    return PropertyList("<key>CFBundleExecutable</key><string>" + name + "</string>" + factories + types);
  };
  return {
      {"no property list", std::nullopt},
      {"root is an array", "<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>"},
      {"no entries", PropertyList("")},
      {"no executable", PropertyList(factories + types)},
      {"no factories", PropertyList(executable + types)},
      {"no types", PropertyList(executable + factories)},
      {"executable is a number", PropertyList("<key>CFBundleExecutable</key><integer>1</integer>" + factories + types)},
      {"factories is a string", PropertyList(executable + "<key>CFPlugInFactories</key><string>x</string>" + types)},
      {"types is an array", PropertyList(executable + factories + "<key>CFPlugInTypes</key><array/>")},
      {"empty executable name", named("")},
      {"executable outside the bundle", named("../../../Sample")},
      {"executable is the folder", named(".")},
      {"executable is the folder above", named("..")},
      {"absolute executable", named("/Sample")},
  };
}

TEST_F(PlugInHost, UnusablePropertyListGivesNull) {
  int number = 0;
  for (const BadList& bad : BadLists()) {
    SCOPED_TRACE(bad.name);
    const std::string bundle = "Bad" + std::to_string(number++) + ".bundle";
    std::filesystem::create_directories(temp_.path() / bundle / "Contents");
    if (bad.text) {
      temp_.Write(bundle + "/Contents/Info.plist", *bad.text);
    }
    EXPECT_EQ(OpenBundle(temp_.path() / bundle), nullptr);
  }
}

TEST_F(PlugInHost, MalformedPropertyListGivesNull) {
  const LeaksOfFoundation ignored;  // its readers lose an object when they raise
  const std::string cut = PropertyList(kExecutable + Factories(factory_, "SampleFactory")).substr(0, 200);
  int number = 0;
  for (const std::string& text : {std::string(), std::string("nonsense <"), cut, "bplist00" + std::string(64, 'z')}) {
    SCOPED_TRACE(text);
    const std::string bundle = "Malformed" + std::to_string(number++) + ".bundle";
    temp_.Write(bundle + "/Contents/Info.plist", text);
    EXPECT_EQ(OpenBundle(temp_.path() / bundle), nullptr);
  }
}

TEST_F(PlugInHost, PropertyListThatIsNoFileIsRefusedInSilence) {
  std::filesystem::create_directories(temp_.path() / "Pipe.bundle/Contents");
  ASSERT_EQ(mkfifo((temp_.path() / "Pipe.bundle/Contents/Info.plist").c_str(), 0600), 0);
  std::filesystem::create_directories(temp_.path() / "Folder.bundle/Contents/Info.plist");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(OpenBundle(temp_.path() / "Pipe.bundle"), nullptr);
  EXPECT_EQ(OpenBundle(temp_.path() / "Folder.bundle"), nullptr);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST_F(PlugInHost, OnlyFileURLsNameBundles) {
  EXPECT_EQ(CFPlugInCreate(kCFAllocatorDefault, nullptr), nullptr);
  EXPECT_EQ(CFPlugInCreate(kCFAllocatorDefault, (CFURLRef)[NSURL URLWithString:@"http://localhost/a.bundle"]), nullptr);
}

TEST_F(PlugInHost, InstancesAreCountedPerFactory) {
  CFUUIDRef one = UUIDOf(FreshUUIDText());
  CFUUIDRef other = UUIDOf(FreshUUIDText());
  EXPECT_EQ(SorrelPlugInInstanceCount(one), 0);
  CFPlugInAddInstanceForFactory(one);
  CFPlugInAddInstanceForFactory(one);
  CFPlugInAddInstanceForFactory(other);
  EXPECT_EQ(SorrelPlugInInstanceCount(one), 2);
  EXPECT_EQ(SorrelPlugInInstanceCount(other), 1);
  CFPlugInRemoveInstanceForFactory(one);
  EXPECT_EQ(SorrelPlugInInstanceCount(one), 1);
  CFPlugInRemoveInstanceForFactory(one);
  CFPlugInRemoveInstanceForFactory(other);
  EXPECT_EQ(SorrelPlugInInstanceCount(one), 0);
}

TEST_F(PlugInHost, RemovalWithoutAdditionIsIgnored) {
  CFUUIDRef factory = UUIDOf(FreshUUIDText());
  CFPlugInRemoveInstanceForFactory(factory);
  EXPECT_EQ(SorrelPlugInInstanceCount(factory), 0);
  CFPlugInAddInstanceForFactory(factory);
  EXPECT_EQ(SorrelPlugInInstanceCount(factory), 1);
  CFPlugInRemoveInstanceForFactory(factory);
}

TEST_F(PlugInHost, NullFactoryIsNotCounted) {
  ::testing::internal::CaptureStderr();
  CFPlugInAddInstanceForFactory(nullptr);
  EXPECT_EQ(SorrelPlugInInstanceCount(nullptr), 0);
  CFPlugInRemoveInstanceForFactory(nullptr);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(SorrelPlugInInstanceCount(nullptr), 0);
}

TEST_F(PlugInHost, CountsFromSeveralThreadsAddUp) {
  CFUUIDRef factory = UUIDOf(FreshUUIDText());
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; t++) {
    threads.emplace_back([factory] {
      GSRegisterCurrentThread();
      for (int i = 0; i < 1000; i++) {
        CFPlugInAddInstanceForFactory(factory);
        CFPlugInAddInstanceForFactory(factory);
        CFPlugInRemoveInstanceForFactory(factory);
      }
      GSUnregisterCurrentThread();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(SorrelPlugInInstanceCount(factory), 4000);
  for (int i = 0; i < 4000; i++) {
    CFPlugInRemoveInstanceForFactory(factory);
  }
}

}  // namespace
