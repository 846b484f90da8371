// What the sanitizers must know to check a program that uses Foundation. They ask for these
// functions by name, so those must be visible to them.
//
// The Objective-C runtime keeps blocks for the life of the process: method tables, referred to by
// tagged addresses that the leak checker does not recognise, and what classes make when they are
// initialised. Both are told by a frame of the runtime in the stack of the allocation; only the slow
// unwinder gets through the frames of Foundation. While it initialises classes Foundation also takes
// locks of the runtime and its own in both orders, on one thread.
extern "C" {

#pragma GCC visibility push(default)
const char* __asan_default_options();
const char* __lsan_default_options();
const char* __lsan_default_suppressions();
const char* __tsan_default_suppressions();
#pragma GCC visibility pop

const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }

const char* __lsan_default_options() { return "print_suppressions=0"; }

const char* __lsan_default_suppressions() { return "leak:libobjc.so\n"; }

const char* __tsan_default_suppressions() { return "deadlock:libgnustep-base.so\n"; }

}  // extern "C"
