// Clang, told that the Objective-C runtime is GCC's, has Objective-C++ unwound by the runtime's routine for
// plain Objective-C, which cannot read C++ catch clauses. This puts C++'s own in its place; a program may get it
// from several of the libraries it is made of.
#include <stdint.h>

extern "C" {

int __gxx_personality_v0(int version, int actions, uint64_t exception_class, void* exception, void* context);

[[gnu::weak]] int __gnu_objc_personality_v0(int version, int actions, uint64_t exception_class, void* exception,
                                            void* context) {
  return __gxx_personality_v0(version, actions, exception_class, exception, context);
}

}  // extern "C"
