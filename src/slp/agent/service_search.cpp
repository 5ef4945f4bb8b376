// One whole search for services: directory agents first, then multicast.
#include "slp/agent/service_search.h"

#include "io/wait.h"
#include "slp/agent/convergence.h"
#include "slp/agent/da_query.h"
#include "slp/agent/da_search.h"
#include "slp/agent/value_list.h"

namespace
{

/// The most that all configured directory agents together may take. Those that were found by
/// multicast, where anybody can answer, may take as long as the multicast search would.
constexpr int64_t CONFIGURED_AGENTS_WAIT_US = 15 * MICROSECONDS_PER_SECOND;

struct datagram_search {
    const slp_request &request;
    slp_results *results;
};

/// A reply with the overflow flag is taken for what it holds: unlike a directory agent, one
/// printer has few URLs, and each of many agents would cost a connection.
int read_service_datagram(void *context, const uint8_t *bytes, size_t size,
                          const struct sockaddr_in & /*sender*/)
{
    auto *search = static_cast<datagram_search *>(context);
    slp_service_reply reply;
    if (slp_read_service_reply(bytes, size, search->request.xid, &reply) != 0 ||
        reply.error_code != 0)
        return SLP_DATAGRAM_FOREIGN;
    slp_results_add(search->results, reply);
    return slp_results_complete(*search->results) ? SLP_DATAGRAM_COMPLETE : SLP_DATAGRAM_ANSWER;
}

int64_t agents_wait_us(const slp_properties &properties)
{
    if (!properties.da_addresses.empty())
        return CONFIGURED_AGENTS_WAIT_US;
    return properties.multicast_maximum_wait * MICROSECONDS_PER_MILLISECOND;
}

/// Asks the directory agents in turn. Agents of one scope hold the same registrations, so a scope
/// is served with the first answer; a configured agent's scopes are not known, so with several
/// scopes wanted all of them are asked. Returns the scopes that no agent has answered for.
std::string ask_directory_agents(const slp_settings &settings, const slp_request &request,
                                 slp_results *results)
{
    const std::vector<slp_directory_agent> agents = slp_find_directory_agents(settings, request);
    const bool several_scopes = slp_split_list(request.scopes).size() > 1;
    const int64_t deadline_us = monotonic_us() + agents_wait_us(settings.properties);
    std::string unserved = request.scopes;
    for (const slp_directory_agent &agent : agents) {
        const bool scopes_known = !agent.scopes.empty();
        if (scopes_known ? !slp_scopes_overlap(unserved, agent.scopes)
                         : unserved.empty() && !several_scopes)
            continue;
        if (slp_query_directory_agent(settings, request, agent.address, deadline_us, results) == 0)
            unserved = scopes_known ? slp_scopes_without(unserved, agent.scopes) : "";
    }
    return unserved;
}

} // namespace

SLPError slp_search_services(const slp_settings &settings, const slp_request &request,
                             slp_results *results)
{
    slp_request unserved = request;
    unserved.scopes = ask_directory_agents(settings, request, results);
    if (unserved.scopes.empty() || slp_results_complete(*results))
        return SLP_OK;
    datagram_search search = {unserved, results};
    const slp_properties &properties = settings.properties;
    return slp_converge(settings, unserved,
                        {properties.multicast_timeouts, properties.multicast_maximum_wait},
                        read_service_datagram, &search);
}
