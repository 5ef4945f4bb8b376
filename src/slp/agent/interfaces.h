// The ways that a search is sent by.
#pragma once

#include "io/egress.h"
#include "slp/agent/properties.h"

/// Returns the plan for the group, or for everybody when the properties say so. When
/// net.slp.interfaces names addresses of the host, the search is sent from these alone, on any
/// interface that is up.
egress_plan slp_plan_search(const slp_properties &properties);
