// The block of temporaries that the core library keeps per thread.
#include <pthread.h>
#include <stddef.h>

#include "core/base/fatal.h"
#include "core/base/host.h"
#include "core/base/mem1.h"

namespace core {
namespace {

pthread_once_t key_once = PTHREAD_ONCE_INIT;
pthread_key_t block_key;

void CreateKey() { AssertAt(pthread_key_create(&block_key, FreeTLS) == 0, "QuickLookPlugin/TorrentInfo", 35); }

// The key lives as long as the process. It is created once even when several threads need it first at
// the same moment: a second key would make every block found under the first one unreachable.
pthread_key_t BlockKey() {
  pthread_once(&key_once, CreateKey);
  return block_key;
}

}  // namespace

ThreadBlock* GetTLS() {
  const pthread_key_t key = BlockKey();
  auto* block = static_cast<ThreadBlock*>(pthread_getspecific(key));
  if (block == nullptr) [[unlikely]] {
    block = static_cast<ThreadBlock*>(MyCalloc(1, sizeof(ThreadBlock)));
    AssertAt(pthread_setspecific(key, block) == 0, "QuickLookPlugin/TorrentInfo", 1001);
  }
  return block;
}

void FreeTLS(void* block) {
  if (block != nullptr) {
    auto* slots = static_cast<ThreadBlock*>(block);
    MyFree(slots->temp_wide);
    MyFree(slots->temp_narrow);
    MyFree(slots->last_unicode);
    MyFree(slots->last_ansi);
    MyFree(slots->stack_copy);
    MyFree(slots);
  }
  pthread_setspecific(BlockKey(), nullptr);
}

}  // namespace core
