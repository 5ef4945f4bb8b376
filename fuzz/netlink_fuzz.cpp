// Fuzzes the reader of what the kernel tells of interfaces and routes. An input is one datagram.
#include "io/egress.h"
#include "io/netlink.h"
#include "printed_line.h"

#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static host_interfaces list;
    list.interface_count = 0;
    list.address_count = 0;
    system_route route = {};
    netlink_target target = {&list, &route, false};
    // Of its own length, so that no read past its end goes unnoticed.
    const std::vector<uint8_t> datagram(data, data + size);
    read_netlink_messages(datagram.data(), datagram.size(), &target);
    for (size_t i = 0; i < list.interface_count; ++i)
        require(memchr(list.interfaces[i].name, '\0', IF_NAMESIZE) != nullptr, "a terminated name");
    for (size_t i = 0; i < list.address_count; ++i)
        require(list.addresses[i].family == AF_INET6 || list.addresses[i].prefix <= 32,
                "a prefix that fits");
    const egress_plan plan = plan_group(&list, nullptr, IFF_BROADCAST);
    for (size_t i = 0; i < plan.count; ++i) {
        const host_interface *asked = find_host_interface(&list, plan.ways[i].interface);
        require(asked != nullptr && is_asked(*asked, nullptr), "an interface that is asked");
    }
    require(plan.by_route == (plan.count == 0), "a way");
    return 0;
}
