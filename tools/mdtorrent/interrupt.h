// Requests to end, by the user's Ctrl-C or from elsewhere: the first one asks for an orderly end, a
// second one ends the process at once.
#pragma once

namespace mdtorrent {

// Starts to take note of SIGINT, SIGTERM and SIGHUP. One that is ignored, as nohup has it, stays so.
// Call once, before any thread is started.
void CatchInterrupt();

// The signal that arrived first; 0 when there was none. Safe from any thread.
int InterruptSignal();

inline bool Interrupted() { return InterruptSignal() != 0; }

// A descriptor that becomes readable when a signal arrives, to wait on together with others; -1 when
// there is none.
int InterruptDescriptor();

}  // namespace mdtorrent
