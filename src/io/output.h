// Whether anybody still reads what the process prints.
#pragma once

/// What a wait watches to learn that nobody reads the output any more: the descriptor of standard
/// output where it is a pipe or a socket, which shows POLLERR or POLLHUP then; else -1.
int watched_output();

/// Ends the process where standard output is a pipe or a socket that nobody reads any more: the
/// parent of a child run has gone, or the user's next program has. Output into a file or onto a
/// terminal never ends the process.
void end_when_unread();

/// The same from here on, whatever the process does: for a call of the system that may block for
/// minutes. It is restarted when the system tells of the output.
void end_once_unread();

/// The same for a wait that has watched the output: `revents` is what it has shown.
void end_when_unread(short revents);
