// Merging the lines that children print into the parent's device list.
#include "driver/merge.h"

#include "config/text.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr char PROVISIONAL_MARK = '#';
constexpr int LAST_SNMP_SLOT = 1;
constexpr size_t NUMBERS_SIZE = 255; ///< longer texts between two labels are no numbers

constexpr int BLOCK_LINES = 5;
constexpr size_t BLOCK_LINE_BYTES = 16;

bool is_real(const char *dsc)
{
    return dsc[0] != '\0' && dsc[0] != PROVISIONAL_MARK;
}

/// Copies the text between the first `before` and the first `after` of the line, 1 to 254
/// characters, into `numbers`. Returns whether it is there.
bool copy_between(const char *line, const char *before, const char *after,
                  char (&numbers)[NUMBERS_SIZE])
{
    const char *start = strstr(line, before);
    const char *end = strstr(line, after);
    if (start == nullptr || end == nullptr)
        return false;
    start += strlen(before);
    if (end <= start || end - start >= static_cast<ptrdiff_t>(NUMBERS_SIZE))
        return false;
    safe_strncpy(numbers, start, static_cast<size_t>(end - start) + 1);
    return true;
}

/// Reads `count` decimal numbers with one "," between each two. Returns whether all are there.
bool read_numbers(const char *text, long *numbers, int count)
{
    for (int i = 0; i < count; ++i) {
        char *end = nullptr;
        numbers[i] = strtol(text, &end, 10);
        if (end == text || (i + 1 < count && *end != ','))
            return false;
        text = end + 1;
    }
    return true;
}

void merge_snmp_numbers(device_record *record, const char *line)
{
    char text[NUMBERS_SIZE];
    long numbers[3];
    if (!copy_between(line, "snmp: ", " vendor:", text) || !read_numbers(text, numbers, 3))
        return;
    record->snmp_detected = static_cast<uint8_t>(numbers[0]);
    record->snmp_devtype = static_cast<uint8_t>(numbers[1]);
    record->snmp_description = static_cast<uint8_t>(numbers[2]);
}

/// Only the SLP child's lines carry these flags; zeros in other lines take nothing away.
void merge_slp_numbers(device_record *record, const char *line)
{
    char text[NUMBERS_SIZE];
    long numbers[4];
    if (!copy_between(line, "slp: ", " snmp:", text) || !read_numbers(text, numbers, 4))
        return;
    uint8_t *const flags[] = {&record->slp_detected, &record->slp_ipp, &record->slp_lpr,
                              &record->slp_raw_tcp};
    for (int i = 0; i < 4; ++i) {
        if (numbers[i] != 0)
            *flags[i] = 1;
    }
}

