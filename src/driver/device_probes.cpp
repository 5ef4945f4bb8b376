// The reachability probes that a parent makes itself, many side by side.
#include "driver/device_probes.h"

#include "io/wait.h"
#include "snmp/description_query.h"

#include <algorithm>
#include <sys/resource.h>

namespace
{

/// Descriptors that are left to pipes, the log, and the end of all children.
constexpr size_t DESCRIPTORS_LEFT = 20;

/// Each probe may use all of its sockets.
size_t most_at_once()
{
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 ||
        limit.rlim_cur >= DESCRIPTORS_LEFT + PROBES_AT_ONCE * PROBE_SOCKETS)
        return PROBES_AT_ONCE;
    if (limit.rlim_cur < DESCRIPTORS_LEFT + PROBE_SOCKETS)
        return 1;
    return (limit.rlim_cur - DESCRIPTORS_LEFT) / PROBE_SOCKETS;
}

/// Notes the verdict, if there is one.
void take_state(device_probes *probes, device_probe *one, probe_state state)
{
    if (state == probe_state::waiting)
        return;
    if (state == probe_state::unreachable)
        one->device->scan_info[0] = UNREACHABLE_MARK;
    one->device = nullptr;
    --probes->running;
}

} // namespace

bool probe_device(device_probes *probes, device_record *device, struct in_addr address)
{
    static const size_t MOST = most_at_once();
    if (probes->running >= MOST)
        return false;
    device_probe *one = std::find_if(probes->all, probes->all + PROBES_AT_ONCE,
                                     [](const device_probe &p) { return p.device == nullptr; });
    const probe_state state = begin_probe(&one->probed, address, SNMP_PORT);
    if (state == probe_state::no_socket)
        return false;
    one->device = device;
    ++probes->running;
    take_state(probes, one, state);
    return true;
}

size_t poll_probes(const device_probes &probes, struct pollfd *polled)
{
    size_t count = 0;
    for (const device_probe &one : probes.all) {
        struct pollfd own[PROBE_SOCKETS];
        const size_t sockets = one.device != nullptr ? poll_probe(one.probed, own) : 0;
        std::copy_n(own, sockets, polled + count);
        count += sockets;
    }
    return count;
}

void step_probes(device_probes *probes, const struct pollfd *polled)
{
    const int64_t now = monotonic_us();
    for (device_probe &one : probes->all) {
        if (one.device == nullptr)
            continue;
        struct pollfd own[PROBE_SOCKETS];
        const struct pollfd *end = polled + poll_probe(one.probed, own);
        const bool shows = std::any_of(polled, end, [](const auto &p) { return p.revents != 0; });
        polled = end;
        if (shows || now >= one.probed.due_us)
            take_state(probes, &one, step_probe(&one.probed));
    }
}

void end_probes(device_probes *probes)
{
    for (device_probe &one : probes->all) {
        for (descriptor &socket : one.probed.sockets)
            socket.reset();
        one.device = nullptr;
    }
    probes->running = 0;
}

int64_t next_probe_step_us(const device_probes &probes)
{
    int64_t due_us = INT64_MAX;
    for (const device_probe &one : probes.all) {
        if (one.device != nullptr)
            due_us = std::min(due_us, one.probed.due_us);
    }
    return due_us == INT64_MAX ? -1 : std::max<int64_t>(due_us - monotonic_us(), 0);
}
