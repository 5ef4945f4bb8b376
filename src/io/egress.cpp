// The ways that a request to everybody leaves the host by.
#include "io/egress.h"

#include "io/interface_calls.h"
#include "io/netlink.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>

namespace
{

constexpr unsigned HOST_PREFIX = 32; // a subnet of one address

bool is_same_subnet(const host_address &one, const host_address &other)
{
    return one.interface == other.interface && one.family == other.family &&
           one.prefix == other.prefix && one.network.s_addr == other.network.s_addr;
}

/// Whether an address before it, or the route, asks the subnet of the list's address number `i`.
bool is_subnet_asked(const host_interfaces &list, size_t i, const host_address *routed)
{
    const host_address *own = &list.addresses[i];
    return (routed != nullptr && is_same_subnet(*routed, *own)) ||
           std::any_of(list.addresses, own,
                       [own](const host_address &other) { return is_same_subnet(other, *own); });
}

/// Whether the interface has an IPv4 address that goes before this one of a subnet of its own.
bool is_needless_host_address(const host_interfaces &list, const host_address &address,
                              const host_address *routed)
{
    return address.prefix == HOST_PREFIX &&
           std::any_of(
               list.addresses, list.addresses + list.address_count, [&](const host_address &other) {
                   return other.interface == address.interface && other.family == AF_INET &&
                          &other != &address &&
                          (other.prefix != HOST_PREFIX || &other < &address || &other == routed);
               });
}

/// Whether its interface is asked and has one of the flags `cast`. The chosen one needs none.
bool is_on_asked(const host_interfaces &list, const host_address &address, const char *chosen,
                 unsigned cast)
{
    const host_interface *interface = find_host_interface(&list, address.interface);
    return interface != nullptr && is_asked(*interface, chosen) &&
           (chosen != nullptr || (interface->flags & cast) != 0);
}

void add_way(egress_plan *plan, const egress_way &way)
{
    if (plan->count < EGRESS_WAYS_MAX)
        plan->ways[plan->count++] = way;
}

/// Adds each subnet but the one of the address `routed` (nullptr: none).
void add_subnets(egress_plan *plan, const host_interfaces *list, const char *chosen, unsigned cast,
                 const host_address *routed)
{
    for (size_t i = 0; list != nullptr && i < list->address_count; ++i) {
        const host_address &address = list->addresses[i];
        if (address.family == AF_INET && address.ipv4.s_addr != 0 &&
            is_on_asked(*list, address, chosen, cast) && !is_subnet_asked(*list, i, routed) &&
            !is_needless_host_address(*list, address, routed))
            add_way(plan, {address.interface, address.ipv4});
    }
}

/// The address that the route sends from, where it lies on the route's own interface: devices of
/// its subnet can answer. An interface that is not known (0) is the one that has the address.
const host_address *find_routed_address(const host_interfaces *list, const system_route &route)
{
    for (size_t i = 0; list != nullptr && i < list->address_count; ++i) {
        const host_address &address = list->addresses[i];
        if (address.family == AF_INET && address.ipv4.s_addr == route.source.s_addr &&
            (route.interface == 0 || address.interface == route.interface))
            return &address;
    }
    return nullptr;
}

} // namespace

egress_plan plan_broadcast(const host_interfaces *list, const char *chosen)
{
    egress_plan plan = {};
    const host_address *routed = nullptr;
    plan.by_route = chosen == nullptr;
    if (plan.by_route) {
        system_route route = {};
        if (netlink_find_route({INADDR_BROADCAST}, &route) != 0)
            route.source = source_towards({INADDR_BROADCAST});
        routed = route.source.s_addr != 0 ? find_routed_address(list, route) : nullptr;
        plan.routed =
            route.interface == 0 && routed != nullptr ? routed->interface : route.interface;
    }
    add_subnets(&plan, list, chosen, IFF_BROADCAST, routed);
    return plan;
}

egress_plan plan_group(const host_interfaces *list, const char *chosen, unsigned cast)
{
    egress_plan plan = {};
    add_subnets(&plan, list, chosen, cast, nullptr);
    plan.by_route = plan.count == 0 && chosen == nullptr;
    return plan;
}

egress_plan plan_multicast(const host_interfaces *list, const char *chosen)
{
    egress_plan plan = {};
    for (size_t i = 0; list != nullptr && i < list->address_count; ++i) {
        const host_address &address = list->addresses[i];
        const bool known =
            std::any_of(plan.ways, plan.ways + plan.count,
                        [&](const egress_way &way) { return way.interface == address.interface; });
        if (!known && address.family == AF_INET6 && IN6_IS_ADDR_LINKLOCAL(&address.ipv6) &&
            is_on_asked(*list, address, chosen, IFF_MULTICAST))
            add_way(&plan, {address.interface, {}});
    }
    plan.by_route = plan.count == 0 && chosen == nullptr;
    return plan;
}

int send_everywhere(const egress_plan &plan, const egress_sender &send_once)
{
    int result = -1;
    int first_error = 0;
    const auto attempt = [&](const egress_way *way) {
        const int sent = send_once(way);
        if (sent < 0 && first_error == 0)
            first_error = errno;
        if (result < 0)
            result = sent;
    };
    if (plan.by_route)
        attempt(nullptr);
    for (size_t i = 0; i < plan.count; ++i)
        attempt(&plan.ways[i]);
    if (result < 0)
        errno = first_error != 0 ? first_error : ENETUNREACH;
    return result;
}

int send_ipv4_by(const egress_way *way, int socket_fd, const struct sockaddr_in &target,
                 const void *bytes, size_t size)
{
    struct sockaddr_in name = target;
    struct iovec part = {const_cast<void *>(bytes), size};
    struct msghdr datagram = {};
    datagram.msg_name = &name;
    datagram.msg_namelen = sizeof name;
    datagram.msg_iov = &part;
    datagram.msg_iovlen = 1;
    struct in_pktinfo choice = {};
    alignas(struct cmsghdr) uint8_t control[CMSG_SPACE(sizeof choice)] = {};
    if (way != nullptr) {
        // Chooses the interface for multicast and for broadcast alike, on one socket.
        choice.ipi_ifindex = static_cast<int>(way->interface);
        choice.ipi_spec_dst = way->source;
        datagram.msg_control = control;
        datagram.msg_controllen = sizeof control;
        struct cmsghdr *header = CMSG_FIRSTHDR(&datagram);
        header->cmsg_level = IPPROTO_IP;
        header->cmsg_type = IP_PKTINFO;
        header->cmsg_len = CMSG_LEN(sizeof choice);
        memcpy(CMSG_DATA(header), &choice, sizeof choice);
    }
    return static_cast<int>(sendmsg(socket_fd, &datagram, 0));
}

int set_ipv6_way(const egress_way *way, int socket_fd)
{
    const unsigned index = way != nullptr ? way->interface : 0;
    return setsockopt(socket_fd, IPPROTO_IPV6, IPV6_MULTICAST_IF, &index, sizeof index);
}
