// Loss: the share of the datagrams that never arrive, drawn from a seed.
#pragma once

#include <cstdint>
#include <sys/socket.h>

enum loss_direction { LOSS_OF_REQUESTS, LOSS_OF_ANSWERS };

/// Sets the share, from 0 (at first) to 100 percent, and the seed of what is drawn.
void loss_set(int percent, uint64_t seed);

/// Whether the next datagram to, or from, `port` of the device with this address is lost. Each
/// direction of each port of a device draws from a sequence of its own, so that a run loses the
/// same datagrams again, in whatever order the devices speak.
bool loss_takes_next(loss_direction direction, const sockaddr_storage &device, uint16_t port);
