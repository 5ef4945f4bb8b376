// The report of a run, and its time marks.
#pragma once

#include "records/device_list.h"

#include <ctime>

/// Prints the report on standard output: banner, legend, one line per device in the order of
/// first sight, total and seconds since `start_time`. With `scanner` nonzero it lists the devices
/// with a scanner inquiry block, each with its block; devices marked unreachable are left out.
/// Returns the number of devices listed.
int print_report(device_list list, time_t start_time, int scanner);

/// Prints the mark with the whole seconds since `*previous`, which becomes the current time, and
/// flushes standard output.
void time_mark(const char *label, time_t *previous);

/// Writes what waits to be written on standard output.
void flush_output();

/// The same at the end of the process. Returns `status`, or, where something could not be written,
/// tells so on standard error and returns 1. A reader that has gone away is none of that.
int finish_output(int status);
