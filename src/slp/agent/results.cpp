// What a search has found so far, and how it is handed to the caller.
#include "slp/agent/results.h"

#include <algorithm>

namespace
{

bool is_control(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7f;
}

bool is_usable(std::string_view url)
{
    return !url.empty() && std::none_of(url.begin(), url.end(), is_control);
}

} // namespace

bool slp_results_complete(const slp_results &results)
{
    return results.refused || results.seen.size() >= results.most;
}

void slp_results_add(slp_results *results, const slp_service_reply &reply)
{
    for (const slp_url_entry &entry : reply.urls) {
        if (slp_results_complete(*results))
            return;
        if (!is_usable(entry.url))
            continue;
        const auto [url, is_new] = results->seen.emplace(entry.url);
        if (is_new && results->callback(results->handle, url->c_str(), entry.lifetime, SLP_OK,
                                        results->cookie) == SLP_FALSE)
            results->refused = true;
    }
}
