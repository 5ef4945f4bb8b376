// The parent's children: the command lines that start them, and their end.
#pragma once

#include "driver/parent_run.h"

/// Starts the method's child in its slot, with the options that it inherits. A child that cannot be
/// started, a command of more than 4095 characters among them, leaves the slot empty and is noted
/// as a failure.
void run_child_process(parent_run *run, const method &started);

/// Starts children for queued addresses, in order, while their slots have room: three, or eight
/// with `--quick`. An address whose child cannot be started counts as started.
void start_desc_children(parent_run *run);

/// Whether an address waits whose child could be started.
bool can_start_desc_child(parent_run *run);

/// Closes the slot's stream and waits for the child to end. Returns its shell's wait status. An
/// interruption ends the wait.
int end_child(child_slot *slot);

/// Empties the slot of a child that has ended so, and notes a failure.
void empty_child_slot(parent_run *run, int number, int wait_status);

/// Kills the children with all that they have started.
void kill_children(const parent_run *run);
