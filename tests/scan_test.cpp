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
    probe answered;
    ASSERT_EQ(begin_probe(&answered, {htonl(INADDR_LOOPBACK)}, device.port), probe_state::waiting);
    wait_or_end(-1, 0, TCP_WAIT_US + 1);
    EXPECT_EQ(step_probe(&answered), probe_state::reachable);
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
            const size_t attempts = silent.attempts;
            silent.due_us = monotonic_us() + 10 * MICROSECONDS_PER_SECOND;
            step_probe(&silent);
            EXPECT_EQ(silent.attempts, attempts) << "before it is due";
            silent.due_us = 0;
        }
        EXPECT_EQ(due_ms,
                  thorough ? "150:1 300:2 450:3 600:3 750:3 900:3 1000:3 " : "100:1 150:2 200:3 ");
        EXPECT_EQ(poll_probe(silent, polled), 0U) << "sockets are left";
        silent.start_us = 1; // long ago
    }
    g_thorough = false;
}

TEST(Probe, WaitsForASilentDevice)
{
    const listener device(0);
    const descriptor first(tcp_connect_timeout(HOST, device.port, 0));
    ASSERT_GE(first.fd, 0);
    const std::string out =
        printed_by([&] { EXPECT_EQ(probe_reachable(HOST, device.port, TIMES_LEVEL), 0); });
    EXPECT_THAT(out, testing::MatchesRegex("# time before select on open is [^\n]*\n"
                                           "# time  after select on open is [^\n]*\n"));
}
