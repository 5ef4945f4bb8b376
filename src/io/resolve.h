// Host names to addresses, one family at a time.
#pragma once

#include <netinet/in.h>

/// Takes the first address of a host name. Returns 0, -1 when the name does not resolve.
int resolve_ipv4(const char *host, struct in_addr *address);

/// The same for an IPv6 address text or a name with an IPv6 address; a text with a zone is neither.
int resolve_ipv6(const char *host, struct in6_addr *address);
