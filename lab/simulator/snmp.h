// The simulated devices' SNMP side: GET of three objects in versions 1 and 2c.
#pragma once

#include "simulator/udp.h"

constexpr uint16_t SNMP_PORT = 161;

/// Answers one SNMP request for the devices of the fleet that it asks. What is no GET of one of
/// the two versions, or has another community, gets no answer.
void snmp_answer_request(const fleet &devices, const udp_socket &by, const datagram &request);
