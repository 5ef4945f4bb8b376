// What a fuzz target's devices become: the lines of the child that heard them, and the report of
// the parent that reads those. Whatever the bytes, both keep to their grammar.
#pragma once

#include "driver/lines.h"
#include "driver/merge.h"

#include <cstdio>
#include <cstdlib>
#include <regex.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

/// Ends the run, which shows the input at fault, unless the rule holds.
inline void require(bool holds, const char *rule, const std::string &text = "")
{
    if (holds)
        return;
    fprintf(stderr, "broken: %s: <%s>\n", rule, text.c_str());
    abort();
}

/// An extended regular expression.
struct line_pattern {
    std::string text;
    regex_t compiled = {};

    explicit line_pattern(const std::string &expression) : text(expression)
    {
        require(regcomp(&compiled, text.c_str(), REG_EXTENDED) == 0, "a pattern", text);
    }
    ~line_pattern()
    {
        regfree(&compiled);
    }

    bool matches(const std::string &line) const
    {
        return regexec(&compiled, line.c_str(), 0, nullptr, 0) == 0;
    }
};

/// UTF-8 without ASCII's control characters.
inline const line_pattern
    VALID_UTF8("^([\x20-\x7e]|[\xc2-\xdf][\x80-\xbf]|\xe0[\xa0-\xbf][\x80-\xbf]|"
               "[\xe1-\xec\xee\xef][\x80-\xbf]{2}|\xed[\x80-\x9f][\x80-\xbf]|"
               "\xf0[\x90-\xbf][\x80-\xbf]{2}|[\xf1-\xf3][\x80-\xbf]{3}|"
               "\xf4[\x80-\x8f][\x80-\xbf]{2})*$");

/// What must not stand in UTF-8: control characters, separators of lines, marks of direction.
inline const line_pattern
    CONTROL_CHARACTER("\xc2[\x80-\x9f]|\xe2\x80[\xa8-\xae]|\xe2\x81[\xa6-\xa9]");

inline const std::string LINE_NUMBERS =
    " slp: [01](,[01]){3} snmp: [0-9]{1,3}(,[0-9]{1,3}){2} vendor: ";

/// A child's texts are what devices say, quotes included: the description ends with the line.
inline const line_pattern CHILD_LINE("^ip: ([^ [:cntrl:]]*)[^[:cntrl:]]*" + LINE_NUMBERS +
                                     "[^[:cntrl:]]* dsc: \"[^[:cntrl:]]*\"$");

/// In the report address and vendor are one word and no quote is within the description, so that
/// whoever reads from the left finds each field.
inline const line_pattern REPORT_LINE("^ip: ([^ [:cntrl:]]*) *" + LINE_NUMBERS +
                                      "[^ [:cntrl:]]* dsc: \"[^\"[:cntrl:]]*\"$");

/// Returns what the pattern's first group matches in the line, which must match.
inline std::string matched(const line_pattern &pattern, const std::string &line)
{
    require(VALID_UTF8.matches(line) && !CONTROL_CHARACTER.matches(line), "plain text", line);
    regmatch_t groups[2];
    require(regexec(&pattern.compiled, line.c_str(), 2, groups, 0) == 0, pattern.text.c_str(),
            line);
    return {line, static_cast<size_t>(groups[1].rm_so),
            static_cast<size_t>(groups[1].rm_eo - groups[1].rm_so)};
}

/// Returns the lines that `print` writes on standard output.
template<typename Print>
std::vector<std::string> printed(Print print)
{
    char *text = nullptr;
    size_t size = 0;
    FILE *const standard_output = stdout;
    stdout = open_memstream(&text, &size);
    print();
    fclose(stdout);
    stdout = standard_output;
    std::istringstream stream(std::string(text, size));
    free(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// The slot of the method with that word.
inline int slot_of(std::string_view word)
{
    for (const method &m : METHODS) {
        if (m.word == word)
            return m.slot;
    }
    require(false, "a method", std::string(word));
    return -1;
}

inline void print_devices(device_list devices)
{
    for (const list_node *node = devices; node != nullptr; node = node->next)
        print_device_line(static_cast<const device_record *>(node->data));
}

/// Hands a line to the parent as it comes through the pipe, in memory of its own length.
inline void hand_over(parent_run *run, const std::string &line, int slot)
{
    require(line.size() < PIPE_LINE_SIZE, "a line that fits", line);
    std::vector<char> buffer(line.c_str(), line.c_str() + line.size() + 1);
    merge_line(run, buffer.data(), slot);
}

/// Carries the devices that the child of a slot heard through to the parent's report and frees
/// them. A description that is not empty is given to each of them by a description child. No
/// device is listed under an address that was not heard.
inline void carry_to_report(device_list *heard, int slot, const std::string &description = "")
{
    static parent_run run;
    std::set<std::string> known;
    for (const std::string &line : printed([&] { print_devices(*heard); })) {
        known.insert(matched(CHILD_LINE, line));
        hand_over(&run, line + "\n", slot);
    }
    for (const std::string &ip : known) {
        if (description.empty())
            break;
        const auto lines =
            printed([&] { print_description_line(ip.c_str(), description.c_str()); });
        require(lines.size() == 1, "one line", description);
        hand_over(&run, lines[0] + "\n", FIRST_DESC_SLOT);
    }
    finish_descriptions(&run.devices);
    for (const std::string &line : printed([&] { print_devices(run.devices); }))
        require(known.count(matched(REPORT_LINE, line)) == 1, "an address that was heard", line);
    list_free(&run.devices);
    list_free(&run.queue);
    run.device_index = {};
    run.queue_index = {};
    list_free(heard);
}
