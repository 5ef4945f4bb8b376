// Whole searches by multicast against played agents, and the calls of the API.
#include "slp_responder.h"

#include <algorithm>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace
{

played_answers silence(const heard_request & /*heard*/)
{
    return {};
}

SLPBoolean no_call_expected(SLPHandle, const char *, unsigned short, SLPError, void *)
{
    ADD_FAILURE() << "the callback was called";
    return SLP_TRUE;
}

struct saved_limit {
    struct rlimit limit = {};

    saved_limit()
    {
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    }
    saved_limit(const saved_limit &) = delete;
    saved_limit &operator=(const saved_limit &) = delete;
    ~saved_limit()
    {
        setrlimit(RLIMIT_NOFILE, &limit);
    }

    bool change_to(rlim_t descriptors) const
    {
        const struct rlimit changed = {descriptors, limit.rlim_max};
        return setrlimit(RLIMIT_NOFILE, &changed) == 0;
    }
};

} // namespace

TEST(SlpSearch, WithoutAnAnswerTheRequestIsRepeatedOnce)
{
    slp_responder responder(silence);
    const local_handle local(responder.port);
    local.properties->use_scopes = "default,lab";
    EXPECT_EQ(search(local), "last 0");
    const std::vector<heard_request> &heard = responder.stop();
    ASSERT_EQ(shown(heard), (texts{"group 1 ", "group 1 "}));
    for (const heard_request &one : heard) {
        EXPECT_TRUE(one.request.valid);
        EXPECT_EQ(one.request.xid, heard[0].request.xid);
        EXPECT_NE(one.request.xid, 0);
        EXPECT_EQ(one.request.language + " " + one.request.type + " " + one.request.scopes + " " +
                      one.request.filter,
                  "en service:printer default,lab ");
    }
}

TEST(SlpSearch, ConvergesUntilNobodyNewAnswers)
{
    slp_responder responder([](const heard_request &heard) -> played_answers {
        if (heard.number == 0)
            return {{reply("A", heard), "127.0.0.2"}, {reply("A", heard), "127.0.0.2"}};
        if (heard.number == 1)
            return {{reply("AB", heard), "127.0.0.3"}};
        // It has answered before, so the search is over all the same.
        return {{reply("C", heard), "127.0.0.2"}};
    });
    EXPECT_EQ(search(local_handle(responder.port)), "A B C last 0");
    EXPECT_EQ(shown(responder.stop()),
              (texts{"group 1 ", "group 1 127.0.0.2", "group 1 127.0.0.2,127.0.0.3"}));
}

TEST(SlpSearch, LyingRepliesAreDroppedAndTheSearchGoesOn)
{
    slp_responder responder([](const heard_request &heard) -> played_answers {
        const int xid = heard.request.xid;
        if (heard.number > 0)
            return {};
        return {{"", "127.0.0.4"},
                {"garbage that is long enough to be a header", "127.0.0.4"},
                {reply("A?", heard), "127.0.0.5"},
                {reply("!", heard), "127.0.0.6"},
                {wire_advert("service:directory-agent://127.0.0.9", "default", xid), "127.0.0.7"},
                {wire_reply({"", std::string("service:printer:lpr://10.0.0.1\0x", 32),
                             "service:printer:lpr://10.0.0.1\nip: 10.0.0.2"},
                            xid),
                 "127.0.0.2"},
                {reply("BC<", heard), "127.0.0.3"}};
    });
    EXPECT_EQ(search(local_handle(responder.port)), "B last 0");
    EXPECT_EQ(shown(responder.stop()), (texts{"group 1 ", "group 1 127.0.0.2,127.0.0.3"}));
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
        slp_responder responder([](const heard_request &heard) -> played_answers {
            return {{reply("ABC", heard), ""}};
        });
        const local_handle local(responder.port);
        local.properties->max_results = c.max_results;
        EXPECT_EQ(search(local, c.refused_call), c.told);
        EXPECT_EQ(responder.stop().size(), 1U);
    }
}

TEST(SlpSearch, EndsWhenTheNextWaitOrTheNextRequestWouldBeTooLong)
{
    // 48 bytes of request and the list of answerers must fit the MTU less 28 bytes of headers:
    // six addresses of 10 characters need 65.
    const struct {
        int32_t maximum_wait;
        int32_t mtu;
        size_t requests;
    } cases[] = {{899, 1400, 2}, {900, 1400, 3}, {100, 1400, 1},
                 {1200, 140, 1}, {599, 141, 1},  {600, 141, 2}};
    for (const auto &c : cases) {
        slp_responder responder([](const heard_request &heard) {
            played_answers from_new_senders;
            for (int last = 10; last < 16; ++last)
                from_new_senders.push_back(
                    {reply("A", heard),
                     "127.0." + std::to_string(heard.number) + "." + std::to_string(last)});
            return from_new_senders;
        });
        const local_handle local(responder.port);
        local.properties->multicast_maximum_wait = c.maximum_wait;
        local.properties->mtu = c.mtu;
        EXPECT_EQ(search(local), "A last 0");
        EXPECT_EQ(responder.stop().size(), c.requests) << c.maximum_wait << " " << c.mtu;
    }
}

