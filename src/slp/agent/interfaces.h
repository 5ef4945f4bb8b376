// The host's network interfaces that a search is sent over.
#pragma once

#include "slp/agent/properties.h"

#include <netinet/in.h>
#include <vector>

struct slp_interface {
    int index;
    struct in_addr address; ///< its own, the source of what is sent over it
};

/// Returns the IPv4 interfaces that are up: those whose addresses net.slp.interfaces names, or,
/// when it names none, all but the loopback that can multicast (or broadcast, when the properties
/// say so). An interface with several addresses is listed once.
std::vector<slp_interface> slp_list_interfaces(const slp_properties &properties);
