// How the SLP library hands the printers' URLs over. Apart from slp_discovery.h, so that only
// those who call the library need its header.
#pragma once

#include "records/device_list.h"

#include <cstdint>
#include <slp.h>

/// Passed through the library to every callback.
struct slp_search_cookie {
    device_list *list; ///< where found printers are recorded
    int32_t result;    ///< SLP code of the search as reported to the callback, 0 at first
    address_index *index = nullptr; ///< of the list; none: it is walked for each URL
};

extern "C" {

/// Records the printer of one URL, or the code that ends the search, in the cookie. Always
/// returns SLP_TRUE: a URL that is no printer's does not end the search.
SLPBoolean MySLPSrvURLCallback(SLPHandle handle, const char *url, unsigned short lifetime,
                               SLPError code, void *cookie);
}
