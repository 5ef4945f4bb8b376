// The runs of a process, one of which the command line selects.
#include "driver/runs.h"

#include "driver/child_process.h"
#include "driver/desc_queue.h"
#include "driver/merge.h"
#include "driver/merge_loop.h"
#include "driver/records/device_list.h"
#include "driver/report.h"
#include "log/log.h"
#include "log/timestamp.h"
#include "nodeq/nodeq.h"
#include "scan/scanner_inquiry.h"
#include "scan/tcp_connect.h"
#include "slp/slp_discovery.h"
#include "snmp/description_query.h"
#include "snmp/snmp_discovery.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace
{

constexpr char IPV4_TARGET[] = "255.255.255.255";
constexpr uint16_t SNMP_PORT = 161; ///< probed by TCP before a description query
constexpr char IPV6_TARGET[] = "udp6:[ff02::1]";

void open_process_log(const char *name)
{
    log_open(name);
    log_printf(LOG_LEVEL_INFO, "INFO: %s\n", timestamp_str());
}

void run_nodeq(device_list *devices)
{
    discover_using_nodeq(devices, IPV4_TARGET);
}

void run_nodeq6(device_list *devices)
{
    discover_using_nodeq(devices, IPV6_TARGET);
}

void run_slp(device_list *devices)
{
    discover_using_slp(devices);
}

void run_snmp(device_list *devices)
{
    open_process_log("devscout_snmp");
    discover_using_netsnmp(devices, IPV4_TARGET);
}

void run_snmp6(device_list *devices)
{
    open_process_log("devscout_snmp6");
    discover_using_netsnmp(devices, IPV6_TARGET);
}

struct method_run {
    void (*discover)(device_list *devices);
    const char *mark; ///< label of the time mark after it
};

/// By `method_id`.
constexpr method_run METHOD_RUNS[METHOD_COUNT] = {
    {run_nodeq, "after discover_using_nodeq"},    {run_nodeq6, "after discover_using_nodeq6"},
    {run_slp, "after discover_using_slp"},        {run_snmp, "after discover_using_netsnmp"},
    {run_snmp6, "after discover_using_netsnmp6"},
};

/// What a parent and a child do before their work. The start time is also that of the last mark.
void begin_run(const run_settings &settings, device_list *devices, time_t *start_time)
{
    list_init(devices);
    *start_time = time(nullptr);
    if (settings.time_marks)
        time_mark("BEGIN", start_time);
    atexit(log_cleanup);
}

void end_run(const run_settings &settings, device_list *devices, time_t *start_time)
{
    print_report(*devices, *start_time, settings.scanner ? 1 : 0);
    if (settings.time_marks)
        time_mark("END", start_time);
    list_free(devices);
}

} // namespace

int run_parent(const run_settings &settings)
{
    device_list devices;
    time_t start_time = 0;
    begin_run(settings, &devices, &start_time);
    open_process_log("devscout");

    static child_slot slots[CHILD_SLOT_COUNT];
    desc_queue queue;
    list_init(&queue);
    for (int method = 0; method < METHOD_COUNT; ++method) {
        if (settings.methods[method])
            run_child_process(slots, METHODS[method].slot, settings.program, METHODS[method].word);
    }
    const merge_target target = {&devices, &queue, slots, settings.scanner ? 1 : 0,
                                 settings.debug_level};
    merge_child_output(&target, settings.program);
    list_free(&queue);
    finish_descriptions(&devices);

    end_run(settings, &devices, &start_time);
    return EXIT_SUCCESS;
}

int run_child(const run_settings &settings)
{
    device_list devices;
    time_t start_time = 0;
    begin_run(settings, &devices, &start_time);
    for (int method = 0; method < METHOD_COUNT; ++method) {
        const method_run &run = METHOD_RUNS[method];
        if (!settings.methods[method])
            continue;
        run.discover(&devices);
        if (settings.time_marks)
            time_mark(run.mark, &start_time);
    }
    end_run(settings, &devices, &start_time);
    return EXIT_SUCCESS;
}

int run_get_description(const run_settings &settings)
{
    puts("# Mode get_description");
    if (probe_reachable(settings.address, SNMP_PORT, settings.debug_level) == 0) {
        print_unreachable_line(settings.address);
        return EXIT_SUCCESS;
    }
    char dsc[DSC_SIZE];
    getdesc_netsnmp(dsc, sizeof dsc, settings.address);
    if (dsc[0] != '\0')
        print_description_line(settings.address, dsc);
    return EXIT_SUCCESS;
}

int run_scanner_inquiry(const run_settings &settings)
{
    puts("# Mode scanner_inquiry");
    uint8_t block[SCAN_BLOCK_SIZE] = {};
    if (scanner_inquiry(settings.address, block, sizeof block, settings.debug_level) == 0)
        return EXIT_FAILURE;
    print_hex_block(stdout, block, sizeof block);
    return EXIT_SUCCESS;
}
