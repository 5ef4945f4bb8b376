// SNMP discovery: one GET to everybody, and a record for every printer that answers.
#pragma once

#include "records/device_list.h"

struct snmp_session;
struct snmp_pdu;
struct variable_list;

/// What the callback of a discovery session is given.
struct discovery_context {
    device_list *devices;
    address_index *index = nullptr; ///< of `devices`
    size_t found = 0;               ///< records that were filled for the first time
};

/// Whether an identification says that the device scans.
bool is_scanner(const char *value);

/// Asks `target`, an IPv4 broadcast address or (beginning with "u") an IPv6 multicast peer name,
/// for the identification string and adds every printer that answers to the list; IPv6 addresses
/// are completed from the host's interfaces. The request leaves through all usable interfaces.
/// Failures are reported on standard output. Returns 0.
int discover_using_netsnmp(device_list *devices, const char *target);

/// The library's callback of the discovery session; `context` is a `discovery_context`. Returns 0
/// for a received answer, which keeps the request open for the next device's, else 1.
int discovery_response(int operation, snmp_session *session, int request_id, snmp_pdu *pdu,
                       void *context);

/// Logs one line per variable.
void trace_variables(const variable_list *variables);
