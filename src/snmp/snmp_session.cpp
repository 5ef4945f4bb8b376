// What discovery and description query share of the SNMP library: set-up, objects, sessions and
// the text of a value.
#include "snmp/snmp_session.h"

#include "config/community.h"
#include "config/interface_choice.h"
#include "config/text.h"
#include "config/utf8.h"
#include "log/log.h"
#include "log/timestamp.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <poll.h>
#include <sys/socket.h>

namespace
{

constexpr size_t SUBIDENTIFIER_TEXT_SIZE = 20;

/// The longest text that is wanted of a value, and the two quotes around it.
constexpr size_t PRINTED_SIZE = 1024 + 2;

/// Whether the value is a text with characters outside ASCII: as a whole, the library would print
/// it as hexadecimal pairs.
bool is_foreign_text(const netsnmp_variable_list *variable)
{
    const uint8_t *bytes = variable->val.string;
    return variable->type == ASN_OCTET_STR &&
           std::any_of(bytes, bytes + variable->val_len, [](uint8_t b) { return b >= 0x80; }) &&
           is_text(bytes, variable->val_len);
}

/// A transport has no place for a context of its own.
decltype(netsnmp_transport::f_send) g_library_send = nullptr;
egress_plan g_plan;
decltype(netsnmp_transport::f_recv) g_library_receive = nullptr;

struct sockaddr_in ipv4_target(const struct sockaddr_storage &target)
{
    struct sockaddr_in ipv4 = {};
    memcpy(&ipv4, &target, sizeof ipv4);
    return ipv4;
}

/// A socket that snmp.conf binds to an address (clientaddr) hears answers to that one alone: each
/// interface is asked once then, from it.
void heed_bound_address(int socket_fd, egress_plan *plan)
{
    struct sockaddr_storage own = {};
    socklen_t size = sizeof own;
    if (getsockname(socket_fd, reinterpret_cast<struct sockaddr *>(&own), &size) != 0 ||
        own.ss_family != AF_INET || ipv4_target(own).sin_addr.s_addr == INADDR_ANY)
        return;
    egress_way *end = plan->ways;
    for (size_t i = 0; i < plan->count; ++i) {
        const unsigned interface = plan->ways[i].interface;
        const bool is_asked = interface == plan->routed ||
                              std::any_of(plan->ways, end, [interface](const egress_way &way) {
                                  return way.interface == interface;
                              });
        if (!is_asked)
            *end++ = {interface, ipv4_target(own).sin_addr};
    }
    plan->count = static_cast<size_t>(end - plan->ways);
}

} // namespace

void snmp_set_up_library(const char *application)
{
    // Empty, these two keep every MIB file unread, whatever the host's snmp.conf asks for.
    setenv("MIBS", "", 1);
    setenv("MIBDIRS", "", 1);
    snmp_enable_filelog("/dev/null", 0);
    init_snmp(application);
    // The library takes the user's locale over. What a device says compares alike under each:
    // under a Turkish one "Printer" would be no "PRINTER".
    setlocale(LC_ALL, "C");
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_QUICK_PRINT, 1);
}

size_t parse_oid_text(const char *text, oid (&numbers)[MAX_SUBIDENTIFIERS])
{
    size_t count = 0;
    char digits[SUBIDENTIFIER_TEXT_SIZE] = "";
    size_t length = 0;
    for (const char *c = text;; ++c) {
        const bool ends_number = (*c == '.' || *c == '\0') && length > 0;
        if (ends_number && count < MAX_SUBIDENTIFIERS) {
            digits[length] = '\0';
            numbers[count++] = static_cast<oid>(strtol(digits, nullptr, 10));
            length = 0;
        } else if (length + 1 < sizeof digits) {
            digits[length++] = *c;
        }
        if (*c == '\0')
            return count;
    }
}

netsnmp_session *snmp_open_session(const char *peer, bool ipv6, netsnmp_callback callback,
                                   void *context, int repetitions, int64_t repeat_us)
{
    // Copies: the library's fields are not constant.
    const library_text peer_name(strdup(peer));
    const library_text community(strdup(g_community_name));
    if (!peer_name || !community)
        return nullptr;
    netsnmp_session wanted;
    snmp_sess_init(&wanted);
    wanted.version = ipv6 ? SNMP_VERSION_2c : SNMP_VERSION_1;
    wanted.peername = peer_name.get();
    wanted.community = reinterpret_cast<u_char *>(community.get());
    wanted.community_len = strlen(community.get());
    wanted.callback = callback;
    wanted.callback_magic = context;
    if (repetitions != 0) {
        wanted.retries = repetitions;
        wanted.timeout = repeat_us;
    }
    netsnmp_session *session = snmp_open(&wanted);
    const netsnmp_transport *transport = session != nullptr ? snmp_transport_of(session) : nullptr;
    if (transport == nullptr || keep_to_interface(transport->sock) == 0)
        return session;
    const int reason = errno;
    snmp_close(session);
    errno = reason;
    return nullptr;
}

netsnmp_transport *snmp_transport_of(netsnmp_session *session)
{
    return snmp_sess_transport(snmp_sess_pointer(session));
}

struct sockaddr_storage snmp_target_of(const netsnmp_transport &transport)
{
    // Both kinds of address begin with the family.
    struct sockaddr_storage target = {};
    if (transport.data != nullptr && transport.data_length > 0)
        memcpy(&target, transport.data,
               std::min(sizeof target, static_cast<size_t>(transport.data_length)));
    return target;
}

