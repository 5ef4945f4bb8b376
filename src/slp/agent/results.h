// What a search has found so far, and how it is handed to the caller.
#pragma once

#include "slp/agent/message.h"
#include "slp/agent/slp.h"

#include <cstddef>
#include <string>
#include <unordered_set>

/// The caller's side of one search.
struct slp_results {
    SLPHandle handle;
    SLPSrvURLCallback *callback;
    void *cookie;
    size_t most;                          ///< URLs after which the search is over
    std::unordered_set<std::string> seen; ///< the URLs handed over
    bool refused;                         ///< the callback wants no more calls
};

/// Tells whether the search is over: enough URLs, or a callback that wants no more.
bool slp_results_complete(const slp_results &results);

/// Hands over the URLs of a reply that have not been handed over before, until the search is
/// over. Passes over empty URLs and those with control characters, which no URL may hold and
/// which would not survive as a C text or as one line of output.
void slp_results_add(slp_results *results, const slp_service_reply &reply);
