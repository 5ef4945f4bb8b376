// Printers that announce themselves through the Service Location Protocol.
#include "slp/slp_discovery.h"

#include "config/text.h"
#include "slp/slp_callback.h"

#include <algorithm>
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

} // namespace

int32_t discover_using_slp(device_list *list)
{
    slp_search_cookie cookie = {list, SLP_OK};
    SLPHandle handle = nullptr;
    const SLPError opened = SLPOpen(LANGUAGE, SLP_FALSE, &handle);
    if (opened != SLP_OK) {
        printf("Error opening slp handle %i\n", static_cast<int>(opened));
        return opened;
    }
    const SLPError searched =
        SLPFindSrvs(handle, PRINTER_TYPE, nullptr, nullptr, MySLPSrvURLCallback, &cookie);
    const int32_t result = searched != SLP_OK ? static_cast<int32_t>(searched) : cookie.result;
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
