// Fuzzes the reader of service URLs. An input is URLs, a NUL behind each.
#include "printed_line.h"
#include "slp/slp_callback.h"

#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    device_list devices = nullptr;
    slp_search_cookie cookie = {&devices, 0};
    std::istringstream urls(std::string(reinterpret_cast<const char *>(data), size));
    for (std::string url; std::getline(urls, url, '\0');) {
        std::vector<char> text(url.c_str(), url.c_str() + url.size() + 1);
        MySLPSrvURLCallback(nullptr, text.data(), 0, SLP_OK, &cookie);
    }
    for (const list_node *node = devices; node != nullptr; node = node->next) {
        const char *ip = static_cast<const device_record *>(node->data)->ip;
        require(strlen(ip) < sizeof "255.255.255.255", "a short address", ip);
    }
    carry_to_report(&devices, slot_of("slp"));
    return 0;
}
