// Agents for the tests, played by one thread, and searches that see nothing but them.
#include "slp_responder.h"

#include "io/wait.h"
#include "slp/agent/agent.h"

#include <algorithm>
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

namespace
{

constexpr size_t PIECE_SIZE = 7;

/// Opens a socket bound to an address; its port is left in `port`. Returns -1 where it is taken.
int bind_new(int type, const std::string &address, uint16_t *port)
{
    descriptor opened(socket(AF_INET, type | SOCK_CLOEXEC, 0));
    const int on = 1;
    struct sockaddr_in own = {AF_INET, htons(*port), {inet_addr(address.c_str())}, {}};
    auto *plain = reinterpret_cast<struct sockaddr *>(&own);
    socklen_t size = sizeof own;
    if (type == SOCK_STREAM)
        setsockopt(opened.fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(opened.fd, plain, size) != 0 || getsockname(opened.fd, plain, &size) != 0 ||
        (type == SOCK_STREAM && listen(opened.fd, 8) != 0))
        return -1;
    *port = ntohs(own.sin_port);
    return opened.release();
}

/// The port that the system chooses for the first socket can be taken on the other addresses.
bool listen_on_all(slp_responder *responder)
{
    responder->port = 0;
    for (size_t i = 0; i < 3; ++i) {
        const std::string address = "127.0.0." + std::to_string(i + 1);
        responder->udp[i].reset(bind_new(SOCK_DGRAM, address, &responder->port));
        responder->tcp[i].reset(bind_new(SOCK_STREAM, address, &responder->port));
        if (responder->udp[i].fd < 0 || responder->tcp[i].fd < 0)
            return false;
    }
    return true;
}

played_answers hear(slp_responder *responder, size_t listener, const std::string &bytes,
                    bool over_tcp)
{
    responder->heard.push_back({wire_read_request(bytes), static_cast<int>(listener) + 1, over_tcp,
                                responder->heard.size()});
    return responder->script(responder->heard.back());
}

void serve_udp(slp_responder *responder, size_t listener)
{
    const int fd = responder->udp[listener].fd;
    std::string bytes(65536, '\0');
    struct sockaddr_in requester = {};
    auto *plain = reinterpret_cast<struct sockaddr *>(&requester);
    socklen_t size = sizeof requester;
    const ssize_t count = recvfrom(fd, bytes.data(), bytes.size(), 0, plain, &size);
    bytes.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
    for (const played_answer &answer : hear(responder, listener, bytes, false)) {
        uint16_t any_port = 0;
        const descriptor other(
            answer.sender.empty() ? -1 : bind_new(SOCK_DGRAM, answer.sender, &any_port));
        sendto(other.fd >= 0 ? other.fd : fd, answer.bytes.data(), answer.bytes.size(), 0, plain,
               size);
    }
}

void serve_tcp(slp_responder *responder, size_t listener)
{
    const descriptor peer(accept4(responder->tcp[listener].fd, nullptr, nullptr, SOCK_CLOEXEC));
    std::string bytes;
    while (bytes.size() < 5 || bytes.size() < wire_number_at(bytes, 2, 3)) {
        char piece[4096];
        const ssize_t count = wait_for(peer.fd, POLLIN, 5 * MICROSECONDS_PER_SECOND) == 1
                                  ? recv(peer.fd, piece, sizeof piece, 0)
                                  : 0;
        if (count <= 0)
            return;
        bytes.append(piece, static_cast<size_t>(count));
    }
    for (const played_answer &answer : hear(responder, listener, bytes, true))
        for (size_t at = 0; at < answer.bytes.size(); at += PIECE_SIZE)
            send(peer.fd, answer.bytes.data() + at, std::min(PIECE_SIZE, answer.bytes.size() - at),
                 MSG_NOSIGNAL);
}

void play(slp_responder *responder)
{
    for (;;) {
        std::vector<struct pollfd> waited = {{responder->stop_reader.fd, POLLIN, 0}};
        for (size_t i = 0; i < 3; ++i) {
            waited.push_back({responder->udp[i].fd, POLLIN, 0});
            waited.push_back({responder->tcp[i].fd, POLLIN, 0});
        }
        if (poll(waited.data(), waited.size(), -1) < 0 || waited[0].revents != 0)
            return;
        for (size_t i = 0; i < 3; ++i) {
            if (waited[1 + 2 * i].revents != 0)
                serve_udp(responder, i);
            if (waited[2 + 2 * i].revents != 0)
                serve_tcp(responder, i);
        }
    }
}

struct told_calls {
    std::string text;
    size_t count;
    size_t most;
};

SLPBoolean note_call(SLPHandle /*handle*/, const char *url, unsigned short lifetime, SLPError code,
                     void *cookie)
{
    auto *told = static_cast<told_calls *>(cookie);
    EXPECT_TRUE(code == SLP_OK ? lifetime == 300 : url == nullptr);
    const std::string text = code == SLP_LAST_CALL ? "last"
                             : code != SLP_OK      ? "code"
                             : url == URL_A        ? "A"
                             : url == URL_B        ? "B"
                             : url == URL_C        ? "C"
                                                   : url;
    told->text += text + " ";
    return ++told->count < told->most ? SLP_TRUE : SLP_FALSE;
}

} // namespace

