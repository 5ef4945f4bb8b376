// Whole searches against played agents: convergence, directory agents, overflow, and the API.
#include "slp/agent/agent.h"
#include "slp/agent/slp.h"

#include "slp_responder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>

namespace
{

constexpr char DA_TYPE[] = "service:directory-agent";
const std::string URL_A = "service:printer:lpr://10.0.0.1/a";
const std::string URL_B = "service:printer:ipp://10.0.0.2/b";
const std::string URL_C = "service:printer:ipp://10.0.0.3/c";

/// What the callback was told, and when it wants to hear no more.
struct listener_record {
    std::vector<std::string> calls;
    size_t most = SIZE_MAX;
};

SLPBoolean note_call(SLPHandle /*handle*/, const char *url, unsigned short lifetime, SLPError code,
                     void *cookie)
{
    auto *record = static_cast<listener_record *>(cookie);
    EXPECT_TRUE(url == nullptr || lifetime == 300);
    record->calls.push_back(code == SLP_OK ? url : code == SLP_LAST_CALL ? "last" : "code");
    return record->calls.size() < record->most ? SLP_TRUE : SLP_FALSE;
}

struct handle_closer {
    void operator()(void *handle) const
    {
        SLPClose(handle);
    }
};

/// A handle whose traffic stays on the loopback: 127.0.0.1 plays the multicast group.
struct local_handle {
    std::unique_ptr<void, handle_closer> handle;
    slp_settings *settings = nullptr;

    explicit local_handle(uint16_t port)
    {
        SLPHandle opened = nullptr;
        EXPECT_EQ(SLPOpen("en", SLP_FALSE, &opened), SLP_OK);
        handle.reset(opened);
        settings = &static_cast<slp_agent *>(opened)->settings;
        *settings = {};
        settings->port = port;
        settings->multicast_group = "127.0.0.1";
        settings->broadcast_address = "127.0.0.1";
        slp_properties &properties = settings->properties;
        properties.interfaces = {"127.0.0.1"};
        properties.active_da_detection = false;
        properties.multicast_timeouts = {4, {300, 300, 300, 300}};
        properties.da_discovery_timeouts = properties.multicast_timeouts;
    }
};

/// Searches for printers and returns the code, as the last of the calls made.
std::vector<std::string> search(const local_handle &local, listener_record *record)
{
    const SLPError code =
        SLPFindSrvs(local.handle.get(), "service:printer", nullptr, nullptr, note_call, record);
    std::vector<std::string> told = record->calls;
    told.push_back(std::to_string(code));
    return told;
}

std::vector<std::string> search(const local_handle &local)
{
    listener_record record;
    return search(local, &record);
}

using texts = std::vector<std::string>;

/// Requests in short: way, listener's last number, type and list of answerers.
texts shown(const std::vector<heard_request> &heard)
{
    texts lines;
    for (const heard_request &one : heard)
        lines.push_back((one.over_tcp                  ? "tcp "
                         : one.request.flags == 0x2000 ? "group "
                                                       : "udp ") +
                        one.listener.substr(8) + (one.request.type == DA_TYPE ? " da" : "") + " " +
                        one.request.responders);
    return lines;
}

std::vector<played_answer> silence(const heard_request & /*heard*/)
{
    return {};
}

} // namespace

TEST(SlpSearch, WithoutAnAnswerTheRequestIsRepeatedOnce)
{
    slp_responder responder(silence);
    const local_handle local(responder.port);
    local.settings->properties.use_scopes = "default,lab";
    EXPECT_EQ(search(local), (texts{"last", "0"}));
    const std::vector<heard_request> &heard = responder.stop();
    ASSERT_EQ(shown(heard), (texts{"group 1 ", "group 1 "}));
    for (const heard_request &one : heard) {
        EXPECT_TRUE(one.request.valid);
        EXPECT_EQ(one.request.xid, heard[0].request.xid);
        EXPECT_NE(one.request.xid, 0);
        EXPECT_EQ(one.request.language, "en");
        EXPECT_EQ(one.request.type, "service:printer");
        EXPECT_EQ(one.request.scopes, "default,lab");
        EXPECT_EQ(one.request.filter, "");
    }
}

