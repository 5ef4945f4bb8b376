// The built program in the lab network: what it finds, prints and sends.
#include "program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

constexpr char OFFICE[] = R"(
device 10.9.1.1 id="mfg:taliven;mdl:qd-77 series;cls:printer;" nodeq.a=LOBBY
device 10.9.1.2 id="MFG:Orvel Ltd;CLS:PRINTER;" query.id="MFG:Orvel Ltd;MDL:B5;" nodeq.a=HALL
device 10.9.1.3 id="MFG:Ramo;CLS:PRINTER" query.id.absent model="4702d" mib=""
device 10.9.1.4 nodeq.a=ARCHIVE nodeq.b="line\nip: 10.9.9.9"
device 10.9.1.5 id="MFG:Quilla;MDL:Q;CLS:PRINTER;" tcp=never
device - id6=::5:1 id="MFG:Pemberk;CLS:PRINTER;" query.id="" model="Folio"
device 10.9.1.6 id="MFG:Ramo;MDL:S6;CLS:PRINTER,SCN;"
device 10.9.1.7 id="MFG:Orvel;CLS:Printer;" query.id="" model="brightmoor 3"
device 10.9.1.8 slp.url="service:printer:lpr://%a:515/q" slp.url="service:printer:ipp://%a"
device 10.9.1.9 id="MFG:Taliven;MDL:Disk;CLS:STORAGE;"
)";

} // namespace

TEST(Lab, ReportsTheWholeOffice)
{
    // The locale has other capitals; the descriptors are beyond what select() takes.
    const lab_result result = shell_in_lab({OFFICE, {"--snmpd"}}, R"sh(
localedef -i tr_TR -f UTF-8 /tmp/tr_TR.UTF-8 >&2 && export LOCPATH=/tmp LC_ALL=tr_TR.UTF-8
ulimit -n 4096; for i in {3..1200}; do eval "exec $i</dev/null"; done; exec "$0")sh");
    EXPECT_EQ(result.program.status, 0) << result.program.err;
    EXPECT_EQ(sorted_devices(result.program.out),
              R"(ip: 10.9.0.161      slp: 0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: "QD-77 Series"
ip: 10.9.1.1        slp: 0,0,0,0 snmp: 0,0,0 vendor: taliven dsc: "qd-77 series [LOBBY]"
ip: 10.9.1.2        slp: 0,0,0,0 snmp: 0,0,0 vendor: Orvel dsc: "Orvel B5 [HALL]"
ip: 10.9.1.3        slp: 0,0,0,0 snmp: 0,0,0 vendor: Ramo dsc: "RAMO 4702d"
ip: 10.9.1.4        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: " [ARCHIVE] line ip: 10.9.9.9"
ip: 10.9.1.6        slp: 0,0,0,0 snmp: 1,1,0 vendor: Ramo dsc: "S6"
ip: 10.9.1.7        slp: 0,0,0,0 snmp: 0,0,0 vendor: Orvel dsc: "Orvel brightmoor 3"
ip: 10.9.1.8        slp: 1,1,1,0 snmp: 0,0,0 vendor:  dsc: ""
ip: 2001:db8:9::161 slp: 0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: "QD-77 Series"
ip: 2001:db8:9::5:1 slp: 0,0,0,0 snmp: 0,0,0 vendor: Pemberk dsc: " Folio"
ip: fd00:9::161     slp: 0,0,0,0 snmp: 0,0,0 vendor: Taliven dsc: "QD-77 Series"
ip: fd00:9::5:1     slp: 0,0,0,0 snmp: 0,0,0 vendor: Pemberk dsc: " Folio"
)");
    EXPECT_EQ(line_count(result.program.out, "# Total 12 printers found, "), 1U);
}

