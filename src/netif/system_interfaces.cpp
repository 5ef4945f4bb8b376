// The host's Ethernet interfaces, as the system itself lists them.
#include "netif/system_interfaces.h"

#include "config/text.h"
#include "io/interface_addresses.h"

#include <arpa/inet.h>
#include <cstring>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <netpacket/packet.h>

namespace
{

bool is_ethernet(const struct ifaddrs *entry)
{
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_PACKET)
        return false;
    struct sockaddr_ll link = {};
    memcpy(&link, entry->ifa_addr, sizeof link);
    // One without a carrier has the link-local prefix too, and no device behind it.
    constexpr unsigned NEEDED = IFF_UP | IFF_RUNNING;
    const bool usable =
        (entry->ifa_flags & NEEDED) == NEEDED && (entry->ifa_flags & IFF_LOOPBACK) == 0;
    return usable && link.sll_hatype == ARPHRD_ETHER;
}

netinterface_info *find_interface(list_node *interfaces, const char *name)
{
    for (list_node *node = interfaces; node != nullptr; node = node->next) {
        auto *interface = static_cast<netinterface_info *>(node->data);
        if (strncmp(interface->name, name, sizeof interface->name) == 0)
            return interface;
    }
    return nullptr;
}

void copy_ipv4(const struct sockaddr *address, char (&text)[INTERFACE_ADDRESS_SIZE])
{
    if (address == nullptr)
        return;
    struct sockaddr_in ipv4 = {};
    memcpy(&ipv4, address, sizeof ipv4);
    inet_ntop(AF_INET, &ipv4.sin_addr, text, sizeof text);
}

void take_address(netinterface_info *interface, const struct ifaddrs *entry)
{
    if (entry->ifa_addr->sa_family == AF_INET) {
        copy_ipv4(entry->ifa_addr, interface->inet_addr);
        if ((entry->ifa_flags & IFF_BROADCAST) != 0)
            copy_ipv4(entry->ifa_broadaddr, interface->bcast_addr);
    } else if (entry->ifa_addr->sa_family == AF_INET6) {
        struct sockaddr_in6 ipv6 = {};
        memcpy(&ipv6, entry->ifa_addr, sizeof ipv6);
        char text[INET6_ADDRSTRLEN];
        if (inet_ntop(AF_INET6, &ipv6.sin6_addr, text, sizeof text) != nullptr)
            safe_strncpy(ipv6_field(interface, text), text, INTERFACE_ADDRESS_SIZE);
    }
}

} // namespace

void enumerate_system_interfaces(list_node **interfaces)
{
    const interface_addresses addresses = list_interface_addresses();
    for (const struct ifaddrs *entry = addresses.get(); entry != nullptr; entry = entry->ifa_next) {
        if (is_ethernet(entry))
            add_interface(interfaces, entry->ifa_name);
    }
    for (const struct ifaddrs *entry = addresses.get(); entry != nullptr; entry = entry->ifa_next) {
        netinterface_info *interface = find_interface(*interfaces, entry->ifa_name);
        if (interface != nullptr && entry->ifa_addr != nullptr)
            take_address(interface, entry);
    }
}
