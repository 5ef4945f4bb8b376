// What becomes of an interrupted run, its children and its log.
#include "io/wait.h"
#include "program.h"
#include "screen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/wait.h>

namespace
{

constexpr terminal_settings TERMINAL;

/// The letter of a process's state: T where it is stopped; Z or X where it has ended.
char state_of(const std::string &pid)
{
    const std::string stat = content_of("/proc/" + pid + "/stat");
    const size_t state = stat.rfind(") ");
    return state == std::string::npos ? 'X' : stat[state + 2];
}

/// Whether a process has ended, or does so soon: one that was killed needs a moment for it.
bool ends(const std::string &pid)
{
    for (int turn = 0; turn < 200; ++turn, poll(nullptr, 0, 10)) {
        if (state_of(pid) == 'Z' || state_of(pid) == 'X')
            return true;
    }
    return false;
}

/// Children that stay for long, with grandchildren, and note their own and a grandchild's number.
constexpr char LONG_CHILDREN[] = R"(
*) trap '' TERM HUP; for i in {1..20}; do sleep 60 & done
    printf '%s\n' $$ $! >>"$here/pids"
    case "$*" in *snmp) echo 'ip: 10.0.0.1 vendor: V dsc: "D"'; esac
    wait;;)";

} // namespace

TEST(Interrupted, EndsByTheSignalWithItsChildrenAndTheirs)
{
    constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    for (int turn = 0; turn < 8; ++turn) {
        const int signal = SIGNALS[turn % 4];
        const int second = SIGNALS[turn % 7 % 4]; // another one in the last turn
        const scripted_run scripted(LONG_CHILDREN);
        program_session session(scripted.with({"--nodeq", "--snmp"}), &TERMINAL);
        session.read_until("1 device  1 to describe");
        while (line_count(scripted.file("pids"), "") < 6)
            poll(nullptr, 0, 10);
        const std::vector<std::string> pids = lines_of(scripted.file("pids"));
        kill(session.pid, signal);
        const int64_t start = monotonic_us();
        // A second signal comes while the children are being killed.
        while (std::all_of(pids.begin(), pids.end(), [](const std::string &pid) {
            return strchr("TZX", state_of(pid)) == nullptr;
        }))
            continue;
        kill(session.pid, second);
        const int status = session.finish();
        EXPECT_LT(monotonic_us() - start, 5 * MICROSECONDS_PER_SECOND);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        for (const std::string &pid : pids)
            EXPECT_TRUE(ends(pid)) << signal;
        EXPECT_EQ(screen(session.written) + session.printed, "");
    }
}

TEST(Interrupted, EndsByTheSignalThoughItsReaderTakesNothing)
{
    const scripted_run scripted(R"("-s --nodeq") for i in {1..3000}; do
    echo "ip: 10.0.$((i / 250)).$((i % 250)) vendor: V dsc: \"D\""; done;;)");
    program_session session(scripted.with({"--nodeq"}), &TERMINAL);
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
    // In the background of a shell SIGINT is ignored. Times are cut off.
    const lab_result result = shell_in_lab({""}, R"sh(
>/tmp/devscout.lcf; "$0" --snmp --slp >/dev/null & sleep 1
kill -INT $!; sleep 0.5; kill -0 $! && echo alive
kill -TERM $!; wait $!; echo $?; sed -n '1p;$p' /tmp/devscout.log | cut -c 1-8; grep -c INFO: /tmp/devscout.log
)sh");
    EXPECT_EQ(result.program.out, "alive\n143\nINFO: 20\nINFO: 20\n2\n");
}

TEST(Interrupted, ChildrenEndWhenNobodyReadsThem)
{
    // A device that keeps the SNMP child busy for a minute, one that is slow to describe, and one
    // to which no connection is made over IPv6.
    constexpr char FLEET[] = R"(device 10.9.1.1 id="MFG:A;CLS:PRINTER;" snmp.flood=60000
device 10.9.1.2 id="MFG:B;CLS:PRINTER;" tcp=never
device - id6=::3:1 id="MFG:C;CLS:PRINTER;" scan=whole
)";
    const lab_result result = shell_in_lab({FLEET}, R"sh(
count() { cat /proc/[0-9]*/comm 2>/dev/null | grep -c '^devscout$'; }
gone() { for i in {1..50}; do [ "$(count)" = 0 ] && echo gone && return; sleep 0.1; done; }
"$0" --all >/dev/null & sleep 1; [ "$(count)" -gt 3 ] && echo all; kill -KILL $!; gone
nft 'table inet t { chain c { type filter hook input priority 0; tcp sport 9400 drop; }; }'
inquires() { for i in {1..100}; do grep -qsz '^-I$' /proc/[0-9]*/cmdline && echo inquires && return; sleep 0.1; done; }
"$0" --scanner --snmp6 >/dev/null & inquires; sleep 0.3; kill -KILL $!; gone
"$0" -s --snmp > >(sleep 1) & gone
)sh");
    EXPECT_EQ(result.program.out, "all\ngone\ninquires\ngone\ngone\n") << result.program.err;
}
