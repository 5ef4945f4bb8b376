// Merging the lines that children print into the parent's device list.
#include "driver/merge.h"

#include "config/printable.h"
#include "config/text.h"
#include "driver/lines.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace
{

constexpr char PROVISIONAL_MARK = '#';

void merge_numbers(device_record *record, const device_line &line)
{
    // Only the SLP child's lines carry these flags; zeros in other lines take nothing away.
    uint8_t *const flags[] = {&record->slp_detected, &record->slp_ipp, &record->slp_lpr,
                              &record->slp_raw_tcp};
    for (int i = 0; i < 4; ++i) {
        if (line.slp[i])
            *flags[i] = 1;
    }
    if (line.has_snmp) {
        record->snmp_detected = line.snmp[0];
        record->snmp_devtype = line.snmp[1];
        record->snmp_description = line.snmp[2];
    }
}

/// A real description stands before a provisional one, whose text stays behind it.
void merge_dsc(device_record *record, const char *text, bool scanner)
{
    const bool provisional = text[0] == PROVISIONAL_MARK;
    if (provisional && scanner)
        return;
    char merged[DSC_SIZE] = "";
    if (record->dsc[0] == '\0') {
        append_text(merged, text, sizeof merged);
    } else if (provisional) {
        append_text(merged, record->dsc, sizeof merged);
        append_text(merged, " ", sizeof merged);
        append_text(merged, text + 1, sizeof merged);
    } else if (record->dsc[0] == PROVISIONAL_MARK) {
        append_text(merged, text, sizeof merged);
        append_text(merged, " ", sizeof merged);
        append_text(merged, record->dsc + 1, sizeof merged);
    } else {
        return;
    }
    safe_strncpy(record->dsc, merged, sizeof record->dsc);
}

void merge_vendor(device_record *record, const device_line &line)
{
    if (!line.has_vendor)
        safe_strncpy(record->vendor, "UNKNOWN", sizeof record->vendor);
    else if (line.vendor[0] != '\0')
        safe_strncpy(record->vendor, line.vendor, sizeof record->vendor);
}

/// Takes a description child's text, with the old provisional text behind it, mark and all:
/// `finish_descriptions` turns the mark into the blank between the two.
void take_description(device_record *record, const char *text)
{
    if (has_real_description(record))
        return;
    char taken[DSC_SIZE] = "";
    append_text(taken, text, sizeof taken);
    append_text(taken, record->dsc, sizeof taken);
    safe_strncpy(record->dsc, taken, sizeof record->dsc);
}

void merge_description(parent_run *run, const description_line &line)
{
    device_record *record = device_list_find_or_add(&run->devices, line.ip, &run->device_index);
    if (record == nullptr)
        return;
    if (run->settings.debug_level > 0) {
        char held[printable_size(sizeof record->dsc)];
        // The odd spelling is what readers of this output look for.
        printf("INFO_RESPONCE: %s <%s>\n", line.ip, printable_text(held, record->dsc, sizeof held));
    }
    if (line.failed)
        record->scan_info[0] = UNREACHABLE_MARK;
    else
        take_description(record, line.dsc);
}

void merge_hex_line(parent_run *run, const char *line, child_slot *slot)
{
    const auto number = static_cast<size_t>(slot->hex_lines++);
    if (number >= BLOCK_LINES)
        return;
    device_record *record =
        device_list_find_or_add(&run->devices, slot->target_ip, &run->device_index);
    if (record != nullptr) {
        const size_t offset = HEX_LINE_BYTES * number;
        const size_t room = sizeof record->scan_info - offset;
        hex_to_bytes(record->scan_info + offset, std::min(room, HEX_LINE_BYTES), line);
    }
}

} // namespace

bool has_real_description(const device_record *record)
{
    return record->dsc[0] != '\0' && record->dsc[0] != PROVISIONAL_MARK;
}

void merge_line(parent_run *run, char *line, int slot)
{
    if (carries_device_lines(slot))
        merge_discovery_line(run, line, slot);
    else
        merge_desc_line(run, line, slot);
}

void merge_discovery_line(parent_run *run, char *line, int slot)
{
    device_line read;
    if (!read_device_line(line, &read))
        return;
    device_record *record = device_list_find_or_add(&run->devices, read.ip, &run->device_index);
    if (record == nullptr)
        return;

    merge_numbers(record, read);
    if (asks_devices(slot) && !has_real_description(record))
        desc_queue_add(&run->queue, &run->queue_index, record->ip, run->settings.scanner ? 1 : 0);

    if (read.dsc == nullptr)
        return;
    if (read.dsc[0] != '\0')
        merge_dsc(record, read.dsc, run->settings.scanner);
    merge_vendor(record, read);
}

void merge_desc_line(parent_run *run, char *line, int slot)
{
    description_line read;
    child_slot *child = &run->slots[slot];
    if (read_description_line(line, &read)) {
        merge_description(run, read);
        child->addresses_left -= child->addresses_left > 1 ? 1 : 0;
    } else if (is_hex_line(line)) {
        merge_hex_line(run, line, child);
    }
}

void finish_descriptions(device_list *devices)
{
    for (list_node *node = *devices; node != nullptr; node = node->next) {
        char *mark = strchr(static_cast<device_record *>(node->data)->dsc, PROVISIONAL_MARK);
        if (mark != nullptr)
            *mark = ' ';
    }
}
