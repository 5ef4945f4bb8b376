// What the program prints: the report with its device lines, hex blocks and time marks.
#pragma once

#include "driver/records/device_list.h"

#include <cstddef>
#include <cstdio>
#include <ctime>

/// Prints the report on standard output: banner, legend, a line a device in the order of first
/// sight, total and seconds since `start_time`. With `scanner` nonzero it lists the devices with
/// a scanner inquiry block, each with its block; devices marked unreachable are left out.
void print_report(device_list list, time_t start_time, int scanner);

/// Prints the device's line. Control bytes in its texts come out as blanks, so that no device can
/// break a line in two or reach the terminal; the record keeps what was received.
void print_device_line(const device_record *record);

/// Prints the line of a description child for `ip`, control bytes as blanks.
void print_description_line(const char *ip, const char *dsc);

/// Prints the line of a description child for an address that cannot be reached.
void print_unreachable_line(const char *ip);

/// Prints `count` bytes as two hex digits each, 16 to a line. Without a stream or with a count
/// below 1 nothing is printed. Returns 0.
int print_hex_block(FILE *stream, const uint8_t *bytes, int count);

/// Prints the mark with the whole seconds since `*previous`, which becomes the current time, and
/// flushes standard output.
void time_mark(const char *label, time_t *previous);
