// What devices answer, and what the program lists, describes and inquires by it, in the lab
// network.
#include "program.h"

#include <gtest/gtest.h>

#include <string>

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
device 10.9.1.11 nodeq.a="abcdefghijklmnopqr\xc3\xbc" nodeq.b="B\xfcro \xe9"
)";
    const lab_result result = devscout_in_lab({FLEET}, {"-s", "--nodeq"});
    EXPECT_EQ(sorted_devices(result.program.out),
              R"(ip: 10.9.1.1        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[ABC] XYZ"
ip: 10.9.1.10       slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[BBB]"
ip: 10.9.1.11       slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[abcdefghijklmnopqr] Büro é"
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
device 10.9.1.13 id="CLS:PRINTER;MFG:A;MDL:x" snmp.on=unicast
device 10.9.1.14 id="CLS:PRINTER;MFG:B\xfcro;MDL:Gr\xfc\xdf;"
device 10.9.1.12 snmp.raw=304102010004066e6f626f6479a03402010102010002010030293027060f)"
                         "2b0601040182c0150b050101011a0004144d46473a4576696c3b"
                         "434c533a5052494e544552\n"},
                        {"-s", "--snmp"});
    EXPECT_EQ(sorted_devices(result.program.out),
              R"(ip: 10.9.1.10       slp: 0,0,0,0 snmp: 0,0,0 vendor: late dsc: ""
ip: 10.9.1.14       slp: 0,0,0,0 snmp: 0,0,0 vendor: Büro dsc: "Grüß"
ip: 10.9.1.8        slp: 0,0,0,0 snmp: 0,0,0 vendor: Big dsc: "m)" +
                  std::string(94, 'x') + R"("
ip: 10.9.1.9        slp: 0,0,0,0 snmp: 0,0,0 vendor: A dsc: "\"q\""
)");
}

TEST(Lab, ListsAThousandPrintersOfOneBurst)
{
    const lab_result result =
        devscout_in_lab({"device 10.9.4.1 count=1000 id=\"MFG:Taliven;MDL:QD-%n;CLS:PRINTER;\"\n"},
                        {"-s", "--snmp"});
    EXPECT_EQ(line_count(result.program.out, "# Total 1000 printers found, "), 1U);
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
    "$0" -I "$host" >>/tmp/told && echo $host || echo -
done | tr '\n' ' '; echo; grep -v ^WARNING /tmp/told | cut -c 1-11 | grep '#\|a8' | sort | uniq -c)sh");
        return result.program.out;
    };
    const std::string expected = R"(10.9.1.1 10.9.1.2 - - - - - - 2001:db8:9::a:1 trio - - - - - - 
     16 # Mode scan
      4 a8 01 02 03
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

