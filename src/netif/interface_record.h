// Adding and filling interface records, whatever their source.
#pragma once

#include "netif/interfaces.h"

/// Appends a zeroed record of that name (cut to 31 characters), owned by the list. Returns it, or
/// nullptr, after a message on standard output, when there is no memory.
netinterface_info *add_interface(list_node **interfaces, const char *name);

/// The field for an IPv6 address text, chosen by its first and third character.
char *ipv6_field(netinterface_info *interface, const char *address);
