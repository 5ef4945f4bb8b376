// What the parent tells of children that fail: on standard error, once for each method.
#pragma once

#include "driver/method.h"
#include "driver/slots.h"

#include <cstddef>

constexpr size_t REASON_SIZE = 128;

/// What is kept of it until the run is over.
struct failure_notes {
    char methods[METHOD_COUNT][REASON_SIZE]; ///< the first reason of each; empty: none
    char devices[REASON_SIZE];               ///< of the first description or inquiry child
    int device_count;                        ///< whose child failed
};

/// Keeps the reason that a child's line gives, where it reports an error, and none is kept yet.
void note_failing_line(char (&reason)[REASON_SIZE], const char *line);

/// Keeps what the wait status of a child's shell says of its end: a signal, or a program that
/// cannot be started. Any other exit status is no failure.
void note_failing_end(char (&reason)[REASON_SIZE], int wait_status);

/// Whether the wait status is that of a child that a signal has ended, or of the shell that waited
/// for it.
bool ended_by_signal(int wait_status);

/// Adds the failure of the child that ran in the slot, for so many devices or else (0) for its
/// method. Without a reason there is none.
void add_failure(failure_notes *notes, int slot, int devices, const char *reason);

/// Tells it on standard error, and that the host's interfaces cannot be listed. A host without IPv6
/// is no failure of IPv6 where another of the selected methods could ask.
void tell_failures(const failure_notes &notes, const bool (&selected)[METHOD_COUNT], bool scanner);
