// Where the agent sends its requests, besides what its properties say.
#pragma once

#include "slp/agent/properties.h"

#include <cstdint>

constexpr uint16_t SLP_PORT = 427;

struct slp_settings {
    slp_properties properties;
    const char *multicast_group = "239.255.255.253";
    const char *broadcast_address = "255.255.255.255";
    uint16_t port = SLP_PORT; ///< of service agents and directory agents, host byte order
};
