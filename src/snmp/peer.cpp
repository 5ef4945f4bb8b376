// The address of the device that an answer came from.
#include "snmp/peer.h"

#include "config/text.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace
{

/// The plain address text: `inet_ntop` knows no zones. An address of no family is an empty text.
const char *address_text(const netsnmp_sockaddr_storage &address, char (&text)[INET6_ADDRSTRLEN])
{
    const void *bytes = &address.sin.sin_addr;
    if (address.sa.sa_family == AF_INET6)
        bytes = &address.sin6.sin6_addr;
    text[0] = '\0';
    inet_ntop(address.sa.sa_family, bytes, text, sizeof text);
    return text;
}

/// Takes the addresses from the PDU's transport data: the pair that the IPv4 transport leaves
/// there, or the lone peer address that the IPv6 one does. Returns false for anything else.
bool read_addresses(const netsnmp_pdu *pdu, netsnmp_indexed_addr_pair *addresses)
{
    if (pdu->transport_data == nullptr)
        return false;
    const auto length = static_cast<size_t>(pdu->transport_data_length);
    const bool lone =
        length == sizeof addresses->remote_addr.sin6 || length == sizeof addresses->remote_addr.sin;
    if (length != sizeof *addresses && !lone)
        return false;
    // The pair begins with the peer, so both forms are read alike.
    memcpy(addresses, pdu->transport_data, length);
    const auto family = addresses->remote_addr.sa.sa_family;
    return family == AF_INET6 ? length >= sizeof addresses->remote_addr.sin6 : family == AF_INET;
}

} // namespace

void format_transport_address(netsnmp_transport *transport, const netsnmp_pdu *pdu, char *text,
                              size_t size)
{
    netsnmp_indexed_addr_pair addresses = {};
    if (!read_addresses(pdu, &addresses)) {
        const library_text formatted(
            transport->f_fmtaddr(nullptr, pdu->transport_data, pdu->transport_data_length));
        safe_strncpy(text, formatted ? formatted.get() : "", size);
        return;
    }
    char local[INET6_ADDRSTRLEN];
    char peer[INET6_ADDRSTRLEN];
    const bool ipv6 = addresses.remote_addr.sa.sa_family == AF_INET6;
    snprintf(text, size, "UDP: [%s]->%s[%s]", address_text(addresses.local_addr, local),
             ipv6 ? "IPv6: " : "", address_text(addresses.remote_addr, peer));
}

unsigned peer_zone(const netsnmp_pdu *pdu)
{
    netsnmp_indexed_addr_pair addresses = {};
    const auto &peer = addresses.remote_addr;
    const bool ipv6 = read_addresses(pdu, &addresses) && peer.sa.sa_family == AF_INET6;
    return ipv6 && IN6_IS_ADDR_LINKLOCAL(&peer.sin6.sin6_addr) ? peer.sin6.sin6_scope_id : 0;
}

bool came_from(const netsnmp_pdu *pdu, const netsnmp_sockaddr_storage &device)
{
    netsnmp_indexed_addr_pair addresses = {};
    if (!read_addresses(pdu, &addresses))
        return false;
    const netsnmp_sockaddr_storage &peer = addresses.remote_addr;
    if (peer.sa.sa_family != device.sa.sa_family || peer.sin.sin_port != device.sin.sin_port)
        return false;
    if (peer.sa.sa_family == AF_INET)
        return peer.sin.sin_addr.s_addr == device.sin.sin_addr.s_addr;
    const unsigned zone = device.sin6.sin6_scope_id;
    return IN6_ARE_ADDR_EQUAL(&peer.sin6.sin6_addr, &device.sin6.sin6_addr) &&
           (zone == 0 || zone == peer.sin6.sin6_scope_id);
}

void extract_peer_ip(char *output, const char *text, size_t size)
{
    const char *found = strstr(text, "IPv6");
    if (found == nullptr)
        found = strchr(text, '>');
    if (found == nullptr)
        return;
    const char *bracket = strchr(found, '[');
    if (bracket == nullptr) {
        output[0] = '\0';
        return;
    }
    copy_part(output, bracket + 1, strcspn(bracket + 1, "]"), size);
}
