// A run of the parent: its settings, its children, and what their lines are merged into.
#pragma once

#include "driver/command_line.h"
#include "driver/desc_queue.h"
#include "driver/failures.h"
#include "driver/lines.h"
#include "driver/slots.h"
#include "records/address_list.h"
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
    int at_end;                ///< 1 once the stream has reached its end or failed
    int error_number;          ///< the error that it failed with; 0: none
    char failure[REASON_SIZE]; ///< why the child failed; empty: it has not
};

struct parent_run {
    run_settings settings;
    device_list devices;
    address_index device_index;
    desc_queue queue;
    address_index queue_index;
    list_node *last_started; ///< the queue's last entry that a child was started for
    child_slot slots[CHILD_SLOT_COUNT];
    failure_notes failures;
};
