// The reachability probe, against ports of this host that answer, refuse or drop a connection.
#include "bound_socket.h"
#include "capture.h"
#include "config/thorough.h"
#include "io/wait.h"
#include "scan/probe.h"
#include "scan/tcp_connect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>
#include <string>
#include <thread>

namespace
{

constexpr char HOST[] = "127.0.0.1";
constexpr int TIMES_LEVEL = 5;

/// A listening TCP port. Behind a queue of no length the system drops the second connection's
/// segments without a word until the first one is accepted.
struct listener {
    uint16_t port = 0;
    descriptor socket;

    explicit listener(int queue)
        : socket(open_bound_socket(SOCK_STREAM | SOCK_NONBLOCK, HOST, &port, queue))
    {
    }

    /// Accepts a connection. Returns whether one was there.
    bool take() const
    {
        const descriptor accepted(accept4(socket.fd, nullptr, nullptr, SOCK_CLOEXEC));
        return accepted.fd >= 0;
    }
};

} // namespace

TEST(Probe, CountsAnAnswerOrARefusalAtOnce)
{
    const listener device(8);
    EXPECT_EQ(probe_reachable(HOST, device.port, 0), 1);
    EXPECT_TRUE(device.take());
    EXPECT_FALSE(device.take()) << "more attempts than one";
    uint16_t refusing = 0;
    {
        const listener closed(1);
        refusing = closed.port;
    }
    EXPECT_EQ(probe_reachable(HOST, refusing, 0), 1);
    EXPECT_EQ(probe_reachable("fe80::1", refusing, 0), 1);
    EXPECT_EQ(probe_reachable("", refusing, 0), 0);
}

TEST(Probe, CountsWhatHasArrivedHoweverLateItIsSeen)
{
    const listener device(8);
    const listener full(0);
    const descriptor first(tcp_connect_timeout(HOST, full.port, 0));
    const struct in_addr host = {htonl(INADDR_LOOPBACK)};
    probe answered;
    probe silent;
    ASSERT_EQ(begin_probe(&answered, host, device.port), probe_state::waiting);
    ASSERT_EQ(begin_probe(&silent, host, full.port), probe_state::waiting);
    EXPECT_EQ(step_probe(&silent), probe_state::waiting) << "before the next attempt is due";
    EXPECT_EQ(silent.attempts, 1U);
    wait_or_end(-1, 0, TCP_WAIT_US + 1);
    EXPECT_EQ(step_probe(&answered), probe_state::reachable);
    for (size_t attempts = 2; attempts <= 3; ++attempts) {
        EXPECT_EQ(step_probe(&silent), probe_state::waiting);
        EXPECT_EQ(silent.attempts, attempts);
    }
    EXPECT_EQ(step_probe(&silent), probe_state::unreachable);
}

TEST(Probe, MakesItsAttemptsInTime)
{
    const listener full(0);
    const descriptor first(tcp_connect_timeout(HOST, full.port, 0));
    probe silent;
    struct pollfd polled[PROBE_SOCKETS];
    for (const bool thorough : {false, true}) {
        g_thorough = thorough;
        std::string due_ms;
        // As often as it begins anew, though steps are as late as they may.
        for (probe_state state = begin_probe(&silent, {htonl(INADDR_LOOPBACK)}, full.port);
             state == probe_state::waiting; state = step_probe(&silent)) {
            EXPECT_GT(silent.due_us, monotonic_us());
            due_ms += std::to_string((silent.due_us - silent.start_us) / 1000) + ":" +
                      std::to_string(poll_probe(silent, polled)) + " ";
            silent.due_us = 0;
        }
        EXPECT_EQ(due_ms,
                  thorough ? "150:1 300:2 450:3 600:3 750:3 900:3 1000:3 " : "100:1 150:2 200:3 ");
        EXPECT_EQ(poll_probe(silent, polled), 0U) << "sockets are left";
        silent.start_us = 1; // long ago
    }
    g_thorough = false;
}

TEST(Probe, CountsTheAnswerToAnAttemptThatIsNotTheLatest)
{
    const listener device(0);
    const descriptor filling(tcp_connect_timeout(HOST, device.port, 0));
    probe probed;
    begin_probe(&probed, {htonl(INADDR_LOOPBACK)}, device.port);
    wait_or_end(-1, 0, probed.due_us - monotonic_us());
    EXPECT_EQ(step_probe(&probed), probe_state::waiting);
    ASSERT_TRUE(device.take()); // Room for one: the system repeats the first attempt first.
    EXPECT_EQ(wait_or_end(probed.sockets[0].fd, POLLOUT, 20 * MICROSECONDS_PER_SECOND), 1);
    EXPECT_EQ(step_probe(&probed), probe_state::reachable);
}

TEST(Probe, WaitsForASilentDeviceAndTriesAgain)
{
    const listener device(0);
    const descriptor first(tcp_connect_timeout(HOST, device.port, 0));
    ASSERT_GE(first.fd, 0);
    const std::string out =
        printed_by([&] { EXPECT_EQ(probe_reachable(HOST, device.port, TIMES_LEVEL), 0); });
    EXPECT_THAT(out, testing::MatchesRegex("# time before select on open is [^\n]*\n"
                                           "# time  after select on open is [^\n]*\n"));

    // Room for the last attempt alone. On a busy machine it may come too late: then once more.
    int reached = 0;
    for (int turn = 0; turn < 20 && reached == 0; ++turn) {
        const descriptor filling(tcp_connect_timeout(HOST, device.port, 0));
        std::thread makes_room([&] {
            wait_or_end(-1, 0, 120 * MICROSECONDS_PER_MILLISECOND);
            while (device.take()) {
            }
        });
        reached = probe_reachable(HOST, device.port, 0);
        makes_room.join();
    }
    EXPECT_EQ(reached, 1) << "the first attempts are lost";
}
