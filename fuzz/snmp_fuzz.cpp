// Fuzzes what becomes of an SNMP answer: its values' texts, their classification, and the
// description. An input is the address family's byte and a PDU as it stands in a packet.
#include "config/text.h"
#include "log/log.h"
#include "printed_line.h"
#include "snmp/classify.h"
#include "snmp/description_query.h"
#include "snmp/snmp_discovery.h"
#include "snmp/snmp_session.h"

#include <cstring>

namespace
{

/// A session as the two queries have it. It is for its transport alone: nothing is sent.
netsnmp_session *open_session()
{
    snmp_set_up_library("snmp_fuzz");
    // The log's lines are written too, and nobody reads them.
    log_stream = fopen("/dev/null", "w");
    log_level = LOG_LEVEL_TRACE;
    return snmp_open_session("127.0.0.1", false, discovery_response, nullptr);
}

void set_peer(netsnmp_pdu *pdu, bool ipv6)
{
    netsnmp_indexed_addr_pair addresses = {};
    size_t length = sizeof addresses;
    if (ipv6) {
        addresses.remote_addr.sin6.sin6_family = AF_INET6;
        addresses.remote_addr.sin6.sin6_addr.s6_addr[15] = 7;
        length = sizeof addresses.remote_addr.sin6;
    } else {
        addresses.remote_addr.sin.sin_family = AF_INET;
        addresses.remote_addr.sin.sin_addr.s_addr = htonl(0x0a000001);
    }
    pdu->transport_data = malloc(length);
    memcpy(pdu->transport_data, &addresses, length);
    pdu->transport_data_length = static_cast<int>(length);
}

/// Composes what a description child prints of the answers.
std::string describe(const getdesc_answers &answers)
{
    char vendor[256] = "";
    char model[256] = "";
    char output[DSC_SIZE] = "";
    if (answers.device_id_value[0] != '\0') {
        extract_key_value(answers.device_id_value, "MFG:", vendor, sizeof vendor);
        extract_key_value(answers.device_id_value, "MDL:", model, sizeof model);
    } else {
        safe_strncpy(model, answers.model_name_value, sizeof model);
        safe_strncpy(vendor, answers.printer_mib_value, sizeof vendor);
    }
    compose_description(vendor, model, output, sizeof output);
    return output;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static netsnmp_session *const session = open_session();
    require(session != nullptr, "a session");
    if (size < 2)
        return 0;
    const bool ipv6 = data[0] != 0;
    std::vector<uint8_t> packet(data + 1, data + size);
    size_t length = packet.size();
    auto *pdu = static_cast<netsnmp_pdu *>(calloc(1, sizeof(netsnmp_pdu)));
    pdu->version = ipv6 ? SNMP_VERSION_2c : SNMP_VERSION_1;
    if (snmp_pdu_parse(pdu, packet.data(), &length) == 0) {
        set_peer(pdu, ipv6);
        device_list devices = nullptr;
        discovery_context context = {&devices};
        getdesc_answers answers = {};
        discovery_response(NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE, session, 1, pdu, &context);
        printed([&] {
            on_snmp_response(NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE, session, 1, pdu, &answers);
        });
        carry_to_report(&devices, ipv6 ? 1 : 0, describe(answers));
    }
    snmp_free_pdu(pdu);
    return 0;
}
