// Agents for the tests, and searches that see nothing but them.
#include "slp_responder.h"

#include "bound_socket.h"
#include "slp/agent/service_search.h"
#include "slp/agent/slp.h"

#include <algorithm>
#include <cstring>
#include <future>
#include <gtest/gtest.h>
#include <list>
#include <map>
#include <poll.h>
#include <sstream>
#include <thread>

namespace
{

constexpr size_t PIECE_SIZE = 7; // of what is sent over TCP
constexpr char URL[] = "service:printer:lpr://10.0.0.1/";
const std::vector<std::string> USUAL_TEXTS = {"", "service:printer", "default"};
constexpr char NETWORK[] = "127.0.0.";
constexpr char DIRECTORY_AGENT[] = "service:directory-agent";

/// A request and its replies.
using exchange = std::pair<std::string, std::string>;

struct played_agents {
    std::list<exchange> talk;          ///< what is still to come
    std::vector<std::string> messages; ///< the next one first
    uint16_t port = 0;
    descriptor sockets[6] = {};              ///< UDP and TCP of each address
    std::map<std::string, size_t> xids = {}; ///< by the address asked, and its type for adverts
};

/// The last number of the sender's address, and the bytes.
using played_answer = std::pair<std::string, std::string>;

/// Mostly, the port that the system chooses for the first socket is free on the other addresses.
bool listen_on_all(played_agents *agents)
{
    agents->port = 0;
    for (size_t i = 0; i < std::size(agents->sockets); ++i) {
        const int type = i % 2 == 0 ? SOCK_DGRAM : SOCK_STREAM;
        agents->sockets[i].reset(
            open_bound_socket(type, NETWORK + std::to_string(i / 2 + 1), &agents->port));
        if (agents->sockets[i].fd < 0)
            return false;
    }
    return true;
}

std::string reply(played_agents *agents, const std::string &brief)
{
    const auto has = [&brief](char mark) { return brief.find(mark) != std::string::npos; };
    if (brief[0] == '*') {
        std::rotate(agents->messages.begin(), agents->messages.begin() + 1, agents->messages.end());
        return agents->messages.back();
    }
    if (brief[0] == '=')
        return wire_advert({}, {"service:directory-agent://da", brief.substr(1)});
    if (has('!'))
        return wire_message(WIRE_REPLY, {}, wire_number(4, 2));
    std::vector<std::string> entries;
    for (const char letter : brief)
        if (letter >= 'A' && letter <= 'Z')
            entries.push_back(wire_url(std::string(URL) + letter));
    const std::string whole =
        wire_reply({has('+') ? WIRE_OVERFLOW : 0, has('?') ? 1U : 0U}, entries);
    return whole.substr(0, whole.size() - (has('<') ? 1 : 0));
}

/// Takes the next exchange of the talk out of it: requests to agents that are asked at the same
/// time come in any order, so it is the next one by the same way to the same address; the group is
/// asked last.
exchange next_exchange(played_agents *agents, const std::string &asked)
{
    const auto next =
        std::find_if(agents->talk.begin(), agents->talk.end(), [&asked](const exchange &one) {
            return (one.first + " ").rfind(asked + " ", 0) == 0 || one.first.rfind("group", 0) == 0;
        });
    if (next == agents->talk.end())
        return {};
    const exchange taken = *next;
    agents->talk.erase(next);
    return taken;
}

std::list<exchange> read_talk(const std::string &talk)
{
    std::list<exchange> exchanges;
    std::istringstream text(talk);
    for (exchange one; std::getline(text >> std::ws, one.first, ':');) {
        std::getline(text, one.second, ';');
        exchanges.push_back(one);
    }
    return exchanges;
}

/// Notes a request and returns its answers, which carry its transaction number: they are built
/// with 0, or with 1 for another transaction.
std::vector<played_answer> hear(played_agents *agents, const std::string &way,
                                const std::string &listener, const std::string &request)
{
    std::string seen = way + listener;
    std::string kind = listener;
    wire_header header;
    wire_request_texts texts;
    EXPECT_EQ(wire_read_request(request, header, texts), 0);
    EXPECT_EQ(header.language, "en");
    for (const std::string &text : texts) {
        if (text == DIRECTORY_AGENT)
            kind += text;
        else if (std::count(USUAL_TEXTS.begin(), USUAL_TEXTS.end(), text) == 0)
            seen += " " + text;
    }
    for (size_t at = 0; (at = seen.find(NETWORK)) != std::string::npos;)
        seen.erase(at, strlen(NETWORK));
    EXPECT_NE(header.xid, 0U);
    EXPECT_EQ(agents->xids.emplace(kind, header.xid).first->second, header.xid)
        << "one number for the whole search";
    const exchange expected = next_exchange(agents, way + listener);
    EXPECT_EQ(seen + (kind != listener ? " DA" : ""), expected.first);
    std::istringstream briefs(expected.second);
    std::vector<played_answer> answers;
    for (std::string brief; briefs >> brief;) {
        const size_t at = brief.find('@');
        std::string bytes = reply(agents, brief.substr(0, at));
        const size_t asked =
            brief[0] == '=' ? agents->xids[listener + DIRECTORY_AGENT] : header.xid;
        if (bytes.size() >= XID_FIELD.at + XID_FIELD.width)
            bytes = wire_with(bytes, XID_FIELD, wire_number_at(bytes, XID_FIELD) ^ asked);
        answers.emplace_back(at == std::string::npos ? listener : brief.substr(at + 1), bytes);
    }
    return answers;
}

void serve_udp(played_agents *agents, int fd, const std::string &listener)
{
    std::string bytes(65536, '\0');
    struct sockaddr_in requester = {};
    auto *plain = reinterpret_cast<struct sockaddr *>(&requester);
    socklen_t size = sizeof requester;
    bytes.resize(static_cast<size_t>(recvfrom(fd, bytes.data(), bytes.size(), 0, plain, &size)));
    const bool to_group = wire_number_at(bytes, FLAGS_FIELD) == 0x2000;
    for (const auto &[sender, answer] :
         hear(agents, to_group ? "group " : "udp ", listener, bytes)) {
        uint16_t any_port = 0;
        const bool is_own = sender == listener;
        const descriptor other(is_own ? -1
                                      : open_bound_socket(SOCK_DGRAM, NETWORK + sender, &any_port));
        sendto(is_own ? fd : other.fd, answer.data(), answer.size(), 0, plain, size);
    }
}

/// A client that sends less than it announces gives up in the end, which ends the wait for it.
void serve_tcp(played_agents *agents, int fd, const std::string &listener)
{
    const descriptor peer(accept4(fd, nullptr, nullptr, SOCK_CLOEXEC));
    std::string bytes(LENGTH_FIELD.at + LENGTH_FIELD.width, '\0');
    recv(peer.fd, bytes.data(), bytes.size(), MSG_WAITALL | MSG_PEEK);
    bytes.resize(wire_number_at(bytes, LENGTH_FIELD));
    recv(peer.fd, bytes.data(), bytes.size(), MSG_WAITALL);
    for (const auto &[sender, answer] : hear(agents, "tcp ", listener, bytes))
        for (size_t at = 0; at < answer.size(); at += PIECE_SIZE)
            send(peer.fd, answer.data() + at, std::min(PIECE_SIZE, answer.size() - at),
                 MSG_NOSIGNAL);
}

/// Waits for all sockets at once: a request to the group that is not waited upon for long is still
/// heard before the next one to an agent.
void serve_for_a_moment(played_agents *agents)
{
    struct pollfd waited[6] = {};
    for (size_t i = 0; i < std::size(waited); ++i)
        waited[i] = {agents->sockets[i].fd, POLLIN, 0};
    poll(waited, std::size(waited), 10);
    for (size_t i = 0; i < std::size(waited); ++i)
        if (waited[i].revents != 0)
            (i % 2 == 0 ? serve_udp : serve_tcp)(agents, waited[i].fd, std::to_string(i / 2 + 1));
}

SLPBoolean note_call(SLPHandle /*handle*/, const char *url, unsigned short /*lifetime*/,
                     SLPError code, void *cookie)
{
    EXPECT_EQ(code, url != nullptr ? SLP_OK : SLP_LAST_CALL);
    std::string text = url != nullptr ? url : "last";
    if (text.rfind(URL, 0) == 0)
        text.erase(0, strlen(URL));
    *static_cast<std::string *>(cookie) += text + " ";
    if (text == "P")
        std::this_thread::sleep_for(std::chrono::seconds(1));
    return text == "R" ? SLP_FALSE : SLP_TRUE;
}

} // namespace

std::string search(const std::string &talk, const std::string &configuration,
                   const std::vector<std::string> &messages)
{
    played_agents agents = {read_talk(talk), messages};
    for (int left = 50; !listen_on_all(&agents); --left)
        if (left == 0)
            return "no port is free on all addresses";
    slp_agent agent = {{{}, "127.0.0.1", "127.0.0.1", agents.port}, "en"};
    slp_properties_parse("net.slp.interfaces = 127.0.0.1\nnet.slp.activeDADetection = no\n"
                         "net.slp.multicastTimeouts = 300,300,300,300\n" +
                             configuration,
                         &agent.settings.properties);
    std::string told;
    auto code = std::async(std::launch::async, [&agent, &told] {
        return SLPFindSrvs(&agent, "service:printer", nullptr, nullptr, note_call, &told);
    });
    while (code.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        serve_for_a_moment(&agents);
    EXPECT_EQ(agents.talk.empty() ? "" : agents.talk.front().first, "") << "not asked";
    return told + std::to_string(code.get());
}
