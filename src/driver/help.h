// What a person at a terminal is told on standard error besides the report. Programs that read the
// output, and people who keep it in a file, are told nothing.
#pragma once

#include "driver/command_line.h"

/// Tells which arguments mean nothing; with "--help" or "-h" the usage, with "--version" name and
/// version. The run goes on after that.
void explain_arguments(const run_settings &settings);

/// Tells what may be the reason that a run has listed nothing.
void explain_empty_report(const run_settings &settings);
