// What is made of SNMP answers before the text rules: values, addresses, collection.
#include "capture.h"
#include "io/wait.h"
#include "log/log.h"
#include "scratch.h"
#include "snmp/collect.h"
#include "snmp/description_query.h"
#include "snmp/peer.h"
#include "snmp/snmp_discovery.h"
#include "snmp/snmp_session.h"
#include "snmp/timeval.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <vector>

namespace
{

netsnmp_variable_list variable_of(u_char type, const std::string &bytes)
{
    static oid name[MAX_SUBIDENTIFIERS];
    netsnmp_variable_list variable = {};
    variable.name = name;
    variable.name_length = parse_oid_text(IDENTIFICATION_OID, name);
    variable.type = type;
    variable.val.string = reinterpret_cast<u_char *>(const_cast<char *>(bytes.data()));
    variable.val_len = bytes.size();
    return variable;
}

std::string value_text(u_char type, const std::string &bytes, size_t size = 1024)
{
    const netsnmp_variable_list variable = variable_of(type, bytes);
    std::vector<char> text(size, '?');
    snmp_value_text(&variable, text.data(), size);
    return text.data();
}

/// An answer's transport data, as a UDP transport leaves it with the PDU.
netsnmp_indexed_addr_pair address_pair(const char *local, const char *peer)
{
    netsnmp_indexed_addr_pair pair = {};
    const auto set = [](netsnmp_sockaddr_storage *address, const char *text) {
        const bool ipv6 = strchr(text, ':') != nullptr;
        address->sa.sa_family = ipv6 ? AF_INET6 : AF_INET;
        if (ipv6)
            inet_pton(AF_INET6, text, &address->sin6.sin6_addr);
        else
            inet_pton(AF_INET, text, &address->sin.sin_addr);
        address->sin6.sin6_scope_id = ipv6 ? 7 : 0;
    };
    set(&pair.local_addr, local);
    set(&pair.remote_addr, peer);
    return pair;
}

/// The time that a log shows last under a name, in microseconds.
int64_t traced_us(const std::string &log, const std::string &name)
{
    const std::string label = ":\t" + name + ": ";
    const size_t found = log.rfind(label);
    if (found == std::string::npos)
        return -1;
    std::istringstream words(log.substr(found + label.size()));
    int64_t seconds = 0;
    int64_t microseconds = 0;
    std::string unit;
    words >> seconds >> unit >> microseconds;
    return seconds * MICROSECONDS_PER_SECOND + microseconds;
}

} // namespace

TEST(Timeval, SubtractsWithBorrow)
{
    const struct {
        struct timeval from;
        struct timeval to;
        int result;
        struct timeval difference;
    } cases[] = {
        {{1, 900000}, {3, 100000}, 0, {1, 200000}},
        {{1, 5}, {1, 5}, 0, {0, 0}},
        {{0, 2500000}, {3, 1700000}, 0, {2, 200000}},
        {{1, 1}, {1, 0}, -1, {7, 7}},
        {{2, 0}, {1, 999999}, -1, {7, 7}},
    };
    for (const auto &c : cases) {
        struct timeval difference = {7, 7};
        EXPECT_EQ(timeval_subtract(&c.from, &c.to, &difference), c.result);
        EXPECT_EQ(difference.tv_sec, c.difference.tv_sec);
        EXPECT_EQ(difference.tv_usec, c.difference.tv_usec);
        EXPECT_EQ(timeval_subtract(&c.from, &c.to, nullptr), c.result);
    }
    EXPECT_EQ(timeval_subtract(nullptr, &cases[0].to, nullptr), -1);
}

