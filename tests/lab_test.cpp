// The built program in the lab network: what it finds, prints and sends.
#include "program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

constexpr char OFFICE[] = R"(
device 10.9.1.1 id="MFG:Taliven;MDL:QD-77 Series;CLS:PRINTER;" nodeq.a=LOBBY
device 10.9.1.2 id="MFG:Orvel Ltd;CLS:PRINTER;" query.id="MFG:Orvel Ltd;MDL:B5;" nodeq.a=HALL
device 10.9.1.3 id="MFG:Ramo;CLS:PRINTER" query.id.absent model="4702d" mib=""
device 10.9.1.4 nodeq.a=ARCHIVE nodeq.b="line\nip: 10.9.9.9"
device 10.9.1.5 id="MFG:Quilla;MDL:Q;CLS:PRINTER;" tcp=never
device - id6=::5:1 id="MFG:Pemberk;CLS:PRINTER;" query.id="" model="Folio"
device 10.9.1.6 id="MFG:Ramo;MDL:S6;CLS:PRINTER,SCN;" scan=whole
device 10.9.1.7 id="MFG:Ramo;MDL:S7;CLS:PRINTER,SCN;" scan=foreign
device 10.9.1.8 slp.url="service:printer:lpr://%a:515/q" slp.url="service:printer:ipp://%a"
device 10.9.1.9 id="MFG:Taliven;MDL:Disk;CLS:STORAGE;"
)";

} // namespace

