// Agents for the tests, played by one thread.
#include "slp_responder.h"

#include "io/wait.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

namespace
{

constexpr size_t PIECE_SIZE = 7;

struct sockaddr_in address_of(const std::string &text, uint16_t port)
{
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, text.c_str(), &address.sin_addr);
    return address;
}

const struct sockaddr *plain(const struct sockaddr_in &address)
{
    return reinterpret_cast<const struct sockaddr *>(&address);
}

int bind_new(int type, const std::string &address, uint16_t port)
{
    descriptor opened(socket(AF_INET, type | SOCK_CLOEXEC, 0));
    const int on = 1;
    const struct sockaddr_in own = address_of(address, port);
    if (opened.fd < 0 ||
        (type == SOCK_STREAM &&
         setsockopt(opened.fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) ||
        bind(opened.fd, plain(own), sizeof own) != 0)
        return -1;
    return opened.release();
}

uint16_t port_of(int fd)
{
    struct sockaddr_in own = {};
    socklen_t size = sizeof own;
    getsockname(fd, reinterpret_cast<struct sockaddr *>(&own), &size);
    return ntohs(own.sin_port);
}

} // namespace

slp_responder::slp_responder(responder_script played) : script(std::move(played))
{
    listeners[0].address = "127.0.0.1";
    listeners[1].address = "127.0.0.2";
    listeners[2].address = "127.0.0.3";
    // The port that is free on the first address can be taken on another.
    for (int attempt = 0; attempt < 50 && port == 0; ++attempt) {
        const descriptor probe(bind_new(SOCK_DGRAM, "127.0.0.1", 0));
        const uint16_t wanted = static_cast<uint16_t>(port_of(probe.fd) ^ 1);
        if (listen_on(wanted))
            port = wanted;
    }
    EXPECT_NE(port, 0);
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    stop_reader.reset(ends[0]);
    stop_writer.reset(ends[1]);
    thread = std::thread([this] { run(); });
}

slp_responder::~slp_responder()
{
    stop();
}

const std::vector<heard_request> &slp_responder::stop()
{
    stop_writer.reset();
    if (thread.joinable())
        thread.join();
    return heard;
}

bool slp_responder::listen_on(uint16_t wanted)
{
    for (listener &one : listeners) {
        one.udp.reset(bind_new(SOCK_DGRAM, one.address, wanted));
        one.tcp.reset(bind_new(SOCK_STREAM, one.address, wanted));
        if (one.udp.fd < 0 || one.tcp.fd < 0 || listen(one.tcp.fd, 8) != 0)
            return false;
    }
    return true;
}

void slp_responder::run()
{
    for (;;) {
        std::vector<struct pollfd> waited = {{stop_reader.fd, POLLIN, 0}};
        for (const listener &one : listeners) {
            waited.push_back({one.udp.fd, POLLIN, 0});
            waited.push_back({one.tcp.fd, POLLIN, 0});
        }
        if (poll(waited.data(), waited.size(), -1) < 0 || waited[0].revents != 0)
            return;
        for (size_t i = 0; i < std::size(listeners); ++i) {
            if (waited[1 + 2 * i].revents != 0)
                serve_udp(listeners[i]);
            if (waited[2 + 2 * i].revents != 0)
                serve_tcp(listeners[i]);
        }
    }
}

std::vector<played_answer> slp_responder::hear(const listener &asked, const std::string &bytes,
                                               bool over_tcp)
{
    heard.push_back({wire_read_request(bytes), asked.address, over_tcp, heard.size()});
    return script(heard.back());
}

void slp_responder::serve_udp(const listener &asked)
{
    std::string bytes(65536, '\0');
    struct sockaddr_in requester = {};
    socklen_t size = sizeof requester;
    const ssize_t count = recvfrom(asked.udp.fd, bytes.data(), bytes.size(), 0,
                                   reinterpret_cast<struct sockaddr *>(&requester), &size);
    if (count < 0)
        return;
    bytes.resize(static_cast<size_t>(count));
    for (const played_answer &answer : hear(asked, bytes, false)) {
        descriptor other;
        if (!answer.sender.empty() && answer.sender != asked.address)
            other.reset(bind_new(SOCK_DGRAM, answer.sender, 0));
        sendto(other.fd >= 0 ? other.fd : asked.udp.fd, answer.bytes.data(), answer.bytes.size(), 0,
               plain(requester), sizeof requester);
    }
}

void slp_responder::serve_tcp(const listener &asked)
{
    const descriptor connection(accept4(asked.tcp.fd, nullptr, nullptr, SOCK_CLOEXEC));
    std::string bytes(65536, '\0');
    size_t held = 0;
    while (held < 5 || held < wire_number_at(bytes, 2, 3)) {
        if (wait_for(connection.fd, POLLIN, 5 * MICROSECONDS_PER_SECOND) != 1)
            return;
        const ssize_t count = recv(connection.fd, bytes.data() + held, bytes.size() - held, 0);
        if (count <= 0)
            return;
        held += static_cast<size_t>(count);
    }
    bytes.resize(held);
    for (const played_answer &answer : hear(asked, bytes, true))
        for (size_t at = 0; at < answer.bytes.size(); at += PIECE_SIZE)
            send(connection.fd, answer.bytes.data() + at,
                 std::min(PIECE_SIZE, answer.bytes.size() - at), MSG_NOSIGNAL);
}
