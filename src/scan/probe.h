// The reachability probe of one IPv4 address, in steps that do not block: many run side by side.
#pragma once

#include "io/stream.h"

#include <cstddef>
#include <cstdint>
#include <netinet/in.h>
#include <poll.h>

/// Connections that one probe has open at most.
constexpr size_t PROBE_SOCKETS = 3;

enum class probe_state {
    waiting,     ///< something may still answer
    reachable,   ///< something answered or refused a connection attempt
    unreachable, ///< nothing did in time
    no_socket,   ///< there is no socket to be had for the first attempt: no verdict, try later
};

struct probe {
    struct sockaddr_in address = {};
    descriptor sockets[PROBE_SOCKETS]; ///< of the attempts that may still be answered
    size_t attempts = 0;
    int64_t start_us = 0;
    int64_t due_us = 0; ///< the next step is due then, by `monotonic_us`, whatever shows before
};

/// Begins to probe a port: nothing of the last address that the record has probed is kept.
probe_state begin_probe(probe *probed, struct in_addr address, uint16_t port);

/// Closes what is open: nothing more is wanted of the probe.
void end_probe(probe *probed);

/// Fills in what shows that a step is due, POLLOUT on each open socket, PROBE_SOCKETS at most.
/// Returns how many.
size_t poll_probe(const probe &probed, struct pollfd *polled);

/// Looks what has been answered, and makes the next attempt once that is due; for a call that
/// comes late, what has arrived by then counts. The sockets are closed as soon as nothing is
/// `waiting` any more.
probe_state step_probe(probe *probed);
