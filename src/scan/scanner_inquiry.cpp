// The scanner inquiry: asks one device for its 70-byte block over TCP.
#include "scan/scanner_inquiry.h"

#include "config/interface_choice.h"
#include "io/output.h"
#include "io/stream.h"
#include "records/device_list.h"
#include "scan/tcp_connect.h"

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

} // namespace

int scanner_inquiry(const char *ip, uint8_t *block, size_t, int debug_level)
{
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
