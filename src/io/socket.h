// Socket addresses and options that several methods need.
#pragma once

#include <cstdint>
#include <netinet/in.h>

/// An IPv4 address and a port (host byte order) as the socket calls take them.
struct sockaddr_in ipv4_socket_address(struct in_addr address, uint16_t port);

/// Asks for a receive buffer of 4 MiB, so that a burst of answers from a thousand devices fits;
/// where the system grants less, it stays less.
void enlarge_receive_buffer(int socket_fd);
