// Fuzzes the reader of service URLs. An input is URLs, a NUL behind each.
#include "printed_line.h"
#include "slp/slp_callback.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    device_list devices = nullptr;
    slp_search_cookie cookie = {&devices, 0};
    std::istringstream urls(std::string(reinterpret_cast<const char *>(data), size));
    for (std::string url; std::getline(urls, url, '\0');) {
        std::vector<char> text(url.c_str(), url.c_str() + url.size() + 1);
        MySLPSrvURLCallback(nullptr, text.data(), 0, SLP_OK, &cookie);
    }
    for (const std::string &line : printed([&] { print_devices(devices); }))
        require(line.find(" slp: ") <= sizeof "ip: 255.255.255.255", "a short address", line);
    carry_to_report(&devices, slot_of("slp"));
    return 0;
}
