// The interfaces that a request to everybody leaves through.
#include "io/egress.h"

#include "io/interface_addresses.h"
#include "io/netlink.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>

namespace
{

/// A host of many containers has hundreds of interfaces; more than these are not asked.
constexpr size_t MAX_INTERFACES = 256;

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

/// The usable interfaces of a family but `known`, each once, in the system's order.
std::vector<unsigned> usable_interfaces(int family, unsigned known)
{
    std::vector<unsigned> found;
    const interface_addresses addresses = list_interface_addresses();
    const unsigned cast = family == AF_INET ? IFF_BROADCAST : IFF_MULTICAST;
    for (const struct ifaddrs *entry = addresses.get(); entry != nullptr; entry = entry->ifa_next) {
        if (!has_flags(entry, cast) || !has_address(entry, family))
            continue;
        // A further address may stand under a label, "eth0:1".
        const std::string name(entry->ifa_name, strcspn(entry->ifa_name, ":"));
        const unsigned index = if_nametoindex(name.c_str());
        if (index == 0 || index == known || found.size() == MAX_INTERFACES ||
            std::find(found.begin(), found.end(), index) != found.end())
            continue;
        // What a port or member sends, its bridge or bond sends too, and the answers come in there.
        if (master_interface(index) == 0)
            found.push_back(index);
    }
    return found;
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
    return {AF_INET, true, usable_interfaces(AF_INET, route_interface({INADDR_BROADCAST}))};
}

egress_plan plan_multicast()
{
    egress_plan plan = {AF_INET6, false, usable_interfaces(AF_INET6, 0)};
    plan.by_route = plan.interfaces.empty();
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
    for (const unsigned index : plan.interfaces)
        attempt(choose_interface(socket_fd, plan.family, index));
    if (!plan.interfaces.empty())
        choose_interface(socket_fd, plan.family, 0);
    if (result < 0)
        errno = first_error;
    return result;
}
