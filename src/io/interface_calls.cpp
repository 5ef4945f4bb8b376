// The host's interfaces as the system told them before netlink.
#include "io/interface_calls.h"

#include "io/socket.h"
#include "io/stream.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <linux/if_addr.h>
#include <memory>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr char IPV6_ADDRESSES_PATH[] = "/proc/self/net/if_inet6";

struct in_addr ipv4_of(const struct sockaddr &address)
{
    struct sockaddr_in ipv4 = {};
    memcpy(&ipv4, &address, sizeof ipv4);
    return ipv4.sin_addr;
}

/// A question about the interface of that name.
struct ifreq question_about(const char *name)
{
    struct ifreq question = {};
    memcpy(question.ifr_name, name, strnlen(name, sizeof question.ifr_name - 1));
    return question;
}

/// Whether the interface is a port of a bridge, which its flags do not say.
bool is_bridge_port(const char *name)
{
    char path[sizeof "/sys/class/net//brport" + IF_NAMESIZE];
    snprintf(path, sizeof path, "/sys/class/net/%s/brport", name);
    return access(path, F_OK) == 0;
}

/// Returns the index of the interface of that name, which is added to the list where it is new; 0
/// where the system does not tell.
unsigned add_named_interface(int control_fd, const char *name, host_interfaces *list)
{
    const host_interface *known = find_host_interface(list, name);
    if (known != nullptr)
        return known->index;
    struct ifreq question = question_about(name);
    if (ioctl(control_fd, SIOCGIFINDEX, &question) != 0)
        return 0;
    host_interface *added = add_host_interface(list, static_cast<unsigned>(question.ifr_ifindex));
    if (added == nullptr)
        return 0;
    memcpy(added->name, question.ifr_name, sizeof added->name - 1);
    if (ioctl(control_fd, SIOCGIFFLAGS, &question) == 0)
        added->flags = static_cast<unsigned short>(question.ifr_flags);
    if (ioctl(control_fd, SIOCGIFHWADDR, &question) == 0)
        added->hardware = question.ifr_hwaddr.sa_family;
    added->serves_master = (added->flags & IFF_SLAVE) != 0 || is_bridge_port(added->name);
    return added->index;
}

/// Adds one address of SIOCGIFCONF, which may stand under a label, "eth0:1".
void add_ipv4_address(int control_fd, const struct ifreq &entry, host_interfaces *list)
{
    char name[IF_NAMESIZE] = "";
    memcpy(name, entry.ifr_name, sizeof name - 1);
    name[strcspn(name, ":")] = '\0';
    const unsigned index = add_named_interface(control_fd, name, list);
    host_address *added = index != 0 ? add_host_address(list, index, AF_INET) : nullptr;
    if (added == nullptr)
        return;
    added->ipv4 = ipv4_of(entry.ifr_addr);
    // The address in the question tells which of the label's addresses is meant.
    struct ifreq question = entry;
    uint32_t mask = UINT32_MAX;
    if (ioctl(control_fd, SIOCGIFNETMASK, &question) == 0)
        mask = ntohl(ipv4_of(question.ifr_netmask).s_addr);
    question = entry;
    if (ioctl(control_fd, SIOCGIFBRDADDR, &question) == 0)
        added->broadcast = ipv4_of(question.ifr_broadaddr);
    struct in_addr peer = added->ipv4;
    question = entry;
    if (ioctl(control_fd, SIOCGIFDSTADDR, &question) == 0 &&
        ipv4_of(question.ifr_dstaddr).s_addr != 0)
        peer = ipv4_of(question.ifr_dstaddr);
    set_ipv4_subnet(added, peer, static_cast<unsigned>(__builtin_popcount(mask)));
}

int add_ipv4_addresses(int control_fd, host_interfaces *list)
{
    struct ifconf addresses = {};
    if (ioctl(control_fd, SIOCGIFCONF, &addresses) != 0)
        return -1;
    // Room for some that come up meanwhile.
    const size_t room = static_cast<size_t>(addresses.ifc_len) + 16 * sizeof(struct ifreq);
    const std::unique_ptr<char, decltype(&free)> memory(static_cast<char *>(malloc(room)), free);
    addresses.ifc_buf = memory.get();
    addresses.ifc_len = static_cast<int>(room);
    if (!memory || ioctl(control_fd, SIOCGIFCONF, &addresses) != 0)
        return -1;
    const size_t count = static_cast<size_t>(addresses.ifc_len) / sizeof(struct ifreq);
    for (size_t i = 0; i < count; ++i) {
        struct ifreq entry = {};
        memcpy(&entry, memory.get() + i * sizeof entry, sizeof entry);
        add_ipv4_address(control_fd, entry, list);
    }
    return 0;
}

unsigned hexadecimal(const char *text)
{
    return static_cast<unsigned>(strtoul(text, nullptr, 16));
}

struct in6_addr ipv6_of_digits(const char (&digits)[33])
{
    struct in6_addr address = {};
    for (size_t i = 0; 2 * i < strlen(digits); ++i) {
        const char byte[] = {digits[2 * i], digits[2 * i + 1], '\0'};
        address.s6_addr[i] = static_cast<uint8_t>(hexadecimal(byte));
    }
    return address;
}

void add_ipv6_addresses(int control_fd, host_interfaces *list)
{
    const file_stream file(fopen(IPV6_ADDRESSES_PATH, "re"));
    char digits[33] = "";
    char prefix[9] = "";
    char flags[9] = "";
    char name[IF_NAMESIZE] = "";
    // address, index, prefix length, scope, flags (the low 8 bits of IFA_F_...), name
    while (file &&
           fscanf(file.get(), "%32s %*s %8s %*s %8s %15s", digits, prefix, flags, name) == 4) {
        const unsigned index = add_named_interface(control_fd, name, list);
        host_address *added = index != 0 ? add_host_address(list, index, AF_INET6) : nullptr;
        if (added == nullptr)
            continue;
        added->ipv6 = ipv6_of_digits(digits);
        added->prefix = hexadecimal(prefix);
        added->deprecated = (hexadecimal(flags) & IFA_F_DEPRECATED) != 0;
        added->tentative = (hexadecimal(flags) & (IFA_F_TENTATIVE | IFA_F_DADFAILED)) != 0;
    }
}

} // namespace

int call_for_interfaces(host_interfaces *list)
{
    const descriptor control(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (control.fd < 0 || add_ipv4_addresses(control.fd, list) != 0)
        return -1;
    add_ipv6_addresses(control.fd, list);
    return 0;
}

struct in_addr source_towards(struct in_addr destination)
{
    const descriptor probe(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    const struct sockaddr_in target = ipv4_socket_address(destination, 9);
    struct sockaddr_in own = {};
    socklen_t size = sizeof own;
    // To connect a UDP socket, be it to the port for what is discarded, sends nothing.
    if (probe.fd < 0 || setsockopt(probe.fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0 ||
        connect(probe.fd, reinterpret_cast<const struct sockaddr *>(&target), sizeof target) != 0 ||
        getsockname(probe.fd, reinterpret_cast<struct sockaddr *>(&own), &size) != 0)
        return {INADDR_ANY};
    return own.sin_addr;
}