slp_responder::slp_responder(responder_script played) : script(std::move(played))
{
    bool listens = false;
    for (int attempt = 0; attempt < 50 && !listens; ++attempt)
        listens = listen_on_all(this);
    EXPECT_TRUE(listens);
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    stop_reader.reset(ends[0]);
    stop_writer.reset(ends[1]);
    thread = std::thread(play, this);
}

const std::vector<heard_request> &slp_responder::stop()
{
    stop_writer.reset();
    if (thread.joinable())
        thread.join();
    return heard;
}

texts shown(const std::vector<heard_request> &heard)
{
    texts lines;
    for (const heard_request &one : heard) {
        const char *way = one.over_tcp ? "tcp " : one.request.flags == 0x2000 ? "group " : "udp ";
        const bool for_agents = one.request.type == "service:directory-agent";
        lines.push_back(way + std::to_string(one.listener) + (for_agents ? " da " : " ") +
                        one.request.responders);
    }
    return lines;
}

std::string reply(const std::string &brief, const heard_request &heard)
{
    const auto has = [&brief](char mark) { return brief.find(mark) != std::string::npos; };
    const int xid = heard.request.xid ^ (has('?') ? 1 : 0);
    if (has('!'))
        return wire_error(4, xid);
    texts urls;
    if (has('A'))
        urls.push_back(URL_A);
    if (has('B'))
        urls.push_back(URL_B);
    if (has('C'))
        urls.push_back(URL_C);
    const std::string whole = wire_reply(urls, xid, has('+') ? WIRE_OVERFLOW : 0);
    return whole.substr(0, whole.size() - (has('<') ? 1 : 0));
}

local_handle::local_handle(uint16_t port)
{
    EXPECT_EQ(SLPOpen("en", SLP_FALSE, &handle), SLP_OK);
    settings = &static_cast<slp_agent *>(handle)->settings;
    *settings = {{}, "127.0.0.1", "127.0.0.1", port};
    properties = &settings->properties;
    properties->interfaces = {"127.0.0.1"};
    properties->active_da_detection = false;
    properties->multicast_timeouts = {4, {300, 300, 300, 300}};
    properties->da_discovery_timeouts = properties->multicast_timeouts;
}

std::string search(const local_handle &local, size_t most)
{
    told_calls told = {"", 0, most};
    const SLPError code =
        SLPFindSrvs(local.handle, "service:printer", nullptr, nullptr, note_call, &told);
    return told.text + std::to_string(code);
}