TEST(Lab, ListsEveryShapeOfNodeqAnswer)
{
    constexpr char FLEET[] = R"(
device 10.9.1.1 nodeq.a=ABC nodeq.b=XYZ nodeq.repeat=3
device 10.9.1.2 nodeq.b=XYZ
device 10.9.1.3 nodeq.a=ABC nodeq.b=abcdefghijklmnopqrst
device 10.9.1.4 nodeq
device 10.9.1.5 nodeq.a=ABC nodeq.length=3
device 10.9.1.6 nodeq.a=ABC nodeq.b=XYZ nodeq.length=300
device 10.9.1.7 nodeq.a=ABC nodeq.length=0
device 10.9.1.8 nodeq.first.a=FIRST nodeq.first.b=early nodeq.a=LATER nodeq.b=late
device 10.9.1.9 nodeq.a="\x1b[2J\n#" nodeq.delay=800
device 10.9.1.10 nodeq.hex=41414141414141424242
device 10.9.1.11
device 10.9.1.12 nodeq.a="abcdefghijklmnopqr\xc3\xbc" nodeq.b="B\xfcro \xe9"
device 10.9.1.13 nodeq.a="Caf\xe9" nodeq.b="abcdefghijklmnopqr\xc3\xbc"
)";
    const lab_result result = devscout_in_lab({FLEET}, {"-s", "--nodeq"});
    EXPECT_EQ(sorted_devices(result.program.out),
              R"(ip: 10.9.1.1        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[ABC] XYZ"
ip: 10.9.1.10       slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[BBB]"
ip: 10.9.1.12       slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[abcdefghijklmnopqr] Büro é"
ip: 10.9.1.13       slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[Café] abcdefghijklmnopqr"
ip: 10.9.1.2        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#XYZ"
ip: 10.9.1.3        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[ABC] abcdefghijklmnopqrs"
ip: 10.9.1.4        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: ""
ip: 10.9.1.5        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: ""
ip: 10.9.1.6        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[ABC] XYZ"
ip: 10.9.1.8        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[FIRST] early"
ip: 10.9.1.9        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[ [2J #]"
)");
    const std::string sent = "255.255.255.255:6000 65 030000f0afffff" + std::string(116, '0');
    EXPECT_EQ(requests(result.record, "nodeq"), sent + "\n" + sent + "\n");
}

TEST(Lab, ReadsNinetyNineNodeqAnswersInEachOfTwoRounds)
{
    for (const auto &[flood, listed] : {std::pair("197", 2U), std::pair("198", 1U)}) {
        const lab_result result = devscout_in_lab(
            {"device 10.9.1.1 nodeq.flood=" + std::string(flood) + "\ndevice 10.9.1.2 nodeq\n"},
            {"-s", "--nodeq"});
        EXPECT_EQ(line_count(result.program.out, "ip: 10.9.1."), listed) << flood;
    }
}

TEST(Lab, ReportsTheWholeOffice)
{
    const lab_result result = devscout_in_lab({OFFICE, {"--snmpd"}}, {});
    EXPECT_EQ(result.program.status, 0);
    EXPECT_EQ(sorted_devices(result.program.out),
              R"(ip: 10.9.0.161      slp: 0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: "QD-77 Series"
ip: 10.9.1.1        slp: 0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: "QD-77 Series [LOBBY]"
ip: 10.9.1.2        slp: 0,0,0,0 snmp: 0,0,0 vendor: Orvel dsc: "Orvel B5 [HALL]"
ip: 10.9.1.3        slp: 0,0,0,0 snmp: 0,0,0 vendor: Ramo dsc: "RAMO 4702d"
ip: 10.9.1.4        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: " [ARCHIVE] line ip: 10.9.9.9"
ip: 10.9.1.6        slp: 0,0,0,0 snmp: 1,1,0 vendor: Ramo dsc: "S6"
ip: 10.9.1.7        slp: 0,0,0,0 snmp: 1,1,0 vendor: Ramo dsc: "S7"
ip: 10.9.1.8        slp: 1,1,1,0 snmp: 0,0,0 vendor:  dsc: ""
ip: 2001:db8:9::161 slp: 0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: "QD-77 Series"
ip: 2001:db8:9::5:1 slp: 0,0,0,0 snmp: 0,0,0 vendor: Pemberk dsc: " Folio"
ip: fd00:9::161     slp: 0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: "QD-77 Series"
ip: fd00:9::5:1     slp: 0,0,0,0 snmp: 0,0,0 vendor: Pemberk dsc: " Folio"
)");
    EXPECT_EQ(line_count(result.program.out, "# Total 12 printers found, "), 1U);
}

TEST(Lab, ListsOnlyScannersThatReturnTheirBlock)
{
    const lab_result result = devscout_in_lab({OFFICE}, {"--scanner", "--snmp"});
    EXPECT_THAT(result.program.out, testing::HasSubstr(R"(raw_tcp snmp: detected,devtype,description
ip: 10.9.1.6        slp: 0,0,0,0 snmp: 1,1,0 vendor: Ramo dsc: "S6"
a8 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f
10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f
20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f
30 31 32 33 34 35 36 37 38 39 3a 3b 3c 3d 3e 3f
40 41 42 43 44 45
# Total 1 scanners found, )"));
}

TEST(Lab, RunsEveryMethodInTurn)
{
    constexpr char FLEET[] = R"(
device 10.9.1.1 id6=::1:1 id="MFG:A;MDL:m;CLS:PRINTER" nodeq.a=ABC slp.url="service:printer:lpr://%a"
device - id6=::2:1 from6=site id="MFG:A;MDL:site;CLS:PRINTER"
device - id6=::3:1 from6=global id="MFG:A;MDL:global;CLS:PRINTER"
)";
    const lab_result result = devscout_in_lab(
        {FLEET}, {"-s", "--time", "--nodeq", "--nodeq6", "--slp", "--snmp", "--snmp6"});
    EXPECT_THAT(lines_with(result.program.out, "# MARK: "),
                testing::MatchesRegex(R"(# MARK: BEGIN: [0-9].00
# MARK: after discover_using_nodeq: [0-9].00
# MARK: after discover_using_nodeq6: [01].00
# MARK: after discover_using_slp: [0-9].00
# MARK: after discover_using_netsnmp: [0-9].00
# MARK: after discover_using_netsnmp6: [0-9].00
# MARK: END: [01].00
)"));
    // Over IPv6 the addresses that a device has beside the one it answers from.
    EXPECT_EQ(sorted_devices(result.program.out),
              R"(ip: 10.9.1.1        slp: 1,0,1,0 snmp: 0,0,0 vendor: A dsc: "m"
ip: 2001:db8:9::1:1 slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "m"
ip: fd00:9::1:1     slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "m"
ip: fd00:9::2:1     slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "site"
ip: fd00:9::3:1     slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "global"
ip: fe80::2:1       slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "site"
ip: fe80::3:1       slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "global"
)");
    EXPECT_EQ(line_count(requests(result.record, "nodeq"), "255.255.255.255:6000 "), 2U)
        << "over IPv6 nothing is sent: " << result.record;
    // Behind a request's first two bytes stands its version: 0 is SNMPv1, 1 is SNMPv2c.
    EXPECT_THAT(requests(result.record, "snmp"),
                testing::MatchesRegex("(255.255.255.255:161 [0-9]+ 30..020100[^\n]+\n){2}"
                                      "([[]ff02::1]:161 [0-9]+ 30..020101[^\n]+\n){2}"));
}

TEST(Lab, AsksAgainAndWaitsOnceMoreAfterSilence)
{
    const lab_result result = shell_in_lab(
        {"device 10.9.1.1 id=\"MFG:A;MDL:m;CLS:PRINTER\" snmp.delay=3000\n"},
        ">/tmp/devscout_snmp.lcf; \"$0\" -s --snmp; grep -c :select /tmp/devscout_snmp.log");
    EXPECT_EQ(line_count(result.program.out, "ip: 10.9.1.1 "), 1U);
    EXPECT_GE(line_count(requests(result.record, "snmp"), "255.255.255.255:161 "), 2U);
    EXPECT_LT(std::stoi(lines_of(result.program.out).back()), 20)
        << "a request that is overdue for the library makes no wait shorter";
}

TEST(Lab, InquiresScannersOfEveryShape)
{
    constexpr char FLEET[] = R"(
device 10.9.1.1 id6=::a:1 scan=whole
device 10.9.1.2 scan=long
device 10.9.1.3 scan=split
device 10.9.1.4 scan=short
device 10.9.1.5 scan=foreign
device 10.9.1.6 scan=late
device 10.9.1.7 scan=silent
device 10.9.1.8 scan=closed-at-once
device 10.9.1.20 tcp=never
device 10.9.1.21
)";
    // The first address counts, not the one that is nearest.
    constexpr char NAMES[] = "fd00:9::a:1 trio\n10.9.1.1 trio\n10.9.0.99 trio\n";
    lab_result result;
    const auto inquire = [&] {
        result = shell_in_lab({FLEET, {}, {}, {{"hosts", NAMES}}}, R"sh(
for host in 10.9.1.{1..8} 2001:db8:9::a:1 trio fe80::a:1 10.9.1.20 10.9.1.21 'no name' '' ::x; do
    block=$("$0" -I "$host")
    echo "$host $? $(grep -v '^WARNING' <<<"$block" | head -n 2 | cut -c 1-11 | tr '\n' ' ')"
done)sh");
        return result.program.out;
    };
    const std::string expected = R"(10.9.1.1 0 # Mode scan a8 01 02 03 
10.9.1.2 0 # Mode scan a8 01 02 03 
10.9.1.3 1 # Mode scan 
10.9.1.4 1 # Mode scan 
10.9.1.5 1 # Mode scan 
10.9.1.6 1 # Mode scan 
10.9.1.7 1 # Mode scan 
10.9.1.8 1 # Mode scan 
2001:db8:9::a:1 0 # Mode scan a8 01 02 03 
trio 0 # Mode scan a8 01 02 03 
fe80::a:1 1 # Mode scan 
10.9.1.20 1 # Mode scan 
10.9.1.21 1 # Mode scan 
no name 1 # Mode scan 
 1 # Mode scan 
::x 1 # Mode scan 
)";
    EXPECT_EQ(outcome_of(inquire, expected), expected);
    EXPECT_GE(line_count(requests(result.record, "inquiry"), "10.9.1.1:9400 4 1ba81200"), 1U);
}

TEST(Lab, WaitsForSlowConnections)
{
    // The way to the device leads over a neighbour that is found while the connection waits. On a
    // busy machine that may be too late: then once more.
    constexpr char SCRIPT[] = R"("$0" -d4 -I 10.9.1.1 | grep -c '^a8\|^# time'
mac=$(ip neigh show 10.9.1.1 | grep -o 'lladdr [^ ]*')
ip route add 10.9.1.1 via 10.9.9.9
for turn in {1..20}; do
    { until ip neigh show 10.9.9.9 | grep -q INCOMPLETE; do :; done
        sleep 0.06; ip neigh replace 10.9.9.9 $mac dev eth0; } &
    block=$("$0" -d5 -I 10.9.1.1 | cut -c 1-31 | grep '^a8\|^# time'); wait
    [[ $block == *a8* ]] && break
    ip neigh del 10.9.9.9 dev eth0
done; echo "$block")";
    const lab_result result = shell_in_lab({"device 10.9.1.1 scan=whole\n"}, SCRIPT);
    EXPECT_EQ(result.program.out, R"(1
# time before select on open is
# time  after select on open is
# time before select on recv is
# time  after select on recv is
a8 01 02 03 04 05 06 07 08 09 0
)");
}