// The library keeps one request id and one set of time-outs per request, so a request of its own
// for each way would be repeated by all of them. Taking the place of the transport's send function,
// below the requests, keeps it one request.
void snmp_send_everywhere(netsnmp_session *session, const egress_plan &plan)
{
    netsnmp_transport *transport = snmp_transport_of(session);
    if (transport == nullptr || (plan.count == 0 && plan.by_route))
        return;
    g_plan = plan;
    heed_bound_address(transport->sock, &g_plan);
    g_library_send = transport->f_send;
    // `data` is a pointer to what is sent, whose constness depends on the library's release.
    transport->f_send = [](netsnmp_transport *sender, auto data, int size, void **peer,
                           int *peer_size) -> int {
        const struct sockaddr_storage target = snmp_target_of(*sender);
        const bool ipv6 = target.ss_family == AF_INET6;
        const auto send_once = [&](const egress_way *way) {
            if (way != nullptr && !ipv6)
                return send_ipv4_by(way, sender->sock, ipv4_target(target), data,
                                    static_cast<size_t>(size));
            if (ipv6 && set_ipv6_way(way, sender->sock) != 0)
                return -1;
            return g_library_send(sender, data, size, peer, peer_size);
        };
        return send_everywhere(g_plan, std::cref(send_once));
    };
}

bool snmp_read_datagram(netsnmp_session *session, snmp_descriptor_set *shown)
{
    // The library's buffer for any datagram, and more for what it notes beside it.
    constexpr size_t NEEDED = SNMP_MAX_RCV_MSG_SIZE + (16 << 10);
    // Volatile: a compiler may leave out memory that nobody uses.
    void *volatile memory = malloc(NEEDED);
    const bool enough = memory != nullptr;
    free(memory);
    char dropped = 0;
    if (enough)
        snmp_read2(&shown->set);
    else
        recv(snmp_transport_of(session)->sock, &dropped, sizeof dropped, MSG_DONTWAIT);
    return enough;
}

void snmp_dump_datagrams(netsnmp_session *session)
{
    netsnmp_transport *transport = snmp_transport_of(session);
    if (transport == nullptr)
        return;
    g_library_receive = transport->f_recv;
    transport->f_recv = [](netsnmp_transport *receiver, void *data, int size, void **peer,
                           int *peer_size) -> int {
        const int received = g_library_receive(receiver, data, size, peer, peer_size);
        if (received > 0 &&
            log_printf(LOG_LEVEL_DUMP, "%s:received %d bytes\n", timestamp_str(), received) > 0)
            log_xdump(data, received, nullptr);
        return received;
    };
}

void snmp_read_arrived(netsnmp_session *session)
{
    constexpr int READS_MAX = 1000;
    snmp_descriptor_set descriptors;
    struct pollfd polled = {snmp_transport_of(session)->sock, POLLIN, 0};
    for (int i = 0; i < READS_MAX && poll(&polled, 1, 0) > 0; ++i) {
        descriptors.clear();
        NETSNMP_LARGE_FD_SET(polled.fd, &descriptors.set);
        snmp_read_datagram(session, &descriptors);
    }
}

netsnmp_pdu *snmp_make_get(const char *const *oid_texts, size_t count)
{
    netsnmp_pdu *request = snmp_pdu_create(SNMP_MSG_GET);
    for (size_t i = 0; i < count && request != nullptr; ++i) {
        oid numbers[MAX_SUBIDENTIFIERS];
        const size_t length = parse_oid_text(oid_texts[i], numbers);
        snmp_add_null_var(request, numbers, length);
    }
    return request;
}

int snmp_send_get(netsnmp_session *session, const char *const *oid_texts, size_t count)
{
    netsnmp_pdu *request = snmp_make_get(oid_texts, count);
    if (request == nullptr)
        return 0;
    const int sent = snmp_send(session, request);
    if (sent == 0) {
        const int reason = errno;
        snmp_perror("snmp_send");
        snmp_free_pdu(request);
        errno = reason;
    }
    return sent;
}

bool snmp_is_absent(const netsnmp_variable_list *variable)
{
    return variable->type == SNMP_NOSUCHOBJECT || variable->type == SNMP_NOSUCHINSTANCE ||
           variable->type == SNMP_ENDOFMIBVIEW;
}

void snmp_value_text(const netsnmp_variable_list *variable, char *text, size_t size)
{
    text[0] = '\0';
    if (variable->type == ASN_NULL || variable->val_len == 0 || snmp_is_absent(variable))
        return;
    if (is_foreign_text(variable)) {
        copy_part(text, reinterpret_cast<const char *>(variable->val.string), variable->val_len,
                  size);
        return;
    }
    // The library leaves a text that does not fit without a NUL: the last byte is never its.
    char printed[PRINTED_SIZE + 1] = {};
    const int length =
        snprint_value(printed, PRINTED_SIZE, variable->name, variable->name_length, variable);
    const char *start = printed;
    if (printed[0] == '"') {
        ++start;
        const size_t end = strlen(printed);
        if (length >= 0 && end > 1 && printed[end - 1] == '"')
            printed[end - 1] = '\0';
    }
    safe_strncpy(text, start, size);
}
