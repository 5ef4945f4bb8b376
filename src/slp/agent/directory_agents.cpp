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

/// What became of a question.
constexpr int QUERY_FAILED = -1; ///< an error, or a socket that cannot be used
constexpr int QUERY_ANSWERED = 0;
constexpr int QUERY_OVERFLOWED = 1; ///< answered in part: the whole is to be had over TCP
constexpr int QUERY_UNANSWERED = 2; ///< no answer yet; also for a message that is none
constexpr int QUERY_ADVERTISED = 3; ///< the agent has told its scopes

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

/// Adds an agent unless it is known. Nobody can name more than one: each dead one costs a wait.
void add_agent(std::vector<slp_directory_agent> *agents, const slp_directory_agent &agent)
{
    const bool known =
        std::any_of(agents->begin(), agents->end(), [&](const slp_directory_agent &other) {
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
    std::vector<slp_directory_agent> agents;
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

/// What one agent is asked.
struct agent_query {
    const slp_request &request;
    slp_request advert_request;
    int64_t deadline_us;
    slp_directory_agent *agent;
    slp_results *results;
    descriptor socket;
    std::vector<uint8_t> buffer;
};

int take_reply(const slp_request &request, const uint8_t *message, size_t size,
               slp_results *results)
{
    slp_service_reply reply;
    if (slp_read_service_reply(message, size, request.xid, &reply) != 0)
        return QUERY_UNANSWERED;
    if (reply.error_code != 0)
        return QUERY_FAILED;
    // The part that fitted counts even if the agent's TCP port turns out to be closed.
    slp_results_add(results, reply);
    if (reply.overflow && !slp_results_complete(*results))
        return QUERY_OVERFLOWED;
    return QUERY_ANSWERED;
}

/// An advert counts whenever it comes, be it while services are asked for.
int take_datagram(agent_query *query, size_t size)
{
    slp_da_advert advert;
    if (query->agent->scopes.empty() &&
        slp_read_da_advert(query->buffer.data(), size, query->advert_request.xid, &advert) == 0 &&
        is_directory_agent(advert)) {
        query->agent->scopes = advert.scopes;
        return QUERY_ADVERTISED;
    }
    return take_reply(query->request, query->buffer.data(), size, query->results);
}

int await_datagram(agent_query *query, slp_wait wait)
{
    for (;;) {
        const int size = slp_receive(query->socket.fd, &wait, &query->buffer, nullptr);
        if (size <= 0)
            return size < 0 ? QUERY_FAILED : QUERY_UNANSWERED;
        const int outcome = take_datagram(query, static_cast<size_t>(size));
        if (outcome != QUERY_UNANSWERED)
            return outcome;
    }
}

/// Sends the message and repeats it, with the waits from number `first` to before `end`.
int ask(agent_query *query, const std::vector<uint8_t> &message, size_t first, size_t end)
{
    for (size_t i = first; i < end; ++i) {
        const int64_t now_us = monotonic_us();
        if (now_us >= query->deadline_us)
            break;
        if (send(query->socket.fd, message.data(), message.size(), 0) < 0)
            return QUERY_FAILED;
        const int64_t wait_end_us = now_us + UDP_WAITS_MS[i] * MICROSECONDS_PER_MILLISECOND;
        const int outcome = await_datagram(query, {std::min(query->deadline_us, wait_end_us)});
        if (outcome != QUERY_UNANSWERED)
            return outcome;
    }
    return QUERY_UNANSWERED;
}

int query_over_udp(agent_query *query, std::string_view wanted, size_t longest_message)
{
    const std::vector<uint8_t> message = slp_build_request(query->request, 0, {});
    const bool fits = message.size() <= longest_message;
    if (query->agent->scopes.empty()) {
        int outcome =
            ask(query, slp_build_request(query->advert_request, 0, {}), 0, ADVERT_WAIT_COUNT);
        if (outcome == QUERY_UNANSWERED)
            outcome =
                fits ? ask(query, message, ADVERT_WAIT_COUNT, UDP_WAIT_COUNT) : QUERY_OVERFLOWED;
        if (outcome != QUERY_ADVERTISED)
            return outcome;
    }
    if (!slp_scopes_overlap(wanted, query->agent->scopes))
        return QUERY_FAILED;
    return fits ? ask(query, message, 0, UDP_WAIT_COUNT) : QUERY_OVERFLOWED;
}

} // namespace

std::vector<slp_directory_agent> slp_find_directory_agents(const slp_settings &settings,
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

int slp_query_directory_agent(const slp_settings &settings, const slp_request &request,
                              std::string_view wanted, int64_t deadline_us,
                              slp_directory_agent *agent, slp_results *results)
{
    const struct sockaddr_in address = ipv4_socket_address(agent->address, settings.port);
    // No scopes: an agent of any shall answer, for it is its advert that tells which.
    agent_query query = {request, directory_agent_request(request, ""),         deadline_us, agent,
                         results, descriptor(slp_open_unicast_socket(address)), {}};
    if (query.socket.fd < 0)
        return -1;
    const int outcome = query_over_udp(&query, wanted, slp_longest_message(settings.properties));
    if (outcome != QUERY_OVERFLOWED)
        return outcome == QUERY_ANSWERED ? 0 : -1;
    return slp_query_over_tcp(settings, request, agent->address,
                              std::min(deadline_us, monotonic_us() + TCP_WAIT_US), results);
}

int slp_query_over_tcp(const slp_settings &settings, const slp_request &request,
                       struct in_addr agent, int64_t deadline_us, slp_results *results)
{
    const struct sockaddr_in address = ipv4_socket_address(agent, settings.port);
    std::vector<uint8_t> reply;
    if (slp_exchange_over_tcp(address, slp_build_request(request, 0, {}), deadline_us, &reply) != 0)
        return -1;
    const int outcome = take_reply(request, reply.data(), reply.size(), results);
    // Over TCP there is nowhere left to overflow to.
    return outcome == QUERY_ANSWERED || outcome == QUERY_OVERFLOWED ? 0 : -1;
}
