// Directory agents: found by configuration or multicast, asked by UDP, and by TCP when a datagram
// is too small.
#pragma once

#include "slp/agent/message.h"
#include "slp/agent/properties.h"
#include "slp/agent/service_search.h"

#include <cstdint>
#include <netinet/in.h>
#include <string>

/// Asks the directory agents for `request`, side by side, and hands over the URLs that they return,
/// in the order of the configuration. Those of net.slp.DAAddresses are asked for their adverts
/// first, which tell their scopes; without any, those that answer a multicast search. Requests are
/// repeated when no answer comes; the one for services goes over TCP when the reply says that it
/// did not fit, or when the request itself does not fit the MTU. An agent that answers late holds
/// back those behind it, but dead ones take no longer than one of them. Returns the scopes that no
/// agent has answered for.
std::string slp_ask_directory_agents(const slp_settings &settings, const slp_request &request,
                                     slp_results *results);

/// Asks any agent for `request` over TCP and hands over the URLs that it returns, as far as its
/// share goes (null: no share). Returns 0, or -1 when there is no whole reply until `deadline_us`,
/// or one with an error.
int slp_query_over_tcp(const slp_settings &settings, const slp_request &request,
                       struct in_addr agent, int64_t deadline_us, slp_results *results,
                       size_t *share);
