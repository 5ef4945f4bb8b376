// What is made of SNMP answers before the text rules: values, addresses, collection.
#include "capture.h"
#include "io/resolve.h"
#include "io/socket.h"
#include "io/wait.h"
#include "log/log.h"
#include "records/device_list.h"
#include "scratch.h"
#include "snmp/collect.h"
#include "snmp/description_query.h"
#include "snmp/peer.h"
#include "snmp/snmp_session.h"
#include "snmp/timeval.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cstring>
#include <string>
#include <vector>

namespace
{

oid numbers[MAX_SUBIDENTIFIERS]; ///< of the object that a test looks at

netsnmp_variable_list variable_of(u_char type, const std::string &bytes)
{
    netsnmp_variable_list variable = {};
    variable.name = numbers;
    variable.name_length = parse_oid_text(IDENTIFICATION_OID, numbers);
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

/// The time that a log shows last under a name, in microseconds.
int64_t traced_us(const std::string &log, const std::string &name)
{
    const std::string label = ":\t" + name + ": ";
    const size_t seconds = log.rfind(label) + label.size();
    const size_t microseconds = log.find(" sec ", seconds) + strlen(" sec ");
    return std::stoll(log.substr(seconds)) * MICROSECONDS_PER_SECOND +
           std::stoll(log.substr(microseconds));
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
    }
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
        {ASN_OCTET_STR, "MFG:B\xc3\xbcro \"x\";", 64, "MFG:B\xc3\xbcro \"x\";"},
        {ASN_OCTET_STR, "B\xfcro", 64, "B\xfcro"},
        {ASN_OCTET_STR, "B\xc3\xbcro", 3, "B"},
        {ASN_OCTET_STR, "B\xc3\xbcro \x01", 64, "42 C3 BC 72 6F 20 01 "},
        {ASN_OCTET_STR, "B \x01", 64, "42 20 01 "},
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

TEST(SnmpPeer, IsTheDeviceThatWasAskedByItsWholeAddress)
{
    const auto address = [](const char *ip, in_port_t port) {
        netsnmp_sockaddr_storage made = {};
        if (read_ipv6(ip, &made.sin6) != 0)
            made.sin = ipv4_socket_address({inet_addr(ip)}, 0);
        made.sin.sin_port = htons(port);
        return made;
    };
    const struct {
        const char *ip;
        in_port_t port;
        const char *asked;
        bool same;
    } cases[] = {
        {"10.9.1.1", 161, "10.9.1.1", true},    {"10.9.1.1", 1161, "10.9.1.1", false},
        {"10.9.1.2", 161, "10.9.1.1", false},   {"fe80::1%2", 161, "fe80::1%2", true},
        {"fe80::1%3", 161, "fe80::1%2", false}, {"fe80::1%3", 161, "fe80::1", true},
        {"fe80::2%2", 161, "fe80::1%2", false}, {"fe80::1", 161, "10.9.1.1", false},
    };
    for (const auto &c : cases) {
        netsnmp_indexed_addr_pair data = {};
        data.remote_addr = address(c.ip, c.port);
        netsnmp_pdu pdu = {};
        pdu.transport_data = &data;
        pdu.transport_data_length = sizeof data;
        EXPECT_EQ(came_from(&pdu, address(c.asked, 161)), c.same) << c.ip << c.port;
    }
}

TEST(DescriptionQuery, SortsAnswersByTheirObject)
{
    snmp_set_up_library("devscout_test");
    getdesc_answers answers = {};
    const snmp_session_owner opened(
        snmp_open_session("127.0.0.1:1", false, on_snmp_response, &answers));
    ASSERT_NE(opened.session, nullptr);
    const std::string x80(80, 'x');
    const struct {
        const char *object;
        std::string value;
    } received[] = {
        {MODEL_NAME_OID, x80},
        {PRINTER_MIB_OID, "first"},
        {PRINTER_MIB_OID, x80},
        {"1.3.6.1.4.1.40981.11.5.1.1.1.7.0", "any other field"},
        {"1.3.6.1.4.1.40981.11", "too short"},
        {"1.3.6", "too short"},
        {"1.3.6.1.2.1.1.1.0", "another arc"},
    };
    for (const auto &r : received) {
        netsnmp_variable_list variable = variable_of(ASN_OCTET_STR, r.value);
        variable.name_length = parse_oid_text(r.object, numbers);
        netsnmp_pdu pdu = {};
        pdu.command = SNMP_MSG_RESPONSE;
        pdu.variables = &variable;
        on_snmp_response(NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE, opened.session, 1, &pdu, &answers);
    }
    EXPECT_EQ(answers.model_name_value, x80.substr(0, 63));
    EXPECT_EQ(answers.printer_mib_value, x80.substr(0, 31));
    EXPECT_STREQ(answers.device_id_value, "any other field");

    char dsc[DSC_SIZE] = "old";
    EXPECT_EQ(getdesc_netsnmp(nullptr, 96, "127.0.0.1"), -1);
    EXPECT_EQ(getdesc_netsnmp(dsc, 0, "127.0.0.1"), -1);
    const std::string error = "# ERROR: snmp_open failed [getdesc], ";
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(getdesc_netsnmp(dsc, 96, "::x"), -2); }),
              error + "Invalid argument\n" + error + "Invalid argument\n");
    EXPECT_STREQ(dsc, "");
    const char *const long_address = "fe80:1111:2222:3333:4444:5555:6666:7777%lo";
    EXPECT_EQ(printed_by([&] { EXPECT_EQ(getdesc_netsnmp(dsc, 96, long_address), -2); }),
              error + "Address too long\n" + error + "Address too long\n");
}

TEST(Collection, EndsAfterTheBudgetAndTracesWhatItMeasured)
{
    snmp_set_up_library("devscout_test");
    const snmp_session_owner opened(snmp_open_session("127.0.0.1:1", false, nullptr, nullptr));
    const scratch_folder folder;
    const std::string path = folder.path / "collection.log";
    for (int i = 0; i < 10; ++i) { // another clock shows the same microseconds now and then
        log_open_file(LOG_LEVEL_TRACE, path.c_str());
        EXPECT_EQ(sess_collect_responses(opened.session, {0, 5000}), 0);
        log_close();
        const std::string log = content_of(path);
        EXPECT_GE(traced_us(log, "elapsed"), 5000);
        EXPECT_EQ(traced_us(log, "elapsed"), traced_us(log, "tv") - traced_us(log, "tv0"));
    }
}
