// What a fuzz target's devices become: the lines of the child that heard them, and the report of
// the parent that reads those. Whatever the bytes, a reader of either finds the same fields.
#pragma once

#include "driver/lines.h"
#include "driver/merge.h"
#include "driver/slots.h"

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// Ends the run, which shows the input at fault, unless the rule holds.
inline void require(bool holds, const char *rule, std::string_view text)
{
    if (holds)
        return;
    fprintf(stderr, "broken: %s: <%.*s>\n", rule, static_cast<int>(text.size()), text.data());
    abort();
}

/// Returns what `print` writes on standard output.
template<typename Print>
std::string printed(Print print)
{
    char *text = nullptr;
    size_t size = 0;
    FILE *const standard_output = stdout;
    stdout = open_memstream(&text, &size);
    print();
    fclose(stdout);
    stdout = standard_output;
    std::string result(text, size);
    free(text);
    return result;
}

inline void require_one_clean_line(std::string_view line)
{
    require(line.find('\n') + 1 == line.size(), "one line", line);
    for (const char c : line.substr(0, line.size() - 1)) {
        const auto byte = static_cast<unsigned char>(c);
        require(byte >= 0x20 && byte != 0x7f, "no control byte", line);
    }
}

/// Takes the text before the first `end` off the line's front, and `end` with it.
inline std::string_view take_until(std::string_view *line, std::string_view end)
{
    const size_t length = line->find(end);
    require(length != std::string_view::npos, end.data(), *line);
    const std::string_view text = line->substr(0, length);
    line->remove_prefix(length + end.size());
    return text;
}

inline void require_numbers(std::string_view text, int count)
{
    for (int i = 0; i < count; ++i) {
        const std::string_view number = i + 1 < count ? take_until(&text, ",") : text;
        require(!number.empty() && number.size() <= 3 &&
                    number.find_first_not_of("0123456789") == std::string_view::npos,
                "small numbers", number);
    }
}

struct line_texts {
    std::string ip, vendor, dsc;
};

/// Reads a device line. A description may hold quotes in a child's line: it ends with the line.
inline line_texts read_printed_line(std::string_view line)
{
    require_one_clean_line(line);
    require(take_until(&line, "ip: ").empty(), "begins with the address", line);
    std::string_view ip = take_until(&line, " slp: ");
    ip = ip.substr(0, ip.find_last_not_of(' ') + 1);
    require_numbers(take_until(&line, " snmp: "), 4);
    require_numbers(take_until(&line, " vendor: "), 3);
    const std::string_view vendor = take_until(&line, " dsc: \"");
    require(line.size() >= 2 && line.substr(line.size() - 2) == "\"\n", "ends with a quote", line);
    return {std::string(ip), std::string(vendor), std::string(line.substr(0, line.size() - 2))};
}

/// Prints each device's line and reads it again.
inline std::vector<line_texts> read_report(device_list devices, std::vector<std::string> *lines)
{
    std::vector<line_texts> report;
    for (const list_node *node = devices; node != nullptr; node = node->next) {
        lines->push_back(
            printed([&] { print_device_line(static_cast<const device_record *>(node->data)); }));
        report.push_back(read_printed_line(lines->back()));
    }
    return report;
}

/// Hands a line to the parent as it comes through the pipe, in memory of its own length.
inline void hand_over(const merge_target &target, const std::string &line, int slot)
{
    require(line.size() < PIPE_LINE_SIZE, "fits the pipe", line);
    std::vector<char> buffer(line.c_str(), line.c_str() + line.size() + 1);
    merge_line(&target, buffer.data(), slot);
}

/// Carries the devices that the child of a slot heard through to the parent's report and frees
/// them. A description that is not empty is given to each of them by a description child. In the
/// report address and vendor are one word and no quote is within the description, so that the
/// quotes pair; no device is listed under an address that was not heard.
inline void carry_to_report(device_list *heard, int slot, const char *description = "")
{
    device_list listed = nullptr;
    desc_queue queue = nullptr;
    child_slot slots[CHILD_SLOT_COUNT] = {};
    const merge_target target = {&listed, &queue, slots, 0, 0};
    std::vector<std::string> lines;
    std::set<std::string> known;
    for (const line_texts &device : read_report(*heard, &lines))
        known.insert(device.ip.substr(0, device.ip.find(' ')));
    for (const std::string &line : lines)
        hand_over(target, line, slot);
    for (const std::string &ip : known) {
        if (description[0] == '\0')
            break;
        const std::string line = printed([&] { print_description_line(ip.c_str(), description); });
        require_one_clean_line(line);
        hand_over(target, line, FIRST_DESC_SLOT);
    }
    finish_descriptions(&listed);
    for (const line_texts &device : read_report(listed, &lines)) {
        require(known.count(device.ip) == 1, "an address that was heard", device.ip);
        require(device.vendor.find(' ') == std::string::npos, "one word", device.vendor);
        require(device.dsc.find('"') == std::string::npos, "no quote within", device.dsc);
    }
    list_free(&listed);
    list_free(&queue);
    list_free(heard);
}
