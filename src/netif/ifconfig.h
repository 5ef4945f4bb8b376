// The host's Ethernet interfaces, read from the output of "/sbin/ifconfig".
#pragma once

#include "netif/interface_record.h"

#include <cstdint>

/// Context of `parse_ifconfig_line`, zeroed at start.
struct ifconfig_parse_state {
    int32_t in_ethernet_block;  ///< 1 while the current block is an Ethernet one with a record
    list_node **interfaces;     ///< the list that receives the records
    netinterface_info *current; ///< the record that continuation lines fill
};

/// Fills the empty list from a source of `for_each_line`. Returns 1 when it was in the "Link
/// encap:" format, else 0.
int enumerate_interfaces_from(list_node **interfaces, const char *source);

/// Reads one line of ifconfig's output; `state` is an `ifconfig_parse_state`. Returns 0.
int parse_ifconfig_line(const char *line, void *state);
