// The addresses of a fleet, as lines for `ip -batch`.
#pragma once

#include "simulator/fleet.h"

/// Prints one "address add ..." line for each address that a device of the fleet owns on
/// `interface`.
void addresses_print(const fleet &devices, const char *interface);
