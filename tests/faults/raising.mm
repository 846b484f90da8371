#include "tests/faults/raising.h"

#include <Foundation/Foundation.h>
#include <objc/runtime.h>
#include <stdlib.h>

#include <array>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

namespace faults {
namespace {

long calls = 0;
long raising_call = 0;
Raised raised = Raised::kNothing;
int depth = 0;

// Within a controlled method, which may itself be left by an exception.
struct Inside {
  Inside() { ++depth; }
  ~Inside() { --depth; }
};

void RaiseIfDue() {
  if (depth > 0 || ++calls != raising_call) {
    return;
  }
  const Raised what = std::exchange(raised, Raised::kNothing);
  if (what == Raised::kPlatformException) {
    const Inside inside;  // what makes the exception is not to be counted
    [NSException raise:NSGenericException format:@"a fault at call %ld", calls];
  } else if (what == Raised::kBadAlloc) {
    throw std::bad_alloc();
  } else if (what == Raised::kNumber) {
    throw 1;
  }
}

using Implementation = void* (*)(id, SEL, void*, void*, void*, double);

constexpr size_t kSlots = 128;
std::array<IMP, kSlots> originals;
size_t slots_used = 0;

// Arguments in registers reach the original whether or not it has them; so does what it returns.
template <size_t slot>
void* Controlled(id self, SEL selector, void* a, void* b, void* c, double d) {
  RaiseIfDue();
  const Inside inside;
  auto* original = reinterpret_cast<Implementation>(reinterpret_cast<void*>(originals[slot]));
  return original(self, selector, a, b, c, d);
}

template <size_t... slots>
constexpr auto Wrappers(std::index_sequence<slots...>) {
  return std::array<Implementation, kSlots>{Controlled<slots>...};
}

constexpr auto kWrappers = Wrappers(std::make_index_sequence<kSlots>());

// A class that has no such method of its own leaves it to the class above.
void ControlMethod(Class kind, SEL selector) {
  unsigned count = 0;
  Method* methods = class_copyMethodList(kind, &count);
  for (unsigned i = 0; i < count; i++) {
    if (sel_isEqual(method_getName(methods[i]), selector)) {
      if (slots_used == kSlots) {
        throw std::length_error("too many methods to control");
      }
      originals[slots_used] = method_getImplementation(methods[i]);
      method_setImplementation(methods[i], reinterpret_cast<IMP>(reinterpret_cast<void*>(kWrappers[slots_used])));
      ++slots_used;
    }
  }
  free(methods);
}

bool IsOrInherits(Class kind, Class ancestor) {
  while (kind && kind != ancestor) {
    kind = class_getSuperclass(kind);
  }
  return kind != nil;
}

// The method of every class of a family, since it is not known which of them an object will have.
void ControlFamily(Class ancestor, SEL selector) {
  const int count = objc_getClassList(nullptr, 0);
  const std::unique_ptr<Class[]> all(new Class[static_cast<size_t>(count)]);
  objc_getClassList(all.get(), count);
  for (int i = 0; i < count; i++) {
    if (IsOrInherits(all[i], ancestor)) {
      ControlMethod(all[i], selector);
    }
  }
}

}  // namespace

void ControlFoundation() {
  if (slots_used > 0) {
    return;
  }
  for (SEL selector : {
         @selector(initWithUTF8String:), @selector(length), @selector(getCharacters:range:), @selector(compare:options:)
       }) {
    ControlFamily([NSString class], selector);
  }
  ControlFamily([NSMutableArray class], @selector(addObject:));
  ControlFamily([NSMutableDictionary class], @selector(setObject:forKey:));
  ControlFamily([NSURL class], @selector(isFileURL));
  ControlFamily([NSURL class], @selector(path));
  const std::pair<Class, SEL> makers[] = {{[NSString class], @selector(alloc)},
                                          {[NSString class], @selector(stringWithUTF8String:)},
                                          {[NSString class], @selector(stringWithFormat:)},
                                          {[NSArray class], @selector(arrayWithCapacity:)},
                                          {[NSObject class], @selector(new)},
                                          {[NSNumber class], @selector(numberWithLongLong:)},
                                          {[NSNumber class], @selector(numberWithUnsignedLongLong:)},
                                          {[NSDate class], @selector(dateWithTimeIntervalSince1970:)},
                                          {[NSAutoreleasePool class], @selector(new)},
                                          {[NSMutableDictionary class], @selector(dictionaryWithCapacity:)}};
  for (const auto& [kind, selector] : makers) {
    ControlMethod(object_getClass((id)kind), selector);
  }
}

void RaiseAt(long call, Raised what) {
  calls = 0;
  raising_call = call;
  raised = what;
}

long ControlledCalls() { return calls; }

}  // namespace faults
