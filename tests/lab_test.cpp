// The built program in the lab network: what it finds, prints and sends.
#include "device_line.h"
#include "program.h"
#include "scratch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

std::string device(const std::string &ip, const std::string &rest)
{
    return line_of(ip, "slp: " + rest);
}

std::string described(const std::string &ip, const std::string &dsc)
{
    return device(ip, "0,0,0,0 snmp: 0,0,0 vendor:  dsc: \"" + dsc + "\"");
}

/// The SNMP requests of a record, each as "DESTINATION VERSION, ".
std::string versions_asked(const std::string &record)
{
    std::string found;
    std::istringstream lines(requests(record, "snmp"));
    std::string destination;
    std::string length;
    std::string bytes;
    while (lines >> destination >> length >> bytes)
        found += destination + (bytes.substr(4, 6) == "020100" ? " 1, " : " 2c, ");
    return found;
}

constexpr char OFFICE[] =
    "device 10.9.1.1 id=\"MFG:Taliven;MDL:QD-77 Series;CLS:PRINTER;\" nodeq.a=LOBBY\n"
    "device 10.9.1.2 id=\"MFG:Orvel Ltd;CLS:PRINTER;\" query.id=\"MFG:Orvel Ltd;MDL:B5;\" "
    "nodeq.a=HALL\n"
    "device 10.9.1.3 id=\"MFG:Ramo;CLS:PRINTER\" query.id.absent model=\"4702d\" mib=\"\"\n"
    "device 10.9.1.4 nodeq.a=ARCHIVE nodeq.b=\"line\\nip: 10.9.9.9\"\n"
    "device 10.9.1.5 id=\"MFG:Quilla;MDL:Q;CLS:PRINTER;\" tcp=never\n"
    "device - id6=::5:1 id=\"MFG:Pemberk;CLS:PRINTER;\" query.id=\"\" model=\"Folio\"\n"
    "device 10.9.1.6 id=\"MFG:Ramo;MDL:S6;CLS:PRINTER,SCN;\" scan=whole\n"
    "device 10.9.1.7 id=\"MFG:Ramo;MDL:S7;CLS:PRINTER,SCN;\" scan=foreign\n"
    "device 10.9.1.8 slp.url=\"service:printer:lpr://%a:515/q\" "
    "slp.url=\"service:printer:ipp://%a\"\n"
    "device 10.9.1.9 id=\"MFG:Taliven;MDL:Disk;CLS:STORAGE;\"\n";

} // namespace

TEST(Lab, ListsEveryShapeOfNodeqAnswer)
{
    const lab_setup lab = {"device 10.9.1.1 nodeq.a=ABC nodeq.b=XYZ nodeq.repeat=3\n"
                           "device 10.9.1.2 nodeq.b=XYZ\n"
                           "device 10.9.1.3 nodeq.a=ABC nodeq.b=abcdefghijklmnopqrst\n"
                           "device 10.9.1.4 nodeq\n"
                           "device 10.9.1.5 nodeq.a=ABC nodeq.length=3\n"
                           "device 10.9.1.6 nodeq.a=ABC nodeq.b=XYZ nodeq.length=300\n"
                           "device 10.9.1.7 nodeq.a=ABC nodeq.length=0\n"
                           "device 10.9.1.8 nodeq.first.a=FIRST nodeq.first.b=early nodeq.a=LATER "
                           "nodeq.b=late\n"
                           "device 10.9.1.9 nodeq.a=\"\\x1b[2J\\n#\" nodeq.delay=800\n"
                           "device 10.9.1.10 nodeq.hex=41414141414141424242\n"
                           "device 10.9.1.11\n",
                           {}};
    const lab_result child = devscout_in_lab(lab, {"-s", "--nodeq"});
    SKIP_NO_LAB(child);
    const std::string expected =
        described("10.9.1.1", "#[ABC] XYZ") + described("10.9.1.10", "#[BBB]") +
        described("10.9.1.2", "#XYZ") + described("10.9.1.3", "#[ABC] abcdefghijklmnopqrs") +
        described("10.9.1.4", "") + described("10.9.1.5", "") +
        described("10.9.1.6", "#[ABC] XYZ") + described("10.9.1.8", "#[FIRST] early") +
        described("10.9.1.9", "#[ [2J #]");
    EXPECT_EQ(sorted_devices(child.program.out), expected);
    const std::string request =
        "255.255.255.255:6000 65 030000f0afffff" + std::string(116, '0') + "\n";
    EXPECT_EQ(requests(child.record, "nodeq"), request + request);

    const lab_result parent = devscout_in_lab(lab, {"--nodeq"});
    std::string blank = expected;
    for (size_t mark; (mark = blank.find("\"#")) != std::string::npos;)
        blank[mark + 1] = ' ';
    EXPECT_EQ(sorted_devices(parent.program.out), blank);
}

