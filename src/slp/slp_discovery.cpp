// Printers that announce themselves through the Service Location Protocol.
#include "slp/slp_discovery.h"

#include "config/interface_choice.h"
#include "config/text.h"
#include "slp/slp_callback.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace
{

constexpr char LANGUAGE[] = "en";
constexpr char PRINTER_TYPE[] = "service:printer";
constexpr char PRINTER_URL_PREFIX[] = "service:printer:";
constexpr char HOST_PREFIX[] = "://";
constexpr char HOST_END[] = ":/";    // the port or the path follows
constexpr size_t HOST_SIZE_MAX = 15; // the longest dotted IPv4 address

struct protocol_flag {
    const char *prefix;
    uint8_t device_record::*flag;
};

constexpr protocol_flag PROTOCOLS[] = {
    {"ipp", &device_record::slp_ipp},
    {"lpr", &device_record::slp_lpr},
    {"raw-tcp", &device_record::slp_raw_tcp},
};

/// Says why a search failed. Agents have codes for what went wrong, the system knows the reason.
void print_failure(int32_t code, int system_error)
{
    if (code == SLP_MEMORY_ALLOC_FAILED)
        system_error = ENOMEM;
    else if (code == SLP_BUFFER_OVERFLOW)
        system_error = EMSGSIZE;
    else if (code != SLP_NETWORK_INIT_FAILED && code != SLP_NETWORK_ERROR)
        return;
    printf("# ERROR: slp search failed, %s\n", strerror(system_error));
}

} // namespace

int32_t discover_using_slp(device_list *list)
{
    if (SLP_IS_AGENT == 0 && g_interface_name != nullptr) {
        fputs("devscout: this build's SLP cannot be confined to an interface and is left out\n",
              stderr);
        return SLP_OK;
    }
    static address_index index;
    index = {};
    // An index knows only what was added with it.
    slp_search_cookie cookie = {list, SLP_OK, *list == nullptr ? &index : nullptr};
    SLPHandle handle = nullptr;
    const SLPError opened = SLPOpen(LANGUAGE, SLP_FALSE, &handle);
    if (opened != SLP_OK) {
        printf("Error opening slp handle %i\n", static_cast<int>(opened));
        return opened;
    }
    errno = ENETUNREACH; // where the library leaves no reason
    const SLPError searched =
        SLPFindSrvs(handle, PRINTER_TYPE, nullptr, nullptr, MySLPSrvURLCallback, &cookie);
    const int32_t result = searched != SLP_OK ? static_cast<int32_t>(searched) : cookie.result;
    print_failure(result, errno);
    SLPClose(handle);
    return result;
}

int parse_slp_printer_url(const char *url, device_record *scratch)
{
    const char *prefix = url != nullptr ? strstr(url, PRINTER_URL_PREFIX) : nullptr;
    if (prefix == nullptr)
        return -1;
    const char *protocol = prefix + strlen(PRINTER_URL_PREFIX);
    for (const protocol_flag &known : PROTOCOLS)
        if (begins_with(protocol, known.prefix))
            scratch->*known.flag = 1;
    const char *separator = strstr(protocol, HOST_PREFIX);
    if (separator == nullptr)
        return -1;
    const char *host = separator + strlen(HOST_PREFIX);
    const size_t length = std::min(strcspn(host, HOST_END), HOST_SIZE_MAX);
    copy_part(scratch->ip, host, length, sizeof scratch->ip);
    return 0;
}

void merge_slp_flags(device_record *listed, const device_record *scratch)
{
    for (const protocol_flag &known : PROTOCOLS) {
        if (scratch->*known.flag == 0)
            continue;
        listed->*known.flag = 1;
        listed->slp_detected = 1;
    }
}
