// The parent run with scripted children: started under another program's path, it starts that
// program as its children, and their lines are whatever the script prints.
#include "config/community.h"
#include "device_line.h"
#include "program.h"
#include "scratch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sched.h>
#include <string>
#include <vector>

namespace
{

/// The tests leave the network before they begin: nothing could be sent, were the program wrong.
[[maybe_unused]] const int without_network =
    unshare(CLONE_NEWNET) == 0 ? 0 : unshare(CLONE_NEWUSER | CLONE_NEWNET);

/// A script that acts as every child; `cases` are the branches of a shell `case "$*"`.
struct scripted_parent {
    scratch_folder folder;
    std::string script_name = "child";

    /// The words of `extra` are a command that runs the parent, such as strace.
    program_result run(const std::string &cases, std::vector<std::string> arguments,
                       program_run extra = {}) const
    {
        const std::string script =
            folder.write(script_name, "#!/bin/bash\nhere='" + folder.path.string() +
                                          "'\ncase \"$*\" in\n" + cases + "\nesac\n");
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        if (extra.words.empty())
            extra.executable = DEVSCOUT_PROGRAM;
        else
            extra.words.insert(
                extra.words.end(),
                {"/bin/bash", "-c", "exec -a \"$1\" \"$0\" \"${@:2}\"", DEVSCOUT_PROGRAM});
        extra.words.push_back(script);
        extra.words.insert(extra.words.end(), arguments.begin(), arguments.end());
        return run_program(extra);
    }

    std::string file(const char *name) const
    {
        return content_of(folder.path / name);
    }
};

std::string device(const std::string &ip, const std::string &rest)
{
    return line_of(ip, "slp: 0,0,0,0 snmp: " + rest);
}

/// The parent run by a shell command that names it `"$@"`, with a child that does `script`.
program_result run_by_shell(const std::string &command, const std::string &script)
{
    const scripted_parent parent;
    const std::string child = parent.folder.write("child", "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(child, std::filesystem::perms::owner_all);
    program_run run;
    run.words = {"/bin/bash", "-c", "set -- exec -a \"$0\" \"$1\" --nodeq; " + command, child,
                 DEVSCOUT_PROGRAM};
    return run_program(run);
}

} // namespace

TEST(Parent, MergesEveryKindOfLine)
{
    const scripted_parent parent;
    const program_result result = parent.run(R"(
"-s --nodeq") echo 'WARNING: configuration file not found'
    echo '# Mode nodeq'
    echo 'ERROR: nodeq detection failed: Network is unreachable'
    echo 'ip: 10.0.0.1        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[NAME] info"'
    echo 'ip: 10.0.0.4        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#only nodeq"'
    echo '# Total 2 printers found, ip: 1s elapsed';;
"-s --snmp") sleep 0.3
    echo 'ip: 10.0.0.1        slp: 0,0,0,0 snmp: 1,1,0 vendor: Taliven dsc: ""'
    echo '# ERROR: select on snmp sockets failed, ip: none'
    echo 'ip: 10.0.0.2        slp: 0,0,0,0 snmp: 0,0,0 vendor: Orvel dsc: "Model"'
    echo 'ip: 10.0.0.3        slp: 0,0,0,0 snmp: 0,0,0 vendor: Ramo dsc: ""';;
"-R 10.0.0.1") echo '# Mode get_description'
    echo "on_snmp_response - don't need it"
    echo 'ip: 10.0.0.1        dsc: "Office Laser 500"';;
"-R 10.0.0.2") echo 'ip: 10.0.0.2        dsc: "Never taken"';;
"-R 10.0.0.3") echo 'ip: 10.0.0.3         dsc: " " ERROR: Destination unreachable';;
)",
                                             {"--nodeq", "--snmp"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(lines_with(result.out, "ip: "),
              device("10.0.0.1", R"(1,1,0 vendor: Taliven dsc: "Office Laser 500 [NAME] info")") +
                  device("10.0.0.4", R"(0,0,0 vendor:  dsc: " only nodeq")") +
                  device("10.0.0.2", R"(0,0,0 vendor: Orvel dsc: "Model")"));
    EXPECT_EQ(line_count(result.out, "# Total 3 printers found, "), 1U);
    EXPECT_EQ(line_count(result.out, "# Mode"), 2U) << "a child's mode line is not repeated";
    EXPECT_EQ(lines_with(result.out, "WARNING"), "WARNING: configuration file not found\n");
}

