// Hosts as they are: several interfaces, bridges and tunnels, routes, users and locales.
#include "program.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{

/// The network behind eth0 and the one behind eth1: a device for each method, and one interface
/// identifier on both.
constexpr char HALL[] = "device 10.9.1.1 id=\"MFG:Taliven;MDL:QD;CLS:PRINTER;\"\n"
                        "device 10.9.1.2 nodeq.a=HALL\n"
                        "device 10.9.1.3 slp.url=\"service:printer:lpr://%a:515/q\"\n"
                        "device - id6=::5:1 id=\"MFG:Pemberk;MDL:Folio;CLS:PRINTER;\"\n";
constexpr char ANNEX[] = "device 10.10.1.1 id=\"MFG:Orvel;MDL:B5;CLS:PRINTER;\"\n"
                         "device 10.10.1.2 nodeq.a=ANNEX\n"
                         "device 10.10.1.3 slp.url=\"service:printer:lpr://%a:515/q\"\n"
                         "device - id6=::5:1 id=\"MFG:Ramo;MDL:Solo;CLS:PRINTER;\"\n";

struct expected_device {
    const char *method; ///< the one that finds it
    const char *ip;
    const char *rest;
};

constexpr expected_device IN_HALL[] = {
    {"snmp", "10.9.1.1", "0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: \"QD\""},
    {"nodeq", "10.9.1.2", "0,0,0,0 snmp: 0,0,0 vendor:  dsc: \" [HALL]\""},
    {"slp", "10.9.1.3", "1,0,1,0 snmp: 0,0,0 vendor:  dsc: \"\""},
    {"snmp6", "fd00:9::5:1", "0,0,0,0 snmp: 0,0,0 vendor: Pemberk dsc: \"Folio\""},
    {"snmp6", "2001:db8:9::5:1", "0,0,0,0 snmp: 0,0,0 vendor: Pemberk dsc: \"Folio\""},
};
constexpr expected_device IN_ANNEX[] = {
    {"snmp", "10.10.1.1", "0,0,0,0 snmp: 0,0,0 vendor: Orvel dsc: \"B5\""},
    {"nodeq", "10.10.1.2", "0,0,0,0 snmp: 0,0,0 vendor:  dsc: \" [ANNEX]\""},
    {"slp", "10.10.1.3", "1,0,1,0 snmp: 0,0,0 vendor:  dsc: \"\""},
    {"snmp6", "fd00:10::5:1", "0,0,0,0 snmp: 0,0,0 vendor: Ramo dsc: \"Solo\""},
    {"snmp6", "2001:db8:10::5:1", "0,0,0,0 snmp: 0,0,0 vendor: Ramo dsc: \"Solo\""},
};

struct host {
    const char *name;
    const char *interfaces;
    std::vector<std::string> options;

    bool has_annex() const
    {
        return strstr(interfaces, "eth1") != nullptr;
    }
    lab_setup setup() const
    {
        lab_setup lab = {HALL, options};
        lab.options.insert(lab.options.end(), {"--interfaces", interfaces});
        if (has_annex())
            lab.networks = {ANNEX};
        return lab;
    }
};

void PrintTo(const host &tested, std::ostream *out)
{
    *out << tested.name;
}

const host HOSTS[] = {
    {"TwoInterfaces", "eth0,eth1", {}},
    {"TwoInterfacesTheRoutedOneLast", "eth1,eth0", {}},
    {"OneInterfaceWithoutARoute", "eth0", {"--no-route"}},
    {"TwoInterfacesWithoutARoute", "eth1,eth0", {"--no-route"}},
    {"IdleBridgeFirst", "bridge0,eth0", {}},
    {"IdleBridgeFirstWithoutARoute", "bridge0,eth0", {"--no-route"}},
    {"AllKinds", "bridge0,unplugged0,eth1,tunnel0,down0,eth0", {}},
    {"AllKindsWithoutARoute", "bridge0,tunnel0,eth0,eth1,unplugged0,down0", {"--no-route"}},
    {"OrdinaryUser", "bridge0,eth1,eth0", {"--no-route", "--no-capabilities"}},
};

