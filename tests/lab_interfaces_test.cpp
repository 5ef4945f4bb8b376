// Addresses and interfaces as hosts have them: further subnets, bridges, deprecated prefixes,
// routes with a source of their own, hundreds of interfaces, and refused lists of them.
#include "program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{

/// A device for each IPv4 method in the subnet, without a gateway to others.
std::string office(const std::string &subnet, int bits)
{
    const std::string own = " subnet=" + std::to_string(bits) + " ";
    return "device " + subnet + ".1" + own + "id=\"MFG:Taliven;MDL:QD;CLS:PRINTER;\"\n" +
           "device " + subnet + ".2" + own + "nodeq.a=X\n" + "device " + subnet + ".3" + own +
           "slp.url=service:printer:lpr://%a:515/q\n";
}

std::string in_office(const std::string &subnet)
{
    // libslp sends in its own way.
    const std::string by_slp = SLP_IS_AGENT != 0 ? "--slp " + subnet + ".3\n" : "";
    return "--snmp " + subnet + ".1\n--nodeq " + subnet + ".2\n" + by_slp;
}

constexpr char DEVICE6[] = "device - id6=::5:1 id=\"MFG:Orvel;MDL:B5;CLS:PRINTER;\"\n";

/// What is listed of it: --snmp6 and each address.
std::string in_ipv6(const std::vector<std::string> &prefixes)
{
    std::string listed;
    for (const std::string &prefix : prefixes)
        listed += "--snmp6 " + prefix + "::5:1\n";
    return listed;
}

struct host {
    const char *name;
    std::string hall;  ///< the fleet behind eth0
    std::string setup; ///< shell commands, or what is run before the program
    std::string listed;
    size_t subnets = 0;     ///< those behind eth0 that are asked, each once; 0: IPv6 is
    std::string annex = {}; ///< the fleet behind eth1; "": no such interface
};

/// Two interfaces with two subnets each, and IPv6.
const std::string TWO_BY_TWO = R"(ip address add 10.2.0.100/24 dev eth0
ip address add 10.3.0.100/24 label eth1:3 dev eth1
)";

