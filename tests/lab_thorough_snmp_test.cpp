// --thorough by SNMP in the lab: what is asked again, for how long, and what that lists.
#include "program.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

TEST(ThoroughSnmp, FindsAndDescribesWhereOneRequestFindsHalf)
{
    constexpr char FLEET[] =
        "device 10.9.4.1 count=40 id=\"MFG:A;CLS:PRINTER;\" query.id=\"MFG:A;MDL:m%n;\"\n";
    const lab_result result = devscout_in_lab({FLEET, {"--loss", "25"}}, {"--snmp", "--thorough"});
    EXPECT_EQ(line_count(result.program.out, "ip: 10.9.4."), 40U) << result.program.out;
    EXPECT_EQ(lines_with(result.program.out, "ip: 10.9.4.40 "),
              "ip: 10.9.4.40       slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: \"A m40\"\n");
    const std::string sent = requests(result.record, "snmp");
    EXPECT_GE(line_count(sent, "255.255.255.255:161 "), 10U);
}

TEST(ThoroughSnmp, WaitsForLateDevicesButNotForThoseWhoAnswerForEver)
{
    const lab_result result = shell_in_lab({R"(
device 10.9.1.1 id="MFG:A;MDL:flood;CLS:PRINTER;" snmp.flood=30000
device 10.9.1.2 id="MFG:A;MDL:late;CLS:PRINTER;" snmp.delay=3200
device 10.9.1.3 id="MFG:A;MDL:later;CLS:PRINTER;" snmp.delay=4700
)"},
                                           "timeout 11 \"$0\" -s --snmp --thorough; echo $?");
    EXPECT_EQ(lines_of(result.program.out).back(), "0") << "it ends";
    EXPECT_EQ(line_count(result.program.out, "ip: 10.9.1."), 3U) << result.program.out;
}

TEST(ThoroughSnmp, ListsNoIpv6AddressThatItsDeviceHasNot)
{
    const std::string fleet = "device - id6=::5:9 id=\"MFG:A;" + std::string(600, 'x') +
                              R"(;MDL:long;CLS:PRINTER;"
device 10.9.1.1 id6=::5:1 id="MFG:A;MDL:both;CLS:PRINTER,SCN;"
device - id6=::5:2 from6=site id="MFG:A;MDL:site;CLS:PRINTER;"
device - id6=::5:3 id="MFG:A;MDL:none;CLS:PRINTER;" snmp.on=broadcast
device - id6=::5:4 id="MFG:A;MDL:x;CLS:PRINTER;" query.id="MFG:A;MDL:y;CLS:PRINTER;"
device - id6=::5:5 id="MFG:A;MDL:x;CLS:PRINTER;" query.id="MFG:B;MDL:x;CLS:PRINTER;"
device - id6=::5:6 id="MFG:A;MDL:x;CLS:PRINTER,SCN;" query.id="MFG:A;MDL:x;CLS:PRINTER;"
device - id6=::5:7 id="MFG:A;MDL:slow;CLS:PRINTER;" snmp.delay=900
)";
    // No address but the one it answers from, on an interface whose name has room behind one alone.
    constexpr char ANNEX[] = "device - id6=::5:8 id=\"MFG:A;MDL:s;CLS:PRINTER;\"\n"
                             "device - id6=::1234:5678:9abc:def0 id=\"MFG:A;CLS:PRINTER;\"\n";
    const lab_result result = shell_in_lab({fleet, {"--loss", "5"}, {ANNEX}}, R"sh(
ip link set eth1 down name long-name-45678 && ip link set long-name-45678 up
for i in {1..400}; do
    [[ $(ip link show long-name-45678) == *' state UP '* ]] && break; sleep 0.02
done; ip address add fe80::10:1/64 nodad dev long-name-45678
"$0" --thorough --snmp6 | sed "s/%[0-9]* /%INDEX /")sh");
    EXPECT_EQ(sorted_devices(result.program.out),
              R"(ip: 2001:db8:9::5:1 slp: 0,0,0,0 snmp: 1,1,0 vendor: A dsc: "both"
ip: 2001:db8:9::5:7 slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "slow"
ip: 2001:db8:9::5:9 slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "long"
ip: fd00:9::5:1     slp: 0,0,0,0 snmp: 1,1,0 vendor: A dsc: "both"
ip: fd00:9::5:2     slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "site"
ip: fd00:9::5:7     slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "slow"
ip: fd00:9::5:9     slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "long"
ip: fe80::1234:5678:9abc:def0%INDEX slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "A"
ip: fe80::5:2%eth0  slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "site"
ip: fe80::5:3%eth0  slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "none"
ip: fe80::5:4%eth0  slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "x"
ip: fe80::5:5%eth0  slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "x"
ip: fe80::5:6%eth0  slp: 0,0,0,0 snmp: 1,1,0 vendor: A dsc: "x"
ip: fe80::5:8%long-name-45678 slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "s"
)");
    EXPECT_GE(line_count(requests(result.record, "snmp"), "[fd00:9::5:3]:161 "), 6U);
}

TEST(ThoroughSnmp, ReachesDevicesThatAnswerEitherProbeOrRequest)
{
    constexpr char FLEET[] = R"(
device 10.9.1.1 id="MFG:A;MDL:m;CLS:PRINTER;" snmp.community=other
device 10.9.1.2 snmp
device 10.9.1.3 tcp=never
device 10.9.1.4 id="MFG:A;MDL:slow;" snmp.delay=600
device 10.9.1.5 id="MFG:A;MDL:s;CLS:PRINTER,SCN;" scan=late
device 10.9.1.6
device 10.9.1.7 id="" model="PNE-1"
device 10.9.1.8 scan=foreign
device 10.9.1.9 scan=short
device 10.9.1.10 scan=silent
)";
    const lab_result result = shell_in_lab({FLEET, {}, {}, {{"hosts", "10.9.1.10 mute\n"}}}, R"sh(
"$0" --thorough -R 10.9.1.{2,4,6}
echo "$(ASAN_OPTIONS=detect_leaks=0 strace -e trace=openat "$0" --thorough -I mute 2>&1 |
    grep -c /etc/hosts) looks for a name"
