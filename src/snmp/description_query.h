// The description query: asks one device for the objects that describe it.
#pragma once

#include <cstddef>

struct snmp_session;
struct snmp_pdu;

constexpr size_t DEVICE_ID_SIZE = 512;
constexpr size_t MODEL_NAME_SIZE = 64;
constexpr size_t PRINTER_MIB_SIZE = 32;

/// What the latest request was answered with; an object without an answer is empty.
struct getdesc_answers {
    char device_id_value[DEVICE_ID_SIZE];
    char model_name_value[MODEL_NAME_SIZE];
    char printer_mib_value[PRINTER_MIB_SIZE];
};

/// Asks the device at `ip` and composes its description in `output` (`size` bytes), empty when
/// there is none. Returns 0, -1 without a buffer, -2 when the device names no model. Failures are
/// reported on standard output. Takes at most 200 ms for each of up to three requests, and with
/// `quick` no longer than until the answer.
int getdesc_netsnmp(char *output, int size, const char *ip, bool quick = false);

/// Makes one request for one to three objects and fills `answers`. The last answer within 200 ms
/// counts; with `quick` the first that completes the objects ends the request. Failures are
/// reported on standard output.
void getdesc_query(getdesc_answers *answers, const char *ip, bool quick, const char *first_oid,
                   const char *second_oid = nullptr, const char *third_oid = nullptr);

/// The library's callback of the description session; `context` is a `getdesc_answers`. Returns 0
/// for a received answer, which keeps the request open for a later one, else 1.
int on_snmp_response(int operation, snmp_session *session, int request_id, snmp_pdu *pdu,
                     void *context);
