// The addresses of the host's interfaces, as the system lists them.
#pragma once

#include <ifaddrs.h>
#include <memory>

struct ifaddrs_deleter {
    void operator()(struct ifaddrs *addresses) const
    {
        freeifaddrs(addresses);
    }
};

/// The system's list, freed with its owner.
using interface_addresses = std::unique_ptr<struct ifaddrs, ifaddrs_deleter>;

/// Returns the list; none where the system cannot give it.
inline interface_addresses list_interface_addresses()
{
    struct ifaddrs *first = nullptr;
    return interface_addresses(getifaddrs(&first) == 0 ? first : nullptr);
}