TEST(Lab, DescribesSingleDevices)
{
    const std::string long_model(62, 'm');
    const std::string fleet = R"(
device 10.9.1.1 id="MFG:Taliven Electronics;MDL:QD-X7 Series;"
device 10.9.1.2 id="" model="QD-X7" mib="Taliven Electronics"
device 10.9.1.3 id="no keys" model="QD-X7"
device 10.9.1.4 model="PNE-X1"
device 10.9.1.6 id="MFG:Acme;MDL:early;" snmp.then="MFG:Acme;MDL:late;"
device 10.9.1.7 id="MFG:Acme;MDL:x;" snmp.error=5
device 10.9.1.8 id="MFG:Acme;MDL:a\nip: b;"
device 10.9.1.9 tcp=never
device 10.9.1.10 id="MFG:Acme;MDL:b" id.fill=600
device 10.9.1.11 id="MFG:Acme;MDL:slow;" snmp.delay=120
device 10.9.1.12 id="MFG:Acme;MDL:x;" snmp.on=broadcast
device 10.9.1.13 id="MFG:Acme;MDL:too late;" snmp.delay=380
device - id6=::5:1 model="Brightmoor 3"
device 10.9.1.5 mib="Acme" model=)";
    constexpr char REFUSING_AT_ONCE[] = "nameserver 127.0.0.1\n";
    const auto describe = [&] {
        return shell_in_lab({fleet + long_model + "\n",
                             {"--snmpd"},
                             {},
                             {{"resolv.conf", REFUSING_AT_ONCE}}},
                            R"sh(
for host in 10.9.1.{1..10} 10.9.1.1{2,3} 10.9.0.161 fd00:9::5:1 10.9.0.1 no.such.host$'\r' fd00:9::x; do
    "$0" -R $host || echo "ip: $host failed"
done | grep '^ip: '
for turn in {1..20}; do "$0" -R 10.9.1.11 | grep '^ip: ' && break; done # busy machines answer late
ASAN_OPTIONS=detect_leaks=0 strace -e trace=connect \
    "$0" -R 10.9.1.1 2>&1 | grep -c 'htons(161).* EINPROGRESS')sh")
            .program.out;
    };
    const std::string expected = R"(ip: 10.9.1.1        dsc: "Taliven QD-X7"
