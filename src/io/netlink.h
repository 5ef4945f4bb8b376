// Single questions to the kernel about routes and interfaces.
#pragma once

#include <netinet/in.h>

/// Returns the index of the interface that the system sends an IPv4 packet to `destination`
/// through, or 0 where it has no route or does not tell.
unsigned route_interface(struct in_addr destination);

/// Returns the index of the interface that this one is a port or member of (a bridge, a bond), or
/// 0 when it stands for itself.
unsigned master_interface(unsigned interface);
