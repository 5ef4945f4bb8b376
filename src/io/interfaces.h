// The host's interfaces and their addresses, and which of them are asked.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>

/// A host of many containers has hundreds of interfaces; more than these are not listed.
constexpr size_t HOST_INTERFACES_MAX = 4096;
constexpr size_t HOST_ADDRESSES_MAX = 4 * HOST_INTERFACES_MAX;

struct host_interface {
    unsigned index;
    char name[IF_NAMESIZE];
    unsigned flags;          ///< IFF_UP and its like
    unsigned short hardware; ///< ARPHRD_ETHER and its like
    bool serves_master;      ///< a port of a bridge, a member of a bond; not one of a VRF
};

struct host_address {
    unsigned interface; ///< by index
    int family;         ///< AF_INET or AF_INET6
    unsigned prefix;    ///< its length in bits
    bool deprecated;
    bool tentative; ///< not known to be unique, or known not to be
    struct in_addr ipv4;
    struct in_addr network;   ///< of the IPv4 subnet: the bits behind the prefix are zero
    struct in_addr broadcast; ///< of the IPv4 subnet; 0.0.0.0: none
    struct in6_addr ipv6;
};

/// In the order in which the system lists them.
struct host_interfaces {
    host_interface interfaces[HOST_INTERFACES_MAX];
    size_t interface_count;
    host_address addresses[HOST_ADDRESSES_MAX];
    size_t address_count;
};

struct host_interfaces_deleter {
    void operator()(host_interfaces *list) const
    {
        free(list);
    }
};

/// A list, freed with its owner.
using host_interface_list = std::unique_ptr<host_interfaces, host_interfaces_deleter>;

/// Lists the host's interfaces, by netlink or, where that is refused, by the older calls, which do
/// not tell an interface without addresses. Returns none where they are refused too, or without
/// memory (`errno`).
host_interface_list list_host_interfaces();

/// Returns the interface of that index, or nullptr; without a list too.
const host_interface *find_host_interface(const host_interfaces *list, unsigned index);

/// Returns the interface of that name, or nullptr; without a list too.
const host_interface *find_host_interface(const host_interfaces *list, const char *name);

/// The one rule for what is asked: interfaces that are up and running, neither a loopback nor
/// point-to-point, and serve no bridge or bond, which asks for them. An interface that is `chosen`
/// by name (nullptr: none is) is asked alone, and only has to be up and no loopback.
bool is_asked(const host_interface &interface, const char *chosen);

/// Adds to the lists while there is room. Returns the new element, zeroed, or nullptr.
host_interface *add_host_interface(host_interfaces *list, unsigned index);
host_address *add_host_address(host_interfaces *list, unsigned interface, int family);

/// Sets what an IPv4 address says of its subnet, in which `peer` lies: the address itself but on
/// links with one address at either end.
void set_ipv4_subnet(host_address *address, struct in_addr peer, unsigned prefix);