TEST(Lab, ReportsTheWholeOffice)
{
    const lab_result result = devscout_in_lab({OFFICE, {"--snmpd"}}, {});
    SKIP_NO_LAB(result);
    EXPECT_EQ(result.program.status, 0);
    EXPECT_EQ(
        sorted_devices(result.program.out),
        device("10.9.0.161", "0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: \"QD-77 Series\"") +
            device("10.9.1.1",
                   "0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: \"QD-77 Series [LOBBY]\"") +
            device("10.9.1.2", "0,0,0,0 snmp: 0,0,0 vendor: Orvel dsc: \"Orvel B5 [HALL]\"") +
            device("10.9.1.3", "0,0,0,0 snmp: 0,0,0 vendor: Ramo dsc: \"RAMO 4702d\"") +
            device("10.9.1.4",
                   "0,0,0,0 snmp: 0,0,0 vendor:  dsc: \" [ARCHIVE] line ip: 10.9.9.9\"") +
            device("10.9.1.6", "0,0,0,0 snmp: 1,1,0 vendor: Ramo dsc: \"S6\"") +
            device("10.9.1.7", "0,0,0,0 snmp: 1,1,0 vendor: Ramo dsc: \"S7\"") +
            device("10.9.1.8", "1,1,1,0 snmp: 0,0,0 vendor:  dsc: \"\"") +
            device("2001:db8:9::161", "0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: \"QD-77 Series\"") +
            device("2001:db8:9::5:1", "0,0,0,0 snmp: 0,0,0 vendor: Pemberk dsc: \" Folio\"") +
            device("fd00:9::161", "0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: \"QD-77 Series\"") +
            device("fd00:9::5:1", "0,0,0,0 snmp: 0,0,0 vendor: Pemberk dsc: \" Folio\""));
    EXPECT_EQ(line_count(result.program.out, "# Total 12 printers found, "), 1U);
}

TEST(Lab, ListsOnlyScannersThatReturnTheirBlock)
{
    const lab_result result = devscout_in_lab({OFFICE, {}}, {"--scanner", "--snmp"});
    SKIP_NO_LAB(result);
    EXPECT_EQ(lines_with(result.program.out, "ip: "),
              device("10.9.1.6", "0,0,0,0 snmp: 1,1,0 vendor: Ramo dsc: \"S6\""));
    EXPECT_NE(
        result.program.out.find("\"S6\"\na8 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f\n10 "),
        std::string::npos);
    EXPECT_NE(result.program.out.find("\n40 41 42 43 44 45\n# Total 1 scanners found, "),
              std::string::npos);
}

