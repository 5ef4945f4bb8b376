// Directory agents: which of them a search can ask, and the questions to one of them, by UDP, and
// by TCP when a datagram is too small.
#pragma once

#include "slp/agent/message.h"
#include "slp/agent/properties.h"
#include "slp/agent/service_search.h"

#include <cstdint>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <vector>

struct slp_directory_agent {
    struct in_addr address;
    struct in_addr sender; ///< where its advert came from
    std::string scopes;    ///< as advertised; empty, and so unknown, for a configured one
};

/// Returns the directory agents to ask for `request`, in order and each once: those of
/// net.slp.DAAddresses, names resolved; when it names none and active detection is on, those that
/// answer a multicast search and serve one of the request's scopes, one for each that answers. A
/// wait of 0 for that search leaves it out.
std::vector<slp_directory_agent> slp_find_directory_agents(const slp_settings &settings,
                                                           const slp_request &request);

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
