// The host's Ethernet interfaces, as the system itself lists them.
#pragma once

#include "netif/interface_record.h"

/// Fills the empty list from the system's own tables.
void enumerate_system_interfaces(list_node **interfaces);
