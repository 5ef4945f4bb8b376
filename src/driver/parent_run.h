// A run of the parent: its settings, its children, and what their lines are merged into.
#pragma once

#include "driver/command_line.h"
#include "driver/desc_queue.h"
#include "driver/device_probes.h"
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
    char target_ip[IP_SIZE]; ///< the address a description or inquiry child works on, or its first
    int32_t addresses_left;  ///< of such a child, its current one among them
    int32_t hex_lines;       ///< scanner block lines received
    char pending[4 * PIPE_LINE_SIZE];
    size_t pending_length;
    int at_end;                ///< 1 once the stream has reached its end or failed
    int error_number;          ///< the error that it failed with; 0: none
    char failure[REASON_SIZE]; ///< why the child failed; empty: it has not
};

/// What a parent with "--quick" or "--thorough" has going (`driver/quick_descriptions.h`).
struct quick_work {
    device_probes probes;
    int64_t no_socket_since_us; ///< 0: the last probe could begin
    list_node *last_batched;    ///< the queue's last entry that a child for many was started for
    size_t to_batch;            ///< entries behind it that wait for such a child
    int64_t batches_due_us;     ///< no such child starts before
    int64_t next_look_us;       ///< while lines keep coming, the probes are looked at then
};

struct parent_run {
    run_settings settings;
    device_list devices;
    address_index device_index;
    desc_queue queue;
    address_index queue_index;
    list_node *last_started; ///< the queue's last entry that was started, or looked at by `quick`
    quick_work quick;
    child_slot slots[CHILD_SLOT_COUNT];
    failure_notes failures;
};

/// The queue's entry behind `last`; nullptr as `last` stands before the first.
inline list_node *queued_behind(const parent_run &run, list_node *last)
{
    return last == nullptr ? run.queue : last->next;
}
