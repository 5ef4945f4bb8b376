// Shell commands whose output is read, and the end of a process with all that it has started.
#pragma once

#include <cstdio>
#include <sys/types.h>

/// Starts the command as `popen` does for reading, and tells its process too. Returns the stream of
/// its standard output, which other programs do not inherit, or nullptr (`errno`, `*pid` is 0).
FILE *open_command(const char *command, pid_t *pid);

/// Closes the stream and waits for the command to end. A signal with a handler ends the wait: then
/// it returns -1, and the process is still to be waited for; else 0, with the shell's wait status.
int close_command(FILE *stream, pid_t pid, int *wait_status);

/// Kills a child of this process, and whatever it has started and not left behind as an orphan.
/// The child is waited for.
void kill_process_tree(pid_t pid);
