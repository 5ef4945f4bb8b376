// The description query: asks one device for the objects that describe it.
#include "snmp/description_query.h"

#include "config/text.h"
#include "io/output.h"
#include "snmp/classify.h"
#include "snmp/snmp_session.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>

namespace
{

constexpr size_t PEER_NAME_SIZE = 48;
constexpr size_t WORD_SIZE = 256; ///< vendor word and model text
constexpr size_t VALUE_TEXT_SIZE = 512;

/// Where the sub-identifiers stand that tell the objects apart.
constexpr size_t ARC_INDEX = 6;
constexpr size_t FIELD_INDEX = 12;
constexpr oid PRINTER_MIB_ARC = 43;
constexpr oid DEVICE_ARC = 40981;
constexpr oid MODEL_NAME_FIELD = 1;

/// Whether a text with ":" is an IPv6 address, with or without a zone. No host name holds a ":",
/// so any other such text would only be carried to the name servers in vain.
bool is_ipv6_literal(const char *ip)
{
    char address[INET6_ADDRSTRLEN];
    struct in6_addr parsed = {};
    const size_t length = strcspn(ip, "%");
    copy_part(address, ip, length, sizeof address);
    return length < sizeof address && inet_pton(AF_INET6, address, &parsed) > 0;
}

/// Opens the session for a device; nullptr where that cannot be (`errno`).
netsnmp_session *open_device_session(getdesc_answers *answers, const char *ip)
{
    if (strchr(ip, ':') == nullptr)
        return snmp_open_session(ip, false, on_snmp_response, answers);
    if (!is_ipv6_literal(ip)) {
        errno = EINVAL;
        return nullptr;
    }
    char peer[PEER_NAME_SIZE];
    if (snprintf(peer, sizeof peer, "udp6:[%s]", ip) >= static_cast<int>(sizeof peer)) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    return snmp_open_session(peer, true, on_snmp_response, answers);
}

void clear_answers(getdesc_answers *answers)
{
    answers->device_id_value[0] = '\0';
    answers->model_name_value[0] = '\0';
    answers->printer_mib_value[0] = '\0';
}

/// A field of `getdesc_answers`.
struct answer_field {
    char *text;
    size_t size;
};

/// Where the value of an object is kept. An object that is not wanted has no field.
answer_field field_for(getdesc_answers *answers, const oid *name, size_t name_length)
{
    if (name_length > ARC_INDEX && name[ARC_INDEX] == PRINTER_MIB_ARC)
        return {answers->printer_mib_value, sizeof answers->printer_mib_value};
    if (name_length <= FIELD_INDEX || name[ARC_INDEX] != DEVICE_ARC)
        return {nullptr, 0};
    if (name[FIELD_INDEX] == MODEL_NAME_FIELD)
        return {answers->model_name_value, sizeof answers->model_name_value};
    return {answers->device_id_value, sizeof answers->device_id_value};
}

/// Reads answers until the budget is used up: a later answer replaces an earlier one.
void wait_for_answers(netsnmp_session *session)
{
    const int64_t deadline = monotonic_us() + REQUEST_BUDGET_US;
    snmp_descriptor_set descriptors;
    for (;;) {
        end_when_unread();
        descriptors.clear();
        int descriptor_count = 0;
        int block = 0;
        struct timeval timeout = {};
        snmp_sess_select_info2(snmp_sess_pointer(session), &descriptor_count, &descriptors.set,
                               &timeout, &block);
        int64_t remaining = deadline - monotonic_us();
        if (remaining < 0)
            remaining = 0;
        timeout = {0, static_cast<suseconds_t>(remaining)};
        const int ready = netsnmp_large_fd_set_select(descriptor_count, &descriptors.set, nullptr,
                                                      nullptr, &timeout);
        if (ready < 0)
            printf("# ERROR: select on snmp sockets failed [getdesc], %s\n", strerror(errno));
        if (ready <= 0)
            return;
        snmp_read_datagram(session, &descriptors);
        if (remaining == 0)
            return;
    }
}

void take_variable(getdesc_answers *answers, const netsnmp_variable_list *variable)
{
    char value[VALUE_TEXT_SIZE];
    snmp_value_text(variable, value, sizeof value);
    const answer_field field = field_for(answers, variable->name, variable->name_length);
    if (field.text != nullptr)
        safe_strncpy(field.text, value, field.size);
}

} // namespace

int getdesc_netsnmp(char *output, int size, const char *ip)
{
    if (output == nullptr || size <= 0)
        return -1;
    output[0] = '\0';
    snmp_set_up_library("getdesc_netsnmp");
    getdesc_answers answers = {};
    getdesc_query(&answers, ip, IDENTIFICATION_OID);
    if (answers.device_id_value[0] == '\0') {
        getdesc_query(&answers, ip, MODEL_NAME_OID);
        if (answers.model_name_value[0] == '\0')
            return -2;
        char model[MODEL_NAME_SIZE];
        safe_strncpy(model, answers.model_name_value, sizeof model);
        getdesc_query(&answers, ip, PRINTER_MIB_OID);
        safe_strncpy(answers.model_name_value, model, sizeof model);
    }
    compose_answers(&answers, output, static_cast<size_t>(size));
    return 0;
}

void getdesc_query(getdesc_answers *answers, const char *ip, const char *first_oid,
                   const char *second_oid, const char *third_oid)
{
    clear_answers(answers);
    const snmp_session_owner opened(open_device_session(answers, ip));
    if (opened.session == nullptr) {
        // The system's text for this error speaks of files.
        const char *reason = errno == ENAMETOOLONG ? "Address too long" : strerror(errno);
        printf("# ERROR: snmp_open failed [getdesc], %s\n", reason);
        return;
    }
    const char *objects[3];
    size_t count = 0;
    for (const char *object : {first_oid, second_oid, third_oid}) {
        if (object != nullptr)
            objects[count++] = object;
    }
    if (snmp_send_get(opened.session, objects, count) == 0) {
        printf("# ERROR: snmp_send failed [getdesc], %s\n", strerror(errno));
        return;
    }
    wait_for_answers(opened.session);
}

void compose_answers(getdesc_answers *answers, char *output, size_t size)
{
    char vendor[WORD_SIZE] = "";
    char model[WORD_SIZE] = "";
    if (answers->device_id_value[0] != '\0') {
        extract_key_value(answers->device_id_value, "MFG:", vendor, sizeof vendor);
        extract_key_value(answers->device_id_value, "MDL:", model, sizeof model);
    } else {
        safe_strncpy(vendor, answers->printer_mib_value, sizeof vendor);
        safe_strncpy(model, answers->model_name_value, sizeof model);
    }
    compose_description(vendor, model, output, size);
}

int on_snmp_response(int operation, netsnmp_session *session, int, netsnmp_pdu *pdu, void *context)
{
    puts(RESPONSE_LINE);
    if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE || pdu == nullptr)
        return 1;
    // The library matches request ids of responses alone; whatever else comes is no answer.
    if (pdu->command != SNMP_MSG_RESPONSE || pdu->errstat != SNMP_ERR_NOERROR)
        return 0;
    if (snmp_transport_of(session) == nullptr) {
        puts("# ERROR: Invalid SNMP transport [getdesc]");
        return 1;
    }
    for (const auto *variable = pdu->variables; variable != nullptr;
         variable = variable->next_variable)
        take_variable(static_cast<getdesc_answers *>(context), variable);
    return 0;
}
