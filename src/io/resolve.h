// Host names to addresses.
#pragma once

#include <netinet/in.h>

/// Takes the first IPv4 address of a host name, in the order in which the hosts file or the name
/// server lists them. Returns 0, -1 when the name does not resolve.
int resolve_ipv4(const char *host, struct in_addr *address);

/// Reads an IPv4 address, or else resolves a host name. Returns 0, -1 when the text is neither an
/// address nor a name that resolves.
int find_ipv4(const char *host, struct in_addr *address);

/// Reads an IPv6 address, with or without a zone. Returns 0, -1 when the text is none.
int read_ipv6(const char *text, struct sockaddr_in6 *address);
