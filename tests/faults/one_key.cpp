// one_key: sixteen threads ask for their blocks at once, the first time in this process, while the platform takes
// long to make a key. Fails unless one key is made.
#include <pthread.h>
#include <stdio.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <thread>
#include <vector>

#include "core/base/host.h"

namespace {

std::atomic<int> keys{0};

}  // namespace

extern "C" {

int __real_pthread_key_create(pthread_key_t* key, void (*destructor)(void*));

int __wrap_pthread_key_create(pthread_key_t* key, void (*destructor)(void*)) {
  ++keys;
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  return __real_pthread_key_create(key, destructor);
}

}  // extern "C"

int main() {
  constexpr int kThreads = 16;
  std::barrier together(kThreads);
  std::atomic<int> lost{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      together.arrive_and_wait();
      const core::ThreadBlock* block = core::GetTLS();
      together.arrive_and_wait();
      lost += core::GetTLS() != block;
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  if (keys != 1 || lost != 0) {
    fprintf(stderr, "%d keys, %d blocks lost\n", keys.load(), lost.load());
    return 1;
  }
  return 0;
}