/// A real description stands before a provisional one, whose text stays behind it.
void merge_dsc(device_record *record, const char *text, int scanner)
{
    const bool provisional = text[0] == PROVISIONAL_MARK;
    if (provisional && scanner != 0)
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

/// Takes the vendor word; one that no blank ends was cut and is not taken.
void merge_vendor(device_record *record, const char *line)
{
    constexpr char LABEL[] = "vendor: ";
    const char *label = strstr(line, LABEL);
    if (label == nullptr) {
        safe_strncpy(record->vendor, "UNKNOWN", sizeof record->vendor);
        return;
    }
    const char *word = label + strlen(LABEL);
    const char *blank = strchr(word, ' ');
    if (blank == nullptr || blank == word)
        return;
    char vendor[LINE_SIZE];
    safe_strncpy(vendor, word, static_cast<size_t>(blank - word) + 1);
    safe_strncpy(record->vendor, vendor, sizeof record->vendor);
}

/// Takes a description child's text, with the old provisional text behind it, mark and all:
/// `finish_descriptions` turns the mark into the blank between the two.
void take_description(device_record *record, const char *text)
{
    if (is_real(record->dsc))
        return;
    char provisional[DSC_SIZE];
    safe_strncpy(provisional, record->dsc, sizeof provisional);
    safe_strncpy(record->dsc, text, sizeof record->dsc);
    append_text(record->dsc, provisional, sizeof record->dsc);
}

void merge_description(const merge_target *target, char *line)
{
    constexpr char IP_LABEL[] = "ip: ";
    constexpr char DSC_LABEL[] = "dsc: \"";
    char *address = strstr(line, IP_LABEL) + strlen(IP_LABEL);
    char *label = strstr(address, DSC_LABEL);
    if (label == nullptr)
        return;
    char *text = label + strlen(DSC_LABEL);
    if (text[0] == '\0' || text[0] == '"' || text[0] == '\n')
        return;

    char *address_end = label;
    while (address_end > address && (address_end[-1] == ' ' || address_end[-1] == '\t'))
        --address_end;
    *address_end = '\0';

    char *text_end = strchr(text, '"');
    if (text_end == nullptr)
        text_end = text + strcspn(text, "\n");
    const char *rest = *text_end == '\0' ? text_end : text_end + 1;
    *text_end = '\0';

    device_record *record = device_list_find_or_add(target->devices, address);
    if (record == nullptr)
        return;
    if (target->debug_level > 0)
        printf("INFO_RESPONCE: %s <%s>\n", address, record->dsc);
    if (strstr(text + 1, "ERROR:") != nullptr || strstr(rest, "ERROR:") != nullptr)
        record->scan_info[0] = UNREACHABLE_MARK;
    else
        take_description(record, text);
}

bool is_block_line(const char *line)
{
    return isxdigit(static_cast<unsigned char>(line[0])) != 0 &&
           isxdigit(static_cast<unsigned char>(line[1])) != 0 && line[2] == ' ';
}

void merge_block_line(const merge_target *target, const char *line, child_slot *slot)
{
    const int32_t number = slot->hex_lines++;
    if (number >= BLOCK_LINES)
        return;
    device_record *record = device_list_find_or_add(target->devices, slot->target_ip);
    if (record != nullptr) {
        const size_t offset = BLOCK_LINE_BYTES * static_cast<size_t>(number);
        const size_t room = sizeof record->scan_info - offset;
        hex_to_bytes(record->scan_info + offset, room < BLOCK_LINE_BYTES ? room : BLOCK_LINE_BYTES,
                     line);
    }
}

int hex_value(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

} // namespace

void merge_discovery_line(const merge_target *target, char *line, int slot)
{
    char *label = strstr(line, "ip:");
    if (label == nullptr || line[0] == '#')
        return;
    char *address = label + strnlen(label, strlen("ip: "));
    const size_t address_length = strcspn(address, " \t");
    char key[LINE_SIZE];
    safe_strncpy(key, address, address_length + 1);
    device_record *record = device_list_find_or_add(target->devices, key);
    if (record == nullptr)
        return;

    merge_snmp_numbers(record, line);
    merge_slp_numbers(record, line);
    if (slot <= LAST_SNMP_SLOT && !is_real(record->dsc))
        desc_queue_add(target->queue, record->ip, target->scanner);

    char *dsc_label = strstr(line, "dsc:");
    if (dsc_label == nullptr)
        return;
    char *text = dsc_label + strnlen(dsc_label, strlen("dsc: \""));
    char *quote = strchr(text, '"');
    if (quote != nullptr) {
        *quote = '\0';
        if (quote != text)
            merge_dsc(record, text, target->scanner);
    }
    merge_vendor(record, line);
}

void merge_desc_line(const merge_target *target, char *line, int slot)
{
    if (strstr(line, "ip: ") != nullptr)
        merge_description(target, line);
    else if (is_block_line(line))
        merge_block_line(target, line, &target->slots[slot]);
}

size_t hex_to_bytes(uint8_t *destination, size_t maximum, const char *text)
{
    size_t written = 0;
    int high = -1;
    for (const char *c = text; *c != '\0' && *c != '\n'; ++c) {
        const int value = hex_value(*c);
        if (value < 0 || high < 0) {
            high = value;
            continue;
        }
        if (written == maximum)
            break;
        destination[written++] = static_cast<uint8_t>(high << 4 | value);
        high = -1;
    }
    return written;
}

void finish_descriptions(device_list *devices)
{
    for (list_node *node = *devices; node != nullptr; node = node->next) {
        char *mark = strchr(static_cast<device_record *>(node->data)->dsc, PROVISIONAL_MARK);
        if (mark != nullptr)
            *mark = ' ';
    }
}
