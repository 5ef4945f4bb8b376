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

/// The slot that the next description child would run in; -1: each has one.
int free_desc_slot(const parent_run &run);

/// Starts one description child for as many of the entries as its command line has room for: those
/// behind `run->quick.last_batched`, and not behind `run->last_started`, that are not started.
/// Returns whether it was started; `settle` makes the entries count as started also where it cannot
/// be.
bool start_batch_child(parent_run *run, int number, bool settle);

/// Closes the slot's stream and waits for the child to end. Returns its shell's wait status. An
/// interruption ends the wait.
int end_child(child_slot *slot);

/// Empties the slot of a child that has ended so, and notes a failure.
void empty_child_slot(parent_run *run, int number, int wait_status);

/// Kills the children with all that they have started.
void kill_children(const parent_run *run);
