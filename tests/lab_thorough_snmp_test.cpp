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
)"},
                                           "timeout 11 \"$0\" -s --snmp --thorough; echo $?");
    EXPECT_EQ(lines_of(result.program.out).back(), "0") << "it ends";
    EXPECT_EQ(line_count(result.program.out, "ip: 10.9.1."), 2U) << result.program.out;
}

TEST(ThoroughSnmp, ListsNoIpv6AddressThatItsDeviceHasNot)
{
    constexpr char FLEET[] = R"(
device 10.9.1.1 id6=::5:1 id="MFG:A;MDL:both;CLS:PRINTER,SCN;"
device - id6=::5:2 from6=site id="MFG:A;MDL:site;CLS:PRINTER;"
device - id6=::5:3 id="MFG:A;MDL:none;CLS:PRINTER;" snmp.on=broadcast
device - id6=::5:4 id="MFG:A;MDL:x;CLS:PRINTER;" query.id="MFG:A;MDL:y;CLS:PRINTER;"
device - id6=::5:5 id="MFG:A;MDL:x;CLS:PRINTER;" query.id="MFG:B;MDL:x;CLS:PRINTER;"
device - id6=::5:6 id="MFG:A;MDL:x;CLS:PRINTER,SCN;" query.id="MFG:A;MDL:x;CLS:PRINTER;"
)";
    const lab_result result = devscout_in_lab({FLEET, {"--loss", "5"}}, {"--thorough", "--snmp6"});
    EXPECT_EQ(sorted_devices(result.program.out),
              R"(ip: 2001:db8:9::5:1 slp: 0,0,0,0 snmp: 1,1,0 vendor: A dsc: "both"
ip: fd00:9::5:1     slp: 0,0,0,0 snmp: 1,1,0 vendor: A dsc: "both"
ip: fd00:9::5:2     slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "site"
ip: fe80::5:2%eth0  slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "site"
ip: fe80::5:3%eth0  slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "none"
ip: fe80::5:4%eth0  slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "x"
ip: fe80::5:5%eth0  slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "x"
ip: fe80::5:6%eth0  slp: 0,0,0,0 snmp: 1,1,0 vendor: A dsc: "x"
)");
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
)";
    const lab_result result = shell_in_lab({FLEET}, R"sh(
"$0" --thorough -R 10.9.1.{2,4,6}; "$0" --thorough -I 10.9.1.5 | grep -c '^a8'
nft 'add table ip t; add chain ip t o { type filter hook output priority 0; }
    add rule ip t o tcp dport 161 drop'
"$0" --thorough -R 10.9.1.{2,3,7}; "$0" --thorough --snmp -c x; "$0" -c other --thorough --snmp)sh");
    EXPECT_EQ(lines_with(result.program.out, "ip: ") + lines_with(result.program.out, "1"),
              R"(ip: 10.9.1.4        dsc: "A slow"
ip: 10.9.1.3         dsc: " " ERROR: Destination unreachable
ip: 10.9.1.7        dsc: "Taliven PNE-1"
ip: 10.9.1.5        slp: 0,0,0,0 snmp: 1,1,0 vendor: A dsc: "s"
ip: 10.9.1.1        slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "m"
1
)") << result.program.out;
    // One request again and again, and after silence no other one.
    const std::string sent = lines_with(requests(result.record, "snmp"), "10.9.1.6:");
    const std::vector<std::string> lines = lines_of(sent);
    EXPECT_GE(lines.size(), 4U);
    EXPECT_EQ(line_count(sent, lines.at(0)), lines.size()) << sent;
}
