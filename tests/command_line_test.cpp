// The command line: runs, settings, and the mode lines that are printed on the way.
#include "capture.h"
#include "config/community.h"
#include "config/interface_choice.h"
#include "config/thorough.h"
#include "driver/command_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{

/// The settings as one line: run, methods, flags, debug level, community, address.
std::string summarize(const run_settings &settings)
{
    static const char *const RUNS[] = {"parent",  "child", "describe",
                                       "inquire", "usage", "version"};
    std::string text = RUNS[static_cast<int>(settings.kind)];
    if (settings.kind == run_kind::usage || settings.kind == run_kind::version)
        return text;
    for (size_t i = 0; i < METHOD_COUNT; ++i) {
        if (settings.methods[i])
            text += std::string(" ") + METHODS[i].word;
    }
    text += settings.scanner ? " scanner" : "";
    text += settings.time_marks ? " marks" : "";
    text += settings.quick ? " quick" : "";
    text += g_thorough ? " thorough" : "";
    if (g_interface_name != nullptr)
        text += std::string(" on=") + g_interface_name;
    if (settings.debug_level != 0)
        text += " d" + std::to_string(settings.debug_level);
    if (g_community_name != std::string(DEFAULT_COMMUNITY))
        text += std::string(" c=") + g_community_name;
    for (size_t i = 0; i < settings.address_count; ++i)
        text += std::string(i == 0 ? " @" : ",") + settings.addresses[i];
    return text;
}

} // namespace

TEST(CommandLine, SelectsRunsAndSettings)
{
    const std::string defaults = "parent nodeq slp snmp snmp6";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, defaults},
        {{"-community", "-x"}, defaults + " c=-x"},
        {{"-d010"}, defaults + " d10"},
        {{"-d"}, "parent"},
        {{"-d-2x", "-c", ""}, defaults + " d-2 c="},
        {{"-d4294967297"}, defaults + " d1"},
        {{"-c", "private", "-d2", "--snmp", "-s"}, "# Mode snmp\nchild snmp d2 c=private"},
        {{"--snmp", "-c", "--slp"}, "# Mode snmp\n# Mode slp\nparent slp snmp"},
        {{"--time"}, "parent marks"},
        {{"-R"}, "parent"},
        {{"word", "-R", "10.0.0.5"}, "parent"},
        {{"-R", "10.0.0.5", "--snmp"}, "describe @10.0.0.5"},
        {{"-c", "private", "-d5", "-Inquire", "-x"}, "inquire d5 c=private @-x"},
        {{"-d2", "--quick", "-c", "x"}, defaults + " quick d2 c=x"},
        {{"--quick", "-R", "-x", "b", "c", "-d3", "d"}, "describe quick @-x,b,c"},
        {{"-s", "--snmp", "--quickly"}, "# Mode snmp\nchild snmp quick"},
        {{"--thorough"}, defaults + " thorough"},
        {{"--slp", "--interface", "eth1", "-s"}, "# Mode slp\nchild slp on=eth1"},
        {{"--interface", "--slp"}, defaults + " on=--slp"},
        {{"--slp", "--interface"}, "# Mode slp\nparent slp on="},
        {{"--interface", "eth1", "-R", "10.0.0.5"}, "describe on=eth1 @10.0.0.5"},
        {{"--all", "--nodeq6"}, "# Mode nodeq6\nparent nodeq nodeq6 slp snmp snmp6"},
        {{"--nodeq6", "--all"}, "# Mode nodeq6\nparent nodeq slp snmp snmp6"},
        {{"-sx", "--slpx", "--snmp67", "--nodeq66", "--timely"},
         "# Mode slp\n# Mode snmp6\n# Mode nodeq6\nchild nodeq6 slp snmp6 marks"},
        {{"--snmpx6", "--nodeqx", "--snmp", "--scanners", "-d7", "-d"},
         "# Mode snmp\n# Mode nodeq\n# Mode snmp\nparent nodeq snmp scanner d7"},
        {{"word", "-d3", "--sn", "--ALL", "-S"}, "parent d3"},
        {{"-c", "private", "--help"}, "usage"},
        {{"--snmp", "-s", "word", "-h", "--version"}, "# Mode snmp\nusage"},
        {{"-c", "--help"}, defaults + " c=--help"},
        {{"-I", "--version"}, "inquire @--version"},
        {{"-R", "10.0.0.5", "--help"}, "describe @10.0.0.5"},
        {{"--helpful", "-hx", "--versions", "--slp"}, "# Mode slp\nparent slp"},
    };
    for (auto [words, summary] : cases) {
        words.insert(words.begin(), "devscout");
        std::vector<char *> argv(words.size() + 1);
        std::transform(words.begin(), words.end(), argv.begin(),
                       [](std::string &word) { return word.data(); });
        g_community_name = DEFAULT_COMMUNITY;
        g_thorough = false;
        g_interface_name = nullptr;
        const auto count = static_cast<int>(words.size());
        run_settings settings;
        EXPECT_EQ(printed_by([&] { settings = read_command_line(count, argv.data()); }), "");
        const std::string modes = printed_by([&] { print_mode_lines(settings); });
        EXPECT_EQ(modes + summarize(settings), summary) << testing::PrintToString(words);
    }
}
