// Discovery by nodeq, the devices' own UDP protocol, over IPv4 broadcast.
#include "nodeq/nodeq.h"

#include "config/interface_choice.h"
#include "config/thorough.h"
#include "io/egress.h"
#include "io/interfaces.h"
#include "io/socket.h"
#include "io/stream.h"
#include "io/wait.h"
#include "nodeq/nodeq_packet.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr int64_t QUIET_TIME_US = 500 * MICROSECONDS_PER_MILLISECOND;
constexpr useconds_t PAUSE_US = 100 * MICROSECONDS_PER_MILLISECOND;
constexpr int MAX_DATAGRAMS = 99; ///< in one pass, for each request that it follows
constexpr int EXCHANGES = 2;

/// With --thorough: requests so far apart, until so many in a row bring nobody new.
constexpr int64_t ROUND_US = 500 * MICROSECONDS_PER_MILLISECOND;
constexpr int IDLE_ROUNDS = 6;

/// What came of receiving an answer.
constexpr int ANSWER_NONE = -1; ///< nothing has arrived
constexpr int ANSWER_KNOWN = 0;
constexpr int ANSWER_NEW = 1; ///< from a new address

int receive_answer(device_list *devices, int socket_fd, address_index *index)
{
    uint8_t answer[NODEQ_ANSWER_SIZE];
    struct sockaddr_in source = {};
    socklen_t source_size = sizeof source;
    // A datagram that was announced can still be dropped (its checksum is wrong): never block.
    const ssize_t received = recvfrom(socket_fd, answer, sizeof answer, MSG_DONTWAIT,
                                      reinterpret_cast<struct sockaddr *>(&source), &source_size);
    if (received <= 0)
        return received == 0 ? ANSWER_KNOWN : ANSWER_NONE;
    device_record scratch = {};
    nodeq_parse_answer(answer, static_cast<size_t>(received), ntohl(source.sin_addr.s_addr),
                       &scratch);
    device_record *record = device_list_find_or_add(devices, scratch.ip, index);
    if (record == nullptr)
        return ANSWER_KNOWN;
    const int outcome = record->nodeq_detected == 0 ? ANSWER_NEW : ANSWER_KNOWN;
    nodeq_merge_answer(record, &scratch);
    return outcome;
}

/// Sends the request by each way, and counts how often it has left. Returns what
/// `nodeq_send_request` does.
int send_requests(int socket_fd, int *sent_count)
{
    uint8_t request[NODEQ_REQUEST_SIZE];
    nodeq_build_request(request);
    const struct sockaddr_in everybody = ipv4_socket_address({htonl(INADDR_BROADCAST)}, NODEQ_PORT);
    const auto send_once = [&](const egress_way *way) {
        const int sent = send_ipv4_by(way, socket_fd, everybody, request, sizeof request);
        if (sent >= 0)
            ++*sent_count;
        return sent;
    };
    const host_interface_list interfaces = list_host_interfaces();
    return send_everywhere(plan_broadcast(interfaces.get(), g_interface_name),
                           std::cref(send_once));
}

/// Collects answers until they pause, or so many datagrams have come.
void collect_answers(device_list *devices, int socket_fd, int most)
{
    for (int datagrams = 0; datagrams < most; ++datagrams) {
        const int ready = wait_or_end(socket_fd, POLLIN, QUIET_TIME_US);
        if (ready == 0)
            return;
        if (ready < 0) {
            printf("ERROR: select on nodeq socket failed: %s\n", strerror(errno));
            return;
        }
        receive_answer(devices, socket_fd, nullptr);
    }
}

/// Collects the answers of one round of a thorough run. Returns the number of new answerers.
size_t collect_round(device_list *devices, int socket_fd, address_index *index)
{
    size_t count = 0;
    const int64_t end_us = monotonic_us() + ROUND_US;
    for (int64_t now_us = 0; (now_us = monotonic_us()) < end_us;) {
        const int outcome = receive_answer(devices, socket_fd, index);
        if (outcome == ANSWER_NEW)
            ++count;
        else if (outcome == ANSWER_NONE)
            wait_or_end(socket_fd, POLLIN, end_us - now_us);
    }
    return count;
}

int report_failed_request()
{
    printf("ERROR: nodeq detection failed: %s\n", strerror(errno));
    return -2;
}

int ask_thoroughly(device_list *devices, int socket_fd)
{
    static address_index index;
    index = {};
    // An index knows only what was added with it.
    address_index *used = *devices == nullptr ? &index : nullptr;
    const int64_t last_us = monotonic_us() + THOROUGH_MOST_US - ROUND_US;
    size_t answerers = 0;
    for (int idle = 0;
         idle < IDLE_ROUNDS && monotonic_us() <= last_us && answerers < THOROUGH_MOST_ANSWERERS;) {
        if (nodeq_send_request(socket_fd) < 0)
            return report_failed_request();
        const size_t added = collect_round(devices, socket_fd, used);
        idle = added == 0 ? idle + 1 : 0;
        answerers += added;
    }
    return 0;
}

} // namespace

int discover_using_nodeq(device_list *devices, const char *target)
{
    if (target[0] == 'u')
        return 0;
    const descriptor opened(nodeq_open_socket());
    if (opened.fd < 0) {
        printf("ERROR: Can not create nodeq socket: %s\n", strerror(errno));
        return -1;
    }
    if (g_thorough)
        return ask_thoroughly(devices, opened.fd);
    for (int exchange = 0; exchange < EXCHANGES; ++exchange) {
        if (exchange > 0)
            usleep(PAUSE_US);
        int sent_count = 0;
        if (send_requests(opened.fd, &sent_count) < 0)
            return report_failed_request();
        collect_answers(devices, opened.fd, MAX_DATAGRAMS * sent_count);
    }
    return 0;
}

int nodeq_open_socket()
{
    descriptor opened(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (opened.fd < 0)
        return -1;
    const int on = 1;
    int failure = 0;
    if (setsockopt(opened.fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0)
        failure = -2;
    const struct sockaddr_in any = ipv4_socket_address({htonl(INADDR_ANY)}, 0);
    if (failure == 0 &&
        (keep_to_interface(opened.fd) != 0 ||
         bind(opened.fd, reinterpret_cast<const struct sockaddr *>(&any), sizeof any) != 0))
        failure = -3;
    if (failure != 0) {
        const int reason = errno;
        opened.reset();
        errno = reason;
        return failure;
    }
    enlarge_receive_buffer(opened.fd);
    return opened.release();
}

int nodeq_send_request(int socket_fd)
{
    int sent_count = 0;
    return socket_fd < 0 ? -1 : send_requests(socket_fd, &sent_count);
}

int nodeq_collect_answers(device_list *devices, int socket_fd)
{
    collect_answers(devices, socket_fd, MAX_DATAGRAMS);
    return 0;
}
