// The parent's children: the command lines that start them, and their end.
#pragma once

#include "driver/parent_run.h"

/// Starts the method's child in its slot, with the options that it inherits. A child that cannot be
/// started, a command of more than 4095 characters among them, leaves the slot empty.
void run_child_process(parent_run *run, const method &started);

/// Starts children for queued addresses, in order, while their slots have room: three, or eight
/// with `--quick`. An address whose child cannot be started counts as started.
void start_desc_children(parent_run *run);

/// Waits for the slot's child to end and empties the slot. An interruption ends the wait.
void close_child_slot(child_slot *slot);

/// Kills the children with all that they have started.
void kill_children(const parent_run *run);