TEST(Lab, RunsEveryMethodInTurn)
{
    const lab_result result =
        devscout_in_lab({"device 10.9.1.1 id6=::1:1 id=\"MFG:A;MDL:m;CLS:PRINTER\" nodeq.a=ABC\n"
                         "device - id6=::2:1 from6=site id=\"MFG:A;MDL:site;CLS:PRINTER\"\n"
                         "device - id6=::3:1 from6=global id=\"MFG:A;MDL:global;CLS:PRINTER\"\n",
                         {}},
                        {"-s", "--time", "--nodeq", "--nodeq6", "--slp", "--snmp", "--snmp6"});
    SKIP_NO_LAB(result);
    std::string marks = "# MARK: BEGIN: [0-9].00\n";
    for (const char *method : {"nodeq", "nodeq6", "slp", "netsnmp", "netsnmp6"})
        marks += std::string("# MARK: after discover_using_") + method + ": [0-9].00\n";
    EXPECT_THAT(lines_with(result.program.out, "# MARK: "),
                testing::MatchesRegex(marks + "# MARK: END: [0-9].00\n"));
    const struct {
        const char *ip; ///< over IPv6 those that the device has beside the one it answers from
        const char *model;
    } addresses[] = {
        {"10.9.1.1", "m"},       {"2001:db8:9::1:1", "m"},  {"fd00:9::1:1", "m"},
        {"fd00:9::2:1", "site"}, {"fd00:9::3:1", "global"}, {"fe80::2:1", "site"},
        {"fe80::3:1", "global"},
    };
    std::string listed;
    for (const auto &a : addresses)
        listed +=
            device(a.ip, std::string("0,0,0,0 snmp: 0,0,0 vendor: A dsc: \"") + a.model + "\"");
    EXPECT_EQ(sorted_devices(result.program.out), listed);
    EXPECT_EQ(line_count(requests(result.record, "nodeq"), "255.255.255.255:6000 "), 2U)
        << "over IPv6 nothing is sent:\n"
        << result.record;
    EXPECT_EQ(versions_asked(result.record),
              "255.255.255.255:161 1, 255.255.255.255:161 1, [ff02::1]:161 2c, [ff02::1]:161 2c, ");
}

TEST(Lab, AsksAgainAndWaitsOnceMoreAfterSilence)
{
    const scratch_folder tmp;
    tmp.write("devscout_snmp.lcf", "");
    const lab_result result =
        devscout_in_lab({"device 10.9.1.1 id=\"MFG:A;MDL:m;CLS:PRINTER\" snmp.delay=3000\n",
                         {"--tmp", tmp.path.string()}},
                        {"-s", "--snmp"});
    SKIP_NO_LAB(result);
    EXPECT_EQ(line_count(result.program.out, "ip: 10.9.1.1 "), 1U);
    EXPECT_GE(line_count(requests(result.record, "snmp"), "255.255.255.255:161 "), 2U);
    std::istringstream log(content_of(tmp.path / "devscout_snmp.log"));
    int waits = 0;
    for (std::string line; std::getline(log, line);)
        waits += line.find(":select") != std::string::npos ? 1 : 0;
    EXPECT_LT(waits, 20) << "a request that is overdue for the library makes no wait shorter";
}

TEST(Lab, InquiresScannersOfEveryShape)
{
    std::string fleet = "device 10.9.1.20 tcp=never\ndevice 10.9.1.21\n";
    const struct {
        const char *scan;
        bool found;
    } shapes[] = {{"whole", true},   {"long", true},           {"split", false},
                  {"short", false},  {"foreign", false},       {"late", false},
                  {"silent", false}, {"closed-at-once", false}};
    std::string script;
    std::string expected;
    int number = 0;
    const auto inquire = [&](const std::string &ip, bool found) {
        script += "\"$0\" -I " + ip + " | grep -c '^a8 01 02'; ";
        expected += found ? "1\n" : "0\n";
    };
    for (const auto &shape : shapes) {
        ++number;
        fleet += "device 10.9.1." + std::to_string(number) + " id6=::a:" + std::to_string(number) +
                 " scan=" + shape.scan + "\n";
        inquire("10.9.1." + std::to_string(number), shape.found);
    }
    inquire("2001:db8:9::a:1", true);
    inquire("trio", true);
    for (const char *nobody : {"fe80::a:1", "10.9.1.20", "10.9.1.21", "'no name'", "''", "::x"})
        inquire(nobody, false);
    const scratch_folder etc; // the first address counts, not the one that is nearest
    etc.write("hosts", "fd00:9::a:1 trio\n10.9.1.1 trio\n10.9.0.99 trio\n");
    const lab_result result =
        run_in_lab({fleet, {"--etc", etc.path.string()}},
                   {"/bin/bash", "-c",
                    script + "\"$0\" -I 10.9.1.1 >/dev/null; echo $?; "
                             "\"$0\" -I 10.9.1.5 | tail -n 1; echo ${PIPESTATUS[0]}",
                    DEVSCOUT_PROGRAM});
    SKIP_NO_LAB(result);
    EXPECT_EQ(result.program.out, expected + "0\n# Mode scanner_inquiry\n1\n");
    EXPECT_NE(requests(result.record, "inquiry").find("10.9.1.1:9400 4 1ba81200\n"),
              std::string::npos);
}

