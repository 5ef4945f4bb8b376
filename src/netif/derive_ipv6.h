// Completing IPv6 device addresses: a device that answers from one address is listed under the
// addresses that it has in the other scopes of the host's interface.
#pragma once

#include "io/interfaces.h"
#include "netif/interface_record.h"
#include "netif/interfaces.h"
#include "records/device_list.h"

#include <cstddef>
#include <cstdint>

constexpr size_t IPV6_PREFIX_SIZE = 8; ///< bytes of the prefix, and of the interface identifier

constexpr size_t OTHER_SCOPES = 2;
constexpr size_t COMBINED_SIZE = 72; ///< an address that is put together

/// Writes the addresses that the device should have in the scopes that the one it answered from is
/// not in: prefixes of the interface of that one's zone, or else of the first interface with its
/// prefix, and its identifier. An empty text stands for none. Returns the interface; nullptr: there
/// is none, and the addresses are not written.
const netinterface_info *other_addresses(const char *answered_from, list_node *interfaces,
                                         const host_interfaces *system,
                                         char (&addresses)[OTHER_SCOPES][COMBINED_SIZE]);

/// Whether the `device_record` has an IPv6 address.
bool is_ipv6_record(const void *data);

/// Replaces every IPv6 record of the list by the device's addresses in the other two scopes of
/// the interface of its zone, where the list of interfaces holds that one, or else of the first
/// interface with its prefix; a record without either is dropped. IPv4 records keep their order,
/// the completed ones follow.
void derive_ipv6_addresses(device_list *devices);

/// The same for a given list of interfaces.
void derive_ipv6_addresses_on(device_list *devices, list_node *interfaces);

/// Takes the IPv6 records out of the list and moves the replacements, IPv6 records with each
/// address once, to its end; their own list is empty then.
void replace_ipv6_records(device_list *devices, device_list *replacements);

/// Makes the address text that stands for a link-local address on one interface (by index): with
/// the zone behind it, in digits because a name may not fit. Where there is no room for it, the
/// text stays as it is.
void append_zone(char (&ip)[IP_SIZE], unsigned interface);

/// The first interface, in list order, that has an IPv6 address with the prefix of `address`, or
/// nullptr.
const netinterface_info *find_interface_by_prefix(list_node *interfaces, const char *address);

/// Takes the first 64 bits of an IPv6 address text. Returns 1, or 0 when it is none.
int ipv6_prefix64(const char *address, uint8_t (&prefix)[IPV6_PREFIX_SIZE]);

/// Writes the address of the first text's prefix and the second text's interface identifier; an
/// empty text when one of them is no IPv6 address.
void combine_ipv6_address(char *output, size_t size, const char *prefix_source,
                          const char *identifier_source);

/// Finds or adds `ip` in the list and makes its record a copy of `source`, but for the address and
/// for what SLP, nodeq and the parent note in a record. An empty or missing `ip` does nothing. With
/// the list's index it does so without a walk.
void add_derived_record(const char *ip, const device_record &source, device_list *devices,
                        address_index *index = nullptr);
