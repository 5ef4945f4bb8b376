// The far end of a point-to-point tunnel: it takes every packet, answers none and writes down those
// of UDP.
#include "simulator/tunnel.h"

#include <cstring>
#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <netinet/ip.h>
#include <netinet/ip6.h>
#include <netinet/udp.h>
#include <poll.h>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

#include "simulator/record.h"
#include "simulator/udp.h"

constexpr size_t LARGEST_PACKET = 65536;

int tunnel_open(const char *name)
{
    ifreq request = {};
    if (strlen(name) >= sizeof request.ifr_name)
        return -1;
    memcpy(request.ifr_name, name, strlen(name));
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    const int fd = open("/dev/net/tun", O_RDWR | O_CLOEXEC | O_NONBLOCK);
    if (fd >= 0 && ioctl(fd, TUNSETIFF, &request) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

static void record_udp(sockaddr_storage source, sockaddr_storage destination,
                       std::string_view content)
{
    udphdr head = {};
    if (content.size() < sizeof head)
        return;
    memcpy(&head, content.data(), sizeof head);
    // The port stands at the same place in both families.
    reinterpret_cast<sockaddr_in &>(source).sin_port = head.source;
    reinterpret_cast<sockaddr_in &>(destination).sin_port = head.dest;
    record_request("tunnel", source, destination, content.substr(sizeof head));
}

static void record_packet(std::string_view packet)
{
    ip ipv4 = {};
    ip6_hdr ipv6 = {};
    if (packet.size() >= sizeof ipv4)
        memcpy(&ipv4, packet.data(), sizeof ipv4);
    if (packet.size() >= sizeof ipv6)
        memcpy(&ipv6, packet.data(), sizeof ipv6);
    const size_t ipv4_head = static_cast<size_t>(ipv4.ip_hl) * 4;
    if (ipv4.ip_v == 4 && ipv4.ip_p == IPPROTO_UDP && packet.size() >= ipv4_head)
        record_udp(endpoint_of_ipv4(ntohl(ipv4.ip_src.s_addr)),
                   endpoint_of_ipv4(ntohl(ipv4.ip_dst.s_addr)), packet.substr(ipv4_head));
    else if (ipv4.ip_v == 6 && ipv6.ip6_nxt == IPPROTO_UDP)
        record_udp(endpoint_of_ipv6(ipv6.ip6_src), endpoint_of_ipv6(ipv6.ip6_dst),
                   packet.substr(sizeof ipv6));
}

void tunnel_run(int tunnel, int end_signal)
{
    static char buffer[LARGEST_PACKET];
    pollfd waited[] = {{end_signal, POLLIN, 0}, {tunnel, POLLIN, 0}};
    while (waited[0].revents == 0) {
        poll(waited, 2, -1);
        ssize_t length = 0;
        while ((length = read(tunnel, buffer, sizeof buffer)) > 0)
            record_packet({buffer, static_cast<size_t>(length)});
    }
}
