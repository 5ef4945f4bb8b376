// The scanner inquiry: asks one device for its 70-byte block over TCP.
#include "scan/scanner_inquiry.h"

#include "config/interface_choice.h"
#include "config/thorough.h"
#include "io/output.h"
#include "io/resolve.h"
#include "io/socket.h"
#include "io/stream.h"
#include "io/wait.h"
#include "records/device_list.h"
#include "scan/tcp_connect.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

/// Connects to an IPv6 address, blocking: for over two minutes where nobody answers. Returns the
/// socket, or -1.
int connect_ipv6(const char *ip)
{
    struct sockaddr_in6 address = {};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(INQUIRY_PORT);
    // No host name holds a ":": such a text is an address or nothing, and no name server is asked.
    if (inet_pton(AF_INET6, ip, &address.sin6_addr) <= 0)
        return -1;
    end_once_unread();
    descriptor connection(socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (connection.fd < 0 || keep_to_interface(connection.fd) != 0 ||
        connect(connection.fd, reinterpret_cast<const struct sockaddr *>(&address),
                sizeof address) != 0)
        return -1;
    return connection.release();
}

/// Where a device is inquired: of one family, the other one's is all zero.
struct inquiry_target {
    struct sockaddr_in ipv4;
    struct sockaddr_in6 ipv6;
};

/// Looks a name up. Returns 0, or -1 where the text stands for no address.
int find_target(const char *ip, inquiry_target *target)
{
    *target = {};
    if (strchr(ip, ':') == nullptr) {
        struct in_addr address = {};
        const int found = find_ipv4(ip, &address);
        target->ipv4 = ipv4_socket_address(address, INQUIRY_PORT);
        return found;
    }
    const int read = read_ipv6(ip, &target->ipv6);
    target->ipv6.sin6_port = htons(INQUIRY_PORT);
    return read;
}

/// Begins a connection that does not block. Returns the socket, or -1 where there is none.
int begin_connection(const inquiry_target &target)
{
    if (target.ipv6.sin6_family != AF_INET6) {
        const int socket_fd = open_tcp_socket();
        if (socket_fd >= 0)
            begin_tcp_connection(socket_fd, target.ipv4);
        return socket_fd;
    }
    const struct sockaddr_in6 &ipv6 = target.ipv6;
    descriptor opened(socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (opened.fd < 0 || keep_to_interface(opened.fd) != 0)
        return -1;
    // What has failed shows on the socket.
    static_cast<void>(
        connect(opened.fd, reinterpret_cast<const struct sockaddr *>(&ipv6), sizeof ipv6));
    return opened.release();
}

/// One of the inquiries of a device that run side by side.
struct inquiry {
    descriptor connection;
    bool asked;
};

/// Takes the next step with an inquiry whose connection is ready. Returns 1 with the whole block.
int step_inquiry(inquiry *one, uint8_t *block)
{
    if (!one->asked) {
        one->asked = true;
        const ssize_t sent =
            send(one->connection.fd, INQUIRY_COMMAND, sizeof INQUIRY_COMMAND, MSG_NOSIGNAL);
        if (sent < 0)
            one->connection.reset();
        return 0;
    }
    const ssize_t received = read(one->connection.fd, block, SCAN_BLOCK_SIZE);
    one->connection.reset();
    return received == static_cast<ssize_t>(SCAN_BLOCK_SIZE) && block[0] == SCAN_BLOCK_TAG ? 1 : 0;
}

/// Begins a further inquiry every 0.15 s within 1 s, until one brings the block; the oldest ones
/// make room.
int inquire_thoroughly(const char *ip, uint8_t *block)
{
    constexpr int64_t REPEAT_US = 150 * MICROSECONDS_PER_MILLISECOND;
    inquiry inquiries[WAITED_MAX] = {};
    inquiry_target target;
    if (find_target(ip, &target) != 0)
        return 0;
    const int64_t end = monotonic_us() + MICROSECONDS_PER_SECOND;
    int64_t next = 0;
    size_t begun = 0;
    for (int64_t now = monotonic_us(); now < end; now = monotonic_us()) {
        if (now >= next) {
            inquiry &further = inquiries[begun++ % WAITED_MAX];
            further.connection.reset(begin_connection(target));
            further.asked = false;
            next = now + REPEAT_US;
        }
        struct pollfd polled[WAITED_MAX];
        for (size_t i = 0; i < WAITED_MAX; ++i)
            polled[i] = {inquiries[i].connection.fd,
                         static_cast<short>(inquiries[i].asked ? POLLIN : POLLOUT), 0};
        wait_or_end_any(polled, WAITED_MAX, std::min(next, end) - now);
        for (size_t i = 0; i < WAITED_MAX; ++i) {
            if (polled[i].revents != 0 && step_inquiry(&inquiries[i], block) != 0)
                return 1;
        }
    }
    return 0;
}

} // namespace

int scanner_inquiry(const char *ip, uint8_t *block, size_t, int debug_level)
{
    if (g_thorough)
        return inquire_thoroughly(ip, block);
    const bool ipv6 = strchr(ip, ':') != nullptr;
    const descriptor connection(ipv6 ? connect_ipv6(ip)
                                     : tcp_connect_timeout(ip, INQUIRY_PORT, debug_level));
    if (connection.fd < 0)
        return 0;
    // The connection may have been refused meanwhile: that shows in the wait, not as a signal.
    send(connection.fd, INQUIRY_COMMAND, sizeof INQUIRY_COMMAND, MSG_NOSIGNAL);
    if (wait_with_times(connection.fd, POLLIN, "recv", debug_level) == 0)
        return 0;
    const ssize_t received = read(connection.fd, block, SCAN_BLOCK_SIZE);
    if (received != static_cast<ssize_t>(SCAN_BLOCK_SIZE))
        return 0;
    return block[0] == SCAN_BLOCK_TAG ? 1 : 0;
}
