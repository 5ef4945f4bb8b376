// What the options for help print, on standard output.
#pragma once

/// Prints the usage: each method and option, by the place where it counts.
void print_usage();

void print_version();