TEST(Lab, DescribesDevicesOneByOneAndManyAtOnceWhereItIsQuick)
{
    // The last one sends a request instead of a response.
    constexpr char FLEET[] = R"(
device 10.9.1.1 id="MFG:Acme;MDL:early;" snmp.repeat=3 snmp.then="MFG:Acme;MDL:late;"
device 10.9.1.2 id="" model="QD-X7" mib="Taliven Electronics"
device 10.9.1.3 id="MFG:Acme;MDL:x;" snmp.on=broadcast
device 10.9.1.4 model="PNE-X1" id6=::4:1
device 10.9.1.6 id="" snmp.then="MFG:Acme;MDL:second;"
device 10.9.1.7 tcp=never
device 10.9.1.9 id="MFG:Acme;MDL:x;" snmp.error=5
device 10.9.1.10 id="MFG:Acme;MDL:" id.fill=60000
device 10.9.1.11 id="MFG:Acme;MDL:too late;" snmp.delay=390
device 10.9.1.12 id="MFG:Acme;MDL:slow;" snmp.delay=120
device 10.9.1.14 snmp.raw=304102010004066e6f626f6479a03402010102010002010030293027060f2b0601040182c0150b050101011a0004144d46473a4576696c3b434c533a5052494e544552
device 10.9.2.1 count=150 tcp=never
device 10.9.3.1 count=150 model="M%n"
)";
    constexpr char REFUSING_AT_ONCE[] = "nameserver 127.0.0.1\n";
    lab_result result;
    const auto describe = [&] {
        result = shell_in_lab({FLEET, {"--snmpd"}, {}, {{"resolv.conf", REFUSING_AT_ONCE}}}, R"sh(
hosts=(no.such.host$'\r' 10.9.1.{7,1,2,3,4,6,9,10,11,14} 10.9.0.161 10.9.0.1 fd00:9::4:1 fe80::4:1%eth0 ::x)
"$0" --quick -R "${hosts[@]}"; echo MORE
for host in "${hosts[@]}"; do "$0" -R $host || echo "ip: $host failed"; done | grep '^ip: ' | LC_ALL=C sort
export ASAN_OPTIONS=detect_leaks=0 # busy machines answer late
for turn in {1..20}; do "$0" -R 10.9.1.12 | grep '^ip: ' && break; done
for turn in {1..20}; do "$0" --quick -R 10.9.1.12 | grep '^ip: ' && break; done
strace -e trace=connect "$0" -R 10.9.1.1 2>&1 | grep -c 'htons(161).* EINPROGRESS'
for turn in {1..20}; do
    strace -e trace=ppoll "$0" --quick -R 10.9.1.4 2>&1 | grep -q Timeout || break
done; echo "asked at once, $((turn < 20))"
"$0" --quick -R 10.9.{2,3}.{1..150} | grep -c '^ip: .*M[0-9]*"\|unreachable'
(ulimit -n 24; exec "$0" --quick -R 10.9.{2,3}.{1..40}) | grep -c '^ip: .*M[0-9]*"\|unreachable'
{ "$0" --quick -R 10.9.1.{1,7}; touch /tmp/over; } |
    while read -r line; do [[ $line == *early* ]] && sleep 0.1 && [ ! -e /tmp/over ] && echo 'told at once'; done
(ulimit -n 4; exec "$0" --quick -R 10.9.1.{1,7}) | grep -c '^ip: ')sh");
        const std::string &out = result.program.out;
        const size_t more = out.find("MORE\n");
        return sorted_devices(out.substr(0, more)) + out.substr(more) +
               std::to_string(line_count(requests(result.record, "snmp"), "10.9.1.2:"));
    };
    const std::string last = R"(ip: 10.9.1.10       dsc: "Acme )" + std::string(90, 'x') + R"("
ip: 10.9.1.2        dsc: "Taliven QD-X7"
ip: 10.9.1.4        dsc: "Taliven PNE-X1"
ip: 10.9.1.6        dsc: "Acme second"
ip: 10.9.1.7         dsc: " " ERROR: Destination unreachable
ip: fd00:9::4:1     dsc: "Taliven PNE-X1"
ip: fe80::4:1%eth0  dsc: "Taliven PNE-X1"
ip: no.such.host     dsc: " " ERROR: Destination unreachable
)";
    const std::string first = R"(ip: 10.9.0.161      dsc: "Taliven QD-77"
ip: 10.9.1.1        dsc: "Acme )";
    const std::string expected = first + "early\"\n" + last + "MORE\n" + first + "late\"\n" + last +
                                 R"(ip: 10.9.1.12       dsc: "Acme slow"
ip: 10.9.1.12       dsc: "Acme slow"
1
asked at once, 1
300
80
told at once
0
6)";
    EXPECT_EQ(outcome_of(describe, expected), expected);
    const std::string &out = result.program.out;
    EXPECT_LT(out.find("Acme early"), out.find("10.9.1.7")) << "a silent device holds up others";
    EXPECT_LT(out.find("10.9.1.2 "), out.find("no.such.host")) << "names hold up addresses";
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
    std::string expected;
    for (int i = 1; i <= 24; ++i)
        expected += "10.9.2." + std::to_string(i) + " \"B" + std::to_string(i) + "\"\n";
    EXPECT_EQ(descriptions(result.program.out), expected + "10.9.3.1 \"Acme\"\n10.9.3.3 \"\"\n");
    EXPECT_EQ(line_count(requests(result.record, "snmp"), "10.9.2."), 0U)
        << "asked though it has a model";
}
