// Fuzzes the reader of the agent's properties file: whatever the text, the values stay in range.
#include "slp/agent/properties.h"

#include <cstdlib>

namespace
{

bool are_sane(const slp_timeouts &timeouts)
{
    for (size_t i = 0; i < timeouts.count; ++i)
        if (timeouts.ms.at(i) < 1 || timeouts.ms[i] > 60000)
            return false;
    return timeouts.count >= 1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *text, size_t size)
{
    slp_properties properties;
    slp_properties_parse({reinterpret_cast<const char *>(text), size}, &properties);
    if (!are_sane(properties.multicast_timeouts) || !are_sane(properties.da_discovery_timeouts) ||
        properties.use_scopes.empty() || properties.use_scopes.size() > 1024 ||
        properties.da_addresses.size() > SLP_ADDRESSES_MAX ||
        properties.interfaces.size() > SLP_ADDRESSES_MAX || properties.mtu < 128 ||
        properties.mtu > 65535 || properties.max_results < 1 ||
        properties.max_results > SLP_RESULTS_MAX || properties.multicast_ttl < 1 ||
        properties.multicast_ttl > 255 || properties.multicast_maximum_wait < 1 ||
        properties.da_discovery_maximum_wait < 1)
        abort();
    return 0;
}
