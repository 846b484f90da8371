#include <CoreFoundation/CoreFoundation.h>

#include <Foundation/Foundation.h>
#include <mutex>

#include "platform/gnustep/guarded.h"
#include "platform/gnustep/instance_count.h"
#include "platform/gnustep/plugin_bundle.h"

namespace {

// Everything registered in this process. Bundles are kept for good, as their code cannot be
// unloaded while other objects may come from it.
struct Registry {
  std::mutex lock;
  NSMutableDictionary* bundles = [NSMutableDictionary new];    // path -> SorrelPlugInBundle
  NSMutableDictionary* factories = [NSMutableDictionary new];  // factory NSUUID -> SorrelPlugInBundle
  NSCountedSet* instances = [NSCountedSet new];                // a factory NSUUID, once per live instance
};

// Never destroyed: instances may be released until the very end.
Registry& SharedRegistry() {
  static Registry* registry = new Registry;
  return *registry;
}

void Register(Registry& registry, SorrelPlugInBundle* bundle, NSString* path) {
  [registry.bundles setObject:bundle forKey:path];
  NSArray* factories = [bundle factories];
  for (NSUInteger i = 0; i < [factories count]; i++) {
    NSUUID* factory = [factories objectAtIndex:i];
    if (![registry.factories objectForKey:factory]) {
      [registry.factories setObject:bundle forKey:factory];
    }
  }
}

// Returns the bundle of `url`, which the registry owns, reading and registering it if need be.
SorrelPlugInBundle* BundleAt(NSURL* url) {
  NSString* path = [url isFileURL] ? [[url path] stringByResolvingSymlinksInPath] : nil;
  if ([path length] == 0) {
    return nil;
  }
  Registry& registry = SharedRegistry();
  const std::lock_guard<std::mutex> guard(registry.lock);
  SorrelPlugInBundle* bundle = [registry.bundles objectForKey:path];
  if (!bundle) {
    bundle = [[[SorrelPlugInBundle alloc] initWithPath:path] autorelease];
    if (bundle) {
      Register(registry, bundle, path);
    }
  }
  return bundle;
}

SorrelPlugInBundle* BundleOfFactory(NSUUID* factory) {
  Registry& registry = SharedRegistry();
  const std::lock_guard<std::mutex> guard(registry.lock);
  return [registry.factories objectForKey:factory];
}

// Finds the function to call for an instance; null when there is none.
CFPlugInFactoryFunction FunctionFor(NSUUID* factory, NSUUID* type) {
  SorrelPlugInBundle* bundle = factory ? BundleOfFactory(factory) : nil;
  return [[bundle factoriesForType:type] containsObject:factory] ? [bundle functionForFactory:factory] : nullptr;
}

}  // namespace

CFPlugInRef CFPlugInCreate(CFAllocatorRef, CFURLRef url) {
  return (CFPlugInRef)Guarded([=] { return [BundleAt((NSURL*)url) retain]; });
}

CFArrayRef CFPlugInFindFactoriesForPlugInTypeInPlugIn(CFUUIDRef typeUUID, CFPlugInRef plugIn) {
  return (CFArrayRef)[[(SorrelPlugInBundle*)plugIn factoriesForType:(NSUUID*)typeUUID] retain];
}

void* CFPlugInInstanceCreate(CFAllocatorRef allocator, CFUUIDRef factoryUUID, CFUUIDRef typeUUID) {
  const CFPlugInFactoryFunction function =
      Guarded([=] { return FunctionFor((NSUUID*)factoryUUID, (NSUUID*)typeUUID); });
  return function ? function(allocator, typeUUID) : nullptr;
}

void CFPlugInAddInstanceForFactory(CFUUIDRef factoryUUID) {
  Registry& registry = SharedRegistry();
  const std::lock_guard<std::mutex> guard(registry.lock);
  if (factoryUUID) {
    [registry.instances addObject:(NSUUID*)factoryUUID];
  }
}

void CFPlugInRemoveInstanceForFactory(CFUUIDRef factoryUUID) {
  Registry& registry = SharedRegistry();
  const std::lock_guard<std::mutex> guard(registry.lock);
  if (factoryUUID) {
    [registry.instances removeObject:(NSUUID*)factoryUUID];
  }
}

CFIndex SorrelPlugInInstanceCount(CFUUIDRef factoryUUID) {
  Registry& registry = SharedRegistry();
  const std::lock_guard<std::mutex> guard(registry.lock);
  return static_cast<CFIndex>([registry.instances countForObject:(NSUUID*)factoryUUID]);
}
