// Searches that ask directory agents: how they are found, asked, and left for others.
#include "slp_responder.h"

#include <gtest/gtest.h>

TEST(SlpDirectory, ConfiguredAgentsAreAskedInTurnAndMulticastFollowsWhenAllFail)
{
    // The one that stands behind is asked for services only where the first does not serve them.
    const std::string advert = "udp 2 DA: =default; ";
    const std::string idle = "; udp 3 DA: =default";
    const std::string next = idle + "; udp 3: ";
    const std::string group = "; group 1: B; group 1 1:; group 1 1:";
    const std::string stream = "udp 2: A+; tcp 2: ";
    const struct {
        std::string talk;
        const char *told;
        size_t length = 0; ///< that a message without URLs says it has
    } cases[] = {
        {"udp 2: -" + idle, "last 0"},
        {"udp 2: !" + next + "C", "C last 0"},
        {"udp 2: !" + next + "!" + group, "B last 0"},
        {"udp 2: ; udp 2: * B? C@9 A; udp 3 DA: =office", "A last 0"},
        {"udp 2: AB<" + idle, "A last 0"},
        {stream + "ABC" + idle, "A B C last 0"},
        {"udp 2: AB+<; tcp 2: ABC" + idle, "A B C last 0"},
        {stream + "AB+" + idle, "A B last 0"},
        {stream + "!" + next + "C", "A C last 0"},
        {stream + "AB<" + next + "C", "A C last 0"},
        {stream + next + "C", "A C last 0"},
        {stream + "B?" + next + "C", "A C last 0"},
        {stream + "*" + next + "C", "A C last 0", 4},
        {stream + "*" + next + "C", "A C last 0", 13},
        {stream + "*" + next + "C", "A C last 0", 0xFFFFFF},
    };
    // Nobody listens on the first one.
    const char *agents = "net.slp.DAAddresses = 127.0.0.77, 127.0.0.2, 127.0.0.3, 127.0.0.2\n"
                         "net.slp.activeDADetection = yes";
    for (const auto &c : cases) {
        const std::string message = wire_with(wire_reply({}, {}), LENGTH_FIELD, c.length);
        EXPECT_EQ(search(advert + c.talk, agents, {message}), c.told) << c.talk;
    }
}

TEST(SlpDirectory, ConfiguredAgentsServeTheScopesOfTheirAdvertsAndMulticastTheOthers)
{
    const std::string first = "udp 2 DA: =default; udp 2 default,lab: A; ";
    const std::string silent = "udp 2 DA: !; udp 2 DA: !; udp 2 default,lab: ";
    const std::string group = "; group 1 lab: B; group 1 1 lab:; group 1 1 lab:";
    const struct {
        std::string talk;
        const char *told;
    } cases[] = {
        {first + "udp 3 DA: =LAB; udp 3 default,lab: C", "A C last 0"},
        {first + "udp 3 DA: =default" + group, "A B last 0"},
        {"udp 2 DA: =office; udp 3 DA: =lab,default; udp 3 default,lab: C", "C last 0"},
        {silent + "A; udp 3 DA: =default; udp 3 default,lab: C" + group, "A C B last 0"},
        // The waits for services begin with the advert.
        {"udp 2 DA: ; udp 2 DA: =default,lab; udp 2 default,lab: ; udp 2 default,lab: ; "
         "udp 2 default,lab: A; udp 3 DA: =office",
         "A last 0"},
        // One whose scopes are served meanwhile has answered in vain.
        {"udp 2 DA: =default; udp 2 default,lab: ; udp 2 default,lab: ; udp 2 default,lab: A; "
         "udp 3 DA: =default; udp 3 default,lab: C" +
             group,
         "A B last 0"},
        {silent + "=lab,default; udp 2 default,lab: A; udp 3 DA: =office", "A last 0"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(search(c.talk, "net.slp.DAAddresses = 127.0.0.2, 127.0.0.3\n"
                                 "net.slp.useScopes = default,lab"),
                  c.told)
            << c.talk;
}

TEST(SlpDirectory, RequestTooLongForADatagramGoesOverTcp)
{
    for (const auto &[length, way] : {std::pair(59U, "udp"), {60U, "tcp"}}) {
        const std::string scopes(length, 's');
        EXPECT_EQ(search("udp 2 DA: =" + scopes + "; " + way + " 2 " + scopes + ": A",
                         "net.slp.DAAddresses = 127.0.0.2\nnet.slp.MTU = 128\n"
                         "net.slp.useScopes = " +
                             scopes),
                  "A last 0");
    }
}

TEST(SlpDirectory, AgentsOfOurScopesAreFoundByMulticast)
{
    const std::string second = "service:directory-agent://127.0.0.2";
    const std::string third = "SERVICE:Directory-Agent://127.0.0.3:427/";
    // The message comes from 127.0.0.2; whoever is asked for printers then answers.
    const struct {
        std::string message;
        const char *answered; ///< the answerers that the search for agents has noted
        const char *asked;    ///< for printers: an agent, or the group when it is none of ours
        const char *replies = "*";
    } cases[] = {
        {wire_advert({}, {third, "lab, DEFAULT"}), "2 ", "udp 3"},
        {wire_advert({}, {third, "default"}), "2 ", "udp 3: !; group 1",
         "*@2 =default"}, // one for each sender
        {wire_advert({}, {third, "default"}), "2 ", "udp 3: +; tcp 3"},
        {wire_advert({}, {"service:directory-agent://da", "default"}), "2 ", "udp 2"},
        {wire_advert({}, {second, "office,defaults"}), "2 ", "group 1"},
        {wire_advert({}, {second, "default", 0}), "2 ", "group 1"},
        {wire_advert({}, {"service:printer:x://a", "default"}), "2 ", "group 1"},
        {wire_advert({}, {second, "default", 9, 2}), "", "group 1"},
        {"garbage", "", "group 1"},
    };
    const char *settings = "net.slp.activeDADetection = yes\nnet.slp.maxResults = 1\n"
                           "net.slp.DADiscoveryTimeouts = 200, 1";
    for (const auto &c : cases) {
        const std::string talk = std::string("group 1 DA: ") + c.replies + "@2; group 1 " +
                                 c.answered + "DA:; " + c.asked + ": A";
        EXPECT_EQ(search(talk, settings, {c.message}), "A last 0") << talk;
    }
    // They are searched with waits of their own.
    EXPECT_EQ(search("group 1 DA:; group 1: A",
                     "net.slp.activeDADetection = yes\nnet.slp.maxResults = 1\n"
                     "net.slp.DADiscoveryTimeouts = 200"),
              "A last 0");
}
