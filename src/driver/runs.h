// The runs of a process, one of which the command line selects. Each returns the exit status.
#pragma once

#include "driver/command_line.h"

/// Starts one child per method, merges their lines and reports. Returns 0.
int run_parent(const run_settings &settings);

/// Runs the selected methods in this process and reports. Returns 0.
int run_child(const run_settings &settings);

/// Describes one address, or with --quick or --thorough all of them. Returns 0, whether they were
/// reached or not.
int run_get_description(const run_settings &settings);

/// Prints the scanner inquiry block of one address. Returns 0, or 1 when there is none.
int run_scanner_inquiry(const run_settings &settings);
