// Bounded waits for descriptors, and the clock that they are measured by.
#include "io/wait.h"

#include "io/output.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>

int64_t monotonic_us()
{
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * MICROSECONDS_PER_SECOND + now.tv_nsec / 1000;
}

struct timespec timespec_of(int64_t us)
{
    // Both fields have 32 bits on some systems.
    return {static_cast<time_t>(us / MICROSECONDS_PER_SECOND),
            static_cast<long>(us % MICROSECONDS_PER_SECOND * 1000)};
}

int64_t shorter_wait(int64_t a_us, int64_t b_us)
{
    return a_us < 0 || b_us < 0 ? std::max(a_us, b_us) : std::min(a_us, b_us);
}

int wait_or_end(int fd, short events, int64_t timeout_us)
{
    struct pollfd waited = {fd, events, 0};
    return wait_or_end_any(&waited, 1, timeout_us);
}

int wait_or_end_any(struct pollfd *waited, size_t count, int64_t timeout_us)
{
    if (timeout_us < 0)
        timeout_us = 0;
    count = std::min(count, WAITED_MAX);
    struct pollfd all[WAITED_MAX + 1];
    struct pollfd *output = std::copy_n(waited, count, all);
    *output = {watched_output(), 0, 0};
    const struct timespec timeout = timespec_of(timeout_us);
    const int ready = ppoll(all, count + 1, &timeout, nullptr);
    std::copy_n(all, count, waited);
    end_when_unread(output->revents);
    if (ready > 0 && std::any_of(all, output, [](const struct pollfd &one) {
            return (one.revents & POLLNVAL) != 0;
        })) {
        errno = EBADF;
        return -1;
    }
    return ready > 0 ? 1 : ready;
}
