// The questions to one directory agent: by UDP, and by TCP when a datagram is too small.
#pragma once

#include "slp/agent/da_search.h"
#include "slp/agent/message.h"
#include "slp/agent/results.h"
#include "slp/agent/settings.h"

#include <cstdint>
#include <netinet/in.h>
#include <string_view>

/// Asks one directory agent for `request` and hands over the URLs that it returns. An agent whose
/// scopes are not known is asked for its advert first, which fills them in; one whose scopes have
/// none in common with `wanted` is asked no further. One that sends no advert is asked all the
/// same, and its scopes stay empty. Requests are repeated when no answer comes; the one for
/// services goes over TCP when the reply says that it did not fit, or when the request itself does
/// not fit the MTU. Returns 0 when the agent answered, -1 when it did not until `deadline_us`
/// (monotonic) or the end of its own waits, answered with an error, or was not asked.
int slp_query_directory_agent(const slp_settings &settings, const slp_request &request,
                              std::string_view wanted, int64_t deadline_us,
                              slp_directory_agent *agent, slp_results *results);

/// Asks any agent for `request` over TCP and hands over the URLs that it returns. Returns 0, or -1
/// when there is no whole reply until `deadline_us`, or one with an error.
int slp_query_over_tcp(const slp_settings &settings, const slp_request &request,
                       struct in_addr agent, int64_t deadline_us, slp_results *results);
