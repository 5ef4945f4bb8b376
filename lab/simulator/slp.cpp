// The simulated devices' SLP side: service agents and directory agents, over IPv4.
#include "simulator/slp.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "io/wait.h"
#include "simulator/send_queue.h"
#include "simulator/slp_message.h"
#include "simulator/tcp.h"
#include "simulator/text.h"

constexpr uint32_t SLP_GROUP = 0xEFFFFFFD; // 239.255.255.253
constexpr long DEFAULT_MTU = 1400;         // bytes of a message
constexpr size_t NO_LIMIT = SIZE_MAX;
constexpr std::string_view PRINTER_TYPE = "service:printer";
constexpr std::string_view AGENT_TYPE = "service:directory-agent";

enum slp_transport { OVER_UDP, OVER_TCP };

int slp_join(const udp_socket &by)
{
    ip_mreqn group = {};
    group.imr_multiaddr.s_addr = htonl(SLP_GROUP);
    group.imr_ifindex = static_cast<int>(by.interface);
    return setsockopt(by.fd.fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group);
}

static std::vector<std::string> scopes_of(const device &one)
{
    return text_split_list(device_text(one, "slp.scopes", "default"));
}

static bool have_common_scope(const std::vector<std::string> &scopes,
                              const std::vector<std::string> &others)
{
    for (const std::string &scope : scopes) {
        for (const std::string &other : others) {
            if (text_equal_ignoring_case(scope, other))
                return true;
        }
    }
    return false;
}

static bool shares_scope(const device &one, const slp_request &request)
{
    return have_common_scope(scopes_of(one), request.scopes);
}

// Whether a device has registered with a directory agent: with all of them unless it says in which
// scopes.
static bool is_registered(const device &one, const device &agent)
{
    return !device_has(one, "slp.da.scopes") ||
           have_common_scope(text_split_list(device_text(one, "slp.da.scopes")), scopes_of(agent));
}

static bool is_known_responder(const device &one, const slp_request &request)
{
    return std::find(request.responders.begin(), request.responders.end(), ipv4_text(one.ipv4)) !=
           request.responders.end();
}

// Adds the URLs of a key that fit the service type: all of them for printers, whatever they are,
// else those of that type.
static void add_urls(const device &one, std::string_view key, const std::string &type,
                     std::vector<std::string> &urls)
{
    const auto found = one.values.find(key);
    if (found == one.values.end())
        return;
    for (const std::string &url : found->second) {
        if (text_equal_ignoring_case(type, PRINTER_TYPE) ||
            text_equal_ignoring_case(url.substr(0, type.size() + 1), type + ":"))
            urls.push_back(url);
    }
}

// An answer with all that the device's keys say about any answer of its own.
static slp_answer begin_answer(const device &one, const slp_request &request)
{
    slp_answer answer;
    answer.header.xid = request.header.xid;
    answer.header.language = request.header.language;
    answer.lie = device_text(one, "slp.lie");
    if (answer.lie == "overflow")
        answer.header.flags |= WIRE_OVERFLOW;
    if (answer.lie == "error")
        answer.error = SLP_ERROR_PARSE;
    return answer;
}

static size_t size_limit(const device &one, slp_transport transport)
{
    return transport == OVER_TCP ? NO_LIMIT
                                 : static_cast<size_t>(device_number(one, "slp.mtu", DEFAULT_MTU));
}

// The reply of a service agent, empty where it keeps silent.
static std::string service_agent_reply(const device &one, const slp_request &request,
                                       slp_transport transport)
{
    if (!shares_scope(one, request) || text_equal_ignoring_case(request.type, AGENT_TYPE))
        return "";
    if (device_has(one, "slp.raw")) {
        const std::string bytes = device_bytes(one, "slp.raw");
        return bytes.size() < XID_FIELD.at + XID_FIELD.width
                   ? bytes
                   : wire_with(bytes, XID_FIELD, request.header.xid);
    }
    slp_answer answer = begin_answer(one, request);
    add_urls(one, "slp.url", request.type, answer.urls);
    if (transport == OVER_TCP)
        answer.header.flags = 0;
    return answer.urls.empty() ? "" : slp_build_reply(answer, size_limit(one, transport));
}