/// The device lines of a report about all networks of the host; of one method, or of all.
std::string expected_lines(const host &tested, const std::string &method = "")
{
    std::string report;
    const auto add = [&](const expected_device &device) {
        if (!method.empty() && method != device.method)
            return;
        std::string ip = device.ip;
        ip.resize(std::max<size_t>(ip.size(), 15), ' ');
        std::string line = "ip: " + ip + " slp: " + device.rest + "\n";
        if (const size_t mark = line.find("\" ["); !method.empty() && mark != std::string::npos)
            line[mark + 1] = '#';
        report += line;
    };
    for (const expected_device &device : IN_HALL)
        add(device);
    for (const expected_device &device : IN_ANNEX) {
        if (tested.has_annex())
            add(device);
    }
    return sorted_devices(report);
}

/// How many requests of a record went to that destination.
size_t sent_to(const std::string &record, const std::string &protocol, const std::string &to)
{
    return line_count(requests(record, protocol), to + " ");
}

class Hosts : public testing::TestWithParam<host>
{
};

} // namespace

TEST_P(Hosts, AreServedByEachMethod)
{
    const char *const methods[] = {"snmp", "snmp6", "slp", "nodeq"};
    std::string script = "cd \"$1\"; ";
    for (const char *method : methods)
        script += std::string("\"$0\" -s --") + method + " >" + method + " 2>&1 & ";
    const scratch_folder folder;
    const lab_result result =
        run_in_lab(GetParam().setup(),
                   {"/bin/bash", "-c", script + "wait", DEVSCOUT_PROGRAM, folder.path.string()});
    SKIP_NO_LAB(result);
    for (const char *method : methods) {
        const std::string out = content_of(folder.path / method);
        EXPECT_EQ(sorted_devices(out), expected_lines(GetParam(), method)) << out;
    }
}

TEST_P(Hosts, AreAskedOnceOnEachInterfaceAndListedWhole)
{
    const lab_result result = devscout_in_lab(GetParam().setup(), {});
    SKIP_NO_LAB(result);
    const std::string expected = expected_lines(GetParam());
    EXPECT_EQ(sorted_devices(result.program.out), expected);
    std::string remarks;
    std::istringstream lines(result.program.out);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("ip: ", 0) != 0)
            remarks += line.substr(0, line.find(", ")) + "\n";
    }
    EXPECT_EQ(remarks, "WARNING: configuration file not found\n"
                       "# Network printers discovery utility\n"
                       "# Legend: ip: address slp: detected,ipp,lpr,raw_tcp snmp: "
                       "detected,devtype,description\n"
                       "# Total " +
                           std::to_string(std::count(expected.begin(), expected.end(), '\n')) +
                           " printers found\n");
    EXPECT_EQ(result.program.err, "");

    std::vector<std::string> asked = {result.record};
    for (const auto &[interface, record] : result.records) {
        if (interface.rfind("eth", 0) == 0)
            asked.push_back(record);
        for (const char *port : {":161 ", ":6000 "})
            EXPECT_TRUE(interface[0] == 'e' || record.find(port) == std::string::npos) << record;
    }
    EXPECT_EQ(asked.size(), GetParam().has_annex() ? 2U : 1U);
    // Both rounds of nodeq, and SNMP's request and its repetition.
    for (const std::string &record : asked) {
        EXPECT_EQ(sent_to(record, "nodeq", "255.255.255.255:6000"), 2U) << record;
        EXPECT_EQ(sent_to(record, "snmp", "255.255.255.255:161"), 2U) << record;
        EXPECT_EQ(sent_to(record, "snmp", "[ff02::1]:161"), 2U) << record;
        EXPECT_EQ(requests(record, "slp"), requests(result.record, "slp"));
    }
}

INSTANTIATE_TEST_SUITE_P(Lab, Hosts, testing::ValuesIn(HOSTS),
                         [](const auto &instance) { return instance.param.name; });

TEST(Lab, AsksOnceThroughInterfacesOfManyAddressesAndThroughBridges)
{
    const lab_result result = run_in_lab(
        {HALL, {"--no-route"}, {ANNEX}},
        {"/bin/bash", "-c",
         "PATH=$PATH:/sbin; ip address add 10.9.0.8/16 broadcast + label eth0:1 dev eth0 &&"
         "ip address add 10.9.0.9/24 broadcast + dev eth0 && ip link add name br0 type bridge &&"
         "ip link set eth1 master br0 && ip address add 10.10.0.8/16 broadcast + dev br0 &&"
         "ip address add fe80::10:8/64 nodad dev br0 && ip link set br0 up &&"
         "for i in {1..200}; do [[ $(ip link show br0) == *' state UP '* ]] && break; sleep 0.02; "
         "done; "
         "exec \"$0\" -s --nodeq --snmp --snmp6",
         DEVSCOUT_PROGRAM});
    SKIP_NO_LAB(result);
    for (const std::string &record : {result.record, result.records.at("eth1")}) {
        EXPECT_EQ(sent_to(record, "nodeq", "255.255.255.255:6000"), 2U) << record;
        EXPECT_EQ(sent_to(record, "snmp", "255.255.255.255:161"), 2U) << record;
        EXPECT_EQ(sent_to(record, "snmp", "[ff02::1]:161"), 2U) << record;
    }
}

