// One whole search for services: directory agents first, then multicast.
#include "slp/agent/service_search.h"

#include "io/wait.h"
#include "slp/agent/convergence.h"
#include "slp/agent/directory_agents.h"
#include "slp/agent/value_list.h"

#include <algorithm>
#include <vector>

namespace
{

/// The most that all configured directory agents together may take. Those that were found by
/// multicast, where anybody can answer, may take as long as the multicast search would.
constexpr int64_t CONFIGURED_AGENTS_WAIT_US = 15 * MICROSECONDS_PER_SECOND;

/// Repeated requests in a row that nobody new answers, after which a search by multicast is over:
/// with a second one, a single printer is still found where a fifth of the packets is lost.
constexpr int IDLE_REPETITIONS = 2;

/// Service agents whose reply did not fit a datagram are asked again over TCP once the search is
/// over, so that nobody's answer waits for them: so many, and so long for all together.
constexpr size_t OVERFLOWED_MAX = 16;
constexpr int64_t OVERFLOWED_WAIT_US = 2 * MICROSECONDS_PER_SECOND;

bool is_control(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7f;
}

bool is_usable(std::string_view url)
{
    return !url.empty() && std::none_of(url.begin(), url.end(), is_control);
}

struct datagram_search {
    const slp_request &request;
    slp_results *results;
    std::vector<struct in_addr> overflowed; ///< senders of replies that did not fit, each once
};

void note_overflowed(datagram_search *search, struct in_addr sender)
{
    const bool noted = std::any_of(
        search->overflowed.begin(), search->overflowed.end(),
        [sender](const struct in_addr &other) { return other.s_addr == sender.s_addr; });
    if (!noted && search->overflowed.size() < OVERFLOWED_MAX)
        search->overflowed.push_back(sender);
}

int read_service_datagram(void *context, const uint8_t *bytes, size_t size,
                          const struct sockaddr_in &sender)
{
    auto *search = static_cast<datagram_search *>(context);
    slp_service_reply reply;
    if (slp_read_service_reply(bytes, size, search->request.xid, &reply) != 0 ||
        reply.error_code != 0)
        return SLP_DATAGRAM_FOREIGN;
    // What fitted counts even if the sender's TCP port turns out to be closed.
    slp_results_add(search->results, reply);
    if (reply.overflow)
        note_overflowed(search, sender.sin_addr);
    return slp_results_complete(*search->results) ? SLP_DATAGRAM_COMPLETE : SLP_DATAGRAM_ANSWER;
}

/// Each one has its share of the time that is left, so that one that is silent takes no other's.
void ask_overflowed(const slp_settings &settings, const datagram_search &search)
{
    const int64_t deadline_us = monotonic_us() + OVERFLOWED_WAIT_US;
    auto left = static_cast<int64_t>(search.overflowed.size());
    for (const struct in_addr &agent : search.overflowed) {
        if (slp_results_complete(*search.results))
            return;
        const int64_t now_us = monotonic_us();
        slp_query_over_tcp(settings, search.request, agent, now_us + (deadline_us - now_us) / left,
                           search.results);
        --left;
    }
}

int64_t agents_wait_us(const slp_properties &properties)
{
    if (!properties.da_addresses.empty())
        return CONFIGURED_AGENTS_WAIT_US;
    return properties.multicast_maximum_wait * MICROSECONDS_PER_MILLISECOND;
}

/// Asks the directory agents in turn. Agents of one scope hold the same registrations, so a scope
/// is served with the first answer of an agent that has advertised it. Whoever sends no advert is
/// no directory agent and serves none. Returns the scopes that no agent has answered for.
std::string ask_directory_agents(const slp_settings &settings, const slp_request &request,
                                 slp_results *results)
{
    std::vector<slp_directory_agent> agents = slp_find_directory_agents(settings, request);
    const int64_t deadline_us = monotonic_us() + agents_wait_us(settings.properties);
    std::string unserved = request.scopes;
    for (slp_directory_agent &agent : agents) {
        if (unserved.empty() || slp_results_complete(*results))
            break;
        if (slp_query_directory_agent(settings, request, unserved, deadline_us, &agent, results) ==
            0)
            unserved = slp_scopes_without(unserved, agent.scopes);
    }
    return unserved;
}

} // namespace

bool slp_results_complete(const slp_results &results)
{
    return results.refused || results.seen.size() >= results.most;
}

void slp_results_add(slp_results *results, const slp_service_reply &reply)
{
    for (const slp_url_entry &entry : reply.urls) {
        if (slp_results_complete(*results))
            return;
        if (!is_usable(entry.url))
            continue;
        const auto [url, is_new] = results->seen.emplace(entry.url);
        if (is_new && results->callback(results->handle, url->c_str(), entry.lifetime, SLP_OK,
                                        results->cookie) == SLP_FALSE)
            results->refused = true;
    }
}

SLPError slp_search_services(const slp_settings &settings, const slp_request &request,
                             slp_results *results)
{
    slp_request unserved = request;
    unserved.scopes = ask_directory_agents(settings, request, results);
    if (unserved.scopes.empty() || slp_results_complete(*results))
        return SLP_OK;
    datagram_search search = {unserved, results, {}};
    const slp_properties &properties = settings.properties;
    const SLPError code = slp_converge(
        settings, unserved,
        {properties.multicast_timeouts, properties.multicast_maximum_wait, IDLE_REPETITIONS},
        read_service_datagram, &search);
    if (code == SLP_OK)
        ask_overflowed(settings, search);
    return code;
}
