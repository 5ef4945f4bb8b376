// Datagrams that go out now or later.
#pragma once

#include <cstdint>
#include <string>

#include "simulator/udp.h"

/// Sends `bytes` after `delay_us` microseconds, at once when that is 0. `by` must live until then.
void send_queue_add(const udp_socket &by, const sockaddr_storage &from, const sockaddr_storage &to,
                    std::string bytes, int64_t delay_us);

/// Sends what is due.
void send_queue_run();

/// Microseconds until the next datagram is due, -1 when none waits.
int64_t send_queue_wait_us();
