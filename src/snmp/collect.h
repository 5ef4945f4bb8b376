// Collecting the answers of one SNMP session.
#pragma once

#include <sys/time.h>

struct snmp_session;

/// Reads answers until `budget` passes without a readable datagram; the budget starts afresh
/// after every read. At the end the library handles its time-outs once, and may send again.
/// Returns the number of reads, or -1 when the wait failed, which is reported on standard output.
int sess_collect_responses(snmp_session *session, struct timeval budget);
