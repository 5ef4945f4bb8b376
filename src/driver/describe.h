// Describing many devices in one process, side by side.
#pragma once

#include <cstddef>

/// Probes and asks the devices at the addresses, and prints the line of each as soon as it is
/// known: its description, or that it cannot be reached; no line where it gives no description.
/// A request ends with its first answer. The addresses are put in another order: host names, which
/// may hold up all while they are resolved, come last.
void describe_devices(char **addresses, size_t count, int debug_level);
