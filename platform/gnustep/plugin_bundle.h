// A plug-in bundle: what its property list declares, and its code once that is loaded.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/Foundation.h>
#include <pthread.h>

@interface SorrelPlugInBundle : NSObject {
  NSString* executable;     // absolute path
  NSDictionary* functions;  // factory NSUUID -> name of its function
  NSDictionary* types;      // type NSUUID -> NSArray of factory NSUUIDs
  pthread_mutex_t loading;
  void* code;  // from dlopen, null until the first function is asked for; never closed
}

// Reads Contents/Info.plist of the bundle at `path`; nil when that is unusable.
- (id)initWithPath:(NSString*)path;

// The factories declared with a function.
- (NSArray*)factories;

// The factories declared for `type`; nil when there is none.
- (NSArray*)factoriesForType:(NSUUID*)type;

// Loads the executable if need be and returns the function of `factory`. Null, with a line on
// standard error, when either cannot be had. Safe from any thread.
- (CFPlugInFactoryFunction)functionForFactory:(NSUUID*)factory;

@end
