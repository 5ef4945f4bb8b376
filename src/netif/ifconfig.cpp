// The host's Ethernet interfaces, read from the output of "/sbin/ifconfig".
#include "netif/ifconfig.h"

#include "config/text.h"
#include "netif/line_reader.h"

#include <cctype>
#include <cstdio>
#include <cstring>

namespace
{

constexpr char FORMAT_MARKER[] = "Link encap:";
constexpr char ETHERNET_MARKER[] = "Link encap:Ethernet";
constexpr char INET6_MARKER[] = "inet6 addr: ";
constexpr char INET_MARKER[] = "inet addr:";
constexpr char BROADCAST_MARKER[] = "Bcast:";
constexpr char WHITE_SPACE[] = " \t\n\v\f\r";
constexpr char INET6_END[] = " \t\n\v\f\r/"; // the prefix length follows "/"

struct enumeration {
    ifconfig_parse_state parse;
    int known_format; ///< 1 once a line of the "Link encap:" format was seen
};

int read_enumeration_line(const char *line, void *context)
{
    auto *state = static_cast<enumeration *>(context);
    if (strstr(line, FORMAT_MARKER) != nullptr)
        state->known_format = 1;
    return parse_ifconfig_line(line, &state->parse);
}

/// Copies `text` up to the first of `ends`, cut to `size` - 1 characters.
void copy_until(const char *text, const char *ends, char *output, size_t size)
{
    copy_part(output, text, strcspn(text, ends), size);
}

void read_header_line(const char *line, ifconfig_parse_state *state)
{
    state->in_ethernet_block = 0;
    if (strstr(line, ETHERNET_MARKER) == nullptr)
        return;
    char name[INTERFACE_NAME_SIZE];
    copy_until(line, WHITE_SPACE, name, sizeof name);
    state->current = add_interface(state->interfaces, name);
    state->in_ethernet_block = state->current != nullptr ? 1 : 0;
}

} // namespace

int enumerate_interfaces_from(list_node **interfaces, const char *source)
{
    enumeration state = {{0, interfaces, nullptr}, 0};
    for_each_line(source, read_enumeration_line, &state);
    return state.known_format;
}

int parse_ifconfig_line(const char *line, void *context)
{
    auto *state = static_cast<ifconfig_parse_state *>(context);
    if (line[0] != '\0' && strchr(WHITE_SPACE, line[0]) == nullptr) {
        read_header_line(line, state);
        return 0;
    }
    netinterface_info *current = state->current;
    if (current == nullptr || state->in_ethernet_block == 0)
        return 0;
    if (const char *inet6 = strstr(line, INET6_MARKER)) {
        const char *address = inet6 + strlen(INET6_MARKER);
        copy_until(address, INET6_END, ipv6_field(current, address), INTERFACE_ADDRESS_SIZE);
    } else if (const char *inet = strstr(line, INET_MARKER)) {
        copy_until(inet + strlen(INET_MARKER), WHITE_SPACE, current->inet_addr,
                   sizeof current->inet_addr);
        if (const char *broadcast = strstr(line, BROADCAST_MARKER))
            copy_until(broadcast + strlen(BROADCAST_MARKER), WHITE_SPACE, current->bcast_addr,
                       sizeof current->bcast_addr);
    }
    return 0;
}
