// The interface that alone is asked.
#pragma once

/// Its name, as the command line gives it; nullptr: all usable ones are asked.
extern const char *g_interface_name;

/// Keeps what the socket sends and hears to that interface, where there is one; to be called before
/// the socket is connected. Needs no privilege. Returns 0, or -1 (`errno`).
int keep_to_interface(int socket_fd);
