// The report of a run, and its time marks.
#include "driver/report.h"

#include "driver/lines.h"
#include "io/output.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

int output_error = EIO; ///< of the last attempt to write that failed

bool is_listed(const device_record *record, int scanner)
{
    if (scanner != 0)
        return record->scan_info[0] == SCAN_BLOCK_TAG;
    return record->scan_info[0] != UNREACHABLE_MARK;
}

} // namespace

int print_report(device_list list, time_t start_time, int scanner)
{
    puts("# Network printers discovery utility");
    puts("# Legend: ip: address slp: detected,ipp,lpr,raw_tcp snmp: detected,devtype,description");
    int count = 0;
    for (const list_node *node = list; node != nullptr; node = node->next) {
        const auto *record = static_cast<const device_record *>(node->data);
        if (!is_listed(record, scanner))
            continue;
        ++count;
        print_device_line(record);
        if (scanner != 0)
            print_hex_block(stdout, record->scan_info, sizeof record->scan_info);
    }
    printf("# Total %d %s found, %lds elapsed\n", count, scanner != 0 ? "scanners" : "printers",
           static_cast<long>(time(nullptr) - start_time));
    return count;
}

void time_mark(const char *label, time_t *previous)
{
    const time_t now = time(nullptr);
    printf("# MARK: %s: %4.2f\n", label, difftime(now, *previous));
    *previous = now;
    flush_output();
}

void flush_output()
{
    if (fflush(stdout) != 0)
        output_error = errno;
}

int finish_output(int status)
{
    flush_output();
    // The reader of a pipe or a socket may go away.
    if (ferror(stdout) == 0 || watched_output() >= 0)
        return status;
    fprintf(stderr, "devscout: the report cannot be written: %s\n", strerror(output_error));
    return EXIT_FAILURE;
}
