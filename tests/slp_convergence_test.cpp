// The waits of a multicast search, read by the test itself: pauses, floods, and the socket's own.
#include "io/stream.h"
#include "slp/agent/convergence.h"
#include "slp/agent/transport.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <thread>

namespace
{

constexpr char ANSWER[] = "an answer";

void pause(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/// Plays the multicast group for one search.
struct played_group {
    descriptor socket{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    struct sockaddr_in own = {AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    struct sockaddr_in requester = {};
    int read = 0; ///< datagrams that the search has read
    int sent = 0;

    void send(int count)
    {
        for (; count > 0; --count, ++sent)
            sendto(socket.fd, ANSWER, sizeof ANSWER, 0,
                   reinterpret_cast<struct sockaddr *>(&requester), sizeof requester);
    }

    void hear()
    {
        char byte = 0;
        socklen_t size = sizeof requester;
        recvfrom(socket.fd, &byte, 1, 0, reinterpret_cast<struct sockaddr *>(&requester), &size);
    }
};

/// Searches with these waits while `play` answers.
template<typename player>
void converge(played_group *group, const slp_timeouts &waits, slp_datagram_reader reader,
              player play)
{
    socklen_t size = sizeof group->own;
    auto *own = reinterpret_cast<struct sockaddr *>(&group->own);
    ASSERT_EQ(bind(group->socket.fd, own, size), 0);
    ASSERT_EQ(getsockname(group->socket.fd, own, &size), 0);
    slp_settings settings = {{}, "127.0.0.1", "127.0.0.1", ntohs(group->own.sin_port)};
    settings.properties.interfaces = {"127.0.0.1"};
    std::thread player_thread(play);
    EXPECT_EQ(slp_converge(settings, {"en", "service:x", "default", "", 1}, {waits, 5000, 1},
                           reader, group),
              SLP_OK);
    player_thread.join();
}

} // namespace

TEST(SlpConvergence, WhatArrivesWhileTheProcessIsStoppedCounts)
{
    constexpr int BURST = 400; // more than a receive buffer of usual size holds
    played_group group;
    const auto read_after_a_pause = [](void *context, const uint8_t *, size_t,
                                       const struct sockaddr_in &) {
        auto *played = static_cast<played_group *>(context);
        if (played->read++ < 2) // past the end of each wait
            pause(600);
        return SLP_DATAGRAM_ANSWER;
    };
    converge(&group, {2, {200, 300}}, read_after_a_pause, [&group] {
        group.hear();
        group.send(1);
        group.hear();
        pause(100); // the second wait is a whole one
        group.send(BURST);
    });
    EXPECT_EQ(group.read, 1 + BURST);
}

TEST(SlpConvergence, FloodDoesNotProlongAWait)
{
    constexpr int FLOOD_END = 1000000;
    played_group group;
    // Whoever reads one finds two more, so that the queue is never empty.
    const auto read_and_feed = [](void *context, const uint8_t *, size_t,
                                  const struct sockaddr_in &) {
        auto *played = static_cast<played_group *>(context);
        if (played->sent < FLOOD_END)
            played->send(2);
        return SLP_DATAGRAM_FOREIGN;
    };
    converge(&group, {1, {400}}, read_and_feed, [&group] {
        group.hear();
        group.send(1);
    });
    EXPECT_GT(group.sent, 1);
    EXPECT_LT(group.sent, FLOOD_END);
}

TEST(SlpConvergence, RequestsGoAsFarAsConfigured)
{
    const descriptor socket(slp_open_group_socket(5));
    int ttl = 0;
    socklen_t size = sizeof ttl;
    EXPECT_EQ(getsockopt(socket.fd, IPPROTO_IP, IP_MULTICAST_TTL, &ttl, &size), 0);
    EXPECT_EQ(ttl, 5);
}
