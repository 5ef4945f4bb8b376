// The simulated devices' SNMP side: GET of three objects in versions 1 and 2c.
#include "simulator/snmp.h"

#include "io/wait.h"
#include "simulator/ber.h"
#include "simulator/send_queue.h"

constexpr int64_t VERSION_1 = 0;
constexpr int64_t VERSION_2C = 1;
constexpr uint8_t GET_REQUEST = 0xA0;
constexpr uint8_t GET_RESPONSE = 0xA2;
constexpr uint8_t NO_SUCH_OBJECT = 0x80;
constexpr int64_t ERROR_NO_SUCH_NAME = 2;
constexpr int64_t FLOOD_STEP_US = 100 * MICROSECONDS_PER_MILLISECOND;

struct object_rule {
    std::string_view key;  // in the fleet file
    std::string_view name; // the encoded object identifier
};

using namespace std::string_view_literals;
constexpr object_rule OBJECTS[] = {
    // 1.3.6.1.4.1.40981.11.5.1.1.1.26.0, the identification string
    {"id", "\x2b\x06\x01\x04\x01\x82\xc0\x15\x0b\x05\x01\x01\x01\x1a\x00"sv},
    // 1.3.6.1.4.1.40981.11.5.1.1.1.1.0, the model name
    {"model", "\x2b\x06\x01\x04\x01\x82\xc0\x15\x0b\x05\x01\x01\x01\x01\x00"sv},
    // 1.3.6.1.2.1.43.5.1.1.5.1, of the Printer MIB
    {"mib", "\x2b\x06\x01\x02\x01\x2b\x05\x01\x01\x05\x01"sv},
};

struct snmp_request {
    int64_t version = 0;
    std::string_view community;
    int64_t id = 0;
    std::vector<std::string_view> names; // encoded object identifiers
};

// Reads a GET request. The texts in `read` point into `bytes`.
static int read_request(std::string_view bytes, snmp_request &read)
{
    std::string_view message, pdu, variables, variable, name;
    int64_t unused = 0;
    if (ber_take_tagged(bytes, BER_SEQUENCE, message) != 0 ||
        ber_take_integer(message, read.version) != 0 ||
        (read.version != VERSION_1 && read.version != VERSION_2C) ||
        ber_take_tagged(message, BER_OCTET_STRING, read.community) != 0 ||
        ber_take_tagged(message, GET_REQUEST, pdu) != 0 || ber_take_integer(pdu, read.id) != 0 ||
        ber_take_integer(pdu, unused) != 0 || ber_take_integer(pdu, unused) != 0 ||
        ber_take_tagged(pdu, BER_SEQUENCE, variables) != 0)
        return -1;
    while (!variables.empty()) {
        if (ber_take_tagged(variables, BER_SEQUENCE, variable) != 0 ||
            ber_take_tagged(variable, BER_OBJECT_ID, name) != 0)
            return -1;
        read.names.push_back(name);
    }
    return 0;
}

// The encoded value that the device gives for an object, empty where it has none. `then` asks for
// the second, other answer.
static std::string object_value(const device &one, std::string_view name, bool to_all, bool then)
{
    for (const object_rule &object : OBJECTS) {
        if (object.name != name)
            continue;
        const std::string key(object.key);
        const std::string query_key = "query." + key;
        const bool own_answer = !to_all && device_has(one, query_key);
        if (!to_all && device_has(one, query_key + ".absent"))
            return "";
        if (!own_answer && device_has(one, key + ".int"))
            return ber_encode_integer(device_number(one, key + ".int", 0));
        if (!own_answer && !device_has(one, key) && !device_has(one, key + ".fill"))
            return "";
        std::string text = device_text(one, own_answer ? query_key : key);
        const auto width = static_cast<size_t>(device_number(one, key + ".fill", 0));
        if (!own_answer && text.size() < width)
            text.resize(width, 'x');
        return ber_encode(BER_OCTET_STRING, then ? device_text(one, "snmp.then") : text);
    }
    return "";
}

