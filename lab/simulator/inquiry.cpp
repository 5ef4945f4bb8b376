// The simulated scanners' inquiry port.
#include "simulator/inquiry.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "io/wait.h"
#include "simulator/tcp.h"
#include "simulator/udp.h"

constexpr uint16_t INQUIRY_PORT = 9400;
constexpr std::string_view COMMAND("\x1B\xA8\x12\x00", 4);
constexpr char BLOCK_TAG = '\xA8';
constexpr char FOREIGN_TAG = '\xA7';
constexpr size_t BLOCK_SIZE = 70;
constexpr size_t LONG_SIZE = 80;
constexpr int64_t SPLIT_US = 50 * MICROSECONDS_PER_MILLISECOND;
constexpr int64_t LATE_US = 400 * MICROSECONDS_PER_MILLISECOND;

// The tag, then the device's text padded with NULs, or bytes that count up.
static std::string build_block(const device &one, char tag, size_t size)
{
    std::string block(1, tag);
    block += device_text(one, "scan.text");
    for (size_t i = block.size(); i < size; ++i)
        block += device_has(one, "scan.text") ? '\0' : static_cast<char>(i);
    return block;
}

static void close_where_asked(const fleet &devices, tcp_connection &connection)
{
    if (device_text(devices.devices[connection.device], "scan") == "closed-at-once")
        tcp_close(connection);
}

static void answer_command(const fleet &devices, tcp_connection &connection)
{
    if (connection.received.size() < COMMAND.size())
        return;
    const bool known = connection.received.compare(0, COMMAND.size(), COMMAND) == 0;
    connection.received.clear();
    if (!known) {
        tcp_close(connection);
        return;
    }
    const device &one = devices.devices[connection.device];
    const std::string shape = device_text(one, "scan");
    const std::string block = build_block(one, shape == "foreign" ? FOREIGN_TAG : BLOCK_TAG,
                                          shape == "long" ? LONG_SIZE : BLOCK_SIZE);
    if (shape == "split") {
        tcp_send(connection, std::string_view(block).substr(0, BLOCK_SIZE / 2), 0);
        tcp_send(connection, std::string_view(block).substr(BLOCK_SIZE / 2), SPLIT_US);
    } else if (shape == "short") {
        tcp_send(connection, std::string_view(block).substr(0, BLOCK_SIZE - 1), 0);
        tcp_close(connection);
    } else if (shape != "silent") {
        tcp_send(connection, block, shape == "late" ? LATE_US : 0);
    }
}

constexpr tcp_protocol INQUIRY = {"inquiry", "inquiry-connect", close_where_asked, answer_command};

static int listen_on(size_t index, const sockaddr_storage &address)
{
    if (tcp_listen(INQUIRY, index, address, INQUIRY_PORT) == 0)
        return 0;
    fprintf(stderr, "simulator: TCP port %d: %s\n", INQUIRY_PORT, strerror(errno));
    return -1;
}

int inquiry_listen(const fleet &devices)
{
    for (size_t index = 0; index < devices.devices.size(); ++index) {
        const device &one = devices.devices[index];
        if (!device_has_any(one, "scan") || one.unreachable)
            continue;
        if (one.has_ipv4 && listen_on(index, endpoint_of_ipv4(one.ipv4)) != 0)
            return -1;
        for (const ipv6_network network : {IPV6_SITE, IPV6_GLOBAL}) {
            if (one.has_ipv6 && listen_on(index, endpoint_of_ipv6(one.ipv6[network])) != 0)
                return -1;
        }
    }
    return 0;
}
