// The host's network interfaces that a search is sent over.
#include "slp/agent/interfaces.h"

#include "io/interface_addresses.h"

#include <algorithm>
#include <arpa/inet.h>
#include <net/if.h>

namespace
{

bool is_wanted(const slp_properties &properties, unsigned flags, struct in_addr address)
{
    if ((flags & IFF_UP) == 0)
        return false;
    if (!properties.interfaces.empty()) {
        char text[INET_ADDRSTRLEN] = "";
        inet_ntop(AF_INET, &address, text, sizeof text);
        const auto &named = properties.interfaces;
        return std::find(named.begin(), named.end(), text) != named.end();
    }
    const unsigned needed = properties.is_broadcast_only ? IFF_BROADCAST : IFF_MULTICAST;
    return (flags & IFF_LOOPBACK) == 0 && (flags & needed) != 0;
}

} // namespace

std::vector<slp_interface> slp_list_interfaces(const slp_properties &properties)
{
    std::vector<slp_interface> interfaces;
    const interface_addresses addresses = list_interface_addresses();
    for (const struct ifaddrs *entry = addresses.get(); entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET)
            continue;
        const struct in_addr address =
            reinterpret_cast<const struct sockaddr_in *>(entry->ifa_addr)->sin_addr;
        const int index = static_cast<int>(if_nametoindex(entry->ifa_name));
        const bool listed =
            std::any_of(interfaces.begin(), interfaces.end(),
                        [index](const slp_interface &other) { return other.index == index; });
        if (index != 0 && !listed && is_wanted(properties, entry->ifa_flags, address))
            interfaces.push_back({index, address});
    }
    return interfaces;
}
