// Fuzzes the reader of ifconfig's output, and the completing of addresses with what it read.
#include "input_file.h"
#include "netif/derive_ipv6.h"
#include "netif/ifconfig.h"
#include "printed_line.h"

#include <cstring>
#include <netinet/in.h>

namespace
{

/// A device with another interface identifier on the network of an IPv6 address.
void add_neighbour(device_list *devices, const char *address)
{
    char neighbour[INET6_ADDRSTRLEN];
    combine_ipv6_address(neighbour, sizeof neighbour, address, "::5:1");
    add_derived_record(neighbour, "Model", "Maker", {1, 1, 0, 0}, devices);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr int SNMP6_SLOT = 1;
    list_node *interfaces = nullptr;
    device_list devices = nullptr;
    enumerate_interfaces_from(&interfaces, input_file(data, size));
    for (const list_node *node = interfaces; node != nullptr; node = node->next) {
        const auto *interface = static_cast<const netinterface_info *>(node->data);
        require(strnlen(interface->name, sizeof interface->name) < sizeof interface->name &&
                    strnlen(interface->inet_addr, INTERFACE_ADDRESS_SIZE) <
                        INTERFACE_ADDRESS_SIZE &&
                    strnlen(interface->bcast_addr, INTERFACE_ADDRESS_SIZE) < INTERFACE_ADDRESS_SIZE,
                "terminated texts", "");
        for (const char *address :
             {interface->inet6_link_addr, interface->inet6_site_addr, interface->inet6_global_addr})
            add_neighbour(&devices, address);
    }
    derive_ipv6_addresses_on(&devices, interfaces);
    for (const list_node *node = devices; node != nullptr; node = node->next) {
        uint8_t prefix[IPV6_PREFIX_SIZE];
        const char *ip = static_cast<const device_record *>(node->data)->ip;
        require(ipv6_prefix64(ip, prefix) != 0, "an IPv6 address", ip);
    }
    carry_to_report(&devices, SNMP6_SLOT);
    list_free(&interfaces);
    return 0;
}
