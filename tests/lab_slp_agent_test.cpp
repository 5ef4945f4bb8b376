// The program with its own SLP agent in the lab network: whom it asks, and how long it waits.
#include "lab_slp.h"
#include "program.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

/// For what the multicast group was asked, and whether anybody over TCP.
std::string asked(const std::string &record)
{
    const std::string group = lines_with(requests(record, "slp"), "239.255.255.253:427 ");
    const bool for_agents = group.find("6469726563746f7279") != std::string::npos; // "directory"
    const bool for_services = group.find("7072696e746572") != std::string::npos;   // "printer"
    return std::string(for_agents ? "agents " : "") + (for_services ? "services " : "") +
           (requests(record, "slp-tcp").empty() ? "" : "tcp ");
}

/// A search and what comes of it.
struct agent_case {
    const char *name;
    std::string configuration;
    std::string fleet;
    std::string listed;
    const char *asked = "services ";
};

/// A printer that a directory agent knows, and one that answers itself.
const std::string KNOWN = "device 10.9.1.1 slp.da.url=\"service:printer:lpr://%a\"\n";
const std::string ANSWERS = "device 10.9.1.2 slp.url=\"service:printer:ipp://%a\"\n";
const std::string OTHER = "device 10.9.1.3 slp.url=\"service:printer:ipp://%a\"\n";
const std::string BOTH = KNOWN + ANSWERS;
const std::string BY_AGENT = announced("10.9.1.1", "1,0,1,0");
const std::string BY_ITSELF = announced("10.9.1.2", "1,1,0,0");
const std::string ALONE = "net.slp.activeDADetection = false\n";
const std::string CONFIGURED = "net.slp.DAAddresses = 10.9.0.50\n";

std::string directory(const std::string &keys)
{
    return "device 10.9.0.50 slp.da " + keys + "\n";
}

/// One that answers with the first of its URLs only, unless it is asked over TCP.
std::string overflowing(const std::string &ip, const std::string &keys)
{
    return "device " + ip + " slp.mtu=64 slp.url=\"service:printer:lpr://%a\" " +
           "slp.url=\"service:printer:ipp://%a\" " + keys + "\n";
}

/// An agent for each way to lie, from 10.9.2.1 on.
std::string liars()
{
    std::string fleet;
    int number = 0;
    for (const char *lie : {"count", "length", "overflow", "auth", "url-length", "truncate",
                            "language", "error", "xid", "version", "function"})
        fleet += "device 10.9.2." + std::to_string(++number) +
                 " slp.url=\"service:printer:ipp://%a\" slp.lie=" + lie + "\n";
    return fleet + "device 10.9.2.99 slp.raw=020200ffff00000000000000\n";
}

/// One that answers first, with hundreds of URLs.
std::string server_of_queues()
{
    std::string fleet = "device 10.9.3.1 slp.mtu=65000";
    for (int i = 0; i < 300; ++i)
        fleet += " slp.url=\"service:printer:ipp://%a/" + std::to_string(i) + "\"";
    return fleet + "\n";
}

