// Which directory agents a search can ask.
#include "slp/agent/da_search.h"

#include "io/resolve.h"
#include "slp/agent/convergence.h"
#include "slp/agent/value_list.h"

#include <algorithm>
#include <arpa/inet.h>

namespace
{

constexpr char DIRECTORY_AGENT_TYPE[] = "service:directory-agent";
constexpr std::string_view DIRECTORY_AGENT_URL = "service:directory-agent://";
constexpr size_t AGENTS_MAX = SLP_ADDRESSES_MAX;
/// Most networks have no directory agent, and every run waits for this search: it is short.
constexpr int IDLE_REPETITIONS = 1;

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
    if (slp_is_directory_agent(advert) && slp_scopes_overlap(advert.scopes, search->request.scopes))
        add_agent(&search->agents, {advertised_address(advert.url, sender.sin_addr),
                                    sender.sin_addr, std::string(advert.scopes)});
    return SLP_DATAGRAM_ANSWER;
}

} // namespace

slp_request slp_directory_agent_request(const slp_request &request, std::string_view scopes)
{
    slp_request adverts = request;
    adverts.service_type = DIRECTORY_AGENT_TYPE;
    adverts.scopes = scopes;
    adverts.filter.clear();
    adverts.xid = slp_new_xid();
    return adverts;
}

bool slp_is_directory_agent(const slp_da_advert &advert)
{
    return advert.error_code == 0 && advert.boot_timestamp != 0 &&
           slp_same_text(advert.url.substr(0, DIRECTORY_AGENT_URL.size()), DIRECTORY_AGENT_URL);
}

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
    search.request = slp_directory_agent_request(request, request.scopes);
    // Whatever ends this search: the agents found until then can be asked, and without any the
    // multicast search for services meets the same trouble and reports it.
    slp_converge(
        settings, search.request,
        {properties.da_discovery_timeouts, properties.da_discovery_maximum_wait, IDLE_REPETITIONS},
        read_advert_datagram, &search);
    return search.agents;
}
