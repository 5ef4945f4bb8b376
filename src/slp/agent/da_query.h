// The question to one directory agent: by UDP, and by TCP when a datagram is too small.
#pragma once

#include "slp/agent/message.h"
#include "slp/agent/results.h"
#include "slp/agent/settings.h"

#include <cstdint>
#include <netinet/in.h>

/// Asks one directory agent for `request` and hands over the URLs that it returns. The request is
/// repeated when no answer comes; it goes over TCP when the reply says that it did not fit, or
/// when the request itself does not fit the MTU. Returns 0 when the agent answered, -1 when it did
/// not until `deadline_us` (monotonic) or the end of its own waits, or answered with an error.
int slp_query_directory_agent(const slp_settings &settings, const slp_request &request,
                              struct in_addr agent, int64_t deadline_us, slp_results *results);
