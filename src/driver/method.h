// The discovery methods. A further method is one more row here.
#pragma once

#include "nodeq/nodeq.h"
#include "records/device_list.h"
#include "slp/slp_discovery.h"
#include "snmp/snmp_discovery.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <sys/socket.h>

struct method {
    const char *word;     ///< "--WORD" selects the method, "# Mode WORD" names it
    int slot;             ///< where its child runs in the parent (`driver/slots.h`)
    bool by_default;      ///< part of the default run and of "--all"
    bool asks_devices;    ///< the parent describes or inquires each device that it finds
    const char *log_name; ///< log of its child run; nullptr: none
    int (*discover)(device_list *devices, const char *target);
    const char *target; ///< handed to `discover`
    const char *mark;   ///< label of the time mark after it
    int family;       ///< AF_INET: asks by broadcast, or by IPv4 multicast; AF_INET6: by multicast
    uint16_t port;    ///< UDP: the devices answer from it, and firewalls must let that in
    const char *help; ///< its line of the usage, below 60 characters
};

inline constexpr char IPV4_TARGET[] = "255.255.255.255";
inline constexpr char IPV6_TARGET[] = "udp6:[ff02::1]";

/// The SLP library knows by itself whom to ask.
inline int discover_by_slp(device_list *devices, const char *)
{
    return discover_using_slp(devices);
}

/// In the order in which they run and are started.
inline constexpr method METHODS[] = {
    {"nodeq", 3, true, false, nullptr, discover_using_nodeq, IPV4_TARGET,
     "after discover_using_nodeq", AF_INET, 6000,
     "nodeq, a protocol of the devices' own, over IPv4"},
    {"nodeq6", 4, false, false, nullptr, discover_using_nodeq, IPV6_TARGET,
     "after discover_using_nodeq6", AF_INET6, 6000, "finds nothing: nodeq has no IPv6"},
    {"slp", 2, true, false, nullptr, discover_by_slp, nullptr, "after discover_using_slp", AF_INET,
     427, "Service Location Protocol, over IPv4"},
    {"snmp", 0, true, true, "devscout_snmp", discover_using_netsnmp, IPV4_TARGET,
     "after discover_using_netsnmp", AF_INET, 161, "SNMP over IPv4"},
    {"snmp6", 1, true, true, "devscout_snmp6", discover_using_netsnmp, IPV6_TARGET,
     "after discover_using_netsnmp6", AF_INET6, 161, "SNMP over IPv6"},
};

constexpr size_t METHOD_COUNT = std::size(METHODS);
