// Whole searches by multicast against played agents, and the calls of the API.
#include "slp_responder.h"

#include "io/stream.h"
#include "slp/agent/service_search.h"
#include "slp/agent/slp.h"
#include "slp/agent/transport.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <thread>

using namespace std::string_literals;

TEST(SlpSearch, ConvergesUntilNobodyNewAnswers)
{
    EXPECT_EQ(search("group 1:; group 1:; group 1:"), "last 0");
    // Repetitions that bring nobody new count anew when somebody has answered; the last one has
    // answered before, so the search is over all the same.
    EXPECT_EQ(
        search("group 1: A@2 A@2; group 1 2:; group 1 2: AB@3 A@2; group 1 2,3:; group 1 2,3: C@2",
               "net.slp.multicastTimeouts = 200,200,200,200,200"),
        "A B C last 0");
}

TEST(SlpSearch, WhatArrivesDuringAPauseCountsAndAFloodProlongsNoWait)
{
    std::string many;
    for (int i = 0; i < 5000; ++i)
        many += " -";
    const char *one_wait = "net.slp.multicastTimeouts = 300";
    // More than a receive buffer of usual size holds.
    EXPECT_EQ(search("group 1: P" + many.substr(0, 800) + " C", one_wait), "P C last 0");
    std::string flooded;
    for (int turn = 0; turn < 5 && flooded != "P last 0"; ++turn) // busy machines answer late
        flooded = search("group 1: P" + many + " C", one_wait);
    EXPECT_EQ(flooded, "P last 0");
    // The pause is longer than three waits, and each of those after it is a whole one.
    EXPECT_EQ(search("group 1: P; group 1 1: B@3; group 1 1,3:; group 1 1,3:"), "P B last 0");
}

TEST(SlpSearch, LyingRepliesAreDroppedAndTheSearchGoesOn)
{
    const std::string unusable =
        wire_reply({}, {wire_url(""), wire_url({'x', '\0', 'y'}), wire_url("x\nip: 10.0.0.2"),
                        wire_url("x\x7f"), wire_url("x")});
    EXPECT_EQ(search("group 1: * * A?@2 !@2 BC<@3; group 1 3: *@2; group 1 3,2:; group 1 3,2:", "",
                     {"", "garbage that is long enough to be a header", unusable}),
              "B x last 0");
}

