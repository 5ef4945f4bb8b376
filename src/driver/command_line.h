// The command line: which run the process makes, and its settings.
#pragma once

#include "driver/method.h"

struct option;

enum class run_kind {
    parent,          ///< start one child per method, merge their lines, report
    child,           ///< run the methods in this process, report
    get_description, ///< describe one address
    scanner_inquiry, ///< fetch the scanner inquiry block of one address
    usage,           ///< print the usage
    version,         ///< print name and version
};

struct run_settings {
    run_kind kind = run_kind::parent;
    const char *program = "";      ///< argument 0; the children are started by it
    char *const *arguments = {};   ///< those after it
    int argument_count = 0;        ///< of `arguments`
    const char *address = nullptr; ///< of the two single-device runs
    char **addresses = nullptr;    ///< with --quick -R: the same and those behind it
    size_t address_count = 0;
    int debug_level = 0;
    bool methods[METHOD_COUNT] = {}; ///< the selected ones, by their index in METHODS
    bool scanner = false;            ///< list scanners instead of printers
    bool time_marks = false;
    bool quick = false; ///< a description ends with its first answer; more of them at once
};

/// An argument as it is understood where it stands.
struct argument_meaning {
    const char *text;
    const method *chosen; ///< the method that it selects; nullptr: none
    const option *given; ///< the option that it begins with, though it may not count; nullptr: none
    const char *value;   ///< of the option; nullptr: it lacks it
    bool counts;         ///< else it is ignored
};

/// The first of `count` arguments, as it is understood before the methods or among them.
argument_meaning understand_argument(const char *const *arguments, int count, bool before_methods);

/// What is left of a command line while it is read.
struct argument_walk {
    char *const *rest;
    int count;
    bool before_methods; ///< no argument but options of that place has been met
};

/// Begins with the first of the arguments.
argument_walk walk_arguments(const run_settings &settings);

/// Takes the next argument, with its value where that is an argument of its own. What follows the
/// address of a single-device run is not read. Returns false when nothing is left.
bool next_argument(argument_walk *walk, argument_meaning *meaning);

/// Selects the methods of the default run, and no others.
void select_default_methods(run_settings *settings);

/// Reads the command line. Sets `g_community_name` and
/// `g_thorough`. Unknown options and stray words are passed
/// over. With an option that asks for help the rest is not read. The texts stay those of `argv`.
run_settings read_command_line(int argc, char **argv);

/// Prints each mode's line, as often as its option is given.
void print_mode_lines(const run_settings &settings);
