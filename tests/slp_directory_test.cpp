// Searches that ask directory agents: how they are found, asked, and left for others.
#include "slp_responder.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

const std::string ADVERTS = " service:directory-agent";

/// The talk with every agent's advert before the first request to it.
std::vector<exchange> with_adverts(const std::vector<exchange> &talk)
{
    std::vector<exchange> whole;
    std::set<std::string> known;
    for (const exchange &each : talk) {
        if (each.request[0] == 'u' && known.insert(each.request).second)
            whole.push_back({each.request + ADVERTS, "=default"});
        whole.push_back(each);
    }
    return whole;
}

} // namespace

TEST(SlpDirectory, ConfiguredAgentsAreAskedInTurnAndMulticastFollowsWhenAllFail)
{
    const exchange overflow = {"udp 2", "A+"};
    const exchange next = {"udp 3", "C"};
    const auto lying = [](size_t length) -> exchange {
        return {"tcp 2", "", {wire_with(wire_reply({}), LENGTH_FIELD, length)}};
    };
    const struct {
        const char *name;
        const char *told;
        std::vector<exchange> talk;
    } cases[] = {
        {"urls", "A B last 0", {{"udp 2", "AB"}}},
        {"nothing", "last 0", {{"udp 2", "-"}}},
        {"an error", "C last 0", {{"udp 2", "!"}, next}},
        {"two errors",
         "B last 0",
         {{"udp 2", "!"},
          {"udp 3", "!"},
          {"group 1", "B"},
          {"group 1 127.0.0.1", ""},
          {"group 1 127.0.0.1", ""}}},
        {"a loss", "A last 0", {{"udp 2", ""}, {"udp 2", "B? C@9 A", {"garbage"}}}},
        {"a broken entry", "A last 0", {{"udp 2", "AB<"}}},
        {"overflow", "A B C last 0", {overflow, {"tcp 2", "ABC"}}},
        {"overflow in an entry", "A B C last 0", {{"udp 2", "AB+<"}, {"tcp 2", "ABC"}}},
        {"overflow of the stream", "A B last 0", {overflow, {"tcp 2", "AB+"}}},
        {"error in the stream", "A C last 0", {overflow, {"tcp 2", "!"}, next}},
        {"stream cut", "A C last 0", {overflow, {"tcp 2", "AB<"}, next}},
        {"stream closed", "A C last 0", {overflow, {"tcp 2", ""}, next}},
        {"another reply in the stream", "A C last 0", {overflow, {"tcp 2", "B?"}, next}},
        {"length within itself", "A C last 0", {overflow, lying(4), next}},
        {"length within the header", "A C last 0", {overflow, lying(13), next}},
        {"greatest length", "A C last 0", {overflow, lying(0xFFFFFF), next}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const auto configure = [](slp_settings *settings) {
            // Nobody listens on the first one.
            settings->properties.da_addresses = {"127.0.0.77", "127.0.0.2", "127.0.0.3",
                                                 "127.0.0.2"};
            settings->properties.active_da_detection = true;
        };
        EXPECT_EQ(search(with_adverts(c.talk), configure), c.told);
    }
}

TEST(SlpDirectory, ConfiguredAgentsServeTheScopesOfTheirAdvertsAndMulticastTheOthers)
{
    const exchange advert = {"udp 2" + ADVERTS, "=default"};
    const exchange asked = {"udp 2 default,lab", "A"};
    const exchange no_advert = {"udp 2" + ADVERTS, "!"};
    const auto group = [](const std::string &texts) -> std::vector<exchange> {
        return {{"group 1 " + texts, "B"},
                {"group 1 127.0.0.1 " + texts, ""},
                {"group 1 127.0.0.1 " + texts, ""}};
    };
    const struct {
        const char *name;
        const char *told;
        std::vector<exchange> agents;
        std::vector<exchange> multicast;
    } cases[] = {
        {"a scope each",
         "A C last 0",
         {advert, asked, {"udp 3" + ADVERTS, "=LAB"}, {"udp 3 default,lab", "C"}},
         {}},
        {"both the same",
         "A B last 0",
         {advert, asked, {"udp 3" + ADVERTS, "=default"}},
         group("lab")},
        {"all of them", "A last 0", {{"udp 2" + ADVERTS, "=lab,default"}, asked}, {}},
        {"none of ours",
         "C last 0",
         {{"udp 2" + ADVERTS, "=office"},
          {"udp 3" + ADVERTS, "=lab,default"},
          {"udp 3 default,lab", "C"}},
         {}},
        {"no advert, and an answer",
         "A C B last 0",
         {no_advert, no_advert, asked, {"udp 3" + ADVERTS, "=default"}, {"udp 3 default,lab", "C"}},
         group("lab")},
        {"an advert that comes late",
         "A last 0",
         {no_advert, no_advert, {"udp 2 default,lab", "=lab,default"}, asked},
         {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const auto configure = [](slp_settings *settings) {
            settings->properties.da_addresses = {"127.0.0.2", "127.0.0.3"};
            settings->properties.use_scopes = "default,lab";
        };
        std::vector<exchange> talk = c.agents;
        talk.insert(talk.end(), c.multicast.begin(), c.multicast.end());
        EXPECT_EQ(search(talk, configure), c.told);
    }
}

TEST(SlpDirectory, OneSenderNamesOneAgent)
{
    const auto advert = [](const char *last) {
        return wire_advert(std::string("service:directory-agent://127.0.0.") + last, "default");
    };
    const auto configure = [](slp_settings *settings) {
        settings->properties.active_da_detection = true;
        settings->properties.da_discovery_timeouts = {1, {200}};
        settings->properties.max_results = 1;
    };
    EXPECT_EQ(search({{"group 1" + ADVERTS, "", {advert("3"), advert("2")}},
                      {"udp 3", "!"},
                      {"group 1", "A"}},
                     configure),
              "A last 0");
}

TEST(SlpDirectory, RequestTooLongForADatagramGoesOverTcp)
{
    const std::string scopes(1000, 's');
    const auto configure = [&scopes](slp_settings *settings) {
        settings->properties.da_addresses = {"127.0.0.2"};
        settings->properties.use_scopes = scopes;
        settings->properties.mtu = 1000;
    };
    EXPECT_EQ(search({{"udp 2" + ADVERTS, "=" + scopes}, {"tcp 2 " + scopes, "A"}}, configure),
              "A last 0");
}

TEST(SlpDirectory, AgentsOfOurScopesAreFoundByMulticast)
{
    const std::string second = "service:directory-agent://127.0.0.2";
    const std::string third = "SERVICE:Directory-Agent://127.0.0.3:427/";
    const std::string whole = wire_advert(second, "default");
    // Each message comes alone, from 127.0.0.2; whoever is asked for printers then answers.
    const struct {
        const char *name;
        std::string message;
        const char *answered; ///< the answerers that the search for agents has noted
        const char *asked;    ///< for printers: an agent, or the group when it is none of ours
    } cases[] = {
        {"ours", wire_advert(third, "lab, DEFAULT"), " 127.0.0.2", "udp 3"},
        {"name", wire_advert("service:directory-agent://da", "default"), " 127.0.0.2", "udp 2"},
        {"other scopes", wire_advert(second, "office,defaults"), " 127.0.0.2", "group 1"},
        {"going away", wire_advert(second, "default", 0), " 127.0.0.2", "group 1"},
        {"printer", wire_advert("service:printer:x://a", "default"), " 127.0.0.2", "group 1"},
        {"error", wire_advert(second, "default", 9, 2), "", "group 1"},
        {"other transaction", wire_with(whole, XID_FIELD, 1), "", "group 1"},
        {"reply", wire_reply({}), "", "group 1"},
        {"garbage", "garbage", "", "group 1"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const auto configure = [](slp_settings *settings) {
            settings->properties.active_da_detection = true;
            settings->properties.da_discovery_timeouts = {2, {200, 1}};
            settings->properties.max_results = 1;
        };
        EXPECT_EQ(search({{"group 1" + ADVERTS, "", {c.message}},
                          {"group 1" + (c.answered + ADVERTS), ""},
                          {c.asked, "A"}},
                         configure),
                  "A last 0");
    }
}
