// The parent run with too little memory: it reports what it could keep.
#include "program.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace
{

// Runs the program, $1, with argument 0 as $0 and under a limit in KiB; `least` is the least in
// which it starts at all.
constexpr char LIMITED_RUNS[] = R"(
run() { (ulimit -v "$1"; shift; exec -a "$name" "$program" "$@" 2>&1); }
name=$0; program=$1
for ((least = 4000; least < 200000; least += 100)); do run $least x >/dev/null && break; done
)";

} // namespace

TEST(Memory, EndsNoRunWhateverTheLimit)
{
    const scratch_folder folder;
    const std::string child =
        folder.write("child", "#!/bin/sh\nseq -f 'ip: 10.0.0.%.0f snmp: 1,1,0 vendor: V dsc: "
                              "\"Model with a name of some length\"' 4000\n");
    std::filesystem::permissions(child, std::filesystem::perms::owner_all);
    program_run run;
    run.words = {"/bin/bash", "-c", std::string(LIMITED_RUNS) + R"(
for more in 0 50 100 200 300 500 700 900 1100 1300 1500 1700 4000; do
    run $((least + more)) --nodeq | sed -n 's/^# Total \([0-9]*\) .*/\1/p'
    ((PIPESTATUS[0] == 0)) || echo "status ${PIPESTATUS[0]}"
done)",
                 child, UNLIMITED_PROGRAM};
    const program_result result = run_program(run);

    const std::vector<std::string> totals = lines_of(result.out);
    ASSERT_EQ(totals.size(), 13U) << result.out;
    EXPECT_LT(std::stol(totals.front()), 4000) << "the limits meant nothing";
    EXPECT_EQ(totals.back(), "4000") << result.out;
}

TEST(Memory, AnSlpChildReportsThoughItsSearchHasNone)
{
    if (SLP_IS_AGENT == 0)
        GTEST_SKIP() << "libslp knows by itself what to do without memory";
    // The file is read into 256 KiB, which are not there.
    const lab_result result =
        run_in_lab({"", {}, {}, {{"slp.conf", "net.slp.multicastMaximumWait = 100\n"}}},
                   {"/bin/bash", "-c",
                    std::string(LIMITED_RUNS) + "run $((least + 200)) -s --slp; echo status $?",
                    "child", UNLIMITED_PROGRAM});
    EXPECT_EQ(line_count(result.program.out, "Error opening slp handle "), 1U);
    EXPECT_EQ(line_count(result.program.out, "# Total 0 printers found, "), 1U);
    EXPECT_EQ(lines_with(result.program.out, "status"), "status 0\n") << result.program.out;
}

TEST(Memory, ANodeqChildReportsWheneverItStarts)
{
    const lab_result result =
        run_in_lab({"", {}}, {"/bin/bash", "-c", std::string(LIMITED_RUNS) + R"(
for ((limit = least - 100; limit <= least + 20; limit += 20)); do
    (run $limit -s --nodeq >/dev/null; echo "status $?") &
done; wait)",
                              "child", UNLIMITED_PROGRAM});
    EXPECT_GE(line_count(result.program.out, "status 0"), 1U) << result.program.out;
    EXPECT_EQ(line_count(result.program.out, "status 134"), 0U) << result.program.out;
}

TEST(Memory, AnSnmpChildEndsThoughItCannotReadAnAnswer)
{
    // The heap keeps nothing in stock, and grows no more once the request is out.
    const lab_result result =
        run_in_lab({"device 10.9.1.1 id=\"MFG:A;MDL:x;CLS:PRINTER;\" snmp.delay=1800\n"},
                   {"/bin/bash", "-c", R"(
GLIBC_TUNABLES=glibc.malloc.top_pad=0 timeout -s KILL 30 "$0" -s --snmp & timeout=$!
until child=$(pgrep -P $timeout) && ls -l /proc/$child/fd | grep -q socket; do sleep 0.05; done
sleep 0.3; prlimit --pid $child --as=1000000; wait $timeout; echo status $?)",
                    UNLIMITED_PROGRAM});
    EXPECT_EQ(line_count(result.program.out, "# Total 0 printers found, "), 1U);
    EXPECT_EQ(lines_with(result.program.out, "status"), "status 0\n") << result.program.err;
}
