// The parent run with scripted children.
#include "config/community.h"
#include "program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

using arguments = std::vector<std::string>;

/// What the parent prints with children of these cases.
std::string report_of(const std::string &cases, const arguments &given)
{
    return run_program(scripted_run(cases).with(given)).out;
}

constexpr char ONE_DEVICE[] = R"(
"-s --snmp") echo 'ip: 10.0.0.1 snmp: 1,1,0 vendor: V dsc: ""';;
"-R 10.0.0.1") echo 'ip: 10.0.0.1 dsc: "Model"';;)";

} // namespace

TEST(Parent, MergesEveryKindOfLineAndTellsOnceOfEachMethodAndOfAllDevicesWhyTheyFailed)
{
    const program_result result = run_program(scripted_run(R"(
"-s --nodeq") echo 'WARNING: configuration file not found'
    echo '# Mode nodeq'
    echo "ERROR: nodeq detection failed: a$(printf '\033')b"; echo 'ERROR: 2'
    echo 'ip: 10.0.0.2        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#[NAME] info"'
    echo 'ip: 10.0.0.8        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: "#only nodeq"'
    echo '# Total 2 printers found, ip: 1s elapsed'; touch "$here/said";;
"-s --slp") echo 'Error opening slp handle -20';;
"-s --nodeq6") exit 3;;
"-s --snmp6") echo '# ERROR: snmp_open("udp6:[ff02::1]") failed, none'; exit 127;;
"-s --snmp") for i in {1..100}; do [ -e "$here/said" ] && break; sleep 0.1; done; sleep 0.3
    for i in {1..7}; do
        echo "ip: 10.0.0.$i slp: 0,0,0,0 snmp: 200,1,0 vendor: V dsc: \"\""
    done; printf 'ip: 10.0'; kill -TERM $$;;
"-R 10.0.0.1") echo '# ERROR: snmp_open failed [getdesc], first';;
"-R 10.0.0.2") sleep 1; echo "on_snmp_response - don't need it"
    echo 'ip: 10.0.0.2        dsc: "Model"'; kill -9 $$;;
"-R 10.0.0.3") sleep 1; exit 127;;
"-R 10.0.0.4") printf 'ip: 10.0.0.4 dsc: "Model'; exit 1;;
"-R 10.0.0.5") sleep 1; exit 137;;
"-R 10.0.0.6") echo 'ip: 10.0.0.6         dsc: " " ERROR: Destination unreachable';;
"-R 10.0.0.7") exit 126;;
)")
                                                  .with({"--all", "--nodeq6"}));
    // Some shells tell of a signal too.
    EXPECT_EQ(lines_with(result.err, "devscout: "), R"(devscout: nodeq: a b
devscout: slp: Error opening slp handle -20
devscout: snmp: Terminated
devscout: describing 5 devices: first
)");
    EXPECT_EQ(result.out.substr(0, result.out.rfind(',')), R"(WARNING: configuration file not found
# Mode nodeq6
# Network printers discovery utility
# Legend: ip: address slp: detected,ipp,lpr,raw_tcp snmp: detected,devtype,description
ip: 10.0.0.2        slp: 0,0,0,0 snmp: 200,1,0 vendor: V dsc: "Model [NAME] info"
ip: 10.0.0.8        slp: 0,0,0,0 snmp: 0,0,0 vendor:  dsc: " only nodeq"
ip: 10.0.0.1        slp: 0,0,0,0 snmp: 200,1,0 vendor: V dsc: ""
ip: 10.0.0.3        slp: 0,0,0,0 snmp: 200,1,0 vendor: V dsc: ""
ip: 10.0.0.4        slp: 0,0,0,0 snmp: 200,1,0 vendor: V dsc: "Model"
ip: 10.0.0.5        slp: 0,0,0,0 snmp: 200,1,0 vendor: V dsc: ""
ip: 10.0.0.7        slp: 0,0,0,0 snmp: 200,1,0 vendor: V dsc: ""
# Total 7 printers found)");
}

