// The part of the resolver that needs Foundation.
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>
#include <Foundation/Foundation.h>

#include "tests/macho/objc_bridge.h"
#include "tests/macho/resolver.h"

namespace macho {
namespace {

constexpr char kCoreFoundation[] = "/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation";
constexpr char kCoreServices[] = "/System/Library/Frameworks/CoreServices.framework/Versions/A/CoreServices";
constexpr char kFoundation[] = "/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation";
constexpr char kRuntime[] = "/usr/lib/libobjc.A.dylib";

struct Entry {
  std::string library;
  std::string symbol;
  void* address;
};

template <class Function>
Entry FunctionEntry(const char* symbol, Function* function) {
  return {kCoreFoundation, symbol, reinterpret_cast<void*>(function)};
}

Entry VariableEntry(const char* library, const char* symbol, const void* variable) {
  return {library, symbol, const_cast<void*>(variable)};
}

const std::vector<Entry>& Entries() {
  static const auto* entries = new std::vector<Entry>{
      FunctionEntry("_CFEqual", CFEqual),
      FunctionEntry("_CFPlugInAddInstanceForFactory", CFPlugInAddInstanceForFactory),
      FunctionEntry("_CFPlugInRemoveInstanceForFactory", CFPlugInRemoveInstanceForFactory),
      FunctionEntry("_CFRelease", CFRelease),
      FunctionEntry("_CFRetain", CFRetain),
      FunctionEntry("_CFURLCreateWithFileSystemPath", CFURLCreateWithFileSystemPath),
      FunctionEntry("_CFUUIDCreateFromString", CFUUIDCreateFromString),
      FunctionEntry("_CFUUIDCreateFromUUIDBytes", CFUUIDCreateFromUUIDBytes),
      FunctionEntry("_CFUUIDGetConstantUUIDWithBytes", CFUUIDGetConstantUUIDWithBytes),
      VariableEntry(kCoreFoundation, "_kCFAllocatorDefault", &kCFAllocatorDefault),
      VariableEntry(kCoreServices, "_kMDItemComment", &kMDItemComment),
      VariableEntry(kCoreServices, "_kMDItemCreator", &kMDItemCreator),
      VariableEntry(kCoreServices, "_kMDItemDescription", &kMDItemDescription),
      VariableEntry(kFoundation, "_NSInvalidArgumentException", &NSInvalidArgumentException),
  };
  return *entries;
}

// Foundation passes on what CoreFoundation and the runtime offer, so a class may be asked of any of them.
bool OffersClasses(const std::string& library) {
  return library == kFoundation || library == kCoreFoundation || library == kRuntime;
}

}  // namespace

void* ResolveDarwin(const std::string& library, const std::string& symbol) {
  if (void* found = ResolveDarwinLibraries(library, symbol)) {
    return found;
  }
  for (const Entry& entry : Entries()) {
    if (symbol == entry.symbol && (library.empty() || library == entry.library)) {
      return entry.address;
    }
  }
  return library.empty() || OffersClasses(library) ? ResolveObjectiveC(symbol) : nullptr;
}

}  // namespace macho
