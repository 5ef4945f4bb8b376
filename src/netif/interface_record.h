// The record of an Ethernet interface, whatever its source.
#pragma once

#include "records/list.h"

#include <cstddef>

constexpr size_t INTERFACE_NAME_SIZE = 32;
constexpr size_t INTERFACE_ADDRESS_SIZE = 40; ///< an address text of at most 39 characters

/// One Ethernet interface; what was not found is empty. Of several IPv6 addresses of one kind the
/// last one counts.
struct netinterface_info {
    char name[INTERFACE_NAME_SIZE];
    char inet_addr[INTERFACE_ADDRESS_SIZE];
    char bcast_addr[INTERFACE_ADDRESS_SIZE];
    char inet6_link_addr[INTERFACE_ADDRESS_SIZE];   ///< begins with "f", third character "8"
    char inet6_site_addr[INTERFACE_ADDRESS_SIZE];   ///< begins with "f", any other third one
    char inet6_global_addr[INTERFACE_ADDRESS_SIZE]; ///< begins with anything else
};

/// Appends a zeroed record of that name (cut to 31 characters), owned by the list. Returns it, or
/// nullptr, after a message on standard output, when there is no memory.
netinterface_info *add_interface(list_node **interfaces, const char *name);

/// The field for an IPv6 address text, chosen by its first and third character.
char *ipv6_field(netinterface_info *interface, const char *address);