const agent_case CASES[] = {
    {"Liars", ALONE, ANSWERS + liars(),
     BY_ITSELF + announced("10.9.2.1", "1,1,0,0") + announced("10.9.2.2", "1,1,0,0") +
         announced("10.9.2.3", "1,1,0,0") + announced("10.9.2.4", "1,1,0,0")},
    {"FoundAgentOverTcp", "", BOTH + directory("slp.da.overflow"), BY_AGENT, "agents tcp "},
    {"AgentWithAnError", "", BOTH + directory("slp.da.error=2"), BY_ITSELF, "agents services "},
    {"AgentOfOneScope", "net.slp.useScopes = other,default\n", BOTH + directory("slp.scopes=other"),
     BY_AGENT + BY_ITSELF, "agents services "},
    {"NoWaitForDetection", "net.slp.DADiscoveryMaximumWait = 0\n", BOTH + directory(""), BY_ITSELF},
    {"ConfiguredAgentOfTheSecondScope", CONFIGURED + "net.slp.useScopes = DEFAULT,OTHER\n",
     "device 10.9.1.1 slp.da.scopes=other slp.da.url=\"service:printer:lpr://%a\"\n"
     "device 10.9.1.3 slp.da.scopes=default slp.da.url=\"service:printer:lpr://%a\"\n" +
         ANSWERS + directory("slp.scopes=other"),
     BY_AGENT + BY_ITSELF},
    {"ConfiguredServiceAgent", "net.slp.DAAddresses = 10.9.1.2\n", ANSWERS + OTHER,
     BY_ITSELF + announced("10.9.1.3", "1,1,0,0")},
    // The requests go out after 0, 0.5, 1.25 and 2.25 s; the search for services is over after
    // 2.25 s in which nobody answers. Silent directory agents have 3.75 s, side by side, and
    // each has 5 s for TCP, one found by multicast no longer than multicastMaximumWait.
    {"SlowConfiguredAgent", CONFIGURED, BOTH + directory("slp.delay=3000"), BY_AGENT, ""},
    {"ConfiguredAgentTooSlow", CONFIGURED, BOTH + directory("slp.delay=4500"), BY_ITSELF},
    {"SilentAgent", "", BOTH + directory("slp.da.silent"), BY_ITSELF, "agents services "},
    {"AgentSlowOverTcp", CONFIGURED, BOTH + directory("slp.da.overflow slp.tcp.delay=3500"),
     BY_AGENT, "tcp "},
    {"AgentTooSlowOverTcp", CONFIGURED, BOTH + directory("slp.da.overflow slp.tcp.delay=6500"),
     BY_ITSELF, "services tcp "},
    {"FoundAgentTooSlowOverTcp", "net.slp.multicastMaximumWait = 2000\n",
     BOTH + directory("slp.da.overflow slp.tcp.delay=3500"), BY_ITSELF, "agents services tcp "},
    {"ServerOfManyQueues", ALONE, server_of_queues() + ANSWERS,
     BY_ITSELF + announced("10.9.3.1", "1,1,0,0")},
    {"SilentConfiguredAgents",
     "net.slp.DAAddresses = 10.9.0.10, 10.9.0.11, 10.9.0.12, 10.9.0.13, 10.9.0.50\n",
     BOTH + "device 10.9.0.10 count=4\n" + directory("slp.da.hidden"), BY_AGENT, ""},
    {"LatePrinter", ALONE, "device 10.9.1.2 slp.url=\"service:printer:ipp://%a\" slp.delay=1600\n",
     BY_ITSELF},
    {"Overflow", ALONE,
     overflowing("10.9.1.1", "slp.tcp slp.tcp.delay=5000") + overflowing("10.9.1.2", "slp.tcp") +
         overflowing("10.9.1.3", "slp.tcp slp.da.tcp=short"),
     announced("10.9.1.1", "1,0,1,0") + announced("10.9.1.2", "1,1,1,0") +
         announced("10.9.1.3", "1,0,1,0"),
     "services tcp "},
    {"Broadcast", ALONE + "net.slp.isBroadcastOnly = true\n", ANSWERS, BY_ITSELF, ""},
};

struct LabSlpAgentCase : testing::TestWithParam<agent_case> {
};

} // namespace

TEST_P(LabSlpAgentCase, Lists)
{
    const agent_case &c = GetParam();
    const lab_result result =
        devscout_in_lab({c.fleet, {}, {}, {{"slp.conf", c.configuration}}}, {"-s", "--slp"});
    EXPECT_EQ(sorted_devices(result.program.out), c.listed);
    EXPECT_EQ(asked(result.record), c.asked);
}

INSTANTIATE_TEST_SUITE_P(, LabSlpAgentCase, testing::ValuesIn(CASES),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST(LabSlpAgent, AsksTheInterfacesThatAreNamedAndTellsWhatCannotBeAsked)
{
    const struct {
        std::string interfaces;
        const char *listed, *told;
    } cases[] = {
        {"eth1", "10.10.1.1", ""},
        {"eth1\nnet.slp.MTU = 128\nnet.slp.useScopes = " + std::string(60, 's'), "",
         "# ERROR: slp search failed, Message too long\n"},
        {"10.10.0.1, eth7,10.9.0.9,eth1", "10.10.1.1",
         "# ERROR: net.slp.interfaces: no interface has eth7,10.9.0.9\n"},
        {"eth", "",
         "# ERROR: net.slp.interfaces: no interface has eth\n"
         "# ERROR: slp search failed, Network is unreachable\n"},
    };
    const std::string keys = " slp.url=\"service:printer:lpr://%a\"\n";
    for (const auto &c : cases) {
        const lab_result result =
            devscout_in_lab({"device 10.9.1.1" + keys,
                             {},
                             {"device 10.10.1.1" + keys},
                             {{"slp.conf", ALONE + "net.slp.interfaces = " + c.interfaces}}},
                            {"-s", "--slp"});
        EXPECT_EQ(sorted_devices(result.program.out),
                  c.listed[0] != '\0' ? announced(c.listed, "1,0,1,0") : "");
        EXPECT_EQ(lines_with(result.program.out, "# ERROR"), c.told);
        EXPECT_EQ(line_count(result.records.at("eth1"), ""), c.listed[0] != '\0' ? 3U : 0U);
    }
}

TEST(LabSlpAgent, AnswersThatArriveWhileItIsStoppedCount)
{
    const lab_result result = run_in_lab(
        {"device 10.9.1.1 count=60 slp.url=\"service:printer:lpr://%a\" slp.delay=400\n",
         {},
         {},
         {{"slp.conf", ALONE}}},
        {"/bin/bash", "-c", "$0 -s --slp & sleep 0.2; kill -STOP $!; sleep 3; kill -CONT $!; wait",
         DEVSCOUT_PROGRAM});
    EXPECT_EQ(line_count(result.program.out, "ip: "), 60U);
}
