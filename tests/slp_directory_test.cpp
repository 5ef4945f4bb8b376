// Searches that ask directory agents: how they are found, asked, and left for others.
#include "slp_responder.h"

#include <gtest/gtest.h>

TEST(SlpDirectory, ConfiguredAgentsAreAskedInTurnAndMulticastFollowsWhenAllFail)
{
    // 127.0.0.2 and 127.0.0.3 are directory agents; replies in short, none for a closed stream.
    const struct {
        const char *name;
        const char *second_udp;
        const char *second_tcp;
        const char *third_udp;
        const char *told;
        texts heard;
    } cases[] = {
        {"the first one answers", "AB", "", "", "A B last 0", {"udp 2 "}},
        {"the first one has nothing", "-", "", "C", "last 0", {"udp 2 "}},
        {"the first one has an error", "!", "", "B", "B last 0", {"udp 2 ", "udp 3 "}},
        {"both have errors",
         "!",
         "",
         "!",
         "C last 0",
         {"udp 2 ", "udp 3 ", "group 1 ", "group 1 127.0.0.1"}},
        {"a broken entry", "AB<", "", "C", "A last 0", {"udp 2 "}},
        {"the reply overflows", "A+", "ABC", "", "A B C last 0", {"udp 2 ", "tcp 2 "}},
        {"the last entry is cut", "AB+<", "ABC", "", "A B C last 0", {"udp 2 ", "tcp 2 "}},
        {"the stream overflows too", "A+", "AB+", "C", "A B last 0", {"udp 2 ", "tcp 2 "}},
        {"the stream has an error", "A+", "!", "C", "A C last 0", {"udp 2 ", "tcp 2 ", "udp 3 "}},
        {"the stream ends early", "A+", "AB<", "C", "A C last 0", {"udp 2 ", "tcp 2 ", "udp 3 "}},
        {"the stream is closed", "A+", "", "C", "A C last 0", {"udp 2 ", "tcp 2 ", "udp 3 "}},
        {"the stream holds another reply",
         "A+",
         "B?",
         "C",
         "A C last 0",
         {"udp 2 ", "tcp 2 ", "udp 3 "}},
    };
    for (const auto &c : cases) {
        slp_responder responder([&c](const heard_request &heard) -> played_answers {
            const std::string brief = heard.listener == 1   ? "C"
                                      : heard.listener == 3 ? c.third_udp
                                      : heard.over_tcp      ? c.second_tcp
                                                            : c.second_udp;
            return {{brief.empty() ? "" : reply(brief, heard), ""}};
        });
        const local_handle local(responder.port);
        local.properties->da_addresses = {"127.0.0.2", "127.0.0.3", "127.0.0.2"};
        local.properties->active_da_detection = true;
        EXPECT_EQ(search(local), c.told) << c.name;
        EXPECT_EQ(shown(responder.stop()), c.heard) << c.name;
    }
}

TEST(SlpDirectory, LostRequestIsRepeatedAndForeignDatagramsArePassedOver)
{
    slp_responder responder([](const heard_request &heard) -> played_answers {
        if (heard.number == 0)
            return {};
        return {{reply("B?", heard), ""},
                {"garbage", ""},
                {reply("C", heard), "127.0.0.9"},
                {reply("A", heard), ""}};
    });
    const local_handle local(responder.port);
    local.properties->da_addresses = {"127.0.0.2"};
    EXPECT_EQ(search(local), "A last 0");
    EXPECT_EQ(shown(responder.stop()), (texts{"udp 2 ", "udp 2 "}));
}

TEST(SlpDirectory, StreamThatLiesAboutItsLengthIsLeft)
{
    for (const int length : {5, 13, 0xFFFFFF}) {
        slp_responder responder([length](const heard_request &heard) -> played_answers {
            wire_header lying;
            lying.xid = heard.request.xid;
            lying.length = length;
            if (heard.listener == 3)
                return {{reply("C", heard), ""}};
            return {{heard.over_tcp ? wire_message(lying, "") : reply("+", heard), ""}};
        });
        const local_handle local(responder.port);
        local.properties->da_addresses = {"127.0.0.2", "127.0.0.3"};
        EXPECT_EQ(search(local), "C last 0") << length;
    }
}