const host HOSTS[] = {
    {"FurtherSubnets", office("10.9.1", 16) + office("10.2.0", 24) + office("10.3.0", 24), R"(
ip address add 10.2.0.100/24 broadcast + dev eth0; ip address add 10.2.0.101/24 dev eth0
ip address add 10.3.0.100/24 dev eth0 label eth0:1 noprefixroute
)",
     in_office("10.9.1") + in_office("10.2.0") + in_office("10.3.0"), 3},
    {"SubnetsInASubnet", office("10.9.1", 16) + office("10.9.7", 24),
     "for own in 10.9.7.100/24 10.9.33.1/18; do ip address add $own dev eth0; done\n",
     in_office("10.9.1") + in_office("10.9.7"), 3},
    {"OneSubnetOnTwoInterfaces", office("10.9.1", 16),
     "ip address flush dev eth1 to 10.10.0.0/16; ip address add 10.9.0.3/16 dev eth1\n",
     in_office("10.9.1") + in_office("10.9.5"), 1, office("10.9.5", 16)},
    {"SecondAddressesOfASubnet", office("10.9.1", 16), R"(
ip address add 10.9.0.7/16 dev eth0; ip address add 10.9.0.8/32 dev eth0
ip route replace default dev eth0 src 10.9.0.7
)",
     in_office("10.9.1"), 1},
    {"HostAddressesAlone", office("10.9.1", 16), R"(
ip address flush dev eth0 scope global; ip address add 10.9.0.1/32 dev eth0
ip address add 10.9.0.8/32 dev eth0; ip route add default dev eth0 src 10.9.0.8
)",
     in_office("10.9.1"), 1},
    {"LinkLocalAddressesFirstAndARouteFromAnotherInterfacesAddress", office("10.9.1", 16), R"(
for end in 0 1; do ip address add 169.254.7.$end/16 scope link dev eth$end; done
ip route replace default dev eth0 src 10.10.0.1
)",
     in_office("10.9.1") + in_office("10.10.1"), 3, office("10.10.1", 16)},
    {"DeprecatedAndTentativePrefixes", DEVICE6, R"(
ip address add 2001:db8:77::9:1/64 dev eth0 nodad; ip address add fe80::9:7/64 dev eth0 nodad
ip address change 2001:db8:9::9:1/64 dev eth0 preferred_lft 0
ip address change fd00:10::10:1/64 dev eth1 preferred_lft 0
ip address flush dev eth1 scope global to 2001:db8::/32
echo 1 >/proc/sys/net/ipv6/conf/eth1/accept_dad
echo 99 >/proc/sys/net/ipv6/conf/eth1/dad_transmits
ip address add 2001:db8:78::9:1/64 dev eth1
)",
     in_ipv6({"fd00:9", "2001:db8:77", "fd00:10", "2001:db8:78"}), 0, DEVICE6},
    {"ABridgeWhosePortKeptItsLinkLocalAddress", DEVICE6, R"(
ip link add br0 address 02:00:0a:09:00:01 type bridge && ip link set eth0 master br0
for address in fe80:: fd00:9:: 2001:db8:9::; do ip address add ${address}9:1/64 nodad dev br0; done
ip address flush dev eth0 scope global && ip link set br0 up
for i in {1..200}; do [[ $(ip link show br0) == *' state UP '* ]] && break; sleep 0.02; done
)",
     in_ipv6({"fd00:9", "2001:db8:9"})},
    {"ALinkThatComesUpMeanwhile", "device 10.9.0.9\n", R"(
ip link set eth0 down
{ sleep 1; ip link set eth0 up
for address in fe80:: fd00:9:: 2001:db8:9::; do ip address add ${address}9:1/64 nodad dev eth0; done
} >/dev/null 2>&1 &
)",
     in_ipv6({"fd00:10", "2001:db8:10"}), 0, DEVICE6},
    {"HundredsOfInterfacesTheRightOneLast", office("10.9.1", 16) + DEVICE6, R"(
echo 0 >/proc/sys/net/ipv6/conf/default/addr_gen_mode
for i in {1..130}; do
    echo "link add a$i up type veth peer name b$i"; echo "link set b$i up"
    echo "address add 10.1.$i.1/30 dev a$i"; echo "address add 10.1.$i.5/30 dev b$i"
done | ip -batch -
ip link set eth0 down; ip address flush dev eth0; ip link set eth0 address 02:00:0a:09:00:03
ip link add br0 type bridge; ip link add last address 02:00:0a:09:00:01 type veth peer name port
ip link set port master br0; ip link set eth0 master br0
ip address add 10.9.0.1/16 dev last
for address in fe80:: fd00:9:: 2001:db8:9::; do ip address add ${address}9:1/64 nodad dev last; done
for name in eth0 port br0 last; do ip link set $name up; done
for i in {1..400}; do
    [[ $(bridge link) == *forwarding*forwarding* ]] && break; sleep 0.02
done
)",
     in_office("10.9.1") + in_ipv6({"fd00:9", "2001:db8:9"}), 1},
    {"NoNetlink", office("10.9.1", 16) + office("10.2.0", 24) + DEVICE6,
     TWO_BY_TWO + R"(exec_by="$1 netlink"
ip address add 2001:db8:77::9:1/64 dev eth0 nodad
ip address change 2001:db8:9::9:1/64 dev eth0 preferred_lft 0
)",
     in_office("10.9.1") + in_office("10.2.0") + in_office("10.10.1") + in_office("10.3.0") +
         in_ipv6({"fd00:9", "2001:db8:77", "fd00:10", "2001:db8:10"}),
     2, office("10.10.1", 16) + office("10.3.0", 24) + DEVICE6},
    {"NoListAtAll", office("10.9.1", 16) + office("10.2.0", 24),
     TWO_BY_TWO + "exec_by=\"$1 netlink,ifconf\"\n", in_office("10.9.1"), 1, office("10.10.1", 16)},
    {"SecondSubnetBehindAGateway",
     "device 10.9.1.1 count=60 nodeq\ndevice 10.9.1.61 count=5 nodeq.delay=300\n",
     "ip address add 10.2.0.100/24 dev eth0\n",
     [] {
         std::string listed;
         for (int i = 1; i <= 65; ++i)
             listed += "--nodeq 10.9.1." + std::to_string(i) + "\n";
         return listed;
     }()},
};

