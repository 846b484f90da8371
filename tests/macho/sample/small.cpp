// An image with something of everything that a loader of C and C++ code meets.
#include <errno.h>
#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <wchar.h>

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

int initialised = 0;

struct AtLoad {
  AtLoad() { initialised += 7; }
};
AtLoad at_load;

// Pointers into the image, some behind others, and one that no page of the others holds.
const char* const words[] = {"zero", "one", "two"};
const char* const* volatile second_word = &words[1];
char padding[20000] = "x";
const char* volatile far_word = padding + 1;

struct Shape {
  virtual int Sides() const = 0;
};
struct Square final : Shape {
  int Sides() const override { return 4; }
};

struct SetAtExit {
  int* flag;
  ~SetAtExit() { *flag = 1; }
};

pthread_once_t once = PTHREAD_ONCE_INIT;
int once_calls = 0;

void CountOnce() { once_calls++; }

}  // namespace

EXPORTED int Initialised() { return initialised; }

EXPORTED const char* Word(int index) { return words[index]; }

EXPORTED const char* SecondWord() { return *second_word; }

EXPORTED long FarDistance() { return far_word - padding; }

EXPORTED int SidesOfASquare() {
  const Shape* shape = new Square;
  const int sides = shape->Sides();
  delete static_cast<const Square*>(shape);
  return sides;
}

EXPORTED size_t LengthBy(size_t (*measure)(const char*), const char* text) {
  return measure ? measure(text) : strlen(text);
}

// Calls `function` and tells whether anything was thrown out of it.
EXPORTED int Catch(void (*function)()) {
  try {
    function();
  } catch (...) {
    return 1;
  }
  return 0;
}

// Lets what `function` throws through, and cleans up on the way.
EXPORTED void PassOn(void (*function)(), int* cleaned_up) {
  const SetAtExit set = {cleaned_up};
  function();
}

EXPORTED void* Block(size_t len) { return malloc(len); }
EXPORTED void FreeBlock(void* block) { free(block); }

EXPORTED int CallsOnce() {
  pthread_once(&once, CountOnce);
  pthread_once(&once, CountOnce);
  return once_calls;
}

EXPORTED int NarrowingError(wchar_t unit) {
  const wchar_t text[] = {unit, 0};
  const wchar_t* from = text;
  char to[8];
  mbstate_t state;
  memset(&state, 0, sizeof state);
  errno = 0;
  const size_t len = wcsrtombs(to, &from, sizeof to, &state);
  return len == static_cast<size_t>(-1) ? errno : -static_cast<int>(len);
}

EXPORTED rlim_t StackLimit() {
  struct rlimit limit;
  return getrlimit(RLIMIT_STACK, &limit) == 0 ? limit.rlim_cur : 0;
}
