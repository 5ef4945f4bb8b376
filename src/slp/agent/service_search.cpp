// One whole search for services: directory agents first, then multicast.
#include "slp/agent/service_search.h"

#include "config/thorough.h"
#include "io/wait.h"
#include "slp/agent/convergence.h"
#include "slp/agent/directory_agents.h"
#include "slp/agent/value_list.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

namespace
{

/// Repeated requests in a row that nobody new answers, after which a search by multicast is over:
/// with a second one, a single printer is still found where a fifth of the packets is lost.
constexpr int IDLE_REPETITIONS = 2;

/// Service agents whose reply did not fit a datagram are asked again over TCP once the search is
/// over, so that nobody's answer waits for them: so many, and so long for all together.
constexpr size_t OVERFLOWED_MAX = 16;
constexpr int64_t OVERFLOWED_WAIT_US = 2 * MICROSECONDS_PER_SECOND;

/// The same with --thorough, where a third of the packets may be lost: the usual waits allow four
/// requests alone, so these come at regular waits, unless the properties say how long to wait.
constexpr int THOROUGH_IDLE_REPETITIONS = 6;
constexpr int32_t THOROUGH_WAIT_MS = 500;
constexpr int64_t THOROUGH_WAIT_US = THOROUGH_WAIT_MS * MICROSECONDS_PER_MILLISECOND;
/// What directory agents leave to the multicast search at least.
constexpr int64_t THOROUGH_LEAST_US = (1 + THOROUGH_IDLE_REPETITIONS) * THOROUGH_WAIT_US;

bool is_control(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7f;
}

bool is_usable(std::string_view url)
{
    return !url.empty() && std::none_of(url.begin(), url.end(), is_control);
}

/// URLs of one service agent; more are passed over, so that no single host can use up the search.
constexpr size_t SHARE_MAX = SLP_RESULTS_MAX / 8;
/// Service agents whose answers count: a bound on memory.
constexpr size_t AGENTS_MAX = SLP_RESULTS_MAX;

struct datagram_search {
    const slp_request &request;
    slp_results *results;
    std::unordered_map<in_addr_t, size_t> shares; ///< what each agent may still add
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
    auto &shares = search->shares;
    if (shares.size() >= AGENTS_MAX && shares.count(sender.sin_addr.s_addr) == 0)
        return SLP_DATAGRAM_FOREIGN;
    size_t &share = shares.emplace(sender.sin_addr.s_addr, SHARE_MAX).first->second;
    // What fitted counts even if the sender's TCP port turns out to be closed.
    slp_results_add(search->results, reply, &share);
    if (reply.overflow)
        note_overflowed(search, sender.sin_addr);
    return slp_results_complete(*search->results) ? SLP_DATAGRAM_COMPLETE : SLP_DATAGRAM_ANSWER;
}

/// Each one has its share of the time that is left, so that one that is silent takes no other's.
void ask_overflowed(const slp_settings &settings, datagram_search &search)
{
    const int64_t deadline_us =
        std::min(search.results->deadline_us, monotonic_us() + OVERFLOWED_WAIT_US);
    auto left = static_cast<int64_t>(search.overflowed.size());
    for (const struct in_addr &agent : search.overflowed) {
        if (slp_results_complete(*search.results))
            return;
        const int64_t now_us = monotonic_us();
        slp_query_over_tcp(settings, search.request, agent, now_us + (deadline_us - now_us) / left,
                           search.results, &search.shares[agent.s_addr]);
        --left;
    }
}

/// Agents and waits that the configuration names take the time they take, and nothing from what
/// follows them: no search finds less than one that is not thorough.
void leave_time_for_multicast(const slp_properties &properties, slp_results *results)
{
    const int64_t least_us = properties.is_multicast_wait_set
                                 ? properties.multicast_maximum_wait * MICROSECONDS_PER_MILLISECOND
                                 : THOROUGH_LEAST_US;
    // One wait more: the least would lose its last one to the microsecond in which it begins.
    results->deadline_us = std::max(
        results->deadline_us, monotonic_us() + least_us + THOROUGH_WAIT_US + OVERFLOWED_WAIT_US);
}

slp_patience patience_of(const slp_properties &properties, int64_t deadline_us)
{
    slp_patience patience = {properties.multicast_timeouts, properties.multicast_maximum_wait,
                             IDLE_REPETITIONS};
    if (!g_thorough)
        return patience;
    patience.idle_repetitions = THOROUGH_IDLE_REPETITIONS;
    if (!properties.multicast_timeouts.is_set)
        patience.regular_wait = THOROUGH_WAIT_MS;
    // What did not fit is asked for before the deadline, too.
    const int64_t left_us = deadline_us - OVERFLOWED_WAIT_US - monotonic_us();
    const int64_t most = std::max<int64_t>(left_us / MICROSECONDS_PER_MILLISECOND, 0);
    patience.maximum_wait =
        properties.is_multicast_wait_set ? std::min(patience.maximum_wait, most) : most;
    return patience;
}

} // namespace

bool slp_results_complete(const slp_results &results)
{
    return results.refused || results.seen.size() >= results.most;
}

void slp_results_add(slp_results *results, const slp_service_reply &reply, size_t *share)
{
    for (const slp_url_entry &entry : reply.urls) {
        if (slp_results_complete(*results) || (share != nullptr && *share == 0))
            return;
        if (!is_usable(entry.url))
            continue;
        const auto [url, is_new] = results->seen.emplace(entry.url);
        if (is_new && share != nullptr)
            --*share;
        if (is_new && results->callback(results->handle, url->c_str(), entry.lifetime, SLP_OK,
                                        results->cookie) == SLP_FALSE)
            results->refused = true;
    }
}

SLPError slp_search_services(const slp_settings &settings, const slp_request &request,
                             slp_results *results)
{
    if (g_thorough) {
        results->deadline_us = monotonic_us() + THOROUGH_MOST_US;
        results->agents_deadline_us = results->deadline_us - OVERFLOWED_WAIT_US - THOROUGH_LEAST_US;
    }
    slp_request unserved = request;
    unserved.scopes = slp_ask_directory_agents(settings, request, results);
    if (unserved.scopes.empty() || slp_results_complete(*results))
        return SLP_OK;
    if (g_thorough)
        leave_time_for_multicast(settings.properties, results);
    datagram_search search = {unserved, results, {}, {}};
    const SLPError code =
        slp_converge(settings, unserved, patience_of(settings.properties, results->deadline_us),
                     read_service_datagram, &search);
    if (code == SLP_OK)
        ask_overflowed(settings, search);
    return code;
}
