// What the kernel tells of routes and interfaces by netlink.
#include "io/netlink.h"

#include "io/stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>

namespace
{

constexpr int ANSWER_WAIT_MS = 1000; // it is there at once
constexpr size_t ANSWER_SIZE = 32768;
/// A list that changed while it was told is asked for again, but a host on which interfaces come
/// and go all the time is served too.
constexpr int LIST_ATTEMPTS = 5;

struct route_question {
    struct nlmsghdr header;
    struct rtmsg route;
    struct rtattr destination;
    struct in_addr address;
};

/// The kernel takes this short form for all lists.
struct list_question {
    struct nlmsghdr header;
    struct rtgenmsg family;
};

/// Bytes of a message that are still unread.
struct byte_range {
    const uint8_t *bytes;
    size_t size;
};

struct attribute {
    unsigned type;
    byte_range value;
};

/// Moves on by `step` bytes, or to the end.
void skip(byte_range *range, size_t step)
{
    step = std::min(step, range->size);
    range->bytes += step;
    range->size -= step;
}

/// Takes the next attribute. Returns false at the end, and for one that is no whole attribute.
bool take_attribute(byte_range *range, attribute *taken)
{
    struct rtattr header = {};
    if (range->size < sizeof header)
        return false;
    memcpy(&header, range->bytes, sizeof header);
    if (header.rta_len < sizeof header || header.rta_len > range->size)
        return false;
    taken->type = header.rta_type & NLA_TYPE_MASK;
    taken->value = {range->bytes + sizeof header, header.rta_len - sizeof header};
    skip(range, RTA_ALIGN(header.rta_len));
    return true;
}

/// Copies a value of `size` bytes at least; a shorter one changes nothing.
void copy_value(const attribute &source, void *value, size_t size)
{
    if (source.value.size >= size)
        memcpy(value, source.value.bytes, size);
}

/// Whether the kind of master that an interface serves is that of a VRF, whose members stand for
/// themselves.
bool is_vrf_member(byte_range link_info)
{
    attribute found = {};
    while (take_attribute(&link_info, &found)) {
        const std::string_view kind(reinterpret_cast<const char *>(found.value.bytes),
                                    found.value.size);
        if (found.type == IFLA_INFO_SLAVE_KIND && kind.substr(0, kind.find('\0')) == "vrf")
            return true;
    }
    return false;
}

void read_link(byte_range body, host_interfaces *list)
{
    struct ifinfomsg link = {};
    if (body.size < sizeof link)
        return;
    memcpy(&link, body.bytes, sizeof link);
    skip(&body, NLMSG_ALIGN(sizeof link));
    host_interface *interface = add_host_interface(list, static_cast<unsigned>(link.ifi_index));
    if (interface == nullptr)
        return;
    interface->flags = link.ifi_flags;
    interface->hardware = link.ifi_type;
    attribute found = {};
    uint32_t master = 0;
    bool vrf = false;
    while (take_attribute(&body, &found)) {
        if (found.type == IFLA_IFNAME)
            memcpy(interface->name, found.value.bytes,
                   std::min(found.value.size, sizeof interface->name - 1));
        else if (found.type == IFLA_MASTER)
            copy_value(found, &master, sizeof master);
        else if (found.type == IFLA_LINKINFO)
            vrf = is_vrf_member(found.value);
    }
    interface->serves_master = master != 0 && !vrf;
}

/// Takes the values of an address's attributes. Of the two ends of a link IFA_LOCAL is the host's;
/// an IPv6 address may have IFA_ADDRESS alone.
void read_address_attributes(byte_range attributes, unsigned prefix, uint32_t flags,
                             host_address *address)
{
    const bool ipv6 = address->family == AF_INET6;
    struct in_addr peer = {};
    bool has_local = false;
    attribute found = {};
    while (take_attribute(&attributes, &found)) {
        if (found.type == IFA_FLAGS)
            copy_value(found, &flags, sizeof flags);
        else if (ipv6 && (found.type == IFA_LOCAL || (found.type == IFA_ADDRESS && !has_local)))
            copy_value(found, &address->ipv6, sizeof address->ipv6);
        else if (found.type == IFA_LOCAL)
            copy_value(found, &address->ipv4, sizeof address->ipv4);
        else if (found.type == IFA_ADDRESS)
            copy_value(found, &peer, sizeof peer);
        else if (found.type == IFA_BROADCAST)
            copy_value(found, &address->broadcast, sizeof address->broadcast);
        has_local = has_local || found.type == IFA_LOCAL;
    }
    address->deprecated = (flags & IFA_F_DEPRECATED) != 0;
    address->tentative = (flags & (IFA_F_TENTATIVE | IFA_F_DADFAILED)) != 0;
    if (ipv6)
        address->prefix = prefix;
    else
        set_ipv4_subnet(address, peer, prefix);
}

void read_address(byte_range body, host_interfaces *list)
{
    struct ifaddrmsg header = {};
    if (body.size < sizeof header)
        return;
    memcpy(&header, body.bytes, sizeof header);
    skip(&body, NLMSG_ALIGN(sizeof header));
    if (header.ifa_family != AF_INET && header.ifa_family != AF_INET6)
        return;
    host_address *address = add_host_address(list, header.ifa_index, header.ifa_family);
    if (address != nullptr)
        read_address_attributes(body, header.ifa_prefixlen, header.ifa_flags, address);
}

void read_route(byte_range body, system_route *route)
{
    skip(&body, NLMSG_ALIGN(sizeof(struct rtmsg)));
    attribute found = {};
    while (take_attribute(&body, &found)) {
        if (found.type == RTA_OIF)
            copy_value(found, &route->interface, sizeof route->interface);
        else if (found.type == RTA_PREFSRC)
            copy_value(found, &route->source, sizeof route->source);
    }
}

/// Sends one question of `size` bytes and reads its answers. Returns what the last of them did.
int ask(const void *question, size_t size, netlink_target *target)
{
    const descriptor kernel(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (kernel.fd < 0 || send(kernel.fd, question, size, 0) < 0)
        return NETLINK_REFUSED;
    for (;;) {
        struct pollfd waited = {kernel.fd, POLLIN, 0};
        uint8_t answer[ANSWER_SIZE];
        // Not `wait_or_end`: a parent asks too, and does not end because nobody reads its output.
        const ssize_t received = poll(&waited, 1, ANSWER_WAIT_MS) > 0
                                     ? recv(kernel.fd, answer, sizeof answer, MSG_DONTWAIT)
                                     : -1;
        if (received <= 0)
            return NETLINK_REFUSED;
        const int result = read_netlink_messages(answer, static_cast<size_t>(received), target);
        if (result != NETLINK_MORE)
            return result;
    }
}

int ask_for_list(uint16_t type, netlink_target *target)
{
    list_question question = {};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = type;
    question.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    question.family.rtgen_family = AF_UNSPEC;
    return ask(&question, sizeof question, target);
}

} // namespace

int read_netlink_messages(const uint8_t *bytes, size_t size, netlink_target *target)
{
    byte_range rest = {bytes, size};
    struct nlmsghdr header = {};
    while (rest.size >= sizeof header) {
        memcpy(&header, rest.bytes, sizeof header);
        if (header.nlmsg_len < sizeof header || header.nlmsg_len > rest.size)
            return NETLINK_ERROR;
        if ((header.nlmsg_flags & NLM_F_DUMP_INTR) != 0)
            target->changed = true;
        if (header.nlmsg_type == NLMSG_ERROR)
            return NETLINK_ERROR;
        if (header.nlmsg_type == NLMSG_DONE)
            return NETLINK_COMPLETE;
        byte_range body = {rest.bytes, header.nlmsg_len};
        skip(&body, NLMSG_HDRLEN);
        if (header.nlmsg_type == RTM_NEWLINK && target->list != nullptr)
            read_link(body, target->list);
        else if (header.nlmsg_type == RTM_NEWADDR && target->list != nullptr)
            read_address(body, target->list);
        if (header.nlmsg_type == RTM_NEWROUTE && target->route != nullptr) {
            read_route(body, target->route);
            return NETLINK_COMPLETE; // a route is no list and has no end mark
        }
        skip(&rest, NLMSG_ALIGN(header.nlmsg_len));
    }
    return NETLINK_MORE;
}

int netlink_find_route(struct in_addr destination, system_route *route)
{
    *route = {};
    route_question question = {};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = RTM_GETROUTE;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.route.rtm_family = AF_INET;
    question.route.rtm_dst_len = 8 * sizeof question.address;
    question.destination.rta_type = RTA_DST;
    question.destination.rta_len = RTA_LENGTH(sizeof question.address);
    question.address = destination;
    // An answer that is an error says that there is no route.
    netlink_target target = {nullptr, route, false};
    return ask(&question, sizeof question, &target) == NETLINK_REFUSED ? -1 : 0;
}

int netlink_list_interfaces(host_interfaces *list)
{
    netlink_target target = {list, nullptr, true};
    for (int i = 0; i < LIST_ATTEMPTS && target.changed; ++i) {
        list->interface_count = 0;
        list->address_count = 0;
        target.changed = false;
        if (ask_for_list(RTM_GETLINK, &target) != NETLINK_COMPLETE ||
            ask_for_list(RTM_GETADDR, &target) != NETLINK_COMPLETE)
            return -1;
    }
    return 0;
}
