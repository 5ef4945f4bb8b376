// Discovery by nodeq, the devices' own UDP protocol, over IPv4 broadcast.
#pragma once

#include "records/device_list.h"

/// Broadcasts two requests, 100 ms apart, into each subnet, and records every address that answers:
/// 99 answers after each request and for each subnet that it went into. A target that
/// begins with "u", the IPv6 one, is not served: nothing is sent. With --thorough the request goes
/// out every 0.5 s, until six in a row bring no new address, or for 12 s. Returns 0, -1 when the
/// socket cannot be set up, -2 when a request cannot be sent anywhere; both are reported on
/// standard output, and what was found before stays in the list.
int discover_using_nodeq(device_list *devices, const char *target);

/// Returns a UDP socket that may broadcast, which the caller closes; -1 when there is none, -2
/// when broadcast is refused, -3 when it cannot be bound (`errno`).
int nodeq_open_socket();

/// Sends the request to 255.255.255.255, as the system routes it and into every other subnet.
/// Returns the bytes of one request, or a negative number when none could be sent (`errno` of the
/// first attempt).
int nodeq_send_request(int socket_fd);

/// Collects answers until 0.5 s pass without one, or 99 datagrams have come. Returns 0.
int nodeq_collect_answers(device_list *devices, int socket_fd);
