// Which directory agents a search can ask.
#pragma once

#include "slp/agent/message.h"
#include "slp/agent/settings.h"

#include <netinet/in.h>
#include <string>
#include <string_view>
#include <vector>

struct slp_directory_agent {
    struct in_addr address;
    struct in_addr sender; ///< where its advert came from
    std::string scopes;    ///< as advertised; empty, and so unknown, for a configured one
};

/// Returns the request for adverts that goes with `request`, for directory agents of one of the
/// scopes (none: of any), under a transaction number of its own.
slp_request slp_directory_agent_request(const slp_request &request, std::string_view scopes);

/// Tells whether an advert comes from a directory agent that stays in service.
bool slp_is_directory_agent(const slp_da_advert &advert);

/// Returns the directory agents to ask for `request`, in order and each once: those of
/// net.slp.DAAddresses, names resolved; when it names none and active detection is on, those that
/// answer a multicast search and serve one of the request's scopes, one for each that answers. A
/// wait of 0 for that search leaves it out.
std::vector<slp_directory_agent> slp_find_directory_agents(const slp_settings &settings,
                                                           const slp_request &request);
