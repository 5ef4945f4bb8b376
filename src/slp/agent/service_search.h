// One whole search for services: directory agents first, then multicast; what it has found so far,
// and how that is handed to the caller.
#pragma once

#include "slp/agent/message.h"
#include "slp/agent/properties.h"
#include "slp/agent/slp.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>

/// What stands behind an SLPHandle.
struct slp_agent {
    slp_settings settings; ///< read when the handle is opened
    std::string language;
    bool in_use = false; ///< a search is running
};

/// The caller's side of one search.
struct slp_results {
    SLPHandle handle;
    SLPSrvURLCallback *callback;
    void *cookie;
    size_t most;                            ///< URLs after which the search is over
    std::unordered_set<std::string> seen;   ///< the URLs handed over
    bool refused;                           ///< the callback wants no more calls
    int64_t deadline_us = INT64_MAX;        ///< of the whole search (monotonic)
    int64_t agents_deadline_us = INT64_MAX; ///< of the questions to agents found by multicast
};

/// Tells whether the search is over: enough URLs, or a callback that wants no more.
bool slp_results_complete(const slp_results &results);

/// Hands over the URLs of a reply that have not been handed over before, until the search is over
/// or the agent's share, which is counted down, is used up (null: no share). Passes over empty URLs
/// and those with control characters, which no URL may hold and which would not survive as a C text
/// or as one line of output.
void slp_results_add(slp_results *results, const slp_service_reply &reply, size_t *share);

/// Searches and hands over what is found; returns when the search is over. The request's scopes
/// and transaction number are filled in by the caller. Codes as SLPFindSrvs returns them.
SLPError slp_search_services(const slp_settings &settings, const slp_request &request,
                             slp_results *results);
