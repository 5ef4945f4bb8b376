// The question to one directory agent: by UDP, and by TCP when a datagram is too small.
#include "slp/agent/da_query.h"

#include "io/stream.h"
#include "io/wait.h"
#include "slp/agent/convergence.h"
#include "slp/agent/transport.h"

#include <algorithm>
#include <sys/socket.h>

namespace
{

/// The waits for one directory agent's datagram. An agent that is gone shall not take much longer
/// than the multicast search that follows it.
constexpr int64_t UDP_WAITS_MS[] = {500, 750, 1000, 1500};
constexpr int64_t TCP_WAIT_US = 5 * MICROSECONDS_PER_SECOND;

/// What became of a question.
constexpr int QUERY_FAILED = -1; ///< an error, or a socket that cannot be used
constexpr int QUERY_ANSWERED = 0;
constexpr int QUERY_OVERFLOWED = 1; ///< answered in part: the whole is to be had over TCP
constexpr int QUERY_UNANSWERED = 2; ///< no answer yet; also for a message that is none

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

int await_reply(int fd, const slp_request &request, int64_t deadline_us,
                std::vector<uint8_t> *buffer, slp_results *results)
{
    for (;;) {
        const int size = slp_receive(fd, deadline_us, buffer, nullptr);
        if (size <= 0)
            return size < 0 ? QUERY_FAILED : QUERY_UNANSWERED;
        const int outcome = take_reply(request, buffer->data(), static_cast<size_t>(size), results);
        if (outcome != QUERY_UNANSWERED || monotonic_us() >= deadline_us)
            return outcome;
    }
}

int query_over_udp(const struct sockaddr_in &agent, const slp_request &request,
                   const std::vector<uint8_t> &message, int64_t deadline_us, slp_results *results)
{
    const descriptor socket(slp_open_unicast_socket(agent));
    if (socket.fd < 0)
        return QUERY_FAILED;
    std::vector<uint8_t> buffer;
    int64_t wait_end_us = monotonic_us();
    for (const int64_t wait_ms : UDP_WAITS_MS) {
        if (wait_end_us >= deadline_us)
            break;
        wait_end_us = std::min(deadline_us, wait_end_us + wait_ms * MICROSECONDS_PER_MILLISECOND);
        if (send(socket.fd, message.data(), message.size(), 0) < 0)
            return QUERY_FAILED;
        const int outcome = await_reply(socket.fd, request, wait_end_us, &buffer, results);
        if (outcome != QUERY_UNANSWERED)
            return outcome;
    }
    return QUERY_UNANSWERED;
}

int query_over_tcp(const struct sockaddr_in &agent, const slp_request &request,
                   const std::vector<uint8_t> &message, int64_t deadline_us, slp_results *results)
{
    std::vector<uint8_t> reply;
    const int64_t wait_end_us = std::min(deadline_us, monotonic_us() + TCP_WAIT_US);
    if (slp_exchange_over_tcp(agent, message, wait_end_us, &reply) != 0)
        return QUERY_FAILED;
    // Over TCP there is nowhere left to overflow to.
    const int outcome = take_reply(request, reply.data(), reply.size(), results);
    return outcome == QUERY_OVERFLOWED ? QUERY_ANSWERED : outcome;
}

} // namespace

int slp_query_directory_agent(const slp_settings &settings, const slp_request &request,
                              struct in_addr agent, int64_t deadline_us, slp_results *results)
{
    const struct sockaddr_in address = slp_socket_address(agent, settings.port);
    const std::vector<uint8_t> message = slp_build_request(request, 0, {});
    int outcome = QUERY_OVERFLOWED;
    if (message.size() <= slp_longest_message(settings.properties))
        outcome = query_over_udp(address, request, message, deadline_us, results);
    if (outcome == QUERY_OVERFLOWED)
        outcome = query_over_tcp(address, request, message, deadline_us, results);
    return outcome == QUERY_ANSWERED ? 0 : -1;
}
