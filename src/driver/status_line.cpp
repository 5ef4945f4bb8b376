// The line that tells how far a parent is: on standard error, where that is a terminal.
#include "driver/status_line.h"

#include "config/text.h"
#include "config/thorough.h"
#include "io/wait.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

constexpr size_t STATUS_SIZE = 256;
constexpr size_t DEFAULT_COLUMNS = 80;
constexpr int MANY_REQUESTS = 30;
constexpr int64_t REFRESH_US = 100 * MICROSECONDS_PER_MILLISECOND;

char shown[STATUS_SIZE];     ///< what stands on the terminal; empty: nothing
bool quick_named = false;    ///< whether the option for long queues was told of
int64_t next_refresh_us = 0; ///< not earlier than this

/// Whether the terminal is the process's to write on. A shell takes it back for a job that runs in
/// the background.
bool has_terminal()
{
    const pid_t foreground = tcgetpgrp(STDERR_FILENO);
    return foreground < 0 || foreground == getpgrp();
}

/// Characters of the longest status. In the last column the cursor of some terminals goes on to the
/// next line.
size_t status_width()
{
    struct winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        size.ws_col = DEFAULT_COLUMNS;
    return std::min<size_t>(size.ws_col - 1U, STATUS_SIZE - 1);
}

/// A terminal that is held (Ctrl-S) takes nothing; waiting for it would hold the run too.
bool can_write()
{
    struct pollfd terminal = {STDERR_FILENO, POLLOUT, 0};
    return poll(&terminal, 1, 0) > 0 && (terminal.revents & POLLOUT) != 0;
}

/// Writes `status` over what is shown, with the carriage return as the only control character. It
/// leaves the cursor at the start of the line, where an echoed "^C" cannot break the line. Returns
/// whether that was done.
bool write_status(const char *status)
{
    if (!can_write())
        return false;
    const int old_length = static_cast<int>(std::min(strlen(shown), status_width()));
    char text[STATUS_SIZE + 2];
    const int length = snprintf(text, sizeof text, "\r%-*s\r", old_length, status);
    if (write(STDERR_FILENO, text, static_cast<size_t>(length)) != length)
        return false;
    safe_strncpy(shown, status, sizeof shown);
    return true;
}

int count_devices(const parent_run *run)
{
    int count = 0;
    for (const list_node *node = run->devices; node != nullptr; node = node->next) {
        const auto *record = static_cast<const device_record *>(node->data);
        count += record->scan_info[0] != UNREACHABLE_MARK ? 1 : 0;
    }
    return count;
}

/// Queued addresses whose probe or child has not ended yet, but for those that a child for many has
/// told of.
int count_requests(const parent_run *run)
{
    int count = static_cast<int>(run->quick.probes.running);
    for (const list_node *node = run->queue; node != nullptr; node = node->next)
        count += static_cast<const desc_request *>(node->data)->started == 0 ? 1 : 0;
    for (const child_slot &slot : run->slots) {
        count += slot.stream != nullptr ? slot.addresses_left : 0;
    }
    return count;
}

/// Tells of the option for long queues, above the status line. Returns whether that was done.
bool name_quick_option()
{
    if (!write_status(""))
        return false;
    fprintf(stderr, "devscout: more than %d devices to ask, three at a time: --quick is faster\n",
            MANY_REQUESTS);
    return true;
}

void compose_status(const parent_run *run, int requests, char *status, size_t size)
{
    status[0] = '\0';
    for (int i = 0; i < CHILD_SLOT_COUNT; ++i) {
        const child_slot &slot = run->slots[i];
        const size_t found_by = slot_method(i);
        if (slot.stream == nullptr || slot.target_ip[0] != '\0' || found_by == METHOD_COUNT)
            continue;
        append_text(status, METHODS[found_by].word, size);
        append_text(status, " ", size);
    }
    char counts[64];
    const int devices = count_devices(run);
    snprintf(counts, sizeof counts, "%s%d device%s", status[0] != '\0' ? " " : "", devices,
             devices == 1 ? "" : "s");
    append_text(status, counts, size);
    if (requests > 0) {
        snprintf(counts, sizeof counts, "  %d to %s", requests,
                 run->settings.scanner ? "inquire" : "describe");
        append_text(status, counts, size);
    }
}

} // namespace

int64_t show_status(const parent_run *run)
{
    static const bool at_terminal = isatty(STDERR_FILENO) != 0;
    if (!at_terminal)
        return -1;
    const int64_t now = monotonic_us();
    if (now < next_refresh_us)
        return next_refresh_us - now;
    const int requests = count_requests(run);
    char status[STATUS_SIZE];
    compose_status(run, requests, status, std::min(sizeof status, status_width() + 1));
    if (strcmp(status, shown) == 0)
        return -1;
    if (!has_terminal()) {
        shown[0] = '\0';
        return -1;
    }
    if (requests > MANY_REQUESTS && !run->settings.quick && !g_thorough && !quick_named)
        quick_named = name_quick_option();
    next_refresh_us = now + REFRESH_US;
    return write_status(status) ? -1 : REFRESH_US;
}

void erase_status()
{
    if (shown[0] != '\0' && has_terminal())
        write_status("");
    shown[0] = '\0';
}

void make_way_for_output()
{
    if (isatty(STDOUT_FILENO) != 0)
        erase_status();
}
