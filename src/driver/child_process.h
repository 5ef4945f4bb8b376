// The parent's children: what is known of each, and the command lines that start them.
#pragma once

#include "driver/desc_queue.h"
#include "driver/lines.h"
#include "records/device_list.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <sys/types.h>

/// One child. `stream` is used for its descriptor and its end alone; what was read from it and
/// not yet merged waits in `pending`.
struct child_slot {
    FILE *stream;            ///< read end of the child's standard output; nullptr: no child
    pid_t pid;               ///< the child's shell; 0: there is none to wait for
    char target_ip[IP_SIZE]; ///< the address a description or inquiry child works on
    int32_t hex_lines;       ///< scanner block lines received
    char pending[4 * PIPE_LINE_SIZE];
    size_t pending_length;
    int at_end;       ///< 1 once the stream has reached its end or failed
    int error_number; ///< the error that it failed with; 0: none
};

/// Starts the discovery child for a method word in the slot, by `program` and with the community
/// where it is not the default. A child that cannot be started, a command of more than 4095
/// characters among them, leaves the slot empty.
void run_child_process(child_slot *slots, int slot, const char *program, const char *method);

/// Starts children for queued addresses, in order, while their slots have room: three, or eight
/// with `quick`, which description children are told. An address whose child cannot be started
/// counts as started.
void start_desc_children(desc_queue *queue, child_slot *slots, const char *program, bool quick);

/// Waits for the slot's child to end and empties the slot. An interruption ends the wait.
void close_child_slot(child_slot *slot);

/// Kills the children with all that they have started.
void kill_children(child_slot *slots);
