// Hosts as they are: several interfaces, bridges and tunnels, routes, users and locales.
#include "program.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

/// The network behind eth0 and the one behind eth1: a device for each method, and one interface
/// identifier on both.
constexpr char HALL[] = R"(device 10.9.1.1 id="MFG:Taliven;MDL:QD;CLS:PRINTER;"
device 10.9.1.2 nodeq.a=HALL
device 10.9.1.3 slp.url="service:printer:lpr://%a:515/q"
device - id6=::5:1 id="MFG:Pemberk;MDL:Folio;CLS:PRINTER;"
)";
constexpr char ANNEX[] = R"(device 10.10.1.1 id="MFG:Orvel;MDL:B5;CLS:PRINTER;"
device 10.10.1.2 nodeq.a=ANNEX
device 10.10.1.3 slp.url="service:printer:lpr://%a:515/q"
device - id6=::5:1 id="MFG:Ramo;MDL:Solo;CLS:PRINTER;"
)";

/// What is listed of each network.
constexpr char IN_HALL[] =
    R"(ip: 10.9.1.1        slp: 0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: "QD"
ip: 10.9.1.2        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: " [HALL]"
ip: 10.9.1.3        slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: ""
ip: fd00:9::5:1     slp: 0,0,0,0 snmp: 0,0,0 vendor: Pemberk dsc: "Folio"
ip: 2001:db8:9::5:1 slp: 0,0,0,0 snmp: 0,0,0 vendor: Pemberk dsc: "Folio"
)";
constexpr char IN_ANNEX[] =
    R"(ip: 10.10.1.1       slp: 0,0,0,0 snmp: 0,0,0 vendor: Orvel dsc: "B5"
ip: 10.10.1.2       slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: " [ANNEX]"
ip: 10.10.1.3       slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: ""
ip: fd00:10::5:1    slp: 0,0,0,0 snmp: 0,0,0 vendor: Ramo dsc: "Solo"
ip: 2001:db8:10::5:1 slp: 0,0,0,0 snmp: 0,0,0 vendor: Ramo dsc: "Solo"
)";

struct host {
    const char *name;
    const char *interfaces;
    std::vector<std::string> options;
};

const host HOSTS[] = {
    {"AllKinds", "bridge0,unplugged0,eth1,tunnel0,down0,eth0", {}},
    {"AllKindsWithoutARoute", "bridge0,tunnel0,eth0,eth1,unplugged0,down0", {"--no-route"}},
    {"OrdinaryUser", "bridge0,eth1,eth0", {"--no-route", "--no-capabilities"}},
};

constexpr char LIBSLP_STOPS[] =
    "libslp ends its search at the first interface that refuses to send";

struct Hosts : testing::TestWithParam<host> {
};

/// What a run tells on standard error, and the shell command that makes it.
struct failing_run {
    const char *name;
    const char *command;
    const char *expected;
    std::vector<std::string> options = {};
};

const failing_run FAILING_RUNS[] = {
    {"NoIpv6AndNothingElse",
     R"("$0" --snmp6)",
     "devscout: snmp6: Cannot assign requested address\n",
     {"--no-ipv6"}},
    {"Ipv6OfTheLoopback",
     R"(printf 0 >/proc/sys/net/ipv6/conf/lo/disable_ipv6
        ip address add fd00::1/64 dev lo && "$0" --snmp6 --nodeq)",
     "",
     {"--no-ipv6"}},
    {"NoIpv6Route", R"(ip -6 route flush table all; "$0" --snmp6 --nodeq)",
     "devscout: snmp6: Network is unreachable\n"},
    {"NoNetwork", R"(ip link set eth0 down; "$0"; "$0" --nodeq --thorough)",
     R"(devscout: nodeq: Network is unreachable
devscout: slp: Network is unreachable
devscout: snmp: Network is unreachable
devscout: snmp6: Network is unreachable
devscout: nodeq: Network is unreachable
)"},
    {"InterfacesRefused", R"("$1" netlink,ifconf "$0" --slp --nodeq)",
     "devscout: the interfaces cannot be listed: Operation not permitted\n"},
    {"Ipv6Refused", R"("$1" ipv6 "$0")",
     "devscout: snmp6: Address family not supported by protocol\n"},
    {"ReportsThatCannotBeWritten",
     R"(for output in full null; do "$0" --nodeq6 >/dev/$output; echo $? >&2; done
        "$0" --nodeq6 | true; "$0" -R 10.9.1.1 >/dev/full || echo $? >&2)",
     R"(devscout: the report cannot be written: No space left on device
