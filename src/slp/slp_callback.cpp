// How the SLP library hands the printers' URLs over.
#include "slp/slp_callback.h"

#include "slp/slp_discovery.h"

namespace
{

/// Returns 0, or -1 when the URL is no printer's or no record could be had.
int record_printer(const char *url, const slp_search_cookie &search)
{
    device_record scratch = {};
    if (parse_slp_printer_url(url, &scratch) != 0)
        return -1;
    device_record *listed = device_list_find_or_add(search.list, scratch.ip, search.index);
    if (listed == nullptr)
        return -1;
    merge_slp_flags(listed, &scratch);
    return 0;
}

} // namespace

SLPBoolean MySLPSrvURLCallback(SLPHandle /*handle*/, const char *url, unsigned short /*lifetime*/,
                               SLPError code, void *cookie)
{
    auto *search = static_cast<slp_search_cookie *>(cookie);
    if (code != SLP_OK && code != SLP_LAST_CALL)
        search->result = code;
    else if (code == SLP_LAST_CALL || record_printer(url, *search) == 0)
        search->result = SLP_OK;
    return SLP_TRUE;
}
