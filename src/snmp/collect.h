// Collecting the answers of one SNMP session.
#pragma once

#include "io/wait.h"

#include <cstddef>
#include <sys/time.h>

struct snmp_session;

/// Reads answers until `budget` passes without a readable datagram; the budget starts afresh
/// after every read. At the end the library handles its time-outs once, and may send again.
/// Returns the number of reads, or -1 when the wait failed, which is reported on standard output.
int sess_collect_responses(snmp_session *session, struct timeval budget);

/// What a session for `sess_collect_thoroughly` is opened with. The library's time-out is a little
/// shorter than the time after which it is asked to repeat: it is always over by then.
constexpr int64_t THOROUGH_REPEAT_US = 400 * MICROSECONDS_PER_MILLISECOND;
constexpr int64_t THOROUGH_TIMEOUT_US = THOROUGH_REPEAT_US * 9 / 10;
constexpr int THOROUGH_REPETITIONS = 100;

/// Repeats the session's open request and reads answers until nobody new has answered for 2 s, for
/// 4 s at least and 12 s at most. `*found` is what the session's callback counts, those who are
/// new: past THOROUGH_MOST_ANSWERERS of them nothing more is read.
void sess_collect_thoroughly(snmp_session *session, const size_t *found);
