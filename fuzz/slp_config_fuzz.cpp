// Fuzzes the reader of slp.conf, up to the request that the settings make.
#include "input_file.h"
#include "slp/agent/message.h"
#include "slp/agent/properties.h"

#include <algorithm>

namespace
{

bool are_waits(const slp_timeouts &timeouts)
{
    return timeouts.count > 0 && timeouts.count <= timeouts.ms.size() &&
           std::all_of(timeouts.ms.begin(), timeouts.ms.begin() + timeouts.count,
                       [](int32_t ms) { return ms > 0 && ms <= 60000; });
}

bool are_names(const std::vector<std::string> &names)
{
    return names.size() <= SLP_ADDRESSES_MAX &&
           std::all_of(names.begin(), names.end(), [](const std::string &name) {
               return !name.empty() && name.find_first_of({"\0\n,", 3}) == std::string::npos;
           });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const slp_properties read = slp_properties_read(input_file(data, size));
    if (!are_waits(read.da_discovery_timeouts) || !are_waits(read.multicast_timeouts) ||
        !are_names(read.da_addresses) || !are_names(read.interfaces) || read.multicast_ttl < 1 ||
        read.multicast_ttl > 255 || read.mtu < 128 || read.mtu > 65535 || read.max_results < 1 ||
        read.max_results > SLP_RESULTS_MAX || read.da_discovery_maximum_wait < 0 ||
        read.multicast_maximum_wait < 1)
        abort();
    slp_request request;
    request.scopes = read.use_scopes;
    const std::vector<uint8_t> message = slp_build_request(request, 0, "");
    if (message.size() < SLP_HEADER_SIZE + read.use_scopes.size() ||
        read.use_scopes.size() > 1024 || slp_message_length(message.data()) != message.size())
        abort();
    return 0;
}
