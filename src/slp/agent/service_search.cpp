// One whole search for services: directory agents first, then multicast.
#include "slp/agent/service_search.h"

#include "io/wait.h"
#include "slp/agent/convergence.h"
#include "slp/agent/da_query.h"
#include "slp/agent/da_search.h"

namespace
{

/// The most that all directory agents together may take, however many there are.
constexpr int64_t DIRECTORY_AGENTS_WAIT_US = 15 * MICROSECONDS_PER_SECOND;

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

/// Asks the directory agents in turn until one answers without an error: agents of one scope hold
/// the same registrations, so a second answer would add nothing.
bool ask_directory_agents(const slp_settings &settings, const slp_request &request,
                          slp_results *results)
{
    const std::vector<struct in_addr> agents = slp_find_directory_agents(settings, request);
    const int64_t deadline_us = monotonic_us() + DIRECTORY_AGENTS_WAIT_US;
    for (const struct in_addr &agent : agents)
        if (slp_query_directory_agent(settings, request, agent, deadline_us, results) == 0)
            return true;
    return false;
}

} // namespace

SLPError slp_search_services(const slp_settings &settings, const slp_request &request,
                             slp_results *results)
{
    if (ask_directory_agents(settings, request, results))
        return SLP_OK;
    datagram_search search = {request, results};
    const slp_properties &properties = settings.properties;
    return slp_converge(settings, request,
                        {properties.multicast_timeouts, properties.multicast_maximum_wait},
                        read_service_datagram, &search);
}
