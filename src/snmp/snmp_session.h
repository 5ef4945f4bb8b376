// What discovery and description query share of the SNMP library: set-up, objects, sessions and
// the text of a value.
#pragma once

#include "io/egress.h"

#include <net-snmp/net-snmp-config.h>
// The library's configuration header comes first.
#include <net-snmp/library/large_fd_set.h>
#include <net-snmp/net-snmp-includes.h>

#include <cstddef>
#include <cstdlib>
#include <memory>

/// The device's identification string, keys and values in the manner of IEEE 1284.
constexpr char IDENTIFICATION_OID[] = "1.3.6.1.4.1.40981.11.5.1.1.1.26.0";
constexpr size_t IDENTIFICATION_SIZE = 1024; ///< what discovery reads of it
constexpr char MODEL_NAME_OID[] = "1.3.6.1.4.1.40981.11.5.1.1.1.1.0";
/// Printer MIB (RFC 3805), general table, column 5 of printer 1.
constexpr char PRINTER_MIB_OID[] = "1.3.6.1.2.1.43.5.1.1.5.1";

constexpr size_t MAX_SUBIDENTIFIERS = 128;

/// Sets the library up under `application`: no log, no MIB files, values printed bare, and
/// texts compared in the C locale.
void snmp_set_up_library(const char *application);

/// Reads a dotted-decimal object identifier into at most MAX_SUBIDENTIFIERS numbers. Returns
/// their count.
size_t parse_oid_text(const char *text, oid (&numbers)[MAX_SUBIDENTIFIERS]);

/// Opens a session to `peer` with the process's community; an IPv6 peer is asked by SNMPv2c, any
/// other by SNMPv1. The library calls `callback` with `context` for each answer. Its own handling
/// of time-outs repeats a request up to `repetitions` times, where that is not 0, each time as the
/// last one is `repeat_us` microseconds old. Returns the session, which the caller closes with
/// `snmp_close`, or nullptr (`errno`).
netsnmp_session *snmp_open_session(const char *peer, bool ipv6, netsnmp_callback callback,
                                   void *context, int repetitions = 0, int64_t repeat_us = 0);

/// Returns what the session sends and receives by, its socket among it, or nullptr.
netsnmp_transport *snmp_transport_of(netsnmp_session *session);

/// Returns where the transport sends to; the family is AF_UNSPEC where it does not tell.
struct sockaddr_storage snmp_target_of(const netsnmp_transport &transport);

/// Makes the session send each request, and the library's repetitions of it, in all ways of the
/// plan; answers through any of them belong to the one request. One session of a process at a time.
void snmp_send_everywhere(netsnmp_session *session, const egress_plan &plan);

/// Dumps each datagram that the session receives into a log of level 3 and above: what a report of
/// a device that is not recognised needs. One session of a process at a time.
void snmp_dump_datagrams(netsnmp_session *session);

/// Frees a text of the library, or one that is made for it, by `free`.
struct library_text_deleter {
    void operator()(char *text) const
    {
        free(text);
    }
};
using library_text = std::unique_ptr<char, library_text_deleter>;

/// Closes its session with itself.
struct snmp_session_owner {
    netsnmp_session *session;

    explicit snmp_session_owner(netsnmp_session *owned) : session(owned) {}
    snmp_session_owner(const snmp_session_owner &) = delete;
    snmp_session_owner &operator=(const snmp_session_owner &) = delete;
    ~snmp_session_owner()
    {
        if (session != nullptr)
            snmp_close(session);
    }
};

/// A set of descriptors of any number, as the library's calls fill and read it.
struct snmp_descriptor_set {
    netsnmp_large_fd_set set = {};

    snmp_descriptor_set()
    {
        netsnmp_large_fd_set_init(&set, FD_SETSIZE);
    }
    snmp_descriptor_set(const snmp_descriptor_set &) = delete;
    snmp_descriptor_set &operator=(const snmp_descriptor_set &) = delete;
    ~snmp_descriptor_set()
    {
        netsnmp_large_fd_set_cleanup(&set);
    }

    void clear()
    {
        NETSNMP_LARGE_FD_ZERO(&set);
    }
};

/// Reads one datagram of the session's socket, which has one, and calls back for an answer. Returns
/// false where the library has no memory to read it into: it is thrown away then, since what is not
/// read would show on the socket for ever.
bool snmp_read_datagram(netsnmp_session *session, snmp_descriptor_set *shown);

/// Reads what has arrived, as far as a thousand datagrams go: no flood keeps the caller from its
/// deadlines.
void snmp_read_arrived(netsnmp_session *session);

/// Makes a GET for the given objects. Returns nullptr where there is no memory for it.
netsnmp_pdu *snmp_make_get(const char *const *oid_texts, size_t count);

/// Sends one GET for the given objects. Returns nonzero, or 0 when it cannot be sent (`errno`).
int snmp_send_get(netsnmp_session *session, const char *const *oid_texts, size_t count);

/// Whether the answer says that there is no such object: one of SNMPv2's marks stands for it.
bool snmp_is_absent(const netsnmp_variable_list *variable);

/// Prints the variable's value, without the quotes that enclose a string, into `text`, cut to
/// `size` - 1 characters and always terminated. A text with characters outside ASCII is taken as
/// it is; other octets that do not print are hexadecimal pairs. A value that is not there (null, of
/// no length, or absent) is an empty text.
void snmp_value_text(const netsnmp_variable_list *variable, char *text, size_t size);
