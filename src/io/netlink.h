// What the kernel tells of routes and interfaces by netlink.
#pragma once

#include "io/interfaces.h"

#include <cstddef>
#include <cstdint>
#include <netinet/in.h>

/// How the system sends to a destination by itself.
struct system_route {
    unsigned interface;    ///< by index; 0: no route
    struct in_addr source; ///< the address that it sends from
};

/// Asks for the route to an IPv4 address. Returns 0, though there may be none, or -1 where netlink
/// is refused (`errno`).
int netlink_find_route(struct in_addr destination, system_route *route);

/// Fills the empty list. Returns 0, or -1 where netlink is refused (`errno`).
int netlink_list_interfaces(host_interfaces *list);

/// What answers are read into.
struct netlink_target {
    host_interfaces *list; ///< nullptr: not wanted
    system_route *route;   ///< nullptr: not wanted
    bool changed;          ///< set where the list changed while it was told and may miss something
};

/// What is still to come after the messages that have been read.
constexpr int NETLINK_MORE = 0;
constexpr int NETLINK_COMPLETE = 1;
constexpr int NETLINK_ERROR = -1;
constexpr int NETLINK_REFUSED = -2; ///< no answer at all

/// Reads the messages that one datagram holds. Returns one of the above.
int read_netlink_messages(const uint8_t *bytes, size_t size, netlink_target *target);
