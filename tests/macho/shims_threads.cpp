// Thread data, one-time calls and locks: records of other sizes, which begin with a signature.
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>

#include "tests/macho/shims.h"

namespace macho {
namespace {

// A key that the image would use without these functions is none of this system's.
constexpr unsigned long kKeyOffset = 512;

int CreateKey(unsigned long* out, void (*destructor)(void*)) {
  pthread_key_t key;
  const int error = pthread_key_create(&key, destructor);
  if (error == 0) {
    *out = key + kKeyOffset;
  }
  return DarwinErrno(error);
}

void* GetSpecific(unsigned long key) { return pthread_getspecific(static_cast<pthread_key_t>(key - kKeyOffset)); }

int SetSpecific(unsigned long key, const void* value) {
  return DarwinErrno(pthread_setspecific(static_cast<pthread_key_t>(key - kKeyOffset), value));
}

void CheckSignature(const char* what, long signature, long expected) {
  if (signature != expected) {
    fprintf(stderr, "The image uses a %s that was not set up: its signature is %lx.\n", what,
            static_cast<unsigned long>(signature));
    abort();
  }
}

struct DarwinOnce {
  long signature;
  pthread_once_t once;
};
static_assert(sizeof(DarwinOnce) == 16);

int Once(DarwinOnce* once, void (*function)()) {
  CheckSignature("pthread_once_t", once->signature, 0x30B1BCBA);
  return DarwinErrno(pthread_once(&once->once, function));
}

struct DarwinMutex {
  long signature;
  long padding;
  pthread_mutex_t mutex;  // all zero when it is set up at compile time
};
static_assert(sizeof(DarwinMutex) <= 64);

int Lock(DarwinMutex* mutex) {
  CheckSignature("pthread_mutex_t", mutex->signature, 0x32AAABA7);
  return DarwinErrno(pthread_mutex_lock(&mutex->mutex));
}

int Unlock(DarwinMutex* mutex) {
  CheckSignature("pthread_mutex_t", mutex->signature, 0x32AAABA7);
  return DarwinErrno(pthread_mutex_unlock(&mutex->mutex));
}

}  // namespace

std::span<const Shim> ThreadShims() {
  static const Shim shims[] = {
      {"_pthread_getspecific", reinterpret_cast<void*>(GetSpecific)},
      {"_pthread_key_create", reinterpret_cast<void*>(CreateKey)},
      {"_pthread_mutex_lock", reinterpret_cast<void*>(Lock)},
      {"_pthread_mutex_unlock", reinterpret_cast<void*>(Unlock)},
      {"_pthread_once", reinterpret_cast<void*>(Once)},
      {"_pthread_setspecific", reinterpret_cast<void*>(SetSpecific)},
  };
  return shims;
}

}  // namespace macho
