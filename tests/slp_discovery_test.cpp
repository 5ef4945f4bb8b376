// What is made of the SLP library's answers; the library's calls are played by the test.
#include "slp/slp_callback.h"
#include "slp/slp_discovery.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

struct played_call {
    const char *url;
    SLPError code;
};

/// What the played library does, and what it was asked.
struct played_library {
    SLPError open_code = SLP_OK;
    SLPError find_code = SLP_OK;
    std::vector<played_call> calls;
    std::vector<std::string> asked;
};

played_library library;

std::string text_or_none(const char *text)
{
    return text != nullptr ? text : "none";
}

std::string shown(device_list list)
{
    std::string text;
    for (const list_node *node = list; node != nullptr; node = node->next) {
        const auto *record = static_cast<const device_record *>(node->data);
        text += "[" + std::string(record->ip) + " " + std::to_string(record->slp_detected) +
                std::to_string(record->slp_ipp) + std::to_string(record->slp_lpr) +
                std::to_string(record->slp_raw_tcp) + "]";
    }
    return text;
}

/// Runs a search that finds `urls` and shows the records it leaves.
std::string records_of(const std::vector<const char *> &urls)
{
    library = {};
    for (const char *url : urls)
        library.calls.push_back({url, SLP_OK});
    library.calls.push_back({nullptr, SLP_LAST_CALL});
    device_list list;
    list_init(&list);
    EXPECT_EQ(discover_using_slp(&list), 0);
    std::string text = shown(list);
    list_free(&list);
    return text;
}

} // namespace

SLPError SLPOpen(const char *language, SLPBoolean is_async, SLPHandle *handle)
{
    library.asked.push_back("open " + text_or_none(language) + (is_async ? " async" : ""));
    *handle = &library;
    return library.open_code;
}

void SLPClose(SLPHandle handle)
{
    library.asked.emplace_back(handle == &library ? "close" : "close of another handle");
}

SLPError SLPFindSrvs(SLPHandle handle, const char *type, const char *scopes, const char *filter,
                     SLPSrvURLCallback callback, void *cookie)
{
    library.asked.push_back("find " + text_or_none(type) + " " + text_or_none(scopes) + " " +
                            text_or_none(filter));
    for (const played_call &call : library.calls)
        EXPECT_EQ(callback(handle, call.url, 300, call.code, cookie), SLP_TRUE);
    return library.find_code;
}

TEST(SlpDiscovery, UrlsBecomeRecordsWithTheirProtocols)
{
    const std::string long_host = "service:printer:ipp://" + std::string(500, 'h') + "/";
    const struct {
        std::vector<const char *> urls;
        const char *records;
    } cases[] = {
        {{}, ""},
        {{"service:printer:lpr://192.168.1.20:515/queue"}, "[192.168.1.20 1010]"},
        {{"service:printer:ipp://192.168.1.20/ipp"}, "[192.168.1.20 1100]"},
        {{"service:printer:raw-tcp://192.168.1.20:9100",
          "service:printer:ipp://192.168.1.20:631/ipp"},
         "[192.168.1.20 1101]"},
        {{"service:printer:socket://192.168.1.21:9100"}, "[192.168.1.21 0000]"},
        {{"service:printer:ipps://192.168.1.22"}, "[192.168.1.22 1100]"},
        {{"service:printer:socket://192.168.1.21", "service:printer:lpr://192.168.1.20",
          "service:printer:lpr://192.168.1.21"},
         "[192.168.1.21 1010][192.168.1.20 1010]"},
        {{"service:scanner:lpr://192.168.1.20", nullptr, "", "service:printer",
          "service:printer://192.168.1.20"},
         ""},
        {{"service:printer:lpr:192.168.1.20", "service:printer:lpr:/192.168.1.20"}, ""},
        {{"x://y;service:printer:lpr://192.168.1.20"}, "[192.168.1.20 1010]"},
        {{"service:printer:lpr:x://192.168.1.20"}, "[192.168.1.20 1010]"},
        {{"service:printer:LPR://192.168.1.20"}, "[192.168.1.20 0000]"},
        {{"service:printer:ipp://255.255.255.2550"}, "[255.255.255.255 1100]"},
        {{long_host.c_str()}, "[hhhhhhhhhhhhhhh 1100]"},
        {{"service:printer:ipp:///queue", "service:printer:lpr://"}, "[ 1110]"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(records_of(c.urls), c.records) << (c.urls.empty() ? "" : c.urls[0]);
}

TEST(SlpDiscovery, MergingAddsProtocolsAndClearsNone)
{
    device_record listed = {};
    device_record scratch = {};
    merge_slp_flags(&listed, &scratch);
    EXPECT_EQ(listed.slp_detected, 0);
    listed.slp_lpr = 1;
    scratch.slp_raw_tcp = 1;
    merge_slp_flags(&listed, &scratch);
    EXPECT_EQ(listed.slp_detected + listed.slp_lpr * 2 + listed.slp_raw_tcp * 4 + listed.slp_ipp,
              7);
}

TEST(SlpDiscovery, OneSearchIsOpenedRunAndClosed)
{
    records_of({});
    EXPECT_EQ(library.asked,
              (std::vector<std::string>{"open en", "find service:printer none none", "close"}));
}

TEST(SlpDiscovery, FailedOpeningIsReportedAndEndsIt)
{
    library = {};
    library.open_code = SLP_NETWORK_INIT_FAILED;
    device_list list;
    list_init(&list);
    testing::internal::CaptureStdout();
    EXPECT_EQ(discover_using_slp(&list), -20);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error opening slp handle -20\n");
    EXPECT_EQ(library.asked, std::vector<std::string>{"open en"});
}

TEST(SlpDiscovery, ResultIsTheFailureThatTheSearchEndedWith)
{
    const played_call url = {"service:printer:lpr://10.0.0.1", SLP_OK};
    const played_call failure = {nullptr, SLP_NETWORK_ERROR};
    const played_call last = {nullptr, SLP_LAST_CALL};
    const struct {
        SLPError find_code;
        int32_t result;
        std::vector<played_call> calls;
        const char *records;
    } cases[] = {
        {SLP_OK, 0, {url, last}, "[10.0.0.1 1010]"},
        {SLP_OK, -23, {url, failure}, "[10.0.0.1 1010]"},
        {SLP_OK, 0, {failure, url}, "[10.0.0.1 1010]"},
        {SLP_OK, 0, {failure, last}, ""},
        {SLP_HANDLE_IN_USE, -25, {}, ""},
        {SLP_PARAMETER_BAD, -22, {url, failure}, "[10.0.0.1 1010]"},
    };
    for (const auto &c : cases) {
        library = {};
        library.find_code = c.find_code;
        library.calls = c.calls;
        device_list list;
        list_init(&list);
        EXPECT_EQ(discover_using_slp(&list), c.result);
        EXPECT_EQ(shown(list), c.records);
        EXPECT_EQ(library.asked.back(), "close");
        list_free(&list);
    }
}
