// SNMP discovery: one GET to everybody, and a record for every printer that answers.
#include "snmp/snmp_discovery.h"

#include "config/interface_choice.h"
#include "config/text.h"
#include "config/thorough.h"
#include "io/egress.h"
#include "io/interfaces.h"
#include "io/socket.h"
#include "log/log.h"
#include "netif/derive_ipv6.h"
#include "snmp/answering_ipv6.h"
#include "snmp/classify.h"
#include "snmp/collect.h"
#include "snmp/peer.h"
#include "snmp/snmp_session.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <strings.h>
#include <sys/socket.h>

namespace
{

constexpr struct timeval QUIET_TIME = {2, 0};
constexpr int MAX_COLLECTIONS = 2; ///< the second one only when the first read nothing

constexpr size_t TRANSPORT_TEXT_SIZE = 256;
constexpr char SCANNER_WORD[] = "SCN";

void prepare_socket(int socket_fd)
{
    const int on = 1;
    if (setsockopt(socket_fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0)
        snmp_perror("setsockopt(...,SO_BROADCAST,...) Error");
    enlarge_receive_buffer(socket_fd);
}

void collect_answers(netsnmp_session *session)
{
    int count = 0;
    for (int i = 0; i < MAX_COLLECTIONS && count <= 0; ++i) {
        count = sess_collect_responses(session, QUIET_TIME);
        log_trace("response_count=%d\n", count);
    }
}

void do_one_poll(device_list *devices, const char *target, bool ipv6)
{
    log_trace("do_one_poll\n");
    snmp_set_up_library("discovery_test");
    const host_interface_list interfaces = list_host_interfaces();
    const egress_plan plan = ipv6 ? plan_multicast(interfaces.get(), g_interface_name)
                                  : plan_broadcast(interfaces.get(), g_interface_name);
    static address_index index; // of a list that is empty now; others are walked
    index = {};
    discovery_context context = {devices, *devices == nullptr ? &index : nullptr, 0};
    const snmp_session_owner opened(snmp_open_session(target, ipv6, discovery_response, &context,
                                                      g_thorough ? THOROUGH_REPETITIONS : 0,
                                                      THOROUGH_TIMEOUT_US));
    if (opened.session == nullptr) {
        printf("# ERROR: snmp_open(\"%s\") failed, %s\n", target, strerror(errno));
        return;
    }
    if (const netsnmp_transport *transport = snmp_transport_of(opened.session))
        prepare_socket(transport->sock);
    snmp_send_everywhere(opened.session, plan);
    snmp_dump_datagrams(opened.session);
    log_trace("snmp_send\n");
    const char *const objects[] = {IDENTIFICATION_OID};
    if (snmp_send_get(opened.session, objects, 1) == 0) {
        const char *reason = strerror(errno);
        log_trace("snmp_send failed: <%s>\n", reason);
        printf("# ERROR: snmp_send failed, %s\n", reason);
        return;
    }
    if (g_thorough)
        sess_collect_thoroughly(opened.session, &context.found);
    else
        collect_answers(opened.session);
}

void record_printer(discovery_context *discovery, const char *ip, const char *value,
                    const char *model, const char *vendor)
{
    device_record *record = device_list_find_or_add(discovery->devices, ip, discovery->index);
    if (record == nullptr)
        return;
    discovery->found += record->record_state == CLASS_PRINTER ? 0 : 1;
    record->record_state = CLASS_PRINTER;
    safe_strncpy(record->dsc, model, sizeof record->dsc);
    safe_strncpy(record->vendor, vendor, sizeof record->vendor);
    if (is_scanner(value)) {
        record->snmp_detected = 1;
        record->snmp_devtype = 1;
    }
}

void read_variable(discovery_context *discovery, const netsnmp_variable_list *variable,
                   const char *transport_text, unsigned zone)
{
    char value[IDENTIFICATION_SIZE];
    snmp_value_text(variable, value, sizeof value);
    char model[DSC_SIZE];
    char vendor[VENDOR_SIZE];
    if (value[0] == '\0' || classify_discovery_value(value) != CLASS_PRINTER ||
        parse_mfg_mdl(model, vendor, value) == 0)
        return;
    char ip[IP_SIZE] = "";
    extract_peer_ip(ip, transport_text, sizeof ip);
    if (zone != 0)
        append_zone(ip, zone);
    record_printer(discovery, ip, value, model, vendor);
}

} // namespace

bool is_scanner(const char *value)
{
    return strcasestr(value, SCANNER_WORD) != nullptr;
}

int discover_using_netsnmp(device_list *devices, const char *target)
{
    log_trace("discover_using_netsnmp\n");
    const bool ipv6 = target[0] == 'u';
    do_one_poll(devices, target, ipv6);
    if (ipv6 && g_thorough)
        list_answering_ipv6(devices);
    else if (ipv6)
        derive_ipv6_addresses(devices);
    return 0;
}

int discovery_response(int operation, netsnmp_session *session, int, netsnmp_pdu *pdu,
                       void *context)
{
    log_trace("discovery_response: operation=%d NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE=%d\n",
              operation, NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE);
    if (pdu != nullptr)
        log_trace("pdu: errstat=%ld SNMP_ERR_NOERROR=%d\n", pdu->errstat, SNMP_ERR_NOERROR);
    if (operation == NETSNMP_CALLBACK_OP_TIMED_OUT)
        log_trace("TIMEOUT");
    if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE || pdu == nullptr)
        return 1;
    // The library matches request ids of responses alone; whatever else comes is no answer.
    if (pdu->command != SNMP_MSG_RESPONSE || pdu->errstat != SNMP_ERR_NOERROR)
        return 0;
    trace_variables(pdu->variables);
    netsnmp_transport *transport = snmp_transport_of(session);
    if (transport == nullptr) {
        puts("# ERROR: Invalid SNMP transport");
        return 1;
    }
    char transport_text[TRANSPORT_TEXT_SIZE];
    format_transport_address(transport, pdu, transport_text, sizeof transport_text);
    auto *discovery = static_cast<discovery_context *>(context);
    const unsigned zone = peer_zone(pdu);
    for (const auto *variable = pdu->variables; variable != nullptr;
         variable = variable->next_variable)
        read_variable(discovery, variable, transport_text, zone);
    return 0;
}

void trace_variables(const netsnmp_variable_list *variables)
{
    for (const auto *variable = variables; variable != nullptr;
         variable = variable->next_variable) {
        // Only a string's bytes are text; other types hold no terminated text.
        const auto length = static_cast<int>(variable->val_len);
        log_printf(LOG_LEVEL_TRACE, "\tvar: type=%d len=%u val=<%-.*s>\n", variable->type,
                   static_cast<unsigned>(length), length,
                   reinterpret_cast<const char *>(variable->val.string));
    }
}
