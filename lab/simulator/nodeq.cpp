// The simulated devices' nodeq side.
#include "simulator/nodeq.h"

#include <cstring>
#include <map>

#include "io/wait.h"
#include "simulator/send_queue.h"

constexpr size_t ANSWER_SIZE = 65;
constexpr size_t TEXT_A_OFFSET = 7;
constexpr size_t TEXT_B_OFFSET = 27;
constexpr unsigned char ANSWER_HEAD[TEXT_A_OFFSET] = {0x03, 0x00, 0x00, 0xF1, 0xAF, 0xFF, 0xFF};

// How many requests each device has received, by its index in the fleet.
static std::map<size_t, long> requests_of;

// The text of one field: the first request may have an answer of its own.
static std::string field_text(const device &one, const std::string &field, bool first)
{
    const std::string first_key = "nodeq.first." + field;
    if (first && device_has(one, first_key))
        return device_text(one, first_key);
    return device_text(one, "nodeq." + field);
}

static std::string build_answer(const device &one, bool first)
{
    if (device_has(one, "nodeq.hex"))
        return device_bytes(one, "nodeq.hex");
    std::string answer(ANSWER_SIZE, '\0');
    memcpy(answer.data(), ANSWER_HEAD, sizeof ANSWER_HEAD);
    const std::string text_a = field_text(one, "a", first);
    const std::string text_b = field_text(one, "b", first);
    answer.replace(TEXT_A_OFFSET, text_a.size(), text_a);
    answer.replace(TEXT_B_OFFSET, text_b.size(), text_b);
    answer.resize(static_cast<size_t>(device_number(one, "nodeq.length", ANSWER_SIZE)), '\0');
    return answer;
}

void nodeq_answer_request(const fleet &devices, const udp_socket &by, const datagram &request)
{
    for (const asked_device &asked : udp_asked_devices(devices, request)) {
        const device &one = devices.devices[asked.index];
        if (!device_has_any(one, "nodeq"))
            continue;
        const bool first = requests_of[asked.index]++ == 0;
        const std::string answer = build_answer(one, first);
        const long copies =
            device_number(one, "nodeq.flood", device_number(one, "nodeq.repeat", 1));
        const int64_t delay = device_number(one, "nodeq.delay", 0) * MICROSECONDS_PER_MILLISECOND;
        for (long copy = 0; copy < copies; ++copy)
            send_queue_add(by, asked.from, request.source, answer, delay);
    }
}