TEST(Lab, RunsEveryMethodInTurn)
{
    constexpr char FLEET[] = R"(
device 10.9.1.1 id6=::1:1 id="MFG:A;MDL:m;CLS:PRINTER" nodeq.a=ABC slp.url="service:printer:lpr://%a"
)";
    const lab_result result = devscout_in_lab(
        {FLEET}, {"-s", "--time", "--nodeq", "--nodeq6", "--slp", "--snmp", "--snmp6"});
    EXPECT_THAT(lines_with(result.program.out, "# M"), testing::MatchesRegex(R"((# Mode [a-z6]+
){5}# MARK: BEGIN: [0-9].00
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
)");
    EXPECT_EQ(line_count(requests(result.record, "nodeq"), "255.255.255.255:6000 "), 2U)
        << "over IPv6 nothing is sent: " << result.record;
    // Behind a request's first two bytes stands its version: 0 is SNMPv1, 1 is SNMPv2c.
    EXPECT_THAT(requests(result.record, "snmp"),
                testing::MatchesRegex("(255.255.255.255:161 [0-9]+ 30..020100[^\n]+\n){2}"
                                      "([[]ff02::1]:161 [0-9]+ 30..020101[^\n]+\n){2}"));
}

TEST(Lab, LogsOnlyWhereItIsAsked)
{
    const lab_result result =
        shell_in_lab({"device 10.9.1.1 id=\"MFG:A;MDL:m;CLS:PRINTER\" snmp.community=it's\n"}, R"sh(
cd /tmp; "$0" --nodeq6 >out; "$0" -c "it's" -s --snmp >out; ls -- *.log 2>/dev/null
>devscout.lcf; echo LOG_LEVEL=0 >devscout_snmp6.lcf
echo APPEND_MODE=1 >devscout_snmp.lcf; echo before >devscout_snmp.log
"$0" -c "it's" --snmp --snmp6 >out; ls -- *.log; sed -E 's/ <.*devscout'"'?"' / </; s/: 20.*/: 20/' devscout.log
sed -n 's/: 20.*/: 20/; 1,2p' devscout_snmp.log
grep -c received devscout_snmp.log
sed -E 's/^2[^:]*(:[^:]*){2}:/:/; s/[0-9]+ sec.*//' devscout_snmp.log | awk '/=/ && !seen[$0]++' # each value
echo LOG_LEVEL=3 >devscout_snmp.lcf; rm devscout.log; mkdir devscout.log
"$0" -c "it's" --snmp 2>&1 >out; grep -A1 received devscout_snmp.log | grep -oE ':received|04 04 .*27 .*73 a2'
awk '/received/ { left = $(NF - 1) } /^0000/ { left -= split(substr($0, 9, 50), bytes) } END { print left " not dumped" }' devscout_snmp.log
grep -c '^ip: 10.9.1.1 ' out; rmdir devscout.log
# Without standard streams the log must not take the place of the standard output.
"$0" -c "it's" -s --time --snmp <&- >&-; echo $?; grep -c '^INFO: 20' devscout_snmp.log; grep '^# ' devscout_snmp.log)sh");
    EXPECT_EQ(result.program.out, R"(devscout.log
devscout_snmp.log
INFO: 20
TRACE: run_child_process <snmp>
TRACE: run: <-c 'it'\''s' -s --snmp>
TRACE: run_child_process <snmp6>
TRACE: run: <-c 'it'\''s' -s --snmp6>
INFO: 20
before
INFO: 20
0
:snmp_sess_select_info: timeout_snmp: block=0 
:	ready=1
:have_more_time=1
:discovery_response: operation=1 NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE=1
:pdu: errstat=0 SNMP_ERR_NOERROR=0
	var: type=4 len=23 val=<MFG:A;MDL:m;CLS:PRINTER>
:	ready=0
:have_more_time=0
:response_count=1
/tmp/devscout.log file open error
:received
04 04 69  74 27 73 a2
0 not dumped
1
0
2
)");
}

TEST(Lab, ReadsNoMibFileWhateverTheHostIsConfiguredTo)
{
    // The library's own folder of snmp.conf depends on how it was built.
    const lab_result result =
        shell_in_lab({"device 10.9.1.1 id=\"MFG:A;MDL:m;CLS:PRINTER\"\n"}, R"sh(
export SNMPCONFPATH=/tmp ASAN_OPTIONS=detect_leaks=0
printf 'mibs +ALL\nmibdirs /usr/share/snmp/mibs:/etc\n' >/tmp/snmp.conf
strace -f -e trace=open,openat "$0" -s --snmp 2>&1 | grep -oE 'mibs|^ip: [^ ]*|/tmp/snmp.conf' | sort -u)sh");
    EXPECT_EQ(result.program.out, "/tmp/snmp.conf\nip: 10.9.1.1\n");
}
