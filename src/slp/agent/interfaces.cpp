// The ways that a search is sent by.
#include "slp/agent/interfaces.h"

#include "config/interface_choice.h"
#include "io/interfaces.h"

#include <algorithm>
#include <arpa/inet.h>

namespace
{

bool is_named(const slp_properties &properties, struct in_addr address)
{
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address, text, sizeof text);
    const auto &named = properties.interfaces;
    return std::find(named.begin(), named.end(), text) != named.end();
}

bool can_be_named(const host_interface &interface)
{
    return g_interface_name != nullptr ? is_asked(interface, g_interface_name)
                                       : (interface.flags & IFF_UP) != 0;
}

egress_plan plan_named(const host_interfaces &list, const slp_properties &properties)
{
    egress_plan plan = {};
    for (size_t i = 0; i < list.address_count; ++i) {
        const host_address &address = list.addresses[i];
        const host_interface *interface = find_host_interface(&list, address.interface);
        if (address.family == AF_INET && interface != nullptr && can_be_named(*interface) &&
            is_named(properties, address.ipv4) && plan.count < EGRESS_WAYS_MAX)
            plan.ways[plan.count++] = {address.interface, address.ipv4};
    }
    return plan;
}

} // namespace

egress_plan slp_plan_search(const slp_properties &properties)
{
    const host_interface_list list = list_host_interfaces();
    if (list && !properties.interfaces.empty())
        return plan_named(*list, properties);
    return plan_group(list.get(), g_interface_name,
                      properties.is_broadcast_only ? IFF_BROADCAST : IFF_MULTICAST);
}
