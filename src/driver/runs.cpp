// The runs of a process, one of which the command line selects.
#include "driver/runs.h"

#include "config/thorough.h"
#include "driver/child_process.h"
#include "driver/describe.h"
#include "driver/help.h"
#include "driver/lines.h"
#include "driver/merge.h"
#include "driver/merge_loop.h"
#include "driver/method.h"
#include "driver/parent_run.h"
#include "driver/report.h"
#include "driver/signals.h"
#include "log/log.h"
#include "log/timestamp.h"
#include "records/device_list.h"
#include "scan/scanner_inquiry.h"
#include "scan/tcp_connect.h"
#include "snmp/description_query.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace
{

void open_process_log(const char *name)
{
    log_open(name);
    log_printf(LOG_LEVEL_INFO, "INFO: %s\n", timestamp_str());
}

/// What a parent and a child do before their work. The start time is also that of the last mark.
void begin_run(const run_settings &settings, device_list *devices, time_t *start_time)
{
    list_init(devices);
    *start_time = time(nullptr);
    if (settings.time_marks)
        time_mark("BEGIN", start_time);
    atexit(log_cleanup);
}

/// Returns the number of devices listed.
int end_run(const run_settings &settings, device_list *devices, time_t *start_time)
{
    const int listed = print_report(*devices, *start_time, settings.scanner ? 1 : 0);
    if (settings.time_marks)
        time_mark("END", start_time);
    list_free(devices);
    return listed;
}

void end_when_interrupted(const parent_run *run)
{
    if (interrupted_by() == 0)
        return;
    kill_children(run);
    end_by_signal(interrupted_by());
}

} // namespace

int run_parent(const run_settings &settings)
{
    static parent_run run;
    run.settings = settings;
    time_t start_time = 0;
    explain_arguments(settings);
    begin_run(settings, &run.devices, &start_time);
    open_process_log("devscout");
    catch_interruptions();

    list_init(&run.queue);
    for (size_t i = 0; i < METHOD_COUNT; ++i) {
        if (settings.methods[i])
            run_child_process(&run, METHODS[i]);
    }
    merge_child_output(&run);
    end_when_interrupted(&run);
    list_free(&run.queue);
    finish_descriptions(&run.devices);

    const int listed = end_run(settings, &run.devices, &start_time);
    flush_output();
    end_when_interrupted(&run);
    tell_failures(run.failures, settings.methods, settings.scanner);
    if (listed == 0)
        explain_empty_report(settings);
    return EXIT_SUCCESS;
}

int run_child(const run_settings &settings)
{
    device_list devices;
    time_t start_time = 0;
    begin_run(settings, &devices, &start_time);
    for (size_t i = 0; i < METHOD_COUNT; ++i) {
        const method &m = METHODS[i];
        if (!settings.methods[i])
            continue;
        if (m.log_name != nullptr)
            open_process_log(m.log_name);
        m.discover(&devices, m.target);
        if (settings.time_marks)
            time_mark(m.mark, &start_time);
    }
    end_run(settings, &devices, &start_time);
    return EXIT_SUCCESS;
}

int run_get_description(const run_settings &settings)
{
    explain_arguments(settings);
    puts("# Mode get_description");
    if (settings.quick || g_thorough) {
        describe_devices(settings.addresses, settings.address_count, settings.debug_level);
        return EXIT_SUCCESS;
    }
    if (probe_reachable(settings.address, SNMP_PORT, settings.debug_level) == 0) {
        print_unreachable_line(settings.address);
        return EXIT_SUCCESS;
    }
    char dsc[DSC_SIZE];
    getdesc_netsnmp(dsc, sizeof dsc, settings.address);
    if (dsc[0] != '\0')
        print_description_line(settings.address, dsc);
    else
        explain_missing_answer(settings.kind, settings.address);
    return EXIT_SUCCESS;
}

int run_scanner_inquiry(const run_settings &settings)
{
    explain_arguments(settings);
    puts("# Mode scanner_inquiry");
    uint8_t block[SCAN_BLOCK_SIZE] = {};
    if (scanner_inquiry(settings.address, block, sizeof block, settings.debug_level) == 0) {
        explain_missing_answer(settings.kind, settings.address);
        return EXIT_FAILURE;
    }
    print_hex_block(stdout, block, sizeof block);
    return EXIT_SUCCESS;
}
