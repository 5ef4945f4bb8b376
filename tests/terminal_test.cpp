// What a person at a terminal sees besides the report.
#include "io/wait.h"
#include "program.h"
#include "screen.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <tuple>
#include <vector>

namespace
{

using arguments = std::vector<std::string>;

constexpr terminal_settings TERMINAL;
constexpr terminal_settings FOR_ALL = {80, true};

/// A report up to the seconds in its last line.
std::string without_seconds(const std::string &report)
{
    return report.substr(0, report.rfind(" found, "));
}

/// The status lines that were written, in order, the erasures left out.
std::vector<std::string> status_lines(const std::string &written)
{
    std::vector<std::string> found;
    std::istringstream pieces(written);
    for (std::string piece; std::getline(pieces, piece, '\r');) {
        const std::string line = without_end_blanks(piece);
        if (!line.empty() && line.find('\n') == std::string::npos)
            found.push_back(line);
    }
    return found;
}

constexpr char SLOW_CHILDREN[] = R"(
"-s --snmp") for i in 1 2; do echo "ip: 10.0.0.$i snmp: 1,1,0 vendor: V dsc: \"\""; done; sleep 1; echo '#';;
"-s --nodeq") sleep 0.5; echo 'ip: 10.0.0.3 snmp: 0,0,0 vendor: V dsc: "#N"';;
*"-R "*) sleep 1.2; for ip; do case $ip in
    *.1) echo 'ip: 10.0.0.1 dsc: " " ERROR: Destination unreachable';;
    *.2) sleep 0.6; echo 'ip: 10.0.0.2 dsc: "Model"';; esac; done;;
"-I "*) sleep 1.4; echo 'a8 01';;)";
constexpr char ONE_DEVICE[] = "*) echo 'ip: 10.0.0.1 vendor: V dsc: \"D\"';;";

} // namespace

TEST(Terminal, ShowsTheStatusAndTakesItAway)
{
    const struct {
        arguments given;
        std::string beside_snmp;
        std::string requests;
        std::string at_last;
        std::string what;
        unsigned short columns; ///< 0: a terminal that does not tell it
    } cases[] = {
        {{"--nodeq", "--snmp"}, "nodeq", "3 devices  2", "1", "describe", 80},
        {{"--nodeq", "--snmp", "--quick"}, "nodeq", "3 devices  2", "1", "describe", 80},
        {{"--scanner", "--snmp", "--nodeq6"}, "nodeq6", "2 devices  2", "2", "inquire", 0},
    };
    for (const auto &c : cases) {
        const scripted_run scripted(SLOW_CHILDREN);
        const terminal_settings terminal = {c.columns};
        program_session session(scripted.with(c.given), &terminal);
        EXPECT_EQ(session.finish(), 0);
        const std::vector<std::string> lines = status_lines(session.written);
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.front(), "snmp " + c.beside_snmp + "  0 devices");
        EXPECT_THAT(lines, testing::Contains("snmp  " + c.requests + " to " + c.what));
        EXPECT_THAT(lines, testing::Contains("2 devices  " + c.at_last + " to " + c.what));
        EXPECT_EQ(session.written.find('\033'), std::string::npos);
        EXPECT_EQ(screen(session.written), "");
    }
}

TEST(Terminal, IsLeftAloneByAJobInTheBackgroundAndHoldsNoRun)
{
    const scripted_run scripted(SLOW_CHILDREN);
    program_session job(scripted.shell_run("set -m; (\"$@\") & wait", {"--nodeq"}), &TERMINAL);
    job.finish();
    EXPECT_EQ(job.written.find("device"), std::string::npos) << job.written;
    EXPECT_EQ(line_count(job.printed, "ip: 10.0.0.3 "), 1U);

    program_session held(scripted.with({"--nodeq"}), &TERMINAL);
    held.read_until("nodeq");
    const char control_s = '\023';
    ASSERT_EQ(write(held.err.fd, &control_s, 1), 1);
    pid_t ended = 0;
    for (int turn = 0; turn < 100 && ended == 0; ++turn, poll(nullptr, 0, 100))
        ended = waitpid(held.pid, nullptr, WNOHANG);
    EXPECT_EQ(ended, held.pid);
    kill(held.pid, SIGKILL);
}

