// One whole search for services: directory agents first, then multicast.
#pragma once

#include "slp/agent/message.h"
#include "slp/agent/results.h"
#include "slp/agent/settings.h"
#include "slp/agent/slp.h"

/// Searches and hands over what is found; returns when the search is over. The request's scopes
/// and transaction number are filled in by the caller. Codes as SLPFindSrvs returns them.
SLPError slp_search_services(const slp_settings &settings, const slp_request &request,
                             slp_results *results);
