// What the importer uses of Foundation.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <objc/NSObject.h>

using unichar = unsigned short;
using NSTimeInterval = double;

@class NSArray;
@class NSString;

@protocol NSCopying
@end

enum NSComparisonResult : NSInteger { NSOrderedAscending = -1, NSOrderedSame, NSOrderedDescending };
enum NSStringCompareOptions : NSUInteger { NSLiteralSearch = 2 };

struct NSRange {
  NSUInteger location;
  NSUInteger length;
};

inline NSRange NSMakeRange(NSUInteger location, NSUInteger length) { return {location, length}; }

struct NSFastEnumerationState {
  unsigned long state;
  id __unsafe_unretained* itemsPtr;
  unsigned long* mutationsPtr;
  unsigned long extra[5];
};

extern "C" NSString* const NSInvalidArgumentException;

@interface NSAutoreleasePool : NSObject
@end

@interface NSException : NSObject
+ (void)raise:(NSString*)name format:(NSString*)format, ... __attribute__((format(__NSString__, 2, 3)));
@end

@interface NSString : NSObject
+ (id)stringWithUTF8String:(const char*)bytes;
+ (id)stringWithFormat:(NSString*)format, ... __attribute__((format(__NSString__, 1, 2)));
- (id)initWithUTF8String:(const char*)bytes;
- (NSUInteger)length;
- (void)getCharacters:(unichar*)units range:(NSRange)range;
- (NSComparisonResult)compare:(NSString*)other options:(NSStringCompareOptions)options;
@end

@interface NSEnumerator : NSObject
@end

@interface NSArray : NSObject
- (NSUInteger)count;
- (NSEnumerator*)objectEnumerator;
@end

@interface NSMutableArray : NSArray
+ (id)arrayWithCapacity:(NSUInteger)capacity;
- (void)addObject:(id)object;
@end

@interface NSDictionary : NSObject
- (NSUInteger)count;
- (id)objectForKey:(id)key;
- (NSEnumerator*)keyEnumerator;
- (NSArray*)allKeys;
@end

@interface NSMutableDictionary : NSDictionary
- (id)initWithCapacity:(NSUInteger)capacity;
- (void)setObject:(id)object forKey:(id)key;
- (void)removeObjectForKey:(id)key;
@end

@interface NSNumber : NSObject
+ (NSNumber*)numberWithLongLong:(long long)value;
+ (NSNumber*)numberWithUnsignedLongLong:(unsigned long long)value;
- (long long)longLongValue;
@end

@interface NSDate : NSObject
+ (id)dateWithTimeIntervalSince1970:(NSTimeInterval)seconds;
@end

@interface NSURL : NSObject
- (BOOL)isFileURL;
- (NSString*)path;
@end