ip: 10.9.1.2        dsc: "Taliven QD-X7"
ip: 10.9.1.4        dsc: "Taliven PNE-X1"
ip: 10.9.1.5        dsc: "Acme )" +
                                 long_model +
                                 R"("
ip: 10.9.1.6        dsc: "Acme late"
ip: 10.9.1.8        dsc: "Acme a ip: b"
ip: 10.9.1.9         dsc: " " ERROR: Destination unreachable
ip: 10.9.1.10       dsc: "Acme b)" +
                                 std::string(89, 'x') +
                                 R"("
ip: 10.9.0.161      dsc: "Taliven QD-77"
ip: fd00:9::5:1     dsc: "Orvel Brightmoor 3"
ip: no.such.host     dsc: " " ERROR: Destination unreachable
ip: 10.9.1.11       dsc: "Acme slow"
1
)";
    EXPECT_EQ(outcome_of(describe, expected), expected);
}

TEST(Lab, EndsAQuickRequestWithTheFirstAnswerThatBringsItsObject)
{
    // The last one sends a request instead of a response.
    constexpr char FLEET[] = R"(
device 10.9.1.1 id="MFG:Acme;MDL:early;" snmp.repeat=3 snmp.then="MFG:Acme;MDL:late;"
device 10.9.1.2 id="MFG:Acme;MDL:slow;" snmp.delay=150
device 10.9.1.3
device 10.9.1.4 id="" snmp.then="MFG:Acme;MDL:second;"
device 10.9.1.5 id="" model="QD-X7" mib="Taliven Electronics"
device 10.9.1.6 model="PNE-X1" id6=::6:1
device 10.9.1.7 tcp=never
device 10.9.1.8 id="MFG:Acme;MDL:too late;" snmp.delay=390
device 10.9.1.9 id="MFG:Acme;MDL:x;" snmp.error=5
device 10.9.1.10 id="MFG:Acme;MDL:" id.fill=60000
device 10.9.1.11 snmp.raw=304102010004066e6f626f6479a03402010102010002010030293027060f2b0601040182c0150b050101011a0004144d46473a4576696c3b434c533a5052494e544552
device 10.9.2.1 count=60 tcp=never
device 10.9.2.61 count=60 model="M%n"
)";
    constexpr char REFUSING_AT_ONCE[] = "nameserver 127.0.0.1\n";
    lab_result result;
    const auto describe = [&] {
        result = shell_in_lab({FLEET, {}, {}, {{"resolv.conf", REFUSING_AT_ONCE}}}, R"sh(
"$0" --quick -R no.such.host 10.9.1.{7,1,3,4,5,6,8,9,10,11} fd00:9::6:1 fe80::6:1%eth0 ::x
export ASAN_OPTIONS=detect_leaks=0; echo MORE
"$0" -R 10.9.1.1 10.9.1.4 | grep '^ip: '
for turn in {1..20}; do # busy machines answer late
    "$0" --quick -R 10.9.1.2 | grep '^ip: ' && break
done
for turn in {1..20}; do
    strace -e trace=ppoll "$0" --quick -R 10.9.1.6 2>&1 | grep -q Timeout || break
done; echo "asked at once, $((turn < 20))"
(ulimit -n 24; exec "$0" --quick -R 10.9.2.{1..120}) | grep -c '^ip: .*M[0-9]*"\|unreachable'
(ulimit -n 4; exec "$0" --quick -R 10.9.1.{1,7}) | grep -c '^ip: ')sh");
        const std::string &out = result.program.out;
        const size_t more = out.find("MORE\n");
        return sorted_devices(out.substr(0, more)) + out.substr(more) +
               std::to_string(line_count(requests(result.record, "snmp"), "10.9.1.5:"));
    };
    const std::string expected = R"(ip: 10.9.1.1        dsc: "Acme early"