TEST(Parent, FillsScannerBlocksFromInquiryChildren)
{
    const program_result result = run_program(scripted_run(R"(
"-s --snmp") for i in 1 2 3 4 5 6; do
        echo "ip: 10.0.0.$i slp: 0,0,0,0 snmp: 1,1,0 vendor: V dsc: \"S\""
    done;;
"-I 10.0.0.2") exit 1;;
"-I 10.0.0.3") echo 'a7 00'; exit 126;;
*) echo '# Mode scanner_inquiry'; echo bad
    for i in 0 1 2 3; do echo 'a8 01 02 03 04 05 06 07 08 09 0a 0B 0c 0d 0e 0f'; done
    echo '10 11 1 12 13 14 15'; echo 'ff ff ff';;
)")
                                                  .with({"--scanner", "--snmp"}));
    const std::string line = "a8 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f\n";
    std::string listed;
    for (const std::string ip : {"10.0.0.1", "10.0.0.4", "10.0.0.5", "10.0.0.6"}) // in used slots
        listed += "ip: " + ip + "        slp: 0,0,0,0 snmp: 1,1,0 vendor: V dsc: \"S\"\n" + line +
                  line + line + line + "10 11 12 13 14 15\n";
    EXPECT_EQ(result.err, "devscout: inquiring 1 device: cannot be started\n");
    EXPECT_THAT(result.out, testing::HasSubstr(listed + "# Total 4 scanners found, "));
}

TEST(Parent, RunsThreeChildrenForOneDeviceAtOnceAndEightWhereItIsQuick)
{
    for (const std::string pool : {"3", "8"}) {
        // Each child goes on once as many have started as are to run at once.
        const scripted_run parent("*) pool=" + pool + R"(
case "$*" in
"-s --snmp") for i in {1..12} {1..12}; do
        echo "ip: 10.0.0.$i slp: 0,0,0,0 snmp: 0,0,0 vendor: V dsc: \"\""
    done;;
"-R "*|"-I "*) echo start >>"$here/steps"
    for i in {1..200}; do
        [ $(grep -c start "$here"/steps) -ge $pool ] && break
        sleep 0.05
    done
    sleep 0.2; echo end >>"$here/steps"
    echo "a8 ff";;
esac;;
)");
        const arguments given =
            pool == "3" ? arguments{"--snmp"} : arguments{"--snmp", "--quick", "--scanner"};
        const program_result result = run_program(parent.shell_run(R"sh(("$@")
awk '/start/ { ++started; ++running } /end/ { --running } running > most { most = running }
    END { print started " started, at once " most }' "$here/steps")sh",
                                                                   given));
        EXPECT_THAT(result.out, testing::EndsWith("12 started, at once " + pool + "\n"));
        EXPECT_EQ(line_count(result.out, "ip: "), 12U);
    }
}

TEST(Parent, AsksOneChildForAllThatNamedNoModelWhereItIsQuick)
{
    for (const auto &[end, told] : {std::pair("kill -9 $$", "describing 2 devices: Killed"),
                                    {"echo 'Error'", "describing 1 device: Error"}}) {
        // The addresses come in one piece; what has a model needs no child unless it is a name.
        const scripted_run parent(R"(
"-s --snmp") printf 'ip: %s slp: 0,0,0,0 snmp: 1,1,0 vendor: V dsc: "%s"\n' \
        10.0.0.1 '' 10.0.0.2 '' 10.0.0.3 '' 10.0.0.4 Own fe80::5 Own fe80::6 '' host Own 10.0.0.7 '' >"$here/lines"
    cat "$here/lines";;
*"-R "*) printf '<%s>' "$@" >>"$here/arguments"
    printf 'ip: %s dsc: "Told %s"\n' fe80::6 6 10.0.0.1 1
    echo 'ip: 10.0.0.3         dsc: " " ERROR: Destination unreachable'
    echo 'ip: host         dsc: " " ERROR: Destination unreachable'
    )" + std::string(end) + ";;");
        const program_result result = run_program(parent.with({"--snmp", "--quick"}));
        EXPECT_EQ(parent.file("arguments"),
                  "<--quick><-R><10.0.0.1><10.0.0.2><10.0.0.3><fe80::6><host><10.0.0.7>");
        EXPECT_EQ(descriptions(result.out), "10.0.0.1 \"Told 1\"\n10.0.0.2 \"\"\n10.0.0.4 \"Own\"\n"
                                            "fe80::5 \"Own\"\nfe80::6 \"Told 6\"\n10.0.0.7 \"\"\n");
        EXPECT_EQ(lines_with(result.err, "devscout: "), std::string("devscout: ") + told + "\n");
    }
}

TEST(Parent, SplitsWhatNoCommandLineHoldsAmongChildrenForMany)
{
    const scripted_run parent(R"(
"-s --snmp") seq -f 'ip: 10.0.%05.0f snmp: 1,1,0 vendor: V dsc: ""' 6000;;
*"-R "*) shift 2; printf 'ip: %s dsc: "Told"\n' "$@"; echo start >>"$here/steps";;
)");
    const program_result result = run_program(parent.with({"--snmp", "--quick"}));
    EXPECT_EQ(line_count(result.out, "ip: "), 6000U);
    EXPECT_EQ(descriptions(result.out).find("\"\""), std::string::npos);
    EXPECT_LE(line_count(parent.file("steps"), "start"), 12U);
}

