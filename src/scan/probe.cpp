// The reachability probe of one IPv4 address, in steps that do not block.
#include "scan/probe.h"

#include "config/thorough.h"
#include "io/socket.h"
#include "io/wait.h"
#include "scan/tcp_connect.h"

#include <cerrno>
#include <iterator>
#include <sys/socket.h>

namespace
{

/// The system repeats a lost segment after a second only, so the probe makes attempts of its own,
/// each beside those before it: the first alone until half of the time has passed. Where 5 % of
/// the segments get lost, two attempts fail on one device in 100 and three on one in 1000.
constexpr int64_t ATTEMPT_ENDS_US[] = {TCP_WAIT_US / 2, TCP_WAIT_US * 3 / 4, TCP_WAIT_US};

/// With --thorough, until a second is over. The oldest attempts make room for further ones.
constexpr int64_t THOROUGH_ENDS_US[] = {150000, 300000, 450000, 600000, 750000, 900000, 1000000};

size_t attempts_of_probe()
{
    return g_thorough ? std::size(THOROUGH_ENDS_US) : std::size(ATTEMPT_ENDS_US);
}

/// Makes the next attempt. Returns what `connect` returns (`errno`); -1 without a socket.
int begin_attempt(probe *probed)
{
    descriptor &connection = probed->sockets[probed->attempts % PROBE_SOCKETS];
    const int64_t *ends = g_thorough ? THOROUGH_ENDS_US : ATTEMPT_ENDS_US;
    probed->due_us = probed->start_us + ends[probed->attempts++];
    connection.reset(open_tcp_socket());
    return connection.fd < 0 ? -1 : begin_tcp_connection(connection.fd, probed->address);
}

bool is_answered(const probe &probed)
{
    struct pollfd polled[PROBE_SOCKETS];
    return poll(polled, poll_probe(probed, polled), 0) > 0;
}

} // namespace

void end_probe(probe *probed)
{
    for (descriptor &socket : probed->sockets)
        socket.reset();
}

probe_state begin_probe(probe *probed, struct in_addr address, uint16_t port)
{
    end_probe(probed);
    probed->address = ipv4_socket_address(address, port);
    probed->attempts = 0;
    probed->start_us = monotonic_us();
    const bool connected = begin_attempt(probed) == 0;
    if (probed->sockets[0].fd < 0)
        return probe_state::no_socket;
    if (!connected)
        return probe_state::waiting;
    end_probe(probed);
    return probe_state::reachable;
}

size_t poll_probe(const probe &probed, struct pollfd *polled)
{
    size_t count = 0;
    for (const descriptor &socket : probed.sockets) {
        if (socket.fd >= 0)
            polled[count++] = {socket.fd, POLLOUT, 0};
    }
    return count;
}

probe_state step_probe(probe *probed)
{
    // The time before the look: what is not there by then may come late, not what is.
    const int64_t now = monotonic_us();
    if (is_answered(*probed)) {
        end_probe(probed);
        return probe_state::reachable;
    }
    if (now < probed->due_us)
        return probe_state::waiting;
    if (probed->attempts == attempts_of_probe()) {
        end_probe(probed);
        return probe_state::unreachable;
    }
    // What fails here and now tells nothing of the device.
    if (begin_attempt(probed) != 0 && errno != EINPROGRESS && errno != ECONNREFUSED)
        probed->sockets[(probed->attempts - 1) % PROBE_SOCKETS].reset();
    return probe_state::waiting;
}