TEST(SlpSearch, ConvergesUntilNobodyNewAnswers)
{
    slp_responder responder([](const heard_request &heard) -> std::vector<played_answer> {
        const int xid = heard.request.xid;
        if (heard.number == 0)
            return {{wire_reply({URL_A, URL_A}, xid), "127.0.0.2"},
                    {wire_reply({URL_A}, xid), "127.0.0.2"}};
        if (heard.number == 1)
            return {{wire_reply({URL_B, URL_A}, xid), "127.0.0.3"}};
        // It has answered before, so the search is over all the same.
        return {{wire_reply({URL_C}, xid), "127.0.0.2"}};
    });
    const local_handle local(responder.port);
    EXPECT_EQ(search(local), (texts{URL_A, URL_B, URL_C, "last", "0"}));
    EXPECT_EQ(shown(responder.stop()),
              (texts{"group 1 ", "group 1 127.0.0.2", "group 1 127.0.0.2,127.0.0.3"}));
}

TEST(SlpSearch, LyingRepliesAreDroppedAndTheSearchGoesOn)
{
    slp_responder responder([](const heard_request &heard) -> std::vector<played_answer> {
        const int xid = heard.request.xid;
        if (heard.number > 0)
            return {};
        const std::string cut = wire_reply({URL_B, URL_C}, xid);
        return {{"", "127.0.0.4"},
                {"garbage that is long enough to be a header", "127.0.0.4"},
                {wire_reply({URL_A}, xid ^ 1), "127.0.0.5"},
                {wire_error(2, xid), "127.0.0.6"},
                {wire_advert("service:directory-agent://127.0.0.9", "default", xid), "127.0.0.7"},
                {wire_reply({"", std::string("service:printer:lpr://10.0.0.1\0x", 32),
                             "service:printer:lpr://10.0.0.1\nip: 10.0.0.2"},
                            xid),
                 "127.0.0.2"},
                {cut.substr(0, cut.size() - 2), "127.0.0.3"}};
    });
    const local_handle local(responder.port);
    EXPECT_EQ(search(local), (texts{URL_B, "last", "0"}));
    EXPECT_EQ(shown(responder.stop()), (texts{"group 1 ", "group 1 127.0.0.2,127.0.0.3"}));
}

TEST(SlpSearch, EndsAtEnoughUrlsOrWhenTheCallbackRefuses)
{
    const auto answer = [](const heard_request &heard) -> std::vector<played_answer> {
        return {{wire_reply({URL_A, URL_B, URL_C}, heard.request.xid), "127.0.0.2"}};
    };
    const struct {
        int32_t max_results;
        size_t calls_wanted;
        texts told;
    } cases[] = {
        {1, SIZE_MAX, {URL_A, "last", "0"}},
        {2, SIZE_MAX, {URL_A, URL_B, "last", "0"}},
        {256, 1, {URL_A, "0"}},
        {256, 2, {URL_A, URL_B, "0"}},
    };
    for (const auto &c : cases) {
        slp_responder responder(answer);
        const local_handle local(responder.port);
        local.settings->properties.max_results = c.max_results;
        listener_record record;
        record.most = c.calls_wanted;
        EXPECT_EQ(search(local, &record), c.told);
        EXPECT_EQ(responder.stop().size(), 1U);
    }
}

TEST(SlpSearch, EndsWhenTheNextWaitOrTheNextRequestWouldBeTooLong)
{
    const auto always_new = [](const heard_request &heard) -> std::vector<played_answer> {
        std::vector<played_answer> answers;
        for (int i = 0; i < 6; ++i)
            answers.push_back(
                {wire_reply({URL_A}, heard.request.xid),
                 "127.0." + std::to_string(heard.number) + "." + std::to_string(10 + i)});
        return answers;
    };
    // 48 bytes of request and the list of answerers must fit the MTU less 28 bytes of headers:
    // six addresses of 10 characters need 65.
    const struct {
        int32_t maximum_wait;
        int32_t mtu;
        size_t requests;
    } cases[] = {{899, 1400, 2}, {900, 1400, 3}, {100, 1400, 1},
                 {1200, 140, 1}, {599, 141, 1},  {600, 141, 2}};
    for (const auto &c : cases) {
        slp_responder responder(always_new);
        const local_handle local(responder.port);
        local.settings->properties.multicast_maximum_wait = c.maximum_wait;
        local.settings->properties.mtu = c.mtu;
        EXPECT_EQ(search(local), (texts{URL_A, "last", "0"}));
        EXPECT_EQ(responder.stop().size(), c.requests) << c.maximum_wait << " " << c.mtu;
    }
}

