// Runs code where recursion per nesting level cannot hide.
#pragma once

#include <pthread.h>

#include <functional>
#include <stdexcept>
#include <utility>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SMALL_STACK_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SMALL_STACK_SANITIZED 1
#endif
#endif

// What a thread needs at least; sanitizers need much of it for themselves.
#ifdef SMALL_STACK_SANITIZED
constexpr size_t kSmallStack = size_t{512} << 10;
#else
constexpr size_t kSmallStack = size_t{64} << 10;
#endif

// Runs `work` to its end on a thread with a stack of `bytes` bytes.
inline void OnStack(size_t bytes, std::function<void()> work) {
  pthread_attr_t attributes;
  pthread_t thread;
  if (pthread_attr_init(&attributes) != 0 || pthread_attr_setstacksize(&attributes, bytes) != 0 ||
      pthread_create(
          &thread, &attributes,
          [](void* work_pointer) -> void* {
            (*static_cast<std::function<void()>*>(work_pointer))();
            return nullptr;
          },
          &work) != 0) {
    throw std::runtime_error("no thread with a small stack");
  }
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

// The same with a stack of kSmallStack bytes.
inline void OnSmallStack(std::function<void()> work) { OnStack(kSmallStack, std::move(work)); }
