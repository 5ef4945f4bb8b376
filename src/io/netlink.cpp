// Single questions to the kernel about routes and interfaces.
#include "io/netlink.h"

#include "io/stream.h"

#include <cstring>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>

namespace
{

constexpr int ANSWER_WAIT_MS = 100; // it is there at once
constexpr size_t ANSWER_SIZE = 32768;

struct route_question {
    struct nlmsghdr header;
    struct rtmsg route;
    struct rtattr destination;
    struct in_addr address;
};

struct link_question {
    struct nlmsghdr header;
    struct ifinfomsg link;
};

/// Finds an attribute that holds a 32-bit number among `length` bytes of them, or returns 0.
uint32_t find_number(const char *attributes, size_t length, unsigned short type)
{
    struct rtattr attribute = {};
    while (length >= sizeof attribute) {
        memcpy(&attribute, attributes, sizeof attribute);
        if (attribute.rta_len < sizeof attribute || attribute.rta_len > length)
            return 0;
        uint32_t number = 0;
        if (attribute.rta_type == type && attribute.rta_len >= RTA_LENGTH(sizeof number)) {
            memcpy(&number, attributes + RTA_LENGTH(0), sizeof number);
            return number;
        }
        const size_t step = RTA_ALIGN(attribute.rta_len);
        if (step >= length)
            return 0;
        attributes += step;
        length -= step;
    }
    return 0;
}

/// Sends one question of `size` bytes and returns the number in the answer's attribute `type`,
/// which follows a header of `header_size` bytes; 0 when there is none.
uint32_t ask(const struct nlmsghdr *question, size_t size, size_t header_size, unsigned short type)
{
    const descriptor kernel(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    struct pollfd waited = {kernel.fd, POLLIN, 0};
    // Not `wait_for`: a parent asks too, and does not end because nobody reads its output.
    if (kernel.fd < 0 || send(kernel.fd, question, size, 0) < 0 ||
        poll(&waited, 1, ANSWER_WAIT_MS) <= 0)
        return 0;
    char answer[ANSWER_SIZE];
    const ssize_t received = recv(kernel.fd, answer, sizeof answer, MSG_DONTWAIT);
    struct nlmsghdr header = {};
    const size_t offset = NLMSG_SPACE(header_size);
    if (received < static_cast<ssize_t>(offset))
        return 0;
    memcpy(&header, answer, sizeof header);
    // A refusal has a type of its own.
    if (header.nlmsg_len > static_cast<size_t>(received) || header.nlmsg_len < offset ||
        header.nlmsg_type == NLMSG_ERROR)
        return 0;
    return find_number(answer + offset, header.nlmsg_len - offset, type);
}

} // namespace

unsigned route_interface(struct in_addr destination)
{
    route_question question = {};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = RTM_GETROUTE;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.route.rtm_family = AF_INET;
    question.route.rtm_dst_len = 8 * sizeof question.address;
    question.destination.rta_type = RTA_DST;
    question.destination.rta_len = RTA_LENGTH(sizeof question.address);
    question.address = destination;
    return ask(&question.header, sizeof question, sizeof question.route, RTA_OIF);
}

unsigned master_interface(unsigned interface)
{
    link_question question = {};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = RTM_GETLINK;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.link.ifi_index = static_cast<int>(interface);
    return ask(&question.header, sizeof question, sizeof question.link, IFLA_MASTER);
}
