// The program with its own SLP agent in the lab network: what it sends, whom it believes, and how
// long it waits.
#include "lab_slp.h"
#include "program.h"
#include "scratch.h"
#include "slp_encoder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

/// The SLP requests of a record: destination, a blank and the bytes.
std::vector<std::pair<std::string, std::string>> slp_requests(const std::string &record,
                                                              const std::string &protocol)
{
    std::vector<std::pair<std::string, std::string>> found;
    std::istringstream lines(requests(record, protocol));
    std::string destination;
    size_t length = 0;
    std::string hex;
    while (lines >> destination >> length >> hex) {
        std::string bytes;
        for (size_t i = 0; i + 1 < hex.size(); i += 2)
            bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
        found.emplace_back(destination, bytes);
    }
    return found;
}

/// A search and what comes of it.
struct agent_case {
    const char *name;
    std::string configuration;
    std::string fleet;
    std::string listed;
    bool multicast = true; ///< services are searched by multicast
    bool tcp = false;      ///< somebody is asked over TCP
};

/// For the names that CTest shows.
void PrintTo(const agent_case &c, std::ostream *stream)
{
    *stream << c.name;
}

/// A printer that a directory agent knows, and one that answers itself.
const std::string KNOWN = "device 10.9.1.1 slp.da.url=\"service:printer:lpr://%a\"\n";
const std::string ANSWERS = "device 10.9.1.2 slp.url=\"service:printer:ipp://%a\"\n";
const std::string BOTH = KNOWN + ANSWERS;
const std::string BY_AGENT = announced("10.9.1.1", "1,0,1,0");
const std::string BY_ITSELF = announced("10.9.1.2", "1,1,0,0");
const std::string ALONE = "net.slp.activeDADetection = false\n";
const std::string CONFIGURED = "net.slp.DAAddresses = 10.9.0.50\n";
const std::string TWO_SCOPES = "net.slp.useScopes = DEFAULT,OTHER\n";

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
    {"ConfiguredAgent", CONFIGURED, BOTH + directory("slp.da.hidden"), BY_AGENT, false},
    {"FoundAgent", "", BOTH + directory(""), BY_AGENT, false},
    {"AgentOverTcp", "", BOTH + directory("slp.da.overflow"), BY_AGENT, false, true},
    {"AgentWithAnError", "", BOTH + directory("slp.da.error=2"), BY_ITSELF},
    {"AgentOfAnotherScope", "", BOTH + directory("slp.scopes=other"), BY_ITSELF},
    {"AgentOfOneScope", "net.slp.useScopes = other,default\n", BOTH + directory("slp.scopes=other"),
     BY_AGENT + BY_ITSELF},
    {"NoDetection", ALONE, BOTH + directory(""), BY_ITSELF},
    {"NoDetectionByAWord", "net.slp.activeDADetection = no\n", BOTH + directory(""), BY_ITSELF},
    {"NoDetectionByANumber", "net.slp.activeDADetection = 0\n", BOTH + directory(""), BY_ITSELF},
    {"NoWaitForDetection", "net.slp.DADiscoveryMaximumWait = 0\n", BOTH + directory(""), BY_ITSELF},
    {"ConfiguredAgentOfTheFirstScope", CONFIGURED + TWO_SCOPES,
     KNOWN + "device 10.9.1.2 slp.scopes=other slp.url=\"service:printer:ipp://%a\"\n" +
         directory(""),
     BY_AGENT + BY_ITSELF},
    {"ConfiguredAgentOfTheSecondScope", CONFIGURED + TWO_SCOPES,
     "device 10.9.1.1 slp.da.scopes=other slp.da.url=\"service:printer:lpr://%a\"\n"
     "device 10.9.1.3 slp.da.scopes=default slp.da.url=\"service:printer:lpr://%a\"\n" +
         ANSWERS + directory("slp.scopes=other"),
     BY_AGENT + BY_ITSELF},
    {"ConfiguredServiceAgent", "net.slp.DAAddresses = 10.9.1.2\n",
     ANSWERS + "device 10.9.1.3 slp.url=\"service:printer:ipp://%a\"\n",
     BY_ITSELF + announced("10.9.1.3", "1,1,0,0")},
    // The requests go out after 0, 0.5, 1.25 and 2.25 s; the search for services is over after
    // 2.25 s in which nobody answers. A silent directory agent has 3.75 s, all of them 15 s, and
    // 5 s of each for TCP.
    {"SlowConfiguredAgent", CONFIGURED, BOTH + directory("slp.delay=2000"), BY_AGENT, false},
    {"ConfiguredAgentTooSlow", CONFIGURED, BOTH + directory("slp.delay=4500"), BY_ITSELF},
    {"SilentAgent", "", BOTH + directory("slp.da.silent"), BY_ITSELF},
    {"AgentSlowOverTcp", CONFIGURED, BOTH + directory("slp.da.overflow slp.tcp.delay=3500"),
     BY_AGENT, false, true},
    {"AgentTooSlowOverTcp", CONFIGURED, BOTH + directory("slp.da.overflow slp.tcp.delay=6500"),
     BY_ITSELF, true, true},
    {"SilentConfiguredAgents",
     "net.slp.DAAddresses = 10.9.0.10, 10.9.0.11, 10.9.0.12, 10.9.0.13, 10.9.0.50\n",
     BOTH + "device 10.9.0.10 count=4\n" + directory("slp.da.hidden"), BY_ITSELF},
    {"LatePrinter", ALONE, "device 10.9.1.2 slp.url=\"service:printer:ipp://%a\" slp.delay=1600\n",
     BY_ITSELF},
    {"PrinterTooLate", ALONE,
     "device 10.9.1.2 slp.url=\"service:printer:ipp://%a\" slp.delay=3000\n", ""},
    {"Overflow", ALONE,
     overflowing("10.9.1.1", "slp.tcp slp.tcp.delay=5000") + overflowing("10.9.1.2", "slp.tcp") +
         overflowing("10.9.1.3", "") + overflowing("10.9.1.4", "slp.tcp slp.da.tcp=short"),
     announced("10.9.1.1", "1,0,1,0") + announced("10.9.1.2", "1,1,1,0") +
         announced("10.9.1.3", "1,0,1,0") + announced("10.9.1.4", "1,0,1,0"),
     true, true},
    {"Broadcast", ALONE + "net.slp.isBroadcastOnly = true\n", ANSWERS, BY_ITSELF, false},
};