for host in 5 8 9 10; do "$0" --thorough -I 10.9.1.$host | grep -c '^a' & done | sort; wait
nft 'add table ip t; add chain ip t o { type filter hook output priority 0; }
    add rule ip t o tcp dport 161 drop'
for way in "" --quick; do "$0" $way -R 10.9.1.2; done
"$0" --thorough -R 10.9.1.{2,3,7}; "$0" --thorough --snmp -c x; "$0" -c other --thorough --snmp)sh");
    EXPECT_EQ(lines_with(result.program.out, "ip: ") + lines_with(result.program.out, "1") +
                  lines_with(result.program.out, "0"),
              R"(ip: 10.9.1.4        dsc: "A slow"
ip: 10.9.1.2         dsc: " " ERROR: Destination unreachable
ip: 10.9.1.2         dsc: " " ERROR: Destination unreachable
ip: 10.9.1.3         dsc: " " ERROR: Destination unreachable
ip: 10.9.1.7        dsc: "Taliven PNE-1"
ip: 10.9.1.5        slp: 0,0,0,0 snmp: 1,1,0 vendor: A dsc: "s"
ip: 10.9.1.1        slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "m"
1 looks for a name
1
0
0
0
)") << result.program.out;
    // One request again and again, and after silence no other one.
    const std::string sent = lines_with(requests(result.record, "snmp"), "10.9.1.6:");
    const std::vector<std::string> lines = lines_of(sent);
    EXPECT_GE(lines.size(), 4U);
    EXPECT_EQ(line_count(sent, lines.at(0)), lines.size()) << sent;
    EXPECT_GE(line_count(requests(result.record, "inquiry"), "10.9.1.10:9400 "), 4U);
    // That there is no such object is an answer.
    EXPECT_LE(line_count(requests(result.record, "snmp"), "10.9.1.2:161 "), 8U);
}

TEST(ThoroughSnmp, AddressesThatNobodyHasTakeNothingFromOthers)
{
    constexpr char FLEET[] = R"(
device 10.9.2.1 count=150 tcp=never id="MFG:A;CLS:PRINTER;"
device 10.9.4.1 count=20 id="MFG:A;CLS:PRINTER;" query.id.absent model="m" snmp.delay=180
)";
    const lab_result result = devscout_in_lab({FLEET}, {"--snmp", "--thorough"});
    EXPECT_EQ(line_count(result.program.out, "ip: 10.9.4."), 20U);
    EXPECT_EQ(lines_with(result.program.out, "ip: 10.9.2."), "");
    EXPECT_EQ(lines_with(result.program.out, "ip: 10.9.4.20 "),
              "ip: 10.9.4.20       slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: \" m\"\n");
}

TEST(QuickSnmp, DescribesMoreDevicesThanAreProbedAtOnce)
{
    constexpr char FLEET[] = R"(
device 10.9.2.1 count=60 id="MFG:A;MDL:m%n;" id.fill=2800
device 10.9.1.1
device 10.9.1.2 id="MFG:A;MDL:m;"
device 10.9.1.3 id="" snmp.delay=60 model="a model name of more than thirty-one characters"
device - id6=::5:1 id="MFG:A;"
)";
    lab_result result;
    // Behind a router that forwards nothing, silent addresses need no room in the kernel's table of
    // neighbours. An IPv6 device is looked at once before there is anything to wait for.
    const auto describe = [&] {
        result = shell_in_lab({FLEET, {}, {}, {{"hosts", "10.9.1.1 mute\n"}}}, R"sh(
ip route add 10.20.0.0/16 via 10.9.0.2
"$0" --quick -R 10.9.2.{1..60} 10.20.{1..2}.{1..130} mute |
    sed -nE 's/^ip: 10.9.2.([0-9]+) .*"A m\1x*"$/described/p
    s/^ip: 10.20.*unreachable/unreachable/p; s/^on_snmp_response.*/answered/p; /mute/p' | sort | uniq -c
echo defaultport 1161 >/tmp/snmp.conf; SNMPCONFPATH=/tmp "$0" --quick -R 10.9.1.2 | grep '^ip: '
"$0" --quick -R 10.9.1.3 | grep '^ip: '; export ASAN_OPTIONS=detect_leaks=0
strace -e trace=ppoll "$0" --quick -R fd00:9::5:1 2>&1 | grep -c Timeout
"$0" -R fd00:9::5:1 | grep '^ip: ')sh");
        return result.program.out;
    };
    const std::string expected = R"(     60 answered
     60 described
    260 unreachable
ip: 10.9.1.3        dsc: " a model name of more than thirty-one characters"
1
ip: fd00:9::5:1     dsc: "A"
)";
    EXPECT_EQ(outcome_of(describe, expected), expected);
    const std::string sent = requests(result.record, "snmp");
    EXPECT_EQ(line_count(sent, "10.9.1.1:161 "), 2U) << "identification and model";
    EXPECT_EQ(line_count(sent, "10.9.1.2:161 "), 0U) << "not at the port of the configuration";
    // Behind a request's first two bytes stands its version: 1 is SNMPv2c.
    for (const std::string &line : lines_of(lines_with(sent, "[fd00:9::5:1]:161 ")))
        EXPECT_EQ(line.substr(line.rfind(' ') + 5, 6), "020101") << line;
}
