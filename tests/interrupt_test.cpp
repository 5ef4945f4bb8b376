// What becomes of an interrupted run, its children and its log.
#include "io/wait.h"
#include "terminal_session.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>

namespace
{

/// Whether a process has ended, or does so soon: one that was killed needs a moment for it.
bool ends(pid_t pid)
{
    for (int turn = 0; turn < 200; ++turn, poll(nullptr, 0, 10)) {
        const std::string stat = content_of("/proc/" + std::to_string(pid) + "/stat");
        const size_t state = stat.rfind(") ");
        if (state == std::string::npos || stat[state + 2] == 'Z' || stat[state + 2] == 'X')
            return true;
    }
    return false;
}

/// Children that stay for long, with a grandchild each, and note their numbers.
constexpr char LONG_CHILDREN[] = R"(
*) sleep 60 & echo $$ $! >>"$here/pids"
    case "$*" in *snmp) echo 'ip: 10.0.0.1 vendor: V dsc: "D"'; esac
    trap '' TERM HUP; wait;;)";

} // namespace

TEST(Interrupted, EndsByTheSignalWithItsChildrenAndTheirs)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        const scripted_run scripted(LONG_CHILDREN);
        terminal_session session(scripted.with({"--nodeq", "--snmp"}), false);
        session.read_until("1 device  1 to describe");
        while (scripted.noted_processes().size() < 6)
            poll(nullptr, 0, 10);
        kill(session.pid, signal);
        const int64_t start = monotonic_us();
        const int status = session.finish();
        EXPECT_LT(monotonic_us() - start, 5 * MICROSECONDS_PER_SECOND);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        for (const pid_t pid : scripted.noted_processes())
            EXPECT_TRUE(ends(pid)) << signal;
        EXPECT_EQ(screen(session.written), "");
        EXPECT_EQ(session.printed, "");
    }
}

TEST(Interrupted, EndsByTheSignalThoughItsReaderTakesNothing)
{
    const scripted_run scripted(R"("-s --nodeq") for i in {1..3000}; do
    echo "ip: 10.0.$((i / 250)).$((i % 250)) vendor: V dsc: \"D\""; done;;)");
    terminal_session session(scripted.with({"--nodeq"}), false);
    // The report fills the pipe; then nothing moves.
    for (int held = 0, before = -1; held == 0 || held != before; poll(nullptr, 0, 500)) {
        before = held;
        ioctl(session.out.fd, FIONREAD, &held);
    }
    kill(session.pid, SIGTERM);
    int status = 0;
    EXPECT_EQ(waitpid(session.pid, &status, 0), session.pid);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
}

TEST(Interrupted, ClosesItsLogAndLeavesIgnoredSignalsAlone)
{
    // In the background of a shell SIGINT is ignored.
    const std::string script = R"sh(
>/tmp/devscout.lcf; "$0" --snmp --slp >/dev/null & sleep 1
kill -INT $!; sleep 0.5; kill -0 $! && echo alive
kill -TERM $!; wait $!; echo $?; cat /tmp/devscout.log
)sh";
    const scratch_folder tmp;
    const lab_result result = run_in_lab({"", {"--tmp", tmp.path.string()}},
                                         {"/bin/bash", "-c", script, DEVSCOUT_PROGRAM});
    SKIP_NO_LAB(result);
    const std::string &out = result.program.out;
    EXPECT_EQ(out.rfind("alive\n143\nINFO: ", 0), 0U) << out;
    EXPECT_EQ(line_count(out, "INFO: "), 2U) << out;
    EXPECT_EQ(line_count(out.substr(out.rfind("INFO: ")), ""), 1U) << out;
}

TEST(Interrupted, ChildrenEndWhenNobodyReadsThem)
{
    // A device that keeps the SNMP child busy for a minute, and one that is slow to describe.
    const lab_setup lab = {"device 10.9.1.1 id=\"MFG:A;CLS:PRINTER;\" snmp.flood=60000\n"
                           "device 10.9.1.2 id=\"MFG:B;CLS:PRINTER;\" tcp=never\n",
                           {}};
    const std::string script = R"sh(
count() { cat /proc/[0-9]*/comm 2>/dev/null | grep -c '^devscout$'; }
gone() { for i in {1..50}; do [ "$(count)" = 0 ] && echo gone && return; sleep 0.1; done; }
"$0" --all >/dev/null & sleep 1; [ "$(count)" -gt 3 ] && echo all; kill -KILL $!; gone
"$0" -s --snmp > >(sleep 1) & gone
)sh";
    const lab_result result = run_in_lab(lab, {"/bin/bash", "-c", script, DEVSCOUT_PROGRAM});
    SKIP_NO_LAB(result);
    EXPECT_EQ(result.program.out, "all\ngone\ngone\n") << result.program.err;
}
