// Directory agents: found by configuration or multicast, asked by UDP and TCP.
#include "slp/agent/directory_agents.h"

#include "io/resolve.h"
#include "io/socket.h"
#include "io/stream.h"
#include "io/wait.h"
#include "slp/agent/convergence.h"
#include "slp/agent/transport.h"
#include "slp/agent/value_list.h"

#include <algorithm>
#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

namespace
{

constexpr char DIRECTORY_AGENT_TYPE[] = "service:directory-agent";
constexpr std::string_view DIRECTORY_AGENT_URL = "service:directory-agent://";
constexpr size_t AGENTS_MAX = SLP_ADDRESSES_MAX;
/// Most networks have no directory agent, and every run waits for this search: it is short.
constexpr int IDLE_REPETITIONS = 1;

/// The waits for one directory agent's datagram. An agent that is gone shall not take much longer
/// than the multicast search that follows it.
constexpr int64_t UDP_WAITS_MS[] = {500, 750, 1000, 1500};
constexpr size_t UDP_WAIT_COUNT = std::size(UDP_WAITS_MS);
/// How many of them a question for the advert takes when nobody answers; the question for services
/// then has the others.
constexpr size_t ADVERT_WAIT_COUNT = 2;
constexpr int64_t TCP_WAIT_US = 5 * MICROSECONDS_PER_SECOND;

/// The most that all configured directory agents together may take. Those that were found by
/// multicast, where anybody can answer, may take as long as the multicast search would.
constexpr int64_t CONFIGURED_AGENTS_WAIT_US = 15 * MICROSECONDS_PER_SECOND;
/// Time for each wait by UDP, however long the search for the agents took.
constexpr int64_t FOUND_AGENTS_LEAST_US = 3750 * MICROSECONDS_PER_MILLISECOND;

/// What became of the questions to one agent.
constexpr int QUERY_FAILED = -1; ///< an error, no answer, or a socket that cannot be used
constexpr int QUERY_ANSWERED = 0;
constexpr int QUERY_OVERFLOWED = 1; ///< the whole answer is to be had over TCP
constexpr int QUERY_OPEN = 2;       ///< no answer yet; also for a message that is none

struct directory_agent {
    struct in_addr address;
    struct in_addr sender; ///< where its advert came from
    std::string scopes;    ///< as advertised; empty, and so unknown, for a configured one
};

/// Returns the request for adverts that goes with `request`, for directory agents of one of the
/// scopes (none: of any), under a transaction number of its own.
slp_request directory_agent_request(const slp_request &request, std::string_view scopes)
{
    slp_request adverts = request;
    adverts.service_type = DIRECTORY_AGENT_TYPE;
    adverts.scopes = scopes;
    adverts.filter.clear();
    adverts.xid = slp_new_xid();
    return adverts;
}

/// Tells whether an advert comes from a directory agent that stays in service.
bool is_directory_agent(const slp_da_advert &advert)
{
    return advert.error_code == 0 && advert.boot_timestamp != 0 &&
           slp_same_text(advert.url.substr(0, DIRECTORY_AGENT_URL.size()), DIRECTORY_AGENT_URL);
}

/// Adds an agent unless it is known. Nobody can name more than one.
void add_agent(std::vector<directory_agent> *agents, const directory_agent &agent)
{
    const bool known =
        std::any_of(agents->begin(), agents->end(), [&](const directory_agent &other) {
            return other.address.s_addr == agent.address.s_addr ||
                   other.sender.s_addr == agent.sender.s_addr;
        });
    if (!known && agents->size() < AGENTS_MAX)
        agents->push_back(agent);
}

/// The address that an advert's URL names. An agent that announces itself by name is taken at the
/// address its advert came from, which spares looking up a name that anybody can send.
struct in_addr advertised_address(std::string_view url, struct in_addr sender)
{
    struct in_addr address = {};
    const std::string_view rest = url.substr(DIRECTORY_AGENT_URL.size());
    const std::string host(rest.substr(0, rest.find_first_of(":/;")));
    return inet_pton(AF_INET, host.c_str(), &address) == 1 ? address : sender;
}

struct advert_search {
    slp_request request;
    std::vector<directory_agent> agents;
};

int read_advert_datagram(void *context, const uint8_t *bytes, size_t size,
                         const struct sockaddr_in &sender)
{
    auto *search = static_cast<advert_search *>(context);
    slp_da_advert advert;
    if (slp_read_da_advert(bytes, size, search->request.xid, &advert) != 0 ||
        advert.error_code != 0)
        return SLP_DATAGRAM_FOREIGN;
    if (is_directory_agent(advert) && slp_scopes_overlap(advert.scopes, search->request.scopes))
        add_agent(&search->agents, {advertised_address(advert.url, sender.sin_addr),
                                    sender.sin_addr, std::string(advert.scopes)});
    return SLP_DATAGRAM_ANSWER;
}

/// Returns the directory agents to ask for `request`, in order and each once: those of
/// net.slp.DAAddresses, names resolved; when it names none and active detection is on, those that
/// answer a multicast search and serve one of the request's scopes, one for each that answers. A
/// wait of 0 for that search leaves it out.
std::vector<directory_agent> find_directory_agents(const slp_settings &settings,
                                                   const slp_request &request)
{
    const slp_properties &properties = settings.properties;
    advert_search search;
    if (!properties.da_addresses.empty()) {
        struct in_addr address = {};
        for (const std::string &host : properties.da_addresses)
            if (resolve_ipv4(host.c_str(), &address) == 0)
                add_agent(&search.agents, {address, address, ""});
        return search.agents;
    }
    if (!properties.active_da_detection || properties.da_discovery_maximum_wait == 0)
        return {};
    search.request = directory_agent_request(request, request.scopes);
    // Whatever ends this search: the agents found until then can be asked, and without any the
    // multicast search for services meets the same trouble and reports it.
    slp_converge(
        settings, search.request,
        {properties.da_discovery_timeouts, properties.da_discovery_maximum_wait, IDLE_REPETITIONS},
        read_advert_datagram, &search);
    return search.agents;
}

int take_reply(const slp_request &request, const uint8_t *message, size_t size,
               slp_results *results, size_t *share)
{
    slp_service_reply reply;
    if (slp_read_service_reply(message, size, request.xid, &reply) != 0)
        return QUERY_OPEN;
    if (reply.error_code != 0)
        return QUERY_FAILED;
    // The part that fitted counts even if the agent's TCP port turns out to be closed.
    slp_results_add(results, reply, share);
    if (reply.overflow && !slp_results_complete(*results))
        return QUERY_OVERFLOWED;
    return QUERY_ANSWERED;
}

/// The questions to one agent: first for its scopes where they are unknown, then for services.
struct agent_query {
    directory_agent agent = {};
    descriptor socket;
    bool asks_advert = true;
    bool is_held = false; ///< not asked for services yet, for one before it may spare that
    size_t waits = 0;     ///< of UDP_WAITS_MS, that have begun
    slp_wait wait = {};
    int outcome = QUERY_OPEN;
    std::vector<uint8_t> reply; ///< taken when it is the agent's turn
};

/// The questions to all of them, side by side: a dead agent costs no other's time.
struct agents_search {
    const slp_settings &settings;
    const slp_request &request;
    slp_results *results;
    slp_request advert_request;
    int64_t deadline_us;
    std::string unserved; ///< scopes that no agent has answered for
    std::vector<agent_query> queries;
    size_t turn = 0; ///< whose answer is taken next
    std::vector<uint8_t> buffer = {};
};

/// An agent whose scopes are not known may serve any.
bool may_serve(const directory_agent &agent, const std::string &scopes)
{
    return agent.scopes.empty() || slp_scopes_overlap(scopes, agent.scopes);
}

/// Sends the agent its question, again or for the first time, as long as there are waits for it.
/// One that sends no advert is asked for services all the same.
void ask(const agents_search &search, agent_query *query)
{
    const int64_t now_us = monotonic_us();
    query->is_held = false;
    if (query->asks_advert && query->waits == ADVERT_WAIT_COUNT)
        query->asks_advert = false;
    if (query->waits == UDP_WAIT_COUNT || now_us >= search.deadline_us ||
        !may_serve(query->agent, search.unserved)) {
        query->outcome = QUERY_FAILED;
        return;
    }
    const std::vector<uint8_t> message =
        slp_build_request(query->asks_advert ? search.advert_request : search.request, 0, {});
    if (!query->asks_advert && message.size() > slp_longest_message(search.settings.properties)) {
        query->outcome = QUERY_OVERFLOWED;
        return;
    }
    if (send(query->socket.fd, message.data(), message.size(), 0) < 0)
        query->outcome = QUERY_FAILED;
    query->wait.deadline_us = std::min(
        search.deadline_us, now_us + UDP_WAITS_MS[query->waits] * MICROSECONDS_PER_MILLISECOND);
    ++query->waits;
}

/// Asks an agent whose scopes are known for services: at once, or a moment later when one before
/// it, which serves a scope of its, is likely to answer.
void ask_for_services(const agents_search &search, agent_query *query)
{
    query->asks_advert = false;
    query->is_held = false;
    query->waits = 0;
    for (size_t i = search.turn; &search.queries[i] != query; ++i) {
        const agent_query &before = search.queries[i];
        if (before.outcome != QUERY_FAILED && !before.is_held && !before.agent.scopes.empty() &&
            may_serve(before.agent, query->agent.scopes))
            query->is_held = true;
    }
    query->wait.deadline_us = std::min(
        search.deadline_us, monotonic_us() + UDP_WAITS_MS[0] * MICROSECONDS_PER_MILLISECOND);
    if (!query->is_held)
        ask(search, query);
}

/// An advert counts whenever it comes, be it while services are asked for.
void take_datagram(agents_search *search, agent_query *query, size_t size)
{
    slp_da_advert advert;
    if (query->agent.scopes.empty() &&
        slp_read_da_advert(search->buffer.data(), size, search->advert_request.xid, &advert) == 0 &&
        is_directory_agent(advert)) {
        query->agent.scopes = advert.scopes;
        ask_for_services(*search, query);
        return;
    }
    slp_service_reply reply;
    if (slp_read_service_reply(search->buffer.data(), size, search->request.xid, &reply) != 0)
        return;
    query->outcome = QUERY_ANSWERED;
    query->reply.assign(search->buffer.begin(),
                        search->buffer.begin() + static_cast<ptrdiff_t>(size));
}

void read_or_repeat(agents_search *search, agent_query *query, bool is_readable)
{
    const bool is_over = monotonic_us() >= query->wait.deadline_us;
    if (is_readable && (!is_over || query->wait.late_left-- > 0)) {
        slp_wait at_once = {0, 1};
        const int size = slp_receive(query->socket.fd, &at_once, &search->buffer, nullptr);
        if (size < 0)
            query->outcome = QUERY_FAILED;
        else if (size > 0)
            take_datagram(search, query, static_cast<size_t>(size));
    } else if (is_over) {
        ask(*search, query);
    }
}

/// Waits for the first of the open questions that is answered, or to be repeated.
void attend_queries(agents_search *search)
{
    struct pollfd waited[AGENTS_MAX];
    int64_t end_us = search->deadline_us;
    for (size_t i = 0; i < search->queries.size(); ++i) {
        const agent_query &query = search->queries[i];
        const bool is_open = query.outcome == QUERY_OPEN;
        waited[i] = {is_open ? query.socket.fd : -1, POLLIN, 0};
        if (is_open)
            end_us = std::min(end_us, query.wait.deadline_us);
    }
    wait_or_end_any(waited, search->queries.size(), end_us - monotonic_us());
    for (size_t i = 0; i < search->queries.size(); ++i)
        if (search->queries[i].outcome == QUERY_OPEN)
            read_or_repeat(search, &search->queries[i], waited[i].revents != 0);
}

/// Takes what an agent has answered, unless those before it serve all its scopes. Agents of one
/// scope hold the same registrations, so a scope is served with the first answer of an agent that
/// has advertised it. Whoever sends no advert is no directory agent and serves none.
void take_turn(agents_search *search, const agent_query &query)
{
    const directory_agent &agent = query.agent;
    if (query.outcome == QUERY_FAILED || !may_serve(agent, search->unserved))
        return;
    int outcome = query.outcome;
    if (outcome == QUERY_ANSWERED)
        outcome = take_reply(search->request, query.reply.data(), query.reply.size(),
                             search->results, nullptr);
    if (outcome == QUERY_OVERFLOWED)
        outcome = slp_query_over_tcp(search->settings, search->request, agent.address,
                                     std::min(search->deadline_us, monotonic_us() + TCP_WAIT_US),
                                     search->results, nullptr);
    if (outcome == QUERY_ANSWERED)
        search->unserved = slp_scopes_without(search->unserved, agent.scopes);
}

int64_t agents_deadline_us(const slp_properties &properties, const slp_results &results)
{
    const int64_t now_us = monotonic_us();
    if (!properties.da_addresses.empty())
        return now_us + CONFIGURED_AGENTS_WAIT_US;
    const int64_t most_us = properties.multicast_maximum_wait * MICROSECONDS_PER_MILLISECOND;
    const int64_t least_us = std::min(most_us, FOUND_AGENTS_LEAST_US);
    return std::max(now_us + least_us, std::min(results.agents_deadline_us, now_us + most_us));
}

void begin_query(const agents_search &search, const directory_agent &agent, agent_query *query)
{
    query->agent = agent;
    query->socket.reset(
        slp_open_unicast_socket(ipv4_socket_address(agent.address, search.settings.port)));
    if (query->socket.fd < 0)
        query->outcome = QUERY_FAILED;
    else if (!agent.scopes.empty())
        ask_for_services(search, query);
    else
        ask(search, query);
}

} // namespace

