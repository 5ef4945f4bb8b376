// What the parent tells of children that fail: on standard error, once for each method.
#include "driver/failures.h"

#include "config/printable.h"
#include "config/text.h"
#include "io/interfaces.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/wait.h>

namespace
{

/// How a shell's exit status tells of the command that it ran.
constexpr int SHELL_CANNOT_EXECUTE = 126;
constexpr int SHELL_NOT_FOUND = 127;
constexpr int SHELL_SIGNAL_BASE = 128;

/// The beginnings of the lines in which children report an error.
constexpr const char *ERROR_BEGINNINGS[] = {"# ERROR:", "ERROR:", "Error"};

/// The part of a report that says why: what stands behind "... failed, " or "... failed: ", else
/// all of it.
const char *find_reason(const char *report)
{
    const char *failed = strstr(report, "failed");
    const char *end = failed != nullptr ? strpbrk(failed, ",:") : nullptr;
    return end != nullptr ? end + 1 : report;
}

void keep(char (&reason)[REASON_SIZE], const char *text)
{
    if (reason[0] == '\0')
        safe_strncpy(reason, text, sizeof reason);
}

/// The signal that has ended a child, or the command of its shell; 0: none.
int ending_signal(int wait_status)
{
    if (WIFSIGNALED(wait_status))
        return WTERMSIG(wait_status);
    const int status = WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 0;
    return status > SHELL_SIGNAL_BASE ? status - SHELL_SIGNAL_BASE : 0;
}

/// Whether an interface besides the loopback has an IPv6 address.
bool has_ipv6(const host_interfaces &list)
{
    return std::any_of(
        list.addresses, list.addresses + list.address_count, [&](const host_address &address) {
            const host_interface *of = find_host_interface(&list, address.interface);
            return address.family == AF_INET6 && of != nullptr && (of->flags & IFF_LOOPBACK) == 0;
        });
}

} // namespace

void note_failing_line(char (&reason)[REASON_SIZE], const char *line)
{
    for (const char *beginning : ERROR_BEGINNINGS) {
        if (!begins_with(line, beginning))
            continue;
        // The word "Error" is part of what follows, the others are not.
        const char *report = strchr(beginning, ':') != nullptr ? line + strlen(beginning) : line;
        const char *text = find_reason(report);
        text += strspn(text, " ");
        char printable[REASON_SIZE];
        copy_part(printable, text, strcspn(text, "\n"), sizeof printable);
        char shown[REASON_SIZE];
        keep(reason, printable_text(shown, printable, sizeof shown));
        return;
    }
}

void note_failing_end(char (&reason)[REASON_SIZE], int wait_status)
{
    const int exit_status = WIFEXITED(wait_status) ? WEXITSTATUS(wait_status) : 0;
    if (ended_by_signal(wait_status))
        keep(reason, strsignal(ending_signal(wait_status)));
    else if (exit_status == SHELL_CANNOT_EXECUTE || exit_status == SHELL_NOT_FOUND)
        keep(reason, "cannot be started");
}

bool ended_by_signal(int wait_status)
{
    return ending_signal(wait_status) != 0;
}

void add_failure(failure_notes *notes, int slot, int devices, const char *reason)
{
    if (reason[0] == '\0')
        return;
    if (devices > 0) {
        notes->device_count += devices;
        keep(notes->devices, reason);
    } else if (slot_method(slot) < METHOD_COUNT) {
        keep(notes->methods[slot_method(slot)], reason);
    }
}

void tell_failures(const failure_notes &notes, const bool (&selected)[METHOD_COUNT], bool scanner)
{
    const host_interface_list interfaces = list_host_interfaces();
    if (!interfaces && errno != ENOMEM)
        fprintf(stderr, "devscout: the interfaces cannot be listed: %s\n", strerror(errno));
    const bool host_has_ipv6 = !interfaces || has_ipv6(*interfaces);
    bool some_could_ask = false;
    for (size_t i = 0; i < METHOD_COUNT; ++i)
        some_could_ask |= selected[i] && notes.methods[i][0] == '\0';
    for (size_t i = 0; i < METHOD_COUNT; ++i) {
        const bool ipv6 = METHODS[i].family == AF_INET6;
        if (notes.methods[i][0] != '\0' && !(ipv6 && some_could_ask && !host_has_ipv6))
            fprintf(stderr, "devscout: %s: %s\n", METHODS[i].word, notes.methods[i]);
    }
    if (notes.device_count > 0)
        fprintf(stderr, "devscout: %s %d device%s: %s\n", scanner ? "inquiring" : "describing",
                notes.device_count, notes.device_count == 1 ? "" : "s", notes.devices);
}
