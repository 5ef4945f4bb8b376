// Whole searches by multicast against played agents, and the calls of the API.
#include "slp_responder.h"

#include "slp/agent/agent.h"
#include "slp/agent/slp.h"

#include <gtest/gtest.h>

TEST(SlpSearch, ConvergesUntilNobodyNewAnswers)
{
    EXPECT_EQ(search({{"group 1", ""}, {"group 1", ""}, {"group 1", ""}}), "last 0");
    // The last one has answered before, so the search is over all the same.
    EXPECT_EQ(search({{"group 1", ""},
                      {"group 1", "A@2 A@2"},
                      {"group 1 127.0.0.2", "AB@3"},
                      {"group 1 127.0.0.2,127.0.0.3", ""},
                      {"group 1 127.0.0.2,127.0.0.3", "C@2"}},
                     [](slp_settings *settings) {
                         settings->properties.multicast_timeouts = {5, {200, 200, 200, 200, 200}};
                     }),
              "A B C last 0");
}

TEST(SlpSearch, LyingRepliesAreDroppedAndTheSearchGoesOn)
{
    const std::string unusable = wire_reply(
        {wire_url(""), wire_url({'x', '\0', 'y'}), wire_url("x\nip: 10.0.0.2"), wire_url("x\x7f")});
    EXPECT_EQ(search({{"group 1",
                       "A?@2 !@2 BC<@3",
                       {"", "garbage that is long enough to be a header",
                        wire_advert("service:directory-agent://127.0.0.9", "default")}},
                      {"group 1 127.0.0.3", "", {unusable}},
                      {"group 1 127.0.0.3,127.0.0.2", ""},
                      {"group 1 127.0.0.3,127.0.0.2", ""}}),
              "B last 0");
}

TEST(SlpSearch, RepliesThatDidNotFitAreAskedForOverTcpOnceTheSearchIsOver)
{
    const auto over = [](size_t senders) {
        std::string replies;
        for (size_t i = 0; i < senders; ++i)
            replies += "A+@" + std::to_string(10 + i) + " ";
        return replies;
    };
    const struct {
        const char *name;
        std::string replies;
        const char *told;
        std::vector<exchange> asked;
    } cases[] = {
        {"whole", "A+@2", "A B C last 0", {{"tcp 2", "ABC"}}},
        {"twice", "A+@2 A+@2 B@3", "A B C last 0", {{"tcp 2", "C"}}},
        {"failures", "A+@10 A+@2 B+@3", "A B C last 0", {{"tcp 2", "B<"}, {"tcp 3", "C+"}}},
        {"sixteen", over(15) + "A+@2", "A B last 0", {{"tcp 2", "B"}}},
        {"seventeen", over(16) + "A+@2", "A last 0", {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<exchange> talk = {{"group 1", c.replies}};
        talk.insert(talk.end(), c.asked.begin(), c.asked.end());
        EXPECT_EQ(search(talk,
                         [](slp_settings *settings) {
                             settings->properties.multicast_timeouts = {1, {300}};
                         }),
                  c.told);
    }
}

TEST(SlpSearch, EndsAtEnoughUrlsOrWhenTheCallbackRefuses)
{
    const struct {
        int32_t max_results;
        size_t refused_call;
        const char *told;
    } cases[] = {
        {1, SIZE_MAX, "A last 0"}, {2, SIZE_MAX, "A B last 0"}, {256, 1, "A 0"}, {256, 2, "A B 0"}};
    for (const auto &c : cases) {
        const auto configure = [&c](slp_settings *settings) {
            settings->properties.max_results = c.max_results;
        };
        EXPECT_EQ(search({{"group 1", "ABC"}}, configure, c.refused_call), c.told);
    }
}

TEST(SlpSearch, EndsWhenTheNextWaitOrTheNextRequestWouldBeTooLong)
{
    // 48 bytes of request and the list of answerers must fit the MTU less 28 bytes of headers:
    // six addresses of 10 characters need 65.
    const std::string six = " 127.0.0.10,127.0.0.11,127.0.0.12,127.0.0.13,127.0.0.14,127.0.0.15";
    const std::vector<exchange> talk = {{"group 1", "A@10 A@11 A@12 A@13 A@14 A@15"},
                                        {"group 1" + six, "A@16"},
                                        {"group 1" + six + ",127.0.0.16", ""}};
    const struct {
        int32_t maximum_wait;
        int32_t mtu;
        ptrdiff_t requests;
    } cases[] = {{899, 1400, 2}, {900, 1400, 3}, {100, 1400, 1},
                 {1200, 140, 1}, {599, 141, 1},  {600, 141, 2}};
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.maximum_wait) + " " + std::to_string(c.mtu));
        const auto configure = [&c](slp_settings *settings) {
            settings->properties.multicast_maximum_wait = c.maximum_wait;
            settings->properties.mtu = c.mtu;
        };
        EXPECT_EQ(search({talk.begin(), talk.begin() + c.requests}, configure), "A last 0");
    }
}

TEST(SlpSearch, FailsWhereNothingCanBeSent)
{
    const auto no_interface = [](slp_settings *settings) {
        settings->properties.interfaces = {"192.0.2.1", "no address"};
    };
    EXPECT_EQ(search({}, no_interface), std::to_string(SLP_NETWORK_ERROR));
    const auto long_request = [](slp_settings *settings) {
        settings->properties.use_scopes = std::string(1000, 's');
        settings->properties.mtu = 1000;
    };
    EXPECT_EQ(search({}, long_request), std::to_string(SLP_BUFFER_OVERFLOW));
}

TEST(SlpSearch, BroadcastTakesThePlaceOfMulticast)
{
    const auto configure = [](slp_settings *settings) {
        settings->properties.is_broadcast_only = true;
        settings->broadcast_address = "127.0.0.2";
    };
    EXPECT_EQ(
        search({{"group 2", "A"}, {"group 2 127.0.0.2", ""}, {"group 2 127.0.0.2", ""}}, configure),
        "A last 0");
}

TEST(SlpApi, ArgumentsAreCheckedAtOnce)
{
    SLPHandle handle = &handle;
    EXPECT_EQ(SLPOpen("en", SLP_FALSE, nullptr), SLP_PARAMETER_BAD);
    EXPECT_EQ(SLPOpen("en", SLP_TRUE, &handle), SLP_NOT_IMPLEMENTED);
    EXPECT_EQ(handle, nullptr);
    SLPClose(nullptr);
    slp_agent agent;
    SLPSrvURLCallback *callback = [](SLPHandle, const char *, unsigned short, SLPError, void *) {
        ADD_FAILURE() << "the callback was called";
        return SLP_TRUE;
    };
    const struct {
        SLPHandle handle;
        const char *type;
        SLPSrvURLCallback *callback;
    } cases[] = {{nullptr, "service:x", callback},
                 {&agent, nullptr, callback},
                 {&agent, "", callback},
                 {&agent, "service:x", nullptr}};
    for (const auto &c : cases)
        EXPECT_EQ(SLPFindSrvs(c.handle, c.type, nullptr, nullptr, c.callback, nullptr),
                  SLP_PARAMETER_BAD);
}