TEST(Parent, MergesLinesAndStartsChildrenAtOnceThoughTheOthersStaySilentThen)
{
    const scripted_run parent(R"(
"-s --snmp") expect() {
        for i in {1..20}; do
            [ -e "$here/$1" ] && echo "$1" >>"$here/seen" && return
            sleep 0.5
        done
    }
    line='ip: 10.0.0.%d snmp: 0,0,0 vendor: V dsc: ""\n'
    printf "$line" 1; expect 10.0.0.1; printf "$line$line# half" 2 3; expect 10.0.0.2; expect 10.0.0.3
    touch "$here/over";;
"-s --nodeq") for i in {1..200}; do [ -e "$here/over" ] && break; sleep 0.2; done;;
"-R "*) touch "$here/$2";;)");
    run_program(parent.with({"--snmp", "--nodeq"}));
    EXPECT_EQ(parent.file("seen"), "10.0.0.1\n10.0.0.2\n10.0.0.3\n");
}

TEST(Parent, SleepsWhileItsChildrenAreSilentAndCountsTheSeconds)
{
    const scripted_run parent("*) sleep 2; echo 'ip: 10.0.0.1 vendor: V dsc: \"Model\"';;");
    const program_result result = run_program(parent.shell_run(
        "export ASAN_OPTIONS=detect_leaks=0\n"
        "strace -o \"$here/calls\" -e trace=poll,ppoll,select,pselect6 bash -c '\"$@\"' - \"$@\"",
        {"--time", "--nodeq", "--slp"}));
    EXPECT_THAT(lines_with(result.out, "# MARK: ") + lines_with(result.out, "# Total "),
                testing::MatchesRegex("# MARK: BEGIN: [01].00\n# MARK: END: [2-9].00\n"
                                      "# Total 1 printers found, [2-9]s elapsed\n"));
    EXPECT_GE(line_count(parent.file("calls"), "p"), 2U);
    EXPECT_LE(line_count(parent.file("calls"), ""), 50U) << parent.file("calls");
}

TEST(Parent, LosesNoLineAndStandsAnyGarbage)
{
    const std::string report = report_of(R"(
"-s --nodeq") head -c 100000 /dev/zero | tr '\0' x; echo
    printf '\000\377\n\n\n'; printf 'ip: 10.1.0.1 vendor: V dsc: "cut'; exit 3;;
"-s --slp") for i in {0..4999}; do
        echo "ip: 10.2.$((i / 250)).$((i % 250)) slp: 1,0,1,0 snmp: 0,0,0 vendor:  dsc: \"#$i\""
    done;;
"-s --nodeq6") head -c 3000 /dev/urandom;;
"-s --snmp") :;;
)",
                                         {"--nodeq", "--slp", "--nodeq6", "--snmp"});
    EXPECT_EQ(line_count(report, "ip: 10.2."), 5000U);
    EXPECT_EQ(lines_with(report, "ip: 10.1."),
              "ip: 10.1.0.1        slp: 0,0,0,0 snmp: 0,0,0 vendor: V dsc: \"\"\n");
    EXPECT_EQ(line_count(report, "# Total 5001 printers found, "), 1U);
}

