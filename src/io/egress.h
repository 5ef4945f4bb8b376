// The interfaces that a request to everybody leaves through.
#pragma once

#include <cstddef>
#include <functional>

/// A host of many containers has hundreds of interfaces; more than these are not asked.
constexpr size_t EGRESS_INTERFACES_MAX = 256;

/// How a request to everybody leaves the host: no interface twice. An interface is usable when it
/// is up and running, speaks broadcast (IPv4) or multicast (IPv6), is neither a loopback nor a
/// point-to-point one nor part of a bridge or bond, and has an IPv4 or a link-local IPv6 address.
struct egress_plan {
    int family;                                 ///< AF_INET or AF_INET6
    bool by_route;                              ///< first as the system itself routes it
    unsigned interfaces[EGRESS_INTERFACES_MAX]; ///< then through each of these, by index
    size_t count;                               ///< of `interfaces`
};

/// The plan for 255.255.255.255: by the system's own choice of interface, then through each other
/// usable one.
egress_plan plan_broadcast();

/// The plan for ff02::1: through each usable interface; where there is none, by the system's
/// choice.
egress_plan plan_multicast();

/// Sends once for each way of the plan; `send_once` returns a negative number where it fails
/// (`errno`), which keeps nobody from sending in the other ways. Returns what the first attempt
/// that succeeded did; where none did, a negative number and the `errno` of the first. Needs no
/// privilege, and no memory if `send_once` is made of a reference (`std::cref`).
int send_everywhere(int socket_fd, const egress_plan &plan, const std::function<int()> &send_once);
