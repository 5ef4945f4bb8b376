// Runs with --thorough in the lab network: how often they ask, whom they find, and when they end.
#include "program.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

struct thorough_case {
    const char *name;
    const char *method;
    std::string fleet;
    size_t listed;
    size_t least, most; ///< requests to all
    std::vector<std::string> options = {};
    std::string configuration = {}; ///< slp.conf
};

const std::string DESKS = "device 10.9.4.1 count=40 nodeq.a=DESK\n";
const std::string QUEUES = "device 10.9.4.1 count=40 slp.url=\"service:printer:lpr://%a\"\n";
const std::string ONE = "device 10.9.4.1 nodeq.a=DESK slp.url=\"service:printer:lpr://%a\"\n";

/// Behind it a further property.
const std::string ALONE = "net.slp.activeDADetection = no\nnet.slp.";

/// Devices of all methods, the first of which answers after so many milliseconds, and each other
/// one so much later than the one before it.
std::string late_devices(int count, int first_ms, int step_ms)
{
    std::string fleet;
    for (int i = 0; i < count; ++i) {
        const std::string delay = "delay=" + std::to_string(first_ms + i * step_ms);
        fleet += "device 10.9.4." + std::to_string(i + 1) + " nodeq nodeq." + delay +
                 " slp.url=\"service:printer:lpr://%a\" slp." + delay +
                 " id=\"MFG:A;CLS:PRINTER;\" snmp." + delay + "\n";
    }
    return fleet;
}

// SLP asks for directory agents twice.
const thorough_case CASES[] = {
    {"NodeqAsksUntilNobodyNewAnswers", "--nodeq", ONE, 1, 7, 7},
    {"SlpAsksUntilNobodyNewAnswers", "--slp", ONE, 1, 2 + 7, 2 + 7},
    {"NodeqCountsFromTheLatestDevice", "--nodeq", late_devices(2, 2600, 2700), 2, 12, 20},
    {"SlpCountsFromTheLatestDevice", "--slp", late_devices(2, 2600, 2700), 2, 12, 20},
    {"NodeqWhereAThirdIsLost", "--nodeq", DESKS, 40, 7, 24, {"--loss", "30"}},
    {"SlpWhereAThirdIsLost", "--slp", QUEUES, 40, 9, 19, {"--loss", "30"}},
    {"NodeqListsHundreds", "--nodeq", "device 10.9.4.1 count=300 nodeq\n", 300, 7, 24},
    {"SlpWaitsAsConfigured", "--slp", ONE, 1, 2, 2, {}, ALONE + "multicastTimeouts = 200, 300"},
    {"SlpWaitsAtMostAsConfigured",
     "--slp",
     ONE,
     1,
     2,
     2,
     {},
     ALONE + "multicastMaximumWait = 1200"},
    {"SlpAsksHoweverLongItSearchedForAgents",
     "--slp",
     ONE,
     1,
     1 + 7,
     1 + 7,
     {},
     "net.slp.DADiscoveryTimeouts = 10000\nnet.slp.DADiscoveryMaximumWait = 10000"},
};

struct LabThorough : testing::TestWithParam<thorough_case> {
};

} // namespace

TEST_P(LabThorough, Run)
{
    const thorough_case &c = GetParam();
    const std::string method = c.method;
    if (method == "--slp" && SLP_IS_AGENT == 0)
        GTEST_SKIP() << "libslp asks as often as it wants";
    const lab_result result = devscout_in_lab(
        {c.fleet, c.options, {}, {{"slp.conf", c.configuration}}}, {"-s", method, "--thorough"});
    EXPECT_EQ(line_count(result.program.out, "ip: "), c.listed);
    const size_t asked =
        line_count(requests(result.record, method.substr(2)), method == "--slp" ? "239." : "255.");
    EXPECT_GE(asked, c.least);
    EXPECT_LE(asked, c.most);
}

INSTANTIATE_TEST_SUITE_P(, LabThorough, testing::ValuesIn(CASES),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST(Thorough, EndsWhoeverAnswers)
{
    const std::vector<std::string> methods = {"snmp", "nodeq", "slp"};
    const lab_result result = shell_in_lab({late_devices(40, 0, 400)}, R"sh(
for method in snmp nodeq slp; do
    "$0" -s --$method --thorough | sed -n "s/^ip:/$method/p" &
done; wait)sh");
    // All would take 16 s.
    for (size_t i = 0; i < methods.size() - (SLP_IS_AGENT == 0 ? 1 : 0); ++i) {
        const size_t listed = line_count(result.program.out, methods[i]);
        EXPECT_TRUE(listed > 20 && listed < 34) << methods[i] << listed;
    }
}
