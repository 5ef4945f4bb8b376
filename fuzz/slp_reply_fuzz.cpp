// Fuzzes the readers of SLP replies and adverts, and the handing over of their URLs.
#include "slp/agent/message.h"
#include "slp/agent/service_search.h"

#include <cstdlib>
#include <cstring>

namespace
{

constexpr size_t XID_OFFSET = 10;
constexpr size_t MOST_URLS = 100;

/// A caller gets whole C texts that it can print.
SLPBoolean check_url(SLPHandle /*handle*/, const char *url, unsigned short /*lifetime*/,
                     SLPError /*code*/, void * /*cookie*/)
{
    if (*url == '\0' || strpbrk(url, "\r\n\t\x7f") != nullptr)
        abort();
    return SLP_TRUE;
}

bool lies_within(std::string_view text, const uint8_t *message, size_t size)
{
    const auto *first = reinterpret_cast<const uint8_t *>(text.data());
    return text.empty() || (first >= message && first + text.size() <= message + size);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *message, size_t size)
{
    // The number is the message's own, so that what follows the check is reached.
    uint16_t xid = 0;
    if (size >= XID_OFFSET + 2)
        xid = static_cast<uint16_t>(message[XID_OFFSET] << 8 | message[XID_OFFSET + 1]);

    slp_service_reply reply;
    if (slp_read_service_reply(message, size, xid, &reply) == 0) {
        if (reply.error_code != 0 && !reply.urls.empty())
            abort();
        for (const slp_url_entry &entry : reply.urls)
            if (!lies_within(entry.url, message, size))
                abort();
        slp_results results = {nullptr, check_url, nullptr, MOST_URLS, {}, false};
        slp_results_add(&results, reply, nullptr);
    }

    slp_da_advert advert;
    if (slp_read_da_advert(message, size, xid, &advert) == 0 &&
        (!lies_within(advert.url, message, size) || !lies_within(advert.scopes, message, size)))
        abort();
    return 0;
}
