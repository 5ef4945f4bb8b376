// The host's Ethernet interfaces, as the system itself lists them.
#include "netif/system_interfaces.h"

#include "config/interface_choice.h"
#include "config/text.h"
#include "io/interfaces.h"

#include <arpa/inet.h>
#include <initializer_list>
#include <net/if_arp.h>

namespace
{

void take_ipv4(netinterface_info *interface, const host_address &address)
{
    inet_ntop(AF_INET, &address.ipv4, interface->inet_addr, sizeof interface->inet_addr);
    if (address.broadcast.s_addr != 0)
        inet_ntop(AF_INET, &address.broadcast, interface->bcast_addr, sizeof interface->bcast_addr);
}

void take_ipv6(netinterface_info *interface, const host_address &address)
{
    char text[INET6_ADDRSTRLEN];
    if (inet_ntop(AF_INET6, &address.ipv6, text, sizeof text) != nullptr)
        safe_strncpy(ipv6_field(interface, text), text, INTERFACE_ADDRESS_SIZE);
}

/// Of several addresses of a kind the last one stays: those that are deprecated come first.
void take_addresses(netinterface_info *interface, const host_interfaces &list, unsigned index)
{
    for (const bool deprecated : {true, false}) {
        for (size_t i = 0; i < list.address_count; ++i) {
            const host_address &address = list.addresses[i];
            if (address.interface != index || address.deprecated != deprecated)
                continue;
            if (address.family == AF_INET)
                take_ipv4(interface, address);
            else
                take_ipv6(interface, address);
        }
    }
}

} // namespace

void enumerate_system_interfaces(list_node **interfaces)
{
    const host_interface_list list = list_host_interfaces();
    for (size_t i = 0; list && i < list->interface_count; ++i) {
        const host_interface &interface = list->interfaces[i];
        // The tunnel that is asked by name is no Ethernet.
        if (!is_asked(interface, g_interface_name) ||
            (g_interface_name == nullptr && interface.hardware != ARPHRD_ETHER))
            continue;
        netinterface_info *added = add_interface(interfaces, interface.name);
        if (added != nullptr)
            take_addresses(added, *list, interface.index);
    }
}
