// What the program prints: the report with its device lines, hex blocks and time marks.
#include "driver/report.h"

#include <string>

namespace
{

constexpr int BYTES_A_LINE = 16;

std::string without_control_bytes(const char *text)
{
    std::string printable(text);
    for (char &c : printable) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f)
            c = ' ';
    }
    return printable;
}

bool is_listed(const device_record *record, int scanner)
{
    if (scanner != 0)
        return record->scan_info[0] == SCAN_BLOCK_TAG;
    return record->scan_info[0] != UNREACHABLE_MARK;
}

} // namespace

void print_device_line(const device_record *record)
{
    printf("ip: %-15s slp: %d,%d,%d,%d snmp: %d,%d,%d vendor: %s dsc: \"%s\"\n",
           without_control_bytes(record->ip).c_str(), record->slp_detected, record->slp_ipp,
           record->slp_lpr, record->slp_raw_tcp, record->snmp_detected, record->snmp_devtype,
           record->snmp_description, without_control_bytes(record->vendor).c_str(),
           without_control_bytes(record->dsc).c_str());
}

void print_description_line(const char *ip, const char *dsc)
{
    printf("ip: %-15s dsc: \"%s\"\n", without_control_bytes(ip).c_str(),
           without_control_bytes(dsc).c_str());
}

void print_unreachable_line(const char *ip)
{
    printf("ip: %-15s  dsc: \" \" ERROR: Destination unreachable\n",
           without_control_bytes(ip).c_str());
}

int print_hex_block(FILE *stream, const uint8_t *bytes, int count)
{
    if (stream == nullptr)
        return 0;
    for (int i = 0; i < count; ++i) {
        const bool ends_line = i + 1 == count || (i + 1) % BYTES_A_LINE == 0;
        fprintf(stream, "%02x%c", bytes[i], ends_line ? '\n' : ' ');
    }
    return 0;
}

void print_report(device_list list, time_t start_time, int scanner)
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
}

void time_mark(const char *label, time_t *previous)
{
    const time_t now = time(nullptr);
    printf("# MARK: %s: %4.2f\n", label, difftime(now, *previous));
    *previous = now;
    fflush(stdout);
}
