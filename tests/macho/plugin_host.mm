#include "tests/macho/plugin_host.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/Foundation.h>
#include <stdio.h>

#include <mutex>

#include "tests/macho/loaded_image.h"

// A bundle as its property list describes it. Its code is loaded when it is first asked for.
@interface MachOPlugIn : NSObject {
  NSDictionary* info;
  std::string* code;
  macho::Image* image;
}
- (id)initWithPath:(NSString*)path;
- (NSArray*)factoriesForType:(NSUUID*)type;
- (CFPlugInFactoryFunction)functionForFactory:(NSUUID*)factory;
- (macho::Image*)image;
@end

@implementation MachOPlugIn

- (id)initWithPath:(NSString*)path {
  self = [super init];
  if (!self) {
    return nil;
  }
  NSString* contents = [path stringByAppendingPathComponent:@"Contents"];
  info = [[NSDictionary alloc] initWithContentsOfFile:[contents stringByAppendingPathComponent:@"Info.plist"]];
  NSString* name = [info objectForKey:@"CFBundleExecutable"];
  if ([name length] == 0) {
    [self release];
    return nil;
  }
  NSString* folder = [contents stringByAppendingPathComponent:@"MacOS"];
  code = new std::string([[folder stringByAppendingPathComponent:name] UTF8String]);
  return self;
}

- (void)dealloc {
  delete code;
  [info release];
  [super dealloc];
}

- (NSArray*)factoriesForType:(NSUUID*)type {
  NSArray* texts = [[info objectForKey:@"CFPlugInTypes"] objectForKey:[type UUIDString]];
  NSMutableArray* factories = [NSMutableArray array];
  for (NSUInteger i = 0; i < [texts count]; i++) {
    [factories addObject:[[[NSUUID alloc] initWithUUIDString:[texts objectAtIndex:i]] autorelease]];
  }
  return [factories count] > 0 ? factories : nil;
}

- (CFPlugInFactoryFunction)functionForFactory:(NSUUID*)factory {
  NSString* name = [[info objectForKey:@"CFPlugInFactories"] objectForKey:[factory UUIDString]];
  void* function = name && [self image] ? image->Exported(std::string("_") + [name UTF8String]) : nullptr;
  return reinterpret_cast<CFPlugInFactoryFunction>(function);
}

- (macho::Image*)image {
  try {
    image = image ? image : &macho::LoadForGood(*code);
  } catch (const macho::Refusal& refusal) {
    fprintf(stderr, "Cannot load plug-in code: %s\n", refusal.what());
  }
  return image;
}

@end

namespace {

std::mutex lock;
NSMutableDictionary* plug_ins = nil;  // path -> MachOPlugIn; never freed, as the code stays loaded
MachOPlugIn* latest = nil;

MachOPlugIn* PlugInAt(NSString* path) {
  const std::lock_guard<std::mutex> guard(lock);
  plug_ins = plug_ins ? plug_ins : [NSMutableDictionary new];
  MachOPlugIn* plug_in = [plug_ins objectForKey:path];
  if (!plug_in) {
    plug_in = [[[MachOPlugIn alloc] initWithPath:path] autorelease];
    if (plug_in) {
      [plug_ins setObject:plug_in forKey:path];
      latest = plug_in;
    }
  }
  return plug_in;
}

CFPlugInFactoryFunction FunctionFor(NSUUID* factory, NSUUID* type) {
  const std::lock_guard<std::mutex> guard(lock);
  NSEnumerator* all = [plug_ins objectEnumerator];
  while (MachOPlugIn* plug_in = [all nextObject]) {
    if ([[plug_in factoriesForType:type] containsObject:factory]) {
      return [plug_in functionForFactory:factory];
    }
  }
  return nullptr;
}

}  // namespace

CFPlugInRef CFPlugInCreate(CFAllocatorRef, CFURLRef url) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  MachOPlugIn* plug_in = [PlugInAt([(NSURL*)url path]) retain];
  [pool release];
  return (CFPlugInRef)plug_in;
}

CFArrayRef CFPlugInFindFactoriesForPlugInTypeInPlugIn(CFUUIDRef typeUUID, CFPlugInRef plugIn) {
  return (CFArrayRef)[[(MachOPlugIn*)plugIn factoriesForType:(NSUUID*)typeUUID] retain];
}

void* CFPlugInInstanceCreate(CFAllocatorRef allocator, CFUUIDRef factoryUUID, CFUUIDRef typeUUID) {
  NSAutoreleasePool* pool = [NSAutoreleasePool new];
  const CFPlugInFactoryFunction function = FunctionFor((NSUUID*)factoryUUID, (NSUUID*)typeUUID);
  [pool release];
  return function ? function(allocator, typeUUID) : nullptr;
}

namespace macho {

Image* PlugInImage() {
  const std::lock_guard<std::mutex> guard(lock);
  return [latest image];
}

}  // namespace macho
