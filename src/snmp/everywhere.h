// Sending the requests of an SNMP session through several interfaces.
#pragma once

#include "io/egress.h"

struct snmp_session;

/// Makes the session send each request, and the library's repetitions of it, in all ways of the
/// plan; answers through any of them belong to the one request. One session of a process at a time.
void snmp_send_everywhere(snmp_session *session, const egress_plan &plan);