class Interfaces : public testing::TestWithParam<host>
{
};

} // namespace

TEST_P(Interfaces, AreAskedOnceInEachSubnet)
{
    const host &tested = GetParam();
    lab_setup lab = {tested.hall, {}, {}, {{"slp.conf", "net.slp.activeDADetection = no\n"}}};
    lab.networks.resize(tested.annex.empty() ? 0 : 1, tested.annex);
    const std::string methods =
        SLP_IS_AGENT != 0 ? "--snmp --snmp6 --nodeq --slp" : "--snmp --snmp6 --nodeq";
    const lab_result result =
        shell_in_lab(lab, tested.setup + "for method in " + methods + R"sh(; do
    $exec_by "$0" -s $method | sed -n "s/^ip: \([^ ]*\) .*/$method \1/p" &
done; wait)sh",
                     REFUSE);
    EXPECT_EQ(sorted_devices(result.program.out, ""), sorted_devices(tested.listed, ""))
        << result.program.err;
    const std::string by_snmp = requests(result.record, "snmp");
    // A slow run repeats its request once more.
    if (tested.subnets == 0) {
        EXPECT_LE(line_count(by_snmp, "[ff02::1]:"), 3U);
    } else {
        const std::string everybody = "255.255.255.255:";
        const size_t asked = line_count(by_snmp, everybody);
        EXPECT_EQ(line_count(requests(result.record, "nodeq"), everybody), 2 * tested.subnets);
        EXPECT_EQ(asked % tested.subnets, 0U) << asked;
        EXPECT_LE(asked, 3 * tested.subnets);
        EXPECT_LE(line_count(requests(result.record, "slp"), "239."), 4 * tested.subnets);
    }
}

INSTANTIATE_TEST_SUITE_P(Lab, Interfaces, testing::ValuesIn(HOSTS),
                         [](const auto &instance) { return instance.param.name; });

TEST(Lab, AsksThroughTheChosenInterfaceAlone)
{
    const auto fleet = [](const std::string &net) {
        return office(net + ".1", 16) + DEVICE6 + "device " + net +
               ".1.7 id6=::7:1 scan=whole\ndevice " + net +
               ".1.9 slp.da slp.url=service:printer:lpr://" + net + ".1.8/q\n";
    };
    const std::string conf = "net.slp.DAAddresses = 10.9.1.9,10.10.1.9\n"
                             "net.slp.useScopes = default,other\n"
                             "net.slp.multicastMaximumWait = 1000\n";
    const struct {
        const char *order;
        std::string chosen; ///< the interface that is listed last; "$(id);'": eth1 is called so
    } cases[] = {{"eth1,eth0", "eth0"}, {"eth0,eth1", "$(id);'"}};
    for (const auto &c : cases) {
        const bool hall = c.chosen == "eth0";
        const lab_result result = shell_in_lab(
            {fleet("10.9"), {"--interfaces", c.order}, {fleet("10.10")}, {{"slp.conf", conf}}},
            R"sh(
[[ $1 == eth* ]] || { ip link set eth1 down name "$1" && ip link set "$1" up
    for address in fe80:: fd00:10:: 2001:db8:10::; do
        ip address add ${address}10:1/64 nodad dev "$1"
    done; }
for i in {1..400}; do
    [[ $(ip link show "$1") == *' state UP '* &&
        -n $(ip -6 route show table local ff00::/8 dev "$1") ]] && break; sleep 0.02
done
"$0" --interface "$1" | sed -n "s/^ip: \([^ ]*\) .*/\1/p" &
"$0" --interface "$1" -R 10.9.1.1 | grep -o unreachable
"$0" --interface "$1" -R fd00:9::5:1 | grep -o Orvel
for words in '-I 10.9.1.7' '-I fd00:9::7:1' '--thorough -I fd00:9::7:1'; do
    "$0" --interface "$1" $words >/dev/null && echo block
done; wait)sh",
            c.chosen);
        const std::string net = hall ? "10.9.1." : "10.10.1.";
        const std::string net6 = hall ? "9::5:1\n" : "10::5:1\n";
        const std::string by_slp = SLP_IS_AGENT != 0 ? net + "8\n" : "";
        const std::string listed = net + "1\n" + net + "2\n" + by_slp + "fd00:" + net6 +
                                   "2001:db8:" + net6 +
                                   (hall ? "Orvel\nblock\nblock\nblock\n" : "unreachable\n");
        EXPECT_EQ(sorted_devices(result.program.out, ""), sorted_devices(listed, ""))
            << c.chosen << result.program.err;
        const std::string &eth1 = result.records.at("eth1");
        EXPECT_EQ(hall ? eth1 : result.record, "") << c.chosen;
        const std::string asked = requests(hall ? result.record : eth1, "nodeq");
        EXPECT_EQ(line_count(asked, "255.255.255.255:"), 2U) << c.chosen;
    }
}

