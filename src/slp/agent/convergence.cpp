// The multicast convergence of RFC 2608, 6.3.
#include "slp/agent/convergence.h"

#include "io/egress.h"
#include "io/socket.h"
#include "io/stream.h"
#include "io/wait.h"
#include "slp/agent/interfaces.h"
#include "slp/agent/transport.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <functional>
#include <string>
#include <unordered_set>
#include <vector>

namespace
{

constexpr size_t IP_AND_UDP_HEADER_SIZE = 20 + 8;

/// Outcome of one wait.
constexpr int WAIT_FAILED = -1;
constexpr int WAIT_NOTHING_NEW = 0;
constexpr int WAIT_NEW_ANSWERS = 1;
constexpr int WAIT_COMPLETE = 2;

/// Those that have answered, for the reader and for the wire.
struct responder_list {
    std::unordered_set<in_addr_t> addresses;
    std::string text; ///< comma-separated, as many as fit
    size_t text_most; ///< bytes that a request leaves for the text
};

/// Returns true when the sender is new.
bool add_responder(responder_list *responders, struct in_addr address)
{
    if (!responders->addresses.insert(address.s_addr).second)
        return false;
    char text[INET_ADDRSTRLEN + 1] = ",";
    inet_ntop(AF_INET, &address, text + 1, INET_ADDRSTRLEN);
    const char *item = responders->text.empty() ? text + 1 : text;
    if (responders->text.size() + strlen(item) <= responders->text_most)
        responders->text += item;
    return true;
}

/// The fixed surroundings of one search.
struct search_context {
    const descriptor &socket;
    slp_datagram_reader reader;
    void *reader_context;
    std::vector<uint8_t> buffer;
};

int collect_answers(search_context *search, slp_wait wait, responder_list *responders)
{
    int outcome = WAIT_NOTHING_NEW;
    for (;;) {
        struct sockaddr_in sender = {};
        const int size = slp_receive(search->socket.fd, &wait, &search->buffer, &sender);
        if (size <= 0)
            return size < 0 ? WAIT_FAILED : outcome;
        const int made = search->reader(search->reader_context, search->buffer.data(),
                                        static_cast<size_t>(size), sender);
        if (made == SLP_DATAGRAM_COMPLETE)
            return WAIT_COMPLETE;
        if (made == SLP_DATAGRAM_ANSWER && add_responder(responders, sender.sin_addr))
            outcome = WAIT_NEW_ANSWERS;
    }
}

struct sockaddr_in group_address(const slp_settings &settings)
{
    struct in_addr address = {};
    inet_pton(AF_INET,
              settings.properties.is_broadcast_only ? settings.broadcast_address
                                                    : settings.multicast_group,
              &address);
    return ipv4_socket_address(address, settings.port);
}

/// Waits of the search, cut to its maximum: the first is shortened to it, later ones are left out.
std::vector<int64_t> plan_waits_us(const slp_patience &patience)
{
    std::vector<int64_t> waits;
    int64_t sum = 0;
    for (size_t i = 0; patience.regular_wait != 0 || i < patience.timeouts.count; ++i) {
        int64_t wait = patience.regular_wait != 0 ? patience.regular_wait : patience.timeouts.ms[i];
        if (i == 0)
            wait = std::min(wait, patience.maximum_wait);
        sum += wait;
        if (sum > patience.maximum_wait)
            break;
        waits.push_back(wait * MICROSECONDS_PER_MILLISECOND);
    }
    return waits;
}

} // namespace

size_t slp_longest_message(const slp_properties &properties)
{
    return static_cast<size_t>(properties.mtu) - IP_AND_UDP_HEADER_SIZE;
}

SLPError slp_converge(const slp_settings &settings, const slp_request &request,
                      const slp_patience &patience, slp_datagram_reader reader, void *context)
{
    const descriptor socket(slp_open_group_socket(settings.properties.multicast_ttl));
    if (socket.fd < 0)
        return SLP_NETWORK_INIT_FAILED;
    const egress_plan plan = slp_plan_search(settings.properties);
    const struct sockaddr_in target = group_address(settings);
    const size_t longest = slp_longest_message(settings.properties);
    const size_t shortest = slp_build_request(request, SLP_FLAG_MULTICAST, {}).size();
    if (shortest == 0 || shortest > longest)
        return SLP_BUFFER_OVERFLOW;
    search_context search = {socket, reader, context, {}};
    responder_list responders = {{}, {}, longest - shortest};
    bool is_repeated = false;
    int idle = 0;
    for (const int64_t wait_us : plan_waits_us(patience)) {
        const std::vector<uint8_t> message =
            slp_build_request(request, SLP_FLAG_MULTICAST, responders.text);
        const auto send_once = [&](const egress_way *way) {
            return send_ipv4_by(way, socket.fd, target, message.data(), message.size());
        };
        if (send_everywhere(plan, std::cref(send_once)) < 0)
            return SLP_NETWORK_ERROR;
        // Counted from here: a process that was stopped meanwhile still waits for the answers.
        const int outcome = collect_answers(&search, {monotonic_us() + wait_us}, &responders);
        if (outcome == WAIT_FAILED)
            return SLP_NETWORK_ERROR;
        if (outcome == WAIT_COMPLETE)
            return SLP_OK;
        idle = outcome == WAIT_NOTHING_NEW && is_repeated ? idle + 1 : 0;
        if (idle == patience.idle_repetitions)
            return SLP_OK;
        is_repeated = true;
    }
    return SLP_OK;
}
