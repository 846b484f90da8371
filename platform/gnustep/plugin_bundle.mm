#include "platform/gnustep/plugin_bundle.h"

#include <dlfcn.h>
#include <stdarg.h>
#include <stdio.h>
#include <sys/stat.h>

namespace {

// The folder of Contents that holds the executable on this platform.
NSString* const kExecutableFolder = @SORREL_EXECUTABLE_FOLDER;

// Reads a property list; nil when it cannot be read. What is no regular file is refused here, because
// Foundation would log it.
id ReadPropertyList(NSString* path) {
  struct stat info;
  if (stat([path fileSystemRepresentation], &info) != 0 || !S_ISREG(info.st_mode)) {
    return nil;
  }
  NSData* data = [NSData dataWithContentsOfFile:path];
  if ([data length] == 0) {
    return nil;
  }
  try {
    return [NSPropertyListSerialization propertyListWithData:data
                                                     options:NSPropertyListImmutable
                                                      format:nullptr
                                                       error:nullptr];
  } catch (...) {
    return nil;  // raised for some malformed lists
  }
}

// Prints a line on standard error, cut at a length that no honest one has, and with a question mark for each byte that
// is no ASCII character or that controls a terminal: names of bundles are as their authors like them.
[[gnu::format(printf, 1, 2)]] void Complain(const char* format, ...) {
  char line[8192] = "";
  va_list args;
  va_start(args, format);
  vsnprintf(line, sizeof line, format, args);
  va_end(args);
  for (char* c = line; *c != '\0'; ++c) {
    *c = *c >= ' ' && *c <= '~' ? *c : '?';
  }
  fprintf(stderr, "%s\n", line);
}

// Returns `object` if it is of `kind`, otherwise nil.
id Checked(id object, Class kind) { return [object isKindOfClass:kind] ? object : nil; }

id Entry(NSDictionary* table, id key, Class kind) { return Checked([table objectForKey:key], kind); }

NSUUID* UUIDFrom(id text) {
  NSString* checked = Checked(text, [NSString class]);
  return checked ? [[[NSUUID alloc] initWithUUIDString:checked] autorelease] : nil;
}

// Whether `name` names a file inside the executable folder and nothing else.
bool IsPlainFileName(NSString* name) {
  return [name length] > 0 && [name rangeOfString:@"/"].location == NSNotFound && ![name isEqual:@"."] &&
         ![name isEqual:@".."];
}

NSDictionary* FunctionsByFactory(NSDictionary* declared) {
  NSMutableDictionary* functions = [NSMutableDictionary dictionary];
  NSEnumerator* keys = [declared keyEnumerator];
  while (id key = [keys nextObject]) {
    NSUUID* factory = UUIDFrom(key);
    NSString* name = Entry(declared, key, [NSString class]);
    if (factory && [name length] > 0) {
      [functions setObject:name forKey:factory];
    }
  }
  return functions;
}

// The rows of `list` that are UUIDs of known factories.
NSArray* KnownFactories(NSArray* list, NSDictionary* functions) {
  NSMutableArray* known = [NSMutableArray array];
  for (NSUInteger i = 0; i < [list count]; i++) {
    NSUUID* factory = UUIDFrom([list objectAtIndex:i]);
    if (factory && [functions objectForKey:factory]) {
      [known addObject:factory];
    }
  }
  return known;
}

NSDictionary* FactoriesByType(NSDictionary* declared, NSDictionary* functions) {
  NSMutableDictionary* types = [NSMutableDictionary dictionary];
  NSEnumerator* keys = [declared keyEnumerator];
  while (id key = [keys nextObject]) {
    NSUUID* type = UUIDFrom(key);
    NSArray* known = KnownFactories(Entry(declared, key, [NSArray class]), functions);
    if (type && [known count] > 0) {
      [types setObject:known forKey:type];
    }
  }
  return types;
}

}  // namespace

@implementation SorrelPlugInBundle

- (id)initWithPath:(NSString*)path {
  self = [super init];
  if (!self) {
    return nil;
  }
  pthread_mutex_init(&loading, nullptr);
  NSString* contents = [path stringByAppendingPathComponent:@"Contents"];
  id list = ReadPropertyList([contents stringByAppendingPathComponent:@"Info.plist"]);
  NSDictionary* info = Checked(list, [NSDictionary class]);
  NSString* name = Entry(info, @"CFBundleExecutable", [NSString class]);
  NSDictionary* declaredFactories = Entry(info, @"CFPlugInFactories", [NSDictionary class]);
  NSDictionary* declaredTypes = Entry(info, @"CFPlugInTypes", [NSDictionary class]);
  if (!IsPlainFileName(name) || !declaredFactories || !declaredTypes) {
    [self release];
    return nil;
  }
  NSString* folder = [contents stringByAppendingPathComponent:kExecutableFolder];
  executable = [[folder stringByAppendingPathComponent:name] retain];
  functions = [FunctionsByFactory(declaredFactories) retain];
  types = [FactoriesByType(declaredTypes, functions) retain];
  return self;
}

- (void)dealloc {
  [executable release];
  [functions release];
  [types release];
  pthread_mutex_destroy(&loading);
  [super dealloc];
}

- (NSArray*)factories {
  return [functions allKeys];
}

- (NSArray*)factoriesForType:(NSUUID*)type {
  return type ? [types objectForKey:type] : nil;
}

- (void*)loadedCode {
  const char* file = [executable fileSystemRepresentation];
  pthread_mutex_lock(&loading);
  if (!code) {
    code = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (!code) {
      Complain("Cannot load plug-in code: %s", dlerror());
    }
  }
  void* loaded = code;
  pthread_mutex_unlock(&loading);
  return loaded;
}

- (CFPlugInFactoryFunction)functionForFactory:(NSUUID*)factory {
  NSString* name = [functions objectForKey:factory];
  void* loaded = [self loadedCode];
  if (!loaded) {
    return nullptr;
  }
  void* function = dlsym(loaded, [name UTF8String]);
  if (!function) {
    Complain("Cannot find function %s for factory %s in %s", [name UTF8String], [[factory UUIDString] UTF8String],
             [executable fileSystemRepresentation]);
  }
  return reinterpret_cast<CFPlugInFactoryFunction>(function);
}

@end
