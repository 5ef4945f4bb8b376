// Asking many devices at once for what describes them: requests in flight side by side.
#pragma once

#include "snmp/description_query.h"
#include "snmp/snmp_session.h"

#include <cstddef>
#include <cstdint>
#include <poll.h>

constexpr size_t QUERY_SESSIONS_MAX = 32; ///< of each family
constexpr int64_t QUERY_REPEAT_US = 150 * MICROSECONDS_PER_MILLISECOND;

/// One session for all devices of a family, several with --thorough; nullptr: not opened (yet).
/// Closed with their record.
struct query_sessions {
    netsnmp_session *all[2 * QUERY_SESSIONS_MAX] = {}; ///< by IPv4, then by IPv6
    size_t begun = 0;                                  ///< devices
    int64_t budget_us = REQUEST_BUDGET_US;             ///< how long each request is awaited
    int64_t repeat_us = QUERY_REPEAT_US;               ///< how often it is repeated with --thorough
    size_t objects = 3;          ///< how many are asked for at most, in the order of need
    bool prints_answers = false; ///< RESPONSE_LINE, for each
    bool repetition_due = false;

    query_sessions() = default;
    query_sessions(const query_sessions &) = delete;
    query_sessions &operator=(const query_sessions &) = delete;
    ~query_sessions();
};

/// One device that is asked, and what it has answered so far. Requests that are open point at it:
/// it stays in its place until the sessions are closed, but may be begun anew for another device.
struct device_query {
    query_sessions *sessions = nullptr;
    netsnmp_sockaddr_storage device = {}; ///< family AF_UNSPEC: no address that can be asked
    size_t object = 0;                    ///< which one is asked for, in the order of need
    size_t turn = 0;                      ///< how many devices were begun before it
    int request_id = 0;                   ///< of the request that an answer is awaited to; 0: none
    bool unsent = false;                  ///< the request waits for room in the socket
    int64_t give_up_us = 0;               ///< what could not be sent until then is not sent
    bool heard = false;                   ///< the device has answered any request
    int64_t due_us = 0;                   ///< the next step is due then, by `monotonic_us`
    int64_t deadline_us = 0;              ///< of the request
    char identification[IDENTIFICATION_SIZE] = {}; ///< as long as discovery reads it
    getdesc_answers answers = {};
};

enum class query_state { waiting, finished };

/// Begins to ask the device at `ip`, an IPv6 address where it holds a ":", else at `ipv4`. What
/// cannot be opened or sent is reported on standard output, and counts as not answered; what only
/// finds no room in the socket is sent later.
void begin_query(device_query *query, query_sessions *sessions, const char *ip,
                 struct in_addr ipv4);

/// Asks for the next object when one is needed and the last request is answered or, at `now_us`,
/// overdue. Take that time before `read_answers`: what has arrived by then counts. With --thorough
/// requests are repeated meanwhile, and a device that has answered none is asked nothing more.
query_state step_query(device_query *query, int64_t now_us);

/// Repeats what `step_query` has found to be due, with --thorough alone.
void send_repetitions(query_sessions *sessions);

/// Reads all answers that have arrived.
void read_answers(const query_sessions &sessions);

/// Fills in what shows that there is something to read, QUERY_SESSIONS_MAX for each family at most.
/// Returns how many.
size_t poll_queries(const query_sessions &sessions, struct pollfd *polled);
