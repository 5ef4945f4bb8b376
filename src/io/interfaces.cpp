// The host's interfaces and their addresses, and which of them are asked.
#include "io/interfaces.h"

#include "io/interface_calls.h"
#include "io/netlink.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>

namespace
{

constexpr unsigned IPV4_BITS = 32;

} // namespace

host_interface_list list_host_interfaces()
{
    // Zero pages, of which only those that are filled take memory.
    host_interface_list list(static_cast<host_interfaces *>(calloc(1, sizeof(host_interfaces))));
    if (!list || netlink_list_interfaces(list.get()) == 0)
        return list;
    list->interface_count = 0;
    list->address_count = 0;
    if (call_for_interfaces(list.get()) != 0)
        list.reset();
    return list;
}

const host_interface *find_host_interface(const host_interfaces *list, unsigned index)
{
    for (size_t i = 0; list != nullptr && i < list->interface_count; ++i) {
        if (list->interfaces[i].index == index)
            return &list->interfaces[i];
    }
    return nullptr;
}

const host_interface *find_host_interface(const host_interfaces *list, const char *name)
{
    for (size_t i = 0; list != nullptr && i < list->interface_count; ++i) {
        if (strcmp(list->interfaces[i].name, name) == 0)
            return &list->interfaces[i];
    }
    return nullptr;
}

bool is_asked(const host_interface &interface, const char *chosen)
{
    if (chosen != nullptr)
        return strcmp(interface.name, chosen) == 0 && (interface.flags & IFF_UP) != 0 &&
               (interface.flags & IFF_LOOPBACK) == 0;
    constexpr unsigned NEEDED = IFF_UP | IFF_RUNNING;
    constexpr unsigned UNWANTED = IFF_LOOPBACK | IFF_POINTOPOINT;
    return (interface.flags & (NEEDED | UNWANTED)) == NEEDED && !interface.serves_master;
}

host_interface *add_host_interface(host_interfaces *list, unsigned index)
{
    if (list->interface_count == HOST_INTERFACES_MAX)
        return nullptr;
    host_interface *added = &list->interfaces[list->interface_count++];
    *added = {};
    added->index = index;
    return added;
}

host_address *add_host_address(host_interfaces *list, unsigned interface, int family)
{
    if (list->address_count == HOST_ADDRESSES_MAX)
        return nullptr;
    host_address *added = &list->addresses[list->address_count++];
    *added = {};
    added->interface = interface;
    added->family = family;
    return added;
}

void set_ipv4_subnet(host_address *address, struct in_addr peer, unsigned prefix)
{
    address->prefix = std::min(prefix, IPV4_BITS);
    // A shift by all bits would be none.
    const uint32_t mask = address->prefix == 0 ? 0 : UINT32_MAX << (IPV4_BITS - address->prefix);
    address->network.s_addr = peer.s_addr & htonl(mask);
}
