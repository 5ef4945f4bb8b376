// The far end of a point-to-point tunnel: it takes every packet, answers none and writes down those
// of UDP.
#pragma once

/// Takes the far end of the tunnel interface `name`, which is running from then on. Returns a
/// descriptor that the caller closes, or -1 (`errno`).
int tunnel_open(const char *name);

/// Reads packets, and records those of UDP as "tunnel", until `end_signal` is readable. What has
/// arrived until then is still written down.
void tunnel_run(int tunnel, int end_signal);
