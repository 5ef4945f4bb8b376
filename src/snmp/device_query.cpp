// Asking many devices at once for what describes them.
#include "snmp/device_query.h"

#include "config/thorough.h"
#include "io/resolve.h"
#include "io/socket.h"
#include "io/wait.h"
#include "snmp/peer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/resource.h>
#include <sys/socket.h>

namespace
{

constexpr const char *OBJECTS[] = {IDENTIFICATION_OID, MODEL_NAME_OID, PRINTER_MIB_OID};
constexpr size_t IDENTIFICATION = 0;
constexpr size_t MODEL_NAME = 1;
constexpr size_t PRINTER_MIB = 2;
/// Packets for a neighbour who is not there stay in the socket's send buffer until the system gives
/// up the search, after 3 s; when some hundred do, no request leaves. So with --thorough, which
/// repeats its requests, a session serves so many devices, and is used again when their packets are
/// gone. Each session takes a descriptor, of which this share may be used.
constexpr size_t DEVICES_PER_SESSION = 32;
constexpr rlim_t DESCRIPTOR_SHARE = 16;
/// A request that found no room in the socket is tried again this often and this long.
constexpr int64_t ROOM_RETRY_US = 20 * MICROSECONDS_PER_MILLISECOND;
constexpr int64_t ROOM_PATIENCE_US = 4 * MICROSECONDS_PER_SECOND;
static_assert(std::size(OBJECTS) == PRINTER_MIB + 1);

size_t count_sessions()
{
    struct rlimit limit = {};
    if (!g_thorough || getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 1;
    const auto share = std::min<rlim_t>(limit.rlim_cur / DESCRIPTOR_SHARE, QUERY_SESSIONS_MAX);
    return std::max<size_t>(share, 1);
}

netsnmp_session *open_session(const query_sessions &sessions, bool ipv6)
{
    // A little shorter than the interval, the library's time-out is always over as the next
    // repetition is due. The session is for no device of its own: each request names its own.
    const auto repetitions = static_cast<int>(sessions.budget_us / sessions.repeat_us);
    netsnmp_session *session =
        snmp_open_session(ipv6 ? "udp6:[::]" : "0.0.0.0", ipv6, nullptr, nullptr,
                          g_thorough ? repetitions : 0, sessions.repeat_us * 9 / 10);
    if (session == nullptr)
        return nullptr;
    const int socket_fd = snmp_transport_of(session)->sock;
    enlarge_receive_buffer(socket_fd);
    // By IPv6 the library would wait for room.
    fcntl(socket_fd, F_SETFL, fcntl(socket_fd, F_GETFL) | O_NONBLOCK);
    return session;
}

/// Returns the session that the device is asked by, opened when there is none yet, or nullptr.
netsnmp_session *session_for(device_query *query)
{
    const bool ipv6 = query->device.sa.sa_family == AF_INET6;
    netsnmp_session **sessions = query->sessions->all + (ipv6 ? QUERY_SESSIONS_MAX : 0);
    netsnmp_session *&session = sessions[query->turn / DEVICES_PER_SESSION % count_sessions()];
    if (session == nullptr)
        session = open_session(*query->sessions, ipv6);
    if (session != nullptr)
        return session;
    // Where no descriptor is to be had for another one, any that is open serves.
    netsnmp_session **const end = sessions + QUERY_SESSIONS_MAX;
    netsnmp_session **const opened =
        std::find_if(sessions, end, [](const netsnmp_session *other) { return other != nullptr; });
    return opened != end ? *opened : nullptr;
}

/// Makes a request go to the device, whatever address the session was opened for. Returns whether
/// there was memory for that.
bool address_request(netsnmp_pdu *request, const netsnmp_sockaddr_storage &device)
{
    netsnmp_indexed_addr_pair pair = {};
    pair.remote_addr = device;
    // The IPv6 transport takes a lone address in all releases.
    const bool ipv6 = device.sa.sa_family == AF_INET6;
    const size_t length = ipv6 ? sizeof device.sin6 : sizeof pair;
    request->transport_data = malloc(length);
    if (request->transport_data == nullptr)
        return false;
    memcpy(request->transport_data, &pair, length);
    request->transport_data_length = static_cast<int>(length);
    return true;
}

/// Whether the variable is the object, and not one below or beside it.
bool is_object(const netsnmp_variable_list *variable, const char *oid_text)
{
    oid numbers[MAX_SUBIDENTIFIERS];
    const size_t length = parse_oid_text(oid_text, numbers);
    return snmp_oid_compare(variable->name, variable->name_length, numbers, length) == 0;
}

/// Takes the value of the object that is asked for. Returns whether it is a text at all.
bool take_value(device_query *query, const netsnmp_variable_list *variable)
{
    getdesc_answers &answers = query->answers;
    char *text = answers.device_id_value;
    size_t size = sizeof answers.device_id_value;
    if (query->object == IDENTIFICATION) {
        snmp_value_text(variable, query->identification, sizeof query->identification);
    } else if (query->object == MODEL_NAME) {
        text = answers.model_name_value;
        size = sizeof answers.model_name_value;
    } else if (query->object == PRINTER_MIB) {
        text = answers.printer_mib_value;
        size = sizeof answers.printer_mib_value;
    }
    snmp_value_text(variable, text, size);
    return text[0] != '\0';
}

/// The library's callback of a request; `context` is its `device_query`. Returns 1 where nothing
/// more is awaited, which ends the request. One without an answer stays open behind the next one
/// of its device, so what arrives late, to a question that was given up, comes here as well.
int on_query_answer(int operation, netsnmp_session *, int request_id, netsnmp_pdu *pdu,
                    void *context)
{
    auto *query = static_cast<device_query *>(context);
    if (operation != NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE || pdu == nullptr ||
        request_id != query->request_id)
        return 1;
    // The library matches request ids alone.
    if (pdu->command != SNMP_MSG_RESPONSE || !came_from(pdu, query->device))
        return 0;
    if (query->sessions->prints_answers)
        puts(RESPONSE_LINE);
    query->heard = true;
    const bool refused = pdu->errstat == SNMP_ERR_NOSUCHNAME;
    if (pdu->errstat != SNMP_ERR_NOERROR && !refused)
        return 0;
    for (const auto *variable = pdu->variables; variable != nullptr;
         variable = variable->next_variable) {
        if (is_object(variable, OBJECTS[query->object]) &&
            (refused || snmp_is_absent(variable) || take_value(query, variable))) {
            query->request_id = 0;
            return 1;
        }
    }
    return 0;
}

/// Sends the request for the object. Returns whether an answer may come.
bool ask(device_query *query)
{
    query->request_id = 0;
    query->unsent = false;
    errno = EINVAL;
    netsnmp_session *session =
        query->device.sa.sa_family == AF_UNSPEC ? nullptr : session_for(query);
    if (session == nullptr) {
        printf("# ERROR: snmp_open failed [getdesc], %s\n", strerror(errno));
        return false;
    }
    // The library's default port for agents may be another one than 161.
    const struct sockaddr_storage target = snmp_target_of(*snmp_transport_of(session));
    // Both families keep it in the same place.
    query->device.sin.sin_port = reinterpret_cast<const struct sockaddr_in &>(target).sin_port;
    netsnmp_pdu *request = snmp_make_get(&OBJECTS[query->object], 1);
    if (request != nullptr && address_request(request, query->device))
        query->request_id =
            snmp_sess_async_send(snmp_sess_pointer(session), request, on_query_answer, query);
    const int64_t now = monotonic_us();
    if (query->request_id == 0) {
        query->unsent = (errno == EAGAIN || errno == ENOBUFS) && now < query->give_up_us;
        query->due_us = now + ROOM_RETRY_US;
        if (!query->unsent)
            printf("# ERROR: snmp_send failed [getdesc], %s\n", strerror(errno));
        snmp_free_pdu(request);
        return query->unsent;
    }
    query->deadline_us = now + query->sessions->budget_us;
    query->due_us = g_thorough ? now + query->sessions->repeat_us : query->deadline_us;
    return true;
}

/// Chooses the object that is needed after the present one. Returns whether there is one.
bool choose_next(device_query *query)
{
    const getdesc_answers &answers = query->answers;
    if (query->object + 1 == query->sessions->objects || (g_thorough && !query->heard))
        return false;
    const bool needed = (query->object == IDENTIFICATION && answers.device_id_value[0] == '\0') ||
                        (query->object == MODEL_NAME && answers.model_name_value[0] != '\0');
    if (needed)
        ++query->object;
    return needed;
}

} // namespace

query_sessions::~query_sessions()
{
    for (netsnmp_session *session : all) {
        if (session != nullptr)
            snmp_close(session);
    }
}

void begin_query(device_query *query, query_sessions *sessions, const char *ip, struct in_addr ipv4)
{
    *query = {};
    query->sessions = sessions;
    query->turn = sessions->begun++;
    query->give_up_us = monotonic_us() + ROOM_PATIENCE_US;
    if (strchr(ip, ':') == nullptr)
        query->device.sin = ipv4_socket_address(ipv4, 0);
    else if (read_ipv6(ip, &query->device.sin6) != 0)
        query->device.sa.sa_family = AF_UNSPEC;
    ask(query);
}

query_state step_query(device_query *query, int64_t now_us)
{
    if (query->unsent && (now_us < query->due_us || ask(query)))
        return query_state::waiting;
    if (query->request_id != 0 && now_us < query->deadline_us) {
        if (now_us >= query->due_us) {
            query->sessions->repetition_due = true;
            query->due_us = std::min(now_us + query->sessions->repeat_us, query->deadline_us);
        }
        return query_state::waiting;
    }
    while (choose_next(query)) {
        if (ask(query))
            return query_state::waiting;
    }
    return query_state::finished;
}

void read_answers(const query_sessions &sessions)
{
    for (netsnmp_session *session : sessions.all) {
        if (session != nullptr)
            snmp_read_arrived(session);
    }
}

void send_repetitions(query_sessions *sessions)
{
    for (netsnmp_session *session : sessions->all) {
        if (session != nullptr && sessions->repetition_due)
            snmp_sess_timeout(snmp_sess_pointer(session));
    }
    sessions->repetition_due = false;
}

size_t poll_queries(const query_sessions &sessions, struct pollfd *polled)
{
    size_t count = 0;
    for (netsnmp_session *session : sessions.all) {
        if (session != nullptr)
            polled[count++] = {snmp_transport_of(session)->sock, POLLIN, 0};
    }
    return count;
}
