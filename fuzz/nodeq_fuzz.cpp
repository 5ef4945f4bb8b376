// Fuzzes the reader of nodeq answers. An input is datagrams, from two devices by turns.
#include "nodeq/nodeq_packet.h"
#include "printed_line.h"

#include <algorithm>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr uint32_t FIRST_SOURCE = 0xfffffffe;
    device_list devices = nullptr;
    for (size_t at = 0; at <= size; at += NODEQ_ANSWER_SIZE) {
        // Of its own length, so that no read past its end goes unnoticed.
        const std::vector<uint8_t> answer(data + at, data + std::min(at + NODEQ_ANSWER_SIZE, size));
        device_record scratch = {};
        nodeq_parse_answer(answer.data(), answer.size(), FIRST_SOURCE + at / NODEQ_ANSWER_SIZE % 2,
                           &scratch);
        require(memchr(scratch.nodeq_text_a, '\0', NODEQ_TEXT_SIZE) != nullptr &&
                    memchr(scratch.nodeq_text_b, '\0', NODEQ_TEXT_SIZE) != nullptr,
                "terminated texts");
        device_record *record = device_list_find_or_add(&devices, scratch.ip);
        nodeq_merge_answer(record, &scratch);
        require(record->nodeq_detected == 1 &&
                    strcmp(record->nodeq_text_a, scratch.nodeq_text_a) == 0 &&
                    strcmp(record->nodeq_text_b, scratch.nodeq_text_b) == 0,
                "the latest texts");
    }
    carry_to_report(&devices, slot_of("nodeq"));
    return 0;
}
