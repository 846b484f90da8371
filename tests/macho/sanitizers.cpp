// What the address sanitizer must know to check a program that loads images.
//
// The unwinder sorts the frames of an image when it first needs them, under its lock, in memory from the heap.
// A sanitizer that asks it for the stack of that allocation waits for the same lock. So stacks are taken the
// fast way, through frame pointers, and as those do not get through Foundation the leak checker cannot tell
// the runtime's own blocks: leaks are left to the blocks that the image counts and to the memory checker.
extern "C" {

#pragma GCC visibility push(default)
const char* __asan_default_options();
#pragma GCC visibility pop

const char* __asan_default_options() { return "fast_unwind_on_malloc=1:detect_leaks=0"; }

}  // extern "C"
