// The host's Ethernet interfaces and their addresses.
#pragma once

#include "driver/records/list.h"

#include <cstddef>
#include <cstdint>

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

/// Context of `parse_ifconfig_line`, zeroed at start.
struct ifconfig_parse_state {
    int32_t in_ethernet_block;  ///< 1 while the current block is an Ethernet one with a record
    list_node **interfaces;     ///< the list that receives the records
    netinterface_info *current; ///< the record that continuation lines fill
};

/// Fills the empty list with the host's Ethernet interfaces, from the output of "/sbin/ifconfig"
/// or, where that is missing or of another format, from the system. The list owns its records.
/// Returns 0; a failure leaves the list shorter.
int enumerate_interfaces(list_node **interfaces);

/// The same from a source of `for_each_line`. Returns 1 when it was in the "Link encap:" format,
/// else 0.
int enumerate_interfaces_from(list_node **interfaces, const char *source);

/// The same from the system's own tables.
void enumerate_system_interfaces(list_node **interfaces);

/// Reads one line of ifconfig's output; `state` is an `ifconfig_parse_state`. Returns 0.
int parse_ifconfig_line(const char *line, void *state);