TEST(Terminal, CutsTheStatusAndRefreshesItTenTimesASecond)
{
    const scripted_run scripted(R"("-s --snmp") for i in {1..250}; do
    echo "ip: 10.0.0.$i snmp: 1,1,0 vendor: V dsc: \"D\""; sleep 0.004; done;;)");
    constexpr terminal_settings NARROW = {12};
    const int64_t start = monotonic_us();
    program_session session(scripted.with({"--snmp"}), &NARROW);
    session.finish();
    const int64_t tenths = (monotonic_us() - start) / (100 * MICROSECONDS_PER_MILLISECOND);
    const std::vector<std::string> lines = status_lines(session.written);
    EXPECT_THAT(lines, testing::Contains("snmp  0 dev"));
    EXPECT_THAT(lines, testing::Each(testing::SizeIs(testing::Le(11U))));
    EXPECT_LE(lines.size(), static_cast<size_t>(tenths + 1));
}

TEST(Terminal, KeepsDebugLinesWholeOnTheSameTerminal)
{
    const scripted_run scripted(SLOW_CHILDREN);
    program_session session(scripted.with({"-d2", "--snmp"}), &FOR_ALL);
    session.finish();
    EXPECT_FALSE(status_lines(session.written).empty());
    EXPECT_EQ(without_seconds(screen(session.written)),
              without_seconds(run_program(scripted.with({"-d2", "--snmp"})).out));
}

TEST(Terminal, TellsWhatArgumentsMeanAndWhyNothingWasListed)
{
    const std::pair<arguments, std::string> cases[] = {
        {{"--snpm"}, R"(devscout: '--snpm' is no option and is ignored .see devscout.1..
devscout: no method was selected, so nothing was asked .--all: the usual.
)"},
        {{"--nodeq", "-d", "a\033[2J\x9b!", "-c"}, R"(devscout: '-d' lacks its LEVEL and is ignored
devscout: 'a [[]2J !' is no option and is ignored .see devscout.1..
devscout: '-c' lacks its COMMUNITY and is ignored
)"},
        {{"--nodeq", "-c", "public", "-R", "--slp", "x", "--quick", "y"},
         R"(devscout: '-c' counts before the methods only and is ignored
devscout: '-R' counts before the methods only and is ignored
devscout: 'x' is no option and is ignored .see devscout.1..
devscout: 'y' is no option and is ignored .see devscout.1..
)"},
        {{"-c", "--snmp", "--nodeq"}, "devscout: '--snmp' is taken for the COMMUNITY of '-c'\n"},
        {{"-d-s", "-c", "-x", "--nodeq"}, ""},
        {{"--scanner", "--slp"}, "devscout: scanners are found by SNMP only: [^\n]*\n"},
        {{"--scanner", "--snmp6"}, "devscout: no scanner was found: [^\n]*\n"},
        {{"-s", "--snpm"}, ""},
        {{"-R", "127.0.0.1", "--snpm"}, ""},
    };
    const scripted_run scripted(ONE_DEVICE);
    for (const auto &[given, expected] : cases) {
        program_session session(scripted.with(given), &TERMINAL);
        session.finish();
        EXPECT_THAT(screen(session.written), testing::MatchesRegex(expected));
        EXPECT_EQ(session.written.find('\033'), std::string::npos);
        const program_result piped = run_program(scripted.with(given));
        EXPECT_EQ(piped.err, "");
        EXPECT_EQ(without_seconds(session.printed), without_seconds(piped.out));
    }
}

TEST(Terminal, TellsWhatASingleDeviceRunWasNotGiven)
{
    const std::pair<arguments, std::string> cases[] = {
        {{"-c", "x\033", "-R", "127.0.0.1"},
         "# Mode get_description\n(# ERROR: [^\n]*\n)*"
         "devscout: 127.0.0.1 tells no make and model by SNMP .community 'x '.\n"},
        {{"-c", "-s", "--quick", "-R", "127.0.0.1", "127.0.0.2"},
         "devscout: '-s' is taken for the COMMUNITY of '-c'\n# Mode get_description\n((# ERROR: "
         "[^\n]*\n)*"
         "devscout: 127.0.0.[12] tells no make and model [^\n]*\n){2}"},
        {{"-I", "-s"},
         "devscout: '-s' is taken for the ADDRESS of '-I'\n# Mode scanner_inquiry\n"
         "devscout: -s gives no scanner inquiry block on TCP port 9400\n"},
    };
    for (const auto &[given, expected] : cases) {
        const scripted_run scripted("");
        program_session session(scripted.with(given), &FOR_ALL);
        session.finish();
        EXPECT_THAT(screen(session.written), testing::MatchesRegex("WARNING: [^\n]*\n" + expected));
    }
}

