// The ways that a request to everybody leaves the host by.
#pragma once

#include "io/interfaces.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <netinet/in.h>

/// A further subnet of an interface is one more way.
constexpr size_t EGRESS_WAYS_MAX = HOST_INTERFACES_MAX;

/// Out of one interface.
struct egress_way {
    unsigned interface;    ///< by index
    struct in_addr source; ///< IPv4 alone: the host's address in the subnet that is asked
};

/// How a request to everybody leaves the host. Each IPv4 subnet of an interface is asked once, from
/// the host's own address in it, for its devices can answer no other; an address of /32 counts only
/// where the interface has no other. An IPv6 interface is asked once, and needs a link-local
/// address. Which interfaces are asked says `is_asked`; they speak broadcast (IPv4) or multicast.
struct egress_plan {
    bool by_route;   ///< first as the system itself routes it
    unsigned routed; ///< the interface that this leads to, by index; 0: not known
    egress_way ways[EGRESS_WAYS_MAX];
    size_t count; ///< of `ways`
};

/// The plans depend on the list of the host's interfaces (nullptr: it cannot be had) and on the
/// name of the one that alone is asked (nullptr: all are). That one is asked even if it is
/// point-to-point; the system's own choice is left out then.

/// For 255.255.255.255: by the system's own choice, then each other subnet.
egress_plan plan_broadcast(const host_interfaces *list, const char *chosen);

/// For an IPv4 group: each subnet of the interfaces that have one of the flags `cast`
/// (IFF_MULTICAST, IFF_BROADCAST); where there is none, by the system's choice.
egress_plan plan_group(const host_interfaces *list, const char *chosen, unsigned cast);

/// For ff02::1: each interface; where there is none, by the system's choice.
egress_plan plan_multicast(const host_interfaces *list, const char *chosen);

/// Sends one request by one way; nullptr: as the system routes it. Returns what is not negative,
/// or a negative number (`errno`).
using egress_sender = std::function<int(const egress_way *way)>;

/// Calls `send_once` for each way of the plan, whether or not others fail. Returns what the first
/// call that succeeded did; where none did, a negative number and the `errno` of the first, or
/// ENETUNREACH where there is no way at all. Needs no memory if `send_once` is made of a reference
/// (`std::cref`).
int send_everywhere(const egress_plan &plan, const egress_sender &send_once);

/// Sends an IPv4 datagram by that way (nullptr: as the system routes it). Needs no privilege.
/// Returns the bytes sent, or -1 (`errno`).
int send_ipv4_by(const egress_way *way, int socket_fd, const struct sockaddr_in &target,
                 const void *bytes, size_t size);

/// Lets what the socket sends to an IPv6 group leave by that way, until it is set again; nullptr:
/// by the system's choice. Returns 0, or -1 (`errno`).
int set_ipv6_way(const egress_way *way, int socket_fd);
