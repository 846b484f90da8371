#include "tools/mdtorrent/interrupt.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace mdtorrent {
namespace {

volatile sig_atomic_t g_interrupted = 0;
int g_pipe[2] = {-1, -1};

void NoteInterrupt(int) {
  const int kept_errno = errno;
  __atomic_store_n(&g_interrupted, 1, __ATOMIC_RELAXED);
  if (write(g_pipe[1], "", 1) < 0) {
    // The pipe is full or absent: the flag alone has to do.
  }
  errno = kept_errno;
}

}  // namespace

void CatchInterrupt() {
  if (pipe(g_pipe) == 0) {
    for (const int fd : g_pipe) {
      fcntl(fd, F_SETFD, FD_CLOEXEC);
      fcntl(fd, F_SETFL, O_NONBLOCK);
    }
  }
  struct sigaction action = {};
  action.sa_handler = NoteInterrupt;
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
}

bool Interrupted() { return __atomic_load_n(&g_interrupted, __ATOMIC_RELAXED) != 0; }

int InterruptDescriptor() { return g_pipe[0]; }

}  // namespace mdtorrent
