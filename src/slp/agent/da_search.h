// Which directory agents a search can ask.
#pragma once

#include "slp/agent/message.h"
#include "slp/agent/settings.h"

#include <netinet/in.h>
#include <string>
#include <vector>

struct slp_directory_agent {
    struct in_addr address;
    struct in_addr sender; ///< where its advert came from
    std::string scopes;    ///< as advertised; empty, and so unknown, for a configured one
};

/// Returns the directory agents to ask for `request`, in order and each once: those of
/// net.slp.DAAddresses, names resolved; when it names none and active detection is on, those that
/// answer a multicast search and serve one of the request's scopes, one for each that answers.
std::vector<slp_directory_agent> slp_find_directory_agents(const slp_settings &settings,
                                                           const slp_request &request);
