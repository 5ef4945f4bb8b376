// The record of an Ethernet interface, whatever its source.
#include "netif/interface_record.h"

#include "config/text.h"

#include <cstdio>
#include <cstring>

netinterface_info *add_interface(list_node **interfaces, const char *name)
{
    auto *interface = static_cast<netinterface_info *>(list_new_data(sizeof(netinterface_info)));
    if (interface == nullptr) {
        puts("# ERROR: can not allocate netinterface info");
        return nullptr;
    }
    safe_strncpy(interface->name, name, sizeof interface->name);
    if (list_append(interfaces, interface, 1) != 0) {
        puts("# ERROR: can not allocate netinterface list node");
        list_free_data(interface);
        return nullptr;
    }
    return interface;
}

char *ipv6_field(netinterface_info *interface, const char *address)
{
    if (address[0] != 'f')
        return interface->inet6_global_addr;
    const bool link_local = strnlen(address, 3) == 3 && address[2] == '8';
    return link_local ? interface->inet6_link_addr : interface->inet6_site_addr;
}
