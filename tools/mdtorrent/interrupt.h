// The user's Ctrl-C: the first one asks for an orderly end, a second one ends the process at once.
#pragma once

namespace mdtorrent {

// Starts to take note of SIGINT. Call once, before any thread is started.
void CatchInterrupt();

// Whether SIGINT has arrived. Safe from any thread.
bool Interrupted();

// A descriptor that becomes readable when SIGINT arrives, to wait on together with others; -1 when
// there is none.
int InterruptDescriptor();

}  // namespace mdtorrent