TEST(Lab, AsksEachInterfaceOnceFromTheAddressThatSnmpConfNames)
{
    // Each answer is waited for anew.
    constexpr char FLEET[] =
        "device 10.9.1.1 id=\"MFG:Thirty-one characters of vendor;CLS:PRINTER;\" snmp.delay=1100\n"
        "device 10.9.1.2 id=\"MFG:A;CLS:PRINTER;\" snmp.delay=2200\n";
    const lab_result result = shell_in_lab({FLEET, {}, {DEVICE6}}, TWO_BY_TWO + R"sh(
ip address add 10.9.0.7/16 dev eth0; echo clientaddr 10.9.0.7 >/tmp/snmp.conf
SNMPCONFPATH=/tmp "$0" -s --snmp)sh");
    EXPECT_EQ(line_count(result.program.out, "ip: 10.9.1."), 2U) << result.program.out;
    EXPECT_NE(result.program.out.find("Thirty-one characters of vendor"), std::string::npos);
    for (const std::string &record : {result.record, result.records.at("eth1")}) {
        const size_t asked = lines_of(record).size();
        EXPECT_TRUE(asked == 2 || asked == 3) << record; // a slow run asks once more
        for (const std::string &line : lines_of(record))
            EXPECT_NE(line.find(" snmp 10.9.0.7:"), std::string::npos) << line;
    }
}

TEST(Lab, AsksThroughATunnelThatIsChosen)
{
    const lab_result result =
        shell_in_lab({DEVICE6, {"--interfaces", "eth0,tunnel0"}}, R"("$0" --interface tunnel0)");
    const std::string asked = requests(result.records.at("tunnel0"), "tunnel");
    for (const char *target : {"255.255.255.255:161 ", "255.255.255.255:6000 ",
                               "239.255.255.253:427 ", "[ff02::1]:161 "})
        EXPECT_GE(line_count(asked, target), 2U) << target << asked;
    EXPECT_EQ(result.record, "");
    EXPECT_EQ(result.program.err, "");
}

TEST(Lab, DoesNothingWhereTheChosenInterfaceCannotBeAsked)
{
    const lab_result result = shell_in_lab({DEVICE6, {"--interfaces", "eth0,down0"}}, R"sh(
try() { "$@" && echo "no failure"; }
try "$0" --interface
try "$0" --snmp --interface
try "$0" --interface '' --snmp
try "$0" --interface eth
try "$0" --interface eth0:1 -s --nodeq
try "$0" --interface eth0567890123456
try "$0" --interface $'\e[1m' -R 10.9.1.1
try "$0" --interface down0 -I 10.9.1.1
try "$0" --all --interface lo
try "$1" netlink,ifconf "$0" --interface eth0)sh",
                                           REFUSE);
    EXPECT_EQ(result.program.err, R"(devscout: --interface needs the name of an interface
devscout: --interface needs the name of an interface
devscout: --interface needs the name of an interface
devscout: there is no interface 'eth'
devscout: there is no interface 'eth0:1'
devscout: there is no interface 'eth0567890123456'
devscout: there is no interface ' [1m'
devscout: the interface 'down0' is down
devscout: 'lo' is the loopback, where nobody can be asked
devscout: the interfaces cannot be listed: Operation not permitted
)");
    EXPECT_EQ(result.program.out, "");
    EXPECT_EQ(result.record, "");
}
