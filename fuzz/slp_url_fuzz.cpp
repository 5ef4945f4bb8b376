// Fuzzes the reader of service URLs. An input is URLs, a NUL behind each.
#include "printed_line.h"
#include "slp/slp_callback.h"

#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr int SLP_SLOT = 2;
    device_list devices = nullptr;
    slp_search_cookie cookie = {&devices, 0};
    const std::string urls(reinterpret_cast<const char *>(data), size);
    for (size_t at = 0; at <= size; at = urls.find('\0', at) + 1) {
        const std::string url(urls.c_str() + at);
        MySLPSrvURLCallback(nullptr, url.c_str(), 0, SLP_OK, &cookie);
        if (at + url.size() >= size)
            break;
    }
    for (const list_node *node = devices; node != nullptr; node = node->next) {
        const char *ip = static_cast<const device_record *>(node->data)->ip;
        require(strlen(ip) <= strlen("255.255.255.255"), "a short address", ip);
    }
    carry_to_report(&devices, SLP_SLOT);
    return 0;
}
