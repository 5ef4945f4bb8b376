// Sockets of the user agent: every wait has a deadline on the monotonic clock, in microseconds
// as monotonic_us() counts them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <netinet/in.h>
#include <vector>

constexpr size_t SLP_DATAGRAM_SIZE_MAX = 65536;

/// Longest message in bytes read over TCP: `SLP_RESULTS_MAX` URLs of usual length.
constexpr size_t SLP_STREAM_MESSAGE_MAX = size_t{4} * 1024 * 1024;

/// Opens the UDP socket of a search that many agents may answer, with a receive buffer for a
/// burst of answers. Returns the descriptor, or -1 (`errno`).
int slp_open_group_socket(int multicast_ttl);

/// Opens a UDP socket connected to one agent. Returns the descriptor, or -1 (`errno`).
int slp_open_unicast_socket(const struct sockaddr_in &target);

/// One wait for datagrams.
struct slp_wait {
    int64_t deadline_us;
    /// Datagrams that are still read past the deadline. What has arrived by then counts, though the
    /// process may have been stopped or slow; a flood must not prolong the wait.
    int late_left = 4096;
};

/// Waits for the next datagram. Returns its size in bytes, 0 when the wait is over and all that has
/// arrived is read (an empty datagram is passed over), -1 when the socket failed, such as by the
/// message that nobody listens on a connected socket's port. `sender` may be null.
int slp_receive(int fd, slp_wait *wait, std::vector<uint8_t> *buffer, struct sockaddr_in *sender);

/// Sends `request` over a TCP connection of its own and reads one message into `reply`, all
/// before `deadline_us`. Returns 0, or -1 when no whole message could be had; whole means as long
/// as it says itself, which may be less than a header.
int slp_exchange_over_tcp(const struct sockaddr_in &target, const std::vector<uint8_t> &request,
                          int64_t deadline_us, std::vector<uint8_t> *reply);