TEST(Parent, FillsScannerBlocksFromInquiryChildren)
{
    const scripted_parent parent;
    const program_result result = parent.run(R"(
"-s --snmp") for i in 1 2 3 4 5 6; do
        echo "ip: 10.0.0.$i slp: 0,0,0,0 snmp: 1,1,0 vendor: V dsc: \"S\""
    done;;
"-I 10.0.0.2") exit 1;;
"-I 10.0.0.3") echo 'a7 00';;
*) echo '# Mode scanner_inquiry'
    for i in 0 1 2 3; do echo 'a8 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f'; done
    echo '10 11 12 13 14 15'; echo 'ff ff ff';;
)",
                                             {"--scanner", "--snmp"});
    const std::string line = "a8 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f\n";
    const std::string block = line + line + line + line + "10 11 12 13 14 15\n";
    std::string listed;
    for (const char *ip : {"10.0.0.1", "10.0.0.4", "10.0.0.5", "10.0.0.6"}) // in slots used before
        listed += device(ip, "1,1,0 vendor: V dsc: \"S\"") + block;
    EXPECT_NE(result.out.find(listed + "# Total 4 scanners found, "), std::string::npos)
        << result.out;
}

TEST(Parent, RunsThreeDescriptionChildrenAtOnceAndEightWhereItIsQuick)
{
    const struct {
        std::string option;
        int pool;
    } cases[] = {{"--snmp", 3}, {"--quick", 8}};
    for (const auto &c : cases) {
        const scripted_parent parent;
        // Each child goes on once as many have started as are to run at once.
        const program_result result = parent.run("*) pool=" + std::to_string(c.pool) + R"(
case "$*" in
"-s --snmp") for i in 1 2 3 4 5 6 7 8 9 10 11 12; do
        echo "ip: 10.0.0.$i slp: 0,0,0,0 snmp: 0,0,0 vendor: V dsc: \"\""
        echo "ip: 10.0.0.$i slp: 0,0,0,0 snmp: 0,0,0 vendor: V dsc: \"\""
    done;;
*"-R "*) echo start >>"$here/steps"
    for i in {1..200}; do
        [ $(grep -c start "$here"/steps) -ge $pool ] && break
        sleep 0.05
    done
    sleep 0.2; echo end >>"$here/steps"
    echo "ip: ${!#}        dsc: \"Model of ${!#}\"";;
esac;;
)",
                                                 {"--snmp", c.option});
        int running = 0;
        int most = 0;
        size_t started = 0;
        std::istringstream steps(parent.file("steps"));
        for (std::string step; std::getline(steps, step);) {
            started += step == "start" ? 1 : 0;
            running += step == "start" ? 1 : -1;
            most = std::max(most, running);
        }
        EXPECT_EQ(started, 12U);
        EXPECT_EQ(most, c.pool);
        EXPECT_EQ(line_count(result.out, "ip: "), 12U);
        EXPECT_NE(result.out.find("dsc: \"Model of 10.0.0.12\""), std::string::npos);
    }
}

TEST(Parent, MergesLinesAtOnceThoughTheChildStaysSilentThen)
{
    const scripted_parent parent;
    parent.run(R"(
"-s --snmp") printf 'ip: 10.0.0.1 snmp: 0,0,0 vendor: V dsc: ""\nip: 10.0.0.2 snmp: 0,0,0 vendor: V dsc: ""\n# half'
    for i in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
        [ -e "$here/10.0.0.1" ] && [ -e "$here/10.0.0.2" ] && echo both >"$here/seen" && break
        sleep 0.5
    done;;
"-R "*) touch "$here/$2";;
)",
               {"--snmp"});
    EXPECT_EQ(parent.file("seen"), "both\n");
}

