// The command line: which run the process makes, and its settings.
#pragma once

#include "driver/method.h"

enum class run_kind {
    parent,          ///< start one child per method, merge their lines, report
    child,           ///< run the methods in this process, report
    get_description, ///< describe one address
    scanner_inquiry, ///< fetch the scanner inquiry block of one address
};

struct run_settings {
    run_kind kind = run_kind::parent;
    const char *program = "";      ///< argument 0; the children are started by it
    const char *address = nullptr; ///< of the two single-device runs
    int debug_level = 0;
    bool methods[METHOD_COUNT] = {}; ///< the selected ones, by their index in METHODS
    bool scanner = false;            ///< list scanners instead of printers
    bool time_marks = false;
    bool quick = false; ///< a description ends with its first answer; more of them at once
    char *const *ignored = nullptr; ///< the arguments of the mode scan that mean nothing
    int ignored_count = 0;
};

/// Selects the methods of the default run, and no others.
void select_default_methods(run_settings *settings);

/// Reads the command line. Sets `g_community_name` and `g_thorough`, and prints each mode's line as
/// its option is met. Unknown options and stray words are passed over; they move to the start of
/// the mode scan in `argv`. The texts stay those of `argv`.
run_settings read_command_line(int argc, char **argv);
