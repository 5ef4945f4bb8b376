// The simulated devices' SLP side: service agents and directory agents, over IPv4.
#pragma once

#include "simulator/udp.h"

constexpr uint16_t SLP_PORT = 427;

/// Lets the socket hear the multicast group of SLP. Returns 0, or -1 (`errno`).
int slp_join(const udp_socket &by);

/// Lets the agents that take requests over TCP listen. Returns 0, or -1 after a line on standard
/// error.
int slp_listen(const fleet &devices);

/// Answers one datagram for the agents of the fleet that it asks.
void slp_answer_request(const fleet &devices, const udp_socket &by, const datagram &request);
