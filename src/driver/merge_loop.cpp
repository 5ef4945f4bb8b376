// The parent's loop: reads the children in turn until the last one has ended.
//
// Each pass visits the slots in turn and takes one line of each, so that a child that prints
// thousands holds up no other, and what is merged first is what was printed first. Only the visited
// child's pipe is read, and only when nothing of it is left: a fast child fills its pipe and waits,
// instead of the parent's memory. A pass sleeps in the first slot without work, for all children at
// once: any of them ends the sleep, and its turn comes by going on with the pass. It does not sleep
// while a line or an end waits in another slot, nor while a queued address could be started. A
// child that has ended ends the pass, so that the next one begins with its slot free for an
// address.
#include "driver/merge_loop.h"

#include "driver/child_process.h"
#include "driver/merge.h"
#include "driver/quick_descriptions.h"
#include "driver/signals.h"
#include "driver/status_line.h"
#include "io/wait.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace
{

constexpr int NO_SLOT = -1;

/// Length of the next line in `pending`, its line feed included; a line of PIPE_LINE_SIZE - 1
/// characters or more comes in pieces. 0: none.
size_t next_line_length(const child_slot &slot)
{
    const size_t searched = std::min(slot.pending_length, PIPE_LINE_SIZE - 1);
    const auto *feed = static_cast<const char *>(memchr(slot.pending, '\n', searched));
    if (feed != nullptr)
        return static_cast<size_t>(feed - slot.pending) + 1;
    return searched == PIPE_LINE_SIZE - 1 ? searched : 0;
}

/// Takes so many characters out of `pending` as a line and merges it.
void take_line(parent_run *run, int number, size_t length)
{
    child_slot *slot = &run->slots[number];
    char line[PIPE_LINE_SIZE];
    memcpy(line, slot->pending, length);
    line[length] = '\0';
    slot->pending_length -= length;
    memmove(slot->pending, slot->pending + length, slot->pending_length);
    if (run->settings.debug_level > 0)
        make_way_for_output();
    if (run->settings.debug_level > 1)
        printf("[%d]LINE: %s", number, line);
    note_failing_line(slot->failure, line);
    merge_line(run, line, number);
}

/// Reads what the child has written. Call it when `poll` has reported its stream.
void read_output(child_slot *slot)
{
    const ssize_t received = read(fileno(slot->stream), slot->pending + slot->pending_length,
                                  sizeof slot->pending - slot->pending_length);
    if (received > 0) {
        slot->pending_length += static_cast<size_t>(received);
    } else if (received == 0 || errno != EINTR) {
        slot->at_end = 1;
        slot->error_number = received < 0 ? errno : 0;
    }
}

/// Whether the parent has something to do in the slot without waiting for its child.
bool has_work(const child_slot &slot)
{
    return slot.stream != nullptr && (next_line_length(slot) > 0 || slot.at_end != 0);
}

/// Starts what the queued addresses wait for, as far as there is room.
void start_queued(parent_run *run)
{
    if (is_quick_run(*run))
        go_on_with_probes(run);
    else
        start_desc_children(run);
}

/// Sleeps until some child writes or ends, and reads what the child of slot `number` has written.
/// Work that waits in any slot ends the wait at once: its turn comes in this pass or the next.
void wait_for_output(parent_run *run, int number)
{
    // A line of this very pass may have queued an address.
    start_queued(run);
    child_slot *slots = run->slots;
    // Only open streams: the system refuses more entries than the process may have descriptors.
    struct pollfd streams[CHILD_SLOT_COUNT + QUICK_POLLED_MAX];
    nfds_t count = 0;
    const struct pollfd *own = nullptr;
    for (int i = 0; i < CHILD_SLOT_COUNT; ++i) {
        if (slots[i].stream == nullptr || slots[i].at_end != 0)
            continue;
        if (i == number)
            own = &streams[count];
        streams[count++] = {fileno(slots[i].stream), POLLIN, 0};
    }
    const bool waits = std::none_of(slots, slots + CHILD_SLOT_COUNT, has_work);
    const int64_t refresh_us = show_status(run);
    struct pollfd *const probes = streams + count;
    const nfds_t all = count + (waits ? poll_probes(run->quick.probes, probes) : 0);
    const int64_t timeout_us = waits ? shorter_wait(refresh_us, next_quick_step_us(*run)) : 0;
    const int ready = poll_until_interrupted(streams, all, timeout_us);
    const bool written = ready > 0 && std::any_of(streams, probes, [](const struct pollfd &one) {
                             return one.revents != 0;
                         });
    if (written)
        note_output(run);
    if (own != nullptr && ready > 0 && own->revents != 0)
        read_output(&slots[number]);
    if (!waits || ready < 0)
        return;
    take_probe_steps(run, probes);
    if (!written)
        start_batches_after_silence(run);
}

/// Closes the slot of a child whose output is over. What stands there without a line feed is a
/// line, but of a child that a signal has ended it is half of one.
void close_ended(parent_run *run, int number)
{
    child_slot *slot = &run->slots[number];
    const int wait_status = end_child(slot);
    if (slot->pending_length > 0 && !ended_by_signal(wait_status))
        take_line(run, number, slot->pending_length);
    if (slot->error_number != 0) {
        make_way_for_output();
        printf("# ERROR: descriptor # %d failed, %s\n", number, strerror(slot->error_number));
    }
    empty_child_slot(run, number, wait_status);
}

/// Visits every slot once. Returns whether another pass is needed: a child that ended makes one,
/// before the later slots are looked at, so that its slot is used again at once.
bool run_pass(parent_run *run)
{
    bool active = false;
    for (int i = 0; i < CHILD_SLOT_COUNT; ++i) {
        const child_slot &slot = run->slots[i];
        if (slot.stream == nullptr)
            continue;
        active = true;
        if (!has_work(slot))
            wait_for_output(run, i);
        const size_t length = next_line_length(slot);
        if (length > 0) {
            take_line(run, i, length);
        } else if (slot.at_end != 0) {
            close_ended(run, i);
            return true;
        }
    }
    if (active || !has_quick_work(*run))
        return active;
    wait_for_output(run, NO_SLOT);
    return true;
}

} // namespace

void merge_child_output(parent_run *run)
{
    do {
        start_queued(run);
    } while (run_pass(run) && interrupted_by() == 0);
    end_probes(&run->quick.probes);
    erase_status();
}
