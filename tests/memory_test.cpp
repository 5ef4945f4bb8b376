// The parent run with too little memory: it reports what it could keep.
#include "program.h"
#include "scratch.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(Memory, EndsNoRunWhateverTheLimit)
{
    const scratch_folder folder;
    const std::string child =
        folder.write("child", "#!/bin/sh\nseq -f 'ip: 10.0.0.%.0f snmp: 1,1,0 vendor: V dsc: "
                              "\"Model with a name of some length\"' 4000\n");
    std::filesystem::permissions(child, std::filesystem::perms::owner_all);
    program_run run;
    // From the least memory in which the program starts at all, in KiB.
    run.words = {"/bin/bash", "-c", R"(
run() { (ulimit -v "$1"; shift; exec -a "$child" "$program" "$@" 2>&1); }
child=$0; program=$1
for ((least = 4000; least < 200000; least += 100)); do run $least x >/dev/null && break; done
for more in 0 50 100 200 300 500 700 900 1100 1300 1500 1700 4000; do
    run $((least + more)) --nodeq | grep -v '^ip: \|^# ERROR: can not allocate' | tail -n 1
    echo "status ${PIPESTATUS[0]}"
done)",
                 child, UNLIMITED_PROGRAM};
    const program_result result = run_program(run);

    std::istringstream lines(result.out);
    std::vector<long> totals;
    for (std::string line; std::getline(lines, line);) {
        if (sscanf(line.c_str(), "# Total %ld printers found, ", &totals.emplace_back()) != 1) {
            totals.pop_back();
            EXPECT_EQ(line, "status 0");
        }
    }
    ASSERT_EQ(totals.size(), 13U) << result.out;
    EXPECT_LT(totals.front(), 4000) << "the limits meant nothing";
    EXPECT_EQ(totals.back(), 4000) << result.out;
}
