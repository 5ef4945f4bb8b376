// The options besides those of the methods (`driver/method.h`). A further option is one more row
// here: the command line, the usage and the command lines of children read it.
#pragma once

#include "config/community.h"
#include "config/interface_choice.h"
#include "config/text.h"
#include "config/thorough.h"
#include "driver/command_line.h"

#include <cstring>

enum class option_place {
    before_methods,
    anywhere,
    among_methods, ///< ends the options before the methods, as a method does
    single_device, ///< before the methods; nothing behind its value is read
    help,          ///< anywhere, as a whole word; nothing behind it is read
};

struct option {
    const char *word;  ///< an argument that begins with it is the option; the longest word counts
    const char *value; ///< "": none; "NAME": must follow the word at once; " NAME": next argument
    option_place place;
    const char *help; ///< its line of the usage, below 60 characters
    /// Notes that the option was given.
    void (*take)(run_settings *settings, const char *value);
    /// What a child of that kind is given behind the word, "" where it has no value; nullptr: it
    /// is started without the option, as all are where this is none.
    const char *(*for_child)(run_kind child, const run_settings &settings);
};

/// In the order of the usage, and of the words that a child is given.
inline constexpr option OPTIONS[] = {
    {"--interface", " NAME", option_place::anywhere, "ask through this interface alone",
     [](run_settings *, const char *value) { g_interface_name = value; },
     [](run_kind, const run_settings &) { return g_interface_name; }},
    {"--thorough", "", option_place::anywhere, "ask until nobody new answers: up to 12 s and more",
     [](run_settings *, const char *) { g_thorough = true; },
     [](run_kind, const run_settings &) { return g_thorough ? "" : nullptr; }},
    {"-c", " COMMUNITY", option_place::before_methods, "SNMP community (default: vesper)",
     [](run_settings *, const char *value) { g_community_name = value; },
     [](run_kind child, const run_settings &settings) {
         const bool asks_by_it = child == run_kind::child || (child == run_kind::get_description &&
                                                              (settings.quick || g_thorough));
         const bool given = strcmp(g_community_name, DEFAULT_COMMUNITY) != 0;
         return given && asks_by_it ? g_community_name : nullptr;
     }},
    {"-d", "LEVEL", option_place::anywhere, "debug level: from 1, 2 and 5 on more is printed",
     [](run_settings *settings, const char *value) {
         settings->debug_level = decimal_value(value);
     },
     nullptr},
    {"--quick", "", option_place::anywhere, "describe faster, by the first answer of a device",
     [](run_settings *settings, const char *) { settings->quick = true; },
     [](run_kind child, const run_settings &settings) {
         return settings.quick && child == run_kind::get_description ? "" : nullptr;
     }},
    {"--all", "", option_place::among_methods, "all methods but --nodeq6, as without any option",
     [](run_settings *settings, const char *) { select_default_methods(settings); }, nullptr},
    {"--scanner", "", option_place::among_methods,
     "with SNMP: list the scanners instead of the printers",
     [](run_settings *settings, const char *) { settings->scanner = true; }, nullptr},
    {"--time", "", option_place::among_methods, "print time marks",
     [](run_settings *settings, const char *) { settings->time_marks = true; }, nullptr},
    {"-s", "", option_place::among_methods, "run the methods in this process",
     [](run_settings *settings, const char *) { settings->kind = run_kind::child; }, nullptr},
    {"-R", " ADDRESS", option_place::single_device, "describe one device",
     [](run_settings *settings, const char *value) {
         settings->kind = run_kind::get_description;
         settings->address = value;
     },
     nullptr},
    {"-I", " ADDRESS", option_place::single_device, "print the scanner inquiry block of one device",
     [](run_settings *settings, const char *value) {
         settings->kind = run_kind::scanner_inquiry;
         settings->address = value;
     },
     nullptr},
    {"--help", "", option_place::help, "print this text and do nothing else",
     [](run_settings *settings, const char *) { settings->kind = run_kind::usage; }, nullptr},
    {"-h", "", option_place::help, "the same",
     [](run_settings *settings, const char *) { settings->kind = run_kind::usage; }, nullptr},
    {"--version", "", option_place::help, "print name and version and do nothing else",
     [](run_settings *settings, const char *) { settings->kind = run_kind::version; }, nullptr},
};

constexpr bool has_value(const option &o)
{
    return o.value[0] != '\0';
}

/// Whether the value is the next argument.
constexpr bool has_separate_value(const option &o)
{
    return o.value[0] == ' ';
}

/// Whether nothing behind the option is read.
constexpr bool ends_command_line(const option &o)
{
    return o.place == option_place::single_device || o.place == option_place::help;
}
