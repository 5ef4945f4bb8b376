// TCP listeners of single devices, their connections, and what is sent on them now or later.
#pragma once

#include <cstdint>
#include <deque>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <vector>

#include "io/stream.h"
#include "simulator/fleet.h"

struct tcp_connection;

/// What a listener speaks. The words name its lines in the record; `accepted` may be none.
/// `received` is called when bytes have been added to the connection's `received`.
struct tcp_protocol {
    const char *request_word;
    const char *connect_word;
    void (*accepted)(const fleet &devices, tcp_connection &connection);
    void (*received)(const fleet &devices, tcp_connection &connection);
};

/// Bytes that wait to be sent; none stand for the end of the connection.
struct tcp_piece {
    int64_t due_us = 0; ///< monotonic
    std::string bytes;
};

struct tcp_connection {
    descriptor fd;
    const tcp_protocol *protocol = nullptr;
    size_t device = 0;
    sockaddr_storage peer = {};
    sockaddr_storage local = {};
    std::string received;
    std::deque<tcp_piece> pieces;
    bool ended = false;
};

/// Lets device `index` listen on `port` of `address` (an endpoint without a port). `protocol` must
/// live on. Returns 0, or -1 (`errno`).
int tcp_listen(const tcp_protocol &protocol, size_t index, const sockaddr_storage &address,
               uint16_t port);

/// Sends `bytes` after `delay_us` microseconds, after what waits already.
void tcp_send(tcp_connection &connection, std::string_view bytes, int64_t delay_us);

/// Closes the connection once all that waits is sent.
void tcp_close(tcp_connection &connection);

/// Adds what the listeners and connections wait for to `waited`.
void tcp_add_waited(std::vector<pollfd> &waited);

/// Serves what `waited` shows from `first` on, as tcp_add_waited has added it, and sends what is
/// due.
void tcp_serve(const fleet &devices, const std::vector<pollfd> &waited, size_t first);

/// Microseconds until the next piece is due, -1 when none waits.
int64_t tcp_wait_us();
