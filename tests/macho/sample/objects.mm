// An image with something of everything in Objective-C that the bundle's sources use.
#include <Foundation/Foundation.h>

#define EXPORTED extern "C" __attribute__((visibility("default")))

@interface SampleBase : NSObject {
  signed char flag;
  long long total;
}
@property(readonly) long long total;
- (id)initWithTotal:(long long)value;
- (long long)twice;
+ (int)sides;
@end

@implementation SampleBase
@synthesize total;
- (id)initWithTotal:(long long)value {
  self = [super init];
  flag = 1;
  total = value;
  return self;
}
- (long long)twice {
  return flag * 2 * total;
}
+ (int)sides {
  return 4;
}
@end

@interface SampleDerived : SampleBase {
  NSString* name;
}
@property(readonly) NSString* name;
- (id)initWithName:(NSString*)text;
@end

@implementation SampleDerived
@synthesize name;
- (id)initWithName:(NSString*)text {
  self = [super initWithTotal:21];
  name = [text copy];
  return self;
}
- (void)dealloc {
  [name release];
  [super dealloc];
}
- (long long)twice {
  return [super twice] + 1;
}
+ (int)sides {
  return [super sides] + 1;
}
@end

@interface NSString (Sample)
+ (NSString*)sampleText;
- (NSUInteger)sampleLength;
@end

@implementation NSString (Sample)
+ (NSString*)sampleText {
  return @"plain";
}
- (NSUInteger)sampleLength {
  return [self length] * 10;
}
@end

EXPORTED long long TwiceOfADerived() {
  SampleDerived* object = [[SampleDerived alloc] initWithName:@"n"];
  const long long twice = [object twice];
  [object release];
  return twice;
}

EXPORTED int SidesOfADerived() { return [SampleDerived sides]; }

EXPORTED id NewDerived() { return [[SampleDerived alloc] initWithName:@"caf\u00e9 \u20ac"]; }

EXPORTED id Formatted(int number, double fraction) {
  return [NSString stringWithFormat:@"%d %@ %.2f %s %d", number, @"\u20ac", fraction, "c", 5];
}

EXPORTED id CategoryText() { return [NSString sampleText]; }

EXPORTED id UnderAKey(id dictionary) { return [(NSDictionary*)dictionary objectForKey:@"key"]; }

EXPORTED long long MessageToNil() { return [(SampleBase*)nil twice]; }

EXPORTED int CatchesWhatFoundationRaises() {
  NSMutableArray* array = [NSMutableArray arrayWithCapacity:1];
  try {
    [array addObject:nil];
  } catch (...) {
    return 1;
  }
  return 0;
}

EXPORTED void Raise() { [NSException raise:NSInvalidArgumentException format:@"%d is wrong", 3]; }
