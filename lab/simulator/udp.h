// UDP sockets that hear for many addresses and answer from any of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <vector>

#include "io/stream.h"
#include "simulator/fleet.h"

struct udp_socket {
    descriptor fd;
    unsigned interface = 0; ///< index of the interface that the answers leave by
    uint16_t port = 0;
};

/// One request as it came in.
struct datagram {
    sockaddr_storage source = {};
    sockaddr_storage destination = {};
    std::string bytes;
};

/// A device that a request asks, and the address that it answers from.
struct asked_device {
    size_t index = 0;
    sockaddr_storage from = {};
};

/// Opens a socket on `port` for all IPv4 (`AF_INET`) or IPv6 (`AF_INET6`) addresses. It may answer
/// from addresses that the interface does not have. Returns 0, or -1 (`errno`).
int udp_open(udp_socket &opened, int family, uint16_t port, unsigned interface);

/// Takes the next datagram without waiting. Returns 1, or 0 when there is none.
int udp_receive(const udp_socket &by, datagram &request);

/// Sends `bytes` from `from` to `to`. Where that fails, the datagram is lost like any other.
void udp_send(const udp_socket &by, const sockaddr_storage &from, const sockaddr_storage &to,
              std::string_view bytes);

/// Whether the request was sent to all (broadcast or multicast) and not to one address.
bool udp_was_sent_to_all(const datagram &request);

/// The devices that the request asks, in the order of the fleet: all that have an address of its
/// family, or the one that owns the destination. IPv6 requests to all are answered from the
/// network that the device's key from6 names. Devices that the request does not reach are left out.
std::vector<asked_device> udp_asked_devices(const fleet &devices, const datagram &request);

/// The IPv4 address of an endpoint in host byte order, 0 for another family.
uint32_t endpoint_ipv4(const sockaddr_storage &endpoint);

/// Endpoints without a port.
sockaddr_storage endpoint_of_ipv4(uint32_t address);
sockaddr_storage endpoint_of_ipv6(const in6_addr &address);