1
0
devscout: the report cannot be written: No space left on device
1
)"},
};

struct Failures : testing::TestWithParam<failing_run> {
};

} // namespace

TEST_P(Hosts, AreAskedOnceOnEachInterfaceAndListedWhole)
{
    if (SLP_IS_AGENT == 0 && strstr(GetParam().interfaces, "down") != nullptr)
        GTEST_SKIP() << LIBSLP_STOPS;
    lab_setup lab = {HALL, GetParam().options, {ANNEX}};
    lab.options.insert(lab.options.end(), {"--interfaces", GetParam().interfaces});
    const lab_result result = devscout_in_lab(lab, {});
    const std::string &out = result.program.out;
    EXPECT_EQ(sorted_devices(out), sorted_devices(std::string(IN_HALL) + IN_ANNEX));
    EXPECT_EQ(out.find("rror"), std::string::npos) << out;
    EXPECT_EQ(result.program.err, "");

    auto records = result.records;
    records["eth0"] = result.record;
    EXPECT_EQ(records.count("eth1"), 1U);
    for (const auto &[interface, record] : records) {
        if (interface[0] == 'e') {
            // Both rounds of nodeq; SNMP's request and its repetition.
            for (const auto &[protocol, target] : {std::pair("nodeq", "255.255.255.255:6000 "),
                                                   {"snmp", "255.255.255.255:161 "},
                                                   {"snmp", "[ff02::1]:161 "}})
                EXPECT_EQ(line_count(requests(record, protocol), target), 2U) << record;
            EXPECT_EQ(requests(record, "slp"), requests(result.record, "slp"));
        } else { // a tunnel, where whatever is sent is recorded
            EXPECT_EQ(requests(record, "tunnel"), "");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Lab, Hosts, testing::ValuesIn(HOSTS),
                         [](const auto &instance) { return instance.param.name; });

TEST(Lab, GoesOnWithTheOtherInterfaceWhereOneRefusesToSend)
{
    if (SLP_IS_AGENT == 0)
        GTEST_SKIP() << LIBSLP_STOPS;
    for (const std::string refusing : {"eth0", "eth1"}) {
        const lab_result result = shell_in_lab({HALL, {}, {ANNEX}}, R"(nft "table inet t { chain c {
type filter hook output priority 0; oifname $1 drop; }; }" && "$0")",
                                               refusing);
        const std::string &out = result.program.out;
        EXPECT_EQ(sorted_devices(out), sorted_devices(refusing == "eth0" ? IN_ANNEX : IN_HALL));
        EXPECT_EQ(out.find("rror"), std::string::npos) << out;
    }
}

TEST(Lab, AsksThroughATunnelThatIsAllThereIs)
{
    const lab_result result = shell_in_lab({HALL, {"--interfaces", "eth0,tunnel0"}}, R"sh(
ip link set eth0 down; ip route replace default dev tunnel0; "$0" --slp --nodeq --snmp)sh");
    const std::string asked = requests(result.records.at("tunnel0"), "tunnel");
    for (const char *target :
         {"255.255.255.255:161 ", "255.255.255.255:6000 ", "239.255.255.253:427 "})
        EXPECT_GE(line_count(asked, target), 2U) << asked;
}

TEST_P(Failures, AreToldOnStandardError)
{
    const failing_run &c = GetParam();
    EXPECT_EQ(shell_in_lab({"", c.options}, c.command, REFUSE).program.err, c.expected);
}

INSTANTIATE_TEST_SUITE_P(Lab, Failures, testing::ValuesIn(FAILING_RUNS),
                         [](const auto &instance) { return instance.param.name; });

TEST(Lab, FindsAllBehindAFirewallThatLetsTheAnswersIn)
{
    const std::string fragment = std::filesystem::path(LAB_COMMAND).parent_path().parent_path() /
                                 "share/firewall/devscout.nft";
    const lab_result result = shell_in_lab({HALL}, R"sh(
nft 'table inet t { chain c { type filter hook input priority 0; policy drop; iif lo accept
ct state established,related accept
icmpv6 type { nd-neighbor-solicit, nd-neighbor-advert } accept
}; }' && "$0" | grep '^# Total' && nft "table inet t { chain c { include \"$1\"; }; }" && "$0")sh",
                                           fragment);
    EXPECT_EQ(line_count(result.program.out, "# Total 0 printers found"), 1U) << result.program.err;
    EXPECT_EQ(sorted_devices(result.program.out), sorted_devices(IN_HALL));
}
