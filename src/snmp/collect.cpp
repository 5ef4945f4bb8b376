// Collecting the answers of one SNMP session.
#include "snmp/collect.h"

#include "config/thorough.h"
#include "io/output.h"
#include "io/wait.h"
#include "log/log.h"
#include "snmp/snmp_session.h"
#include "snmp/timeval.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <poll.h>

namespace
{

void trace_time(const char *name, const struct timeval &value)
{
    log_trace("\t%s: %u sec %u usec\n", name, static_cast<unsigned>(value.tv_sec),
              static_cast<unsigned>(value.tv_usec));
}

void trace_select_info(int block, const struct timeval &timeout)
{
    log_trace("snmp_sess_select_info: timeout_snmp: block=%d %u sec %u usec\n", block,
              static_cast<unsigned>(timeout.tv_sec), static_cast<unsigned>(timeout.tv_usec));
}

struct timeval timeval_of(int64_t us)
{
    return {static_cast<time_t>(us / MICROSECONDS_PER_SECOND),
            static_cast<suseconds_t>(us % MICROSECONDS_PER_SECOND)};
}

/// Waits for the session's socket, at most for `remaining` or until the library wants to be
/// called. Returns what `select` returns.
int wait_for_answer(netsnmp_session *session, struct timeval remaining,
                    snmp_descriptor_set *descriptors)
{
    struct timeval timeout = remaining;
    int count = 0;
    int block = 0;
    trace_select_info(block, remaining);
    snmp_sess_select_info2(snmp_sess_pointer(session), &count, &descriptors->set, &timeout, &block);
    trace_select_info(block, timeout);
    // A request past its own time-out makes the library ask for no wait at all, again and again
    // until its time-outs are handled, which is done once, at the end.
    if (!timerisset(&timeout))
        timeout = remaining;
    log_trace("select\n");
    return netsnmp_large_fd_set_select(count, &descriptors->set, nullptr, nullptr, &timeout);
}

/// Computes what is left of the budget. Returns 1 while there is more time, else 0.
int update_remaining(const struct timeval &budget, const struct timeval &elapsed,
                     struct timeval *remaining)
{
    const int more = timeval_subtract(&elapsed, &budget, remaining) == 0 ? 1 : 0;
    log_trace("have_more_time=%d\n", more);
    trace_time("elapsed", elapsed);
    trace_time("remain", *remaining);
    return more;
}

/// One cycle: waits until something was read or the budget is used up. Returns 1 after a read, 0
/// when the time is used up, -1 when the wait failed.
int collect_once(netsnmp_session *session, const struct timeval &budget)
{
    snmp_descriptor_set descriptors;
    log_trace("sess_select_response\n");
    struct timeval start = {};
    gettimeofday(&start, nullptr);
    // No change of the system time makes the wait shorter or longer, and what is traced as the
    // time after it is as much later as was waited.
    const int64_t begun = monotonic_us();
    trace_time("tv0", start);
    struct timeval remaining = budget;
    for (;;) {
        descriptors.clear();
        const int ready = wait_for_answer(session, remaining, &descriptors);
        if (ready < 0)
            return -1;
        log_trace("\tready=%d\n", ready);
        const struct timeval elapsed = timeval_of(monotonic_us() - begun);
        struct timeval now = {};
        timeradd(&start, &elapsed, &now);
        trace_time("tv", now);
        const int more_time = update_remaining(budget, elapsed, &remaining);
        if (ready > 0) {
            log_trace("snmp_read\n");
            if (snmp_read_datagram(session, &descriptors))
                return 1;
        }
        if (more_time == 0)
            return 0;
    }
}

} // namespace

int sess_collect_responses(netsnmp_session *session, struct timeval budget)
{
    log_trace("sess_collect_responses\n");
    int reads = 0;
    for (;;) {
        end_when_unread();
        const int result = collect_once(session, budget);
        if (result < 0) {
            const char *reason = strerror(errno);
            log_trace("select failed: <%s>\n", reason);
            printf("# ERROR: select on snmp sockets failed, %s\n", reason);
            return -1;
        }
        if (result == 0) {
            log_trace("snmp_timeout\n");
            snmp_sess_timeout(snmp_sess_pointer(session));
        } else {
            ++reads;
        }
        log_trace("end of response collecting iteration\n");
        if (result == 0)
            return reads;
    }
}

void sess_collect_thoroughly(netsnmp_session *session, const size_t *found)
{
    constexpr int64_t QUIET_US = 2 * MICROSECONDS_PER_SECOND;
    constexpr int64_t LEAST_US = 4 * MICROSECONDS_PER_SECOND;
    const int64_t start = monotonic_us();
    int64_t end = start + LEAST_US;
    int64_t repeat = start + THOROUGH_REPEAT_US;
    size_t known = 0;
    for (int64_t now = start; now < end && *found < THOROUGH_MOST_ANSWERERS; now = monotonic_us()) {
        if (now >= repeat) {
            snmp_sess_timeout(snmp_sess_pointer(session));
            repeat = now + THOROUGH_REPEAT_US;
        }
        const int socket_fd = snmp_transport_of(session)->sock;
        if (wait_or_end(socket_fd, POLLIN, std::min(repeat, end) - now) > 0)
            snmp_read_arrived(session);
        if (*found != known)
            end = std::min(std::max(monotonic_us() + QUIET_US, end), start + THOROUGH_MOST_US);
        known = *found;
    }
    log_trace("response_count=%d\n", static_cast<int>(known));
}
