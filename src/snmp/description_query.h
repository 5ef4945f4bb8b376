// The description query: asks one device for the objects that describe it.
#pragma once

#include "io/wait.h"

#include <cstddef>

struct snmp_session;
struct snmp_pdu;

constexpr uint16_t SNMP_PORT = 161; ///< asked by UDP, probed by TCP: any answer shows the host
constexpr int64_t REQUEST_BUDGET_US = 200 * MICROSECONDS_PER_MILLISECOND;

/// Odd as it reads, this line is part of a description child's output, once for each answer.
constexpr char RESPONSE_LINE[] = "on_snmp_response - don't need it";

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
/// reported on standard output. Takes 200 ms for each of up to three requests.
int getdesc_netsnmp(char *output, int size, const char *ip);

/// Makes one request for one to three objects and fills `answers`. The last answer within 200 ms
/// counts. Failures are reported on standard output.
void getdesc_query(getdesc_answers *answers, const char *ip, const char *first_oid,
                   const char *second_oid = nullptr, const char *third_oid = nullptr);

/// Composes the description in `output` (`size` bytes): from the identification string where there
/// is one, else from model name and vendor.
void compose_answers(getdesc_answers *answers, char *output, size_t size);

/// The library's callback of the description session; `context` is a `getdesc_answers`. Returns 0
/// for a received answer, which keeps the request open for a later one, else 1.
int on_snmp_response(int operation, snmp_session *session, int request_id, snmp_pdu *pdu,
                     void *context);