struct LabSlpAgentCase : testing::TestWithParam<agent_case> {
};

} // namespace

TEST_P(LabSlpAgentCase, Lists)
{
    const agent_case &c = GetParam();
    const scratch_folder etc;
    etc.write("slp.conf", "# for the test\n" + c.configuration);
    const lab_result result =
        devscout_in_lab({c.fleet, {"--etc", etc.path.string()}}, {"-s", "--slp"});
    SKIP_NO_LAB(result);
    EXPECT_EQ(sorted_devices(result.program.out), c.listed);
    bool multicast = false;
    for (const auto &[destination, bytes] : slp_requests(result.record, "slp")) {
        const bool to_group = destination == "239.255.255.253:427";
        const bool for_agents = bytes.find("service:directory-agent") != std::string::npos;
        multicast = multicast || (to_group && !for_agents);
        EXPECT_FALSE(to_group && for_agents && !c.configuration.empty() &&
                     c.configuration.find("useScopes = other") == std::string::npos)
            << "no search for directory agents";
    }
    EXPECT_EQ(multicast, c.multicast);
    EXPECT_EQ(!slp_requests(result.record, "slp-tcp").empty(), c.tcp);
}

INSTANTIATE_TEST_SUITE_P(, LabSlpAgentCase, testing::ValuesIn(CASES),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST(LabSlpAgent, DropsWhatLiesAndKeepsWhatIsWhole)
{
    const struct {
        const char *answer;
        const char *flags; ///< nullptr: not listed
    } cases[] = {
        {"slp.lie=auth", "1,1,1,0"},     {"slp.lie=url-length", "1,0,1,0"},
        {"slp.lie=count", "1,1,1,0"},    {"slp.lie=truncate", "1,0,1,0"},
        {"slp.lie=overflow", "1,1,1,0"}, {"slp.lie=length", "1,1,1,0"},
        {"slp.lie=language", nullptr},   {"slp.lie=xid", nullptr},
        {"slp.lie=function", nullptr},   {"slp.lie=error", nullptr},
        {"slp.lie=version", nullptr},    {"slp.raw=02020000", nullptr},
    };
    std::string fleet;
    std::string listed;
    int number = 10;
    for (const auto &c : cases) {
        const std::string ip = "10.9.1." + std::to_string(++number);
        fleet += "device " + ip + " slp.url=\"service:printer:lpr://%a\" " + c.answer +
                 " slp.url=\"service:printer:ipp://%a\"\n";
        listed += c.flags != nullptr ? announced(ip, c.flags) : "";
    }
    const lab_result result = devscout_in_lab({fleet, {}}, {"-s", "--slp"});
    SKIP_NO_LAB(result);
    EXPECT_EQ(sorted_devices(result.program.out), listed);
    EXPECT_EQ(result.program.err, "");
}

TEST(LabSlpAgent, AnswersThatArriveWhileItIsStoppedCount)
{
    const scratch_folder etc;
    etc.write("slp.conf", ALONE);
    const lab_result result = run_in_lab(
        {"device 10.9.1.1 count=60 slp.url=\"service:printer:lpr://%a\" slp.delay=400\n",
         {"--etc", etc.path.string()}},
        {"/bin/bash", "-c", "$0 -s --slp & sleep 0.2; kill -STOP $!; sleep 3; kill -CONT $!; wait",
         DEVSCOUT_PROGRAM});
    SKIP_NO_LAB(result);
    EXPECT_EQ(line_count(result.program.out, "ip: "), 60U);
}

TEST(LabSlpAgent, SendsRequestsThatAnAgentAccepts)
{
    const lab_result result = devscout_in_lab(
        {"device 10.9.1.1 slp.url=\"service:printer:lpr://%a\"\n", {}}, {"-s", "--slp"});
    SKIP_NO_LAB(result);
    const auto sent = slp_requests(result.record, "slp");
    const struct {
        const char *type;
        const char *responders;
    } expected[] = {{"service:directory-agent", ""},
                    {"service:directory-agent", ""},
                    {"service:printer", ""},
                    {"service:printer", "10.9.1.1"},
                    {"service:printer", "10.9.1.1"}};
    ASSERT_EQ(sent.size(), std::size(expected));
    for (size_t i = 0; i < sent.size(); ++i) {
        const std::string &bytes = sent[i].second;
        EXPECT_EQ(sent[i].first, "239.255.255.253:427");
        EXPECT_EQ(wire_request_texts(bytes),
                  (std::vector<std::string>{"en", expected[i].responders, expected[i].type,
                                            "default", "", ""}));
        EXPECT_EQ(wire_number_at(bytes, FLAGS_FIELD), 0x2000U) << "request multicast";
        EXPECT_EQ(wire_number_at(bytes, XID_FIELD),
                  wire_number_at(sent[i < 2 ? 0 : 2].second, XID_FIELD))
            << "one number a search";
    }
}
