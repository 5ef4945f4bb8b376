// TCP connection attempts that take 0.2 s at most. Their waits end the process as soon as nobody
// reads its output any more: they are for children.
#pragma once

#include "io/wait.h"

#include <cstdint>

struct sockaddr_in;

constexpr int64_t TCP_WAIT_US = 200 * MICROSECONDS_PER_MILLISECOND;

/// Prints the time "before" or " after" a wait for `what` with a debug level of 5 or more.
void print_wait_time(const char *when, const char *what, int debug_level);

/// Returns a non-blocking TCP socket, or -1.
int open_tcp_socket();

/// Begins a connection. Returns 0 when it stands at once, else -1 (`errno`).
int begin_tcp_connection(int socket_fd, const struct sockaddr_in &address);

/// Connects to a dotted IPv4 address or a host name. Returns a socket, non-blocking, which the
/// caller closes; a refusal within the time counts as a connection. Returns -1 when the host is
/// neither an address nor a name that resolves, -2 when there is no socket, -3 when nothing was
/// heard for 0.2 s. With a debug level of 5 or more the wait's times are printed on standard
/// output.
int tcp_connect_timeout(const char *host, uint16_t port, int debug_level);

/// Waits 0.2 s at most for `events` on the socket, and prints the times, "open" or "recv" as
/// `what`, with a debug level of 5 or more. Returns 1 when the socket is ready, else 0.
int wait_with_times(int socket_fd, short events, const char *what, int debug_level);

/// Returns 1 when the address counts as reachable: something answered or refused a connection
/// attempt within 0.2 s. While nothing does, attempts are added after 0.1 s and after 0.15 s; with
/// --thorough every 0.15 s within 1 s. An
/// IPv6 address counts without an attempt. Else 0. With a debug level of 5 or more the times of
/// the whole wait are printed on standard output.
int probe_reachable(const char *ip, uint16_t port, int debug_level);
