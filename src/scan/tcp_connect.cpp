// TCP connection attempts that take 0.2 s at most.
#include "scan/tcp_connect.h"

#include "io/resolve.h"
#include "io/socket.h"
#include "io/stream.h"
#include "io/wait.h"
#include "log/timestamp.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace
{

constexpr int64_t WAIT_US = 200 * MICROSECONDS_PER_MILLISECOND;
constexpr int64_t FIRST_ATTEMPT_US = WAIT_US / 2; ///< then a second one is made beside it
constexpr int TIMES_DEBUG_LEVEL = 5;

/// Resolves the host. Returns 0, or -1 when it is neither an address nor a name that resolves.
int find_address(const char *host, uint16_t port, struct sockaddr_in *address)
{
    struct in_addr found = {};
    if (inet_aton(host, &found) == 0 && resolve_ipv4(host, &found) != 0)
        return -1;
    *address = ipv4_socket_address(found, port);
    return 0;
}

/// Returns a non-blocking TCP socket, or -1.
int open_socket()
{
    const int socket_fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket_fd >= 0)
        fcntl(socket_fd, F_SETFL, fcntl(socket_fd, F_GETFL) | O_NONBLOCK);
    return socket_fd;
}

/// Begins a connection. Returns 0 when it stands at once, else -1 (`errno`).
int begin_connection(int socket_fd, const struct sockaddr_in &address)
{
    return connect(socket_fd, reinterpret_cast<const struct sockaddr *>(&address), sizeof address);
}

void print_time(const char *when, const char *what, int debug_level)
{
    if (debug_level >= TIMES_DEBUG_LEVEL)
        printf("# time %s select on %s is %s\n", when, what, timestamp_str());
}

/// Waits until the connection that has begun on the socket is answered or refused, or a second
/// attempt is: the system itself repeats a lost segment after a second only. Returns 1 when one of
/// them is, else 0.
int wait_for_attempts(int socket_fd, const struct sockaddr_in &address)
{
    const int64_t end = monotonic_us() + WAIT_US;
    int ready = wait_for(socket_fd, POLLOUT, FIRST_ATTEMPT_US);
    if (ready == 0) {
        descriptor second(open_socket());
        // What fails here and now tells nothing of the device.
        if (second.fd >= 0 && begin_connection(second.fd, address) != 0 && errno != EINPROGRESS &&
            errno != ECONNREFUSED)
            second.reset();
        ready = wait_for_either(socket_fd, second.fd, POLLOUT, end - monotonic_us());
    }
    return ready > 0 ? 1 : 0;
}

} // namespace

int tcp_connect_timeout(const char *host, uint16_t port, int debug_level)
{
    struct sockaddr_in address = {};
    if (find_address(host, port, &address) != 0)
        return -1;
    descriptor connection(open_socket());
    if (connection.fd < 0)
        return -2;
    if (begin_connection(connection.fd, address) != 0 &&
        wait_with_times(connection.fd, POLLOUT, "open", debug_level) == 0)
        return -3;
    return connection.release();
}

int wait_with_times(int socket_fd, short events, const char *what, int debug_level)
{
    print_time("before", what, debug_level);
    const int ready = wait_for(socket_fd, events, WAIT_US);
    print_time(" after", what, debug_level);
    return ready > 0 ? 1 : 0;
}

int probe_reachable(const char *ip, uint16_t port, int debug_level)
{
    if (strchr(ip, ':') != nullptr)
        return 1;
    struct sockaddr_in address = {};
    if (find_address(ip, port, &address) != 0)
        return 0;
    const descriptor connection(open_socket());
    if (connection.fd < 0)
        return 0;
    if (begin_connection(connection.fd, address) == 0)
        return 1;
    print_time("before", "open", debug_level);
    const int reachable = wait_for_attempts(connection.fd, address);
    print_time(" after", "open", debug_level);
    return reachable;
}
