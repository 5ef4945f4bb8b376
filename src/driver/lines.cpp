// The lines that a child prints and its parent reads.
#include "driver/lines.h"

#include "config/printable.h"
#include "config/text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr int ADDRESS_COLUMNS = 15;        ///< what an IPv4 address takes at most
constexpr size_t NUMBERS_SIZE = 255;       ///< longer texts between two labels are no numbers
constexpr char FAILURE_LABEL[] = "ERROR:"; ///< in the line of a description child that fails

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
    copy_part(numbers, start, static_cast<size_t>(end - start), sizeof numbers);
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

void read_slp_numbers(const char *line, device_line *read)
{
    char text[NUMBERS_SIZE];
    long numbers[4];
    if (!copy_between(line, "slp: ", " snmp:", text) || !read_numbers(text, numbers, 4))
        return;
    for (int i = 0; i < 4; ++i)
        read->slp[i] = numbers[i] != 0;
}

void read_snmp_numbers(const char *line, device_line *read)
{
    char text[NUMBERS_SIZE];
    long numbers[3];
    if (!copy_between(line, "snmp: ", " vendor:", text) || !read_numbers(text, numbers, 3))
        return;
    read->has_snmp = true;
    for (int i = 0; i < 3; ++i)
        read->snmp[i] = static_cast<uint8_t>(numbers[i]);
}

/// Reads the text between the quotes and cuts the line behind it; a text that no quote ends was
/// cut and is none.
void read_dsc(char *line, device_line *read)
{
    char *label = strstr(line, "dsc:");
    if (label == nullptr)
        return;
    char *text = label + strnlen(label, strlen("dsc: \""));
    char *quote = strchr(text, '"');
    if (quote != nullptr)
        *quote = '\0';
    read->dsc = quote != nullptr ? text : "";
}

/// A word that no blank ends was cut and is none.
void read_vendor(const char *line, device_line *read)
{
    constexpr char LABEL[] = "vendor: ";
    const char *label = strstr(line, LABEL);
    read->has_vendor = label != nullptr;
    if (label == nullptr)
        return;
    const char *word = label + strlen(LABEL);
    const char *blank = strchr(word, ' ');
    if (blank == nullptr)
        return;
    copy_part(read->vendor, word, static_cast<size_t>(blank - word), sizeof read->vendor);
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

void print_device_line(const device_record *record)
{
    char ip[printable_size(sizeof record->ip)];
    char vendor[printable_size(sizeof record->vendor)];
    char dsc[printable_size(sizeof record->dsc)];
    printf("ip: %-*s slp: %d,%d,%d,%d snmp: %d,%d,%d vendor: %s dsc: \"%s\"\n", ADDRESS_COLUMNS,
           printable_text(ip, record->ip, sizeof ip), record->slp_detected, record->slp_ipp,
           record->slp_lpr, record->slp_raw_tcp, record->snmp_detected, record->snmp_devtype,
           record->snmp_description, printable_text(vendor, record->vendor, sizeof vendor),
           printable_text(dsc, record->dsc, sizeof dsc));
}

bool read_device_line(char *line, device_line *read)
{
    const char *label = strstr(line, "ip:");
    if (label == nullptr || line[0] == '#')
        return false;
    *read = {};
    const char *address = label + strnlen(label, strlen("ip: "));
    copy_part(read->ip, address, strcspn(address, " \t"), sizeof read->ip);
    read_slp_numbers(line, read);
    read_snmp_numbers(line, read);
    read_dsc(line, read);
    read_vendor(line, read);
    return true;
}

void print_description_line(const char *ip, const char *dsc)
{
    char address[PIPE_LINE_SIZE];
    char held[DSC_SIZE];
    char text[printable_size(sizeof held)];
    copy_part(held, dsc, strlen(dsc), sizeof held);
    printf("ip: %-*s dsc: \"%s\"\n", ADDRESS_COLUMNS, printable_text(address, ip, sizeof address),
           printable_text(text, held, sizeof text));
}

void print_unreachable_line(const char *ip)
{
    char address[PIPE_LINE_SIZE];
    // The two blanks and the error behind the closing quote are the form that parents look for.
    printf("ip: %-*s  dsc: \" \" %s Destination unreachable\n", ADDRESS_COLUMNS,
           printable_text(address, ip, sizeof address), FAILURE_LABEL);
}

bool read_description_line(char *line, description_line *read)
{
    constexpr char IP_LABEL[] = "ip: ";
    constexpr char DSC_LABEL[] = "dsc: \"";
    char *address = strstr(line, IP_LABEL);
    if (address == nullptr)
        return false;
    address += strlen(IP_LABEL);
    char *label = strstr(address, DSC_LABEL);
    if (label == nullptr)
        return false;
    char *text = label + strlen(DSC_LABEL);
    if (text[0] == '\0' || text[0] == '"' || text[0] == '\n')
        return false;

    char *address_end = label;
    while (address_end > address && (address_end[-1] == ' ' || address_end[-1] == '\t'))
        --address_end;
    *address_end = '\0';

    char *text_end = strchr(text, '"');
    if (text_end == nullptr)
        text_end = text + strcspn(text, "\n");
    const char *rest = *text_end == '\0' ? text_end : text_end + 1;
    *text_end = '\0';

    read->ip = address;
    read->dsc = text;
    read->failed =
        strstr(text + 1, FAILURE_LABEL) != nullptr || strstr(rest, FAILURE_LABEL) != nullptr;
    return true;
}

int print_hex_block(FILE *stream, const uint8_t *bytes, int count)
{
    if (stream == nullptr)
        return 0;
    constexpr auto LINE_BYTES = static_cast<int>(HEX_LINE_BYTES);
    for (int i = 0; i < count; ++i) {
        const bool ends_line = i + 1 == count || (i + 1) % LINE_BYTES == 0;
        fprintf(stream, "%02x%c", bytes[i], ends_line ? '\n' : ' ');
    }
    return 0;
}

bool is_hex_line(const char *line)
{
    return hex_value(line[0]) >= 0 && hex_value(line[1]) >= 0 && line[2] == ' ' &&
           strstr(line, "ip: ") == nullptr;
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
