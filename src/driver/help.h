// What a person at a terminal is told on standard error besides the report. Programs that read the
// output, and people who keep it in a file, are told nothing. Runs for single devices are children
// too: they tell only where standard output goes to a terminal as well.
#pragma once

#include "driver/command_line.h"

/// Tells which arguments mean nothing, and which are taken for another one's value.
void explain_arguments(const run_settings &settings);

/// Tells what may be the reason that a run has listed nothing.
void explain_empty_report(const run_settings &settings);

/// Tells what a run for single devices was not given by this one.
void explain_missing_answer(run_kind kind, const char *ip);
