// The interfaces that a request to everybody leaves through.
#include "io/egress.h"

#include "io/interface_addresses.h"
#include "io/netlink.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace
{

bool has_flags(const struct ifaddrs *entry, unsigned needed)
{
    constexpr unsigned UNWANTED = IFF_LOOPBACK | IFF_POINTOPOINT;
    needed |= IFF_UP | IFF_RUNNING;
    return (entry->ifa_flags & needed) == needed && (entry->ifa_flags & UNWANTED) == 0;
}

bool has_address(const struct ifaddrs *entry, int family)
{
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != family)
        return false;
    if (family == AF_INET)
        return true;
    struct sockaddr_in6 address = {};
    memcpy(&address, entry->ifa_addr, sizeof address);
    return IN6_IS_ADDR_LINKLOCAL(&address.sin6_addr);
}

/// The interface that an entry of the system's list belongs to; 0: none.
unsigned interface_of(const struct ifaddrs *entry)
{
    // A further address may stand under a label, "eth0:1".
    char name[IF_NAMESIZE];
    const auto length = static_cast<int>(strcspn(entry->ifa_name, ":"));
    snprintf(name, sizeof name, "%.*s", length, entry->ifa_name);
    return if_nametoindex(name);
}

/// Adds the usable interfaces of the plan's family but `known`, each once, in the system's order.
void add_usable_interfaces(egress_plan *plan, unsigned known)
{
    const interface_addresses addresses = list_interface_addresses();
    const unsigned cast = plan->family == AF_INET ? IFF_BROADCAST : IFF_MULTICAST;
    unsigned *const found = plan->interfaces;
    for (const struct ifaddrs *entry = addresses.get(); entry != nullptr; entry = entry->ifa_next) {
        if (!has_flags(entry, cast) || !has_address(entry, plan->family))
            continue;
        const unsigned index = interface_of(entry);
        if (index == 0 || index == known || plan->count == EGRESS_INTERFACES_MAX ||
            std::find(found, found + plan->count, index) != found + plan->count)
            continue;
        // What a port or member sends, its bridge or bond sends too, and the answers come in there.
        if (master_interface(index) == 0)
            found[plan->count++] = index;
    }
}

/// Sends what follows through that interface; 0 leaves the choice to the system. Returns 0, or -1
/// (`errno`).
int choose_interface(int socket_fd, int family, unsigned index)
{
    if (family == AF_INET6)
        return setsockopt(socket_fd, IPPROTO_IPV6, IPV6_MULTICAST_IF, &index, sizeof index);
    const uint32_t network_order = htonl(index);
    return setsockopt(socket_fd, IPPROTO_IP, IP_UNICAST_IF, &network_order, sizeof network_order);
}

} // namespace

egress_plan plan_broadcast()
{
    egress_plan plan = {AF_INET, true, {}, 0};
    add_usable_interfaces(&plan, route_interface({INADDR_BROADCAST}));
    return plan;
}

egress_plan plan_multicast()
{
    egress_plan plan = {AF_INET6, false, {}, 0};
    add_usable_interfaces(&plan, 0);
    plan.by_route = plan.count == 0;
    return plan;
}

int send_everywhere(int socket_fd, const egress_plan &plan, const std::function<int()> &send_once)
{
    int result = -1;
    int first_error = 0;
    const auto attempt = [&](int sent) {
        if (sent == 0)
            sent = send_once();
        if (sent < 0 && first_error == 0)
            first_error = errno;
        if (result < 0)
            result = sent;
    };
    if (plan.by_route)
        attempt(0);
    for (size_t i = 0; i < plan.count; ++i)
        attempt(choose_interface(socket_fd, plan.family, plan.interfaces[i]));
    if (plan.count > 0)
        choose_interface(socket_fd, plan.family, 0);
    if (result < 0)
        errno = first_error;
    return result;
}
