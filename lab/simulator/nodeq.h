// The simulated devices' nodeq side.
#pragma once

#include "simulator/udp.h"

constexpr uint16_t NODEQ_PORT = 6000;

/// Answers one nodeq request for the devices of the fleet that it asks.
void nodeq_answer_request(const fleet &devices, const udp_socket &by, const datagram &request);