TEST(Lab, WaitsForSlowConnections)
{
    // The way to the device leads over a neighbour that is found while the connection waits.
    constexpr char SCRIPT[] = R"("$0" -d4 -I 10.9.1.1 | grep -c '^a8\|^# time'
mac=$(ip neigh show 10.9.1.1 | grep -o 'lladdr [^ ]*')
ip route add 10.9.1.1 via 10.9.9.9
"$0" -d5 -I 10.9.1.1 | cut -c 1-31 | grep '^a8\|^# time' &
until ip neigh show 10.9.9.9 | grep -q INCOMPLETE; do :; done
sleep 0.06
ip neigh replace 10.9.9.9 $mac dev eth0
wait)";
    const lab_result result = run_in_lab({"device 10.9.1.1 scan=whole\n", {}},
                                         {"/bin/bash", "-c", SCRIPT, DEVSCOUT_PROGRAM});
    SKIP_NO_LAB(result);
    EXPECT_EQ(result.program.out, "1\n"
                                  "# time before select on open is\n"
                                  "# time  after select on open is\n"
                                  "# time before select on recv is\n"
                                  "# time  after select on recv is\n"
                                  "a8 01 02 03 04 05 06 07 08 09 0\n");
}

TEST(Lab, DescribesSingleDevices)
{
    const std::string fleet =
        "device 10.9.1.1 id=\"MFG:Taliven Electronics;MDL:QD-X7 Series;\"\n"
        "device 10.9.1.2 id=\"\" model=\"QD-X7\" mib=\"Taliven Electronics\"\n"
        "device 10.9.1.3 id=\"no keys\" model=\"QD-X7\"\n"
        "device 10.9.1.4 model=\"PNE-X1\"\n"
        "device 10.9.1.5 model=\"" +
        std::string(62, 'm') +
        "\" mib=\"Acme\"\n"
        "device 10.9.1.6 id=\"MFG:Acme;MDL:early;\" snmp.then=\"MFG:Acme;MDL:late;\"\n"
        "device 10.9.1.7 id=\"MFG:Acme;MDL:x;\" snmp.error=5\n"
        "device 10.9.1.8 id=\"MFG:Acme;MDL:a\\nip: b;\"\n"
        "device 10.9.1.9 tcp=never\n"
        "device 10.9.1.10 id=\"MFG:Acme;MDL:b\" id.fill=600\n"
        "device 10.9.1.11 id=\"MFG:Acme;MDL:slow;\" snmp.delay=120\n"
        "device 10.9.1.12 id=\"MFG:Acme;MDL:x;\" snmp.on=broadcast\n"
        "device 10.9.1.13 id=\"MFG:Acme;MDL:too late;\" snmp.delay=380\n"
        "device - id6=::5:1 model=\"Brightmoor 3\"\n";
    const struct {
        const char *ip;
        std::string line; ///< empty: no line
    } cases[] = {
        {"10.9.1.1", "ip: 10.9.1.1        dsc: \"Taliven QD-X7\"\n"},
        {"10.9.1.2", "ip: 10.9.1.2        dsc: \"Taliven QD-X7\"\n"},
        {"10.9.1.3", ""},
        {"10.9.1.4", "ip: 10.9.1.4        dsc: \"Taliven PNE-X1\"\n"},
        {"10.9.1.5", "ip: 10.9.1.5        dsc: \"Acme " + std::string(62, 'm') + "\"\n"},
        {"10.9.1.6", "ip: 10.9.1.6        dsc: \"Acme late\"\n"},
        {"10.9.1.7", ""},
        {"10.9.1.8", "ip: 10.9.1.8        dsc: \"Acme a ip: b\"\n"},
        {"10.9.1.9", "ip: 10.9.1.9         dsc: \" \" ERROR: Destination unreachable\n"},
        {"10.9.1.10", "ip: 10.9.1.10       dsc: \"Acme b" + std::string(89, 'x') + "\"\n"},
        {"10.9.1.11", "ip: 10.9.1.11       dsc: \"Acme slow\"\n"},
        {"10.9.1.12", ""},
        {"10.9.1.13", ""},
        {"10.9.0.161", "ip: 10.9.0.161      dsc: \"Taliven QD-77\"\n"},
        {"fd00:9::5:1", "ip: fd00:9::5:1     dsc: \"Orvel Brightmoor 3\"\n"},
        {"10.9.0.1", ""},
        {"no.such.host.invalid",
         "ip: no.such.host.invalid  dsc: \" \" ERROR: Destination unreachable\n"},
        {"fd00:9::x", ""},
    };
    std::string script;
    std::string expected;
    for (const auto &c : cases) {
        script += std::string("\"$0\" -R ") + c.ip + "; echo $?; ";
        expected += c.line + "0\n";
    }
    const scratch_folder etc;
    etc.write("resolv.conf", "nameserver 127.0.0.1\n"); // refuses at once
    const lab_result result = run_in_lab(
        {fleet, {"--snmpd", "--etc", etc.path.string()}},
        {"/bin/bash", "-c",
         "(" + script +
             ") | grep '^ip: \\|^[0-9]'; ASAN_OPTIONS=detect_leaks=0 strace -e trace=connect "
             "\"$0\" -R 10.9.1.1 2>&1 | grep -c 'htons(161).* EINPROGRESS'",
         DEVSCOUT_PROGRAM});
    SKIP_NO_LAB(result);
    EXPECT_EQ(result.program.out, expected + "1\n");
}

