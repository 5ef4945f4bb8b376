// With "--quick": which queued devices the parent probes itself, and which ones a child describes.
#include "driver/quick_descriptions.h"

#include "config/thorough.h"
#include "driver/child_process.h"
#include "driver/merge.h"
#include "io/wait.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>

namespace
{

/// A method's child prints all its lines in one go, with pauses of this size at most.
constexpr int64_t SILENCE_US = 10 * MICROSECONDS_PER_MILLISECOND;
/// When something is tried again that a missing descriptor has prevented.
constexpr int64_t RETRY_US = 20 * MICROSECONDS_PER_MILLISECOND;
/// How long a socket is tried for when the process itself holds none that it could give back.
constexpr int64_t GIVE_UP_US = MICROSECONDS_PER_SECOND;
/// While lines keep coming, the probes are looked at this often.
constexpr int64_t LOOK_US = 10 * MICROSECONDS_PER_MILLISECOND;

bool has_children(const parent_run &run)
{
    return std::any_of(std::begin(run.slots), std::end(run.slots),
                       [](const child_slot &slot) { return slot.stream != nullptr; });
}

/// Notes that a probe could not begin. Returns whether that is final: nothing that ends could give
/// its descriptor to it, and none has been had for a while.
bool lacks_sockets_for_good(parent_run *run)
{
    int64_t *since_us = &run->quick.no_socket_since_us;
    const int64_t now = monotonic_us();
    if (run->quick.probes.running > 0 || has_children(*run))
        *since_us = 0;
    else if (*since_us == 0)
        *since_us = now;
    return *since_us != 0 && now - *since_us >= GIVE_UP_US;
}

/// Settles an entry of the queue, or leaves it to a child for many. Returns false where it must be
/// looked at again, since no probe can begin yet.
bool look_at(parent_run *run, desc_request *request)
{
    device_record *device = device_list_find_or_add(&run->devices, request->ip, &run->device_index);
    const bool ipv6 = strchr(request->ip, ':') != nullptr;
    struct in_addr address = {};
    // A name is not looked up here: that may take seconds. With --thorough a device may answer
    // another request than the probe, which a child makes.
    if (g_thorough || device == nullptr || !has_real_description(device) ||
        (!ipv6 && inet_aton(request->ip, &address) == 0)) {
        ++run->quick.to_batch;
        return true;
    }
    if (!ipv6 && !probe_device(&run->quick.probes, device, address)) {
        if (!lacks_sockets_for_good(run))
            return false;
    } else {
        run->quick.no_socket_since_us = 0;
    }
    request->started = 1;
    return true;
}

} // namespace

bool is_quick_run(const parent_run &run)
{
    return (run.settings.quick || g_thorough) && !run.settings.scanner;
}

void go_on_with_probes(parent_run *run)
{
    list_node *node = queued_behind(*run, run->last_started);
    for (; node != nullptr; node = node->next) {
        if (!look_at(run, static_cast<desc_request *>(node->data)))
            break;
        run->last_started = node;
    }
    const int64_t now = monotonic_us();
    if (run->quick.probes.running == 0 || now < run->quick.next_look_us)
        return;
    struct pollfd polled[QUICK_POLLED_MAX];
    poll(polled, poll_probes(run->quick.probes, polled), 0);
    take_probe_steps(run, polled);
}

void take_probe_steps(parent_run *run, const struct pollfd *polled)
{
    step_probes(&run->quick.probes, polled);
    run->quick.next_look_us = monotonic_us() + LOOK_US;
}

void note_output(parent_run *run)
{
    run->quick.batches_due_us = monotonic_us() + SILENCE_US;
}

void start_batches_after_silence(parent_run *run)
{
    while (run->quick.to_batch > 0 && monotonic_us() >= run->quick.batches_due_us) {
        const int slot = free_desc_slot(*run);
        if (slot < 0)
            return;
        // What ends gives its descriptors back.
        const bool waits = run->quick.probes.running > 0 || has_children(*run);
        if (!start_batch_child(run, slot, !waits))
            run->quick.batches_due_us = monotonic_us() + RETRY_US;
    }
}

int64_t next_quick_step_us(const parent_run &run)
{
    if (!is_quick_run(run))
        return -1;
    const device_probes &probes = run.quick.probes;
    int64_t next_us = next_probe_step_us(probes);
    if (run.quick.to_batch > 0 && free_desc_slot(run) >= 0)
        next_us =
            shorter_wait(next_us, std::max<int64_t>(run.quick.batches_due_us - monotonic_us(), 0));
    if (probes.running == 0 && queued_behind(run, run.last_started) != nullptr)
        next_us = shorter_wait(next_us, RETRY_US);
    return next_us;
}

bool has_quick_work(const parent_run &run)
{
    if (!is_quick_run(run))
        return false;
    return run.quick.probes.running > 0 || run.quick.to_batch > 0 ||
           queued_behind(run, run.last_started) != nullptr;
}