ip: 10.9.1.10       dsc: "Acme )" +
                                 std::string(90, 'x') +
                                 R"("
ip: 10.9.1.4        dsc: "Acme second"
ip: 10.9.1.5        dsc: "Taliven QD-X7"
ip: 10.9.1.6        dsc: "Taliven PNE-X1"
ip: 10.9.1.7         dsc: " " ERROR: Destination unreachable
ip: fd00:9::6:1     dsc: "Taliven PNE-X1"
ip: fe80::6:1%eth0  dsc: "Taliven PNE-X1"
ip: no.such.host     dsc: " " ERROR: Destination unreachable
MORE
ip: 10.9.1.1        dsc: "Acme late"
ip: 10.9.1.2        dsc: "Acme slow"
asked at once, 1
120
0
3)";
    EXPECT_EQ(outcome_of(describe, expected), expected);
    const std::string &out = result.program.out;
    EXPECT_LT(out.find("Acme early"), out.find("10.9.1.7")) << "a silent device holds up others";
    EXPECT_LT(out.find("10.9.1.5 "), out.find("no.such.host")) << "names hold up addresses";
}

TEST(Lab, ProbesItselfWhatNeedsNoDescriptionWhereItIsQuick)
{
    constexpr char FLEET[] = R"(
device 10.9.1.1 count=24 id="MFG:Acme;MDL:A%n;CLS:PRINTER;" tcp=never
device 10.9.2.1 count=24 id="MFG:Acme;MDL:B%n;CLS:PRINTER;"
device 10.9.3.1 id="MFG:Acme;CLS:PRINTER;"
device 10.9.3.2 id="MFG:Acme;CLS:PRINTER;" tcp=never
device 10.9.3.3 id="MFG:Acme;CLS:PRINTER;" snmp.on=broadcast
)";
    // The silent ones take all descriptors: the others must wait for theirs.
    const lab_result result = shell_in_lab({FLEET}, R"sh(
for fd in {40..139}; do eval "exec $fd</dev/null"; done; ulimit -n 142
"$0" --snmp --quick)sh");
    std::string listed;
    for (const std::string &line : lines_of(lines_with(result.program.out, "ip: ")))
        listed += line.substr(4, line.find(' ', 4) - 4) + line.substr(line.find("dsc:") + 4) + "\n";
    std::string expected;
    for (int i = 1; i <= 24; ++i)
        expected += "10.9.2." + std::to_string(i) + " \"B" + std::to_string(i) + "\"\n";
    EXPECT_EQ(listed, expected + "10.9.3.1 \"Acme\"\n10.9.3.3 \"\"\n");
    EXPECT_EQ(line_count(requests(result.record, "snmp"), "10.9.2."), 0U)
        << "asked though it has a model";
}