TEST(Terminal, NamesTheOptionForLongQueuesOnce)
{
    for (const auto &[devices, option, lines] : {std::tuple(31, "--snmp", 1U),
                                                 {30, "--snmp", 0U},
                                                 {31, "--quick", 0U},
                                                 {31, "--thorough", 0U}}) {
        const scripted_run scripted("*\"-s --snmp\") for i in {1.." + std::to_string(devices) +
                                    R"(}; do
    echo "ip: 10.0.0.$i snmp: 1,1,0 vendor: V dsc: \"\""; done;;
*"-s --nodeq") for i in 1 2; do sleep 0.2; echo "ip: 10.0.1.$i snmp: 0,0,0 vendor: V dsc: \"D\""; done;;
*) until [ -e "$here/end" ]; do sleep 0.05; done;;)");
        program_session session(scripted.with({"--snmp", "--nodeq", option}), &TERMINAL);
        session.read_until(std::to_string(devices + 2) + " devices");
        run_program(scripted.shell_run("touch \"$here/end\"", {}));
        session.finish();
        EXPECT_EQ(line_count(screen(session.written), "devscout: more than 30 devices to ask"),
                  lines)
            << session.written;
    }
}

TEST(Terminal, PrintsHelpAndDoesNothingElse)
{
    const std::pair<arguments, std::string> cases[] = {
        {{"--interface", "none", "--version", "--help"}, "devscout " PROJECT_VERSION "\n"},
        {{"-s", "--slp", "--snpm", "-h"}, R"(Usage: devscout .*
Before or among the methods:
  --interface NAME   ask through this interface alone
.*
Methods:
  --nodeq            nodeq, a .*
Among the methods:
.*
One device:
  -R ADDRESS         describe one device
.*
See devscout.1..
)"},
    };
    const scripted_run scripted("*) touch \"$here/started\";;");
    for (const auto &[given, expected] : cases) {
        program_session session(scripted.with(given), &TERMINAL);
        EXPECT_EQ(session.finish(), 0);
        EXPECT_THAT(session.printed, testing::MatchesRegex(expected));
        EXPECT_EQ(session.written, "");
    }
    EXPECT_EQ(scripted.file("started"), "");
}

TEST(Terminal, TellsWhyNothingWasFound)
{
    const std::string asked = "devscout: no printer was found; asked on ";
    const std::string unseen = R"(
devscout: a firewall must let in UDP from ports 161, 427 and 6000
devscout: devices of another SNMP community or another network stay unseen
)";
    const std::string unreached = "devscout: devices that packets did not reach: --thorough\n";
    // Besides eth0 there are interfaces without IPv6: names of 15 characters, then short ones.
    const lab_result result = shell_in_lab({""}, R"sh(
echo 1 >/proc/sys/net/ipv6/conf/default/disable_ipv6
for i in a c; do ip link add ${i}23456789012345 type veth peer name ${i}xxxxxxxxxxxxxx; done
ip link add e1 type veth peer name e2
long=$(echo {a,c}{23456789012345,xxxxxxxxxxxxxx} e1 e2)
for i in $long; do
    ip address add 10.77.$((++n)).1/24 dev $i; ip link set $i up
done
told() { program=$0 script -qc "\"\$program\" ${*:2} >/dev/null" "/tmp/$1" >/dev/null; }
told 1 --nodeq & told 2 '--nodeq | true' & told 3 --snmp6 & # nobody reads the report of the second
told 4 --nodeq --thorough --interface eth0 & wait
for i in eth0 $long; do ip link set $i down; done; told 5 --snmp --scanner
for i in {1..5}; do sed '1d;$d' /tmp/$i; done)sh");
    const std::string everywhere = asked + "eth0, axxxxxxxxxxxxxx, ..." + unseen + unreached;
    EXPECT_EQ(lines_with(screen(result.program.out), "d"),
              everywhere + everywhere + asked + "eth0" + unseen + unreached + asked + "eth0" +
                  unseen +
                  "devscout: snmp: Network is unreachable\n"
                  "devscout: no scanner was found: there is no interface to ask on\n");
}