TEST(Parent, SleepsWhileItsChildrenAreSilent)
{
    const scripted_parent parent;
    const std::string calls = parent.folder.path / "calls";
    program_run traced;
    traced.words = {"/usr/bin/env", "ASAN_OPTIONS=detect_leaks=0",     "strace", "-o", calls,
                    "-e",           "trace=poll,ppoll,select,pselect6"};
    const program_result result = parent.run(R"(
"-s --nodeq6") sleep 0.6; echo 'ip: 10.0.0.9 dsc: "None"';;
*) sleep 0.4; echo 'ip: 10.0.0.1 vendor: V dsc: "Model"';;)",
                                             {"--nodeq", "--slp", "--nodeq6"}, traced);
    EXPECT_EQ(line_count(result.out, "# Total 2 printers found, "), 1U) << result.err;
    EXPECT_GE(line_count(content_of(calls), "p"), 2U);
    EXPECT_LE(line_count(content_of(calls), ""), 50U) << content_of(calls);
}

TEST(Parent, LosesNoLineAndStandsAnyGarbage)
{
    const scripted_parent parent;
    const program_result result = parent.run(R"(
"-s --nodeq") head -c 100000 /dev/zero | tr '\0' x; echo
    printf '\000\377\n\n\n'; printf 'ip: 10.1.0.1 vendor: cut'; exit 3;;
"-s --slp") i=0; while [ $i -lt 5000 ]; do
        echo "ip: 10.2.$((i / 250)).$((i % 250)) slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: \"#$i\""
        i=$((i + 1))
    done;;
"-s --nodeq6") head -c 3000 /dev/urandom; kill -9 $$;;
"-s --snmp") :;;
)",
                                             {"--nodeq", "--slp", "--nodeq6", "--snmp"});
    EXPECT_EQ(line_count(result.out, "ip: 10.2."), 5000U);
    EXPECT_EQ(line_count(result.out, "ip: 10.1.0.1 "), 1U);
    EXPECT_EQ(line_count(result.out, "# Total 5001 printers found, "), 1U);
}

TEST(Parent, HandsOnlyCommunityAndMethodToItsChildren)
{
    const std::string record =
        "*) printf '<%s>' \"$@\" >>\"$here/arguments\"; echo >>\"$here/arguments\"\n"
        "    [ \"$4\" = --snmp ] && echo 'ip: 10.0.0.1;id snmp: 1,1,0'\n"
        "    [ \"$2\" = --snmp ] && echo 'ip: 10.0.0.1;id snmp: 1,1,0';;\n";
    const struct {
        std::string name;
        std::vector<std::string> arguments;
        std::string expected;
    } cases[] = {
        {"child",
         {"-c", DEFAULT_COMMUNITY, "-d3", "--time", "--snmp"},
         "<-s><--snmp>\n<-R><10.0.0.1;id>\n"},
        {"child",
         {"-c", "a'b; touch x", "--snmp", "--scanner"},
         "<-c><a'b; touch x><-s><--snmp>\n<-I><10.0.0.1;id>\n"},
        {"child", {"-c", "$HOME", "--nodeq"}, "<-c><$HOME><-s><--nodeq>\n"},
        {"two words $(id)'", {"-c", "", "--snmp"}, "<-c><><-s><--snmp>\n<-R><10.0.0.1;id>\n"},
        {"child",
         {"--quick", "-c", "x", "--snmp"},
         "<-c><x><-s><--snmp>\n<--quick><-R><10.0.0.1;id>\n"},
        {"child", {"--snmp", "--quick", "--scanner"}, "<-s><--snmp>\n<-I><10.0.0.1;id>\n"},
        {"child", {"-c", "-s", "--nodeq"}, "<-c><-s><-s><--nodeq>\n"},
    };
    for (const auto &c : cases) {
        scripted_parent parent;
        parent.script_name = c.name;
        program_run in_folder;
        in_folder.folder = parent.folder.path;
        parent.run(record, c.arguments, in_folder);
        EXPECT_EQ(parent.file("arguments"), c.expected) << c.name;
        EXPECT_FALSE(std::filesystem::exists(parent.folder.path / "x"));
    }
}