static std::string build_answer(const device &one, const snmp_request &request, bool to_all,
                                bool then)
{
    int64_t error = device_number(one, "snmp.error", 0);
    int64_t error_index = error != 0 ? 1 : 0;
    std::vector<std::string> values;
    for (const std::string_view name : request.names) {
        values.push_back(object_value(one, name, to_all, then));
        if (!values.back().empty())
            continue;
        if (request.version == VERSION_2C)
            values.back() = ber_encode(NO_SUCH_OBJECT, "");
        else if (error == 0) {
            error = ERROR_NO_SUCH_NAME;
            error_index = static_cast<int64_t>(values.size());
        }
    }
    std::string variables;
    for (size_t i = 0; i < values.size(); ++i) {
        // an answer with an error gives the request's variables back; one that the fleet file asks
        // for holds the values, so that taking it for a good one shows
        const bool given_back = error != 0 && !device_has(one, "snmp.error");
        const std::string value =
            given_back || values[i].empty() ? ber_encode(BER_NULL, "") : values[i];
        variables += ber_encode(BER_SEQUENCE, ber_encode(BER_OBJECT_ID, request.names[i]) + value);
    }
    const int64_t id = request.id + (device_has(one, "snmp.reqid") ? 1 : 0);
    const std::string pdu = ber_encode_integer(id) + ber_encode_integer(error) +
                            ber_encode_integer(error_index) + ber_encode(BER_SEQUENCE, variables);
    return ber_encode(BER_SEQUENCE, ber_encode_integer(request.version) +
                                        ber_encode(BER_OCTET_STRING, request.community) +
                                        ber_encode(GET_RESPONSE, pdu));
}

static bool speaks_snmp(const device &one, bool to_all)
{
    const std::string on = device_text(one, "snmp.on", "both");
    return (device_has_any(one, "snmp") || device_has_any(one, "id") ||
            device_has_any(one, "model") || device_has_any(one, "mib") ||
            device_has_any(one, "query")) &&
           (on == "both" || (on == "broadcast") == to_all);
}

// Sends the answers of one device: repeated, then the other one, then for as long as it floods.
static void send_answers(const udp_socket &by, const datagram &request, const asked_device &asked,
                         const device &one, const std::string &answer, const std::string &other)
{
    const int64_t delay = device_number(one, "snmp.delay", 0) * MICROSECONDS_PER_MILLISECOND;
    const long copies = device_number(one, "snmp.repeat", 1);
    for (long copy = 0; copy < copies; ++copy)
        send_queue_add(by, asked.from, request.source, answer, delay);
    if (!other.empty())
        send_queue_add(by, asked.from, request.source, other, delay);
    const int64_t flood = device_number(one, "snmp.flood", 0) * MICROSECONDS_PER_MILLISECOND;
    for (int64_t later = FLOOD_STEP_US; later <= flood; later += FLOOD_STEP_US)
        send_queue_add(by, asked.from, request.source, answer, delay + later);
}

void snmp_answer_request(const fleet &devices, const udp_socket &by, const datagram &request)
{
    snmp_request read;
    if (read_request(request.bytes, read) != 0)
        return;
    const bool to_all = udp_was_sent_to_all(request);
    for (const asked_device &asked : udp_asked_devices(devices, request)) {
        const device &one = devices.devices[asked.index];
        if (!speaks_snmp(one, to_all) ||
            device_text(one, "snmp.community", "vesper") != read.community)
            continue;
        const std::string answer = device_has(one, "snmp.raw")
                                       ? device_bytes(one, "snmp.raw")
                                       : build_answer(one, read, to_all, false);
        std::string other;
        if (device_has(one, "snmp.then"))
            other = build_answer(one, read, to_all, true);
        send_answers(by, request, asked, one, answer, other);
    }
}
