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
const std::string BOTH = KNOWN + ANSWERS;
const std::string BY_AGENT = announced("10.9.1.1", "1,0,1,0");
const std::string BY_ITSELF = announced("10.9.1.2", "1,1,0,0");
const std::string ALONE = "net.slp.activeDADetection = false\n";
const std::string CONFIGURED = "net.slp.DAAddresses = nobody, 10.9.0.50\n";

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

const agent_case CASES[] = {
    {"Liars", ALONE,
     ANSWERS + "device 10.9.2.1 slp.lie=count slp.url=\"service:printer:ipp://%a\"\n" +
         "device 10.9.2.2 slp.raw=020200ffff00000000000000\n",
     BY_ITSELF + announced("10.9.2.1", "1,1,0,0")},
    {"FoundAgentOverTcp", "", BOTH + directory("slp.da.overflow"), BY_AGENT, "agents tcp "},
    {"NoWaitForDetection", "net.slp.DADiscoveryMaximumWait = 0\n", BOTH + directory(""), BY_ITSELF},
    {"ConfiguredAgentOfTheSecondScope", CONFIGURED + "net.slp.useScopes = DEFAULT,OTHER\n",
     "device 10.9.1.1 slp.da.scopes=other slp.da.url=\"service:printer:lpr://%a\"\n"
     "device 10.9.1.3 slp.da.scopes=default slp.da.url=\"service:printer:lpr://%a\"\n" +
         ANSWERS + directory("slp.scopes=other"),
     BY_AGENT + BY_ITSELF},
    // The requests go out after 0, 0.5, 1.25 and 2.25 s; the search for services is over after
    // 2.25 s in which nobody answers. Silent directory agents have 3.75 s, side by side, and
    // each has 5 s for TCP, one found by multicast no longer than multicastMaximumWait.
    {"SlowConfiguredAgent", CONFIGURED, BOTH + directory("slp.delay=3000"), BY_AGENT, ""},
    {"AgentWithAnError", "", BOTH + directory("slp.da.error=2"), BY_ITSELF, "agents services "},
    {"SilentAgent", "", BOTH + directory("slp.da.silent"), BY_ITSELF, "agents services "},
    {"AgentSlowOverTcp", CONFIGURED, BOTH + directory("slp.da.overflow slp.tcp.delay=3500"),
     BY_AGENT, "tcp "},
    {"FoundAgentTooSlowOverTcp", "net.slp.multicastMaximumWait = 2000\n",
     BOTH + directory("slp.da.overflow slp.tcp.delay=3500"), BY_ITSELF, "agents services tcp "},
    {"SilentConfiguredAgents",
     "net.slp.DAAddresses = 10.9.0.10, 10.9.0.11, 10.9.0.12, 10.9.0.13, 10.9.0.50\n",
     BOTH + "device 10.9.0.10 count=4\n" + directory("slp.da.hidden"), BY_AGENT, ""},
    {"Overflow", ALONE,
     overflowing("10.9.1.1", "slp.tcp slp.tcp.delay=5000") +
         overflowing("10.9.1.2", "slp.tcp slp.tcp.delay=300") +
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
    const lab_result result = devscout_in_lab(
        {c.fleet, {}, {}, {{"slp.conf", c.configuration}, {"nsswitch.conf", "hosts: files\n"}}},
        {"-s", "--slp"});
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
        const char *words = "-s --slp";
    } cases[] = {
        {"eth1", "10.10.1.1", ""},
        {"eth1\nnet.slp.MTU = 128\nnet.slp.useScopes = " + std::string(60, 's'), "",
         "# ERROR: slp search failed, Message too long\n"},
        {"10.10.0.1, eth7,10.9.0,eth1", "10.10.1.1",
         "# ERROR: net.slp.interfaces: no interface has eth7,10.9.0\n"},
        {"eth", "",
         "# ERROR: net.slp.interfaces: no interface has eth\n"
         "# ERROR: slp search failed, Network is unreachable\n"},
        {"eth1", "", "# ERROR: slp search failed, Network is unreachable\n",
         "-s --interface eth0 --slp"},
    };
    const std::string keys = " slp.url=\"service:printer:lpr://%a\"\n";
    for (const auto &c : cases) {
        const lab_result result =
            shell_in_lab({"device 10.9.1.1" + keys,
                          {},
                          {"device 10.10.1.1" + keys},
                          {{"slp.conf", ALONE + "net.slp.interfaces = " + c.interfaces}}},
                         std::string("ip address add 10.11.0.1/16 dev eth1; \"$0\" ") + c.words);
        EXPECT_EQ(sorted_devices(result.program.out),
                  c.listed[0] != '\0' ? announced(c.listed, "1,0,1,0") : "");
        EXPECT_EQ(lines_with(result.program.out, "# ERROR"), c.told);
        EXPECT_EQ(line_count(result.records.at("eth1"), ""), c.listed[0] != '\0' ? 2 * 3U : 0U)
            << "three requests in each of two subnets";
    }
}
