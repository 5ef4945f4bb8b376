// The host's interfaces as the system told them before netlink, for where that is refused.
#pragma once

#include "io/interfaces.h"

#include <netinet/in.h>

/// Fills the empty list with the interfaces that have an address: IPv4 by SIOCGIFCONF and its like,
/// IPv6 by /proc/self/net/if_inet6, which may be missing. Returns 0, or -1 where the calls are
/// refused (`errno`).
int call_for_interfaces(host_interfaces *list);

/// Returns the address that the system sends to an IPv4 address from; 0.0.0.0: no route.
struct in_addr source_towards(struct in_addr destination);
