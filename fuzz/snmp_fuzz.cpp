// Fuzzes what becomes of an SNMP answer: its values' texts, their classification, and the
// description. An input is a byte that tells the peer's form and a PDU as it stands in a packet.
#include "log/log.h"
#include "printed_line.h"
#include "snmp/classify.h"
#include "snmp/description_query.h"
#include "snmp/peer.h"
#include "snmp/snmp_discovery.h"
#include "snmp/snmp_session.h"

#include <arpa/inet.h>
#include <cstring>

namespace
{

constexpr unsigned ZONE = 7;

/// A session as the two queries have it. It is for its transport alone: nothing is sent.
netsnmp_session *open_session()
{
    snmp_set_up_library("snmp_fuzz");
    // The log's lines are written too, and nobody reads them.
    log_stream = fopen("/dev/null", "w");
    log_level = LOG_LEVEL_TRACE;
    return snmp_open_session("127.0.0.1", false, discovery_response, nullptr);
}

/// Sets the peer as the transports tell it: an IPv4 one with the local address or alone, an IPv6
/// one alone.
void set_peer(netsnmp_pdu *pdu, bool ipv6, bool alone)
{
    netsnmp_indexed_addr_pair addresses = {};
    auto &peer = addresses.remote_addr;
    size_t length = alone ? sizeof peer.sin : sizeof addresses;
    peer.sin.sin_family = AF_INET;
    peer.sin.sin_addr.s_addr = htonl(0x0a000001);
    if (ipv6) {
        peer.sin6 = {AF_INET6, 0, 0, {}, ZONE};
        inet_pton(AF_INET6, "fe80::7", &peer.sin6.sin6_addr);
        length = sizeof peer.sin6;
    }
    pdu->transport_data = malloc(length);
    memcpy(pdu->transport_data, &addresses, length);
    pdu->transport_data_length = static_cast<int>(length);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static netsnmp_session *const session = open_session();
    require(session != nullptr, "a session");
    if (size < 2)
        return 0;
    const bool ipv6 = data[0] == 1;
    std::vector<uint8_t> packet(data + 1, data + size);
    size_t length = packet.size();
    netsnmp_pdu *pdu = snmp_pdu_create(SNMP_MSG_RESPONSE);
    pdu->version = ipv6 ? SNMP_VERSION_2c : SNMP_VERSION_1;
    if (snmp_pdu_parse(pdu, packet.data(), &length) == 0) {
        set_peer(pdu, ipv6, data[0] == 2);
        require(peer_zone(pdu) == (ipv6 ? ZONE : 0), "the peer's zone");
        device_list devices = nullptr;
        discovery_context context = {&devices};
        getdesc_answers answers = {};
        discovery_response(NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE, session, 1, pdu, &context);
        for (const list_node *node = devices; node != nullptr; node = node->next) {
            const char *ip = static_cast<const device_record *>(node->data)->ip;
            require(strcmp(ip, ipv6 ? "fe80::7%7" : "10.0.0.1") == 0, "the peer's address", ip);
        }
        printed([&] {
            on_snmp_response(NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE, session, 1, pdu, &answers);
        });
        char description[DSC_SIZE];
        compose_answers(&answers, description, sizeof description);
        carry_to_report(&devices, slot_of(ipv6 ? "snmp6" : "snmp"), description);
    }
    snmp_free_pdu(pdu);
    return 0;
}
