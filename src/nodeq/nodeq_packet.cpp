// The nodeq request and answer: built and read here, and carried into device records.
#include "nodeq/nodeq_packet.h"

#include "config/text.h"
#include "config/utf8.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace
{

constexpr uint8_t REQUEST_HEADER[] = {0x03, 0x00, 0x00, 0xF0, 0xAF, 0xFF, 0xFF};
constexpr size_t TEXT_A_OFFSET = 7;
constexpr size_t TEXT_B_OFFSET = TEXT_A_OFFSET + NODEQ_TEXT_SIZE;
constexpr size_t IPV4_TEXT_SIZE = 16;

/// Copies the field at `offset`: up to its first NUL, its width less one, or the answer's end.
void copy_text(const uint8_t *answer, size_t length, size_t offset, char (&text)[NODEQ_TEXT_SIZE])
{
    if (offset >= length)
        return;
    char field[NODEQ_TEXT_SIZE + 1] = "";
    memcpy(field, answer + offset, std::min(length - offset, NODEQ_TEXT_SIZE));
    safe_strncpy(text, field, sizeof text);
}

/// Copies a text of an answer without the character that the field's end cuts off. It goes before
/// anything follows it: behind that nobody could tell any more.
void copy_uncut(char (&copy)[NODEQ_TEXT_SIZE], const char (&text)[NODEQ_TEXT_SIZE])
{
    const size_t length = strlen(text);
    const bool filled = length == sizeof text - 1;
    copy_part(copy, text, filled ? utf8_uncut(text, length) : length, sizeof copy);
}

} // namespace

void nodeq_build_request(uint8_t (&request)[NODEQ_REQUEST_SIZE])
{
    memset(request, 0, sizeof request);
    memcpy(request, REQUEST_HEADER, sizeof REQUEST_HEADER);
}

int nodeq_parse_answer(const uint8_t *answer, size_t length, uint32_t source,
                       device_record *scratch)
{
    safe_strncpy(scratch->ip, ipv4_to_text(source), sizeof scratch->ip);
    copy_text(answer, length, TEXT_A_OFFSET, scratch->nodeq_text_a);
    copy_text(answer, length, TEXT_B_OFFSET, scratch->nodeq_text_b);
    scratch->nodeq_detected = 1;
    return 0;
}

void nodeq_merge_answer(device_record *record, const device_record *scratch)
{
    if (scratch->nodeq_detected != 0)
        record->nodeq_detected = 1;
    memcpy(record->nodeq_text_a, scratch->nodeq_text_a, sizeof record->nodeq_text_a);
    memcpy(record->nodeq_text_b, scratch->nodeq_text_b, sizeof record->nodeq_text_b);
    if (record->record_state == 0) {
        nodeq_compose_dsc(record, scratch);
        record->record_state = RECORD_NODEQ_COMPOSED;
    }
}

void nodeq_compose_dsc(device_record *record, const device_record *scratch)
{
    char text_a[NODEQ_TEXT_SIZE];
    char text_b[NODEQ_TEXT_SIZE];
    copy_uncut(text_a, scratch->nodeq_text_a);
    copy_uncut(text_b, scratch->nodeq_text_b);
    char composed[2 * NODEQ_TEXT_SIZE + sizeof "#[] "] = "";
    if (text_a[0] != '\0' && text_b[0] != '\0')
        snprintf(composed, sizeof composed, "#[%s] %s", text_a, text_b);
    else if (text_a[0] != '\0')
        snprintf(composed, sizeof composed, "#[%s]", text_a);
    else if (text_b[0] != '\0')
        snprintf(composed, sizeof composed, "#%s", text_b);
    append_text(record->dsc, composed, sizeof record->dsc);
}

const char *ipv4_to_text(uint32_t address)
{
    static char text[IPV4_TEXT_SIZE];
    snprintf(text, sizeof text, "%u.%u.%u.%u", address >> 24, address >> 16 & 0xFF,
             address >> 8 & 0xFF, address & 0xFF);
    return text;
}
