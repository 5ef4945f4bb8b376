// The ways that a search is sent by.
#include "slp/agent/interfaces.h"

#include "config/interface_choice.h"
#include "io/interfaces.h"

#include <algorithm>
#include <arpa/inet.h>

namespace
{

bool is_address(const std::string &item, const host_address &address)
{
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address.ipv4, text, sizeof text);
    return address.family == AF_INET && item == text;
}

bool can_be_named(const host_interface &interface)
{
    return g_interface_name != nullptr ? is_asked(interface, g_interface_name)
                                       : (interface.flags & IFF_UP) != 0;
}

unsigned needed_flag(const slp_properties &properties)
{
    return properties.is_broadcast_only ? IFF_BROADCAST : IFF_MULTICAST;
}

/// Adds a way unless it is there: an interface can be named by its address, too.
void add_way(egress_plan *plan, const egress_way &added)
{
    const bool is_there =
        std::any_of(plan->ways, plan->ways + plan->count, [&added](const egress_way &way) {
            return way.interface == added.interface && way.source.s_addr == added.source.s_addr;
        });
    if (!is_there && plan->count < EGRESS_WAYS_MAX)
        plan->ways[plan->count++] = added;
}

egress_plan plan_named(const host_interfaces &list, const slp_properties &properties)
{
    egress_plan plan = {};
    for (const std::string &item : properties.interfaces) {
        for (size_t i = 0; i < list.address_count; ++i) {
            const host_address &address = list.addresses[i];
            const host_interface *interface = find_host_interface(&list, address.interface);
            if (interface != nullptr && can_be_named(*interface) && is_address(item, address))
                add_way(&plan, {address.interface, address.ipv4});
        }
        const host_interface *interface = find_host_interface(&list, item.c_str());
        if (interface == nullptr || !can_be_named(*interface))
            continue;
        const egress_plan named = plan_group(&list, interface->name, needed_flag(properties));
        for (size_t i = 0; i < named.count; ++i)
            add_way(&plan, named.ways[i]);
    }
    return plan;
}

} // namespace

egress_plan slp_plan_search(const slp_properties &properties)
{
    const host_interface_list list = list_host_interfaces();
    if (list && !properties.interfaces.empty())
        return plan_named(*list, properties);
    return plan_group(list.get(), g_interface_name, needed_flag(properties));
}

std::vector<std::string> slp_unknown_interfaces(const slp_properties &properties)
{
    std::vector<std::string> unknown;
    if (properties.interfaces.empty())
        return unknown;
    const host_interface_list list = list_host_interfaces();
    for (const std::string &item : properties.interfaces) {
        const bool is_known =
            !list || find_host_interface(list.get(), item.c_str()) != nullptr ||
            std::any_of(list->addresses, list->addresses + list->address_count,
                        [&item](const host_address &address) { return is_address(item, address); });
        if (!is_known)
            unknown.push_back(item);
    }
    return unknown;
}