TEST(SlpDirectory, AgentWithAClosedPortIsLeftAtOnce)
{
    slp_responder responder([](const heard_request &heard) -> played_answers {
        return {{reply("A", heard), ""}};
    });
    const local_handle local(responder.port);
    local.properties->da_addresses = {"127.0.0.77", "127.0.0.3"};
    EXPECT_EQ(search(local), "A last 0");
    EXPECT_EQ(shown(responder.stop()), texts{"udp 3 "});
}

TEST(SlpDirectory, RequestTooLongForADatagramGoesOverTcp)
{
    slp_responder responder([](const heard_request &heard) -> played_answers {
        return {{reply("A", heard), ""}};
    });
    const local_handle local(responder.port);
    local.properties->da_addresses = {"127.0.0.2"};
    local.properties->use_scopes = std::string(1000, 's');
    local.properties->mtu = 1000;
    EXPECT_EQ(search(local), "A last 0");
    EXPECT_EQ(shown(responder.stop()), texts{"tcp 2 "});
}

TEST(SlpDirectory, AgentsOfOurScopesAreFoundByMulticast)
{
    const std::string second = "service:directory-agent://127.0.0.2";
    const std::string third = "service:directory-agent://127.0.0.3";
    // Each advert comes alone, from 127.0.0.2; whoever is asked for printers then answers.
    const struct {
        const char *name;
        std::function<std::string(int xid)> advert;
        bool counts; ///< the advert is an answer to the search
        const char
            *asked; ///< for printers: a directory agent, or the group when it is none of ours
    } cases[] = {
        {"ours", [&](int xid) { return wire_advert(third, "default", xid); }, true, "udp 3 "},
        {"with port, path and capitals",
         [&](int xid) {
             return wire_advert("SERVICE:Directory-Agent://127.0.0.3:427/", "lab, DEFAULT", xid);
         },
         true, "udp 3 "},
        {"announced by name",
         [&](int xid) {
             return wire_advert("service:directory-agent://da.example", "default", xid);
         },
         true, "udp 2 "},
        {"other scopes", [&](int xid) { return wire_advert(second, "office", xid); }, true,
         "group 1 "},
        {"going away", [&](int xid) { return wire_advert(second, "default", xid, 0); }, true,
         "group 1 "},
        {"other service",
         [&](int xid) { return wire_advert("service:printer:lpr://127.0.0.2", "default", xid); },
         true, "group 1 "},
        {"error", [&](int xid) { return wire_advert(second, "default", xid, 9, 2); }, false,
         "group 1 "},
        {"other transaction", [&](int xid) { return wire_advert(second, "default", xid ^ 1); },
         false, "group 1 "},
        {"reply", [&](int xid) { return wire_reply({URL_C}, xid); }, false, "group 1 "},
        {"garbage", [&](int) { return "garbage"; }, false, "group 1 "},
    };
    for (const auto &c : cases) {
        slp_responder responder([&c](const heard_request &heard) -> played_answers {
            if (heard.request.type == "service:directory-agent")
                return {{c.advert(heard.request.xid), "127.0.0.2"}};
            return {{reply("A", heard), ""}};
        });
        const local_handle local(responder.port);
        local.properties->active_da_detection = true;
        local.properties->da_discovery_timeouts = {2, {200, 1}};
        local.properties->max_results = 1;
        EXPECT_EQ(search(local), "A last 0") << c.name;
        EXPECT_EQ(
            shown(responder.stop()),
            (texts{"group 1 da ", c.counts ? "group 1 da 127.0.0.2" : "group 1 da ", c.asked}))
            << c.name;
    }
}