TEST(Lab, PassesOverBrokenSnmpAnswers)
{
    // The last one sends a request instead of a response, with the value MFG:Evil;CLS:PRINTER.
    const lab_result result =
        devscout_in_lab({R"(
device 10.9.1.1 snmp.raw=ffff0102
device 10.9.1.2 id="MFG:A;CLS:PRINTER" snmp.reqid=wrong
device 10.9.1.3 id="MFG:A;CLS:PRINTER" snmp.error=5
device 10.9.1.4 id.int=42
device 10.9.1.5 id=""
device 10.9.1.6 id="MFG:A;CLS:PRINTER" snmp.community=other
device 10.9.1.7 id="CLS:PRINTER"
device 10.9.1.8 id="CLS:PRINTER;MFG:Big;MDL:m" id.fill=60000
device 10.9.1.9 id="CLS:PRINTER;MFG:A;MDL:\"q\";" snmp.repeat=2 snmp.delay=1500
device 10.9.1.10 id="CLS:PRINTER;MFG:A;MDL:early;" snmp.then="PRINTER MFG:late"
device 10.9.1.11 id="CLS:PRINTER;MFG:A;MDL:last"
device 10.9.1.13 id="CLS:PRINTER;MFG:A;MDL:x" snmp.on=unicast
device 10.9.1.14 id="CLS:PRINTER;MFG:B\xfcro;MDL:Gr\xfc\xdf;"
device 10.9.1.12 snmp.raw=304102010004066e6f626f6479a03402010102010002010030293027060f)"
                         "2b0601040182c0150b050101011a0004144d46473a4576696c3b"
                         "434c533a5052494e544552\n"},
                        {"-s", "--snmp"});
    EXPECT_EQ(sorted_devices(result.program.out),
              R"(ip: 10.9.1.10       slp: 0,0,0,0 snmp: 0,0,0 vendor: late dsc: ""
ip: 10.9.1.11       slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "last"
ip: 10.9.1.14       slp: 0,0,0,0 snmp: 0,0,0 vendor: Büro dsc: "Grüß"
ip: 10.9.1.8        slp: 0,0,0,0 snmp: 0,0,0 vendor: Big dsc: "m)" +
                  std::string(94, 'x') + R"("
ip: 10.9.1.9        slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "\"q\""
)");
}

TEST(Lab, CarriesOnWithoutNetworkOrIpv6)
{
    const lab_result without_network =
        shell_in_lab({OFFICE}, "ip link set eth0 down; exec \"$0\" -s --snmp --nodeq");
    const std::string &out = without_network.program.out;
    EXPECT_EQ(line_count(out, "ERROR: nodeq detection failed: Network is unreachable"), 1U) << out;
    EXPECT_EQ(line_count(out, "# ERROR: snmp_send failed, Network is unreachable"), 1U) << out;
    EXPECT_EQ(without_network.program.err, "");

    const lab_result without_ipv6 =
        devscout_in_lab({OFFICE, {"--no-ipv6"}}, {"-s", "--snmp6", "--nodeq"});
    const std::string &ipv4 = without_ipv6.program.out;
    EXPECT_EQ(line_count(ipv4, "# ERROR: snmp_"), 1U) << ipv4;
    EXPECT_EQ(line_count(ipv4, "ip: 10.9.1."), 3U) << ipv4;
}