TEST(SnmpValue, IsTheBareTextOfWhatIsThere)
{
    snmp_set_up_library("devscout_test");
    const std::string sixty_two(62, 'm');
    const struct {
        u_char type;
        std::string bytes;
        size_t size;
        std::string text;
    } cases[] = {
        {ASN_OCTET_STR, "MFG:Taliven;MDL:QD-X7", 1024, "MFG:Taliven;MDL:QD-X7"},
        {ASN_OCTET_STR, sixty_two, 64, sixty_two},
        {ASN_OCTET_STR, sixty_two + "12", 64, sixty_two + "1"},
        {ASN_OCTET_STR, "a\nb\tc", 64, "a\nb\tc"},
        {ASN_OCTET_STR, "a\"b", 64, "a\\\"b"},
        {ASN_OCTET_STR, "\"", 64, "\\\""},
        {ASN_OCTET_STR, "\xff\xff\xff\xff", 64, "FF FF FF FF "},
        {ASN_OCTET_STR, std::string(1024, 'x'), 1024, std::string(1023, 'x')},
        {ASN_OCTET_STR, std::string(64000, 'x'), 512, std::string(511, 'x')},
        {ASN_OCTET_STR, "", 64, ""},
        {ASN_NULL, "x", 64, ""},
        {SNMP_NOSUCHOBJECT, "x", 64, ""},
        {SNMP_NOSUCHINSTANCE, "x", 64, ""},
        {SNMP_ENDOFMIBVIEW, "x", 64, ""},
        {ASN_INTEGER, std::string("\x2a\0\0\0\0\0\0\0", 8), 64, "42"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(value_text(c.type, c.bytes, c.size), c.text) << int(c.type) << c.bytes;
    EXPECT_LT(value_text(ASN_OCTET_STR, std::string(64000, '\x01')).size(), 1024U);
}

TEST(SnmpPeer, StandsBehindTheArrowWithoutItsZone)
{
    const struct {
        const char *local;
        const char *peer;
        unsigned zone;
    } cases[] = {
        {"0.0.0.0", "10.9.1.1", 0}, {"::", "fe80::1:1", 7}, {"fe80::9:1", "2001:db8:9::5", 0}};
    for (const auto &c : cases) {
        netsnmp_indexed_addr_pair pair = address_pair(c.local, c.peer);
        netsnmp_pdu pdu = {};
        pdu.transport_data = &pair;
        pdu.transport_data_length = sizeof pair;
        char text[256];
        format_transport_address(nullptr, &pdu, text, sizeof text);
        char ip[IP_SIZE] = "";
        extract_peer_ip(ip, text, sizeof ip);
        EXPECT_STREQ(ip, c.peer) << text;
        EXPECT_EQ(peer_zone(&pdu), c.zone) << text;
        EXPECT_LT(std::string(text).find(c.local), std::string(text).find('>')) << text;

        // The IPv6 transport tells the peer alone.
        pdu.transport_data = &pair.remote_addr;
        pdu.transport_data_length = pair.remote_addr.sa.sa_family == AF_INET6
                                        ? sizeof pair.remote_addr.sin6
                                        : sizeof pair.remote_addr.sin;
        format_transport_address(nullptr, &pdu, text, sizeof text);
        extract_peer_ip(ip, text, sizeof ip);
        EXPECT_STREQ(ip, c.peer) << text;
        EXPECT_EQ(peer_zone(&pdu), c.zone) << text;
    }
}

TEST(SnmpPeer, IsTheBracketedTextBehindItsMark)
{
    const struct {
        const char *text;
        const char *ip;
    } cases[] = {
        {"UDP: [0.0.0.0]:38000->[10.9.1.1]:161", "10.9.1.1"},
        {"UDP/IPv6: [fe80::1]:161", "fe80::1"},
        {"UDP: [10.9.1.1]:161", "old"},
        {"->10.9.1.1", ""},
        {">[10.9.1.1", "10.9.1.1"},
        {">[0123456789]", "012345678"},
    };
    for (const auto &c : cases) {
        char ip[10] = "old";
        extract_peer_ip(ip, c.text, sizeof ip);
        EXPECT_STREQ(ip, c.ip) << c.text;
    }
}

TEST(DescriptionQuery, SortsAnswersByTheirObject)
{
    snmp_set_up_library("devscout_test");
    getdesc_answers answers = {};
    netsnmp_session *session = snmp_open_session("127.0.0.1:1", false, on_snmp_response, &answers);
    ASSERT_NE(session, nullptr);
    const auto answer = [&](const char *object, const std::string &value) {
        netsnmp_variable_list variable = variable_of(ASN_OCTET_STR, value);
        oid name[MAX_SUBIDENTIFIERS];
        variable.name_length = parse_oid_text(object, name);
        variable.name = name;
        netsnmp_pdu pdu = {};
        pdu.command = SNMP_MSG_RESPONSE;
        pdu.variables = &variable;
        printed_by([&] {
            on_snmp_response(NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE, session, 1, &pdu, &answers);
        });
    };
    answer(MODEL_NAME_OID, std::string(80, 'm'));
    answer(PRINTER_MIB_OID, "first");
    answer(PRINTER_MIB_OID, std::string(80, 'p'));
    answer("1.3.6.1.4.1.40981.11.5.1.1.1.7.0", "any other field");
    answer("1.3.6.1.4.1.40981.11", "too short");
    answer("1.3.6", "too short");
    answer("1.3.6.1.2.1.1.1.0", "another arc");
    EXPECT_EQ(answers.model_name_value, std::string(63, 'm'));
    EXPECT_EQ(answers.printer_mib_value, std::string(31, 'p'));
    EXPECT_STREQ(answers.device_id_value, "any other field");
    snmp_close(session);

    char dsc[DSC_SIZE] = "old";
    EXPECT_EQ(getdesc_netsnmp(nullptr, 96, "127.0.0.1"), -1);
    EXPECT_EQ(getdesc_netsnmp(dsc, 0, "127.0.0.1"), -1);
    const struct {
        const char *ip;
        std::string reason;
    } unasked[] = {
        {"::x", strerror(EINVAL)},
        {"fe80:1111:2222:3333:4444:5555:6666:7777%lo", "Address too long"},
    };
    for (const auto &c : unasked) {
        const std::string message = "# ERROR: snmp_open failed [getdesc], " + c.reason + "\n";
        EXPECT_EQ(printed_by([&] { EXPECT_EQ(getdesc_netsnmp(dsc, 96, c.ip), -2); }),
                  message + message);
        EXPECT_STREQ(dsc, "");
    }
}

TEST(Collection, EndsAfterAQuietBudgetThatEveryDatagramStartsAfresh)
{
    snmp_set_up_library("devscout_test");
    device_list devices = nullptr;
    discovery_context context = {&devices};
    const int peer = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(bind(peer, reinterpret_cast<struct sockaddr *>(&address), size), 0);
    getsockname(peer, reinterpret_cast<struct sockaddr *>(&address), &size);
    const std::string name = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    netsnmp_session *session = snmp_open_session(name.c_str(), false, discovery_response, &context);
    const char *const objects[] = {IDENTIFICATION_OID};
    ASSERT_NE(snmp_send_get(session, objects, 1), 0);
    char request[256];
    struct sockaddr_in source = {};
    ASSERT_GT(recvfrom(peer, request, sizeof request, 0,
                       reinterpret_cast<struct sockaddr *>(&source), &size),
              0);
    for (int i = 0; i < 3; ++i)
        sendto(peer, "garbage", 7, 0, reinterpret_cast<struct sockaddr *>(&source), size);
    EXPECT_EQ(sess_collect_responses(session, {0, 50000}), 3);
    const scratch_folder folder;
    const std::string path = folder.path / "collection.log";
    log_open_file(LOG_LEVEL_TRACE, path.c_str());
    EXPECT_EQ(sess_collect_responses(session, {0, 50000}), 0);
    log_close();
    const std::string log = content_of(path);
    EXPECT_GE(traced_us(log, "elapsed"), 50000);
    EXPECT_EQ(traced_us(log, "elapsed"), traced_us(log, "tv") - traced_us(log, "tv0"));
    snmp_close(session);
    EXPECT_EQ(devices, nullptr);
    close(peer);
}
