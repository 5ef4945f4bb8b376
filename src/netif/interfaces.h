// The host's Ethernet interfaces and their addresses.
#pragma once

#include "netif/interface_record.h"

/// Fills the empty list with the host's Ethernet interfaces, from the output of "/sbin/ifconfig"
/// or, where that is missing or of another format, from the system. The list owns its records.
/// Returns 0; a failure leaves the list shorter.
int enumerate_interfaces(list_node **interfaces);