std::string slp_ask_directory_agents(const slp_settings &settings, const slp_request &request,
                                     slp_results *results)
{
    const std::vector<directory_agent> agents = find_directory_agents(settings, request);
    // Adverts are asked for without scopes: an agent of any shall say which it serves.
    agents_search search = {settings,
                            request,
                            results,
                            directory_agent_request(request, ""),
                            agents_deadline_us(settings.properties, *results),
                            request.scopes,
                            std::vector<agent_query>(agents.size())};
    for (size_t i = 0; i < agents.size(); ++i)
        begin_query(search, agents[i], &search.queries[i]);
    while (search.turn < agents.size() && !search.unserved.empty() &&
           !slp_results_complete(*results)) {
        if (search.queries[search.turn].outcome == QUERY_OPEN) {
            attend_queries(&search);
            continue;
        }
        take_turn(&search, search.queries[search.turn++]);
        for (agent_query &query : search.queries)
            if (query.is_held)
                ask_for_services(search, &query);
    }
    return search.unserved;
}

int slp_query_over_tcp(const slp_settings &settings, const slp_request &request,
                       struct in_addr agent, int64_t deadline_us, slp_results *results,
                       size_t *share)
{
    const struct sockaddr_in address = ipv4_socket_address(agent, settings.port);
    std::vector<uint8_t> reply;
    if (slp_exchange_over_tcp(address, slp_build_request(request, 0, {}), deadline_us, &reply) != 0)
        return -1;
    const int outcome = take_reply(request, reply.data(), reply.size(), results, share);
    // Over TCP there is nowhere left to overflow to.
    return outcome == QUERY_ANSWERED || outcome == QUERY_OVERFLOWED ? 0 : -1;
}
