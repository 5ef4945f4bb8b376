// The address of the device that an answer came from.
#pragma once

#include "snmp/snmp_session.h"

#include <cstddef>

/// Writes the two sides of the answer's transport addresses, the local one first and the peer
/// behind the arrow, without zones, to `text`; a local address that the transport does not
/// tell is empty. Where the data hold no addresses the text is what the transport makes of them.
void format_transport_address(netsnmp_transport *transport, const netsnmp_pdu *pdu, char *text,
                              size_t size);

/// Returns the index of the interface that the answer of a link-local address arrived on, else 0.
unsigned peer_zone(const netsnmp_pdu *pdu);

/// Whether the answer came from that address and port, and from its link where it names one.
bool came_from(const netsnmp_pdu *pdu, const netsnmp_sockaddr_storage &device);

/// Takes the peer's address out of a transport address text: the first bracketed text behind
/// "IPv6", or else behind the first ">", cut to `size` - 1 characters. With neither, `output`
/// stays as it is; without a bracket it becomes empty.
void extract_peer_ip(char *output, const char *text, size_t size);