TEST(Lab, PassesOverBrokenSnmpAnswers)
{
    const lab_setup lab = {
        "device 10.9.1.1 snmp.raw=ffff0102\n"
        "device 10.9.1.2 id=\"MFG:A;CLS:PRINTER\" snmp.reqid=wrong\n"
        "device 10.9.1.3 id=\"MFG:A;CLS:PRINTER\" snmp.error=5\n"
        "device 10.9.1.4 id.int=42\n"
        "device 10.9.1.5 id=\"\"\n"
        "device 10.9.1.6 id=\"MFG:A;CLS:PRINTER\" snmp.community=other\n"
        "device 10.9.1.7 id=\"CLS:PRINTER\"\n"
        "device 10.9.1.8 id=\"CLS:PRINTER;MFG:Big;MDL:m\" id.fill=60000\n"
        "device 10.9.1.9 id=\"CLS:PRINTER;MFG:A;MDL:\\\"q\\\";\" snmp.repeat=2 snmp.delay=1500\n"
        "device 10.9.1.10 id=\"CLS:PRINTER;MFG:A;MDL:early;\" snmp.then=\"PRINTER MFG:late\"\n"
        "device 10.9.1.11 id=\"CLS:PRINTER;MFG:A;MDL:last\"\n"
        "device 10.9.1.13 id=\"CLS:PRINTER;MFG:A;MDL:x\" snmp.on=unicast\n"
        // A request instead of a response, with the value MFG:Evil;CLS:PRINTER.
        "device 10.9.1.12 snmp.raw=304102010004066e6f626f6479a03402010102010002010030293027060f"
        "2b0601040182c0150b050101011a0004144d46473a4576696c3b434c533a5052494e544552\n",
        {}};
    const lab_result result = devscout_in_lab(lab, {"-s", "--snmp"});
    SKIP_NO_LAB(result);
    const auto printer = [](const std::string &ip, const std::string &rest) {
        return device(ip, "0,0,0,0 snmp: 0,0,0 vendor: " + rest);
    };
    EXPECT_EQ(sorted_devices(result.program.out),
              printer("10.9.1.10", "late dsc: \"\"") + printer("10.9.1.11", "A dsc: \"last\"") +
                  printer("10.9.1.8", "Big dsc: \"m" + std::string(94, 'x') + "\"") +
                  printer("10.9.1.9", "A dsc: \"\\\"q\\\"\""));
}

