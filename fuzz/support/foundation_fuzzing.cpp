// What the sanitizers are told in a program that imports very often: how to be fast. Foundation's frames can only be
// unwound slowly, and it allocates much; the check counts all bytes of the heap by itself, so that leaks need no
// stacks.
extern "C" {

#pragma GCC visibility push(default)
const char* __asan_default_options();
#pragma GCC visibility pop

const char* __asan_default_options() { return "detect_leaks=0:fast_unwind_on_malloc=1:malloc_context_size=8"; }

}  // extern "C"