TEST(Parent, StartsItsChildrenByAnAwkwardRelativePath)
{
    for (const char *path : {"a=b/child", "-child", "./child", "+x"}) {
        scripted_parent parent;
        parent.script_name = path;
        program_run extra;
        extra.folder = parent.folder.path;
        parent.folder.write(path, "#!/bin/sh\necho \"ip: 10.0.0.1 $*\"\n");
        std::filesystem::permissions(parent.folder.path / path, std::filesystem::perms::owner_all);
        extra.words = {"sh", "-c", "PATH=.:$PATH; exec -a \"$1\" \"$2\" --nodeq",
                       "sh", path, DEVSCOUT_PROGRAM};
        extra.executable = "/bin/bash";
        const program_result result = run_program(extra);
        EXPECT_EQ(line_count(result.out, "ip: 10.0.0.1 "), 1U) << path << result.out << result.err;
    }
}

TEST(Parent, StartsNoChildByACutCommand)
{
    const scripted_parent parent;
    const program_result result = parent.run("*) echo started >\"$here/started\";;",
                                             {"-c", std::string(4096, 'c'), "--nodeq", "--snmp"});
    EXPECT_FALSE(std::filesystem::exists(parent.folder.path / "started"));
    EXPECT_EQ(line_count(result.out, "# Total 0 printers found, "), 1U);
}

TEST(Parent, TakesManyDescriptorsAndFew)
{
    const struct {
        int occupied;
        int limit;
    } cases[] = {{1100, 2000}, {0, 11}};
    for (const auto &c : cases) {
        const scripted_parent parent;
        program_run limited;
        limited.occupied_descriptors = c.occupied;
        limited.descriptor_limit = c.limit;
        const program_result result =
            parent.run(R"("-s --snmp") echo 'ip: 10.0.0.1 snmp: 1,1,0 vendor: V dsc: ""';;
"-R 10.0.0.1") echo 'ip: 10.0.0.1 dsc: "Model"';;)",
                       {"--snmp"}, limited);
        EXPECT_EQ(line_count(result.out, "# Total 1 printers found, "), 1U) << c.limit;
        EXPECT_NE(result.out.find("dsc: \"Model\""), std::string::npos) << result.out;
    }
}

TEST(Parent, EndsQuietlyWhenItsReaderIsGone)
{
    const program_result result =
        run_by_shell("(\"$@\") | head -n 1; echo ${PIPESTATUS[0]}",
                     "seq -f 'ip: 10.0.0.%.0f slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: \"x\"' 5000");
    EXPECT_EQ(result.out, "WARNING: configuration file not found\n0\n");
    EXPECT_EQ(result.err, "");
}

TEST(Parent, CountsSecondsFromItsStartOrTheLastMark)
{
    const scripted_parent parent;
    const program_result result = parent.run("*) sleep 2;;", {"--nodeq"});
    EXPECT_THAT(result.out, testing::ContainsRegex("# Total 0 printers found, [2-9]s elapsed\n"));
    EXPECT_EQ(line_count(result.out, "# MARK"), 0U);
    const program_result marked = parent.run("*) sleep 2;;", {"--time", "--nodeq"});
    EXPECT_THAT(lines_with(marked.out, "# MARK: "),
                testing::MatchesRegex("# MARK: BEGIN: [01].00\n# MARK: END: [2-9].00\n"));
}

TEST(Parent, EchoesLinesInDebugRuns)
{
    const scripted_parent parent;
    const std::string cases = R"("-s --snmp") echo 'ip: 10.0.0.1 snmp: 1,1,0 vendor: V dsc: ""';;
"-R 10.0.0.1") echo 'ip: 10.0.0.1 dsc: "Model"';;)";
    const program_result level1 = parent.run(cases, {"-d1", "--snmp"});
    EXPECT_EQ(line_count(level1.out, "INFO_RESPONCE: 10.0.0.1 <>"), 1U);
    EXPECT_EQ(line_count(level1.out, "["), 0U);
    const program_result level2 = parent.run(cases, {"--snmp", "-d2"});
    EXPECT_EQ(lines_with(level2.out, "["), "[0]LINE: ip: 10.0.0.1 snmp: 1,1,0 vendor: V dsc: \"\"\n"
                                           "[4]LINE: ip: 10.0.0.1 dsc: \"Model\"\n");
}