TEST(Lab, CarriesOnWithoutNetworkOrIpv6)
{
    const lab_result without_network = run_in_lab(
        {OFFICE, {}}, {"/bin/bash", "-c",
                       "PATH=$PATH:/sbin; ip link set eth0 down; exec \"$0\" -s --snmp --nodeq",
                       DEVSCOUT_PROGRAM});
    SKIP_NO_LAB(without_network);
    const std::string &out = without_network.program.out;
    EXPECT_EQ(line_count(out, "ERROR: nodeq detection failed: Network is unreachable"), 1U) << out;
    EXPECT_EQ(line_count(out, "# ERROR: snmp_send failed, Network is unreachable"), 1U) << out;
    EXPECT_EQ(without_network.program.err, "");

    const lab_result without_ipv6 =
        devscout_in_lab({OFFICE, {"--no-ipv6"}}, {"-s", "--snmp6", "--nodeq"});
    EXPECT_EQ(line_count(without_ipv6.program.out, "# ERROR: snmp_"), 1U)
        << without_ipv6.program.out;
    EXPECT_EQ(line_count(without_ipv6.program.out, "ip: 10.9.1."), 3U);
}

TEST(Lab, LogsOnlyWhereItIsAsked)
{
    const scratch_folder tmp;
    const lab_setup lab = {"device 10.9.1.1 id=\"MFG:A;MDL:m;CLS:PRINTER\"\n",
                           {"--tmp", tmp.path.string()}};
    const auto names = [&] {
        std::string found;
        for (const auto &entry : std::filesystem::directory_iterator(tmp.path)) {
            if (entry.path().extension() == ".log")
                found += entry.path().filename().string() + " ";
        }
        return found;
    };
    SKIP_NO_LAB(devscout_in_lab(lab, {"--snmp"}));
    EXPECT_EQ(names(), "");
    tmp.write("devscout.lcf", "");
    tmp.write("devscout_snmp6.lcf", "LOG_LEVEL=0\n");
    devscout_in_lab(lab, {"-c", "it's", "--snmp", "--snmp6"});
    EXPECT_EQ(names(), "devscout.log ");
    const std::string log = content_of(tmp.path / "devscout.log");
    std::string program = DEVSCOUT_PROGRAM;
    if (program.find(' ') != std::string::npos)
        program = "'" + program + "'";
    const std::string command = "TRACE: run: <" + program + " -c 'it'\\''s' -s --";
    EXPECT_EQ(lines_with(log, "TRACE: "), "TRACE: run_child_process <snmp>\n" + command +
                                              "snmp>\nTRACE: run_child_process <snmp6>\n" +
                                              command + "snmp6>\n");
    EXPECT_EQ(line_count(log, "INFO: 20"), 2U);

    tmp.write("devscout_snmp.lcf", "APPEND_MODE=1\n");
    tmp.write("devscout_snmp.log", "before\n");
    devscout_in_lab(lab, {"-s", "--snmp"});
    const std::string trace = content_of(tmp.path / "devscout_snmp.log");
    EXPECT_EQ(trace.rfind("before\nINFO: 20", 0), 0U);
    for (const char *step : {":discover_using_netsnmp\n", ":snmp_send\n", ":snmp_read\n",
                             "\tvar: type=4 len=23 val=<MFG:A;MDL:m;CLS:PRINTER>\n",
                             ":response_count=1\n", ":snmp_timeout\n"})
        EXPECT_NE(trace.find(step), std::string::npos) << step;

    std::filesystem::remove(tmp.path / "devscout.log");
    std::filesystem::create_directory(tmp.path / "devscout.log");
    const lab_result refused = devscout_in_lab(lab, {"--snmp"});
    EXPECT_EQ(refused.program.err, "/tmp/devscout.log file open error\n");
    EXPECT_EQ(line_count(refused.program.out, "ip: 10.9.1.1 "), 1U);
}

