// Completing IPv6 device addresses.
#include "netif/derive_ipv6.h"

#include "config/text.h"
#include "io/interfaces.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <netinet/in.h>

namespace
{

constexpr char ZONE_MARK = '%';

struct field_pair {
    const char *first;
    const char *second;
};

bool begins_with_any(const char *text, const char *const (&prefixes)[4])
{
    for (const char *prefix : prefixes) {
        if (begins_with(text, prefix))
            return true;
    }
    return false;
}

/// The interface's addresses in the scopes that the device's address is not in.
field_pair other_scopes(const netinterface_info &interface, const char *ip)
{
    static constexpr const char *LINK_LOCAL[4] = {"fe8", "fe9", "fea", "feb"};
    static constexpr const char *SITE_LOCAL[4] = {"fec", "fed", "fee", "fef"};
    if (begins_with_any(ip, LINK_LOCAL))
        return {interface.inet6_site_addr, interface.inet6_global_addr};
    if (begins_with_any(ip, SITE_LOCAL))
        return {interface.inet6_link_addr, interface.inet6_global_addr};
    return {interface.inet6_link_addr, interface.inet6_site_addr};
}

/// The interface with the index behind the "%" of an address text, or nullptr.
const netinterface_info *find_interface_by_zone(list_node *interfaces, const char *ip,
                                                const host_interfaces *system)
{
    const char *zone = strchr(ip, ZONE_MARK);
    const host_interface *arrived_on =
        zone == nullptr
            ? nullptr
            : find_host_interface(system, static_cast<unsigned>(strtoul(zone + 1, nullptr, 10)));
    if (arrived_on == nullptr)
        return nullptr;
    for (const list_node *node = interfaces; node != nullptr; node = node->next) {
        const auto *interface = static_cast<const netinterface_info *>(node->data);
        if (strcmp(interface->name, arrived_on->name) == 0)
            return interface;
    }
    return nullptr;
}

void derive_from_record(const device_record *record, list_node *interfaces,
                        const host_interfaces *system, device_list *derived, address_index *index)
{
    char addresses[OTHER_SCOPES][COMBINED_SIZE];
    if (other_addresses(record->ip, interfaces, system, addresses) == nullptr)
        return;
    for (const char *address : addresses)
        add_derived_record(address, *record, derived, index);
}

} // namespace

bool is_ipv6_record(const void *data)
{
    return strchr(static_cast<const device_record *>(data)->ip, ':') != nullptr;
}

const netinterface_info *other_addresses(const char *answered_from, list_node *interfaces,
                                         const host_interfaces *system,
                                         char (&addresses)[OTHER_SCOPES][COMBINED_SIZE])
{
    const netinterface_info *interface = find_interface_by_zone(interfaces, answered_from, system);
    char ip[IP_SIZE];
    copy_part(ip, answered_from, strcspn(answered_from, "%"), sizeof ip);
    if (interface == nullptr)
        interface = find_interface_by_prefix(interfaces, ip);
    if (interface == nullptr)
        return nullptr;
    const field_pair fields = other_scopes(*interface, ip);
    combine_ipv6_address(addresses[0], sizeof addresses[0], fields.first, ip);
    combine_ipv6_address(addresses[1], sizeof addresses[1], fields.second, ip);
    return interface;
}

void derive_ipv6_addresses(device_list *devices)
{
    list_node *interfaces = nullptr;
    list_init(&interfaces);
    enumerate_interfaces(&interfaces);
    derive_ipv6_addresses_on(devices, interfaces);
    list_free(&interfaces);
}

void derive_ipv6_addresses_on(device_list *devices, list_node *interfaces)
{
    const host_interface_list system = list_host_interfaces();
    device_list derived = nullptr;
    list_init(&derived);
    static address_index index; // too large for the stack
    index = {};
    for (const list_node *node = *devices; node != nullptr; node = node->next)
        derive_from_record(static_cast<const device_record *>(node->data), interfaces, system.get(),
                           &derived, &index);
    replace_ipv6_records(devices, &derived);
}

void replace_ipv6_records(device_list *devices, device_list *replacements)
{
    list_remove_if(devices, is_ipv6_record);
    list_node **end = devices;
    while (*end != nullptr)
        end = &(*end)->next;
    *end = *replacements;
    list_init(replacements);
}

void append_zone(char (&ip)[IP_SIZE], unsigned interface)
{
    char zoned[2 * IP_SIZE];
    const int length = snprintf(zoned, sizeof zoned, "%s%c%u", ip, ZONE_MARK, interface);
    if (length < static_cast<int>(sizeof ip))
        safe_strncpy(ip, zoned, sizeof ip);
}

const netinterface_info *find_interface_by_prefix(list_node *interfaces, const char *address)
{
    uint8_t wanted[IPV6_PREFIX_SIZE];
    if (ipv6_prefix64(address, wanted) == 0)
        return nullptr;
    for (const list_node *node = interfaces; node != nullptr; node = node->next) {
        const auto *interface = static_cast<const netinterface_info *>(node->data);
        for (const char *field : {interface->inet6_link_addr, interface->inet6_site_addr,
                                  interface->inet6_global_addr}) {
            uint8_t prefix[IPV6_PREFIX_SIZE];
            if (ipv6_prefix64(field, prefix) != 0 && memcmp(prefix, wanted, sizeof prefix) == 0)
                return interface;
        }
    }
    return nullptr;
}

int ipv6_prefix64(const char *address, uint8_t (&prefix)[IPV6_PREFIX_SIZE])
{
    struct in6_addr parsed = {};
    if (inet_pton(AF_INET6, address, &parsed) <= 0)
        return 0;
    memcpy(prefix, parsed.s6_addr, sizeof prefix);
    return 1;
}

void combine_ipv6_address(char *output, size_t size, const char *prefix_source,
                          const char *identifier_source)
{
    output[0] = '\0';
    struct in6_addr combined = {};
    struct in6_addr identifier = {};
    if (prefix_source == nullptr || identifier_source == nullptr ||
        inet_pton(AF_INET6, prefix_source, &combined) <= 0 ||
        inet_pton(AF_INET6, identifier_source, &identifier) <= 0)
        return;
    memcpy(combined.s6_addr + IPV6_PREFIX_SIZE, identifier.s6_addr + IPV6_PREFIX_SIZE,
           IPV6_PREFIX_SIZE);
    if (inet_ntop(AF_INET6, &combined, output, static_cast<socklen_t>(size)) == nullptr)
        output[0] = '\0';
}

void add_derived_record(const char *ip, const device_record &source, device_list *devices,
                        address_index *index)
{
    if (ip == nullptr || ip[0] == '\0')
        return;
    device_record *record = device_list_find_or_add(devices, ip, index);
    if (record == nullptr)
        return;
    device_record completed = source;
    memcpy(completed.ip, record->ip, sizeof completed.ip);
    // The other methods have seen the device under the address that it answered from.
    completed.record_state = 0;
    completed.slp_detected = completed.slp_ipp = completed.slp_lpr = completed.slp_raw_tcp = 0;
    completed.nodeq_detected = 0;
    completed.nodeq_text_a[0] = completed.nodeq_text_b[0] = '\0';
    completed.scan_info[0] = 0;
    *record = completed;
}
