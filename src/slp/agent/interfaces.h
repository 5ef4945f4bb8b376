// The ways that a search is sent by.
#pragma once

#include "io/egress.h"
#include "slp/agent/properties.h"

#include <string>
#include <vector>

/// Returns the plan for the group, or for everybody when the properties say so. When
/// net.slp.interfaces names interfaces or addresses of the host, the search is sent by these alone;
/// an address may be one of any interface that is up.
egress_plan slp_plan_search(const slp_properties &properties);

/// Returns what net.slp.interfaces names and no interface has, be it up or not.
std::vector<std::string> slp_unknown_interfaces(const slp_properties &properties);