TEST(Parent, HandsOnlyCommunityAndMethodToItsChildren)
{
    constexpr char RECORD[] =
        R"(*) trap -p PIPE >>"$here/arguments"; printf '<%s>' "$@" >>"$here/arguments"; echo >>"$here/arguments"
    case "$*" in *"-s --snmp") echo 'ip: a;bcd snmp: 1,1,0'; esac;;)";
    const struct {
        arguments given;
        const char *expected;
        const char *name = "child";
    } cases[] = {
        {{"-c", DEFAULT_COMMUNITY, "-d3", "--time", "--snmp"}, "<-s><--snmp>\n<-R><a;bcd>\n"},
        {{"-c", "a'b; $x", "--snmp", "--scanner"}, "<-c><a'b; $x><-s><--snmp>\n<-I><a;bcd>\n"},
        {{"-c", "", "--snmp"}, "<-c><><-s><--snmp>\n<-R><a;bcd>\n", "two words $(id)'"},
        {{"--quick", "-c", "x", "--snmp"},
         "<-c><x><-s><--snmp>\n<-c><x><--quick><-R><a;bcd>\n",
         "c"},
        {{"--snmp", "--thorough", "--scanner"},
         "<--thorough><-s><--snmp>\n<--thorough><-I><a;bcd>\n"},
        {{"--thorough", "-c", "x", "--snmp"},
         "<--thorough><-c><x><-s><--snmp>\n<--thorough><-c><x><-R><a;bcd>\n"},
    };
    for (const auto &c : cases) {
        const scripted_run parent(RECORD, c.name);
        const program_result result = run_program(parent.with(c.given));
        EXPECT_EQ(parent.file("arguments"), c.expected) << c.name;
        EXPECT_THAT(result.out, testing::HasSubstr("# Total ")) << c.expected;
    }
    for (const size_t length : {4095U, 4096U}) { // the longest command, and one that is cut
        const scripted_run parent(RECORD);
        const size_t others = parent.script.size() + strlen(" -c  -s --nodeq");
        const std::string community(length - others, 'c');
        const program_result result = run_program(parent.with({"-c", community, "--nodeq"}));
        EXPECT_EQ(result.err, length == 4095 ? "" : "devscout: nodeq: Argument list too long\n");
        EXPECT_EQ(parent.file("arguments"),
                  length == 4095 ? "<-c><" + community + "><-s><--nodeq>\n" : "");
    }
    // A child for one device has the longer command line.
    const scripted_run parent(RECORD);
    program_run run = parent.with({"--snmp"});
    run.words[0].insert(0, 4095 - parent.script.size() - strlen(" -s --snmp"), '/');
    EXPECT_EQ(run_program(run).err, "devscout: describing 1 device: Argument list too long\n");
}

TEST(Parent, StartsItsChildrenByAnAwkwardRelativePath)
{
    for (const std::string path : {"a=b/child", "-child", "./child", "+x"}) {
        const scripted_run parent("*) echo 'ip: 10.0.0.1 ';;", path);
        const program_result result = run_program(parent.shell_run(
            "cd \"$here\"; PATH=.:$PATH; exec -a " + path + " \"$4\" --nodeq", {}));
        EXPECT_EQ(line_count(result.out, "ip: 10.0.0.1 "), 1U) << path << result.out << result.err;
    }
}

TEST(Parent, GetsByWithFewDescriptors)
{
    const scripted_run parent(ONE_DEVICE);
    const program_result result = run_program(parent.shell_run("ulimit -n 11; \"$@\"", {"--snmp"}));
    EXPECT_THAT(result.out, testing::HasSubstr("dsc: \"Model\"\n# Total 1 printers found, "));

    // No socket can be kept to an interface that has gone.
    const scripted_run going(R"(
*snmp) ip link del x; printf 'ip: 10.0.0.%d vendor: V dsc: "%s"\n' 1 Own 2 '';;
*) echo "$*" >"$here/arguments";;)");
    const program_run run = going.shell_run(
        R"(PATH=$PATH:/usr/sbin:/sbin; ip link add x type veth peer name y; ip link set x up; "$@")",
        {"--interface", "x", "--snmp", "--quick"});
    EXPECT_EQ(descriptions(run_program(run).out), "10.0.0.1 \"Own\"\n10.0.0.2 \"\"\n");
    EXPECT_EQ(going.file("arguments"), "--interface x --quick -R 10.0.0.2\n");

    // Nobody answers behind the other one: the run does not end before its last probe.
    const scripted_run silent("*) echo 'ip: 10.0.0.1 vendor: V dsc: \"Own\"';;");
    const program_run probing = silent.shell_run(R"(PATH=$PATH:/usr/sbin:/sbin
ip link add x type veth peer name y; ip address add 10.0.0.9/24 dev x
ip link set x up; ip link set y up; "$@")",
                                                 {"--snmp", "--quick"});
    EXPECT_THAT(run_program(probing).out, testing::HasSubstr("# Total 0 printers found, "));
}

TEST(Parent, EchoesLinesInDebugRuns)
{
    const std::string cases =
        R"("-s --snmp") printf 'ip: 10.0.0.1 snmp: 1,1,0 vendor: V dsc: "\233"\n';;
"-R 10.0.0.1") echo 'ip: 10.0.0.1 dsc: "Model"';;)";
    const std::string level1 = report_of(cases, {"-d1", "--snmp"});
    EXPECT_EQ(line_count(level1, "INFO_RESPONCE: 10.0.0.1 < >"), 1U);
    EXPECT_EQ(line_count(level1, "["), 0U);
    EXPECT_EQ(lines_with(report_of(cases, {"--snmp", "-d2"}), "["),
              "[0]LINE: ip: 10.0.0.1 snmp: 1,1,0 vendor: V dsc: \"\x9b\"\n"
              "[4]LINE: ip: 10.0.0.1 dsc: \"Model\"\n");
}