TEST(SlpSearch, RepliesThatDidNotFitAreAskedForOverTcpOnceTheSearchIsOver)
{
    const std::string fifteen = "group 1: A+@10 A+@11 A+@12 A+@13 A+@14 A+@15 A+@16 A+@17 A+@18 "
                                "A+@19 A+@20 A+@21 A+@22 A+@23 A+@24 ";
    const struct {
        std::string talk;
        const char *told;
    } cases[] = {
        {"group 1: A+@2 A+@2 B@3; tcp 2: ABC", "A B C last 0"},
        {"group 1: A+@10 A+@2 B+@3; tcp 2: B<; tcp 3: C+", "A B C last 0"},
        {fifteen + "A+@2; tcp 2: B", "A B last 0"},
        {fifteen + "A+@25 A+@2", "A last 0"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(search(c.talk, "net.slp.multicastTimeouts = 300"), c.told) << c.talk;
}

TEST(SlpSearch, EndsAtEnoughUrlsOrWhenTheCallbackRefuses)
{
    EXPECT_EQ(search("group 1: ABC", "net.slp.maxResults = 2"), "A B last 0");
    // Nobody is asked over TCP for what is not wanted any more.
    EXPECT_EQ(search("group 1: A+@2", "net.slp.maxResults = 1"), "A last 0");
    EXPECT_EQ(search("udp 2 DA: =default; udp 2: A+",
                     "net.slp.maxResults = 1\nnet.slp.DAAddresses = 127.0.0.2"),
              "A last 0");
    EXPECT_EQ(search("group 1: ARC"), "A R 0");
}

TEST(SlpSearch, OneServiceAgentUsesUpAnEighthOfTheUrlsAndADirectoryAgentWhatItWants)
{
    std::vector<std::string> messages;
    std::vector<std::string> all;
    for (int i = 0; i < 5; ++i) {
        std::vector<std::string> urls;
        for (int j = 0; j < 2000; ++j)
            urls.push_back(wire_url("x" + std::to_string(2000 * i + j)));
        messages.push_back(wire_reply({}, urls));
        all.insert(all.end(), urls.begin(), urls.end());
    }
    const auto called = [](const std::string &told) {
        return std::count(told.begin(), told.end(), ' ') - 1; // for the last call
    };
    const std::string all_of_them = wire_reply({}, all);
    messages.push_back(messages[0]); // what is known already is counted once
    std::rotate(messages.begin(), messages.end() - 1, messages.end());
    EXPECT_EQ(called(search("group 1: *@2 *@2 *@2 *@2 *@2 *@2 A@2 B@3"s,
                            "net.slp.multicastTimeouts = 2000", messages)),
              65536 / 8 + 1);
    EXPECT_EQ(
        called(search("group 1: +@2; tcp 2: *"s, "net.slp.multicastTimeouts = 300", {all_of_them})),
        65536 / 8);
    EXPECT_EQ(called(search("udp 2 DA: =default; udp 2: +; tcp 2: *"s,
                            "net.slp.DAAddresses = 127.0.0.2", {all_of_them})),
              10000);
}

TEST(SlpSearch, EndsWhenTheNextWaitWouldBeTooLongAndNamesTheAnswerersThatFit)
{
    // 48 bytes of request and the list of answerers must fit the MTU less 28 bytes of headers:
    // six addresses of 10 characters need 65. Who is not named is new once.
    const std::string five = "group 1: A@10 A@11 A@12 A@13 A@14";
    const std::string one = five + " A@15";
    const std::string two = one + "; group 1 10,11,12,13,14,15: A@16";
    const std::string three = two + "; group 1 10,11,12,13,14,15,16:";
    const std::string again = "; group 1 10,11,12,13,14: A@15";
    const struct {
        const char *maximum_wait, *mtu;
        std::string talk;
    } cases[] = {{"899", "1400", two},
                 {"900", "1400", three},
                 {"100", "1400", one},
                 {"599", "141", one},
                 {"600", "141", two},
                 {"9999", "140", one + again + again},
                 {"9999", "140", five + again + again + again}};
    for (const auto &c : cases) {
        const std::string wait = std::string("net.slp.multicastMaximumWait = ") + c.maximum_wait;
        const std::string mtu = std::string("\nnet.slp.MTU = ") + c.mtu;
        EXPECT_EQ(search(c.talk, wait + mtu), "A last 0") << wait << mtu;
    }
}

TEST(SlpSearch, FailsWhereNothingCanBeSent)
{
    EXPECT_EQ(search("", "net.slp.interfaces = 192.0.2.1, no address"),
              std::to_string(SLP_NETWORK_ERROR));
    const std::string longest(59, 's');
    const std::string scopes = "net.slp.maxResults = 1\nnet.slp.MTU = 128\nnet.slp.useScopes = ";
    EXPECT_EQ(search("group 1 " + longest + ": A", scopes + longest), "A last 0");
    EXPECT_EQ(search("", scopes + longest + "s"), std::to_string(SLP_BUFFER_OVERFLOW));
}

TEST(SlpSearch, RequestsGoAsFarAsConfigured)
{
    const descriptor socket(slp_open_group_socket(5));
    int ttl = 0;
    socklen_t size = sizeof ttl;
    EXPECT_EQ(getsockopt(socket.fd, IPPROTO_IP, IP_MULTICAST_TTL, &ttl, &size), 0);
    EXPECT_EQ(ttl, 5);
}