TEST(Lab, GoesOnWithTheOtherInterfaceWhereOneRefusesToSend)
{
    const struct {
        const char *refusing;
        const char *found; ///< addresses of the other one's devices
        const char *mute;
    } cases[] = {{"eth0", "ip: 10.10.1.", "ip: 10.9.1."}, {"eth1", "ip: 10.9.1.", "ip: 10.10.1."}};
    for (const auto &c : cases) {
        const std::string script = std::string("PATH=$PATH:/usr/sbin; nft 'table inet t { chain c "
                                               "{ type filter hook output priority 0; oifname ") +
                                   c.refusing + " drop; }; }' && \"$0\"";
        const lab_result result =
            run_in_lab({HALL, {}, {ANNEX}}, {"/bin/bash", "-c", script, DEVSCOUT_PROGRAM});
        SKIP_NO_LAB(result);
        const std::string &out = result.program.out;
        EXPECT_EQ(line_count(out, c.found), 3U) << out << result.program.err;
        EXPECT_EQ(line_count(out, c.mute), 0U) << out;
        EXPECT_EQ(line_count(out, "# Total 5 printers found"), 1U) << out;
        EXPECT_EQ(out.find("rror"), std::string::npos) << out;
    }
}

TEST(Lab, FindsTheSameUnderEveryLocale)
{
    const scratch_folder locales;
    program_run make;
    make.words = {"/usr/bin/localedef", "-i", "tr_TR", "-f", "UTF-8", locales.path / "tr_TR.UTF-8"};
    const program_result made = run_program(make);
    ASSERT_EQ(made.status, 0) << made.err;
    const lab_setup lab = {"device 10.9.1.1 id=\"MFG:Taliven;MDL:QD-77 Series;CLS:Printer;\"\n"
                           "device 10.9.1.2 id=\"mfg:taliven;mdl:qd-77 series;cls:printer;\"\n"
                           "device 10.9.1.3 id=\"MFG:Orvel;CLS:Printer;\" query.id=\"\" "
                           "model=\"brightmoor 3\"\n",
                           {}};
    const auto found_under = [&](const std::string &locale) {
        return run_in_lab(lab, {"/usr/bin/env", "LOCPATH=" + locales.path.string(),
                                "LC_ALL=" + locale, DEVSCOUT_PROGRAM, "--snmp"});
    };
    const lab_result turkish = found_under("tr_TR.UTF-8");
    SKIP_NO_LAB(turkish);
    EXPECT_EQ(line_count(turkish.program.out, "ip: 10.9.1."), 3U) << turkish.program.out;
    EXPECT_EQ(sorted_devices(turkish.program.out), sorted_devices(found_under("C").program.out));
}

TEST(Lab, FindsAllBehindAFirewallThatLetsTheAnswersIn)
{
    const auto report_behind = [](const std::string &rule) {
        const std::string script =
            "PATH=$PATH:/usr/sbin; nft 'table inet t { chain c { type filter hook input priority 0;"
            "policy drop; iif lo accept; ct state established,related accept;"
            "icmpv6 type { nd-neighbor-solicit, nd-neighbor-advert } accept\n" +
            rule + "\n}; }' && \"$0\"";
        return run_in_lab({HALL, {}, {}}, {"/bin/bash", "-c", script, DEVSCOUT_PROGRAM});
    };
    const std::string fragment = std::filesystem::path(LAB_COMMAND).parent_path().parent_path() /
                                 "share/firewall/devscout.nft";
    const lab_result result = report_behind("include \"" + fragment + "\"");
    SKIP_NO_LAB(result);
    EXPECT_EQ(sorted_devices(result.program.out), expected_lines({"", "eth0", {}}))
        << result.program.err;
    const lab_result without = report_behind("");
    EXPECT_EQ(line_count(without.program.out, "# Total 0 printers found"), 1U)
        << without.program.out << without.program.err;
}
