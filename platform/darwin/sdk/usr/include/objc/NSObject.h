#pragma once

#include <objc/objc.h>

using NSInteger = long;
using NSUInteger = unsigned long;

@protocol NSObject
- (Class)class;
- (BOOL)isKindOfClass:(Class)aClass;
- (id)retain;
- (oneway void)release;
- (id)autorelease;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
  Class isa;
}
+ (id)alloc;
+ (id)new;
+ (Class)class;
- (id)init;
- (id)copy;
- (void)dealloc;
@end
