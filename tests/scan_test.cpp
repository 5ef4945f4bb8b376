// The reachability probe, against ports of this host that answer, refuse or drop a connection.
#include "capture.h"
#include "io/stream.h"
#include "io/wait.h"
#include "scan/tcp_connect.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <thread>

namespace
{

constexpr char HOST[] = "127.0.0.1";
constexpr int TIMES_LEVEL = 5;

/// A listening TCP port. Behind a queue of no length the system drops the second connection's
/// segments without a word until the first one is accepted.
struct listener {
    descriptor owner;
    uint16_t port = 0;

    explicit listener(int queue)
        : owner(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {
        struct sockaddr_in address = {};
        address.sin_family = AF_INET;
        inet_aton(HOST, &address.sin_addr);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(owner.fd, reinterpret_cast<struct sockaddr *>(&address), size), 0);
        getsockname(owner.fd, reinterpret_cast<struct sockaddr *>(&address), &size);
        port = ntohs(address.sin_port);
        listen(owner.fd, queue);
    }

    /// Accepts a connection. Returns whether one was there.
    bool take() const
    {
        const descriptor accepted(accept4(owner.fd, nullptr, nullptr, SOCK_CLOEXEC));
        return accepted.fd >= 0;
    }
};

/// How many connections the system has dropped since it started, for want of room in a queue.
long dropped_connections()
{
    std::ifstream file("/proc/net/netstat");
    std::string names;
    std::string numbers;
    while (std::getline(file, names) && std::getline(file, numbers)) {
        std::istringstream name_words(names);
        std::istringstream number_words(numbers);
        std::string name;
        std::string number;
        while (name_words >> name && number_words >> number) {
            if (name == "ListenOverflows")
                return std::stol(number);
        }
    }
    return 0;
}

size_t occurrences(const std::string &text, const std::string &part)
{
    size_t count = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
        ++count;
    return count;
}

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

TEST(Probe, TakesASilentDeviceForUnreachable)
{
    const listener device(0);
    const descriptor first(tcp_connect_timeout(HOST, device.port, 0));
    ASSERT_GE(first.fd, 0);
    const int64_t start = monotonic_us();
    const std::string out =
        printed_by([&] { EXPECT_EQ(probe_reachable(HOST, device.port, TIMES_LEVEL), 0); });
    EXPECT_GE(monotonic_us() - start, 200 * MICROSECONDS_PER_MILLISECOND);
    EXPECT_EQ(occurrences(out, "# time before select on open is "), 1U) << out;
    EXPECT_EQ(occurrences(out, "# time  after select on open is "), 1U) << out;
    EXPECT_EQ(occurrences(out, "\n"), 2U) << out;
}

TEST(Probe, TriesAgainWhereTheFirstAttemptIsLost)
{
    const listener device(0);
    const descriptor first(tcp_connect_timeout(HOST, device.port, 0));
    ASSERT_GE(first.fd, 0);
    const long before = dropped_connections();
    std::thread makes_room([&] {
        const int64_t end = monotonic_us() + MICROSECONDS_PER_SECOND;
        while (dropped_connections() == before && monotonic_us() < end)
            wait_for(-1, 0, MICROSECONDS_PER_MILLISECOND);
        device.take();
    });
    EXPECT_EQ(probe_reachable(HOST, device.port, 0), 1);
    makes_room.join();
}
