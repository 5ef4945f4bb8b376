// What a person at a terminal sees besides the report.
#include "io/wait.h"
#include "terminal_session.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace
{

/// A report up to the seconds in its last line.
std::string without_seconds(const std::string &report)
{
    return report.substr(0, report.rfind(" found, "));
}

constexpr char SLOW_CHILDREN[] = R"(
"-s --snmp") for i in 1 2; do echo "ip: 10.0.0.$i snmp: 1,1,0 vendor: V dsc: \"\""; done; sleep 1;;
"-s --nodeq") sleep 0.5; echo 'ip: 10.0.0.3 snmp: 0,0,0 vendor: V dsc: "#N"';;
"-R "*) sleep 1.$((${2##*.} * 4)); echo "ip: $2 dsc: \"Model\"";;
"-I "*) sleep 1; echo 'a8 01';;)";

} // namespace

TEST(Terminal, ShowsTheStatusAndTakesItAway)
{
    const struct {
        std::vector<std::string> arguments;
        std::string methods;
        std::string requests;
    } cases[] = {
        {{"--nodeq", "--snmp"}, "snmp nodeq", "2 to describe"},
        {{"--scanner", "--snmp", "--nodeq6"}, "snmp nodeq6", "2 to inquire"},
    };
    for (const auto &c : cases) {
        const scripted_run scripted(SLOW_CHILDREN);
        terminal_session session(scripted.with(c.arguments), false);
        EXPECT_EQ(session.finish(), 0);
        const std::vector<std::string> lines = status_lines(session.written);
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.front(), c.methods + "  0 devices");
        const std::string rest = "devices  " + c.requests;
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const std::string &line) {
            return line.find(rest) != std::string::npos;
        })) << session.written;
        EXPECT_EQ(session.written.find('\033'), std::string::npos);
        EXPECT_EQ(screen(session.written).find("device"), std::string::npos) << session.written;
        EXPECT_EQ(without_seconds(session.printed),
                  without_seconds(run_program(scripted.with(c.arguments)).out));
    }
}

TEST(Terminal, CutsTheStatusAndRefreshesItTenTimesASecond)
{
    const scripted_run scripted(R"("-s --snmp") for i in {1..250}; do
    echo "ip: 10.0.0.$i snmp: 1,1,0 vendor: V dsc: \"D\""; sleep 0.004; done;;)");
    const int64_t start = monotonic_us();
    terminal_session session(scripted.with({"--snmp"}), false, 12);
    session.finish();
    const int64_t tenths = (monotonic_us() - start) / (100 * MICROSECONDS_PER_MILLISECOND);
    const std::vector<std::string> lines = status_lines(session.written);
    EXPECT_EQ(std::set<std::string>(lines.begin(), lines.end()).count("snmp  0 dev"), 1U);
    EXPECT_LE(lines.size(), static_cast<size_t>(tenths + 1));
    for (const std::string &line : lines)
        EXPECT_LE(line.size(), 11U);
}

TEST(Terminal, KeepsDebugLinesWholeOnTheSameTerminal)
{
    const scripted_run scripted(SLOW_CHILDREN);
    const std::vector<std::string> arguments = {"-d2", "--snmp"};
    terminal_session session(scripted.with(arguments), true);
    session.finish();
    EXPECT_FALSE(status_lines(session.written).empty());
    EXPECT_EQ(without_seconds(screen(session.written)),
              without_seconds(run_program(scripted.with(arguments)).out));
}

