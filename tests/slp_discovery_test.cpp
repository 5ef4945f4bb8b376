// What is made of the SLP library's answers; the library's calls are played by the test.
#include "slp/slp_callback.h"
#include "slp/slp_discovery.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

struct played_call {
    const char *url;
    SLPError code = SLP_OK;
};

/// What the played library does.
struct played_library {
    std::vector<played_call> calls;
    SLPError find_code = SLP_OK;
    SLPError open_code = SLP_OK;
};

played_library library;

} // namespace

SLPError SLPOpen(const char * /*language*/, SLPBoolean /*is_async*/, SLPHandle *handle)
{
    *handle = &library;
    return library.open_code;
}

void SLPClose(SLPHandle handle)
{
    EXPECT_EQ(handle, &library);
}

SLPError SLPFindSrvs(SLPHandle handle, const char *type, const char * /*scopes*/,
                     const char * /*filter*/, SLPSrvURLCallback callback, void *cookie)
{
    EXPECT_STREQ(type, "service:printer");
    for (const played_call &call : library.calls)
        EXPECT_EQ(callback(handle, call.url, 300, call.code, cookie), SLP_TRUE);
    return library.find_code;
}

TEST(SlpDiscovery, UrlsBecomeRecordsAndTheLastFailureTheResult)
{
    const played_call url = {"service:printer:lpr://10.0.0.1"};
    const played_call failure = {nullptr, SLP_NETWORK_ERROR};
    const played_call last = {nullptr, SLP_LAST_CALL};
    const struct {
        played_library played;
        const char *discovered; ///< the result and the records, with their protocols
    } cases[] = {
        {{{{"service:printer:socket://b"},
           {"service:printer:lpr://a"},
           {"service:printer:lpr://b"}}},
         "0[b 1010][a 1010]"},
        {{{{nullptr}, {""}, {"service:printer"}, {"service:printer:lpr:/a"}}}, "0"},
        {{{{"x://y;service:printer:lpr:x://10.0.0.1"}}}, "0[10.0.0.1 1010]"},
        {{{{"service:printer:LPR://10.0.0.1"}}}, "0[10.0.0.1 0000]"},
        {{{{"service:printer:ipp://255.255.255.2550"}}}, "0[255.255.255.255 1100]"},
        {{{{"service:printer:ipp:///queue"}, {"service:printer:lpr://"}}}, "0[ 1110]"},
        {{{url, failure}}, "-23[10.0.0.1 1010]"},
        {{{failure, url, last}}, "0[10.0.0.1 1010]"},
        {{{failure, {"service:scanner:x://10.0.0.1"}}}, "-23"},
        {{{url, failure}, SLP_PARAMETER_BAD}, "-22[10.0.0.1 1010]"},
        {{{url}, SLP_OK, SLP_NETWORK_INIT_FAILED}, "-20"},
    };
    for (const auto &c : cases) {
        library = c.played;
        device_list list;
        list_init(&list);
        std::string text = std::to_string(discover_using_slp(&list));
        for (const list_node *node = list; node != nullptr; node = node->next) {
            const auto *record = static_cast<const device_record *>(node->data);
            text += "[" + std::string(record->ip) + " ";
            for (const int flag :
                 {record->slp_detected, record->slp_ipp, record->slp_lpr, record->slp_raw_tcp})
                text += std::to_string(flag);
            text += "]";
        }
        list_free(&list);
        EXPECT_EQ(text, c.discovered);
    }
}
