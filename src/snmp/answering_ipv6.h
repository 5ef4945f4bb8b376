// The IPv6 addresses at which a device can be asked.
#pragma once

#include "records/device_list.h"

/// Replaces every IPv6 record of the list by records of those addresses in the other scopes (see
/// netif/derive_ipv6.h) that answer with the same identification, or else of the address that the
/// device answered from, a link-local one with the name of its interface as the zone. All are asked
/// side by side, for 3.5 s; after 7 s no more are. IPv4 records keep their order, the others
/// follow.
void list_answering_ipv6(device_list *devices);
