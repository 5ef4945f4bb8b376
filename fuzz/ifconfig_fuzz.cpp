// Fuzzes the reader of ifconfig's output, and the completing of addresses with what it read.
#include "config/text.h"
#include "input_file.h"
#include "netif/derive_ipv6.h"
#include "netif/ifconfig.h"
#include "printed_line.h"

#include <cstring>
#include <netinet/in.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    list_node *interfaces = nullptr;
    device_list devices = nullptr;
    device_record answered = {};
    safe_strncpy(answered.dsc, "Model", sizeof answered.dsc);
    enumerate_interfaces_from(&interfaces, input_file(data, size));
    for (const list_node *node = interfaces; node != nullptr; node = node->next) {
        const auto *found = static_cast<const netinterface_info *>(node->data);
        require(memchr(found->name, '\0', sizeof found->name) != nullptr, "a terminated name");
        for (const auto *address : {&found->inet_addr, &found->bcast_addr, &found->inet6_link_addr,
                                    &found->inet6_site_addr, &found->inet6_global_addr}) {
            require(memchr(*address, '\0', sizeof *address) != nullptr, "a terminated address");
            char neighbour[INET6_ADDRSTRLEN];
            combine_ipv6_address(neighbour, sizeof neighbour, *address, "::5:1");
            add_derived_record(neighbour, answered, &devices);
        }
    }
    derive_ipv6_addresses_on(&devices, interfaces);
    for (const list_node *node = devices; node != nullptr; node = node->next) {
        uint8_t prefix[IPV6_PREFIX_SIZE];
        const char *ip = static_cast<const device_record *>(node->data)->ip;
        require(ipv6_prefix64(ip, prefix) != 0, "an IPv6 address", ip);
    }
    carry_to_report(&devices, slot_of("snmp6"));
    list_free(&interfaces);
    return 0;
}