TEST(SlpSearch, FailsWhereNothingCanBeSent)
{
    const local_handle no_interface(9);
    no_interface.properties->interfaces = {"192.0.2.1", "no address"};
    EXPECT_EQ(search(no_interface), std::to_string(SLP_NETWORK_ERROR));
    const local_handle long_request(9);
    long_request.properties->use_scopes = std::string(1000, 's');
    long_request.properties->mtu = 1000;
    EXPECT_EQ(search(long_request), std::to_string(SLP_BUFFER_OVERFLOW));
    const local_handle no_socket(9);
    const saved_limit limit;
    ASSERT_TRUE(limit.change_to(0));
    EXPECT_EQ(search(no_socket), std::to_string(SLP_NETWORK_INIT_FAILED));
}

TEST(SlpSearch, BroadcastTakesThePlaceOfMulticast)
{
    slp_responder responder([](const heard_request &heard) -> played_answers {
        return {{reply("A", heard), ""}};
    });
    const local_handle local(responder.port);
    local.properties->is_broadcast_only = true;
    local.settings->broadcast_address = "127.0.0.2";
    EXPECT_EQ(search(local), "A last 0");
    EXPECT_EQ(shown(responder.stop()), (texts{"group 2 ", "group 2 127.0.0.2"}));
}

TEST(SlpSearch, WorksWithHighDescriptorNumbers)
{
    const saved_limit limit;
    if (!limit.change_to(std::max<rlim_t>(limit.limit.rlim_cur, 1100)))
        GTEST_SKIP() << "no more than " << limit.limit.rlim_max << " descriptors are allowed";
    slp_responder responder([](const heard_request &heard) -> played_answers {
        return {{heard.listener == 2 && !heard.over_tcp ? reply("A+", heard)
                 : heard.listener == 2                  ? reply("!", heard)
                                                        : reply("B", heard),
                 ""}};
    });
    const local_handle local(responder.port);
    local.properties->da_addresses = {"127.0.0.2"};
    std::vector<descriptor> held(1100);
    for (descriptor &one : held)
        if ((one.fd = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 1024)
            break;
    EXPECT_EQ(search(local), "A B last 0");
    EXPECT_EQ(shown(responder.stop()),
              (texts{"udp 2 ", "tcp 2 ", "group 1 ", "group 1 127.0.0.1"}));
}

TEST(SlpApi, ArgumentsAreCheckedAtOnce)
{
    SLPHandle refused = &refused;
    EXPECT_EQ(SLPOpen("en", SLP_FALSE, nullptr), SLP_PARAMETER_BAD);
    EXPECT_EQ(SLPOpen("en", SLP_TRUE, &refused), SLP_NOT_IMPLEMENTED);
    EXPECT_EQ(refused, nullptr);
    SLPClose(nullptr);
    const local_handle local(9);
    const struct {
        SLPHandle handle;
        const char *type;
        SLPSrvURLCallback *callback;
    } cases[] = {{nullptr, "service:printer", no_call_expected},
                 {local.handle, nullptr, no_call_expected},
                 {local.handle, "", no_call_expected},
                 {local.handle, "service:printer", nullptr}};
    for (const auto &c : cases)
        EXPECT_EQ(SLPFindSrvs(c.handle, c.type, nullptr, nullptr, c.callback, nullptr),
                  SLP_PARAMETER_BAD);
}

TEST(SlpApi, CallsFromTheCallbackLeaveTheSearchAlone)
{
    slp_responder responder([](const heard_request &heard) -> played_answers {
        return {{reply("AB", heard), ""}};
    });
    const local_handle local(responder.port);
    std::vector<SLPError> codes;
    const auto search_again = [](SLPHandle handle, const char *, unsigned short, SLPError,
                                 void *cookie) {
        SLPClose(handle);
        static_cast<std::vector<SLPError> *>(cookie)->push_back(
            SLPFindSrvs(handle, "service:printer", nullptr, nullptr, no_call_expected, nullptr));
        return SLP_TRUE;
    };
    for (int round = 0; round < 2; ++round)
        EXPECT_EQ(
            SLPFindSrvs(local.handle, "service:printer", nullptr, nullptr, search_again, &codes),
            SLP_OK);
    EXPECT_EQ(codes, std::vector<SLPError>(6, SLP_HANDLE_IN_USE));
}

TEST(SlpApi, CallersScopesAndFilterGoIntoTheRequest)
{
    slp_responder responder(silence);
    const local_handle local(responder.port);
    const auto ignore = [](SLPHandle, const char *, unsigned short, SLPError, void *) {
        return SLP_TRUE;
    };
    EXPECT_EQ(SLPFindSrvs(local.handle, "service:x", "lab", "(a=1)", ignore, nullptr), SLP_OK);
    const wire_request request = responder.stop().at(0).request;
    EXPECT_EQ(request.type + " " + request.scopes + " " + request.filter, "service:x lab (a=1)");
}
