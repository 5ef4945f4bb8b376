// UDP sockets that hear for many addresses and answer from any of them.
#include "simulator/udp.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>

#include "simulator/loss.h"

constexpr int BUFFER_SIZE = 16 << 20; // bytes; the system may grant less
constexpr size_t LARGEST_DATAGRAM = 65536;

static int set_option(int fd, int level, int option, int value)
{
    return setsockopt(fd, level, option, &value, sizeof value);
}

// Asks for room for a burst, past the system's limit where that is allowed.
static void enlarge_buffers(int fd)
{
    if (set_option(fd, SOL_SOCKET, SO_RCVBUFFORCE, BUFFER_SIZE) != 0)
        set_option(fd, SOL_SOCKET, SO_RCVBUF, BUFFER_SIZE);
    if (set_option(fd, SOL_SOCKET, SO_SNDBUFFORCE, BUFFER_SIZE) != 0)
        set_option(fd, SOL_SOCKET, SO_SNDBUF, BUFFER_SIZE);
}

int udp_open(udp_socket &opened, int family, uint16_t port, unsigned interface)
{
    opened.fd.reset(socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    opened.interface = interface;
    opened.port = port;
    const int fd = opened.fd.fd;
    if (fd < 0)
        return -1;
    enlarge_buffers(fd);
    if (family == AF_INET6) {
        sockaddr_in6 any = {};
        any.sin6_family = AF_INET6;
        any.sin6_port = htons(port);
        if (set_option(fd, IPPROTO_IPV6, IPV6_V6ONLY, 1) != 0 ||
            set_option(fd, IPPROTO_IPV6, IPV6_RECVPKTINFO, 1) != 0 ||
            set_option(fd, IPPROTO_IPV6, IPV6_TRANSPARENT, 1) != 0)
            return -1;
        return bind(fd, reinterpret_cast<const sockaddr *>(&any), sizeof any);
    }
    sockaddr_in any = {};
    any.sin_family = AF_INET;
    any.sin_port = htons(port);
    if (set_option(fd, SOL_SOCKET, SO_BROADCAST, 1) != 0 ||
        set_option(fd, IPPROTO_IP, IP_PKTINFO, 1) != 0 ||
        set_option(fd, IPPROTO_IP, IP_TRANSPARENT, 1) != 0)
        return -1;
    return bind(fd, reinterpret_cast<const sockaddr *>(&any), sizeof any);
}

// Reads the address that a datagram was sent to from its control messages.
static void read_destination(msghdr &message, uint16_t port, sockaddr_storage &destination)
{
    for (cmsghdr *control = CMSG_FIRSTHDR(&message); control != nullptr;
         control = CMSG_NXTHDR(&message, control)) {
        if (control->cmsg_level == IPPROTO_IP && control->cmsg_type == IP_PKTINFO) {
            in_pktinfo info = {};
            memcpy(&info, CMSG_DATA(control), sizeof info);
            destination = endpoint_of_ipv4(ntohl(info.ipi_addr.s_addr));
            reinterpret_cast<sockaddr_in &>(destination).sin_port = htons(port);
        } else if (control->cmsg_level == IPPROTO_IPV6 && control->cmsg_type == IPV6_PKTINFO) {
            in6_pktinfo info = {};
            memcpy(&info, CMSG_DATA(control), sizeof info);
            destination = endpoint_of_ipv6(info.ipi6_addr);
            reinterpret_cast<sockaddr_in6 &>(destination).sin6_port = htons(port);
        }
    }
}

int udp_receive(const udp_socket &by, datagram &request)
{
    static char buffer[LARGEST_DATAGRAM];
    alignas(cmsghdr) char control[256];
    iovec part = {buffer, sizeof buffer};
    msghdr message = {};
    request.source = {};
    message.msg_name = &request.source;
    message.msg_namelen = sizeof request.source;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t length = recvmsg(by.fd.fd, &message, MSG_DONTWAIT);
    if (length < 0)
        return 0;
    request.bytes.assign(buffer, static_cast<size_t>(length));
    read_destination(message, by.port, request.destination);
    return 1;
}

// Adds a control message with the source address to `message`, whose control buffer is zeroed.
template<typename INFO>
static void set_source(msghdr &message, int level, int type, const INFO &info)
{
    message.msg_controllen = CMSG_SPACE(sizeof info);
    cmsghdr *control = CMSG_FIRSTHDR(&message);
    control->cmsg_level = level;
    control->cmsg_type = type;
    control->cmsg_len = CMSG_LEN(sizeof info);
    memcpy(CMSG_DATA(control), &info, sizeof info);
}

void udp_send(const udp_socket &by, const sockaddr_storage &from, const sockaddr_storage &to,
              std::string_view bytes)
{
    if (loss_takes_next(LOSS_OF_ANSWERS, from, by.port))
        return;
    alignas(cmsghdr) char control[256] = {};
    sockaddr_storage name = to;
    iovec part = {const_cast<char *>(bytes.data()), bytes.size()};
    msghdr message = {};
    message.msg_name = &name;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (to.ss_family == AF_INET6) {
        in6_pktinfo info = {};
        info.ipi6_addr = reinterpret_cast<const sockaddr_in6 &>(from).sin6_addr;
        info.ipi6_ifindex = by.interface;
        message.msg_namelen = sizeof(sockaddr_in6);
        set_source(message, IPPROTO_IPV6, IPV6_PKTINFO, info);
    } else {
        in_pktinfo info = {};
        info.ipi_spec_dst = reinterpret_cast<const sockaddr_in &>(from).sin_addr;
        info.ipi_ifindex = static_cast<int>(by.interface);
        message.msg_namelen = sizeof(sockaddr_in);
        set_source(message, IPPROTO_IP, IP_PKTINFO, info);
    }
    sendmsg(by.fd.fd, &message, 0);
}

bool udp_was_sent_to_all(const datagram &request)
{
    if (request.destination.ss_family == AF_INET6)
        return reinterpret_cast<const sockaddr_in6 &>(request.destination).sin6_addr.s6_addr[0] ==
               0xFF;
    constexpr uint32_t SUBNET_BROADCAST = 0x0A00FFFF; // 10.N.255.255 of network N
    constexpr uint32_t ALL_BUT_NUMBER = 0xFF00FFFF;
    const uint32_t address = endpoint_ipv4(request.destination);
    return address == INADDR_BROADCAST || (address & ALL_BUT_NUMBER) == SUBNET_BROADCAST ||
           IN_MULTICAST(address);
}

static size_t find_owner(const fleet &devices, const sockaddr_storage &destination)
{
    if (destination.ss_family == AF_INET)
        return fleet_find_ipv4(devices, endpoint_ipv4(destination));
    return fleet_find_ipv6(devices, reinterpret_cast<const sockaddr_in6 &>(destination).sin6_addr);
}

static ipv6_network answering_network(const device &one)
{
    const std::string name = device_text(one, "from6", "link");
    return name == "link" ? IPV6_LINK : name == "site" ? IPV6_SITE : IPV6_GLOBAL;
}

// The devices that the request is meant for, whether it reaches them or not.
static std::vector<asked_device> addressed_devices(const fleet &devices, const datagram &request)
{
    std::vector<asked_device> asked;
    if (!udp_was_sent_to_all(request)) {
        const size_t owner = find_owner(devices, request.destination);
        if (owner != NO_DEVICE)
            asked.push_back({owner, request.destination});
        return asked;
    }
    for (size_t index = 0; index < devices.devices.size(); ++index) {
        const device &one = devices.devices[index];
        if (request.destination.ss_family == AF_INET && one.has_ipv4)
            asked.push_back({index, endpoint_of_ipv4(one.ipv4)});
        else if (request.destination.ss_family == AF_INET6 && one.has_ipv6)
            asked.push_back({index, endpoint_of_ipv6(one.ipv6[answering_network(one)])});
    }
    return asked;
}

// Whether the device's answer finds the way back: without a gateway only within its IPv4 subnet.
static bool can_answer(const device &one, const sockaddr_storage &source)
{
    const long bits = device_number(one, "subnet", 0);
    const uint64_t mask = ~uint64_t{0} << (32 - bits);
    return source.ss_family != AF_INET || ((endpoint_ipv4(source) ^ one.ipv4) & mask) == 0;
}

std::vector<asked_device> udp_asked_devices(const fleet &devices, const datagram &request)
{
    std::vector<asked_device> asked = addressed_devices(devices, request);
    // The port stands at the same place in both families.
    const uint16_t port =
        ntohs(reinterpret_cast<const sockaddr_in &>(request.destination).sin_port);
    const auto lost = [&](const asked_device &one) {
        return !can_answer(devices.devices[one.index], request.source) ||
               loss_takes_next(LOSS_OF_REQUESTS, one.from, port);
    };
    asked.erase(std::remove_if(asked.begin(), asked.end(), lost), asked.end());
    return asked;
}

uint32_t endpoint_ipv4(const sockaddr_storage &endpoint)
{
    if (endpoint.ss_family != AF_INET)
        return 0;
    return ntohl(reinterpret_cast<const sockaddr_in &>(endpoint).sin_addr.s_addr);
}

sockaddr_storage endpoint_of_ipv4(uint32_t address)
{
    sockaddr_storage endpoint = {};
    auto &in = reinterpret_cast<sockaddr_in &>(endpoint);
    in.sin_family = AF_INET;
    in.sin_addr.s_addr = htonl(address);
    return endpoint;
}

sockaddr_storage endpoint_of_ipv6(const in6_addr &address)
{
    sockaddr_storage endpoint = {};
    auto &in6 = reinterpret_cast<sockaddr_in6 &>(endpoint);
    in6.sin6_family = AF_INET6;
    in6.sin6_addr = address;
    return endpoint;
}
