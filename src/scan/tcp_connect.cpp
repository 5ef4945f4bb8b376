// A TCP connection attempt that takes 0.2 s at most.
#include "scan/tcp_connect.h"

#include "io/resolve.h"
#include "io/stream.h"
#include "io/wait.h"
#include "log/timestamp.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace
{

constexpr int64_t WAIT_US = 200 * MICROSECONDS_PER_MILLISECOND;
constexpr int TIMES_DEBUG_LEVEL = 5;

} // namespace

int tcp_connect_timeout(const char *host, uint16_t port, int debug_level)
{
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    if (inet_aton(host, &address.sin_addr) == 0 && resolve_ipv4(host, &address.sin_addr) != 0)
        return -1;
    address.sin_port = htons(port);
    descriptor owner(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (owner.fd < 0)
        return -2;
    const int flags = fcntl(owner.fd, F_GETFL);
    fcntl(owner.fd, F_SETFL, flags | O_NONBLOCK);
    if (connect(owner.fd, reinterpret_cast<const struct sockaddr *>(&address), sizeof address) <
            0 &&
        wait_with_times(owner.fd, POLLOUT, "open", debug_level) == 0)
        return -3;
    return owner.release();
}

int wait_with_times(int socket_fd, short events, const char *what, int debug_level)
{
    const bool times = debug_level >= TIMES_DEBUG_LEVEL;
    if (times)
        printf("# time before select on %s is %s\n", what, timestamp_str());
    const int ready = wait_for(socket_fd, events, WAIT_US);
    if (times)
        printf("# time  after select on %s is %s\n", what, timestamp_str());
    return ready > 0 ? 1 : 0;
}

int probe_reachable(const char *ip, uint16_t port, int debug_level)
{
    if (strchr(ip, ':') != nullptr)
        return 1;
    const descriptor owner(tcp_connect_timeout(ip, port, debug_level));
    return owner.fd >= 0 ? 1 : 0;
}
