// TCP connection attempts that take 0.2 s at most.
#include "scan/tcp_connect.h"

#include "config/interface_choice.h"
#include "io/resolve.h"
#include "io/socket.h"
#include "io/stream.h"
#include "io/wait.h"
#include "log/timestamp.h"
#include "scan/probe.h"

#include <cstdio>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace
{

constexpr int TIMES_DEBUG_LEVEL = 5;

} // namespace

void print_wait_time(const char *when, const char *what, int debug_level)
{
    if (debug_level >= TIMES_DEBUG_LEVEL)
        printf("# time %s select on %s is %s\n", when, what, timestamp_str());
}

int open_tcp_socket()
{
    descriptor opened(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (opened.fd < 0 || keep_to_interface(opened.fd) != 0)
        return -1;
    return opened.release();
}

int begin_tcp_connection(int socket_fd, const struct sockaddr_in &address)
{
    return connect(socket_fd, reinterpret_cast<const struct sockaddr *>(&address), sizeof address);
}

int tcp_connect_timeout(const char *host, uint16_t port, int debug_level)
{
    struct in_addr address = {};
    if (find_ipv4(host, &address) != 0)
        return -1;
    descriptor connection(open_tcp_socket());
    if (connection.fd < 0)
        return -2;
    if (begin_tcp_connection(connection.fd, ipv4_socket_address(address, port)) != 0 &&
        wait_with_times(connection.fd, POLLOUT, "open", debug_level) == 0)
        return -3;
    return connection.release();
}

int wait_with_times(int socket_fd, short events, const char *what, int debug_level)
{
    print_wait_time("before", what, debug_level);
    const int ready = wait_or_end(socket_fd, events, TCP_WAIT_US);
    print_wait_time(" after", what, debug_level);
    return ready > 0 ? 1 : 0;
}

int probe_reachable(const char *ip, uint16_t port, int debug_level)
{
    if (strchr(ip, ':') != nullptr)
        return 1;
    struct in_addr address = {};
    if (find_ipv4(ip, &address) != 0)
        return 0;
    probe probed;
    probe_state state = begin_probe(&probed, address, port);
    const bool waits = state == probe_state::waiting;
    if (waits)
        print_wait_time("before", "open", debug_level);
    while (state == probe_state::waiting) {
        struct pollfd polled[PROBE_SOCKETS];
        const size_t count = poll_probe(probed, polled);
        wait_or_end_any(polled, count, probed.due_us - monotonic_us());
        state = step_probe(&probed);
    }
    if (waits)
        print_wait_time(" after", "open", debug_level);
    return state == probe_state::reachable ? 1 : 0;
}
