// What is made of the SLP library's answers; the library's calls are played by the test.
#include "slp/slp_callback.h"
#include "slp/slp_discovery.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using namespace std::string_literals;

struct played_call {
    const char *url;
    SLPError code = SLP_OK;
};

/// What the played library does.
struct played_library {
    SLPError open_code;
    SLPError find_code;
    std::vector<played_call> calls;
};

played_library library;
std::string asked; // of the library

/// Runs a search and returns its result and the records that it leaves.
std::string discovered(const played_library &played)
{
    library = played;
    asked.clear();
    device_list list;
    list_init(&list);
    std::string text = std::to_string(discover_using_slp(&list)) + " ";
    for (const list_node *node = list; node != nullptr; node = node->next) {
        const auto *record = static_cast<const device_record *>(node->data);
        text += "[" + std::string(record->ip) + " " + std::to_string(record->slp_detected) +
                std::to_string(record->slp_ipp) + std::to_string(record->slp_lpr) +
                std::to_string(record->slp_raw_tcp) + "]";
    }
    list_free(&list);
    return text;
}

} // namespace

SLPError SLPOpen(const char *language, SLPBoolean is_async, SLPHandle *handle)
{
    asked += "open "s + language + (is_async ? " async, " : ", ");
    *handle = &library;
    return library.open_code;
}

void SLPClose(SLPHandle handle)
{
    asked += handle == &library ? "close, " : "close of another handle, ";
}

SLPError SLPFindSrvs(SLPHandle handle, const char *type, const char *scopes, const char *filter,
                     SLPSrvURLCallback callback, void *cookie)
{
    asked += "find "s + type + ", ";
    EXPECT_TRUE(scopes == nullptr && filter == nullptr);
    for (const played_call &call : library.calls)
        EXPECT_EQ(callback(handle, call.url, 300, call.code, cookie), SLP_TRUE);
    return library.find_code;
}

TEST(SlpDiscovery, UrlsBecomeRecordsWithTheirProtocols)
{
    const struct {
        std::vector<played_call> calls;
        const char *records;
    } cases[] = {
        {{{"service:printer:socket://b"}, {"service:printer:lpr://a"}, {"service:printer:lpr://b"}},
         "[b 1010][a 1010]"},
        {{{nullptr}, {""}, {"service:printer"}, {"service:printer:lpr:/a"}}, ""},
        {{{"x://y;service:printer:lpr:x://10.0.0.1"}}, "[10.0.0.1 1010]"},
        {{{"service:printer:LPR://10.0.0.1"}}, "[10.0.0.1 0000]"},
        {{{"service:printer:ipp://255.255.255.2550"}}, "[255.255.255.255 1100]"},
        {{{"service:printer:ipp:///queue"}, {"service:printer:lpr://"}}, "[ 1110]"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(discovered({SLP_OK, SLP_OK, c.calls}), "0 "s + c.records);
}

TEST(SlpDiscovery, ResultIsTheFailureThatTheSearchEndedWith)
{
    const played_call url = {"service:printer:lpr://10.0.0.1", SLP_OK};
    const played_call failure = {nullptr, SLP_NETWORK_ERROR};
    const played_call last = {nullptr, SLP_LAST_CALL};
    const played_call scanner = {"service:scanner:x://10.0.0.1", SLP_OK};
    const struct {
        played_library played;
        const char *discovered;
        const char *asked = "open en, find service:printer, close, ";
    } cases[] = {
        {{SLP_OK, SLP_OK, {url, last}}, "0 [10.0.0.1 1010]"},
        {{SLP_OK, SLP_OK, {url, failure}}, "-23 [10.0.0.1 1010]"},
        {{SLP_OK, SLP_OK, {failure, url}}, "0 [10.0.0.1 1010]"},
        {{SLP_OK, SLP_OK, {failure, scanner}}, "-23 "},
        {{SLP_OK, SLP_OK, {failure, last}}, "0 "},
        {{SLP_OK, SLP_PARAMETER_BAD, {url, failure}}, "-22 [10.0.0.1 1010]"},
        {{SLP_NETWORK_INIT_FAILED, SLP_OK, {}}, "-20 ", "open en, "},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(discovered(c.played), c.discovered);
        EXPECT_EQ(asked, c.asked);
    }
}
