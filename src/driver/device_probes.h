// The reachability probes that a parent makes itself, many side by side.
#pragma once

#include "records/device_list.h"
#include "scan/probe.h"

#include <cstddef>
#include <cstdint>

constexpr size_t PROBES_AT_ONCE = 256;

/// One probe. It is idle without a device.
struct device_probe {
    probe probed;
    device_record *device;
};

struct device_probes {
    device_probe all[PROBES_AT_ONCE];
    size_t running;
};

/// Begins to probe the device's address, which must outlive the probe. Returns false where that
/// cannot be yet: as many are running as the limit of descriptors allows, or there is no socket.
bool probe_device(device_probes *probes, device_record *device, struct in_addr address);

/// Fills in what shows that a step of a running probe is due, at most PROBE_SOCKETS for each.
/// Returns how many.
size_t poll_probes(const device_probes &probes, struct pollfd *polled);

/// Makes the steps that are due by what was filled in and polled, and by the time. A device that
/// cannot be reached is marked.
void step_probes(device_probes *probes, const struct pollfd *polled);

/// Gives up the running probes, without a verdict, and closes their sockets.
void end_probes(device_probes *probes);

/// Microseconds until a step is due by the time; -1: none is running.
int64_t next_probe_step_us(const device_probes &probes);