TEST(Terminal, TellsWhatArgumentsMeanAndWhyNothingWasListed)
{
    const std::string ignored = " is no option and is ignored (see devscout(1))\n";
    const std::string none = "devscout: no method was selected, so nothing was asked (--all: the "
                             "usual)\n";
    const struct {
        std::vector<std::string> arguments;
        std::string expected; ///< on standard error
    } cases[] = {
        {{"--snpm"}, "devscout: '--snpm'" + ignored + none},
        {{"--nodeq", "-d", "a\033[2Jb", "-c"},
         "devscout: '-d'" + ignored + "devscout: 'a?[2Jb'" + ignored + "devscout: '-c'" + ignored},
        {{"--version", "--scanner"}, "devscout " PROJECT_VERSION "\n"},
        {{"-s", "--snpm", "--help"}, ""},
        {{"-R", "127.0.0.1", "--snpm"}, ""},
    };
    for (const auto &c : cases) {
        const scripted_run scripted("*) echo 'ip: 10.0.0.1 vendor: V dsc: \"D\"';;");
        terminal_session session(scripted.with(c.arguments), false);
        session.finish();
        EXPECT_EQ(screen(session.written), c.expected);
        const program_result piped = run_program(scripted.with(c.arguments));
        EXPECT_EQ(piped.err, "");
        EXPECT_EQ(without_seconds(session.printed), without_seconds(piped.out));
    }
    const scripted_run scripted("");
    for (const char *option : {"-h", "--help"}) {
        terminal_session session(scripted.with({option}), false);
        session.finish();
        const std::string usage = screen(session.written);
        EXPECT_EQ(usage.rfind("Usage: devscout ", 0), 0U) << usage;
        EXPECT_LE(line_count(usage, ""), 24U);
        EXPECT_EQ(line_count(session.printed, "# Total 0 printers"), 1U);
    }
}

TEST(Terminal, StaysSilentThroughPipesAndInFiles)
{
    const scripted_run scripted(SLOW_CHILDREN);
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"--snmp", "--nodeq"}, {"--snpm"}, {"--help", "--version"}}) {
        EXPECT_EQ(run_program(scripted.with(arguments)).err, "");
        program_run run = scripted.with(arguments);
        const std::string file = scripted.folder.path / "errors";
        run.words.insert(run.words.begin(), {"-c", "exec -a \"$2\" \"$0\" \"${@:3}\" 2>\"$1\"",
                                             DEVSCOUT_PROGRAM, file});
        run.words.insert(run.words.begin(), "bash");
        run.executable = "/bin/bash";
        EXPECT_EQ(line_count(run_program(run).out, "# Total "), 1U);
        EXPECT_EQ(content_of(file), "");
    }
}

TEST(Terminal, EndsWithoutAMessageWhenItsReaderHasEnough)
{
    const scripted_run scripted("*) echo 'ip: 10.0.0.1 vendor: V dsc: \"D\"';;");
    program_run run;
    run.words = {"/bin/bash", "-c", "(exec -a \"$1\" \"$0\" --nodeq) | head -1", DEVSCOUT_PROGRAM,
                 scripted.script};
    terminal_session session(run, false);
    EXPECT_EQ(session.finish(), 0);
    EXPECT_EQ(line_count(session.printed, ""), 1U);
    EXPECT_EQ(screen(session.written), "");
}

TEST(Terminal, TellsWhyNothingWasFound)
{
    const std::string asked =
        "devscout: no printer was found; asked on eth0\n"
        "devscout: a firewall must let in UDP from ports 161, 427 and 6000\n"
        "devscout: devices of another SNMP community or another network stay unseen\n";
    const struct {
        std::string preparation;
        std::string arguments;
        std::string expected;
    } cases[] = {
        {"", "--nodeq", asked},
        {"", "--nodeq | true", asked}, // nobody reads the report
        {"ip link set eth0 down; ", "--nodeq --scanner",
         "devscout: no scanner was found: there is no interface to ask on\n"},
    };
    for (const auto &c : cases) {
        const std::string command =
            "script -qc '\"$PROGRAM\" " + c.arguments + " >/dev/null' /dev/null";
        const lab_result result =
            run_in_lab({"", {}}, {"/bin/bash", "-c", c.preparation + "PROGRAM=$0 " + command,
                                  DEVSCOUT_PROGRAM});
        SKIP_NO_LAB(result);
        EXPECT_EQ(screen(result.program.out), c.expected) << result.program.err;
    }
}