// The answer of a directory agent, empty where it keeps silent.
static std::string directory_agent_reply(const fleet &devices, const device &one,
                                         const slp_request &request, slp_transport transport,
                                         bool to_all)
{
    slp_answer answer = begin_answer(one, request);
    if (text_equal_ignoring_case(request.type, AGENT_TYPE)) {
        if (to_all && device_has(one, "slp.da.hidden"))
            return "";
        answer.urls = {std::string(AGENT_TYPE) + "://" + ipv4_text(one.ipv4)};
        return slp_build_advert(answer, device_text(one, "slp.scopes", "default"));
    }
    if (to_all || device_has(one, "slp.da.silent"))
        return "";
    if (!shares_scope(one, request))
        answer.error = SLP_ERROR_SCOPE_NOT_SUPPORTED;
    answer.error = static_cast<uint16_t>(device_number(one, "slp.da.error", answer.error));
    if (transport == OVER_UDP && device_has(one, "slp.da.overflow")) {
        answer.header.flags |= WIRE_OVERFLOW;
    } else if (answer.error == 0 || answer.lie == "error") {
        for (const device &other : devices.devices) {
            if (is_registered(other, one))
                add_urls(other, "slp.da.url", request.type, answer.urls);
        }
        add_urls(one, "slp.url", request.type, answer.urls);
    }
    if (transport == OVER_TCP)
        answer.header.flags = 0;
    return slp_build_reply(answer, size_limit(one, transport));
}

static std::string agent_reply(const fleet &devices, const device &one, const slp_request &request,
                               slp_transport transport, bool to_all)
{
    if (is_known_responder(one, request))
        return "";
    if (device_has(one, "slp.da"))
        return directory_agent_reply(devices, one, request, transport, to_all);
    return service_agent_reply(one, request, transport);
}

void slp_answer_request(const fleet &devices, const udp_socket &by, const datagram &request)
{
    slp_request read;
    if (slp_read_request(request.bytes, read) != 0)
        return;
    const bool to_all = udp_was_sent_to_all(request);
    for (const asked_device &asked : udp_asked_devices(devices, request)) {
        const device &one = devices.devices[asked.index];
        const std::string reply = agent_reply(devices, one, read, OVER_UDP, to_all);
        if (reply.empty())
            continue;
        const int64_t delay = device_number(one, "slp.delay", 0) * MICROSECONDS_PER_MILLISECOND;
        const long copies = device_number(one, "slp.repeat", 1);
        for (long copy = 0; copy < copies; ++copy)
            send_queue_add(by, asked.from, request.source, reply, delay);
    }
}

// Answers the request on a connection once it is there in full.
static void answer_connection(const fleet &devices, tcp_connection &connection)
{
    const size_t length = slp_stated_length(connection.received);
    if (length == 0 || connection.received.size() < length)
        return;
    slp_request read;
    const int outcome =
        slp_read_request(std::string_view(connection.received).substr(0, length), read);
    connection.received.erase(0, length);
    if (outcome != 0) {
        tcp_close(connection);
        return;
    }
    const device &one = devices.devices[connection.device];
    const std::string reply = agent_reply(devices, one, read, OVER_TCP, false);
    if (device_has(one, "slp.da.tcp")) {
        tcp_send(connection, std::string_view(reply).substr(0, reply.size() / 2), 0);
        tcp_close(connection);
        return;
    }
    const long delay = device_number(one, "slp.tcp.delay", device_number(one, "slp.delay", 0));
    tcp_send(connection, reply, delay * MICROSECONDS_PER_MILLISECOND);
}

constexpr tcp_protocol SLP_TCP = {"slp-tcp", "slp-tcp-connect", nullptr, answer_connection};

int slp_listen(const fleet &devices)
{
    for (size_t index = 0; index < devices.devices.size(); ++index) {
        const device &one = devices.devices[index];
        const bool listens = device_has(one, "slp.tcp") || device_has(one, "slp.da");
        if (!listens || one.unreachable || !one.has_ipv4)
            continue;
        if (tcp_listen(SLP_TCP, index, endpoint_of_ipv4(one.ipv4), SLP_PORT) != 0) {
            fprintf(stderr, "simulator: TCP port %d: %s\n", SLP_PORT, strerror(errno));
            return -1;
        }
    }
    return 0;
}