TEST(Lab, LogsOnlyWhereItIsAsked)
{
    const lab_result result =
        shell_in_lab({"device 10.9.1.1 id=\"MFG:A;MDL:m;CLS:PRINTER\"\n"}, R"sh(
cd /tmp; "$0" --snmp >out; ls -- *.log 2>/dev/null
>devscout.lcf; echo LOG_LEVEL=0 >devscout_snmp6.lcf
"$0" -c "it's" --snmp --snmp6 >out; ls -- *.log; sed -E 's/ <.*devscout'"'?"' / </; s/: 20.*/: 20/' devscout.log
echo APPEND_MODE=1 >devscout_snmp.lcf; echo before >devscout_snmp.log; "$0" -s --snmp >out
sed -n 's/: 20.*/: 20/; 1,2p' devscout_snmp.log
grep -c received devscout_snmp.log
sed -E '1,2d; $d; s/^2[^:]*(:[^:]*){2}:/:/; s/[0-9]+ sec.*//' devscout_snmp.log | awk '!seen[$0]++' # each kind
echo LOG_LEVEL=3 >devscout_snmp.lcf; "$0" -s --snmp >out; grep -A1 received devscout_snmp.log | grep -oE ':received|04 06 .*  72 a2'
rm devscout.log; mkdir devscout.log; "$0" --snmp 2>&1 >out; grep -c '^ip: 10.9.1.1 ' out)sh");
    EXPECT_EQ(result.program.out, R"(devscout.log
INFO: 20
TRACE: run_child_process <snmp>
TRACE: run: <-c 'it'\''s' -s --snmp>
TRACE: run_child_process <snmp6>
TRACE: run: <-c 'it'\''s' -s --snmp6>
INFO: 20
before
INFO: 20
0
:discover_using_netsnmp
:do_one_poll
:snmp_send
:sess_collect_responses
:sess_select_response
:	tv0: 
:snmp_sess_select_info: timeout_snmp: block=0 
:select
:	ready=1
:	tv: 
:have_more_time=1
:	elapsed: 
:	remain: 
:snmp_read
:discovery_response: operation=1 NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE=1
:pdu: errstat=0 SNMP_ERR_NOERROR=0
	var: type=4 len=23 val=<MFG:A;MDL:m;CLS:PRINTER>
:end of response collecting iteration
:	ready=0
:have_more_time=0
:snmp_timeout
:response_count=1
:received
04 06 76  65 73 70 65  72 a2
/tmp/devscout.log file open error
1
)");
}

TEST(Lab, ReadsNoMibFileWhateverTheHostIsConfiguredTo)
{
    // The library's own folder of snmp.conf depends on how it was built.
    const lab_result result =
        shell_in_lab({"device 10.9.1.1 id=\"MFG:A;MDL:m;CLS:PRINTER\"\n"}, R"sh(
export SNMPCONFPATH=/tmp ASAN_OPTIONS=detect_leaks=0
printf 'mibs +ALL\nmibdirs /usr/share/snmp/mibs:/etc\n' >/tmp/snmp.conf
strace -f -e trace=open,openat "$0" -s --snmp 2>&1 | grep -E 'mibs|MIB|^ip:|snmp.conf')sh");
    EXPECT_THAT(result.program.out, testing::HasSubstr("/tmp/snmp.conf"));
    EXPECT_EQ(result.program.out.find("mibs"), std::string::npos) << result.program.out;
    EXPECT_EQ(line_count(result.program.out, "ip: 10.9.1.1 "), 1U) << result.program.out;
}

TEST(Lab, WorksWithDescriptorsOfAnyNumberAndWithoutStandardStreams)
{
    constexpr char FLEET[] = R"(device 10.9.1.1 id6=::1:1 id="MFG:A;MDL:m;CLS:PRINTER;"
device 10.9.1.2 nodeq.a=ABC
device 10.9.1.3 slp.url="service:printer:ipp://%a")";
    // The log must not take the place of the standard output.
    const lab_result result = shell_in_lab({FLEET}, R"sh(
>/tmp/devscout_snmp.lcf; ("$0" -s --time --snmp <&- >&-; echo $?; grep -c '^INFO: 20' /tmp/devscout_snmp.log
    grep '^# ' /tmp/devscout_snmp.log)
ulimit -n 4096; for i in {3..1200}; do eval "exec $i</dev/null"; done; exec "$0")sh");
    EXPECT_THAT(result.program.out, testing::StartsWith("0\n2\nWARNING: "));
    EXPECT_EQ(line_count(result.program.out, "# Total 5 printers found, "), 1U)
        << result.program.out;
}

TEST(Lab, ListsAThousandPrintersOfOneBurst)
{
    const lab_result result =
        devscout_in_lab({"device 10.9.4.1 count=1000 id=\"MFG:Taliven;MDL:QD-%n;CLS:PRINTER;\"\n"},
                        {"-s", "--snmp"});
    EXPECT_EQ(line_count(result.program.out, "# Total 1000 printers found, "), 1U);
}
