// The signals that interrupt a parent, so that it can take its children along.
#pragma once

#include <cstdint>
#include <poll.h>

/// From here on SIGINT, SIGTERM, SIGHUP and SIGQUIT, where they are not ignored, do not end the
/// process: they are remembered, and whatever it prints on standard output after that goes
/// nowhere. Each further one ends a wait of the system again.
void catch_interruptions();

/// The first signal that has interrupted the process; 0: none.
int interrupted_by();

/// Polls as `poll` does, for at most `timeout_us` microseconds (negative: without a limit). An
/// interruption ends the wait, even one that came before it: -1, `errno` is EINTR.
int poll_until_interrupted(struct pollfd *polled, nfds_t count, int64_t timeout_us);

/// Closes the log with its record and ends the process by the signal, so that its parent sees it.
[[noreturn]] void end_by_signal(int signal);
