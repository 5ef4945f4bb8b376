// With "--quick": which queued devices the parent probes itself, and which ones a child describes.
//
// The parent drops what a child says of a device with a real description, so such a device needs
// the probe alone, or nothing where it has an IPv6 address, which nobody probes. The others, with
// "--thorough" all of them, go to one child for many, which probes them too. It starts once the
// pipes have fallen silent, so that such children are few.
#pragma once

#include "driver/parent_run.h"

#include <cstdint>
#include <poll.h>

constexpr size_t QUICK_POLLED_MAX = PROBES_AT_ONCE * PROBE_SOCKETS;

/// Whether the run describes devices in this way.
bool is_quick_run(const parent_run &run);

/// Begins the probes of newly queued devices, in order, while there is room and a socket to be had,
/// and makes the steps that are due in those that are running.
void go_on_with_probes(parent_run *run);

/// Makes the steps that `poll_probes` and a poll have shown, and those whose time has come.
void take_probe_steps(parent_run *run, const struct pollfd *polled);

/// Notes that a child has written: the children for many devices wait again.
void note_output(parent_run *run);

/// Starts the children for many devices if nobody has written for a while and slots have room.
void start_batches_after_silence(parent_run *run);

/// Microseconds after which the two functions that begin something should be called; -1: there is
/// nothing to begin.
int64_t next_quick_step_us(const parent_run &run);

/// Whether probes are running or something waits to begin.
bool has_quick_work(const parent_run &run);
