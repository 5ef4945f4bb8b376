// Sockets that a test hears on.
#pragma once

#include "io/stream.h"

#include <arpa/inet.h>
#include <cstdint>
#include <string>
#include <sys/socket.h>

/// Opens a socket bound to an IPv4 address; port 0 becomes the one that the system chooses. A TCP
/// socket listens with a queue of that length. Returns -1 where the port is taken.
inline int open_bound_socket(int type, const std::string &address, uint16_t *port, int queue = 8)
{
    descriptor opened(socket(AF_INET, type | SOCK_CLOEXEC, 0));
    struct sockaddr_in own = {AF_INET, htons(*port), {inet_addr(address.c_str())}, {}};
    auto *plain = reinterpret_cast<struct sockaddr *>(&own);
    socklen_t size = sizeof own;
    if (bind(opened.fd, plain, size) != 0 || getsockname(opened.fd, plain, &size) != 0 ||
        ((type & SOCK_STREAM) != 0 && listen(opened.fd, queue) != 0))
        return -1;
    *port = ntohs(own.sin_port);
    return opened.release();
}
