// Sockets of the user agent: every wait has a deadline on the monotonic clock.
#include "slp/agent/transport.h"

#include "config/interface_choice.h"
#include "io/socket.h"
#include "io/stream.h"
#include "io/wait.h"
#include "slp/agent/message.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

namespace
{

constexpr size_t STREAM_READ_SIZE = size_t{64} * 1024;
constexpr int SOCKET_FLAGS = SOCK_CLOEXEC | SOCK_NONBLOCK;

/// Waits as wait_for does, up to a point in time, and goes on after a signal.
int wait_until(int fd, short events, int64_t deadline_us)
{
    for (;;) {
        const int ready = wait_or_end(fd, events, deadline_us - monotonic_us());
        if (ready >= 0 || errno != EINTR)
            return ready;
    }
}

bool is_retryable(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

int connect_by(int fd, const struct sockaddr_in &target, int64_t deadline_us)
{
    if (connect(fd, reinterpret_cast<const struct sockaddr *>(&target), sizeof target) == 0)
        return 0;
    if (errno != EINPROGRESS || wait_until(fd, POLLOUT, deadline_us) != 1)
        return -1;
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0 ? 0 : -1;
}

int send_all_by(int fd, const std::vector<uint8_t> &bytes, int64_t deadline_us)
{
    size_t sent = 0;
    while (sent < bytes.size()) {
        if (wait_until(fd, POLLOUT, deadline_us) != 1)
            return -1;
        const ssize_t count = send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count >= 0)
            sent += static_cast<size_t>(count);
        else if (!is_retryable(errno))
            return -1;
    }
    return 0;
}

/// Appends to `bytes` until it holds `size` of them. The memory grows with what has arrived, not
/// with what the agent says will.
int receive_all_by(int fd, size_t size, int64_t deadline_us, std::vector<uint8_t> *bytes)
{
    while (bytes->size() < size) {
        if (wait_until(fd, POLLIN, deadline_us) != 1)
            return -1;
        const size_t held = bytes->size();
        bytes->resize(held + std::min(size - held, STREAM_READ_SIZE));
        const ssize_t count = recv(fd, bytes->data() + held, bytes->size() - held, 0);
        const int error = errno;
        bytes->resize(held + static_cast<size_t>(std::max<ssize_t>(count, 0)));
        if (count == 0 || (count < 0 && !is_retryable(error)))
            return -1;
    }
    return 0;
}

} // namespace

int slp_open_group_socket(int multicast_ttl)
{
    descriptor opened(socket(AF_INET, SOCK_DGRAM | SOCKET_FLAGS, 0));
    const int on = 1;
    if (opened.fd < 0 || keep_to_interface(opened.fd) != 0 ||
        setsockopt(opened.fd, IPPROTO_IP, IP_MULTICAST_TTL, &multicast_ttl, sizeof multicast_ttl) !=
            0 ||
        setsockopt(opened.fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0)
        return -1;
    enlarge_receive_buffer(opened.fd);
    return opened.release();
}

int slp_open_unicast_socket(const struct sockaddr_in &target)
{
    descriptor opened(socket(AF_INET, SOCK_DGRAM | SOCKET_FLAGS, 0));
    if (opened.fd < 0 || keep_to_interface(opened.fd) != 0 ||
        connect(opened.fd, reinterpret_cast<const struct sockaddr *>(&target), sizeof target) != 0)
        return -1;
    return opened.release();
}

int slp_receive(int fd, slp_wait *wait, std::vector<uint8_t> *buffer, struct sockaddr_in *sender)
{
    buffer->resize(SLP_DATAGRAM_SIZE_MAX);
    for (;;) {
        const bool is_over = monotonic_us() >= wait->deadline_us;
        if (is_over && wait->late_left-- <= 0)
            return 0;
        struct sockaddr_in from = {};
        socklen_t size = sizeof from;
        // Only what has not arrived yet is waited for: a burst takes half the calls.
        const ssize_t count = recvfrom(fd, buffer->data(), buffer->size(), 0,
                                       reinterpret_cast<struct sockaddr *>(&from), &size);
        if (count > 0) {
            if (sender != nullptr)
                *sender = from;
            return static_cast<int>(count);
        }
        if (count == 0)
            continue;
        if (!is_retryable(errno))
            return -1;
        if (is_over)
            return 0;
        if (wait_until(fd, POLLIN, wait->deadline_us) < 0)
            return -1;
    }
}

int slp_exchange_over_tcp(const struct sockaddr_in &target, const std::vector<uint8_t> &request,
                          int64_t deadline_us, std::vector<uint8_t> *reply)
{
    reply->clear();
    const descriptor connection(socket(AF_INET, SOCK_STREAM | SOCKET_FLAGS, 0));
    if (connection.fd < 0 || keep_to_interface(connection.fd) != 0 ||
        connect_by(connection.fd, target, deadline_us) != 0 ||
        send_all_by(connection.fd, request, deadline_us) != 0 ||
        receive_all_by(connection.fd, SLP_LENGTH_END, deadline_us, reply) != 0)
        return -1;
    const size_t length = slp_message_length(reply->data());
    if (length > SLP_STREAM_MESSAGE_MAX)
        return -1;
    return receive_all_by(connection.fd, length, deadline_us, reply);
}
