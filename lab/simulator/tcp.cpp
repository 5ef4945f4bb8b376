// TCP listeners of single devices, their connections, and what is sent on them now or later.
#include "simulator/tcp.h"

#include <arpa/inet.h>
#include <cerrno>
#include <list>

#include "io/wait.h"
#include "simulator/record.h"

struct tcp_listener {
    descriptor fd;
    const tcp_protocol *protocol = nullptr;
    size_t device = 0;
};

constexpr int BACKLOG = 16;
constexpr size_t LARGEST_REQUEST = 65536; // a connection that sends more is closed

static std::list<tcp_listener> listeners;
static std::list<tcp_connection> connections;

int tcp_listen(const tcp_protocol &protocol, size_t index, const sockaddr_storage &address,
               uint16_t port)
{
    sockaddr_storage bound = address;
    socklen_t size = sizeof(sockaddr_in);
    if (bound.ss_family == AF_INET6) {
        reinterpret_cast<sockaddr_in6 &>(bound).sin6_port = htons(port);
        size = sizeof(sockaddr_in6);
    } else {
        reinterpret_cast<sockaddr_in &>(bound).sin_port = htons(port);
    }
    tcp_listener &added = listeners.emplace_back();
    added.protocol = &protocol;
    added.device = index;
    added.fd.reset(socket(bound.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (added.fd.fd < 0 || bind(added.fd.fd, reinterpret_cast<sockaddr *>(&bound), size) != 0 ||
        listen(added.fd.fd, BACKLOG) != 0)
        return -1;
    return 0;
}

void tcp_send(tcp_connection &connection, std::string_view bytes, int64_t delay_us)
{
    if (!bytes.empty())
        connection.pieces.push_back({monotonic_us() + delay_us, std::string(bytes)});
}

void tcp_close(tcp_connection &connection)
{
    connection.pieces.push_back({monotonic_us(), ""});
}

static bool is_due(const tcp_connection &connection)
{
    return !connection.pieces.empty() && connection.pieces.front().due_us <= monotonic_us();
}

void tcp_add_waited(std::vector<pollfd> &waited)
{
    for (const tcp_listener &listener : listeners)
        waited.push_back({listener.fd.fd, POLLIN, 0});
    for (const tcp_connection &connection : connections) {
        const int events = is_due(connection) ? POLLIN | POLLOUT : POLLIN;
        waited.push_back({connection.fd.fd, static_cast<short>(events), 0});
    }
}

static void accept_connection(const fleet &devices, const tcp_listener &listener)
{
    sockaddr_storage peer = {};
    socklen_t size = sizeof peer;
    const int fd = accept4(listener.fd.fd, reinterpret_cast<sockaddr *>(&peer), &size,
                           SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0)
        return;
    tcp_connection &added = connections.emplace_back();
    added.fd.reset(fd);
    added.protocol = listener.protocol;
    added.device = listener.device;
    added.peer = peer;
    size = sizeof added.local;
    getsockname(fd, reinterpret_cast<sockaddr *>(&added.local), &size);
    record_request(added.protocol->connect_word, added.peer, added.local, "");
    if (added.protocol->accepted != nullptr)
        added.protocol->accepted(devices, added);
}

static void receive(const fleet &devices, tcp_connection &connection)
{
    char buffer[4096];
    const ssize_t length = recv(connection.fd.fd, buffer, sizeof buffer, 0);
    if (length < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (length <= 0) {
        connection.ended = true;
        return;
    }
    const std::string_view bytes(buffer, static_cast<size_t>(length));
    record_request(connection.protocol->request_word, connection.peer, connection.local, bytes);
    connection.received += bytes;
    if (connection.received.size() > LARGEST_REQUEST)
        connection.ended = true;
    else
        connection.protocol->received(devices, connection);
}

// Sends the pieces that are due, as far as the connection takes them.
static void send_due(tcp_connection &connection)
{
    while (!connection.ended && is_due(connection)) {
        std::string &bytes = connection.pieces.front().bytes;
        if (bytes.empty()) {
            connection.ended = true;
            return;
        }
        const ssize_t sent = send(connection.fd.fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            connection.ended = errno != EAGAIN && errno != EINTR;
            return;
        }
        bytes.erase(0, static_cast<size_t>(sent));
        if (!bytes.empty())
            return;
        connection.pieces.pop_front();
    }
}

void tcp_serve(const fleet &devices, const std::vector<pollfd> &waited, size_t first)
{
    const size_t first_connection = first + listeners.size();
    size_t at = first_connection;
    for (tcp_connection &connection : connections) {
        if (at < waited.size() && waited[at].revents != 0)
            receive(devices, connection);
        ++at;
    }
    at = first;
    for (const tcp_listener &listener : listeners) {
        if (waited[at++].revents != 0)
            accept_connection(devices, listener);
    }
    for (tcp_connection &connection : connections)
        send_due(connection);
    connections.remove_if([](const tcp_connection &connection) { return connection.ended; });
}

int64_t tcp_wait_us()
{
    int64_t shortest = -1;
    for (const tcp_connection &connection : connections) {
        if (connection.pieces.empty() ||
            is_due(connection)) // poll waits for POLLOUT of what is due
            continue;
        const int64_t left = connection.pieces.front().due_us - monotonic_us();
        if (shortest < 0 || left < shortest)
            shortest = left > 0 ? left : 0;
    }
    return shortest;
}
