// Describing many devices in one process, side by side.
#include "driver/describe.h"

#include "config/thorough.h"
#include "driver/help.h"
#include "driver/lines.h"
#include "io/output.h"
#include "io/resolve.h"
#include "io/wait.h"
#include "records/device_list.h"
#include "scan/probe.h"
#include "scan/tcp_connect.h"
#include "snmp/device_query.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstring>
#include <poll.h>

namespace
{

constexpr size_t AT_ONCE = 1024;
constexpr size_t PROBES_AT_ONCE = 256;

/// A device on the way from its address to its line.
struct described_device {
    const char *ip = nullptr; ///< nullptr: there is none here
    probe tcp;
    probe_state reached = probe_state::waiting;
    bool asked = false;
    bool waits = false; ///< for answers to `query`
    device_query query;
    struct pollfd *polled = nullptr; ///< the probe's sockets among those that were waited for
    size_t polled_count = 0;
};

struct description_run {
    char **next_address;
    char **end;
    int debug_level;
    query_sessions sessions;
    described_device devices[AT_ONCE];
    size_t under_way; ///< of `devices`
    size_t probed;    ///< of those
    /// output, sessions, probes
    struct pollfd polled[1 + 2 * QUERY_SESSIONS_MAX + PROBES_AT_ONCE * PROBE_SOCKETS];
};

enum class beginning { under_way, done, postponed };

bool is_numeric(const char *ip)
{
    struct in_addr address = {};
    return strchr(ip, ':') != nullptr || inet_aton(ip, &address) != 0;
}

/// Begins with the device. It is postponed while others are under way and there is no socket for
/// its probe, or it has a name, which may hold them up while it is resolved. Where not one socket
/// is to be had it is asked without a probe: that is no verdict on the device.
beginning begin_device(description_run *run, described_device *device, const char *ip)
{
    struct in_addr address = {};
    if (run->probed == PROBES_AT_ONCE || (run->under_way > 0 && !is_numeric(ip)))
        return beginning::postponed;
    device->reached = probe_state::reachable;
    if (strchr(ip, ':') == nullptr) {
        if (find_ipv4(ip, &address) != 0) {
            print_unreachable_line(ip);
            return beginning::done;
        }
        device->reached = begin_probe(&device->tcp, address, SNMP_PORT);
    }
    if (device->reached == probe_state::no_socket) {
        if (run->under_way > 0)
            return beginning::postponed;
        device->reached = probe_state::reachable;
    }
    if (device->reached == probe_state::waiting) {
        print_wait_time("before", "open", run->debug_level);
        ++run->probed;
    }
    device->ip = ip;
    device->asked = device->waits = false;
    device->tcp.address.sin_addr = address;
    device->polled_count = 0;
    return beginning::under_way;
}

/// Begins with as many devices as there is room for.
void begin_devices(description_run *run)
{
    for (described_device &device : run->devices) {
        while (device.ip == nullptr && run->next_address != run->end) {
            const beginning begun = begin_device(run, &device, *run->next_address);
            if (begun == beginning::postponed)
                return;
            ++run->next_address;
            run->under_way += begun == beginning::under_way ? 1 : 0;
        }
    }
}

bool asks_now(const described_device &device)
{
    return !device.asked && (g_thorough || device.reached == probe_state::reachable);
}

/// Waits until something shows or is due.
void wait_for_devices(description_run *run)
{
    send_repetitions(&run->sessions);
    run->polled[0] = {watched_output(), 0, 0};
    struct pollfd *end = run->polled + 1 + poll_queries(run->sessions, run->polled + 1);
    int64_t due = INT64_MAX;
    for (described_device &device : run->devices) {
        if (device.ip == nullptr)
            continue;
        device.polled = end;
        device.polled_count = poll_probe(device.tcp, end);
        end += device.polled_count;
        if (asks_now(device))
            due = 0;
        if (device.reached == probe_state::waiting)
            due = std::min(due, device.tcp.due_us);
        if (device.waits)
            due = std::min(due, device.query.due_us);
    }
    const struct timespec timeout = timespec_of(std::max<int64_t>(due - monotonic_us(), 0));
    ppoll(run->polled, static_cast<nfds_t>(end - run->polled), &timeout, nullptr);
    end_when_unread(run->polled[0].revents);
}

void step_device_probe(description_run *run, described_device *device, int64_t now)
{
    const bool shown = std::any_of(device->polled, device->polled + device->polled_count,
                                   [](const struct pollfd &one) { return one.revents != 0; });
    if (device->reached != probe_state::waiting || (!shown && now < device->tcp.due_us))
        return;
    device->reached = step_probe(&device->tcp);
    if (device->reached != probe_state::waiting) {
        print_wait_time(" after", "open", run->debug_level);
        --run->probed;
    }
}

/// Takes the next step with the device, at `now`. Returns whether it was the last one.
bool step_device(description_run *run, described_device *device, int64_t now)
{
    step_device_probe(run, device, now);
    if (asks_now(*device)) {
        device->asked = true;
        begin_query(&device->query, &run->sessions, device->ip, device->tcp.address.sin_addr);
    }
    device->waits = device->asked && step_query(&device->query, now) == query_state::waiting;
    const bool heard = device->asked && device->query.heard;
    // What has answered can be reached, whether by the probe or else.
    if (device->waits || (device->reached == probe_state::waiting && !heard))
        return false;
    if (device->reached == probe_state::waiting)
        --run->probed;
    end_probe(&device->tcp);
    if (device->reached == probe_state::unreachable && !heard) {
        print_unreachable_line(device->ip);
        return true;
    }
    char dsc[DSC_SIZE];
    compose_answers(&device->query.answers, dsc, sizeof dsc);
    if (dsc[0] != '\0')
        print_description_line(device->ip, dsc);
    else
        explain_missing_answer(run_kind::get_description, device->ip);
    return true;
}

} // namespace

void describe_devices(char **addresses, size_t count, int debug_level)
{
    static description_run run; // what the library still holds points into it
    std::stable_partition(addresses, addresses + count, is_numeric);
    run.next_address = addresses;
    run.end = addresses + count;
    run.debug_level = debug_level;
    run.sessions.prints_answers = true;
    if (g_thorough)
        run.sessions.budget_us = MICROSECONDS_PER_SECOND;
    snmp_set_up_library("getdesc_netsnmp");
    for (begin_devices(&run); run.under_way > 0; begin_devices(&run)) {
        wait_for_devices(&run);
        const int64_t now = monotonic_us();
        read_answers(run.sessions);
        for (described_device &device : run.devices) {
            if (device.ip != nullptr && step_device(&run, &device, now)) {
                device.ip = nullptr;
                --run.under_way;
            }
        }
        fflush(stdout);
    }
}
