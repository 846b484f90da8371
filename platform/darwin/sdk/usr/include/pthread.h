#pragma once

#include <sys/types.h>

using pthread_key_t = unsigned long;

struct pthread_once_t {
  long __sig;
  char __opaque[8];
};
#define PTHREAD_ONCE_INIT \
  {                       \
    0x30B1BCBA, { 0 }     \
  }

struct pthread_mutex_t {
  long __sig;
  char __opaque[56];
};
#define PTHREAD_MUTEX_INITIALIZER \
  {                               \
    0x32AAABA7, { 0 }             \
  }

extern "C" {

int pthread_key_create(pthread_key_t* key, void (*destructor)(void*));
void* pthread_getspecific(pthread_key_t key);
int pthread_setspecific(pthread_key_t key, const void* value);
int pthread_once(pthread_once_t* once, void (*function)());
int pthread_mutex_lock(pthread_mutex_t* mutex);
int pthread_mutex_unlock(pthread_mutex_t* mutex);

}  // extern "C"
