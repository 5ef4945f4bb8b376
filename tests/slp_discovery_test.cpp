// What is made of the SLP library's answers; the library's calls are played by the test.
#include "slp/slp_callback.h"
#include "slp/slp_discovery.h"

#include <gtest/gtest.h>

#include <cstring>
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
std::vector<std::string> asked; // of the library

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
    asked.push_back("open "s + language + (is_async ? " async" : ""));
    *handle = &library;
    return library.open_code;
}

void SLPClose(SLPHandle handle)
{
    asked.emplace_back(handle == &library ? "close" : "close of another handle");
}

SLPError SLPFindSrvs(SLPHandle handle, const char *type, const char *scopes, const char *filter,
                     SLPSrvURLCallback callback, void *cookie)
{
    asked.push_back("find "s + type);
    EXPECT_TRUE(scopes == nullptr && filter == nullptr);
    for (const played_call &call : library.calls)
        EXPECT_EQ(callback(handle, call.url, 300, call.code, cookie), SLP_TRUE);
    return library.find_code;
}

TEST(SlpDiscovery, UrlsBecomeRecordsWithTheirProtocols)
{
    const std::string long_host = "service:printer:ipp://" + std::string(500, 'h') + "/";
    const struct {
        std::vector<played_call> calls;
        const char *records;
    } cases[] = {
        {{{"service:printer:lpr://192.168.1.20:515/queue"}}, "[192.168.1.20 1010]"},
        {{{"service:printer:raw-tcp://a:9100"}, {"service:printer:ipp://a/ipp"}}, "[a 1101]"},
        {{{"service:printer:socket://10.0.0.1:9100"}}, "[10.0.0.1 0000]"},
        {{{"service:printer:ipps://10.0.0.1"}}, "[10.0.0.1 1100]"},
        {{{"service:printer:socket://b"}, {"service:printer:lpr://a"}, {"service:printer:lpr://b"}},
         "[b 1010][a 1010]"},
        {{{"service:scanner:lpr://a"}, {nullptr}, {""}, {"service:printer"}}, ""},
        {{{"service:printer://a"}, {"service:printer:lpr:a"}, {"service:printer:lpr:/a"}}, ""},
        {{{"x://y;service:printer:lpr://10.0.0.1"}}, "[10.0.0.1 1010]"},
        {{{"service:printer:lpr:x://10.0.0.1"}}, "[10.0.0.1 1010]"},
        {{{"service:printer:LPR://10.0.0.1"}}, "[10.0.0.1 0000]"},
        {{{"service:printer:ipp://255.255.255.2550"}}, "[255.255.255.255 1100]"},
        {{{long_host.c_str()}}, "[hhhhhhhhhhhhhhh 1100]"},
        {{{"service:printer:ipp:///queue"}, {"service:printer:lpr://"}}, "[ 1110]"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(discovered({SLP_OK, SLP_OK, c.calls}), "0 "s + c.records);
}

TEST(SlpDiscovery, FailedOpeningIsReportedAndEndsIt)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(discovered({SLP_NETWORK_INIT_FAILED, SLP_OK, {}}), "-20 ");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error opening slp handle -20\n");
    EXPECT_EQ(asked, std::vector<std::string>{"open en"});
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
    } cases[] = {
        {{SLP_OK, SLP_OK, {url, last}}, "0 [10.0.0.1 1010]"},
        {{SLP_OK, SLP_OK, {url, failure}}, "-23 [10.0.0.1 1010]"},
        {{SLP_OK, SLP_OK, {failure, url}}, "0 [10.0.0.1 1010]"},
        {{SLP_OK, SLP_OK, {failure, scanner}}, "-23 "},
        {{SLP_OK, SLP_OK, {failure, last}}, "0 "},
        {{SLP_OK, SLP_HANDLE_IN_USE, {}}, "-25 "},
        {{SLP_OK, SLP_PARAMETER_BAD, {url, failure}}, "-22 [10.0.0.1 1010]"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(discovered(c.played), c.discovered);
        EXPECT_EQ(asked, (std::vector<std::string>{"open en", "find service:printer", "close"}));
    }
}
