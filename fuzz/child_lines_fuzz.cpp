// Fuzzes the parent's reading of its children's lines, up to the report. An input is a byte whose
// lowest bit asks for scanners, and the output of one child after another, each ended by "|".
#include "config/text.h"
#include "driver/merge_loop.h"
#include "driver/report.h"
#include "printed_line.h"

#include <algorithm>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

/// A remark, a device or a line of a scanner's block. What no device's child would print can put
/// blanks and labels into the other texts; the last one still lies between the last two quotes.
const line_pattern
    ANY_LINE("^(#|ip: [^[:cntrl:]]* dsc: \"[^\"[:cntrl:]]*\"$|([0-9a-f]{2}( |$)){1,16}$)");

/// A stream that brings `output` and its end, as a child's pipe does.
FILE *stream_of(std::string_view output)
{
    const int fd = memfd_create("output", MFD_CLOEXEC);
    require(pwrite(fd, output.data(), output.size(), 0) == static_cast<ssize_t>(output.size()),
            "a file in memory");
    return fdopen(fd, "r");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    static parent_run run;
    run.settings.scanner = !rest.empty() && (rest[0] & 1) != 0;
    rest.remove_prefix(rest.empty() ? 0 : 1);
    // SNMP children's lines would start further children: theirs come last, of any output.
    for (const int slot :
         {slot_of("slp"), slot_of("nodeq"), FIRST_DESC_SLOT, FIRST_DESC_SLOT + 1, LAST_DESC_SLOT}) {
        const size_t length = rest.find('|');
        run.slots[slot].stream = stream_of(rest.substr(0, length));
        run.slots[slot].pending_length = 0;
        run.slots[slot].at_end = 0;
        safe_strncpy(run.slots[slot].target_ip, "10.0.0.1", IP_SIZE);
        rest.remove_prefix(length == std::string_view::npos ? rest.size() : length + 1);
    }
    merge_child_output(&run);
    while (!rest.empty()) {
        const size_t length = std::min({rest.find('\n'), rest.size() - 1, PIPE_LINE_SIZE - 2}) + 1;
        for (const int slot : {slot_of("snmp"), FIRST_DESC_SLOT})
            hand_over(&run, std::string(rest.substr(0, length)), slot);
        rest.remove_prefix(length);
    }
    finish_descriptions(&run.devices);
    for (const std::string &line :
         printed([&] { print_report(run.devices, 0, run.settings.scanner ? 1 : 0); }))
        matched(ANY_LINE, line);
    list_free(&run.devices);
    list_free(&run.queue);
    run.device_index = {};
    run.queue_index = {};
    return 0;
}