TEST(SlpSearch, FailsWhereNothingCanBeSent)
{
    const local_handle no_interface(9);
    no_interface.settings->properties.interfaces = {"192.0.2.1", "no address"};
    EXPECT_EQ(search(no_interface), texts{std::to_string(SLP_NETWORK_ERROR)});
    const local_handle long_request(9);
    long_request.settings->properties.use_scopes = std::string(1000, 's');
    long_request.settings->properties.mtu = 1000;
    EXPECT_EQ(search(long_request), texts{std::to_string(SLP_BUFFER_OVERFLOW)});
    const local_handle no_socket(9);
    struct rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const struct rlimit none = {0, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const texts told = search(no_socket);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(told, texts{std::to_string(SLP_NETWORK_INIT_FAILED)});
}

TEST(SlpSearch, BroadcastTakesThePlaceOfMulticast)
{
    slp_responder responder([](const heard_request &heard) -> std::vector<played_answer> {
        return {{wire_reply({URL_A}, heard.request.xid), ""}};
    });
    const local_handle local(responder.port);
    local.settings->properties.is_broadcast_only = true;
    local.settings->multicast_group = "127.0.0.2";
    EXPECT_EQ(search(local), (texts{URL_A, "last", "0"}));
    EXPECT_EQ(shown(responder.stop()), (texts{"group 1 ", "group 1 127.0.0.1"}));
}

TEST(SlpSearch, WorksWithHighDescriptorNumbers)
{
    struct rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const struct rlimit wanted = {std::max<rlim_t>(limit.rlim_cur, 1100), limit.rlim_max};
    if (setrlimit(RLIMIT_NOFILE, &wanted) != 0)
        GTEST_SKIP() << "no more than " << limit.rlim_max << " descriptors are allowed";
    slp_responder responder([](const heard_request &heard) -> std::vector<played_answer> {
        const int flags = heard.over_tcp ? 0 : WIRE_OVERFLOW;
        return {{wire_reply({heard.over_tcp ? URL_A : URL_B}, heard.request.xid, flags), ""}};
    });
    const local_handle local(responder.port);
    local.settings->properties.da_addresses = {"127.0.0.2"};
    std::vector<int> held;
    while (held.empty() || held.back() < 1024) {
        held.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
        ASSERT_GE(held.back(), 0);
    }
    EXPECT_EQ(search(local), (texts{URL_B, URL_A, "last", "0"}));
    for (const int fd : held)
        close(fd);
    setrlimit(RLIMIT_NOFILE, &limit);
}

namespace
{

/// One way in which the directory agents 127.0.0.2 and 127.0.0.3 behave, and what it leads to.
struct directory_case {
    const char *name;
    responder_script script;
    texts told;
    texts heard;
};

std::vector<played_answer> answer_as(const heard_request &heard, const std::string &listener,
                                     const std::string &bytes)
{
    // Whoever else is asked has nothing to do with it, or is the multicast group.
    if (heard.listener != listener)
        return {{wire_error(4, heard.request.xid), ""}};
    return {{bytes, ""}};
}

const directory_case DIRECTORY_CASES[] = {
    {"the first one answers",
     [](const heard_request &heard) {
         return answer_as(heard, "127.0.0.2", wire_reply({URL_A, URL_A}, heard.request.xid));
     },
     {URL_A, "last", "0"},
     {"udp 2 "}},
    {"the first one answers that there is nothing",
     [](const heard_request &heard) {
         return answer_as(heard, "127.0.0.2", wire_reply({}, heard.request.xid));
     },
     {"last", "0"},
     {"udp 2 "}},
    {"the first one has an error",
     [](const heard_request &heard) {
         return answer_as(heard, "127.0.0.3", wire_reply({URL_A}, heard.request.xid));
     },
     {URL_A, "last", "0"},
     {"udp 2 ", "udp 3 "}},
    {"both have errors",
     [](const heard_request &heard) {
         return answer_as(heard, "127.0.0.1", wire_reply({URL_A}, heard.request.xid));
     },
     {URL_A, "last", "0"},
     {"udp 2 ", "udp 3 ", "group 1 ", "group 1 127.0.0.1"}},
    {"the first request is lost, the second one's reply comes behind foreign ones",
     [](const heard_request &heard) -> std::vector<played_answer> {
         if (heard.number == 0)
             return {};
         return {{wire_reply({URL_B}, heard.request.xid ^ 1), ""},
                 {"garbage", ""},
                 {wire_reply({URL_C}, heard.request.xid), "127.0.0.9"},
                 {wire_reply({URL_A}, heard.request.xid), ""}};
     },
     {URL_A, "last", "0"},
     {"udp 2 ", "udp 2 "}},
    {"the reply overflows",
     [](const heard_request &heard) {
         const int flags = heard.over_tcp ? 0 : WIRE_OVERFLOW;
         const texts urls = heard.over_tcp ? texts{URL_A, URL_B, URL_C} : texts{URL_A};
         return answer_as(heard, "127.0.0.2", wire_reply(urls, heard.request.xid, flags));
     },
     {URL_A, URL_B, URL_C, "last", "0"},
     {"udp 2 ", "tcp 2 "}},
    {"the stream ends early",
     [](const heard_request &heard) {
         const std::string whole =
             wire_reply({URL_A, URL_B}, heard.request.xid, heard.over_tcp ? 0 : WIRE_OVERFLOW);
         const size_t cut = heard.over_tcp ? whole.size() - 1 : whole.size() - 3;
         if (heard.listener == "127.0.0.3")
             return answer_as(heard, "127.0.0.3", wire_reply({URL_C}, heard.request.xid));
         return answer_as(heard, "127.0.0.2", whole.substr(0, cut));
     },
     {URL_A, URL_C, "last", "0"},
     {"udp 2 ", "tcp 2 ", "udp 3 "}},
    {"the stream announces a length below its header",
     [](const heard_request &heard) {
         wire_header lying;
         lying.xid = heard.request.xid;
         lying.length = 5;
         const std::string overflow = wire_reply({}, heard.request.xid, WIRE_OVERFLOW);
         if (heard.listener == "127.0.0.3")
             return answer_as(heard, "127.0.0.3", wire_reply({URL_C}, heard.request.xid));
         return answer_as(heard, "127.0.0.2", heard.over_tcp ? wire_message(lying, "") : overflow);
     },
     {URL_C, "last", "0"},
     {"udp 2 ", "tcp 2 ", "udp 3 "}},
    {"the stream holds another reply",
     [](const heard_request &heard) {
         const int xid = heard.request.xid ^ (heard.over_tcp ? 1 : 0);
         if (heard.listener == "127.0.0.3")
             return answer_as(heard, "127.0.0.3", wire_reply({URL_C}, heard.request.xid));
         return answer_as(heard, "127.0.0.2", wire_reply({URL_A}, xid, WIRE_OVERFLOW));
     },
     {URL_A, URL_C, "last", "0"},
     {"udp 2 ", "tcp 2 ", "udp 3 "}},
};

} // namespace

TEST(SlpDirectory, ConfiguredAgentsAreAskedInTurnAndMulticastFollowsWhenAllFail)
{
    for (const directory_case &c : DIRECTORY_CASES) {
        slp_responder responder(c.script);
        const local_handle local(responder.port);
        local.settings->properties.da_addresses = {"127.0.0.2", "127.0.0.3", "127.0.0.2"};
        local.settings->properties.active_da_detection = true;
        EXPECT_EQ(search(local), c.told) << c.name;
        EXPECT_EQ(shown(responder.stop()), c.heard) << c.name;
    }
}

TEST(SlpDirectory, AgentWithAClosedPortIsLeftAtOnce)
{
    slp_responder responder([](const heard_request &heard) -> std::vector<played_answer> {
        return {{wire_reply({URL_A}, heard.request.xid), ""}};
    });
    const local_handle local(responder.port);
    local.settings->properties.da_addresses = {"127.0.0.77", "127.0.0.3"};
    EXPECT_EQ(search(local), (texts{URL_A, "last", "0"}));
    EXPECT_EQ(shown(responder.stop()), texts{"udp 3 "});
}

TEST(SlpDirectory, RequestTooLongForADatagramGoesOverTcp)
{
    slp_responder responder([](const heard_request &heard) -> std::vector<played_answer> {
        return {{wire_reply({URL_A}, heard.request.xid), ""}};
    });
    const local_handle local(responder.port);
    local.settings->properties.da_addresses = {"127.0.0.2"};
    local.settings->properties.use_scopes = std::string(1000, 's');
    local.settings->properties.mtu = 1000;
    EXPECT_EQ(search(local), (texts{URL_A, "last", "0"}));
    EXPECT_EQ(shown(responder.stop()), texts{"tcp 2 "});
}

TEST(SlpDirectory, AgentsOfOurScopesAreFoundByMulticast)
{
    const struct {
        const char *name;
        std::vector<played_answer> (*adverts)(int xid);
        const char *answered; ///< those who have given an advert
        texts told;
        texts asked; ///< behind the two requests for directory agents
    } cases[] = {
        {"one of several announced is ours",
         [](int xid) -> std::vector<played_answer> {
             return {
                 {wire_advert("service:directory-agent://127.0.0.3", "office", xid), "127.0.0.3"},
                 {wire_reply({URL_C}, xid), "127.0.0.4"},
                 {wire_advert("service:directory-agent://127.0.0.3", "default", xid ^ 1),
                  "127.0.0.5"},
                 {wire_advert("service:printer:lpr://127.0.0.3", "default", xid), "127.0.0.6"},
                 {wire_advert("service:directory-agent://127.0.0.3", "default", xid, 0),
                  "127.0.0.7"},
                 {wire_advert("service:directory-agent://127.0.0.3", "default", xid, 9, 2),
                  "127.0.0.8"},
                 {wire_advert("SERVICE:Directory-Agent://127.0.0.2:427/", "lab, DEFAULT", xid),
                  "127.0.0.9"}};
         },
         "127.0.0.3,127.0.0.6,127.0.0.7,127.0.0.9",
         {URL_A, "last", "0"},
         {"udp 2 "}},
        {"announced by name",
         [](int xid) -> std::vector<played_answer> {
             return {{wire_advert("service:directory-agent://da.example", "default", xid),
                      "127.0.0.2"}};
         },
         "127.0.0.2",
         {URL_A, "last", "0"},
         {"udp 2 "}},
        {"none is ours",
         [](int xid) -> std::vector<played_answer> {
             return {
                 {wire_advert("service:directory-agent://127.0.0.2", "office", xid), "127.0.0.2"}};
         },
         "127.0.0.2",
         {URL_B, "last", "0"},
         {"group 1 ", "group 1 127.0.0.1"}},
    };
    for (const auto &c : cases) {
        slp_responder responder([&c](const heard_request &heard) -> std::vector<played_answer> {
            const int xid = heard.request.xid;
            if (heard.request.type == DA_TYPE)
                return c.adverts(xid);
            return {{wire_reply({heard.listener == "127.0.0.1" ? URL_B : URL_A}, xid), ""}};
        });
        const local_handle local(responder.port);
        local.settings->properties.active_da_detection = true;
        EXPECT_EQ(search(local), c.told) << c.name;
        const texts heard = shown(responder.stop());
        ASSERT_GE(heard.size(), 2U) << c.name;
        EXPECT_EQ(heard[0], "group 1 da ") << c.name;
        EXPECT_EQ(heard[1], std::string("group 1 da ") + c.answered) << c.name;
        EXPECT_EQ(texts(heard.begin() + 2, heard.end()), c.asked) << c.name;
    }
}

TEST(SlpApi, ArgumentsAreCheckedAtOnce)
{
    SLPHandle handle = &handle;
    EXPECT_EQ(SLPOpen("en", SLP_FALSE, nullptr), SLP_PARAMETER_BAD);
    EXPECT_EQ(SLPOpen("en", SLP_TRUE, &handle), SLP_NOT_IMPLEMENTED);
    EXPECT_EQ(handle, nullptr);
    SLPClose(nullptr);
    const local_handle local(9);
    SLPHandle open = local.handle.get();
    const struct {
        SLPHandle handle;
        const char *type;
        SLPSrvURLCallback *callback;
    } cases[] = {
        {nullptr, "service:printer", note_call},
        {open, nullptr, note_call},
        {open, "", note_call},
        {open, "service:printer", nullptr},
    };
    listener_record record;
    for (const auto &c : cases)
        EXPECT_EQ(SLPFindSrvs(c.handle, c.type, nullptr, nullptr, c.callback, &record),
                  SLP_PARAMETER_BAD);
    EXPECT_TRUE(record.calls.empty());
}

TEST(SlpApi, CallsFromTheCallbackLeaveTheSearchAlone)
{
    slp_responder responder([](const heard_request &heard) -> std::vector<played_answer> {
        return {{wire_reply({URL_A, URL_B}, heard.request.xid), ""}};
    });
    const local_handle local(responder.port);
    texts told;
    const auto search_again = [](SLPHandle handle, const char *, unsigned short, SLPError,
                                 void *cookie) {
        SLPClose(handle);
        static_cast<texts *>(cookie)->push_back(std::to_string(
            SLPFindSrvs(handle, "service:printer", nullptr, nullptr, note_call, cookie)));
        return SLP_TRUE;
    };
    for (int round = 0; round < 2; ++round)
        EXPECT_EQ(SLPFindSrvs(local.handle.get(), "service:printer", nullptr, nullptr, search_again,
                              &told),
                  SLP_OK);
    EXPECT_EQ(told, texts(6, std::to_string(SLP_HANDLE_IN_USE)));
}

TEST(SlpApi, CallersScopesAndFilterGoIntoTheRequest)
{
    slp_responder responder(silence);
    const local_handle local(responder.port);
    listener_record record;
    EXPECT_EQ(SLPFindSrvs(local.handle.get(), "service:x", "lab", "(a=1)", note_call, &record),
              SLP_OK);
    const wire_request request = responder.stop().at(0).request;
    EXPECT_EQ(request.type + " " + request.scopes + " " + request.filter, "service:x lab (a=1)");
}
