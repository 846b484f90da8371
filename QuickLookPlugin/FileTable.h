// The dictionary of a torrent's files.
#pragma once

#import <Foundation/Foundation.h>

#include "QuickLookPlugin/keyed_hash.h"
#include "QuickLookPlugin/path_table.h"

// A mutable dictionary from path strings to sizes whose cost does not depend on the platform's hash
// of strings, which the author of a torrent can foresee. Keys and objects keep the order in which the
// keys came; a key that is set again keeps its place. Strings of the same characters are the same key.
//
// It answers every method of a mutable dictionary as one does. An enumerator goes over what was there when
// it was made, whatever is changed meanwhile; a key that is set again does not disturb fast enumeration. A
// copy is one of the platform's dictionaries, whose cost does depend on the platform's hash. A capacity is a
// hint: no number is too large.
//
// Like any dictionary it may be read by many threads at once as long as none changes it. Keys are
// strings: looking for anything else finds nothing, storing under anything else is refused with
// NSInvalidArgumentException.
@interface SorrelFileTable : NSMutableDictionary {
  reader::PathTable table;
  reader::HashKey key;
  unsigned long mutations;
}

// Stores a size under `path`, which is retained, not copied. The number object is made when someone
// asks for it.
// Requires: `path` is immutable; the `length` bytes at `bytes` are what it was made from, or those
// that it has as UTF-8.
- (void)setSize:(long long)size forPath:(NSString*)path utf8:(const char*)bytes length:(size_t)length;

@end