TEST(Lab, ReadsNoMibFileWhateverTheHostIsConfiguredTo)
{
    constexpr char SCRIPT[] = R"(export SNMPCONFPATH="$1" ASAN_OPTIONS=detect_leaks=0
strace -f -e trace=open,openat "$0" -s --snmp 2>&1 | grep -E 'mibs|MIB|^ip:|snmp.conf')";
    // The library's own folder of snmp.conf depends on how it was built.
    const scratch_folder folder;
    const std::string host =
        folder.write("snmp.conf", "mibs +ALL\nmibdirs /usr/share/snmp/mibs:/etc\n");
    const lab_result result =
        run_in_lab({"device 10.9.1.1 id=\"MFG:A;MDL:m;CLS:PRINTER\"\n", {}},
                   {"/bin/bash", "-c", SCRIPT, DEVSCOUT_PROGRAM, folder.path.string()});
    SKIP_NO_LAB(result);
    EXPECT_NE(result.program.out.find(host), std::string::npos);
    EXPECT_EQ(result.program.out.find("mibs"), std::string::npos) << result.program.out;
    EXPECT_EQ(line_count(result.program.out, "ip: 10.9.1.1 "), 1U) << result.program.out;
}

TEST(Lab, WorksWithDescriptorsOfAnyNumberAndWithoutStandardStreams)
{
    const lab_result result = run_in_lab(
        {OFFICE, {}},
        {"/bin/bash", "-c",
         "ulimit -n 4096; for i in $(seq 3 1200); do eval \"exec $i</dev/null\"; done; exec \"$0\"",
         DEVSCOUT_PROGRAM});
    SKIP_NO_LAB(result);
    EXPECT_EQ(line_count(result.program.out, "# Total 9 printers found, "), 1U)
        << result.program.out << result.program.err;

    const scratch_folder tmp; // the log must not take the place of the standard output
    tmp.write("devscout_snmp.lcf", "");
    const lab_result closed = run_in_lab(
        {OFFICE, {"--tmp", tmp.path.string()}},
        {"/bin/bash", "-c", "\"$0\" -s --time --snmp <&- >&-; echo $?", DEVSCOUT_PROGRAM});
    EXPECT_EQ(closed.program.out, "0\n");
    const std::string log = content_of(tmp.path / "devscout_snmp.log");
    EXPECT_EQ(line_count(log, "INFO: 20"), 2U) << log;
    EXPECT_EQ(line_count(log, "# "), 0U) << log;
}

TEST(Lab, ListsAThousandPrintersOfOneBurst)
{
    const lab_result result = devscout_in_lab(
        {"device 10.9.4.1 count=1000 id=\"MFG:Taliven;MDL:QD-%n;CLS:PRINTER;\"\n", {}},
        {"-s", "--snmp"});
    SKIP_NO_LAB(result);
    EXPECT_EQ(line_count(result.program.out, "# Total 1000 printers found, "), 1U);
    EXPECT_EQ(line_count(result.program.out, "ip: 10.9.7.232 "), 1U);
}
