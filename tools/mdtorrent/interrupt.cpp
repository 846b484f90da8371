#include "tools/mdtorrent/interrupt.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <initializer_list>

namespace mdtorrent {
namespace {

int g_signal = 0;
int g_pipe[2] = {-1, -1};

void NoteInterrupt(int signal) {
  const int kept_errno = errno;
  int none = 0;
  if (!__atomic_compare_exchange_n(&g_signal, &none, signal, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED)) {
    raise(signal);  // once more, and now with the action that it had before
  }
  if (write(g_pipe[1], "", 1) < 0) {
    // The pipe is full or absent: the number alone has to do.
  }
  errno = kept_errno;
}

void Catch(int signal) {
  struct sigaction action = {};
  if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) {
    return;
  }
  action = {};
  action.sa_handler = NoteInterrupt;
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

}  // namespace

void CatchInterrupt() {
  if (pipe(g_pipe) == 0) {
    for (const int fd : g_pipe) {
      fcntl(fd, F_SETFD, FD_CLOEXEC);
      fcntl(fd, F_SETFL, O_NONBLOCK);
    }
  }
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Catch(signal);
  }
}

int InterruptSignal() { return __atomic_load_n(&g_signal, __ATOMIC_RELAXED); }

int InterruptDescriptor() { return g_pipe[0]; }

}  // namespace mdtorrent
