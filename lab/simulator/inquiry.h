// The simulated scanners' inquiry port.
#pragma once

#include "simulator/fleet.h"

/// Lets each device with the key scan listen on TCP port 9400 of its IPv4 address and its IPv6
/// addresses but the link-local one. Returns 0, or -1 after a line on standard error.
int inquiry_listen(const fleet &devices);
